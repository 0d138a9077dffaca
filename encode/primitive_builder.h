// The one builder of every stack primitive: a table row and the command's
// arguments in, a sent primitive (or the messages of what was wrong) out.
#pragma once

#include <tcl.h>

#include "transport/primitive_table.h"

namespace kestrel {

class SessionContext;

// How a builder was reached. Its own command checks the connection itself;
// PT_send has checked it once before choosing the builder, and reports a
// wrong count of an HCI command primitive without the counts.
enum class BuilderEntry : uint8_t { command, pt_send };

// count arguments from args; only the row's field count and 0 (every field
// from its variable) are accepted. Returns the Tcl code; messages are
// appended to the interpreter result.
int build_and_send(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row, int count,
                   const char* const* args, BuilderEntry entry);

}  // namespace kestrel
