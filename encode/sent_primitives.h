// The table of stack primitives Kestrel sends (DM, L2CAP with BNEP and TCP,
// RFCOMM, SDP), in registration order.
#pragma once

#include <cstdint>
#include <span>

#include "transport/primitive_table.h"

namespace kestrel {

std::span<const PrimitiveDef> sent_primitives();

// The row of (channel, type), or null when Kestrel does not send that type.
const PrimitiveDef* find_sent_primitive(uint32_t channel, uint16_t type);

}  // namespace kestrel
