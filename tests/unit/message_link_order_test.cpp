// Messages keep their order through a PTSP link whatever thread sends them:
// a receive handler that answers while another thread's message waits in
// the outbox must not overtake it.
#include <gtest/gtest.h>

#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "transport/platform/message_link.h"

namespace kestrel {
namespace {

struct Received {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> messages;
    void add(std::span<const uint8_t> m) {
        {
            std::lock_guard lock(mutex);
            messages.emplace_back(m.begin(), m.end());
        }
        changed.notify_all();
    }
    bool wait_for(size_t count) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10), [&] { return messages.size() >= count; });
    }
};

std::span<const uint8_t> bytes(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

TEST(MessageLinkOrder, AReplyFromTheReceiveHandlerGoesBehindWhatOthersQueuedFirst) {
    int pair[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    Received at_host;
    MessageLink host(make_fd_byte_stream(pair[0], "host"), LinkProtocol::ptsp, LinkRole::host,
                     {[&](uint8_t, std::span<const uint8_t> m) { at_host.add(m); }, nullptr, nullptr});
    MessageLink* chip_link = nullptr;
    MessageLink chip(make_fd_byte_stream(pair[1], "chip"), LinkProtocol::ptsp, LinkRole::chip,
                     {[&](uint8_t, std::span<const uint8_t> m) {
                          const std::string request(m.begin(), m.end());
                          // The chip's handler runs with the codec locked: a
                          // message from another thread meanwhile waits in
                          // the outbox. The handler's own reply comes after.
                          std::thread other([&] { chip_link->send(6, bytes("first " + request)); });
                          other.join();
                          chip_link->send(6, bytes("second " + request));
                      },
                      nullptr, nullptr});
    chip_link = &chip;
    std::string error;
    std::thread chip_start([&] { chip.start(5000, error); });
    ASSERT_TRUE(host.start(5000, error)) << error;
    chip_start.join();
    for (int i = 0; i < 50; ++i) host.send(6, bytes(std::to_string(i)));
    ASSERT_TRUE(at_host.wait_for(100));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(at_host.messages[2 * i], "first " + std::to_string(i));
        EXPECT_EQ(at_host.messages[2 * i + 1], "second " + std::to_string(i));
    }
    host.stop();
    chip.stop();
}

}  // namespace
}  // namespace kestrel
