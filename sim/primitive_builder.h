// The simulated chip's side of the received table: a stack primitive built
// from its row and FIELD=VALUE words, as the chip sends it up.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel::sim {

// Fields not named are 0. A value is a number; an inline array or a block,
// numbers separated by commas (a block's count field follows it unless
// named after it); a device name, its text; an array of pointers, blocks
// separated by slashes (its count field follows them).
std::optional<AttachedPrimitive> build_primitive(const PrimitiveDef& row, std::span<const std::string> assignments,
                                                 std::string& error);

}  // namespace kestrel::sim
