#include "transport/primitive_ring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "output_capture.h"

namespace kestrel {
namespace {

AttachedPrimitive primitive(uint16_t type, size_t size) {
    AttachedPrimitive p;
    p.bytes.assign(size, 0);
    put_le16(p.bytes.data(), type);
    return p;
}

std::vector<uint8_t> text_block(const std::string& text) { return {text.begin(), text.end()}; }

TEST(PrimitiveRing, TakesInOrderAndKeepsTheRecordUntilTheNextTake) {
    PrimitiveRing ring(1024, 60000);
    const uint8_t first[] = {1, 2, 3}, second[] = {4, 5};
    ring.push(2, first);
    ring.push(13, second);
    uint32_t channel = 0, size = 0;
    const uint8_t* a = ring.take(false, &channel, &size);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(channel, 2u);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(std::vector<uint8_t>(a, a + 3), std::vector<uint8_t>({1, 2, 3}));
    ring.push(4, first);  // a push while a record is in use leaves it alone
    EXPECT_EQ(a[0], 1);
    const uint8_t* b = ring.take(false, &channel, &size);
    EXPECT_EQ(channel, 13u);
    EXPECT_EQ(std::vector<uint8_t>(b, b + 2), std::vector<uint8_t>({4, 5}));
}

TEST(PrimitiveRing, PeekTwiceThenTakeAllSeeTheSameRecord) {
    PrimitiveRing ring(1024, 1);
    uint32_t channel = 0;
    EXPECT_EQ(ring.peek(&channel), nullptr);
    const uint8_t one[] = {9};
    ring.push(5, one);
    const uint8_t* p1 = ring.peek(&channel);
    const uint8_t* p2 = ring.peek(&channel);
    EXPECT_EQ(p1, p2);
    EXPECT_EQ(ring.take(true, &channel), p1);
    EXPECT_EQ(ring.records_waiting(), 0u);
}

TEST(PrimitiveRing, TimeOutAbandonAndReset) {
    PrimitiveRing ring(1024, 0);
    ring.set_timeout(1);
    EXPECT_EQ(ring.timeout_seconds(), 1u);
    uint32_t channel = 0;
    EXPECT_EQ(ring.take(true, &channel), nullptr);  // nothing within a second

    // Without a time-out the take waits for a push from another thread.
    std::thread producer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const uint8_t late[] = {7};
        ring.push(6, late);
    });
    const uint8_t* got = ring.take(false, &channel);
    producer.join();
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(*got, 7);

    std::thread closer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ring.abandon();
    });
    EXPECT_EQ(ring.take(false, &channel), nullptr);
    closer.join();

    ring.reset();
    const uint8_t three[] = {1};
    for (int i = 0; i < 3; ++i) ring.push(4, three);
    ring.reset();
    EXPECT_EQ(ring.take(true, &channel), nullptr);  // flushed: the take times out
}

TEST(PrimitiveRing, FullRingWaitsThenDropsWithAMessage) {
    test::OutputCapture capture;
    PrimitiveRing ring(256, 1);
    const std::vector<uint8_t> big(100, 0xAA);
    EXPECT_TRUE(ring.push(13, big));
    EXPECT_TRUE(ring.push(13, big));
    EXPECT_FALSE(ring.push(13, big));  // a second passes with nobody reading
    EXPECT_EQ(ring.dropped(), 1u);
    EXPECT_NE(capture.take().find("dropped channel 13"), std::string::npos);
    const std::vector<uint8_t> huge(PrimitiveRing::kMaxRecord, 0);
    EXPECT_FALSE(ring.push(13, huge));
    uint32_t channel = 0;
    ASSERT_NE(ring.take(false, &channel), nullptr);
    ASSERT_NE(ring.take(false, &channel), nullptr);
    EXPECT_EQ(ring.take(true, &channel), nullptr);
}

TEST(PrimitiveRing, ManyProducersOneConsumerLoseNothing) {
    PrimitiveRing ring(4096, 5);
    constexpr int kPerProducer = 5000;
    std::vector<std::thread> producers;
    for (uint8_t id = 0; id < 3; ++id)
        producers.emplace_back([&ring, id] {
            for (int i = 0; i < kPerProducer; ++i) {
                uint8_t message[5] = {id};
                put_le32(message + 1, static_cast<uint32_t>(i));
                ASSERT_TRUE(ring.push(13, std::span<const uint8_t>(message, 1 + (i % 4) + 1)));
            }
        });
    int next[3] = {0, 0, 0};
    uint32_t channel = 0, size = 0;
    for (int n = 0; n < 3 * kPerProducer; ++n) {
        const uint8_t* record = ring.take(true, &channel, &size);
        ASSERT_NE(record, nullptr);
        const uint8_t id = record[0];
        ASSERT_LT(id, 3);
        uint8_t expected[5] = {id};
        put_le32(expected + 1, static_cast<uint32_t>(next[id]));
        ASSERT_EQ(size, 1u + (next[id] % 4) + 1);
        ASSERT_EQ(0, std::memcmp(record, expected, size)) << "producer " << int(id) << " message " << next[id];
        ++next[id];
    }
    for (auto& t : producers) t.join();
    EXPECT_EQ(ring.dropped(), 0u);
}

// Records keep their blocks behind the primitive, pointers as offsets.
TEST(TrailingData, DataIndicationCarriesItsPayload) {
    PrimitiveRing ring(1024, 1);
    AttachedPrimitive data = primitive(0x0019, 20);  // RFC_DATA_IND
    put_le16(data.bytes.data() + 8, 5);
    put_le32(data.bytes.data() + 12, data.attach(text_block("hello")));
    ring.push(6, data);
    AttachedPrimitive empty = primitive(0x0019, 20);
    ring.push(6, empty);

    uint32_t channel = 0, size = 0;
    const uint8_t* p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 20u + 5u);
    EXPECT_EQ(get_le32(p + 12), 20u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p + 20), 5), "hello");
    p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 20u);
    EXPECT_EQ(get_le32(p + 12), 0u);
}

TEST(TrailingData, LocalNameOfFortyCharacters) {
    PrimitiveRing ring(2048, 1);
    AttachedPrimitive name = primitive(0x0C4B, 40);
    const std::string text(40, 'n');
    put_le32(name.bytes.data() + 8, name.attach(text_block(text.substr(0, 32))));
    put_le32(name.bytes.data() + 12, name.attach(text_block(text.substr(32))));
    ring.push(4, name);
    uint32_t channel = 0, size = 0;
    const uint8_t* p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 40u + 256u);
    EXPECT_EQ(get_le32(p + 8), 40u);
    EXPECT_EQ(get_le32(p + 12), 40u + 32u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p + 40), 32), text.substr(0, 32));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p + 72)), text.substr(32));  // NUL-terminated
    for (int i = 2; i < 8; ++i) EXPECT_EQ(get_le32(p + 8 + 4 * i), 0u);
}

TEST(TrailingData, CountedAndTwoBlockRows) {
    PrimitiveRing ring(4096, 1);
    AttachedPrimitive inquiry = primitive(0x0424, 32);  // DM_HCI_INQUIRY_RESULT
    inquiry.bytes[4] = 3;
    for (int i = 0; i < 3; ++i)
        put_le32(inquiry.bytes.data() + 8 + 4 * i, inquiry.attach(std::vector<uint8_t>(20, uint8_t(0x10 + i))));
    ring.push(4, inquiry);

    AttachedPrimitive search = primitive(0x0002, 24);  // SDC_SERVICE_SEARCH_CFM
    put_le16(search.bytes.data() + 6, 4);
    put_le32(search.bytes.data() + 8, search.attach({1, 2, 3, 4}));
    put_le16(search.bytes.data() + 16, 2);
    put_le32(search.bytes.data() + 20, search.attach({8, 9}));
    ring.push(7, search);

    AttachedPrimitive tcp = primitive(0x0207, 12);  // TCP_DATA_IND: len(6) bytes
    put_le16(tcp.bytes.data() + 6, 6);
    put_le32(tcp.bytes.data() + 8, tcp.attach({1, 2, 3, 4, 5, 6}));
    ring.push(5, tcp);

    uint32_t channel = 0, size = 0;
    const uint8_t* p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 32u + 60u);  // room for three, one carried
    EXPECT_EQ(get_le32(p + 8), 32u);
    EXPECT_EQ(p[32], 0x10);
    EXPECT_EQ(p[32 + 20], 0);
    EXPECT_EQ(get_le32(p + 12), 0u);

    p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 24u + 6u);
    EXPECT_EQ(get_le32(p + 8), 24u);
    EXPECT_EQ(get_le32(p + 20), 28u);
    EXPECT_EQ(p[28], 8);

    p = ring.take(false, &channel, &size);
    EXPECT_GE(size, 12u + 6u);  // reserves at least what it copies
    EXPECT_EQ(p[12 + 5], 6);
}

TEST(TrailingData, CountedEntriesArePackedAndTheRestNulled) {
    PrimitiveRing ring(4096, 1);
    AttachedPrimitive keys = primitive(0x0427, 48);  // DM_HCI_RETURN_LINK_KEYS
    keys.bytes[4] = 2;
    put_le32(keys.bytes.data() + 8, keys.attach(std::vector<uint8_t>(24, 0x11)));
    put_le32(keys.bytes.data() + 12, keys.attach(std::vector<uint8_t>(24, 0x22)));
    put_le32(keys.bytes.data() + 16, keys.attach(std::vector<uint8_t>(24, 0x33)));  // beyond num_keys
    ring.push(4, keys);
    AttachedPrimitive laps = primitive(0x0C68, 32);  // DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE
    laps.bytes[5] = 1;
    put_le32(laps.bytes.data() + 8, laps.attach({0x33, 0x8b, 0x9e}));
    ring.push(4, laps);

    uint32_t channel = 0, size = 0;
    const uint8_t* p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 48u + 48u);
    EXPECT_EQ(get_le32(p + 8), 48u);
    EXPECT_EQ(get_le32(p + 12), 72u);
    EXPECT_EQ(get_le32(p + 16), 0u);
    EXPECT_EQ(p[48], 0x11);
    EXPECT_EQ(p[72], 0x22);

    p = ring.take(false, &channel, &size);
    EXPECT_EQ(size, 32u + 18u);
    EXPECT_EQ(get_le32(p + 8), 32u);
    EXPECT_EQ(p[32 + 2], 0x9e);
}

}  // namespace
}  // namespace kestrel
