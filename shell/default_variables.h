// The variables every new interpreter starts with: defaults that primitive
// commands read when an argument is not given, and a few named constants.
#pragma once

#include <tcl.h>

namespace kestrel {

struct DefaultVariable {
    const char* name;
    const char* value;
};

extern const DefaultVariable kDefaultVariables[];
extern const int kDefaultVariableCount;

// Sets every default as a global variable, in table order.
void set_default_variables(Tcl_Interp* interp);

}  // namespace kestrel
