#include "sim/stack_primitive.h"

#include <algorithm>

#include "decode/received_primitives.h"
#include "encode/sent_primitives.h"
#include "transport/platform/message_codec.h"
#include "transport/wire_bytes.h"

namespace kestrel::sim {
namespace {

constexpr size_t kNamePart = 32;
constexpr size_t kMaxName = 248;

uint32_t load(const std::vector<uint8_t>& bytes, size_t at, FieldWidth width) {
    const unsigned size = width_bytes(width);
    if (at + size > bytes.size()) return 0;
    switch (width) {
    case FieldWidth::u8: return bytes[at];
    case FieldWidth::u16: return get_le16(bytes.data() + at);
    default: return get_le32(bytes.data() + at);
    }
}

const PrimitiveDef* find_by_name(std::span<const PrimitiveDef> table, std::string_view name) {
    const auto it = std::find_if(table.begin(), table.end(), [&](const PrimitiveDef& row) { return row.name == name; });
    return it == table.end() ? nullptr : &*it;
}

}  // namespace

void put_bd_addr(uint8_t* at, const BdAddr& address) {
    put_le32(at, address.lap);
    at[4] = address.uap;
    put_le16(at + 6, address.nap);
}

BdAddr get_bd_addr(const uint8_t* at) { return {get_le32(at), at[4], get_le16(at + 6)}; }

const PrimitiveDef* find_received_by_name(std::string_view name) { return find_by_name(received_primitives(), name); }
const PrimitiveDef* find_sent_by_name(std::string_view name) { return find_by_name(sent_primitives(), name); }

std::optional<HostPrimitive> HostPrimitive::decode(uint8_t channel, std::span<const uint8_t> message) {
    if (message.size() < 2) return std::nullopt;
    const PrimitiveDef* row = find_sent_primitive(channel, get_le16(message.data()));
    if (!row) return std::nullopt;
    auto primitive = decode_stack_message(message, row->size, pointer_offsets(*row));
    if (!primitive) return std::nullopt;
    return HostPrimitive(row, std::move(*primitive));
}

bool HostPrimitive::has(std::string_view field) const { return find_field(*row_, field) != nullptr; }

uint32_t HostPrimitive::get(std::string_view name, unsigned index) const {
    const FieldDef* field = find_field(*row_, name);
    if (!field || field->width == FieldWidth::ptr || index >= field->count) return 0;
    return load(primitive_.bytes, field->offset + index * width_bytes(field->width), field->width);
}

std::span<const uint8_t> HostPrimitive::block(std::string_view name, unsigned index) const {
    const FieldDef* field = find_field(*row_, name);
    if (!field || field->width != FieldWidth::ptr || index >= field->count) return {};
    std::span<const uint8_t> bytes = primitive_.block_at(field->offset + 4 * index);
    // The chip reads as many bytes as the primitive's count says, and never
    // more than the block holds.
    if (field->format == FieldFormat::block && field->length_offset)
        for (const FieldDef& count : row_->fields)
            if (count.offset == field->length_offset && count.width != FieldWidth::ptr) {
                bytes = bytes.first(std::min<size_t>(bytes.size(), load(primitive_.bytes, count.offset, count.width)));
                break;
            }
    return bytes;
}

std::vector<uint8_t> HostPrimitive::bytes(std::string_view name) const {
    const FieldDef* field = find_field(*row_, name);
    if (!field || field->offset + field->count > primitive_.bytes.size()) return {};
    const auto start = primitive_.bytes.begin() + field->offset;
    return {start, start + field->count};
}

BdAddr HostPrimitive::address(std::string_view prefix) const {
    const std::string p(prefix);
    return {get(p + ".lap") & 0xFFFFFF, static_cast<uint8_t>(get(p + ".uap")), static_cast<uint16_t>(get(p + ".nap"))};
}

ChipPrimitive::ChipPrimitive(std::string_view name) : ChipPrimitive(*[&] {
    static const PrimitiveDef kNone{"", 0, 0, 2, {}};
    const PrimitiveDef* row = find_received_by_name(name);
    return row ? row : &kNone;  // an unknown name builds nothing useful; the stack's test meets every name it uses
}()) {}

ChipPrimitive::ChipPrimitive(const PrimitiveDef& row) : row_(&row) {
    primitive_.bytes.assign(row_->size, 0);
    put_le16(primitive_.bytes.data(), row_->type);
    primitive_.pointer_offsets = pointer_offsets(*row_);
}

const FieldDef* ChipPrimitive::field(std::string_view name) const { return find_field(*row_, name); }

bool ChipPrimitive::has(std::string_view name) const { return field(name) != nullptr; }

void ChipPrimitive::put(const FieldDef& f, uint32_t value, unsigned index) {
    const size_t at = f.offset + index * width_bytes(f.width);
    if (at + width_bytes(f.width) > primitive_.bytes.size()) return;
    switch (f.width) {
    case FieldWidth::u8: primitive_.bytes[at] = static_cast<uint8_t>(value); break;
    case FieldWidth::u16: put_le16(primitive_.bytes.data() + at, static_cast<uint16_t>(value)); break;
    default: put_le32(primitive_.bytes.data() + at, value); break;
    }
}

ChipPrimitive& ChipPrimitive::set(std::string_view name, uint32_t value, unsigned index) {
    const FieldDef* f = field(name);
    if (f && f->width != FieldWidth::ptr && index < f->count) put(*f, value, index);
    return *this;
}

ChipPrimitive& ChipPrimitive::address(const BdAddr& a, std::string_view prefix) {
    const std::string p(prefix);
    return set(p + ".lap", a.lap).set(p + ".uap", a.uap).set(p + ".nap", a.nap);
}

// The count that a block's format keeps stands in the field at its
// length_offset, of that field's width.
static void set_count(ChipPrimitive& primitive, const FieldDef& f, uint32_t count) {
    if (f.length_offset == 0) return;
    for (const FieldDef& other : primitive.row().fields)
        if (other.offset == f.length_offset && other.width != FieldWidth::ptr) {
            primitive.set(other.name, count);
            return;
        }
}

ChipPrimitive& ChipPrimitive::block(std::string_view name, std::vector<uint8_t> bytes, unsigned index) {
    const FieldDef* f = field(name);
    if (!f || f->width != FieldWidth::ptr || index >= f->count) return *this;
    const uint32_t size = static_cast<uint32_t>(bytes.size());
    put(*f, bytes.empty() ? 0 : primitive_.attach(std::move(bytes)), index);
    if (f->count == 1) set_count(*this, *f, size);
    return *this;
}

ChipPrimitive& ChipPrimitive::blocks(std::string_view name, const std::vector<std::vector<uint8_t>>& list) {
    const FieldDef* f = field(name);
    if (!f || f->width != FieldWidth::ptr) return *this;
    const unsigned n = std::min<unsigned>(f->count, static_cast<unsigned>(list.size()));
    for (unsigned i = 0; i < n; ++i) put(*f, primitive_.attach(list[i]), i);
    set_count(*this, *f, n);
    return *this;
}

ChipPrimitive& ChipPrimitive::name(std::string_view name, std::string_view text) {
    std::vector<uint8_t> bytes(text.begin(), text.begin() + std::min(text.size(), kMaxName));
    if (bytes.size() < kMaxName) bytes.push_back(0);
    std::vector<std::vector<uint8_t>> parts;
    for (size_t start = 0; start < bytes.size(); start += kNamePart)
        parts.emplace_back(bytes.begin() + start, bytes.begin() + std::min(bytes.size(), start + kNamePart));
    return blocks(name, parts);
}

ChipPrimitive& ChipPrimitive::bytes(std::string_view name, std::span<const uint8_t> data) {
    const FieldDef* f = field(name);
    if (!f || f->width == FieldWidth::ptr) return *this;
    for (unsigned i = 0; i < f->count && i < data.size(); ++i) put(*f, data[i], i);
    return *this;
}

ChipPrimitive& ChipPrimitive::copy_from(const HostPrimitive& request) {
    for (const FieldDef& f : row_->fields)
        if (f.width != FieldWidth::ptr && request.has(f.name))
            for (unsigned i = 0; i < f.count; ++i) put(f, request.get(f.name, i), i);
    return *this;
}

std::vector<uint8_t> ChipPrimitive::encode() const { return encode_stack_message(primitive_); }

}  // namespace kestrel::sim
