// Hex dumps of raw traffic: bytes 16 to a line, 16-bit words 8, 32-bit words
// 4, items separated by commas, continuation lines indented under the first.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestrel {

std::string hex_dump_bytes(std::span<const uint8_t> bytes, std::string_view prefix);
std::string hex_dump_words(std::span<const uint16_t> words, std::string_view prefix);
std::string hex_dump_longs(std::span<const uint32_t> words, std::string_view prefix);

}  // namespace kestrel
