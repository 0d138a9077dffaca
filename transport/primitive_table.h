// The shape of the primitive tables: every primitive is a row of data (name,
// type, channel, size, fields) from which commands, manual rows, decoders,
// traces and the simulated chip are all derived.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kestrel {

enum class FieldWidth : uint8_t { u8, u16, u32, ptr };

// The bytes one element of the width takes in the chip's layout.
constexpr unsigned width_bytes(FieldWidth width) {
    return width == FieldWidth::u8 ? 1 : width == FieldWidth::u16 ? 2 : 4;
}

// What a field holds when it is not one number: how a builder encodes the
// script's argument into it, or how a decoder shows it. Each value names one
// codec; no value belongs to a single primitive's code path.
enum class FieldFormat : uint8_t {
    number,  // one value of the field's width

    // Sending: the argument is resolved as for a number, then handed to the
    // named encoder instead of the number conversion.
    block,         // byte array: a block for the pointer field, its count at length_offset
    link_key,      // 16 bytes inline; another size is reported, not counted
    request_key,   // key bytes inline, copied one by one with their own trace
    pin,           // 16 bytes inline, the array's length into length_offset
    local_name,    // a name cut into the 8 pointer slots, length into the HCI header
    event_mask,    // two elements, each a 32-bit word
    iac_laps,      // a Tcl list of LAPs, u32 each; the count at length_offset
    ether_addr,    // three 16-bit words
    ip_addr,       // eight 16-bit words
    word_args,     // exactly count 16-bit words inline
    event_filter,  // the condition record chosen by filter and condition type
    lp_settings,   // the park or sniff settings chosen by dm_policy
    link_key_list, // a Tcl list of {lap uap nap {16 bytes}}, one 24-byte block per pointer slot
    word_block,    // 16-bit word array: a block of little-endian words for the pointer field
    address_list,  // a Tcl list of {lap uap nap}, one 8-byte device address each, as one block

    // Receiving: the decoders' formats follow here. Each is one list
    // element; a count that a format reads stands at length_offset.
    data_block,          // bytes from the pointer field, u16 count at length_offset
    payload_block,       // data_block, then the payload check of received data
    read_payload_block,  // payload_block that sets no argN (its number is skipped)
    byte_array,          // u8[n] inline, as a byte block
    word_array,          // u16[n] inline, as a 16-bit word block
    remote_features,     // u16[4], four "0x%lx"
    local_features,      // u8[8], eight "0x%lx"
    inquiry_result,      // the first 20-byte record of ptr[n]; u8 count at length_offset
    link_key_entries,    // u8 count at length_offset of 24-byte entries behind ptr[n]
    name_parts,          // ptr[8] of up to 32 bytes each: one name of at most 248
    lap_list,            // u8 count at length_offset of 3-byte LAPs behind ptr[n]
    flat_bytes,  // the bytes from offset to the end, at most the u16 count at length_offset: a byte block
    flat_words,  // the same count of 16-bit words, each "0x%lx " (blank included)
};

struct FieldDef {
    std::string_view name;  // as scripts name it: "bd_addr.lap"
    uint16_t offset;
    FieldWidth width;
    uint8_t count = 1;  // elements of an inline array (ptr[8], u8[16], ...)
    FieldFormat format = FieldFormat::number;
    uint16_t length_offset = 0;  // where a block's or array's count stands, when the format has one
};

// The stack's families as the builders, send paths and traces tell them
// apart. dm_hci rows are the HCI command primitives: their parameter length
// byte follows the type, unless the row's first field stands at offset 2.
// tci rows are packed TCI commands and events, whose envelope the TCI send
// path fills.
enum class PrimitiveFamily : uint8_t { none, dm_hci, dm, l2ca, bnep, tcp, rfc, sdc, sds, tci };

struct PrimitiveDef {
    std::string_view name;
    uint16_t type;
    uint32_t channel;
    uint16_t size;
    std::span<const FieldDef> fields;
    PrimitiveFamily family = PrimitiveFamily::none;
};

// The offsets of a primitive's pointer fields, in layout order; an array of
// n pointers counts as n fields. These fields travel as blocks on the wire.
std::vector<uint16_t> pointer_offsets(const PrimitiveDef& primitive);

// The row's field of that name, or null.
const FieldDef* find_field(const PrimitiveDef& row, std::string_view name);

// Which side of the link a table describes.
enum class PrimitiveRole : uint8_t {
    issued,      // commands that build and send the primitive
    receivable,  // primitives the wait and receive commands decode
};

}  // namespace kestrel
