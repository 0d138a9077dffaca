// Test support, not part of the library: a host's end of a line to a
// simulated chip, made of the same message link that Kestrel uses, which
// keeps every message the chip sends for the test to take in order.
#pragma once

#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "sim/chip_model.h"
#include "sim/simulated_chip.h"
#include "transport/platform/message_codec.h"
#include "transport/platform/message_link.h"

namespace kestrel::sim::testing {

struct HostMessage {
    uint8_t channel;
    std::vector<uint8_t> bytes;

    std::string text() const { return {bytes.begin(), bytes.end()}; }
    std::vector<uint16_t> words() const { return ptcmd_words(bytes); }
};

class TestHost {
public:
    static constexpr auto kWait = std::chrono::seconds(20);  // a guard against hanging, not a measure

    TestHost(std::unique_ptr<ByteStream> stream, LinkProtocol protocol)
        : link_(std::move(stream), protocol, LinkRole::host,
                MessageLink::Handlers{
                    [this](uint8_t channel, std::span<const uint8_t> message) {
                        std::lock_guard lock(mutex_);
                        messages_.push_back({channel, {message.begin(), message.end()}});
                        arrived_.notify_all();
                    },
                    [this] {
                        std::lock_guard lock(mutex_);
                        ++peer_resets_;
                        arrived_.notify_all();
                    },
                    {},
                }) {}

    bool start() {
        std::string error;
        return link_.start(20000, error);
    }

    bool send(uint8_t channel, std::span<const uint8_t> bytes) { return link_.send(channel, bytes); }
    bool send_words(std::span<const uint16_t> words) { return link_.send(kChannelPtcmd, ptcmd_bytes(words)); }

    // A PTCMD request of nine words or more: type, length, seq, varid, 0, payload.
    static std::vector<uint16_t> request(uint16_t type, uint16_t varid, uint16_t seq,
                                         std::vector<uint16_t> payload = {}) {
        payload.resize(std::max<size_t>(payload.size(), 4), 0);
        std::vector<uint16_t> words{type, static_cast<uint16_t>(5 + payload.size()), seq, varid, 0};
        words.insert(words.end(), payload.begin(), payload.end());
        return words;
    }

    // Sends the request and takes the next PTCMD answer.
    std::vector<uint16_t> ask(uint16_t type, uint16_t varid, std::vector<uint16_t> payload = {}) {
        send_words(request(type, varid, ++seq_, std::move(payload)));
        const auto answer = next(kChannelPtcmd);
        return answer ? answer->words() : std::vector<uint16_t>{};
    }

    // The oldest message not yet taken on `channel` (any channel when
    // negative), waiting for one to come.
    std::optional<HostMessage> next(int channel = -1) {
        std::unique_lock lock(mutex_);
        std::optional<HostMessage> found;
        arrived_.wait_for(lock, kWait, [&] {
            for (auto it = messages_.begin(); it != messages_.end(); ++it) {
                if (channel < 0 || it->channel == channel) {
                    found = std::move(*it);
                    messages_.erase(it);
                    return true;
                }
            }
            return false;
        });
        return found;
    }

    // Every message not yet taken, without waiting.
    std::vector<HostMessage> take_all() {
        std::lock_guard lock(mutex_);
        std::vector<HostMessage> all(messages_.begin(), messages_.end());
        messages_.clear();
        return all;
    }

    bool wait_for_peer_resets(int count) {
        std::unique_lock lock(mutex_);
        return arrived_.wait_for(lock, kWait, [&] { return peer_resets_ >= count; });
    }

    MessageLink& link() { return link_; }
    void stop() { link_.stop(); }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<HostMessage> messages_;
    int peer_resets_ = 0;
    uint16_t seq_ = 0;
    MessageLink link_;  // last: its reader uses the members above
};

// A socket pair with the chip on one end; the other end for a host.
inline std::unique_ptr<ByteStream> plug_into(SimulatedChip& chip) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
    std::string error;
    if (!chip.attach(make_fd_byte_stream(ends[0], "chip end"), error)) return nullptr;
    return make_fd_byte_stream(ends[1], "host end");
}

// Polls `condition` until it holds or the guard time has passed.
template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + TestHost::kWait;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace kestrel::sim::testing
