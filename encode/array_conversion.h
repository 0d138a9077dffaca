// Array conversion: the text of a byte, word or long array argument, such as
// "{ 1 2 0x33 }", "'AB\n'" or "1,'xy',$v", turned into its elements.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <vector>

namespace kestrel {

inline constexpr size_t kArrayLimit = 4096;

// Elements are the low 8, 16 or 32 bits of each number; a quoted string gives
// one element per character. With no interpreter, $ tokens are not expanded.
// Trouble is reported on the console and the elements gathered so far are
// the result.
std::vector<uint8_t> convert_byte_array(Tcl_Interp* interp, const char* text);
std::vector<uint16_t> convert_word_array(Tcl_Interp* interp, const char* text);
std::vector<uint32_t> convert_long_array(Tcl_Interp* interp, const char* text);

}  // namespace kestrel
