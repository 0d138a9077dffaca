// The TCI commands and events Kestrel builds, in registration order, and
// the record that TCI_sendacl builds.
#pragma once

#include <span>

#include "transport/primitive_table.h"

namespace kestrel {

std::span<const PrimitiveDef> tci_sent_primitives();
// The commands alone (the rows before the events): the issuing manual rows.
// The events' manual rows are those of their receivable namesakes.
std::span<const PrimitiveDef> tci_sent_commands();
const PrimitiveDef& tci_acl_record();

// An event row (sent with its event code) rather than a command row.
bool is_tci_event(const PrimitiveDef& row);

}  // namespace kestrel
