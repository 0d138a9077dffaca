// The simulated chip's view of stack primitives, read and written by field
// name from the two tables: what the host sends is read with the sent table,
// what the chip sends up is built with the received table. No primitive has
// code of its own here.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel::sim {

// A device address as the primitives carry it.
struct BdAddr {
    uint32_t lap = 0;
    uint8_t uap = 0;
    uint16_t nap = 0;
    friend bool operator==(const BdAddr&, const BdAddr&) = default;
    friend auto operator<=>(const BdAddr&, const BdAddr&) = default;
};

// The 8-byte form of a device address inside records (inquiry results,
// link-key entries): lap u32, uap u8 at +4, nap u16 at +6.
void put_bd_addr(uint8_t* at, const BdAddr& address);
BdAddr get_bd_addr(const uint8_t* at);

// One primitive from the host, decoded with the sent table.
class HostPrimitive {
public:
    // Nothing when Kestrel does not send this type on this channel, or the
    // message does not hold the primitive.
    static std::optional<HostPrimitive> decode(uint8_t channel, std::span<const uint8_t> message);

    const PrimitiveDef& row() const { return *row_; }
    std::string_view name() const { return row_->name; }
    bool has(std::string_view field) const;
    // A number field (element `index` of an inline array); 0 when absent.
    uint32_t get(std::string_view field, unsigned index = 0) const;
    // The block of a pointer field (slot `index` of a pointer array); a byte
    // block no longer than the count its row keeps for it.
    std::span<const uint8_t> block(std::string_view field, unsigned index = 0) const;
    // An inline byte array.
    std::vector<uint8_t> bytes(std::string_view field) const;
    // The address whose fields are PREFIX.lap, PREFIX.uap, PREFIX.nap.
    BdAddr address(std::string_view prefix = "bd_addr") const;

private:
    HostPrimitive(const PrimitiveDef* row, AttachedPrimitive primitive) : row_(row), primitive_(std::move(primitive)) {}
    const PrimitiveDef* row_;
    AttachedPrimitive primitive_;
};

// One primitive the chip sends up, built by name with the received table.
// Fields that are not set travel as zero. A count that a block's format keeps
// (its length_offset) is set with the block.
class ChipPrimitive {
public:
    // `name` must be a row of the received table (checked by the tests).
    explicit ChipPrimitive(std::string_view name);
    // Any row, of either table (tests build the host's primitives with it).
    explicit ChipPrimitive(const PrimitiveDef& row);

    const PrimitiveDef& row() const { return *row_; }
    bool has(std::string_view field) const;
    // Sets a number field (element `index` of an inline array); a field the
    // row lacks is ignored, so a rule may offer fields that only some rows have.
    ChipPrimitive& set(std::string_view field, uint32_t value, unsigned index = 0);
    ChipPrimitive& address(const BdAddr& address, std::string_view prefix = "bd_addr");
    // Pointer field (slot `index` of a pointer array): a block of bytes.
    ChipPrimitive& block(std::string_view field, std::vector<uint8_t> bytes, unsigned index = 0);
    // A pointer array, one block per slot from the first; a count field at
    // the format's length_offset is set to the number of blocks.
    ChipPrimitive& blocks(std::string_view field, const std::vector<std::vector<uint8_t>>& blocks);
    // A name cut into the 32-byte parts of a name_parts field, NUL-terminated
    // when shorter than the whole.
    ChipPrimitive& name(std::string_view field, std::string_view text);
    // An inline byte array.
    ChipPrimitive& bytes(std::string_view field, std::span<const uint8_t> bytes);
    // Every number field that the request names alike (bd_addr, cid,
    // mux_id, port_pars.*...).
    ChipPrimitive& copy_from(const HostPrimitive& request);

    uint8_t channel() const { return static_cast<uint8_t>(row_->channel); }
    std::vector<uint8_t> encode() const;

private:
    const FieldDef* field(std::string_view name) const;
    void put(const FieldDef& field, uint32_t value, unsigned index);

    const PrimitiveDef* row_;
    AttachedPrimitive primitive_;
};

// The received row named `name`, or null.
const PrimitiveDef* find_received_by_name(std::string_view name);
// The sent row named `name`, or null.
const PrimitiveDef* find_sent_by_name(std::string_view name);

}  // namespace kestrel::sim
