#include "transport/platform/message_link.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "transport/platform/h4_codec.h"
#include "transport/platform/ptsp_codec.h"

namespace kestrel {
namespace {

// The link whose reader is delivering on this thread: a receive handler that
// answers at once feeds the codec directly (the reader holds its lock), and
// its answer carries the acknowledgement.
thread_local MessageLink* t_delivering = nullptr;

uint32_t now_ms() {
    using namespace std::chrono;
    return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

// The codec state, guarded by mutex_. Its write callback only collects
// frames; they are written once the state is consistent.
struct MessageLink::Engine {
    std::vector<std::vector<uint8_t>> frames;
    std::vector<std::pair<uint8_t, std::vector<uint8_t>>> messages;  // H4
    bool link_up = false;
    bool peer_reset = false;
    std::vector<uint8_t> bad_types;

    std::unique_ptr<ptsp::Link> ptsp;
    h4::Decoder h4_decoder;
    h4::TunnelReassembler reassembler;
};

MessageLink::MessageLink(std::unique_ptr<ByteStream> stream, LinkProtocol protocol, LinkRole role, Handlers handlers)
    : stream_(std::move(stream)), protocol_(protocol), role_(role), handlers_(std::move(handlers)),
      engine_(std::make_unique<Engine>()) {
    if (protocol_ != LinkProtocol::ptsp) return;
    Engine* engine = engine_.get();
    engine_->ptsp = std::make_unique<ptsp::Link>(ptsp::Link::Callbacks{
        [engine](std::span<const uint8_t> frame) { engine->frames.emplace_back(frame.begin(), frame.end()); },
        [this](uint8_t channel, std::span<const uint8_t> payload) {
            if (!handlers_.receive) return;
            MessageLink* outer = std::exchange(t_delivering, this);
            handlers_.receive(channel, std::vector<uint8_t>(payload.begin(), payload.end()));
            t_delivering = outer;
        },
        [engine] { engine->link_up = true; },
        [engine] { engine->peer_reset = true; },
    });
    // A script answers a chip's message within microseconds when it answers
    // at all: its next message carries the acknowledgement, which saves the
    // chip a wake-up for an ack-only frame.
    if (role_ == LinkRole::host) engine_->ptsp->set_ack_delay(kHostAckDelayMs);
}

MessageLink::~MessageLink() { stop(); }

bool MessageLink::start(unsigned timeout_ms, std::string& error) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    if (!open_with_deadline(*stream_, timeout_ms, error)) return false;
    {
        std::unique_lock lock(mutex_);
        if (protocol_ == LinkProtocol::ptsp) engine_->ptsp->start(now_ms());
        flush_frames(lock);
    }
    running_ = true;
    reader_ = std::thread(&MessageLink::reader, this);
    if (protocol_ == LinkProtocol::h4) {
        established_ = true;
        return true;
    }
    std::unique_lock lock(mutex_);
    bool up = established_changed_.wait_until(lock, deadline, [&] { return established_.load(); });
    lock.unlock();
    pump();
    return up;
}

bool MessageLink::send(uint8_t channel, std::span<const uint8_t> message) {
    if (protocol_ == LinkProtocol::h4) {
        auto packets = role_ == LinkRole::host ? h4::tunnel_to_chip(channel, message)
                                               : h4::tunnel_to_host(channel, message);
        std::lock_guard write_lock(write_mutex_);
        for (const h4::Packet& packet : packets) stream_->write(h4::encode(packet));
        return true;
    }
    if (message.size() > kPtspMaxMessage) return false;
    if (t_delivering == this) {
        engine_->ptsp->send(channel, {message.begin(), message.end()}, now_ms());
        return true;
    }
    // A sender never waits for the codec's lock: whoever holds it takes the
    // message from the outbox before letting go. So no lock a caller holds
    // can deadlock with a receive handler that holds the codec.
    {
        std::lock_guard lock(outbox_mutex_);
        outbox_.emplace_back(channel, std::vector<uint8_t>(message.begin(), message.end()));
    }
    pump();
    return true;
}

void MessageLink::pump() {
    for (;;) {
        std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock) return;  // the holder pumps when it lets go
        drain_outbox();
        // A new message may need a resend before the reader means to wake:
        // wake it, so that it sleeps until the codec's new deadline.
        if (protocol_ == LinkProtocol::ptsp && running_ &&
            static_cast<int32_t>(engine_->ptsp->next_deadline_ms() - reader_wake_ms_.load()) < 0)
            stream_->interrupt();
        flush_frames(lock);
        std::lock_guard outbox_lock(outbox_mutex_);
        if (outbox_.empty()) return;
    }
}

void MessageLink::drain_outbox() {
    std::vector<std::pair<uint8_t, std::vector<uint8_t>>> waiting;
    {
        std::lock_guard lock(outbox_mutex_);
        waiting.swap(outbox_);
    }
    for (auto& [channel, message] : waiting) engine_->ptsp->send(channel, std::move(message), now_ms());
}

// Writes the frames the codec made, in its order: the write lock is taken
// before the codec's lock is let go. Releases the codec's lock.
void MessageLink::flush_frames(std::unique_lock<std::mutex>& lock) {
    std::vector<std::vector<uint8_t>> frames;
    frames.swap(engine_->frames);
    if (frames.empty()) {
        lock.unlock();
        return;
    }
    std::lock_guard write_lock(write_mutex_);
    lock.unlock();
    for (const auto& frame : frames) stream_->write(frame);
}

void MessageLink::reader() {
    std::vector<uint8_t> buffer(8192);
    int timeout = 0;  // the codec's timers are looked at once at the start
    while (running_) {
        long got = stream_->read(buffer, timeout);
        if (got < 0) break;  // end of stream or closed
        std::span<const uint8_t> bytes(buffer.data(), static_cast<size_t>(got));
        std::vector<std::pair<uint8_t, std::vector<uint8_t>>> messages;
        bool peer_reset = false;
        std::vector<uint8_t> bad_types;
        {
            std::unique_lock lock(mutex_);
            Engine& e = *engine_;
            if (protocol_ == LinkProtocol::ptsp) {
                drain_outbox();
                if (got > 0) e.ptsp->receive(bytes, now_ms());  // delivers as it goes
                e.ptsp->tick(now_ms());
                // Sleep until the codec's next timer, or until bytes arrive.
                timeout = std::max(0, static_cast<int>(static_cast<int32_t>(e.ptsp->next_deadline_ms() - now_ms())));
                reader_wake_ms_ = now_ms() + static_cast<uint32_t>(timeout);
                retransmissions_ = e.ptsp->retransmissions();
                frames_dropped_ = e.ptsp->frames_dropped();
            } else {
                const bool host = role_ == LinkRole::host;
                e.h4_decoder.feed(
                    bytes,
                    [&](h4::Packet packet) {
                        bool ours = host ? h4::is_tunnel_event(packet) : h4::is_tunnel_command(packet);
                        if (!ours) return;  // other HCI traffic is not ours to carry
                        if (auto block = h4::tunnel_block(packet))
                            if (auto message = e.reassembler.feed(*block))
                                e.messages.emplace_back(message->channel, std::move(message->bytes));
                    },
                    [&](uint8_t byte) { e.bad_types.push_back(byte); });
                frames_dropped_ = e.reassembler.dropped();
                timeout = 250;
            }
            messages.swap(e.messages);
            bad_types.swap(e.bad_types);
            peer_reset = std::exchange(e.peer_reset, false);
            if (std::exchange(e.link_up, false)) {
                established_ = true;
                established_changed_.notify_all();
            }
            flush_frames(lock);
        }
        pump();
        if (peer_reset && handlers_.peer_reset) handlers_.peer_reset();
        for (uint8_t byte : bad_types)
            if (handlers_.damaged) handlers_.damaged(byte);
        for (auto& [channel, message] : messages)
            if (handlers_.receive) handlers_.receive(channel, std::move(message));
    }
}

void MessageLink::stop() {
    if (running_.exchange(false)) {
        stream_->interrupt();
        if (reader_.joinable()) reader_.join();
    }
    stream_->close();
}

}  // namespace kestrel
