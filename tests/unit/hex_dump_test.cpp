#include "decode/hex_dump.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "shell/run_flags.h"

namespace kestrel {
namespace {

TEST(HexDump, SeventeenBytesWrapUnderThePrefix) {
    std::vector<uint8_t> bytes(17);
    std::iota(bytes.begin(), bytes.end(), 1);
    EXPECT_EQ(hex_dump_bytes(bytes, "->"),
              "-> 01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10\n"
              "   11\n");
}

TEST(HexDump, AFullLastLineAndEmptyDumps) {
    const uint16_t words[] = {1, 2, 3, 4, 5, 6, 7, 0xbeef};
    EXPECT_EQ(hex_dump_words(words, ""), " 0001,0002,0003,0004,0005,0006,0007,beef\n \n\r");
    EXPECT_EQ(hex_dump_bytes({}, "x"), "x EMPTY\n");
    const uint32_t longs[] = {0x12345678, 9};
    EXPECT_EQ(hex_dump_longs(longs, "w"), "w 12345678,00000009\n");
}

TEST(HexDump, ShortDumpsStopAtTen) {
    g_run_flags.fetch_and(~0x010u);
    std::vector<uint8_t> bytes(12, 0xab);
    std::vector<uint16_t> words(12, 1);
    const std::string b = hex_dump_bytes(bytes, "");
    const std::string w = hex_dump_words(words, "");
    g_run_flags.fetch_or(0x010u);
    EXPECT_EQ(b, " ab,ab,ab,ab,ab,ab,ab,ab,ab,ab..\n");
    EXPECT_EQ(w, " 0001,0001,0001,0001,0001,0001,0001,0001\n 0001,0001....\n");
}

}  // namespace
}  // namespace kestrel
