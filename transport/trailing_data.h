// Which out-of-line blocks of a received primitive travel with it into the
// receive queue, and where. A record is self-contained: each copied block
// lies behind the primitive, and its pointer field holds the block's offset
// from the primitive's first byte.
#pragma once

#include <cstdint>

#include "transport/attached_primitive.h"

namespace kestrel {

// Bytes to reserve behind the primitive: at least every byte copied.
uint32_t trailing_size(uint32_t channel, const AttachedPrimitive& primitive);

// Copies the blocks into the trailing area behind record_primitive (a copy
// of primitive.bytes, trailing_size bytes of zeroed room behind it) and
// rewrites its pointer fields. Pointer fields that name no copied block are
// left 0, so no stale reference is ever read as an offset.
void copy_trailing_data(uint32_t channel, const AttachedPrimitive& primitive, uint8_t* record_primitive);

}  // namespace kestrel
