// libFuzzer target: number conversion of any text. Beyond the sanitizers it
// checks that the end pointer stays within the text (one past its NUL at
// most) and that the strict form agrees with the lenient one.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "encode/number_conversion.h"

using kestrel::parse_number;
using kestrel::parse_number_ex;
using kestrel::parse_whole_number;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    // The first byte picks the base of the explicit-base call; the rest is text.
    const int base = static_cast<int8_t>(data[0]);
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const char* begin = text.c_str();
    const char* limit = begin + text.size() + 1;  // past the terminating NUL

    const char* end = nullptr;
    const int32_t automatic = parse_number_ex(begin, &end, 0);
    if (end < begin || end > limit) std::abort();
    if (automatic != parse_number(begin)) std::abort();

    end = nullptr;
    parse_number_ex(begin, &end, base);
    if (end < begin || end > limit) std::abort();

    int32_t whole = 0;
    if (parse_whole_number(begin, &whole) && whole != automatic) std::abort();
    return 0;
}
