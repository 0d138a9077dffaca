// The primitives the chip sends up on the DM, L2CAP, RFCOMM and SDP
// channels: one row each, from which the receive side rebuilds, traces,
// queues and decodes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "transport/primitive_table.h"

namespace kestrel {

inline constexpr size_t kReceivedPrimitiveCount = 167;

std::span<const PrimitiveDef> received_primitives();

// The row of (channel, type), or null for a type no layout knows.
const PrimitiveDef* find_received_primitive(uint32_t channel, uint16_t type);

}  // namespace kestrel
