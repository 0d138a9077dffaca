// The Tcl array manual: one entry per command and per receivable primitive,
// which the script library reads to show help.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <span>
#include <string>

#include "transport/primitive_table.h"

namespace kestrel {

enum ManualFlags : uint32_t {
    kManualInternal = 0x40000000,
    kManualBuiltin = 0x04000000,
    kManualIssues = 0x08000000,
    kManualReceivable = 0x10000000,
};

inline constexpr uint32_t kManualBuiltinFlags = kManualInternal | kManualBuiltin;

// One manual row. extra may be null (it renders as an empty element).
struct ManualRow {
    const char* name;
    uint32_t flags;
    const char* help;
    const char* arguments;
    const char* results;
    const char* extra;
};

// The script that stores one row: the whole value stands in braces, so the
// texts are stored without substitution.
std::string manual_row_script(const ManualRow& row);

// Stores one row by evaluating its script; a failure prints Tcl's error
// trace and leaves the entry unset.
void add_manual_row(Tcl_Interp* interp, const ManualRow& row);

// The rows of a primitive family. Their sixth element repeats the results.
void add_primitive_manual_rows(Tcl_Interp* interp, std::span<const PrimitiveDef> table, PrimitiveRole role);

}  // namespace kestrel
