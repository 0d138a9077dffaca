// The H4 stack: HCI commands, events and ACL data over one byte stream, with
// the H4 type byte before each packet. Kestrel uses it for a device that
// speaks the test control interface, on either side of that interface: it
// sends and receives commands, events and ACL data alike. SCO data is only
// received.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "transport/platform/byte_stream.h"

namespace kestrel {

class H4Stack {
public:
    // A received packet without its type byte; on the reader thread. The
    // bytes stay the stack's: copy what must outlive the call.
    using ReceiveHandler = std::function<void(std::span<const uint8_t> packet)>;
    // Whether the packet left whole; on the sending thread once written.
    using SendDone = std::function<void(bool success)>;

    H4Stack() = default;
    virtual ~H4Stack();
    H4Stack(const H4Stack&) = delete;
    H4Stack& operator=(const H4Stack&) = delete;

    // Builds the stream for the device (serial ports 8N1 with RTS/CTS at
    // baud). Nothing is opened yet; an unknown name shows in ready().
    void start(const std::string& device, unsigned baud);
    // Keeps trying to open the device until the deadline; true once it is
    // open and packets flow.
    virtual bool ready(unsigned milliseconds);
    // Stops the reader and closes the device. Idempotent.
    virtual void stop();

    // Set before ready(); the reader calls them.
    void setup_receive_command(ReceiveHandler handler) { on_command_ = std::move(handler); }
    void setup_receive_event(ReceiveHandler handler) { on_event_ = std::move(handler); }
    void setup_receive_acl(ReceiveHandler handler) { on_acl_ = std::move(handler); }
    void setup_receive_sco(ReceiveHandler handler) { on_sco_ = std::move(handler); }
    // A byte where a packet should start that starts none; the stream is
    // resynchronised at the next type byte.
    void setup_damaged(std::function<void(uint8_t)> handler) { on_damaged_ = std::move(handler); }

    // The packet is the bytes after the H4 type byte, header included. Never
    // waits for the peer; done reports whether the bytes were written.
    void send_command(std::span<const uint8_t> packet, const SendDone& done);
    void send_event(std::span<const uint8_t> packet, const SendDone& done);
    void send_acl(std::span<const uint8_t> packet, const SendDone& done);

private:
    void send(uint8_t type, std::span<const uint8_t> packet, const SendDone& done);
    void reader();

    std::unique_ptr<ByteStream> stream_;
    ReceiveHandler on_command_, on_event_, on_acl_, on_sco_;
    std::function<void(uint8_t)> on_damaged_;
    std::mutex write_mutex_;  // packets go out whole, in order
    std::atomic<bool> running_{false};
    std::thread reader_;
};

}  // namespace kestrel
