// A message link: channels of messages over one byte stream, framed by PTSP
// or carried in the H4 vendor tunnel, for either end (the host or the chip).
// One reader thread per link decodes what arrives, runs the timers and
// hands whole messages to the receive handler.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "transport/platform/byte_stream.h"

namespace kestrel {

enum class LinkProtocol { ptsp, h4 };
enum class LinkRole { host, chip };

class MessageLink {
public:
    struct Handlers {
        // On the reader thread; may call send(). For the chip over PTSP it
        // runs while the codec is locked, so it must not wait for anything
        // the link does; for the host, once the codec's lock is let go.
        // The bytes are the link's own until the handler returns: it copies
        // what it keeps.
        std::function<void(uint8_t channel, std::span<const uint8_t> message)> receive;
        // PTSP: the peer restarted; the link is established again.
        std::function<void()> peer_reset;
        // H4: a byte that starts no packet; the stream resynchronises.
        std::function<void(uint8_t byte)> damaged;
    };

    MessageLink(std::unique_ptr<ByteStream> stream, LinkProtocol protocol, LinkRole role, Handlers handlers);
    ~MessageLink();
    MessageLink(const MessageLink&) = delete;
    MessageLink& operator=(const MessageLink&) = delete;

    // Opens the stream, retrying until the time-out, starts the reader, and
    // waits until messages can flow (PTSP: the link is established; H4: the
    // stream is open). False when that did not happen in time; error says
    // why when the stream never opened.
    bool start(unsigned timeout_ms, std::string& error);

    // Queues a message; never waits for the peer. A message too long for
    // the framing is refused (false).
    bool send(uint8_t channel, std::span<const uint8_t> message);

    // Stops the reader and closes the stream. Idempotent.
    void stop();

    bool established() const { return established_.load(); }
    uint64_t retransmissions() const { return retransmissions_.load(); }
    uint64_t frames_dropped() const { return frames_dropped_.load(); }

    static constexpr size_t kPtspMaxMessage = 4095;
    static constexpr uint32_t kHostAckDelayMs = 10;  // see the constructor

private:
    struct Engine;

    // Byte runs kept end to end in buffers that are reused, so that passing
    // frames and messages between threads allocates nothing once warm.
    struct Runs {
        std::vector<uint8_t> bytes;
        std::vector<std::pair<uint8_t, size_t>> ends;  // a tag (the channel) and where the run ends
        void add(uint8_t tag, std::span<const uint8_t> run) {
            bytes.insert(bytes.end(), run.begin(), run.end());
            ends.emplace_back(tag, bytes.size());
        }
        bool empty() const { return ends.empty(); }
        void clear() {
            bytes.clear();
            ends.clear();
        }
        template <typename F>
        void for_each(F&& f) const {
            size_t start = 0;
            for (const auto& [tag, end] : ends) {
                f(tag, std::span<const uint8_t>(bytes.data() + start, end - start));
                start = end;
            }
        }
    };

    void reader();
    void pump();          // feeds the outbox to the codec, if its lock is free
    void drain_outbox();  // mutex_ held
    void wake_reader_if_due_sooner();  // mutex_ held
    void flush_frames(std::unique_lock<std::mutex>& lock);

    std::unique_ptr<ByteStream> stream_;
    const LinkProtocol protocol_;
    const LinkRole role_;
    Handlers handlers_;
    std::unique_ptr<Engine> engine_;  // codec state, guarded by mutex_

    // Lock order: mutex_, then write_mutex_; outbox_mutex_ is taken last and
    // held only briefly.
    std::mutex mutex_;
    std::mutex write_mutex_;  // frames go out whole, in order
    std::mutex outbox_mutex_;
    Runs outbox_;    // messages whose sender found the codec busy; outbox_mutex_
    std::atomic<bool> outbox_filled_{false};  // written under outbox_mutex_
    Runs draining_;  // the outbox being fed to the codec; mutex_
    Runs writing_;   // frames being written; write_mutex_
    Runs received_;  // messages being handed to the receive handler; the reader's own
    std::condition_variable established_changed_;
    std::atomic<bool> established_{false};
    std::atomic<bool> running_{false};
    std::atomic<uint64_t> retransmissions_{0};
    std::atomic<uint64_t> frames_dropped_{0};
    std::atomic<uint32_t> reader_wake_ms_{0};  // when the reader's read times out
    std::thread reader_;
};

}  // namespace kestrel
