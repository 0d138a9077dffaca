#include "transport/trailing_data.h"

#include <algorithm>
#include <cstring>

#include "transport/channel.h"

namespace kestrel {
namespace {

constexpr uint32_t kNameSlot = 32;
constexpr uint32_t kNameSlots = 8;
constexpr uint32_t kNameLimit = 248;
constexpr uint32_t kInquiryRecord = 20;
constexpr uint32_t kLinkKeyEntry = 24;
constexpr uint32_t kLapBytes = 3;

// A block copied from a pointer field to a place in the trailing area.
struct BlockCopy {
    uint16_t pointer_offset;
    uint16_t length_offset;  // where the block's byte count stands
};

// How a row's blocks travel.
enum class Rule {
    simple,        // up to two blocks, each by its length field
    name_parts,    // 8 pointers at offset, parts of a NUL-terminated name
    laps,          // count(5) pointers at 8, 3 bytes each
    inquiry,       // count(4) records reserved, the first carried
    link_keys,     // count(4) pointers at 8, 24 bytes each
    pointer_only,  // a pointer that carries nothing into the queue
};

struct TrailingRule {
    uint32_t channel;
    uint16_t type;
    Rule rule;
    BlockCopy blocks[2];
    int block_count;
    uint16_t reserve_offset;  // the u16 the queue reserves by, when it differs
};

constexpr TrailingRule kRules[] = {
    {kChannelRfcomm, 0x0019, Rule::simple, {{12, 8}}, 1, 8},            // RFC_DATA_IND
    {kChannelRfcomm, 0x0029, Rule::simple, {{8, 6}}, 1, 6},             // RFC_TEST_CFM
    {kChannelL2cap, 0x000D, Rule::simple, {{12, 8}}, 1, 8},             // L2CA_DATAREAD_IND
    {kChannelL2cap, 0x0009, Rule::simple, {{12, 8}}, 1, 8},             // L2CA_CONFIG_IND
    {kChannelL2cap, 0x0015, Rule::simple, {{4, 8}}, 1, 8},              // L2CA_PING_CFM
    {kChannelL2cap, 0x0017, Rule::simple, {{8, 12}}, 1, 12},            // L2CA_GETINFO_CFM
    {kChannelL2cap, 0x010C, Rule::simple, {{4, 8}}, 1, 8},              // BNEP_DATA_IND
    {kChannelL2cap, 0x010E, Rule::simple, {{4, 8}}, 1, 8},              // BNEP_MULTICAST_DATA_IND
    {kChannelL2cap, 0x010F, Rule::simple, {{4, 8}}, 1, 8},              // BNEP_LOOPBACK_DATA_IND
    {kChannelL2cap, 0x010D, Rule::pointer_only, {{20, 24}}, 1, 0},      // BNEP_EXTENDED_DATA_IND
    // TCP_DATA_IND reserves by the word at 8 (the low half of its pointer)
    // but copies len(6); the record reserves the larger of the two.
    {kChannelL2cap, 0x0207, Rule::simple, {{8, 6}}, 1, 8},
    {kChannelSdp, 0x0002, Rule::simple, {{8, 6}, {20, 16}}, 2, 0},      // SDC_SERVICE_SEARCH_CFM
    {kChannelSdp, 0x0004, Rule::simple, {{8, 4}, {20, 16}}, 2, 0},      // SDC_SERVICE_ATTRIBUTE_CFM
    {kChannelSdp, 0x0006, Rule::simple, {{8, 6}, {20, 18}}, 2, 0},      // SDC_SERVICE_SEARCH_ATTRIBUTE_CFM
    {kChannelDm, 0x0C4B, Rule::name_parts, {{8, 0}}, 0, 0},             // DM_HCI_READ_LOCAL_NAME_COMPLETE
    {kChannelDm, 0x0429, Rule::name_parts, {{16, 0}}, 0, 0},            // DM_HCI_REMOTE_NAME_COMPLETE
    {kChannelDm, 0x0C68, Rule::laps, {}, 0, 0},                         // DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE
    {kChannelDm, 0x0424, Rule::inquiry, {}, 0, 0},                      // DM_HCI_INQUIRY_RESULT
    {kChannelDm, 0x0427, Rule::link_keys, {}, 0, 0},                    // DM_HCI_RETURN_LINK_KEYS
};

const TrailingRule* find_rule(uint32_t channel, const AttachedPrimitive& primitive) {
    for (const TrailingRule& rule : kRules)
        if (rule.channel == channel && rule.type == primitive.type()) return &rule;
    return nullptr;
}

uint32_t field16(const AttachedPrimitive& p, uint32_t offset) {
    return offset + 2 <= p.bytes.size() ? get_le16(p.bytes.data() + offset) : 0;
}
uint32_t field8(const AttachedPrimitive& p, uint32_t offset) {
    return offset < p.bytes.size() ? p.bytes[offset] : 0;
}

// Pointer fields of the counted rows: count(4) or count(5), at most slots.
uint32_t counted(const AttachedPrimitive& p, uint32_t count_offset, uint32_t slots) {
    return std::min(field8(p, count_offset), slots);
}

uint32_t name_part_length(std::span<const uint8_t> part, uint32_t total) {
    uint32_t count = 0;
    while (count < part.size() && part[count] != 0 && count + total < kNameLimit && count < kNameSlot) ++count;
    return count;
}

void set_pointer(uint8_t* record, uint32_t size, uint32_t pointer_offset, uint32_t value) {
    if (pointer_offset + 4 <= size) put_le32(record + pointer_offset, value);
}

}  // namespace

uint32_t trailing_size(uint32_t channel, const AttachedPrimitive& p) {
    const TrailingRule* rule = find_rule(channel, p);
    if (!rule) return 0;
    switch (rule->rule) {
    case Rule::pointer_only: return 0;
    case Rule::simple: {
        uint32_t total = 0;
        for (int i = 0; i < rule->block_count; ++i) total += field16(p, rule->blocks[i].length_offset);
        if (rule->reserve_offset && rule->block_count == 1)
            total = std::max(total, field16(p, rule->reserve_offset));
        return total;
    }
    case Rule::name_parts: return kNameSlot * kNameSlots;
    case Rule::laps: return std::max<uint32_t>(18, counted(p, 5, 6) * kLapBytes);
    case Rule::inquiry: return std::max(field8(p, 4) * kInquiryRecord, kInquiryRecord);
    case Rule::link_keys: return counted(p, 4, 10) * kLinkKeyEntry;
    }
    return 0;
}

void copy_trailing_data(uint32_t channel, const AttachedPrimitive& p, uint8_t* record) {
    const TrailingRule* rule = find_rule(channel, p);
    if (!rule) return;
    const uint32_t size = static_cast<uint32_t>(p.bytes.size());
    uint8_t* trailing = record + size;
    uint32_t at = 0;  // next free trailing byte

    auto copy_block = [&](uint32_t pointer_offset, uint32_t length, uint32_t slot_at) {
        std::span<const uint8_t> block = p.block_at(pointer_offset);
        set_pointer(record, size, pointer_offset, 0);
        if (length == 0 || block.empty()) return false;
        std::memcpy(trailing + slot_at, block.data(), std::min<size_t>(length, block.size()));
        set_pointer(record, size, pointer_offset, size + slot_at);
        return true;
    };

    // count(count_offset) entries of entry bytes each, from the pointers at
    // 8, 12, ..., packed one after the other.
    auto copy_counted = [&](uint32_t count_offset, uint32_t slots, uint32_t entry) {
        const uint32_t count = counted(p, count_offset, slots);
        for (uint32_t i = 0; i < slots; ++i) {
            const uint32_t pointer = 8 + 4 * i;
            if (i < count && copy_block(pointer, entry, at))
                at += entry;
            else
                set_pointer(record, size, pointer, 0);
        }
    };

    switch (rule->rule) {
    case Rule::pointer_only: set_pointer(record, size, rule->blocks[0].pointer_offset, 0); return;
    case Rule::simple:
        for (int i = 0; i < rule->block_count; ++i) {
            const BlockCopy& b = rule->blocks[i];
            uint32_t length = field16(p, b.length_offset);
            copy_block(b.pointer_offset, length, at);
            at += length;
        }
        return;
    case Rule::name_parts: {
        const uint32_t first = rule->blocks[0].pointer_offset;
        uint32_t total = 0;
        bool stop = false;
        for (uint32_t i = 0; i < kNameSlots; ++i) {
            const uint32_t pointer = first + 4 * i;
            std::span<const uint8_t> part = p.block_at(pointer);
            if (stop || part.empty()) {
                set_pointer(record, size, pointer, 0);
                continue;
            }
            uint32_t count = name_part_length(part, total);
            if (count + total == kNameLimit) {
                stop = true;
            } else if (count < kNameSlot) {
                stop = true;
                ++count;  // the terminating NUL travels too (the room is zeroed)
            }
            copy_block(pointer, std::min<uint32_t>(count, static_cast<uint32_t>(part.size())), i * kNameSlot);
            total += count;
        }
        return;
    }
    case Rule::laps: copy_counted(5, 6, kLapBytes); return;
    case Rule::inquiry:
        // Room for every result, but only the first record travels.
        for (uint32_t i = 0; i < 6; ++i) set_pointer(record, size, 8 + 4 * i, 0);
        if (field8(p, 4) != 0) copy_block(8, kInquiryRecord, 0);
        return;
    case Rule::link_keys: copy_counted(4, 10, kLinkKeyEntry); return;
    }
}

}  // namespace kestrel
