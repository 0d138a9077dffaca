#include "encode/array_conversion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "output_capture.h"

namespace kestrel {
namespace {

using Bytes = std::vector<uint8_t>;

class ArrayConversion : public ::testing::Test {
protected:
    void SetUp() override {
        Tcl_FindExecutable(nullptr);
        interp = Tcl_CreateInterp();
    }
    void TearDown() override { Tcl_DeleteInterp(interp); }
    Tcl_Interp* interp = nullptr;
    test::OutputCapture console;
};

TEST_F(ArrayConversion, NumbersStringsAndSeparators) {
    EXPECT_EQ(convert_byte_array(interp, "{ 1 2 0x33 }"), (Bytes{1, 2, 0x33}));
    EXPECT_EQ(convert_byte_array(interp, "'AB\\n'"), (Bytes{0x41, 0x42, 0x0A}));
    EXPECT_EQ(convert_byte_array(interp, "{ 0x1FF }"), (Bytes{0xFF}));
    EXPECT_EQ(convert_byte_array(interp, "1,,2\t{3}\r\n4"), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(convert_byte_array(interp, ""), Bytes{});
    EXPECT_EQ(convert_byte_array(interp, "\"ab'"), (Bytes{'a', 'b'}));  // either quote closes
}

TEST_F(ArrayConversion, EscapesKeepTheirOwnArithmetic) {
    EXPECT_EQ(convert_byte_array(interp, "'a\\x00b'"), (Bytes{0x61, 0x00, 0x62}));
    EXPECT_EQ(convert_byte_array(interp, "'a\\x41b'"), (Bytes{0x61, 0x01, 0x62}));
    EXPECT_EQ(convert_byte_array(interp, "'\\cA\\cB\\c1'"), (Bytes{0x00, 0xFF, 'c'}));
    EXPECT_EQ(convert_byte_array(interp, "'\\r\\t\\q'"), (Bytes{13, 9, 'q'}));
    EXPECT_EQ(convert_byte_array(interp, "'x\\"), (Bytes{'x', '.'}));
    EXPECT_EQ(convert_byte_array(interp, "'x\\c"), (Bytes{'x', '.'}));
    EXPECT_EQ(convert_byte_array(interp, "'x\\x5"), (Bytes{'x', 1}));
    EXPECT_EQ(convert_byte_array(interp, "'x\\x"), (Bytes{'x', '.'}));
    EXPECT_EQ(convert_byte_array(interp, "'\\c'"), (Bytes{'c'}));  // the closing quote is the consumed non-letter
}

TEST_F(ArrayConversion, VerticalTabIsNoSeparator) {
    // "1\v2" is one token, read as far as it is a number; "\v2" reads as 0.
    EXPECT_EQ(convert_byte_array(interp, "1\v2 3"), (Bytes{1, 3}));
    EXPECT_EQ(convert_byte_array(interp, "\v2"), (Bytes{0}));
}

TEST_F(ArrayConversion, VariablesExpandRecursively) {
    Tcl_SetVar(interp, "inner", "0x10 'z'", TCL_GLOBAL_ONLY);
    Tcl_SetVar(interp, "outer", "1 $inner", TCL_GLOBAL_ONLY);
    EXPECT_EQ(convert_byte_array(interp, "1,'xy',$outer"), (Bytes{1, 'x', 'y', 1, 0x10, 'z'}));
    EXPECT_EQ(console.take(), "");
    EXPECT_EQ(convert_byte_array(interp, "5 $missing 6"), (Bytes{5}));
    EXPECT_EQ(console.take(), "Internal Error - bad array conversion, failed to find variable\n");
    EXPECT_EQ(convert_byte_array(nullptr, "$outer 7"), (Bytes{0, 7}));  // no interpreter: no expansion
    Tcl_SetVar(interp, "loop", "$loop", TCL_GLOBAL_ONLY);
    EXPECT_EQ(convert_byte_array(interp, "$loop"), Bytes{});
    EXPECT_NE(console.take().find("check your array syntax"), std::string::npos);
}

TEST_F(ArrayConversion, StopsAt4096Elements) {
    std::string many;
    for (int i = 0; i < 5000; ++i) many += "1 ";
    EXPECT_EQ(convert_byte_array(interp, many.c_str()).size(), 4096u);
    EXPECT_EQ(console.take(), "Internal Error - array overflow detected in processing large string\n");
}

TEST_F(ArrayConversion, StringsAndVariablesMeetTheCapToo) {
    const std::string text = "'" + std::string(5000, 'a') + "'";
    EXPECT_EQ(convert_byte_array(interp, text.c_str()).size(), 4096u);
    EXPECT_EQ(console.take(), "Internal Error - array overflow detected in processing large string\n");
    // A variable's elements are cut so that the total stays below 4096.
    Tcl_SetVar(interp, "big", text.c_str(), TCL_GLOBAL_ONLY);
    EXPECT_EQ(convert_byte_array(interp, "$big").size(), 4095u);
    EXPECT_EQ(console.take(), "Internal Error - array overflow detected in processing large string\n");
    std::vector<uint8_t> cut = convert_byte_array(interp, "1 2 $big");
    EXPECT_EQ(cut.size(), 4095u);
    EXPECT_EQ(cut[0], 1);
    EXPECT_EQ(cut[4094], 'a');
    console.take();
}

TEST_F(ArrayConversion, WordsAndLongsShareTheLimitsAndMessages) {
    std::string many;
    for (int i = 0; i < 5000; ++i) many += "0x12345 ";
    std::vector<uint16_t> words = convert_word_array(interp, many.c_str());
    EXPECT_EQ(words.size(), 4096u);
    EXPECT_EQ(words.back(), 0x2345);
    EXPECT_EQ(console.take(), "Internal Error - array overflow detected in processing large string\n");
    EXPECT_EQ(convert_long_array(interp, many.c_str()).size(), 4096u);
    EXPECT_EQ(console.take(), "Internal Error - array overflow detected in processing large string\n");

    Tcl_SetVar(interp, "pair", "0x10001 'b'", TCL_GLOBAL_ONLY);
    EXPECT_EQ(convert_word_array(interp, "7 $pair $missing 8"), (std::vector<uint16_t>{7, 1, 'b'}));
    EXPECT_EQ(console.take(), "Internal Error - bad array conversion, failed to find variable\n");
    EXPECT_EQ(convert_long_array(interp, "7 $pair $missing 8"), (std::vector<uint32_t>{7, 0x10001, 'b'}));
    EXPECT_EQ(console.take(), "Internal Error - bad array conversion, failed to find variable\n");
}

TEST_F(ArrayConversion, WordsAndLongs) {
    EXPECT_EQ(convert_word_array(interp, "1 0x12345 'A'"), (std::vector<uint16_t>{1, 0x2345, 0x41}));
    EXPECT_EQ(convert_long_array(interp, "{10 2} 0x123456789"), (std::vector<uint32_t>{10, 2, 0x23456789}));
}

}  // namespace
}  // namespace kestrel
