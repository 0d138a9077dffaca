#include "transport/platform/message_link.h"

#include <chrono>
#include <utility>

#include "transport/platform/h4_codec.h"
#include "transport/platform/ptsp_codec.h"

namespace kestrel {
namespace {

uint32_t now_ms() {
    using namespace std::chrono;
    return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

// The codec state. Its callbacks only collect frames and messages; they are
// written and delivered after the lock is released, so a receive handler may
// send and a slow line never holds the lock.
struct MessageLink::Engine {
    std::vector<std::vector<uint8_t>> frames;
    std::vector<std::pair<uint8_t, std::vector<uint8_t>>> messages;
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
    if (protocol_ == LinkProtocol::ptsp) {
        Engine* engine = engine_.get();
        engine_->ptsp = std::make_unique<ptsp::Link>(ptsp::Link::Callbacks{
            [engine](std::span<const uint8_t> frame) { engine->frames.emplace_back(frame.begin(), frame.end()); },
            [engine](uint8_t channel, std::span<const uint8_t> payload) {
                engine->messages.emplace_back(channel, std::vector<uint8_t>(payload.begin(), payload.end()));
            },
            [engine] { engine->link_up = true; },
            [engine] { engine->peer_reset = true; },
        });
    }
}

MessageLink::~MessageLink() { stop(); }

bool MessageLink::start(unsigned timeout_ms, std::string& error) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    if (!open_with_deadline(*stream_, timeout_ms, error)) return false;
    {
        std::lock_guard lock(mutex_);
        if (protocol_ == LinkProtocol::ptsp) engine_->ptsp->start(now_ms());
        std::vector<std::vector<uint8_t>> frames;
        frames.swap(engine_->frames);
        std::lock_guard write_lock(write_mutex_);
        write_frames_locked(frames);
    }
    running_ = true;
    reader_ = std::thread(&MessageLink::reader, this);
    if (protocol_ == LinkProtocol::h4) {
        established_ = true;
        return true;
    }
    std::unique_lock lock(mutex_);
    return established_changed_.wait_until(lock, deadline, [&] { return established_.load(); });
}

bool MessageLink::send(uint8_t channel, std::span<const uint8_t> message) {
    std::vector<std::vector<uint8_t>> frames;
    if (protocol_ == LinkProtocol::ptsp) {
        if (message.size() > kPtspMaxMessage) return false;
        std::unique_lock lock(mutex_);
        engine_->ptsp->send(channel, {message.begin(), message.end()}, now_ms());
        frames.swap(engine_->frames);
        // Frames leave in the order the codec made them: the write lock is
        // taken before the codec's lock is let go.
        std::unique_lock write_lock(write_mutex_);
        lock.unlock();
        write_frames_locked(frames);
        return true;
    } else {
        auto packets = role_ == LinkRole::host ? h4::tunnel_to_chip(channel, message)
                                               : h4::tunnel_to_host(channel, message);
        for (const h4::Packet& packet : packets) frames.push_back(h4::encode(packet));
    }
    write_frames(frames);
    return true;
}

void MessageLink::write_frames(std::vector<std::vector<uint8_t>>& frames) {
    if (frames.empty()) return;
    std::lock_guard lock(write_mutex_);
    write_frames_locked(frames);
}

void MessageLink::write_frames_locked(std::vector<std::vector<uint8_t>>& frames) {
    for (const auto& frame : frames) stream_->write(frame);
    frames.clear();
}

void MessageLink::deliver(std::vector<std::pair<uint8_t, std::vector<uint8_t>>>& messages) {
    for (auto& [channel, message] : messages)
        if (handlers_.receive) handlers_.receive(channel, std::move(message));
    messages.clear();
}

void MessageLink::reader() {
    std::vector<uint8_t> buffer(8192);
    std::vector<std::vector<uint8_t>> frames;
    std::vector<std::pair<uint8_t, std::vector<uint8_t>>> messages;
    while (running_) {
        int timeout = 250;
        if (protocol_ == LinkProtocol::ptsp) {
            std::lock_guard lock(mutex_);
            timeout = static_cast<int>(static_cast<int32_t>(engine_->ptsp->next_deadline_ms() - now_ms()));
            if (timeout < 0) timeout = 0;
        }
        long got = stream_->read(buffer, timeout);
        if (got < 0) break;  // end of stream or closed
        bool link_up = false, peer_reset = false;
        std::vector<uint8_t> bad_types;
        {
            std::unique_lock lock(mutex_);
            Engine& e = *engine_;
            std::span<const uint8_t> bytes(buffer.data(), static_cast<size_t>(got));
            if (protocol_ == LinkProtocol::ptsp) {
                if (got > 0) e.ptsp->receive(bytes, now_ms());
                e.ptsp->tick(now_ms());
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
            }
            frames.swap(e.frames);
            messages.swap(e.messages);
            bad_types.swap(e.bad_types);
            link_up = std::exchange(e.link_up, false);
            peer_reset = std::exchange(e.peer_reset, false);
            if (link_up) {
                established_ = true;
                established_changed_.notify_all();
            }
            std::unique_lock write_lock(write_mutex_);
            lock.unlock();
            write_frames_locked(frames);
        }
        if (peer_reset && handlers_.peer_reset) handlers_.peer_reset();
        for (uint8_t byte : bad_types)
            if (handlers_.damaged) handlers_.damaged(byte);
        deliver(messages);
    }
}

void MessageLink::stop() {
    if (running_.exchange(false)) {
        stream_->interrupt();
        if (reader_.joinable()) reader_.join();
    }
    stream_->close();
}

uint64_t MessageLink::retransmissions() const {
    std::lock_guard lock(mutex_);
    return engine_->ptsp ? engine_->ptsp->retransmissions() : 0;
}

uint64_t MessageLink::frames_dropped() const {
    std::lock_guard lock(mutex_);
    return engine_->ptsp ? engine_->ptsp->frames_dropped() : engine_->reassembler.dropped();
}

}  // namespace kestrel
