#include "transport/platform/usb_stream.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrel {
namespace {

using Bytes = std::vector<uint8_t>;
using Packets = std::vector<Bytes>;

// Reference packets laid out by hand: type, header, payload.
const Bytes kReset = {0x01, 0x03, 0x0C, 0x00};                         // command, no parameters
const Bytes kTunnelCommand = {0x01, 0x00, 0xFC, 0x03, 0xC2, 0xAA, 0xBB};  // vendor command, 3 bytes
const Bytes kAclShort = {0x02, 0x01, 0x20, 0x02, 0x00, 0x11, 0x22};
const Bytes kSco = {0x03, 0x02, 0x00, 0x01, 0x7F};

// ACL data of 0x0102 bytes: the length's high byte matters.
Bytes long_acl() {
    Bytes packet = {0x02, 0x05, 0x00, 0x02, 0x01};
    for (int i = 0; i < 0x0102; ++i) packet.push_back(static_cast<uint8_t>(i));
    return packet;
}

Bytes concat(const Packets& packets) {
    Bytes out;
    for (const Bytes& p : packets) out.insert(out.end(), p.begin(), p.end());
    return out;
}

TEST(UsbDeviceName, FifthCharacterCSelectsUsb) {
    EXPECT_TRUE(is_usb_device_name(R"(\\.\chip0)"));
    EXPECT_TRUE(is_usb_device_name(R"(\\.\CHIP1)"));
    EXPECT_TRUE(is_usb_device_name("xxxxc"));
    EXPECT_FALSE(is_usb_device_name(R"(\\.\hcw0)"));
    EXPECT_FALSE(is_usb_device_name("tcp:host:1"));
    EXPECT_FALSE(is_usb_device_name("xxxc"));  // too short to have a fifth character
    EXPECT_FALSE(is_usb_device_name(""));
}

TEST(UsbDeviceName, SeventhCharacterWSelectsUserChannel) {
    EXPECT_TRUE(is_hci_user_channel_name(R"(\\.\hcw0)"));
    EXPECT_TRUE(is_hci_user_channel_name(R"(\\.\HCW2)"));
    EXPECT_FALSE(is_hci_user_channel_name(R"(\\.\chip0)"));
    EXPECT_TRUE(is_hci_user_channel_name("xxxxxxW"));
    EXPECT_FALSE(is_hci_user_channel_name("xxxxxw"));
    EXPECT_FALSE(is_hci_user_channel_name("com1"));
}

TEST(UsbDeviceName, NumberEndsTheName) {
    EXPECT_EQ(device_number(R"(\\.\chip0)"), 0u);
    EXPECT_EQ(device_number(R"(\\.\chip12)"), 12u);
    EXPECT_EQ(device_number(R"(\\.\hcw7)"), 7u);
    EXPECT_EQ(device_number(R"(\\.\chip)"), 0u);
    EXPECT_EQ(device_number("4chip"), 0u);  // digits elsewhere do not count
    EXPECT_EQ(device_number("123"), 123u);
    EXPECT_EQ(device_number(""), 0u);
    EXPECT_EQ(device_number(R"(\\.\chip99999999999999999999)"), UINT_MAX);
}

TEST(H4PacketSplitter, SplitsEachKindOfHostPacket) {
    for (const Bytes& packet : {kReset, kTunnelCommand, kAclShort, long_acl(), kSco}) {
        H4PacketSplitter splitter;
        Packets out;
        EXPECT_TRUE(splitter.feed(packet, out));
        EXPECT_EQ(out, Packets{packet});
        EXPECT_FALSE(splitter.mid_packet());
    }
}

TEST(H4PacketSplitter, SameResultWhereverTheStreamIsCut) {
    const Packets packets = {kReset, long_acl(), kTunnelCommand, kSco, kAclShort};
    const Bytes stream = concat(packets);
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        H4PacketSplitter splitter;
        Packets out;
        ASSERT_TRUE(splitter.feed(std::span(stream).first(cut), out));
        ASSERT_TRUE(splitter.feed(std::span(stream).subspan(cut), out));
        ASSERT_EQ(out, packets) << "cut at " << cut;
    }
    H4PacketSplitter splitter;
    Packets out;
    for (uint8_t byte : stream) ASSERT_TRUE(splitter.feed({&byte, 1}, out));
    EXPECT_EQ(out, packets);
}

TEST(H4PacketSplitter, HoldsAnIncompletePacket) {
    H4PacketSplitter splitter;
    Packets out;
    EXPECT_TRUE(splitter.feed(std::span(kTunnelCommand).first(4), out));
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(splitter.mid_packet());
    EXPECT_TRUE(splitter.feed(std::span(kTunnelCommand).subspan(4), out));
    EXPECT_EQ(out, Packets{kTunnelCommand});
}

TEST(H4PacketSplitter, RefusesBytesThatStartNoHostPacket) {
    for (uint8_t bad : {0x00, 0x04, 0x05, 0xFF}) {  // 0x04: an event never comes from the host
        H4PacketSplitter splitter;
        Packets out;
        Bytes stream = kReset;
        stream.push_back(bad);
        stream.insert(stream.end(), kAclShort.begin(), kAclShort.end());
        EXPECT_FALSE(splitter.feed(stream, out)) << int(bad);
        EXPECT_EQ(out, Packets{kReset});  // what came before is kept, the rest dropped
        EXPECT_FALSE(splitter.mid_packet());
        EXPECT_TRUE(splitter.feed(kAclShort, out));  // starts afresh
        EXPECT_EQ(out, (Packets{kReset, kAclShort}));
    }
}

TEST(H4PacketSplitter, ResetDropsAPartialPacket) {
    H4PacketSplitter splitter;
    Packets out;
    EXPECT_TRUE(splitter.feed(std::span(kAclShort).first(3), out));
    splitter.reset();
    EXPECT_FALSE(splitter.mid_packet());
    EXPECT_TRUE(splitter.feed(kReset, out));
    EXPECT_EQ(out, Packets{kReset});
}

TEST(H4PacketSplitter, ImpliedTypeAddsTheTypeByte) {
    // Command Complete for the reset, then Command Status, as an interrupt
    // endpoint delivers them: no type byte, cut at transfer boundaries.
    const Bytes complete = {0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00};
    const Bytes status = {0x0F, 0x04, 0x00, 0x01, 0x05, 0x04};
    H4PacketSplitter events(0x04);
    Packets out;
    EXPECT_TRUE(events.feed(std::span(complete).first(5), out));
    EXPECT_TRUE(out.empty());
    Bytes rest(complete.begin() + 5, complete.end());
    rest.insert(rest.end(), status.begin(), status.end());
    EXPECT_TRUE(events.feed(rest, out));
    EXPECT_EQ(out, (Packets{{0x04, 0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00},
                            {0x04, 0x0F, 0x04, 0x00, 0x01, 0x05, 0x04}}));

    // Bulk data: two ACL packets in one transfer, the first byte 0x00 taken as header.
    H4PacketSplitter acl(0x02);
    out.clear();
    EXPECT_TRUE(acl.feed(Bytes{0x00, 0x20, 0x01, 0x00, 0x99, 0x00, 0x20, 0x00, 0x00}, out));
    EXPECT_EQ(out, (Packets{{0x02, 0x00, 0x20, 0x01, 0x00, 0x99}, {0x02, 0x00, 0x20, 0x00, 0x00}}));

    EXPECT_THROW(H4PacketSplitter(0x07), std::invalid_argument);
}

// This machine has no USB Bluetooth device and probably no Bluetooth sockets:
// every open must fail cleanly, name the device, and leave the stream usable.
void expect_clean_failure(ByteStream& stream, const std::string& names_device) {
    for (int attempt = 0; attempt < 2; ++attempt) {  // a failed open can be retried
        std::string error;
        EXPECT_FALSE(stream.open(error));
        EXPECT_NE(error.find(names_device), std::string::npos) << error;
        EXPECT_GT(error.size(), names_device.size() + 4) << "no reason given: " << error;
    }
    uint8_t buffer[16];
    EXPECT_EQ(stream.read(buffer, -1), -1);  // not open: answers at once, never waits
    EXPECT_FALSE(stream.write(kReset));
    stream.interrupt();
    stream.close();
}

TEST(UsbStream, OpenFailsWithoutADevice) {
    std::string error;
    auto stream = make_usb_stream(R"(\\.\chip3)", error);
    ASSERT_NE(stream, nullptr) << error;
    EXPECT_EQ(stream->name(), R"(\\.\chip3)");
    expect_clean_failure(*stream, "USB Bluetooth device number 3");
}

TEST(UsbStream, RefusesOtherNames) {
    std::string error;
    EXPECT_EQ(make_usb_stream(R"(\\.\hcw0)", error), nullptr);
    EXPECT_NE(error.find(R"(\\.\hcw0)"), std::string::npos) << error;
}

TEST(HciUserChannelStream, OpenFailsWithoutTheController) {
    std::string error;
    auto stream = make_hci_user_channel_stream(R"(\\.\hcw65000)", error);  // no machine has it
    ASSERT_NE(stream, nullptr) << error;
    expect_clean_failure(*stream, "cannot open hci65000: ");
}

TEST(HciUserChannelStream, NumberBeyondTheKernelsRangeIsNoDevice) {
    std::string error;
    auto stream = make_hci_user_channel_stream(R"(\\.\hcw70000)", error);
    ASSERT_NE(stream, nullptr) << error;
    EXPECT_FALSE(stream->open(error));
    EXPECT_EQ(error, "cannot open hci70000: No such device");  // not hci4464, its 16-bit remainder
}

TEST(HciUserChannelStream, RefusesOtherNames) {
    std::string error;
    EXPECT_EQ(make_hci_user_channel_stream(R"(\\.\chip0)", error), nullptr);
    EXPECT_NE(error.find(R"(\\.\chip0)"), std::string::npos) << error;
}

}  // namespace
}  // namespace kestrel
