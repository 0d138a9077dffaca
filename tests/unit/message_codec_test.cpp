#include "transport/platform/message_codec.h"

#include <gtest/gtest.h>

namespace kestrel {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(MessageCodec, StackPrimitiveBlocksFollowTheFixedBytes) {
    AttachedPrimitive p;
    p.bytes.assign(20, 0);
    put_le16(p.bytes.data(), 0x0019);
    p.bytes[4] = 7;
    p.pointer_offsets = {12, 16};
    put_le32(p.bytes.data() + 12, p.attach({0xAA, 0xBB, 0xCC}));
    const Bytes wire = encode_stack_message(p);
    ASSERT_EQ(wire.size(), 20u + 2 + 3 + 2);
    EXPECT_EQ(get_le32(wire.data() + 12), 0u);  // pointers travel as 0
    EXPECT_EQ(Bytes(wire.begin() + 20, wire.end()), (Bytes{3, 0, 0xAA, 0xBB, 0xCC, 0, 0}));

    const std::vector<uint16_t> offsets{12, 16};
    auto back = decode_stack_message(wire, 20, offsets);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->bytes[4], 7);
    EXPECT_EQ(Bytes(back->block_at(12).begin(), back->block_at(12).end()), (Bytes{0xAA, 0xBB, 0xCC}));
    EXPECT_TRUE(back->block_at(16).empty());
    EXPECT_EQ(get_le32(back->bytes.data() + 16), 0u);

    // Short, overlong or inconsistent messages are refused.
    EXPECT_FALSE(decode_stack_message(Bytes(wire.begin(), wire.begin() + 19), 20, offsets));
    EXPECT_FALSE(decode_stack_message(Bytes(wire.begin(), wire.end() - 1), 20, offsets));
    Bytes longer = wire;
    longer.push_back(0);
    EXPECT_FALSE(decode_stack_message(longer, 20, offsets));
}

TEST(MessageCodec, PtcmdArraysNarrowToWords) {
    // The chip version request of the reference frames.
    const std::vector<uint32_t> get_chipver{10, 0, 9, 1, 0x281A, 0, 0, 0, 0, 0};
    EXPECT_EQ(encode_ptcmd_message(get_chipver),
              (Bytes{0, 0, 9, 0, 1, 0, 0x1A, 0x28, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    // The smaller of element 0 and the size decides; one element sends nothing.
    EXPECT_EQ(encode_ptcmd_message(std::vector<uint32_t>{3, 0x10001, 2, 3, 4}), (Bytes{1, 0, 2, 0}));
    EXPECT_EQ(encode_ptcmd_message(std::vector<uint32_t>{9, 5}), (Bytes{5, 0}));
    EXPECT_TRUE(encode_ptcmd_message(std::vector<uint32_t>{1}).empty());

    const Bytes response{1, 0, 9, 0, 1, 0, 0x1A, 0x28, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(decode_ptcmd_message(response), (std::vector<uint32_t>{10, 1, 9, 1, 0x281A, 0, 2, 0, 0, 0}));
}

}  // namespace
}  // namespace kestrel
