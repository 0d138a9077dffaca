// The vocabulary variables: one global Tcl variable per protocol name (PTCMD
// PDU types and variable ids, TCI codes, channels, primitive types), so that
// scripts write $PTCMD_PRIM or $PTCMDVARID_CHIPVER instead of numbers.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <span>

namespace kestrel {

struct VocabularyRow {
    const char* name;
    uint32_t value;
};

// The fixed rows, in the order they are set.
std::span<const VocabularyRow> vocabulary_rows();

// Sets every row as a global variable, its value as "0x%lx".
void set_vocabulary_variables(Tcl_Interp* interp);

}  // namespace kestrel
