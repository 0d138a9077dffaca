#include "decode/hex_dump.h"

#include <cstdio>

#include "shell/run_flags.h"

namespace kestrel {
namespace {

// RunFlags bit 0x010 is set from the start: dumps are long unless a build
// clears it.
constexpr uint32_t kLongDumps = 0x010;

template <typename T>
std::string dump(std::span<const T> items, std::string_view prefix, const char* format, size_t per_line,
                 const char* cut) {
    std::string out(prefix);
    out += ' ';
    const std::string indent(prefix.size() + 1, ' ');
    if (items.empty()) return out + "EMPTY\n";
    const size_t limit = (g_run_flags.load(std::memory_order_relaxed) & kLongDumps) ? 10000 : 10;
    char text[16];
    for (size_t i = 1; i <= items.size(); ++i) {
        std::snprintf(text, sizeof text, format, static_cast<unsigned long>(items[i - 1]));
        out += text;
        if (i == limit) return out + cut;
        if (i % per_line == 0) {
            out += '\n';
            out += indent;
        } else if (i < items.size()) {
            out += ',';
        }
    }
    out += '\n';
    if (items.size() % per_line == 0) out += '\r';
    return out;
}

}  // namespace

std::string hex_dump_bytes(std::span<const uint8_t> bytes, std::string_view prefix) {
    return dump(bytes, prefix, "%02lx", 16, "..\n");
}
std::string hex_dump_words(std::span<const uint16_t> words, std::string_view prefix) {
    return dump(words, prefix, "%04lx", 8, "....\n");
}
std::string hex_dump_longs(std::span<const uint32_t> words, std::string_view prefix) {
    return dump(words, prefix, "%08lx", 4, "....\n");
}

}  // namespace kestrel
