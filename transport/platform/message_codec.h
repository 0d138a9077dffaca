// Messages as they travel on a channel: stack primitives with their blocks
// behind them, PTCMD word messages, VM and debug bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "transport/attached_primitive.h"

namespace kestrel {

// A stack primitive on the wire: its fixed bytes with every pointer field 0,
// then one block per pointer field in layout order, each a 16-bit length and
// the bytes (length 0: a null pointer).
std::vector<uint8_t> encode_stack_message(const AttachedPrimitive& primitive);

// Rebuilds a primitive of fixed_size bytes from its message; pointer fields
// name the attached blocks (and are recorded in pointer_offsets). Nothing when the message is too short or its
// blocks do not add up.
std::optional<AttachedPrimitive> decode_stack_message(std::span<const uint8_t> message, uint32_t fixed_size,
                                                      std::span<const uint16_t> pointer_offsets);

// The host's PTCMD array [N, word 1, ..., word N-1] as the 16-bit message of
// channel 2. When element 0 and the array's size disagree the smaller
// decides; an array of one element gives an empty message (nothing to send).
std::vector<uint8_t> encode_ptcmd_message(std::span<const uint32_t> array);

// A PTCMD message of W words from the chip as the array [W+1, word 1, ...].
std::vector<uint32_t> decode_ptcmd_message(std::span<const uint8_t> message);

// The PTCMD words of a message, for the chip's side.
std::vector<uint16_t> ptcmd_words(std::span<const uint8_t> message);
std::vector<uint8_t> ptcmd_bytes(std::span<const uint16_t> words);

}  // namespace kestrel
