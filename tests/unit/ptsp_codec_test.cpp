#include "transport/platform/ptsp_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

namespace kestrel::ptsp {
namespace {

std::vector<uint8_t> hex(std::string_view text) {
    std::istringstream in{std::string(text)};
    std::vector<uint8_t> bytes;
    for (unsigned value; in >> std::hex >> value;) bytes.push_back(static_cast<uint8_t>(value));
    return bytes;
}

std::vector<uint8_t> operator+(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Packet packet(uint8_t seq, uint8_t ack, bool reliable, bool crc, uint8_t channel, std::vector<uint8_t> payload) {
    return {.seq = seq, .ack = ack, .reliable = reliable, .has_crc = crc, .channel = channel, .payload = payload};
}

std::vector<Packet> decode_all(std::span<const uint8_t> bytes, FrameDecoder& decoder) {
    std::vector<Packet> packets;
    decoder.feed(bytes, [&](const Packet& p) { packets.push_back(p); });
    return packets;
}

const std::vector<uint8_t> kSyncBytes(kSync.begin(), kSync.end());
const std::vector<uint8_t> kChipver = hex("00 00 09 00 00 00 1A 28 00 00 00 00 00 00 00 00 00 00");

// vectors/ptsp.txt, with the fields of each frame worked out by hand.
const struct {
    const char* name;
    Packet packet;
    const char* frame;
} kReference[] = {
    {"sync", packet(0, 0, false, false, 1, kSyncBytes), "C0 00 41 00 BE DA DC ED ED C0"},
    {"sync crc", packet(0, 0, false, true, 1, kSyncBytes), "C0 40 41 00 7E DA DC ED ED A9 7A C0"},
    {"sync-resp", packet(0, 0, false, false, 1, hex("AC AF EF EE")), "C0 00 41 00 BE AC AF EF EE C0"},
    {"sync-resp crc", packet(0, 0, false, true, 1, hex("AC AF EF EE")), "C0 40 41 00 7E AC AF EF EE BB 84 C0"},
    {"conf", packet(0, 0, false, false, 1, hex("AD EF AC ED")), "C0 00 41 00 BE AD EF AC ED C0"},
    {"conf crc", packet(0, 0, false, true, 1, hex("AD EF AC ED")), "C0 40 41 00 7E AD EF AC ED A1 A6 C0"},
    {"conf-resp", packet(0, 0, false, false, 1, hex("DE AD D0 D0")), "C0 00 41 00 BE DE AD D0 D0 C0"},
    {"conf-resp crc", packet(0, 0, false, true, 1, hex("DE AD D0 D0")), "C0 40 41 00 7E DE AD D0 D0 83 58 C0"},
    {"ack-only crc", packet(0, 1, false, true, 0, {}), "C0 48 00 00 B7 5E 8C C0"},
    {"ack-only", packet(0, 1, false, false, 0, {}), "C0 08 00 00 F7 C0"},
    {"escaped header", packet(0, 0, true, true, 5, hex("03 0C 00")), "C0 DB DC 35 00 0A 03 0C 00 95 DE C0"},
    {"ptcmd chipver", packet(1, 1, true, true, 2, kChipver),
     "C0 C9 22 01 13 00 00 09 00 00 00 1A 28 00 00 00 00 00 00 00 00 00 00 25 03 C0"},
    {"escaped payload", packet(2, 0, true, true, 5, hex("C0 DB 01")), "C0 C2 35 00 08 DB DC DB DD 01 04 C9 C0"},
};

TEST(PtspCodec, CrcCheckValue) {
    const std::string_view digits = "123456789";
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(digits.data()), digits.size());
    EXPECT_EQ(crc_register(bytes), 0x6F91);
    EXPECT_EQ(crc_on_wire(bytes), 0x89F6);  // 0x6F91 with its 16 bits reversed
}

TEST(PtspCodec, ReferenceFramesEncodeAndDecode) {
    for (const auto& vector : kReference) {
        SCOPED_TRACE(vector.name);
        const std::vector<uint8_t> frame = hex(vector.frame);
        EXPECT_EQ(encode_frame(vector.packet), frame);
        FrameDecoder decoder;
        EXPECT_EQ(decode_all(frame, decoder), std::vector{vector.packet});
        EXPECT_EQ(decoder.dropped(), 0u);
    }
}

TEST(PtspCodec, EscapesReachTheCrcAndLimitsHold) {
    // Find a one-byte payload whose CRC holds a byte that must be escaped. The
    // header (E3 12 00 0A) and the payload need none, so any escape is the CRC's.
    bool found = false;
    for (unsigned value = 0; value < 256 && !found; ++value) {
        if (value == 0xC0 || value == 0xDB) continue;
        const Packet p = packet(3, 4, true, true, 2, {static_cast<uint8_t>(value)});
        const std::vector<uint8_t> frame = encode_frame(p);
        if (std::count(frame.begin(), frame.end(), 0xDB) == 0) continue;
        found = true;
        EXPECT_EQ(std::vector<uint8_t>(frame.begin(), frame.begin() + 6), hex("C0 E3 12 00 0A") + p.payload);
        EXPECT_EQ(std::count(frame.begin() + 1, frame.end() - 1, 0xC0), 0);
        FrameDecoder decoder;
        EXPECT_EQ(decode_all(frame, decoder), std::vector{p});
    }
    EXPECT_TRUE(found);

    const Packet largest = packet(7, 7, true, true, 15, std::vector<uint8_t>(kMaxPayload, 0xC0));
    FrameDecoder decoder;
    EXPECT_EQ(decode_all(encode_frame(largest), decoder), std::vector{largest});
    EXPECT_THROW(encode_frame(packet(0, 0, true, true, 2, std::vector<uint8_t>(kMaxPayload + 1))), std::length_error);
}

TEST(PtspCodec, DecoderKeepsGoodFramesFromAnyChunking) {
    const Packet first = kReference[1].packet, second = kReference[9].packet, third = kReference[12].packet;
    std::vector<uint8_t> bad_checksum = encode_frame(packet(1, 2, true, false, 4, hex("01 02")));
    bad_checksum[4] ^= 0x01;
    std::vector<uint8_t> bad_crc = encode_frame(packet(1, 2, true, true, 4, hex("01 02")));
    bad_crc[5] ^= 0x01;
    std::vector<uint8_t> bad_escape = bad_crc;
    bad_escape[5] = 0xDB;  // DB 02 is no escape
    std::vector<uint8_t> bad_length = encode_frame(packet(1, 2, true, false, 4, hex("01 02")));
    bad_length.insert(bad_length.end() - 1, 0x03);
    const std::vector<uint8_t> stream = hex("01 02") + encode_frame(first) + hex("C0 C0 55 66") +
                                        encode_frame(second) + bad_checksum + bad_crc + bad_escape +
                                        std::vector<uint8_t>(5000, 0x11) + bad_length + encode_frame(third);
    const std::vector<Packet> expected{first, second, third};
    const uint64_t expected_drops = 6;  // garbage, overlong run and the four bad frames

    std::mt19937 rng(7);
    for (size_t chunk : {stream.size(), size_t{1}, size_t{0}}) {  // 0: random sizes
        SCOPED_TRACE(chunk);
        FrameDecoder decoder;
        std::vector<Packet> got;
        for (size_t at = 0; at < stream.size();) {
            const size_t n = std::min(stream.size() - at, chunk ? chunk : 1 + rng() % 40);
            decoder.feed(std::span(stream).subspan(at, n), [&](const Packet& p) { got.push_back(p); });
            at += n;
        }
        EXPECT_EQ(got, expected);
        EXPECT_EQ(decoder.dropped(), expected_drops);
    }
}

// Message i as it is delivered: its channel (2-15 in turn), then two bytes of i.
std::vector<uint8_t> message(int i) {
    return {static_cast<uint8_t>(2 + i % 14), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
}

// Two links back to back over an in-memory wire, with a fake clock.
class PtspLink : public ::testing::Test {
protected:
    struct Side {
        std::unique_ptr<Link> link;
        std::vector<std::vector<uint8_t>> out;  // frames written, not yet carried
        std::vector<Packet> wire;               // every packet written
        std::vector<std::vector<uint8_t>> got;  // channel, then payload
        std::function<void(uint8_t, std::span<const uint8_t>)> on_deliver;
        int ups = 0, resets = 0;
    };
    Side a, b;
    uint32_t now = 0xFFFFFF00;  // the clock wraps in every test
    // A fault on the wire: may alter the frame; false loses it.
    std::function<bool(const Side& from, std::vector<uint8_t>& frame)> wire_fault;

    PtspLink() {
        reboot(a);
        reboot(b);
    }

    void reboot(Side& s) {
        s.out.clear();
        s.link = std::make_unique<Link>(Link::Callbacks{
            .write =
                [&s](std::span<const uint8_t> frame) {
                    s.out.emplace_back(frame.begin(), frame.end());
                    FrameDecoder tap;
                    tap.feed(frame, [&s](const Packet& p) { s.wire.push_back(p); });
                },
            .deliver =
                [&s](uint8_t channel, std::span<const uint8_t> payload) {
                    s.got.push_back(std::vector<uint8_t>{channel});
                    s.got.back().insert(s.got.back().end(), payload.begin(), payload.end());
                    if (s.on_deliver) s.on_deliver(channel, payload);
                },
            .on_link_up = [&s] { ++s.ups; },
            .on_peer_reset = [&s] { ++s.resets; },
        });
    }

    // Everything written reaches the other side, several frames per read.
    void carry() {
        while (!a.out.empty() || !b.out.empty()) {
            pass(a, b);
            pass(b, a);
        }
    }
    void pass(Side& from, Side& to) {
        std::vector<uint8_t> chunk;
        for (std::vector<uint8_t>& frame : std::exchange(from.out, {}))
            if (!wire_fault || wire_fault(from, frame)) chunk.insert(chunk.end(), frame.begin(), frame.end());
        if (!chunk.empty()) to.link->receive(chunk, now);
    }
    void run(uint32_t ms, uint32_t step = 5) {
        for (uint32_t t = 0; t < ms; t += step) {
            now += step;
            a.link->tick(now);
            b.link->tick(now);
            carry();
        }
    }
    void establish() {
        a.link->start(now);
        b.link->start(now);
        carry();
        run(500);
        ASSERT_TRUE(a.link->garrulous() && b.link->garrulous());
        a.wire.clear();
        b.wire.clear();
    }
    std::vector<std::vector<uint8_t>> send_all(Side& s, int count, int first = 0) {
        std::vector<std::vector<uint8_t>> sent;
        for (int i = first; i < first + count; ++i) {
            sent.push_back(message(i));
            s.link->send(sent.back()[0], {sent.back().begin() + 1, sent.back().end()}, now);
        }
        return sent;
    }
    static std::vector<uint8_t> reliable_seqs(const Side& s) {
        std::vector<uint8_t> seqs;
        for (const Packet& p : s.wire)
            if (p.reliable) seqs.push_back(p.seq);
        return seqs;
    }
};

TEST_F(PtspLink, EstablishesFromBothSidesStartedApart) {
    const uint32_t t0 = now;
    a.link->send(4, hex("42"), now);  // waits for the link
    a.link->start(now);
    EXPECT_EQ(a.link->next_deadline_ms(), t0 + 250);  // wraps past zero
    run(600);
    const Packet sync = packet(0, 0, false, true, 1, kSyncBytes);
    EXPECT_EQ(a.wire, (std::vector{sync, sync, sync}));  // at 0, 250 and 500 ms; b not started
    EXPECT_EQ(b.link->state(), Link::State::down);

    b.link->start(now);  // a answers b's SYNC; b goes curious, a ignores its CONF
    carry();
    EXPECT_EQ(a.link->state(), Link::State::shy);
    EXPECT_EQ(b.link->state(), Link::State::curious);
    run(150);  // a's SYNC at 750 ms: a goes curious, then garrulous on b's CONF-RESP
    EXPECT_TRUE(a.link->garrulous());
    EXPECT_EQ(b.link->state(), Link::State::curious);
    EXPECT_EQ(reliable_seqs(a), std::vector<uint8_t>{0});  // sent once garrulous, ignored by b
    run(100);  // b's CONF at 850 ms
    EXPECT_TRUE(b.link->garrulous());
    EXPECT_TRUE(b.got.empty());
    run(150);  // a resends at 1000 ms
    EXPECT_EQ(b.got, (std::vector<std::vector<uint8_t>>{{4, 0x42}}));
    EXPECT_EQ(a.link->retransmissions(), 1u);
    EXPECT_EQ(a.ups + b.ups, 2);
}

TEST_F(PtspLink, ThousandMessagesEachWayExactlyOnceInOrder) {
    establish();
    const auto from_a = send_all(a, 1000), from_b = send_all(b, 1000, 5000);
    carry();
    EXPECT_EQ(b.got, from_a);
    EXPECT_EQ(a.got, from_b);
    for (const Side* s : {&a, &b}) {
        EXPECT_EQ(s->link->retransmissions(), 0u);
        EXPECT_EQ(s->link->duplicates_dropped(), 0u);
        EXPECT_EQ(s->link->unacknowledged() + s->link->waiting(), 0u);
    }
}

TEST_F(PtspLink, WindowHoldsFourUnacknowledged) {
    establish();
    wire_fault = [this](const Side& from, std::vector<uint8_t>&) { return &from != &a; };
    const auto sent = send_all(a, 10);
    run(1000);
    const std::vector<uint8_t> seqs = reliable_seqs(a);
    EXPECT_EQ(std::set(seqs.begin(), seqs.end()), (std::set<uint8_t>{0, 1, 2, 3}));
    EXPECT_EQ(seqs.size(), 4u * 5);  // first sending and four resends each
    EXPECT_EQ(a.link->waiting(), 6u);
    a.link->receive(encode_frame(packet(0, 6, false, true, 0, {})), now);  // an ack outside the window
    EXPECT_EQ(a.link->unacknowledged(), 4u);
    wire_fault = nullptr;
    run(300);
    EXPECT_EQ(b.got, sent);
}

TEST_F(PtspLink, LostFrameIsResentAfter250Ms) {
    establish();
    int frames = 0;
    wire_fault = [&](const Side& from, std::vector<uint8_t>&) { return &from != &a || frames++ > 0; };
    const uint32_t sent_at = now;
    const auto sent = send_all(a, 1);
    EXPECT_EQ(a.link->next_deadline_ms(), sent_at + 250);
    carry();
    run(245, 1);
    EXPECT_TRUE(b.got.empty());
    EXPECT_EQ(a.link->retransmissions(), 0u);
    run(5, 1);
    EXPECT_EQ(b.got, sent);
    EXPECT_EQ(a.link->retransmissions(), 1u);
    EXPECT_EQ(reliable_seqs(a), (std::vector<uint8_t>{0, 0}));
}

TEST_F(PtspLink, DuplicateOrEarlyPacketIsDroppedAndAcked) {
    establish();
    send_all(a, 1);
    const std::vector<uint8_t> first = a.out.front();
    carry();
    ASSERT_EQ(b.got.size(), 1u);
    const std::vector<uint8_t> ack_one = encode_frame(packet(0, 1, false, true, 0, {}));
    for (const std::vector<uint8_t>& frame : {first, encode_frame(packet(3, 0, true, true, 2, {9}))}) {
        b.out.clear();
        b.link->receive(frame, now);
        EXPECT_EQ(b.got.size(), 1u);
        EXPECT_EQ(b.out, std::vector<std::vector<uint8_t>>{ack_one});
    }
    EXPECT_EQ(b.link->duplicates_dropped(), 2u);

    b.out.clear();  // unreliable data is delivered and not acknowledged
    b.link->receive(encode_frame(packet(0, 0, false, true, 11, {'h', 'i'})), now);
    EXPECT_EQ(b.got.back(), (std::vector<uint8_t>{11, 'h', 'i'}));
    EXPECT_TRUE(b.out.empty());
}

TEST_F(PtspLink, AckRidesOnDataSentFromDeliver) {
    establish();
    b.on_deliver = [&](uint8_t channel, std::span<const uint8_t> p) {
        b.link->send(channel, {p.begin(), p.end()}, now);  // an echo
    };
    send_all(a, 1);
    carry();
    EXPECT_EQ(a.got, b.got);
    ASSERT_EQ(b.wire.size(), 1u);  // the echo, no ack-only packet
    EXPECT_TRUE(b.wire[0].reliable);
    EXPECT_EQ(b.wire[0].ack, 1);
    EXPECT_EQ(a.wire.back(), packet(0, 1, false, true, 0, {}));
}

TEST_F(PtspLink, SequenceNumbersWrapPastSeven) {
    establish();
    std::vector<std::vector<uint8_t>> sent;
    for (int i = 0; i < 20; ++i) {
        sent.push_back(send_all(a, 1, i)[0]);
        carry();
    }
    EXPECT_EQ(b.got, sent);
    std::vector<uint8_t> expected;
    for (int i = 0; i < 20; ++i) expected.push_back(static_cast<uint8_t>(i % 8));
    EXPECT_EQ(reliable_seqs(a), expected);
    EXPECT_EQ(b.wire.back().ack, 4);
    EXPECT_EQ(a.link->unacknowledged(), 0u);
}

TEST_F(PtspLink, LossyWireStillDeliversEverythingOnce) {
    std::mt19937 rng(20240601);
    wire_fault = [&](const Side&, std::vector<uint8_t>& frame) {
        std::vector<uint8_t> kept;
        for (uint8_t byte : frame) {
            const unsigned roll = rng() % 200;  // 0.5% lost, 0.5% corrupted
            if (roll == 0) continue;
            kept.push_back(roll == 1 ? static_cast<uint8_t>(byte ^ (1 + rng() % 255)) : byte);
        }
        frame = kept;
        return true;
    };
    const auto from_a = send_all(a, 300), from_b = send_all(b, 300, 1000);
    a.link->start(now);
    run(40);
    b.link->start(now);
    for (int step = 0; step < 20000 && (a.got.size() < 300 || b.got.size() < 300); ++step) run(5);
    EXPECT_EQ(b.got, from_a);
    EXPECT_EQ(a.got, from_b);
    EXPECT_GT(a.link->frames_dropped() + b.link->frames_dropped(), 0u);
    EXPECT_GT(a.link->retransmissions() + b.link->retransmissions(), 0u);
    EXPECT_EQ(a.resets + b.resets, 0);
}

TEST_F(PtspLink, PeerResetIsDetectedAndUnackedDataResent) {
    establish();
    auto sent = send_all(a, 1);
    carry();
    wire_fault = [this](const Side& from, std::vector<uint8_t>&) { return &from != &a; };
    const auto lost = send_all(a, 3, 1);
    carry();
    wire_fault = nullptr;
    reboot(b);  // the peer restarts and has forgotten everything
    b.link->start(now);
    carry();
    EXPECT_EQ(a.resets, 1);
    EXPECT_EQ(a.link->peer_resets(), 1u);
    run(600);
    ASSERT_TRUE(a.link->garrulous() && b.link->garrulous());
    EXPECT_EQ(a.ups, 2);
    sent.insert(sent.end(), lost.begin(), lost.end());
    EXPECT_EQ(b.got, sent);
    const auto back = send_all(b, 2, 50);
    carry();
    EXPECT_EQ(a.got, back);
}

TEST_F(PtspLink, SendRefusesControlChannelsAndLongPayloads) {
    EXPECT_THROW(a.link->send(0, hex("01"), now), std::invalid_argument);
    EXPECT_THROW(a.link->send(1, hex("01"), now), std::invalid_argument);
    EXPECT_THROW(a.link->send(16, hex("01"), now), std::invalid_argument);
    EXPECT_THROW(a.link->send(2, std::vector<uint8_t>(kMaxPayload + 1), now), std::length_error);
    EXPECT_EQ(a.link->waiting(), 0u);
}

}  // namespace
}  // namespace kestrel::ptsp

namespace kestrel::ptsp {
namespace {

// With an acknowledgement delay, data sent within it carries the ack; only
// when none is sent does an ack-only frame follow, once the delay is over.
TEST_F(PtspLink, DelayedAckRidesOnTheNextMessageOrGoesOutAlone) {
    establish();
    b.link->set_ack_delay(2);
    a.link->send(2, hex("01"), now);
    pass(a, b);
    EXPECT_TRUE(b.out.empty());  // nothing yet: the ack waits
    EXPECT_EQ(b.link->next_deadline_ms(), now + 2);
    now += 1;
    b.link->send(2, hex("02"), now);
    ASSERT_EQ(b.out.size(), 1u);  // the answer, carrying the ack
    EXPECT_EQ(b.wire.back().ack, 1);
    EXPECT_TRUE(b.wire.back().reliable);
    now += 2;
    b.link->tick(now);
    EXPECT_EQ(b.out.size(), 1u);  // no ack-only after all
    carry();                      // a acknowledges the answer at once

    a.link->send(2, hex("03"), now);
    pass(a, b);
    EXPECT_TRUE(b.out.empty());
    now += 1;
    b.link->tick(now);
    EXPECT_TRUE(b.out.empty());
    now += 1;
    b.link->tick(now);  // the delay is over: the ack goes alone
    ASSERT_EQ(b.out.size(), 1u);
    EXPECT_EQ(b.wire.back(), packet(0, 2, false, true, 0, {}));
}

// A peer whose window is full can send nothing more: its packets are
// acknowledged at once, however long the delay, and counting starts again
// from the ack.
TEST_F(PtspLink, DelayedAckGoesAtOnceWhenThePeersWindowIsFull) {
    establish();
    b.link->set_ack_delay(10);
    send_all(a, 3);
    pass(a, b);
    EXPECT_TRUE(b.out.empty());  // three owed: the ack waits
    send_all(a, 3, 3);           // one fills a's window, two wait for the ack
    pass(a, b);
    ASSERT_EQ(b.out.size(), 1u);
    EXPECT_EQ(b.wire.back(), packet(0, 4, false, true, 0, {}));
    pass(b, a);                  // the window opens: the other two come
    pass(a, b);
    EXPECT_TRUE(b.out.empty());  // two owed: the ack waits again
    now += 10;
    b.link->tick(now);
    ASSERT_EQ(b.out.size(), 1u);
    EXPECT_EQ(b.wire.back(), packet(0, 6, false, true, 0, {}));
    EXPECT_EQ(b.got.size(), 6u);
    EXPECT_EQ(a.link->retransmissions(), 0u);
}

}  // namespace
}  // namespace kestrel::ptsp
