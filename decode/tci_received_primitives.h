// What Kestrel decodes from a TCI link: commands received from the far side
// (by op code), command complete events (by the op code they complete) and
// TCI events (by event id). The fields stand where the packets carry them,
// with the envelope (op code or event code, and length) before them.
#pragma once

#include <cstdint>
#include <span>

#include "transport/primitive_table.h"

namespace kestrel {

inline constexpr uint8_t kTciCommandCompleteCode = 0x0E;
inline constexpr uint8_t kTciEventCode = 0xFE;

// The 25 events, in the order of their manual rows.
std::span<const PrimitiveDef> tci_received_events();

// Null when Kestrel has no decoder for the key.
const PrimitiveDef* find_tci_command(uint16_t op_code);
const PrimitiveDef* find_tci_complete(uint16_t command_op_code);
const PrimitiveDef* find_tci_indication(uint8_t event_id);

// The row for a packet as the queue holds it (channel bit 31: a command);
// null for one that no row decodes or that is too short for its key.
const PrimitiveDef* find_tci_received(uint32_t channel, const uint8_t* packet, uint32_t size);

}  // namespace kestrel
