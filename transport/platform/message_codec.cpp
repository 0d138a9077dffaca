#include "transport/platform/message_codec.h"

#include <algorithm>

namespace kestrel {

std::vector<uint8_t> encode_stack_message(const AttachedPrimitive& primitive) {
    const std::vector<uint16_t>& pointer_offsets = primitive.pointer_offsets;
    std::vector<uint8_t> out = primitive.bytes;
    for (uint16_t offset : pointer_offsets)
        if (offset + 4u <= out.size()) put_le32(out.data() + offset, 0);
    for (uint16_t offset : pointer_offsets) {
        std::span<const uint8_t> block = primitive.block_at(offset);
        const size_t length = std::min<size_t>(block.size(), 0xFFFF);
        uint8_t header[2];
        put_le16(header, static_cast<uint16_t>(length));
        out.insert(out.end(), header, header + 2);
        out.insert(out.end(), block.begin(), block.begin() + static_cast<long>(length));
    }
    return out;
}

std::optional<AttachedPrimitive> decode_stack_message(std::span<const uint8_t> message, uint32_t fixed_size,
                                                      std::span<const uint16_t> pointer_offsets) {
    if (message.size() < fixed_size) return std::nullopt;
    AttachedPrimitive primitive;
    primitive.bytes.assign(message.begin(), message.begin() + fixed_size);
    primitive.pointer_offsets.assign(pointer_offsets.begin(), pointer_offsets.end());
    size_t at = fixed_size;
    for (uint16_t offset : pointer_offsets) {
        if (at + 2 > message.size() || offset + 4u > fixed_size) return std::nullopt;
        const uint16_t length = get_le16(message.data() + at);
        at += 2;
        if (at + length > message.size()) return std::nullopt;
        uint32_t reference = 0;
        if (length) reference = primitive.attach({message.begin() + static_cast<long>(at),
                                                  message.begin() + static_cast<long>(at + length)});
        put_le32(primitive.bytes.data() + offset, reference);
        at += length;
    }
    if (at != message.size()) return std::nullopt;
    return primitive;
}

std::vector<uint8_t> encode_ptcmd_message(std::span<const uint32_t> array) {
    if (array.empty()) return {};
    const size_t count = std::min<size_t>(array[0], array.size());
    std::vector<uint8_t> out;
    for (size_t i = 1; i < count; ++i) {
        out.push_back(static_cast<uint8_t>(array[i]));
        out.push_back(static_cast<uint8_t>(array[i] >> 8));
    }
    return out;
}

std::vector<uint32_t> decode_ptcmd_message(std::span<const uint8_t> message) {
    const size_t words = message.size() / 2;
    std::vector<uint32_t> array{static_cast<uint32_t>(words + 1)};
    for (size_t i = 0; i < words; ++i) array.push_back(get_le16(message.data() + 2 * i));
    return array;
}

std::vector<uint16_t> ptcmd_words(std::span<const uint8_t> message) {
    std::vector<uint16_t> words(message.size() / 2);
    for (size_t i = 0; i < words.size(); ++i) words[i] = get_le16(message.data() + 2 * i);
    return words;
}

std::vector<uint8_t> ptcmd_bytes(std::span<const uint16_t> words) {
    std::vector<uint8_t> out(words.size() * 2);
    for (size_t i = 0; i < words.size(); ++i) put_le16(out.data() + 2 * i, words[i]);
    return out;
}

}  // namespace kestrel
