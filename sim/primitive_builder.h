// PT_sim prim: a stack primitive the chip sends up, from its received-table
// row and FIELD=VALUE words, built by the chip's own primitive writer.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "transport/primitive_table.h"

namespace kestrel::sim {

// The primitive's wire message. Fields not named are 0. A value is a number;
// an inline array or a block, numbers separated by commas (a block's count
// field follows it unless named after it); a device name, its text; an array
// of pointers, blocks separated by slashes (its count field follows them).
std::optional<std::vector<uint8_t>> build_message(const PrimitiveDef& row, std::span<const std::string> assignments,
                                                  std::string& error);

}  // namespace kestrel::sim
