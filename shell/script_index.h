// The script library kestrellibs: regeneration of its auto-load index (-a)
// and the look at that index which start-up takes.
#pragma once

#include <tcl.h>

namespace kestrel {

inline constexpr const char* kScriptIndexPath = "kestrellibs/tclIndex";

// Sources auto.tcl and rebuilds kestrellibs/tclIndex. Without an auto.tcl in
// the current directory it does nothing and says nothing.
void regenerate_script_index(Tcl_Interp* interp);

// Reads the index at start-up. It evaluates nothing: the library's
// procedures load on first use through auto_path.
void scan_script_index(Tcl_Interp* interp);

}  // namespace kestrel
