// Number conversion of script arguments: hexadecimal with 0x, octal with a
// leading 0, the words true and false; anything else reads as far as it is a
// number, and a text that is no number at all reads as 0. Values wrap in 32
// bits without complaint.
#pragma once

#include <cstdint>

namespace kestrel {

// base 0 chooses the base from the text. When end is given it receives the
// position one past the character that ended the digits (a terminating NUL
// counts as that character).
int32_t parse_number_ex(const char* text, const char** end, int base);

inline int32_t parse_number(const char* text) { return parse_number_ex(text, nullptr, 0); }

// Strict form for options that must refuse a bad value: true only when the
// whole text is one number (blanks around it allowed).
bool parse_whole_number(const char* text, int32_t* value);

}  // namespace kestrel
