// petrelsim's chip servers: hosts come and go on a pseudo-terminal, a Unix
// socket and a TCP port, and each finds a freshly started chip that kept
// its persistent store.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "sim/chip_server.h"
#include "sim/test_host.h"

namespace kestrel::sim {
namespace {

using testing::eventually;
using testing::TestHost;

constexpr uint16_t kPio = 0x681F, kPs = 0x7003;

// A host session: sets the PIO and a PS key on a fresh chip, which must
// have forgotten the previous session's PIO and kept its key.
void run_session(const std::string& device, LinkProtocol protocol, uint16_t session) {
    std::string error;
    const LineSettings settings{.baud = 115200, .parity = protocol == LinkProtocol::ptsp ? LineSettings::Parity::even
                                                                                          : LineSettings::Parity::none};
    auto stream = make_byte_stream(device, settings, error);
    ASSERT_TRUE(stream) << error;
    TestHost host(std::move(stream), protocol);
    ASSERT_TRUE(host.start()) << device;
    EXPECT_EQ(host.ask(ptcmd::kGetReq, kPio).at(5), 0) << "session " << session;
    EXPECT_EQ(host.ask(ptcmd::kSetReq, kPio, {session}).at(4), ptcmd::kOk);
    if (session > 1) {
        EXPECT_EQ(host.ask(ptcmd::kGetReq, kPs, {0x0100, 1, 0, 0}).at(8), session - 1);
    }
    EXPECT_EQ(host.ask(ptcmd::kSetReq, kPs, {0x0100, 1, 0, session}).at(4), ptcmd::kOk);
}

bool unplugged(ChipServer& server) { return server.chip().state() == SimulatedChip::State::unplugged; }

TEST(SimChipServer, PseudoTerminalServesHostAfterHost) {
    std::string error;
    auto server = ChipServer::pty({}, error);
    ASSERT_TRUE(server) << error;
    EXPECT_TRUE(server->where().starts_with("/dev/pts/")) << server->where();
    for (uint16_t session = 1; session <= 3; ++session) {
        run_session(server->where(), session == 2 ? LinkProtocol::h4 : LinkProtocol::ptsp, session);
        ASSERT_TRUE(eventually([&] { return unplugged(*server); }));
    }
    EXPECT_EQ(server->chip().starts(), 3u);
}

TEST(SimChipServer, UnixSocketServesOneHostAtATimeAndGoesWithItsFile) {
    const std::string path = "/tmp/sim_server_test_" + std::to_string(::getpid()) + ".sock";
    std::string error;
    {
        // A socket file that nobody serves any more is replaced.
        const int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
        ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(stale);
    }
    {
        auto server = ChipServer::unix_socket(path, {}, error);
        ASSERT_TRUE(server) << error;
        EXPECT_EQ(server->where(), "unix:" + path);
        EXPECT_FALSE(ChipServer::unix_socket(path, {}, error));
        EXPECT_EQ(error, path + " is in use");

        run_session(server->where(), LinkProtocol::ptsp, 1);
        ASSERT_TRUE(eventually([&] { return unplugged(*server); }));
        {
            auto first = make_byte_stream(server->where(), {}, error);
            TestHost host(std::move(first), LinkProtocol::h4);
            ASSERT_TRUE(host.start());
            EXPECT_EQ(host.ask(ptcmd::kGetReq, kPio).at(5), 0);
            // A second host meanwhile waits for the chip.
            auto second = make_byte_stream(server->where(), {}, error);
            ASSERT_TRUE(second->open(error)) << error;
            host.stop();
            TestHost waiting(std::move(second), LinkProtocol::ptsp);
            ASSERT_TRUE(waiting.start());
            EXPECT_EQ(waiting.ask(ptcmd::kGetReq, kPs, {0x0100, 1, 0, 0}).at(8), 1);
        }
        ASSERT_TRUE(eventually([&] { return unplugged(*server); }));
        run_session(server->where(), LinkProtocol::ptsp, 2);
    }
    struct stat info {};
    EXPECT_NE(::lstat(path.c_str(), &info), 0);  // removed with the server

    std::ofstream(path) << "not a socket";
    EXPECT_FALSE(ChipServer::unix_socket(path, {}, error));
    EXPECT_EQ(error, path + " exists and is not a socket");
    std::remove(path.c_str());
}

TEST(SimChipServer, TcpPortOnTheLoopbackKeepsTheStore) {
    std::string error;
    auto server = ChipServer::tcp(0, {}, error);
    ASSERT_TRUE(server) << error;
    EXPECT_TRUE(server->where().starts_with("tcp:127.0.0.1:")) << server->where();
    run_session(server->where(), LinkProtocol::h4, 1);
    ASSERT_TRUE(eventually([&] { return unplugged(*server); }));
    run_session(server->where(), LinkProtocol::ptsp, 2);
    EXPECT_EQ(server->chip().ps()->get(0x0100), (PsStore::Value{2}));
}

}  // namespace
}  // namespace kestrel::sim
