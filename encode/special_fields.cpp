#include "encode/special_fields.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "encode/array_conversion.h"
#include "encode/number_conversion.h"
#include "shell/output.h"
#include "shell/trace_printer.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

constexpr uint32_t kLinkKeySize = 16;
constexpr uint32_t kPinSize = 16;
// The longest local name; the message names the buffer's 256 bytes.
constexpr uint32_t kMaxNameLength = 248;
constexpr uint32_t kNameBuffer = 256;
constexpr uint32_t kNamePartSize = 32;
constexpr uint32_t kLinkKeyEntrySize = 24;

// A Tcl list's elements, split without touching the interpreter result; an
// empty vector and false for a malformed list.
bool split_list(const char* text, std::vector<std::string>& elements) {
    int count = 0;
    const char** parts = nullptr;
    if (Tcl_SplitList(nullptr, text, &count, &parts) != TCL_OK) return false;
    elements.assign(parts, parts + count);
    Tcl_Free(reinterpret_cast<char*>(parts));
    return true;
}

const char* element(const std::vector<std::string>& elements, size_t i) {
    return i < elements.size() ? elements[i].c_str() : nullptr;
}

// Referenced data: the array becomes the block of the pointer field and its
// count the row's length field. A row without one (length_offset 0: the TCI
// rows) keeps the count the script gave; the TCI send path copies that many.
void encode_block(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    std::vector<uint8_t> bytes = convert_byte_array(build.interp, text);
    build.dump_bytes(field.name, bytes);
    if (field.length_offset != 0)
        build.store(field.length_offset, FieldWidth::u16, static_cast<uint32_t>(bytes.size()));
    if (!bytes.empty()) build.store(field.offset, FieldWidth::u32, build.primitive.attach(std::move(bytes)));
}

// A block of 16-bit words, little-endian; the count stands where the script
// put it.
void encode_word_block(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint16_t> words = convert_word_array(build.interp, text);
    build.dump_words(field.name, words);
    std::vector<uint8_t> bytes(words.size() * 2);
    for (size_t i = 0; i < words.size(); ++i) put_le16(bytes.data() + 2 * i, words[i]);
    if (!bytes.empty()) build.store(field.offset, FieldWidth::u32, build.primitive.attach(std::move(bytes)));
}

// Device addresses {lap uap nap}, each an 8-byte entry (uap at +4, nap at
// +6), one after the other in one block.
void encode_address_list(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    std::vector<std::string> entries;
    if (!split_list(text, entries)) {
        ++build.failures;
        return;
    }
    std::vector<uint8_t> block(entries.size() * 8, 0);
    for (size_t i = 0; i < entries.size(); ++i) {
        std::vector<std::string> parts;
        if (!split_list(entries[i].c_str(), parts)) {
            ++build.failures;
            return;
        }
        uint8_t* entry = block.data() + 8 * i;
        put_le32(entry, static_cast<uint32_t>(parse_number(parts.size() > 0 ? parts[0].c_str() : "")));
        entry[4] = static_cast<uint8_t>(parse_number(parts.size() > 1 ? parts[1].c_str() : ""));
        put_le16(entry + 6, static_cast<uint16_t>(parse_number(parts.size() > 2 ? parts[2].c_str() : "")));
    }
    build.dump_bytes(field.name, block);
    if (!block.empty()) build.store(field.offset, FieldWidth::u32, build.primitive.attach(std::move(block)));
}

void encode_link_key(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint8_t> key = convert_byte_array(build.interp, text);
    if (key.size() != kLinkKeySize) {
        output_printf("Bad link key size [%d/%d]\n", static_cast<int>(key.size()), kLinkKeySize);
        return;
    }
    std::copy(key.begin(), key.end(), build.primitive.bytes.begin() + field.offset);
    build.dump_bytes(field.name, key);
}

// The key of a link-key answer is copied byte by byte whatever its size,
// bounded by the primitive.
void encode_request_key(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint8_t> key = convert_byte_array(build.interp, text);
    if (key.size() != kLinkKeySize) output_write("Error - key params does not match SIZE_LINK_KEY");
    const size_t room = build.row.size - field.offset;
    for (size_t i = 0; i < key.size() && i < room; ++i) {
        build.primitive.bytes[field.offset + i] = key[i];
        char line[96];
        std::snprintf(line, sizeof line, "prim->key[%zu]: %d (0x%lx)\n", i, key[i], static_cast<unsigned long>(key[i]));
        trace_text(kBuildFieldMask | build.category, line);
    }
}

// The PIN's length byte says how many of the 16 bytes count, whatever the
// pin_length argument said.
void encode_pin(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint8_t> pin = convert_byte_array(build.interp, text);
    if (pin.size() > kPinSize) {
        output_printf("Bad pin length [%d/%d]\n", static_cast<int>(pin.size()), kPinSize);
        return;
    }
    auto area = build.primitive.bytes.begin() + field.offset;
    std::fill(area, area + kPinSize, 0);
    std::copy(pin.begin(), pin.end(), area);
    build.store(field.length_offset, FieldWidth::u8, static_cast<uint32_t>(pin.size()));
    build.dump_bytes(field.name, pin);
}

// The name travels in pieces of 32 bytes, one block per pointer slot, with
// its terminator when it is shorter than 248 bytes. Its length adds to the
// HCI parameter length.
void encode_local_name(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    std::vector<uint8_t> name = convert_byte_array(build.interp, text);
    const auto nul = std::find(name.begin(), name.end(), 0);
    name.erase(nul, name.end());
    uint32_t length = static_cast<uint32_t>(name.size());
    if (length < kMaxNameLength) {
        name.push_back(0);
        ++length;
    }
    if (length > kMaxNameLength) {
        output_printf("Error, name_part too big, max size is %d bytes, you gave %d bytes of data\n", kNameBuffer,
                      static_cast<int>(length));
        ++build.failures;
        return;
    }
    build.store(field.length_offset, FieldWidth::u8, build.load(field.length_offset, FieldWidth::u8) + length);
    for (uint32_t start = 0, slot = 0; start < length && slot < field.count; start += kNamePartSize, ++slot) {
        const uint32_t end = std::min(start + kNamePartSize, length);
        build.store(field.offset + 4 * slot, FieldWidth::u32,
                    build.primitive.attach(std::vector<uint8_t>(name.begin() + start, name.begin() + end)));
    }
    build.dump_bytes("name_part[]", name);
}

// Two elements, each one byte wide after conversion, become the low and
// the high word of the mask.
void encode_event_mask(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint8_t> mask = convert_byte_array(build.interp, text);
    if (mask.size() != 2) {
        output_printf("Bad event mask size [%d/%d]\n", static_cast<int>(mask.size()), 2);
        return;
    }
    build.store(field.offset, FieldWidth::u32, mask[0]);
    build.store(field.offset + 4, FieldWidth::u32, mask[1]);
    build.trace_field("event_mask[0]", mask[0]);
    build.trace_field("event_mask[1]", mask[1]);
}

// Each list element must be one whole number: its LAP.
void encode_iac_laps(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    std::vector<std::string> laps;
    if (!split_list(text, laps)) {
        ++build.failures;
        return;
    }
    for (size_t i = 0; i < laps.size(); ++i) {
        const char* end = nullptr;
        const int32_t lap = parse_number_ex(laps[i].c_str(), &end, 0);
        const int count = end[-1] == '\0' ? 16 : 0;
        if (count != 16) {
            output_printf("Bad lap count [%d/%d]\n", count, 16);
            ++build.failures;
            return;
        }
        if (i < field.count) {
            build.store(field.offset + 4 * i, FieldWidth::u32, static_cast<uint32_t>(lap));
            build.trace_field("iac_lap[" + std::to_string(i) + "]", static_cast<uint32_t>(lap));
        }
    }
    build.store(field.length_offset, FieldWidth::u8, static_cast<uint32_t>(laps.size()));
}

// Ethernet (3 words) and IP (8 words) addresses; each word holds two
// address bytes as the script wrote it.
void encode_address(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint16_t> words = convert_word_array(build.interp, text);
    const bool ether = field.format == FieldFormat::ether_addr;
    if (words.size() != field.count) {
        output_printf(ether ? "Bad ether addr size [%d/%d]\n" : "Bad ip addr size [%d/%d]\n",
                      static_cast<int>(words.size()), field.count);
        return;
    }
    for (size_t i = 0; i < words.size(); ++i) build.store(field.offset + 2 * i, FieldWidth::u16, words[i]);
    if (!trace_enabled(kBuildFieldMask | build.category)) return;
    // "%0x" is a zero-flagged hexadecimal conversion followed by the letters
    // 04lx: the address traces have always looked so.
    const std::string prefix = "prim." + std::string(field.name) + ": ";
    char line[160];
    auto w = [&](size_t i) { return static_cast<unsigned>(words[i]); };
    auto l = [&](size_t i) { return static_cast<unsigned long>(words[i]); };
    if (ether)
        std::snprintf(line, sizeof line, "%s%0x04lx %04lx %04lx\n", prefix.c_str(), w(0), l(1), l(2));
    else
        std::snprintf(line, sizeof line, "%s%0x04lx %04lx %04lx %04x %0x04lx %04lx %04lx %04x\n", prefix.c_str(), w(0),
                      l(1), l(2), w(3), w(4), l(5), l(6), w(7));
    trace_text(kBuildFieldMask | build.category, line);
}

// Inline 16-bit words of a fixed count; another count leaves them zero.
void encode_word_args(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const std::vector<uint16_t> words = convert_word_array(build.interp, text);
    if (words.size() != field.count) {
        output_printf("Bad args size [%d/%d]\n", static_cast<int>(words.size()), field.count);
        return;
    }
    for (size_t i = 0; i < words.size(); ++i) build.store(field.offset + 2 * i, FieldWidth::u16, words[i]);
    build.dump_words(field.name, words);
}

struct SubField {
    const char* name;
    const char* trace;
    uint16_t offset;  // from the field's start
    FieldWidth width;
};

// Stores the sub-fields from the list's elements in order.
void encode_sub_fields(PrimitiveBuild& build, const FieldDef& field, const char* text,
                       std::span<const SubField> sub_fields) {
    std::vector<std::string> elements;
    if (!split_list(text, elements)) {
        ++build.failures;
        return;
    }
    for (size_t i = 0; i < sub_fields.size(); ++i) {
        const SubField& sub = sub_fields[i];
        const uint32_t value = build.sub_field(sub.name, element(elements, i));
        build.store(field.offset + sub.offset, sub.width, value);
        const uint32_t stored = build.load(field.offset + sub.offset, sub.width);
        char line[128];
        std::snprintf(line, sizeof line, sub.trace, static_cast<int>(stored), static_cast<unsigned long>(stored));
        trace_text(kBuildFieldMask | build.category, line);
    }
}

constexpr SubField kClassCondition[] = {
    {"class_of_device", "prim.condition.class_mask.class_of_device: %d (0x%lx)\n", 0, FieldWidth::u32},
    {"mask", "prim.condition.class_mask.mask: %d (0x%lx)\n", 4, FieldWidth::u32},
    {"auto_accept", "prim.condition.auto_accept: %d (0x%lx)\n", 8, FieldWidth::u8},
};
constexpr SubField kAddressCondition[] = {
    {"bd_addr.lap", "prim.condition.bd_addr.lap: %d (0x%lx)\n", 0, FieldWidth::u32},
    {"bd_addr.uap", "prim.condition.bd_addr.uap: %d (0x%lx)\n", 4, FieldWidth::u8},
    {"bd_addr.nap", "prim.condition.bd_addr.nap: %d (0x%lx)\n", 6, FieldWidth::u16},
    {"auto_accept", "prim.condition.auto_accept: %d (0x%lx)\n", 8, FieldWidth::u8},
};
constexpr SubField kConnectionCondition[] = {
    {"auto_accept", "prim.condition.auto_accept: %d (0x%lx)\n", 0, FieldWidth::u8},
};

// The condition's record is chosen by the filter type and the condition
// type, stored in the two bytes before it.
void encode_event_filter(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    const uint32_t filter_type = build.load(field.offset - 4, FieldWidth::u8);
    const uint32_t condition_type = build.load(field.offset - 3, FieldWidth::u8);
    if (filter_type != 1 && filter_type != 2) return;
    // An inquiry filter (1) has no auto_accept; a connection filter (2) ends
    // with one.
    const size_t extra = filter_type == 2 ? 1 : 0;
    std::span<const SubField> sub_fields;
    switch (condition_type) {
    case 0: sub_fields = std::span(kConnectionCondition).first(extra); break;
    case 1: sub_fields = std::span(kClassCondition).first(2 + extra); break;
    case 2: sub_fields = std::span(kAddressCondition).first(3 + extra); break;
    default: return;
    }
    if (sub_fields.empty()) return;
    encode_sub_fields(build, field, text, sub_fields);
}

constexpr SubField kParkSettings[] = {
    {"max_interval", "prim.u.park_settings.max_interval: %d (0x%lx)\n", 0, FieldWidth::u16},
    {"min_interval", "prim.u.park_settings.min_interval: %d (0x%lx)\n", 2, FieldWidth::u16},
    {"park_idle_time", "prim.u.park_settings.park_idle_time: %d (0x%lx)\n", 4, FieldWidth::u32},
};
constexpr SubField kSniffSettings[] = {
    {"max_interval", "prim.sniff_settings.max_interval: %d (0x%lx)\n", 0, FieldWidth::u16},
    {"min_interval", "prim.u.sniff_settings.min_interval: %d (0x%lx)\n", 2, FieldWidth::u16},
    {"attempt", "prim.u.sniff_settings.attempt: %d (0x%lx)\n", 4, FieldWidth::u16},
    {"timeout", "prim.u.sniff_settings.timeout: %d (0x%lx)\n", 6, FieldWidth::u16},
};

// dm_policy 3 (keep parked) reads the park settings; every other policy
// the sniff settings.
constexpr uint16_t kDmPolicyOffset = 14;
constexpr uint32_t kKeepParked = 3;

void encode_lp_settings(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    if (build.load(kDmPolicyOffset, FieldWidth::u8) == kKeepParked)
        encode_sub_fields(build, field, text, kParkSettings);
    else
        encode_sub_fields(build, field, text, kSniffSettings);
}

// Each entry {lap uap nap {16 key bytes}} becomes a 24-byte block in the
// next pointer slot.
void encode_link_key_list(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    std::vector<std::string> entries;
    if (!split_list(text, entries)) {
        ++build.failures;
        return;
    }
    for (size_t i = 0; i < entries.size() && i < field.count; ++i) {
        std::vector<std::string> parts;
        if (!split_list(entries[i].c_str(), parts)) {
            ++build.failures;
            return;
        }
        std::vector<uint8_t> entry(kLinkKeyEntrySize, 0);
        put_le32(entry.data(), static_cast<uint32_t>(parse_number(parts.size() > 0 ? parts[0].c_str() : "")));
        entry[4] = static_cast<uint8_t>(parse_number(parts.size() > 1 ? parts[1].c_str() : ""));
        put_le16(entry.data() + 6, static_cast<uint16_t>(parse_number(parts.size() > 2 ? parts[2].c_str() : "")));
        const std::vector<uint8_t> key = convert_byte_array(build.interp, parts.size() > 3 ? parts[3].c_str() : "");
        if (key.size() != kLinkKeySize)
            output_printf("Bad link key size [%d/%d]\n", static_cast<int>(key.size()), kLinkKeySize);
        else
            std::copy(key.begin(), key.end(), entry.begin() + 8);
        build.dump_bytes("link_key_bd_addr[" + std::to_string(i) + "]", entry);
        build.store(field.offset + 4 * i, FieldWidth::u32, build.primitive.attach(std::move(entry)));
    }
}

}  // namespace

void encode_special_field(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    switch (field.format) {
    case FieldFormat::block: encode_block(build, field, text); return;
    case FieldFormat::word_block: encode_word_block(build, field, text); return;
    case FieldFormat::address_list: encode_address_list(build, field, text); return;
    case FieldFormat::link_key: encode_link_key(build, field, text); return;
    case FieldFormat::request_key: encode_request_key(build, field, text); return;
    case FieldFormat::pin: encode_pin(build, field, text); return;
    case FieldFormat::local_name: encode_local_name(build, field, text); return;
    case FieldFormat::event_mask: encode_event_mask(build, field, text); return;
    case FieldFormat::iac_laps: encode_iac_laps(build, field, text); return;
    case FieldFormat::ether_addr:
    case FieldFormat::ip_addr: encode_address(build, field, text); return;
    case FieldFormat::word_args: encode_word_args(build, field, text); return;
    case FieldFormat::event_filter: encode_event_filter(build, field, text); return;
    case FieldFormat::lp_settings: encode_lp_settings(build, field, text); return;
    case FieldFormat::link_key_list: encode_link_key_list(build, field, text); return;
    default: return;
    }
}

}  // namespace kestrel
