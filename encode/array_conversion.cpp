#include "encode/array_conversion.h"

#include <cctype>
#include <cstring>
#include <map>
#include <string>

#include "encode/number_conversion.h"
#include "shell/output.h"

namespace kestrel {
namespace {

bool is_separator(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r' || c == ',' || c == '{' || c == '}';
}

// One character of a quoted string, after a backslash. The \c and \x forms
// are kept exactly as scripts have always seen them: \cA is 0, \cB is 0xff,
// and \x is a flag (00 gives 0, anything else 1), not a hexadecimal escape.
uint8_t escaped(const char*& p) {
    char c = *p;
    if (c == '\0') return '.';
    ++p;
    switch (c) {
    case 'n': return 10;
    case 'r': return 13;
    case 't': return 9;
    case 'c': {
        if (*p == '\0') return '.';
        char letter = *p++;
        if (std::isalpha(static_cast<unsigned char>(letter)))
            return static_cast<uint8_t>(0x41 - std::toupper(static_cast<unsigned char>(letter)));
        return 'c';
    }
    case 'x': {
        if (p[0] == '\0') return '.';
        if (p[1] == '\0') {
            ++p;
            return 1;
        }
        bool zero = p[0] == '0' && p[1] == '0';
        p += 2;
        return zero ? 0 : 1;
    }
    default: return static_cast<uint8_t>(c);
    }
}

template <typename T>
class Converter {
public:
    explicit Converter(Tcl_Interp* interp) : interp_(interp) {}

    // False when conversion stopped early (a message has been printed).
    bool convert(const char* text, std::vector<T>& out) {
        const char* p = text;
        while (*p) {
            if (is_separator(*p)) {
                ++p;
                continue;
            }
            if (*p == '"' || *p == '\'') {
                for (++p; *p && *p != '"' && *p != '\''; ) {
                    uint8_t byte = *p == '\\' ? (++p, escaped(p)) : static_cast<uint8_t>(*p++);
                    if (!add(out, byte)) return true;
                }
                if (*p) ++p;
                continue;
            }
            const char* start = p;
            while (*p && !is_separator(*p)) ++p;
            std::string token(start, p);
            if (token[0] == '$' && interp_) {
                if (!expand(token.c_str() + 1, out)) return false;
                continue;
            }
            if (!add(out, static_cast<T>(static_cast<uint32_t>(parse_number(token.c_str()))))) return true;
        }
        return true;
    }

private:
    bool add(std::vector<T>& out, T value) {
        if (out.size() >= kArrayLimit) {
            if (!overflowed_) output_write("Internal Error - array overflow detected in processing large string\n");
            overflowed_ = true;
            return false;
        }
        out.push_back(value);
        return true;
    }

    bool expand(const char* name, std::vector<T>& out) {
        const char* value = Tcl_GetVar(interp_, name, 0);
        if (!value) value = Tcl_GetVar(interp_, name, TCL_GLOBAL_ONLY);
        if (!value) {
            output_write("Internal Error - bad array conversion, failed to find variable\n");
            return false;
        }
        // A variable that names itself, directly or through others, would
        // recurse for ever; a depth far beyond any real script stops it.
        if (++depth_ > 64) {
            output_write("Internal Error - bad array conversion, check your array syntax\n");
            return false;
        }
        // Variables do not change while a text is converted, so each one is
        // converted once: a chain of variables that each name the next twice
        // would otherwise take time exponential in its length.
        auto cached = converted_.find(name);
        if (cached == converted_.end()) {
            std::vector<T> inner;
            const bool ok = convert(value, inner);
            cached = converted_.emplace(name, std::make_pair(std::move(inner), ok)).first;
        }
        --depth_;
        for (T element : cached->second.first)
            if (out.size() + 1 < kArrayLimit) out.push_back(element);
        return cached->second.second;
    }

    Tcl_Interp* interp_;
    int depth_ = 0;
    bool overflowed_ = false;
    std::map<std::string, std::pair<std::vector<T>, bool>> converted_;
};

template <typename T>
std::vector<T> convert_array(Tcl_Interp* interp, const char* text) {
    std::vector<T> out;
    if (text) Converter<T>(interp).convert(text, out);
    return out;
}

}  // namespace

std::vector<uint8_t> convert_byte_array(Tcl_Interp* interp, const char* text) {
    return convert_array<uint8_t>(interp, text);
}
std::vector<uint16_t> convert_word_array(Tcl_Interp* interp, const char* text) {
    return convert_array<uint16_t>(interp, text);
}
std::vector<uint32_t> convert_long_array(Tcl_Interp* interp, const char* text) {
    return convert_array<uint32_t>(interp, text);
}

}  // namespace kestrel
