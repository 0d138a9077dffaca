// The primitive pretty-printer of PT_option +primdebug: one readable
// paragraph per primitive, its name, family and type, then each field by
// name with its value, rendered from the same tables as the decoders.
//
// Entry points:
//   pretty_print_primitive(row, primitive)  the paragraph, for any row of the
//       sent or the received tables;
//   print_sent_primitive(switches, row, primitive)  for the send paths: prints
//       the paragraph ("\n%s") when the family's outgoing switch is on,
//       leaving out L2CA_DATAWRITE_REQ, RFC_DATA_REQ and RFC_DATAWRITE_REQ
//       unless the outgoing data switch is on;
//   print_received_primitive(switches, row, primitive)  the same for the
//       receive path (the link's copy of the switches), where L2CA_DATAWRITE_CFM,
//       L2CA_DATAREAD_IND and RFC_DATA_IND need the incoming data switch.
#pragma once

#include <string>

#include "shell/debug_switches.h"
#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel {

std::string pretty_print_primitive(const PrimitiveDef& row, const AttachedPrimitive& primitive);

void print_sent_primitive(const DebugSwitches& switches, const PrimitiveDef& row, const AttachedPrimitive& primitive);
// The same for what a link sends on its own (the throughput tests), by the
// link's copy of the switches.
void print_sent_primitive(const LinkDebugSwitches& switches, const PrimitiveDef& row,
                          const AttachedPrimitive& primitive);
void print_received_primitive(const LinkDebugSwitches& switches, const PrimitiveDef& row,
                              const AttachedPrimitive& primitive);

}  // namespace kestrel
