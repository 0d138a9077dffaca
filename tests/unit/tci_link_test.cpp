// The TCI link over a Unix socket whose far end is the test: what the send
// paths put on the wire, and what the receive checks queue, drop and report,
// with the link's reader thread running (threaded label).
#include "transport/tci_link.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "output_capture.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

using Bytes = std::vector<uint8_t>;

// The device end: a listening socket that the link connects to.
class FarEnd {
public:
    FarEnd() {
        char pattern[] = "/tmp/tci_link_test.XXXXXX";
        dir_ = mkdtemp(pattern);
        path_ = dir_ + "/device.sock";
        listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        listen(listener_, 1);
    }
    ~FarEnd() {
        if (peer_ >= 0) close(peer_);
        close(listener_);
        unlink(path_.c_str());
        rmdir(dir_.c_str());
    }
    std::string device() const { return "unix:" + path_; }
    void accept_peer() { peer_ = accept(listener_, nullptr, nullptr); }
    void write_bytes(const Bytes& bytes) { ASSERT_EQ(write(peer_, bytes.data(), bytes.size()), ssize_t(bytes.size())); }
    // Exactly count bytes, or what came within five seconds.
    Bytes read_bytes(size_t count) {
        Bytes bytes;
        while (bytes.size() < count) {
            pollfd p{peer_, POLLIN, 0};
            if (poll(&p, 1, 5000) <= 0) break;
            uint8_t buffer[512];
            const ssize_t n = read(peer_, buffer, std::min(sizeof buffer, count - bytes.size()));
            if (n <= 0) break;
            bytes.insert(bytes.end(), buffer, buffer + n);
        }
        return bytes;
    }

private:
    std::string dir_, path_;
    int listener_ = -1, peer_ = -1;
};

struct Record {
    uint32_t channel = 0;
    Bytes bytes;
};

Record take(PrimitiveRing& ring) {
    uint32_t channel = 0, size = 0;
    const uint8_t* record = ring.take(true, &channel, &size);
    if (!record) return {};
    return {channel, Bytes(record, record + size)};
}

AttachedPrimitive primitive(Bytes bytes) {
    AttachedPrimitive p;
    p.bytes = std::move(bytes);
    return p;
}

class TciLinkTest : public ::testing::Test {
protected:
    void SetUp() override {
        ring_ = std::make_shared<PrimitiveRing>(32768, 5);
        std::thread accepter([&] { far_.accept_peer(); });
        ASSERT_TRUE(link_.connect(far_.device(), 115200, ring_));
        accepter.join();
    }
    FarEnd far_;
    std::shared_ptr<PrimitiveRing> ring_;
    TciLink link_;
};

TEST_F(TciLinkTest, SendPathsFillTheEnvelopeAndFlattenReferencedData) {
    link_.send_command(0x0C03, primitive(Bytes(3, 0)));
    EXPECT_EQ(far_.read_bytes(4), (Bytes{0x01, 0x03, 0x0C, 0x00}));

    // CLT enable: the count at 3, the PSMs behind the five fixed bytes.
    AttachedPrimitive clt = primitive({0, 0, 0, 2, 0, 0, 0, 0, 0});
    put_le32(clt.bytes.data() + 5, clt.attach({0x01, 0x10, 0x03, 0x10}));
    link_.send_command(0xF805, clt);
    EXPECT_EQ(far_.read_bytes(10), (Bytes{0x01, 0x05, 0xF8, 0x06, 0x02, 0x00, 0x01, 0x10, 0x03, 0x10}));

    // An L2CAP command complete: its op code replaces the script's.
    link_.send_event(0xF802, primitive({0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(far_.read_bytes(8), (Bytes{0x04, 0x0E, 0x05, 0x01, 0x02, 0xF8, 0x00, 0x00}));

    // An HCI command complete keeps the script's op code; an event id makes
    // a TCI event.
    link_.send_event(0x000E, primitive({0, 0, 1, 0x03, 0x0C, 0}));
    EXPECT_EQ(far_.read_bytes(7), (Bytes{0x04, 0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00}));
    link_.send_event(5, primitive({0, 0, 5, 0x40, 0, 0xE8, 3}));
    EXPECT_EQ(far_.read_bytes(8), (Bytes{0x04, 0xFE, 0x05, 0x05, 0x40, 0x00, 0xE8, 0x03}));

    // ACL data: the length decides how much of the data goes; missing bytes
    // go as zeros, never as whatever lies behind the block.
    AttachedPrimitive acl = primitive({0x02, 0x00, 0x03, 0x00, 0, 0, 0, 0});
    put_le32(acl.bytes.data() + 4, acl.attach({0xAA}));
    link_.send_acl(acl);
    EXPECT_EQ(far_.read_bytes(8), (Bytes{0x02, 0x02, 0x00, 0x03, 0x00, 0xAA, 0x00, 0x00}));
}

TEST_F(TciLinkTest, GetInfoDataTakesThePlaceOfItsSize) {
    AttachedPrimitive info = primitive(Bytes(13, 0));
    info.bytes[2] = 1;
    put_le16(info.bytes.data() + 7, 2);
    put_le32(info.bytes.data() + 9, info.attach({0x30, 0x31}));
    EXPECT_EQ(TciLink::event_packet(0xF80E, info), (Bytes{0x0E, 0x07, 0x01, 0x0E, 0xF8, 0x00, 0x00, 0x30, 0x31}));
}

TEST_F(TciLinkTest, ReceivedPacketsAreCheckedQueuedOrReported) {
    test::OutputCapture output;
    // A damaged stream, SCO data, an unknown event code, an unknown op code
    // and an unknown event id are reported; what follows them is queued.
    far_.write_bytes({0x09, 0x04, 0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00});
    far_.write_bytes({0x03, 0x01, 0x00, 0x01, 0x55});
    far_.write_bytes({0x04, 0x0F, 0x04, 0x00, 0x01, 0x05, 0x04});
    far_.write_bytes({0x01, 0x09, 0x04, 0x00});
    far_.write_bytes({0x04, 0xFE, 0x01, 0x06});
    far_.write_bytes({0x01, 0x1A, 0x0C, 0x01, 0x03});
    far_.write_bytes({0x02, 0x05, 0x00, 0x01, 0x00, 0x77});

    Record first = take(*ring_);
    EXPECT_EQ(first.channel, uint32_t(kChannelTci));
    EXPECT_EQ(first.bytes, (Bytes{0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00}));
    Record command = take(*ring_);
    EXPECT_EQ(command.channel, kChannelTciCommand);
    EXPECT_EQ(command.bytes, (Bytes{0x1A, 0x0C, 0x01, 0x03}));
    Record acl = take(*ring_);
    EXPECT_EQ(acl.channel, uint32_t(kChannelAcl));
    EXPECT_EQ(acl.bytes, (Bytes{0x05, 0x00, 0x01, 0x00, 0x77}));
    EXPECT_EQ(output.take(),
              "Error, unknown H4 packet type 0x09, resynchronising\n"
              "WARNING, SCO Data received, discarding data\n"
              "ERROR, Unexpected Hci event_code encountered: 15, discarding event\n"
              "ERROR, Unexpected Hci command received, discarding primitive\n"
              "ERROR, Unexpected TCI event_id encountered: 6, discarding event\n"
              "WARNING, ACL Data received, with unexpected handle (5), discarding data\n");
}

TEST(TciLinkReady, ADeviceThatNeverAppearsIsNotReady) {
    TciLink link;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(link.connect("unknown-device-name", 115200, nullptr));
    EXPECT_EQ(link.ring(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

}  // namespace
}  // namespace kestrel
