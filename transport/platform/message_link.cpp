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
    Runs frames;    // tagged 0
    Runs messages;  // for the receive handler once the lock is let go (H4, and PTSP for the host)
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
        [engine](std::span<const uint8_t> frame) { engine->frames.add(0, frame); },
        [this, engine](uint8_t channel, std::span<const uint8_t> payload) {
            if (!handlers_.receive) return;
            // The host's messages are handed on once the codec is free again,
            // so that a script woken by one can send at once. The chip answers
            // while the codec is locked, so that its answer carries the ack.
            if (role_ == LinkRole::host) {
                engine->messages.add(channel, payload);
                return;
            }
            MessageLink* outer = std::exchange(t_delivering, this);
            handlers_.receive(channel, payload);
            t_delivering = outer;
        },
        [engine] { engine->link_up = true; },
        [engine] { engine->peer_reset = true; },
    });
    // A script answers a chip's message within microseconds when it answers
    // at all: its next message carries the acknowledgement, which saves the
    // chip a wake-up for an ack-only frame. The delay is longer than a kernel
    // tick: the reader sleeps until it after every message it hands on, and a
    // sleep that ends before the next tick costs a timer reprogramming each
    // time (a quarter of the round-trip rate on a virtual machine).
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
        // A receive handler sends while the reader holds the codec: what
        // other senders left in the outbox meanwhile goes first, or a reply
        // would overtake an earlier message (the chip's credit totals did).
        drain_outbox();
        engine_->ptsp->send(channel, message, now_ms());
        return true;
    }
    // A sender never waits for the codec's lock. When it is free, the
    // message goes straight in, behind any in the outbox.
    std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock) {
        drain_outbox();
        engine_->ptsp->send(channel, message, now_ms());
        wake_reader_if_due_sooner();
        flush_frames(lock);
        // Another sender may have found the lock taken meanwhile and left
        // its message in the outbox for the holder.
        std::lock_guard outbox_lock(outbox_mutex_);
        if (outbox_.empty()) return true;
    } else {
        // Whoever holds the lock takes the message from the outbox before
        // letting go. So no lock a caller holds can deadlock with a receive
        // handler that holds the codec.
        std::lock_guard outbox_lock(outbox_mutex_);
        outbox_.add(channel, message);
        outbox_filled_.store(true, std::memory_order_release);
    }
    pump();
    return true;
}

void MessageLink::pump() {
    for (;;) {
        {
            std::lock_guard outbox_lock(outbox_mutex_);
            if (outbox_.empty()) return;
        }
        std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock) return;  // the holder pumps when it lets go
        drain_outbox();
        wake_reader_if_due_sooner();
        flush_frames(lock);
    }
}

// A new message may need a resend before the reader means to wake: wake it,
// so that it sleeps until the codec's new deadline.
void MessageLink::wake_reader_if_due_sooner() {
    if (protocol_ == LinkProtocol::ptsp && running_ &&
        static_cast<int32_t>(engine_->ptsp->next_deadline_ms() - reader_wake_ms_.load()) < 0)
        stream_->interrupt();
}

void MessageLink::drain_outbox() {
    // Unlocked, a look may miss a message just added; its sender then found
    // the codec's lock taken, and the holder looks again, locked, once it
    // lets go (pump).
    if (!outbox_filled_.load(std::memory_order_acquire)) return;
    {
        std::lock_guard lock(outbox_mutex_);
        std::swap(draining_, outbox_);
        outbox_filled_.store(false, std::memory_order_relaxed);
    }
    // Emptied even when the codec refuses a message, so none goes twice.
    struct Empty {
        Runs& runs;
        ~Empty() { runs.clear(); }
    } empty{draining_};
    const uint32_t now = now_ms();
    draining_.for_each([&](uint8_t channel, std::span<const uint8_t> message) {
        engine_->ptsp->send(channel, message, now);
    });
}

// Writes the frames the codec made, in its order: the write lock is taken
// before the codec's lock is let go. Releases the codec's lock.
void MessageLink::flush_frames(std::unique_lock<std::mutex>& lock) {
    if (engine_->frames.empty()) {
        lock.unlock();
        return;
    }
    std::lock_guard write_lock(write_mutex_);
    std::swap(writing_, engine_->frames);  // writing_ was empty: both keep their buffers
    lock.unlock();
    writing_.for_each([&](uint8_t, std::span<const uint8_t> frame) { stream_->write(frame); });
    writing_.clear();
}

void MessageLink::reader() {
    std::vector<uint8_t> buffer(8192);
    int timeout = 0;  // the codec's timers are looked at once at the start
    while (running_) {
        long got = stream_->read(buffer, timeout);
        if (got < 0) break;  // end of stream or closed
        std::span<const uint8_t> bytes(buffer.data(), static_cast<size_t>(got));
        bool peer_reset = false;
        std::vector<uint8_t> bad_types;
        {
            std::unique_lock lock(mutex_);
            Engine& e = *engine_;
            if (protocol_ == LinkProtocol::ptsp) {
                drain_outbox();
                const uint32_t now = now_ms();
                if (got > 0) e.ptsp->receive(bytes, now);  // delivers as it goes
                e.ptsp->tick(now);
                // Sleep until the codec's next timer, or until bytes arrive.
                const uint32_t after = now_ms();
                timeout = std::max(0, static_cast<int>(static_cast<int32_t>(e.ptsp->next_deadline_ms() - after)));
                reader_wake_ms_ = after + static_cast<uint32_t>(timeout);
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
                                e.messages.add(message->channel, message->bytes);
                    },
                    [&](uint8_t byte) { e.bad_types.push_back(byte); });
                frames_dropped_ = e.reassembler.dropped();
                timeout = 250;
            }
            std::swap(received_, e.messages);  // received_ was empty: both keep their buffers
            bad_types.swap(e.bad_types);
            peer_reset = std::exchange(e.peer_reset, false);
            if (std::exchange(e.link_up, false)) {
                established_ = true;
                established_changed_.notify_all();
            }
            flush_frames(lock);
        }
        pump();
        for (uint8_t byte : bad_types)
            if (handlers_.damaged) handlers_.damaged(byte);
        if (handlers_.receive) received_.for_each(handlers_.receive);
        received_.clear();
        if (peer_reset && handlers_.peer_reset) handlers_.peer_reset();
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
