// Byte blocks as scripts see them: one list element of blank-separated
// values, bytes as 0x%02lx, 16-bit words as 0x%04lx, 32-bit words as 0x%08lx.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kestrel {

std::string byte_block_text(std::span<const uint8_t> bytes);
std::string word_block_text(std::span<const uint16_t> words);
std::string long_block_text(std::span<const uint32_t> words);

}  // namespace kestrel
