#include "transport/platform/h4_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kestrel::h4 {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes hex(const std::string& text) {
    Bytes out;
    std::istringstream in(text);
    std::string token;
    while (in >> token) out.push_back(static_cast<uint8_t>(std::stoul(token, nullptr, 16)));
    return out;
}

// A Petrel word array as its little-endian bytes, written independently of the codec.
Bytes words(std::initializer_list<uint16_t> values) {
    Bytes out;
    for (uint16_t v : values) {
        out.push_back(v & 0xFF);
        out.push_back(v >> 8);
    }
    return out;
}

Bytes concat(const std::vector<Packet>& packets) {
    Bytes out;
    for (const Packet& p : packets) {
        const Bytes wire = encode(p);
        out.insert(out.end(), wire.begin(), wire.end());
    }
    return out;
}

struct Decoded {
    std::vector<Packet> packets;
    std::vector<uint8_t> bad_types;
};

void feed(Decoder& decoder, std::span<const uint8_t> bytes, Decoded& out) {
    decoder.feed(
        bytes, [&](Packet p) { out.packets.push_back(std::move(p)); },
        [&](uint8_t b) { out.bad_types.push_back(b); });
}

Decoded decode_in_chunks(Decoder& decoder, const Bytes& stream, std::mt19937& rng, size_t max_chunk) {
    Decoded out;
    std::uniform_int_distribution<size_t> size(1, max_chunk);
    for (size_t at = 0; at < stream.size();) {
        const size_t n = std::min(size(rng), stream.size() - at);
        feed(decoder, std::span(stream).subspan(at, n), out);
        at += n;
    }
    return out;
}

void expect_same(const std::vector<Packet>& actual, const std::vector<Packet>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].type, expected[i].type) << "packet " << i;
        EXPECT_EQ(actual[i].body, expected[i].body) << "packet " << i;
    }
}

// The reference packets of vectors/h4.txt, each with the builder call that
// must produce it and, for tunnel packets, the message it carries.
struct Vector {
    const char* name;
    const char* wire;
    Packet built;
    uint8_t tunnel_channel;  // 0: not a tunnel packet
    Bytes tunnel_message;
};

std::vector<Vector> vectors() {
    const Bytes chipver_get = words({0x0000, 9, 1, 0x281A, 0, 0, 0, 0, 0});
    const Bytes ps_set = words({0x0002, 9, 1, 0x7003, 0, 0x01FE, 1, 0, 0x6590});
    const Bytes chipver_resp = words({0x0001, 9, 1, 0x281A, 0, 0x0002, 0, 0, 0});
    const Bytes dm_reset = {0x03, 0x0C, 0x00, 0x00};
    return {
        {"reset", "01 03 0C 00", command(0x0C03, {}), 0, {}},
        {"reset complete", "04 0E 04 01 03 0C 00", event(0x0E, hex("01 03 0C 00")), 0, {}},
        {"get CHIPVER", "01 00 FC 13 C2 00 00 09 00 01 00 1A 28 00 00 00 00 00 00 00 00 00 00",
         tunnel_to_chip(2, chipver_get).at(0), 2, chipver_get},
        {"set PS 0x01FE", "01 00 FC 13 C2 02 00 09 00 01 00 03 70 00 00 FE 01 01 00 00 00 90 65",
         tunnel_to_chip(2, ps_set).at(0), 2, ps_set},
        {"CHIPVER response", "04 FF 13 C2 01 00 09 00 01 00 1A 28 00 00 02 00 00 00 00 00 00 00",
         tunnel_to_host(2, chipver_resp).at(0), 2, chipver_resp},
        {"DM_HCI_RESET", "01 00 FC 05 C4 03 0C 00 00", tunnel_to_chip(4, dm_reset).at(0), 4, dm_reset},
        {"unknown vendor command status", "04 0F 04 01 01 00 FC", event(0x0F, hex("01 01 00 FC")), 0, {}},
    };
}

TEST(H4Vectors, BuildersProduceEachReferencePacket) {
    for (const Vector& v : vectors()) {
        EXPECT_EQ(encode(v.built), hex(v.wire)) << v.name;
    }
    // The tunnel builders made exactly one packet for each of these short messages.
    EXPECT_EQ(tunnel_to_chip(4, hex("03 0C 00 00")).size(), 1u);
}

TEST(H4Vectors, DecoderParsesEachReferencePacket) {
    for (const Vector& v : vectors()) {
        const Bytes wire = hex(v.wire);
        Decoder decoder;
        Decoded out;
        feed(decoder, wire, out);
        ASSERT_EQ(out.packets.size(), 1u) << v.name;
        EXPECT_TRUE(out.bad_types.empty()) << v.name;
        const Packet& p = out.packets[0];
        EXPECT_EQ(p.type, wire[0]) << v.name;
        EXPECT_EQ(encode(p), wire) << v.name;

        const auto block = tunnel_block(p);
        ASSERT_EQ(block.has_value(), v.tunnel_channel != 0) << v.name;
        if (!block) continue;
        TunnelReassembler reassembler;
        const auto message = reassembler.feed(*block);
        ASSERT_TRUE(message) << v.name;
        EXPECT_EQ(message->channel, v.tunnel_channel) << v.name;
        EXPECT_EQ(message->bytes, v.tunnel_message) << v.name;
    }
}

TEST(H4Vectors, AccessorsReadTheHeaders) {
    const Packet reset = command(0x0C03, {});
    EXPECT_EQ(command_opcode(reset), 0x0C03);
    EXPECT_TRUE(payload(reset).empty());

    const Packet status{kEvent, hex("0F 04 01 01 00 FC")};
    EXPECT_EQ(event_code(status), 0x0F);
    EXPECT_EQ(Bytes(payload(status).begin(), payload(status).end()), hex("01 01 00 FC"));
    EXPECT_FALSE(is_tunnel_event(status));  // it names the vendor opcode but is not the vendor event
    EXPECT_FALSE(tunnel_block(status));

    const Packet vendor_command{kCommand, hex("00 FC 01 C2")};
    EXPECT_TRUE(is_tunnel_command(vendor_command));
    EXPECT_FALSE(is_tunnel_event(vendor_command));
    const Packet vendor_event{kEvent, hex("FF 02 C2 7E")};
    EXPECT_TRUE(is_tunnel_event(vendor_event));
    EXPECT_FALSE(is_tunnel_command(vendor_event));
    ASSERT_TRUE(tunnel_block(vendor_event));
    EXPECT_EQ(Bytes(tunnel_block(vendor_event)->begin(), tunnel_block(vendor_event)->end()), hex("C2 7E"));
    // A vendor event with no parameters is still the vendor event; its block is empty.
    ASSERT_TRUE(tunnel_block(Packet{kEvent, hex("FF 00")}));
    EXPECT_TRUE(tunnel_block(Packet{kEvent, hex("FF 00")})->empty());

    // Hand-built packets too short for their header read as nothing.
    EXPECT_EQ(command_opcode(Packet{kCommand, hex("00")}), 0);
    EXPECT_FALSE(is_tunnel_event(Packet{kEvent, hex("FF")}));
    EXPECT_TRUE(payload(Packet{kAcl, hex("01 20 05")}).empty());
    EXPECT_EQ(event_code(command(0x00FF, {})), 0);  // wrong type
}

TEST(H4Framing, AclAndScoUseTheirOwnLengthFields) {
    Bytes data(300);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7);
    const Packet big = acl(0x2001, data);
    const Bytes wire = encode(big);
    ASSERT_EQ(wire.size(), 1 + 4 + 300u);
    EXPECT_EQ(Bytes(wire.begin(), wire.begin() + 5), hex("02 01 20 2C 01"));  // 16-bit length, LE
    EXPECT_EQ(handle_field(big), 0x2001);
    EXPECT_EQ(Bytes(payload(big).begin(), payload(big).end()), data);

    EXPECT_EQ(encode(sco(0x0003, hex("11 22"))), hex("03 03 00 02 11 22"));
    EXPECT_EQ(encode(acl(0x0102, {})), hex("02 02 01 00 00"));

    // Decoding must take the ACL length as 16 bits and the SCO length as 8:
    // an SCO packet whose handle bytes would spoil a 16-bit reading comes first.
    Bytes stream = hex("03 03 00 02 11 22");
    stream.insert(stream.end(), wire.begin(), wire.end());
    Decoder decoder;
    Decoded out;
    feed(decoder, stream, out);
    expect_same(out.packets, {sco(0x0003, hex("11 22")), big});
}

TEST(H4Framing, BuildersRefuseWhatTheLengthFieldCannotHold) {
    EXPECT_EQ(command(0x1234, Bytes(255)).body.size(), 3 + 255u);
    EXPECT_THROW(command(0x1234, Bytes(256)), std::length_error);
    EXPECT_THROW(event(0x0E, Bytes(256)), std::length_error);
    EXPECT_THROW(sco(1, Bytes(256)), std::length_error);
    EXPECT_EQ(acl(1, Bytes(0xFFFF)).body.size(), 4 + 0xFFFFu);
    EXPECT_THROW(acl(1, Bytes(0x10000)), std::length_error);
}

// A stream of every kind of packet, tunnel messages of several fragments included.
std::vector<Packet> mixed_packets() {
    std::vector<Packet> packets;
    for (const Vector& v : vectors()) packets.push_back(v.built);
    Bytes long_message(600);
    for (size_t i = 0; i < long_message.size(); ++i) long_message[i] = static_cast<uint8_t>(i);
    for (Packet& p : tunnel_to_chip(5, long_message)) packets.push_back(std::move(p));
    for (Packet& p : tunnel_to_host(6, long_message)) packets.push_back(std::move(p));
    packets.push_back(acl(0x2001, long_message));
    packets.push_back(sco(0x0003, hex("AA BB CC")));
    packets.push_back(event(0x13, {}));
    return packets;
}

TEST(H4Decoder, WholeStreamByteByByteAndInRandomChunks) {
    const std::vector<Packet> packets = mixed_packets();
    const Bytes stream = concat(packets);

    Decoder whole;
    Decoded at_once;
    feed(whole, stream, at_once);
    expect_same(at_once.packets, packets);

    std::vector<size_t> ends;  // stream offsets just after each packet
    for (const Packet& p : packets) ends.push_back((ends.empty() ? 0 : ends.back()) + 1 + p.body.size());
    Decoder bytewise;
    Decoded one_by_one;
    for (size_t i = 0; i < stream.size(); ++i) {
        feed(bytewise, std::span(stream).subspan(i, 1), one_by_one);
        // A packet is delivered exactly when its last byte arrives, not before.
        const size_t complete = std::upper_bound(ends.begin(), ends.end(), i + 1) - ends.begin();
        ASSERT_EQ(one_by_one.packets.size(), complete) << "after byte " << i;
        EXPECT_EQ(bytewise.mid_packet(), complete == 0 || ends[complete - 1] != i + 1);
    }
    expect_same(one_by_one.packets, packets);
    EXPECT_TRUE(one_by_one.bad_types.empty());

    for (unsigned seed : {1u, 2u, 3u, 42u, 2024u}) {
        std::mt19937 rng(seed);
        Decoder decoder;
        const Decoded chunked = decode_in_chunks(decoder, stream, rng, 40);
        SCOPED_TRACE(seed);
        EXPECT_FALSE(decoder.mid_packet());
        expect_same(chunked.packets, packets);
        EXPECT_TRUE(chunked.bad_types.empty());
    }
}

TEST(H4Decoder, HandlerMayFeedTheDecoderAgain) {
    const Bytes first = hex("04 0E 04 01 03 0C 00");
    const Bytes second = hex("01 03 0C 00");
    Decoder decoder;
    std::vector<Packet> seen;
    std::function<void(Packet)> on_packet = [&](Packet p) {
        seen.push_back(p);
        if (seen.size() == 1) decoder.feed(second, on_packet, [](uint8_t) {});
    };
    decoder.feed(first, on_packet, [](uint8_t) { ADD_FAILURE(); });
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(encode(seen[1]), second);
}

TEST(H4Decoder, GarbageIsReportedOncePerRunAndSkipped) {
    const Packet a = command(0x0C03, {});
    const Packet b = tunnel_to_host(2, hex("01 00 09 00")).at(0);
    const Packet c = acl(0x0001, hex("DE AD"));
    Bytes stream = hex("00 FF 7F");  // a run before the first packet
    for (const auto& [packet, garbage] : std::vector<std::pair<Packet, std::string>>{
             {a, "C0 05 FF 00 80"}, {b, "F0"}, {c, ""}}) {
        const Bytes wire = encode(packet);
        stream.insert(stream.end(), wire.begin(), wire.end());
        const Bytes junk = hex(garbage);
        stream.insert(stream.end(), junk.begin(), junk.end());
    }
    const std::vector<uint8_t> expected_reports = {0x00, 0xC0, 0xF0};

    Decoder whole;
    Decoded at_once;
    feed(whole, stream, at_once);
    expect_same(at_once.packets, {a, b, c});
    EXPECT_EQ(at_once.bad_types, expected_reports);

    // A run split over several feeds is still one run.
    Decoder bytewise;
    Decoded one_by_one;
    for (size_t i = 0; i < stream.size(); ++i) feed(bytewise, std::span(stream).subspan(i, 1), one_by_one);
    expect_same(one_by_one.packets, {a, b, c});
    EXPECT_EQ(one_by_one.bad_types, expected_reports);

    std::mt19937 rng(7);
    Decoder decoder;
    const Decoded chunked = decode_in_chunks(decoder, stream, rng, 6);
    expect_same(chunked.packets, {a, b, c});
    EXPECT_EQ(chunked.bad_types, expected_reports);
}

TEST(H4Decoder, RandomBytesNeverYieldAMalformedPacket) {
    std::mt19937 rng(99);
    std::uniform_int_distribution<int> byte(0, 255);
    Bytes noise(200000);
    for (uint8_t& b : noise) b = static_cast<uint8_t>(byte(rng));
    Decoder decoder;
    const Decoded out = decode_in_chunks(decoder, noise, rng, 300);
    ASSERT_FALSE(out.packets.empty());
    for (const Packet& p : out.packets) {
        ASSERT_GE(p.type, kCommand);
        ASSERT_LE(p.type, kEvent);
        // Declared length, read here independently of the decoder's table.
        const Bytes& b = p.body;
        size_t header = 0, declared = 0;
        switch (p.type) {
        case kCommand: header = 3; declared = b.at(2); break;
        case kAcl: header = 4; declared = b.at(2) | b.at(3) << 8; break;
        case kSco: header = 3; declared = b.at(2); break;
        case kEvent: header = 2; declared = b.at(1); break;
        }
        ASSERT_EQ(b.size(), header + declared);
    }
    // Garbage was met and reported, never more often than packets separate runs.
    EXPECT_FALSE(out.bad_types.empty());
    EXPECT_LE(out.bad_types.size(), out.packets.size() + 1);
}

TEST(VendorTunnel, FragmentsAtTheBoundaries) {
    struct Case {
        size_t length;
        size_t fragments;
    };
    for (const Case& c : {Case{0, 1}, Case{1, 1}, Case{253, 1}, Case{254, 2}, Case{506, 2}, Case{507, 3}}) {
        SCOPED_TRACE(c.length);
        Bytes message(c.length);
        for (size_t i = 0; i < message.size(); ++i) message[i] = static_cast<uint8_t>(i * 31 + 5);

        for (bool to_chip : {true, false}) {
            const uint8_t channel = to_chip ? 13 : 63;
            const auto packets = to_chip ? tunnel_to_chip(channel, message) : tunnel_to_host(channel, message);
            ASSERT_EQ(packets.size(), c.fragments);
            Bytes joined;
            TunnelReassembler reassembler;
            for (size_t i = 0; i < packets.size(); ++i) {
                const Packet& p = packets[i];
                EXPECT_TRUE(to_chip ? is_tunnel_command(p) : is_tunnel_event(p));
                const auto block = *tunnel_block(p);
                // Header length byte = descriptor + fragment.
                EXPECT_EQ(p.body[to_chip ? 2 : 1], block.size());
                const bool last = i + 1 == packets.size();
                EXPECT_EQ(block.size() - 1, last ? c.length - i * 253 : 253u);
                const uint8_t expected_descriptor =
                    channel | (i == 0 ? 0x40 : 0) | (last ? 0x80 : 0);
                EXPECT_EQ(block[0], expected_descriptor);
                joined.insert(joined.end(), block.begin() + 1, block.end());

                const auto message_out = reassembler.feed(block);
                ASSERT_EQ(message_out.has_value(), last);
                if (last) {
                    EXPECT_EQ(message_out->channel, channel);
                    EXPECT_EQ(message_out->bytes, message);
                }
            }
            EXPECT_EQ(joined, message);
            EXPECT_EQ(reassembler.dropped(), 0u);

            // Overhead against the bytes actually put on the line.
            const size_t line = concat(packets).size();
            EXPECT_EQ(line - c.length, to_chip ? tunnel_command_overhead(c.length) : tunnel_event_overhead(c.length));
            EXPECT_EQ(line - c.length, (to_chip ? 5 : 4) * c.fragments);
        }
    }
    EXPECT_EQ(tunnel_overhead(253), 5u);
    EXPECT_EQ(tunnel_overhead(254), 10u);
    EXPECT_EQ(tunnel_overhead(507), 15u);
}

TEST(VendorTunnel, ChannelMustFitTheDescriptor) {
    EXPECT_THROW(tunnel_to_chip(64, hex("01")), std::out_of_range);
    EXPECT_THROW(tunnel_to_host(0xFF, hex("01")), std::out_of_range);
    EXPECT_EQ(encode(tunnel_to_host(63, hex("AB")).at(0)), hex("04 FF 02 FF AB"));
}

// Parameter blocks written by hand: descriptor then message bytes.
struct Step {
    const char* block;
    const char* delivered;  // nullptr: nothing delivered
    uint8_t channel;
    size_t dropped_after;
};

void run(const std::vector<Step>& steps) {
    TunnelReassembler reassembler;
    for (size_t i = 0; i < steps.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "step " << i << ": " << steps[i].block);
        const auto out = reassembler.feed(hex(steps[i].block));
        ASSERT_EQ(out.has_value(), steps[i].delivered != nullptr);
        if (out) {
            EXPECT_EQ(out->channel, steps[i].channel);
            EXPECT_EQ(out->bytes, hex(steps[i].delivered));
        }
        EXPECT_EQ(reassembler.dropped(), steps[i].dropped_after);
    }
}

TEST(TunnelReassembler, RecoversFromLostAndStrayFragments) {
    {
        SCOPED_TRACE("a last fragment with no first is dropped; the next message passes");
        run({{"82 01 02", nullptr, 0, 1}, {"C2 03", "03", 2, 1}});
    }
    {
        SCOPED_TRACE("an orphaned message counts once, however many fragments it has");
        run({{"02 01", nullptr, 0, 1}, {"02 02", nullptr, 0, 1}, {"82 03", nullptr, 0, 1}, {"C2 04", "04", 2, 1},
             {"02 05", nullptr, 0, 2}, {"82 06", nullptr, 0, 2}, {"02 07", nullptr, 0, 3}});
    }
    {
        SCOPED_TRACE("a first fragment ends the skipping of an orphan");
        run({{"02 01", nullptr, 0, 1}, {"44 0A", nullptr, 0, 1}, {"84 0B", "0A 0B", 4, 1}});
    }
    {
        SCOPED_TRACE("a new first fragment drops the partial message and starts over");
        run({{"42 01 02", nullptr, 0, 0}, {"42 0A", nullptr, 0, 1}, {"02 0B", nullptr, 0, 1},
             {"82 0C", "0A 0B 0C", 2, 1}});
    }
    {
        SCOPED_TRACE("a new single-fragment message drops the partial message");
        run({{"42 01", nullptr, 0, 0}, {"C5 09", "09", 5, 1}, {"82 02", nullptr, 0, 2}});
    }
    {
        SCOPED_TRACE("a channel change drops the partial message and the stray message");
        run({{"42 01", nullptr, 0, 0}, {"04 0A", nullptr, 0, 2}, {"84 0B", nullptr, 0, 2},
             {"82 02", nullptr, 0, 3}, {"C4 0C", "0C", 4, 3}});
    }
    {
        SCOPED_TRACE("an orphan on another channel than the one skipped is a new orphan");
        run({{"02 01", nullptr, 0, 1}, {"05 01", nullptr, 0, 2}, {"85 02", nullptr, 0, 2}});
    }
    {
        SCOPED_TRACE("a block without descriptor is counted and leaves the partial message whole");
        run({{"42 01", nullptr, 0, 0}, {"", nullptr, 0, 1}, {"82 02", "01 02", 2, 1}});
    }
    {
        SCOPED_TRACE("an empty message is one first-and-last fragment");
        run({{"C7", "", 7, 0}});
    }
}

}  // namespace
}  // namespace kestrel::h4
