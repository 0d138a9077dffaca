#include "sim/primitive_builder.h"

#include <algorithm>

#include "sim/chip_options.h"

namespace kestrel::sim {
namespace {

constexpr size_t kNamePart = 32;
constexpr size_t kNameLimit = 248;

size_t width_bytes(FieldWidth width) {
    return width == FieldWidth::u8 ? 1 : width == FieldWidth::u16 ? 2 : 4;
}

void put(AttachedPrimitive& p, FieldWidth width, size_t offset, uint32_t value) {
    if (offset + width_bytes(width) > p.bytes.size()) return;
    switch (width) {
    case FieldWidth::u8: p.bytes[offset] = static_cast<uint8_t>(value); break;
    case FieldWidth::u16: put_le16(p.bytes.data() + offset, static_cast<uint16_t>(value)); break;
    default: put_le32(p.bytes.data() + offset, value); break;
    }
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) return parts;
        start = end + 1;
    }
}

std::optional<std::vector<uint32_t>> numbers(const std::string& text, unsigned long max, std::string& error) {
    std::vector<uint32_t> values;
    if (text.empty()) return values;
    for (const std::string& word : split(text, ',')) {
        const auto value = parse_number(word, max);
        if (!value) {
            error = "Error, bad value '" + word + "'\n";
            return std::nullopt;
        }
        values.push_back(static_cast<uint32_t>(*value));
    }
    return values;
}

std::vector<uint8_t> bytes_of(const std::vector<uint32_t>& values) { return {values.begin(), values.end()}; }

// A name in pieces of 32 bytes, its terminating zero in the piece that ends
// it when it is shorter than 248.
bool assign_name(AttachedPrimitive& p, const FieldDef& field, const std::string& text) {
    const std::string name = text.substr(0, kNameLimit);
    for (size_t i = 0; i < field.count && i * kNamePart <= name.size(); ++i) {
        std::vector<uint8_t> piece(name.begin() + i * kNamePart,
                                   name.begin() + std::min(name.size(), (i + 1) * kNamePart));
        if (piece.size() < kNamePart) piece.push_back(0);
        put(p, FieldWidth::ptr, field.offset + 4 * i, p.attach(std::move(piece)));
    }
    return true;
}

bool assign(AttachedPrimitive& p, const FieldDef& field, const std::string& value, std::string& error) {
    const unsigned long max = field.width == FieldWidth::u8 ? 0xFF : field.width == FieldWidth::u16 ? 0xFFFF : 0xFFFFFFFF;
    if (field.format == FieldFormat::name_parts) return assign_name(p, field, value);
    if (field.width == FieldWidth::ptr && field.count > 1) {
        const std::vector<std::string> blocks = split(value, '/');
        if (blocks.size() > field.count) {
            error = "Error, " + std::string(field.name) + " holds at most " + std::to_string(field.count) + " blocks\n";
            return false;
        }
        for (size_t i = 0; i < blocks.size(); ++i) {
            const auto block = numbers(blocks[i], 0xFF, error);
            if (!block) return false;
            put(p, FieldWidth::ptr, field.offset + 4 * i, p.attach(bytes_of(*block)));
        }
        put(p, FieldWidth::u8, field.length_offset, static_cast<uint32_t>(blocks.size()));
        return true;
    }
    if (field.width == FieldWidth::ptr) {
        const auto block = numbers(value, 0xFF, error);
        if (!block) return false;
        put(p, FieldWidth::ptr, field.offset, block->empty() ? 0 : p.attach(bytes_of(*block)));
        put(p, FieldWidth::u16, field.length_offset, static_cast<uint32_t>(block->size()));
        return true;
    }
    const auto values = numbers(value, max, error);
    if (!values) return false;
    if (values->size() > field.count) {
        error = "Error, " + std::string(field.name) + " holds at most " + std::to_string(field.count) + " values\n";
        return false;
    }
    for (size_t i = 0; i < values->size(); ++i) put(p, field.width, field.offset + i * width_bytes(field.width), (*values)[i]);
    return true;
}

}  // namespace

std::optional<AttachedPrimitive> build_primitive(const PrimitiveDef& row, std::span<const std::string> assignments,
                                                 std::string& error) {
    AttachedPrimitive p;
    p.bytes.assign(row.size, 0);
    put_le16(p.bytes.data(), row.type);
    p.pointer_offsets = pointer_offsets(row);
    for (const std::string& assignment : assignments) {
        const size_t equals = assignment.find('=');
        const std::string name = assignment.substr(0, equals);
        const auto field = std::find_if(row.fields.begin(), row.fields.end(),
                                        [&](const FieldDef& f) { return f.name == name; });
        if (equals == std::string::npos || field == row.fields.end()) {
            error = "Error, " + std::string(row.name) + " has no field '" + name + "' (FIELD=VALUE)\n";
            return std::nullopt;
        }
        if (!assign(p, *field, assignment.substr(equals + 1), error)) return std::nullopt;
    }
    return p;
}

}  // namespace kestrel::sim
