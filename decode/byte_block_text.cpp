#include "decode/byte_block_text.h"

#include <cstdio>

namespace kestrel {
namespace {

template <typename T>
std::string block_text(std::span<const T> values, const char* format, size_t width) {
    std::string text;
    text.reserve(values.size() * (width + 1));
    char item[16];
    for (size_t i = 0; i < values.size(); ++i) {
        if (i != 0) text += ' ';
        std::snprintf(item, sizeof item, format, static_cast<unsigned long>(values[i]));
        text += item;
    }
    return text;
}

}  // namespace

std::string byte_block_text(std::span<const uint8_t> bytes) { return block_text(bytes, "0x%02lx", 4); }
std::string word_block_text(std::span<const uint16_t> words) { return block_text(words, "0x%04lx", 6); }
std::string long_block_text(std::span<const uint32_t> words) { return block_text(words, "0x%08lx", 10); }

}  // namespace kestrel
