// The encoders of fields that are not one number: byte arrays, keys, PINs,
// names, masks, LAP lists, addresses, filter conditions and low-power
// settings. The field's argument has been resolved to text already.
#pragma once

#include "encode/primitive_build.h"

namespace kestrel {

// Encodes text into the field by the field's format, tracing what it wrote;
// failures that count are added to build.failures.
void encode_special_field(PrimitiveBuild& build, const FieldDef& field, const char* text);

}  // namespace kestrel
