#include "decode/byte_block_text.h"

#include <gtest/gtest.h>

namespace kestrel {
namespace {

TEST(ByteBlockText, FormatsEachWidth) {
    const uint8_t bytes[] = {0x00, 0x0c, 0xff};
    EXPECT_EQ(byte_block_text(bytes), "0x00 0x0c 0xff");
    const uint16_t words[] = {0x1, 0xabcd};
    EXPECT_EQ(word_block_text(words), "0x0001 0xabcd");
    const uint32_t longs[] = {0xdeadbeef, 7};
    EXPECT_EQ(long_block_text(longs), "0xdeadbeef 0x00000007");
    EXPECT_EQ(byte_block_text({}), "");
}

}  // namespace
}  // namespace kestrel
