// libFuzzer target: byte, word and long array conversion of any text, with
// or without an interpreter for the $ tokens. Beyond the sanitizers it checks
// the 4096-element cap and that the three widths agree element by element
// (each element is one number or one character, cut to its width).
//
// With KESTREL_FUZZ_INTERP the input is "TEXT\0A\0B": the values of the
// variables a and b (which may refer to each other and to $fixed) precede the
// conversion of TEXT.
#include <tcl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "encode/array_conversion.h"
#include "shell/output.h"

using namespace kestrel;

namespace {

Tcl_Interp* interp = nullptr;

template <typename Wide, typename Narrow>
void agree(const std::vector<Wide>& wide, const std::vector<Narrow>& narrow) {
    if (wide.size() != narrow.size()) std::abort();
    for (size_t i = 0; i < wide.size(); ++i)
        if (static_cast<Narrow>(wide[i]) != narrow[i]) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    output_set_mute(1);  // the conversion's console messages are not the point here
#ifdef KESTREL_FUZZ_INTERP
    Tcl_FindExecutable(nullptr);
    interp = Tcl_CreateInterp();
    Tcl_SetVar(interp, "fixed", "1 0x200 'xy\\n' {3,4}", TCL_GLOBAL_ONLY);
#endif
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string input(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> parts;
    size_t start = 0;
    for (int i = 0; i < 2; ++i) {
        size_t nul = input.find('\0', start);
        if (nul == std::string::npos) break;
        parts.push_back(input.substr(start, nul - start));
        start = nul + 1;
    }
    parts.push_back(input.substr(start));
    const std::string& text = parts[0];
    if (interp) {
        Tcl_SetVar(interp, "a", parts.size() > 1 ? parts[1].c_str() : "", TCL_GLOBAL_ONLY);
        Tcl_SetVar(interp, "b", parts.size() > 2 ? parts[2].c_str() : "", TCL_GLOBAL_ONLY);
    }

    std::vector<uint8_t> bytes = convert_byte_array(interp, text.c_str());
    std::vector<uint16_t> words = convert_word_array(interp, text.c_str());
    std::vector<uint32_t> longs = convert_long_array(interp, text.c_str());
    if (longs.size() > kArrayLimit) std::abort();
    agree(longs, bytes);
    agree(longs, words);
    return 0;
}
