#include "encode/number_conversion.h"

#include <gtest/gtest.h>

namespace kestrel {
namespace {

TEST(NumberConversion, BasesFromThePrefix) {
    EXPECT_EQ(parse_number("0x1F"), 31);
    EXPECT_EQ(parse_number("0X1f"), 31);
    EXPECT_EQ(parse_number("017"), 15);
    EXPECT_EQ(parse_number("09"), 0);  // octal, stopped at the 9
    EXPECT_EQ(parse_number("123xyz"), 123);
    EXPECT_EQ(parse_number("xyz"), 0);
    EXPECT_EQ(parse_number("  \t\n\f\r42"), 42);
    EXPECT_EQ(parse_number("\v42"), 0);  // vertical tab is not skipped
    EXPECT_EQ(parse_number(""), 0);
    EXPECT_EQ(parse_number("+7"), 7);
}

TEST(NumberConversion, WordsAndTheBPrefix) {
    EXPECT_EQ(parse_number("true"), 1);  // the words, in any case, with nothing looked at behind them
    EXPECT_EQ(parse_number("TRUE"), 1);
    EXPECT_EQ(parse_number("Truex"), 1);
    EXPECT_EQ(parse_number("-true"), 1);  // no sign on the words
    EXPECT_EQ(parse_number("false"), 0);
    EXPECT_EQ(parse_number("FaLsE7"), 0);
    EXPECT_EQ(parse_number("tRuE"), 1);
    EXPECT_EQ(parse_number(" \tTRUE"), 1);
    EXPECT_EQ(parse_number("b101"), 0);
    EXPECT_EQ(parse_number("b0"), 0);
    EXPECT_EQ(parse_number("b11"), 0);
    EXPECT_EQ(parse_number("0b11"), 0);
    EXPECT_EQ(parse_number("B1"), 0);  // an upper-case B is no prefix and no digit of base 10
}

TEST(NumberConversion, WrapsAndNegatesIn32Bits) {
    EXPECT_EQ(parse_number("-1"), -1);
    EXPECT_EQ(static_cast<uint16_t>(parse_number("-1")), 65535);
    EXPECT_EQ(parse_number("0x100000001"), 1);
    EXPECT_EQ(parse_number("4294967295"), -1);
    EXPECT_EQ(static_cast<uint16_t>(parse_number("0x10000")), 0);
}

TEST(NumberConversion, EndPointsPastTheTerminator) {
    const char* end = nullptr;
    const char text[] = "12,5";
    EXPECT_EQ(parse_number_ex(text, &end, 0), 12);
    EXPECT_EQ(end, text + 3);  // the comma counts as consumed
    const char whole[] = "12";
    parse_number_ex(whole, &end, 0);
    EXPECT_EQ(end, whole + 3);  // past the terminating NUL
    const char blank[] = "   ";
    parse_number_ex(blank, &end, 0);
    EXPECT_EQ(end, blank);
    const char word[] = "trueish";
    parse_number_ex(word, &end, 0);
    EXPECT_EQ(end, word + 4);
}

TEST(NumberConversion, ExplicitBases) {
    EXPECT_EQ(parse_number_ex("0x1f", nullptr, 16), 31);
    EXPECT_EQ(parse_number_ex("1f", nullptr, 16), 31);
    EXPECT_EQ(parse_number_ex("z", nullptr, 36), 35);
    EXPECT_EQ(parse_number_ex("19", nullptr, 1), 19);   // base 1 is replaced by 10
    EXPECT_EQ(parse_number_ex("19", nullptr, 37), 19);  // so is a base above 36
    EXPECT_EQ(parse_number_ex("11", nullptr, 2), 3);
}

TEST(NumberConversion, WholeNumbersForOptions) {
    int32_t value = -5;
    EXPECT_TRUE(parse_whole_number("0x20", &value));
    EXPECT_EQ(value, 32);
    EXPECT_TRUE(parse_whole_number(" 17 ", &value));
    EXPECT_EQ(value, 17);
    EXPECT_TRUE(parse_whole_number("true", &value));
    EXPECT_EQ(value, 1);
    value = 99;
    EXPECT_FALSE(parse_whole_number("", &value));
    EXPECT_FALSE(parse_whole_number("12abc", &value));
    EXPECT_FALSE(parse_whole_number("0x", &value));
    EXPECT_FALSE(parse_whole_number("many", &value));
    EXPECT_EQ(value, 99);  // a refused text leaves the value alone
}

}  // namespace
}  // namespace kestrel
