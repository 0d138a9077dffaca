// The byte-stream layer through which every device is opened: serial ports,
// pseudo-terminals, Unix and TCP sockets, and in-process peers. It moves bytes
// only; framing belongs to the codecs above it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kestrel {

// Applies to serial ports only; sockets ignore it.
struct LineSettings {
    unsigned baud = 115200;
    enum class Parity { none, even } parity = Parity::none;
    bool rts_cts = false;
};

class ByteStream {
public:
    explicit ByteStream(std::string name) : name_(std::move(name)) {}
    virtual ~ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    // One attempt; on failure `error` says why (e.g. "No such file or directory").
    // Opening a stream that is already open succeeds without effect.
    virtual bool open(std::string& error) = 0;
    // Bytes read; 0 on time-out or after interrupt(); -1 at end of stream, on
    // error or once closed. A negative time-out waits without limit.
    virtual long read(std::span<uint8_t> buffer, int timeout_ms) = 0;
    // Writes everything (blocking while the device is full); false on error or
    // when close() is called meanwhile.
    virtual bool write(std::span<const uint8_t> data) = 0;
    // Thread-safe. Wakes a blocked read, or makes the next read return 0 at once.
    virtual void interrupt() = 0;
    // Thread-safe. Wakes any blocked read or write, waits for them to leave, then
    // releases the device. A stream built from a device name may be opened again.
    virtual void close() = 0;

    const std::string& name() const { return name_; }

private:
    std::string name_;
};

// Builds (does not open) a stream for a full device name; the factory parses
// its own part of the name and answers null with `error` set when it cannot.
using ByteStreamFactory = std::function<std::unique_ptr<ByteStream>(
    std::string_view device_name, const LineSettings& settings, std::string& error)>;

// Adds a factory for names equal to `prefix` or beginning with `prefix` + ':'.
// Registering a prefix again replaces its factory.
void register_byte_stream_factory(std::string prefix, ByteStreamFactory factory);

// The serial port that comN, COMN or \\.\COMN stands for ("/dev/ttyS<N-1>"),
// or "" when the name is none of these.
std::string com_port_path(std::string_view device_name);

// Null with `error` set ("unknown device name 'foo'") when no factory accepts the name.
std::unique_ptr<ByteStream> make_byte_stream(std::string_view device_name,
                                             const LineSettings& settings, std::string& error);

// A stream over an already-connected descriptor (one end of a socketpair, for
// an in-process peer). Takes ownership of `fd`; the stream is open at once.
std::unique_ptr<ByteStream> make_fd_byte_stream(int fd, std::string name);

// Retries open() about every 50 ms until it succeeds or `timeout_ms` has passed
// (at least one attempt); on failure `error` holds the last attempt's reason.
bool open_with_deadline(ByteStream& stream, unsigned timeout_ms, std::string& error);

}  // namespace kestrel
