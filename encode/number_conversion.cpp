#include "encode/number_conversion.h"

#include <strings.h>

#include <cctype>

namespace kestrel {
namespace {

bool is_skipped_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }

int digit_value(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (std::isalpha(c)) return std::tolower(c) - 87;
    return -1;
}

struct Conversion {
    int32_t value = 0;
    const char* end = nullptr;   // what parse_number_ex reports as the end
    const char* stop = nullptr;  // the first character not taken
    int digits = 0;              // digits taken; the words true and false count as one
};

Conversion convert(const char* text, int base) {
    Conversion out;
    if (base < 0 || base == 1 || base > 36) base = 10;
    const char* p = text;
    while (is_skipped_blank(*p)) ++p;
    if (*p == '\0') {
        out.end = out.stop = text;
        return out;
    }
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';

    if (base == 16 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) p += 2;
    if (base == 0) {
        if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
            base = 16;
            p += 2;
        } else if (p[0] == '0') {
            base = 8;
        } else if (p[0] == 'b') {
            // A 'b' prefix selects base 1, in which only '0' is a digit: b101
            // reads as 0. Long-standing behaviour that scripts may rely on.
            base = 1;
            ++p;
        } else if (strncasecmp(p, "true", 4) == 0) {
            out.value = 1;
            out.end = out.stop = p + 4;
            out.digits = 1;
            return out;
        } else if (strncasecmp(p, "false", 5) == 0) {
            out.end = out.stop = p + 5;
            out.digits = 1;
            return out;
        } else {
            base = 10;
        }
    }

    uint32_t value = 0;
    for (;; ++p) {
        int digit = digit_value(static_cast<unsigned char>(*p));
        if (digit < 0 || digit >= base) break;
        value = value * static_cast<uint32_t>(base) + static_cast<uint32_t>(digit);
        ++out.digits;
    }
    if (negative) value = 0u - value;
    out.value = static_cast<int32_t>(value);
    out.stop = p;
    out.end = p + 1;  // the terminating character counts as consumed
    return out;
}

}  // namespace

int32_t parse_number_ex(const char* text, const char** end, int base) {
    Conversion c = convert(text, base);
    if (end) *end = c.end;
    return c.value;
}

bool parse_whole_number(const char* text, int32_t* value) {
    Conversion c = convert(text, 0);
    if (c.digits == 0) return false;
    const char* tail = c.stop;
    while (is_skipped_blank(*tail)) ++tail;
    if (*tail != '\0') return false;
    *value = c.value;
    return true;
}

}  // namespace kestrel
