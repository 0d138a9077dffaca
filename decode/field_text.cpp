#include "decode/field_text.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "decode/byte_block_text.h"

namespace kestrel {
namespace {

constexpr uint32_t kNamePart = 32;
constexpr uint32_t kNameLimit = 248;
constexpr uint32_t kInquiryRecord = 20;
constexpr uint32_t kLinkKeyEntry = 24;
constexpr uint32_t kLapBytes = 3;

// Values of an inline array, each "0x%lx", blank-separated.
std::string values_text(const FieldDef& field, const PrimitiveView& view) {
    std::string text;
    for (uint32_t i = 0; i < field.count; ++i) {
        if (i) text += ' ';
        text += hex_text(view.scalar(field.width, field.offset + i * width_bytes(field.width)));
    }
    return text;
}

// Up to 8 pieces of at most 32 bytes: a piece that ends before 32 bytes
// ends the name, a full piece leads on to the next; 248 characters at most.
std::string name_text(const FieldDef& field, const PrimitiveView& view) {
    std::string name;
    for (uint32_t i = 0; i < field.count && name.size() < kNameLimit; ++i) {
        std::span<const uint8_t> piece = view.block(field.offset + 4 * i);
        if (piece.empty()) continue;
        piece = piece.first(std::min<size_t>(piece.size(), kNamePart));
        bool ended = piece.size() < kNamePart;
        for (uint8_t c : piece) {
            if (c == 0 || name.size() == kNameLimit) {
                ended = true;
                break;
            }
            name += static_cast<char>(c);
        }
        if (ended) break;
    }
    return name;
}

uint8_t count_at(const FieldDef& field, const PrimitiveView& view) {
    return static_cast<uint8_t>(std::min<uint32_t>(view.scalar(FieldWidth::u8, field.length_offset), field.count));
}

// The first record: lap uap nap, three page scan modes, class, clock offset.
std::string inquiry_text(const FieldDef& field, const PrimitiveView& view) {
    const std::span<const uint8_t> record = view.block(field.offset);
    if (record.size() < kInquiryRecord) return {};
    const uint8_t* b = record.data();
    const uint32_t values[] = {get_le32(b), b[4], get_le16(b + 6), b[8], b[9], b[10], get_le32(b + 12),
                               get_le16(b + 16)};
    std::string text;
    for (uint32_t v : values) text += (text.empty() ? "" : " ") + hex_text(v);
    return text;
}

std::string link_keys_text(const FieldDef& field, const PrimitiveView& view) {
    std::string text;
    const uint8_t keys = count_at(field, view);
    for (uint32_t i = 0; i < keys; ++i) {
        const std::span<const uint8_t> entry = view.block(field.offset + 4 * i);
        if (entry.size() < kLinkKeyEntry) continue;
        const uint8_t* b = entry.data();
        text += "{ " + hex_text(get_le32(b)) + " " + hex_text(b[4]) + " " + hex_text(get_le16(b + 6)) + " { " +
                byte_block_text(entry.subspan(8, 16)) + " } }";
    }
    return text;
}

std::string laps_text(const FieldDef& field, const PrimitiveView& view) {
    std::string text;
    const uint8_t laps = count_at(field, view);
    for (uint32_t i = 0; i < laps; ++i) {
        const std::span<const uint8_t> lap = view.block(field.offset + 4 * i);
        if (lap.size() < kLapBytes) continue;
        if (!text.empty()) text += ' ';
        text += hex_text(lap[0] | lap[1] << 8 | lap[2] << 16);
    }
    return text;
}

// A field of the sending side's formats, shown by its shape.
std::string shape_text(const FieldDef& field, const PrimitiveView& view) {
    if (field.width != FieldWidth::ptr) {
        if (field.count == 1) return hex_text(view.scalar(field.width, field.offset));
        return values_text(field, view);
    }
    std::string text;
    for (uint32_t i = 0; i < field.count; ++i) {
        const std::span<const uint8_t> block = view.block(field.offset + 4 * i);
        if (block.empty()) continue;
        if (!text.empty()) text += ' ';
        text += byte_block_text(block);
    }
    return text;
}

}  // namespace

PrimitiveView PrimitiveView::record(const uint8_t* primitive, uint32_t record_size) {
    return PrimitiveView(primitive, record_size, nullptr);
}

PrimitiveView PrimitiveView::attached(const AttachedPrimitive& primitive) {
    return PrimitiveView(primitive.bytes.data(), static_cast<uint32_t>(primitive.bytes.size()), &primitive);
}

uint32_t PrimitiveView::scalar(FieldWidth width, uint32_t offset) const {
    const uint32_t bytes = width_bytes(width);
    if (offset + bytes > size_) return 0;
    switch (bytes) {
    case 1: return bytes_[offset];
    case 2: return get_le16(bytes_ + offset);
    default: return get_le32(bytes_ + offset);
    }
}

std::span<const uint8_t> PrimitiveView::block(uint32_t pointer_offset) const {
    if (attached_) return attached_->block_at(pointer_offset);
    const uint32_t reference = scalar(FieldWidth::ptr, pointer_offset);
    if (reference == 0 || reference >= size_) return {};
    return {bytes_ + reference, size_ - reference};
}

std::string hex_text(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(value));
    return text;
}

std::span<const uint8_t> block_field_bytes(const FieldDef& field, const PrimitiveView& view) {
    const std::span<const uint8_t> block = view.block(field.offset);
    const uint32_t length = view.scalar(FieldWidth::u16, field.length_offset);
    return block.first(std::min<size_t>(block.size(), length));
}

// The bytes or words behind a flattened packet's fixed part: as many as its
// count says, bounded by what arrived.
std::string flat_text(const FieldDef& field, const PrimitiveView& view) {
    const uint32_t count = view.scalar(FieldWidth::u16, field.length_offset);
    const uint32_t available = view.size() > field.offset ? view.size() - field.offset : 0;
    if (field.format == FieldFormat::flat_bytes) {
        std::vector<uint8_t> bytes(std::min(count, available));
        for (uint32_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(view.scalar(FieldWidth::u8, field.offset + i));
        return byte_block_text(bytes);
    }
    std::string text;
    for (uint32_t i = 0; i < count && 2 * i + 2 <= available; ++i)
        text += hex_text(view.scalar(FieldWidth::u16, field.offset + 2 * i)) + ' ';
    return text;
}

std::string field_text(const FieldDef& field, const PrimitiveView& view) {
    switch (field.format) {
    case FieldFormat::number: return hex_text(view.scalar(field.width, field.offset));
    case FieldFormat::data_block:
    case FieldFormat::payload_block:
    case FieldFormat::read_payload_block: return byte_block_text(block_field_bytes(field, view));
    case FieldFormat::byte_array: {
        std::vector<uint8_t> bytes(field.count);
        for (uint32_t i = 0; i < field.count; ++i) bytes[i] = static_cast<uint8_t>(view.scalar(FieldWidth::u8, field.offset + i));
        return byte_block_text(bytes);
    }
    case FieldFormat::word_array: {
        std::vector<uint16_t> words(field.count);
        for (uint32_t i = 0; i < field.count; ++i)
            words[i] = static_cast<uint16_t>(view.scalar(FieldWidth::u16, field.offset + 2 * i));
        return word_block_text(words);
    }
    case FieldFormat::remote_features:
    case FieldFormat::local_features: return values_text(field, view);
    case FieldFormat::inquiry_result: return inquiry_text(field, view);
    case FieldFormat::link_key_entries: return link_keys_text(field, view);
    case FieldFormat::name_parts: return name_text(field, view);
    case FieldFormat::lap_list: return laps_text(field, view);
    case FieldFormat::flat_bytes:
    case FieldFormat::flat_words: return flat_text(field, view);
    default: return shape_text(field, view);
    }
}

}  // namespace kestrel
