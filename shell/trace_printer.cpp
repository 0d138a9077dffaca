#include "shell/trace_printer.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "shell/output.h"
#include "shell/run_flags.h"

namespace kestrel {
namespace {

constexpr int kHeaderWidth = 40;
constexpr size_t kRuleLength = 45;

std::string format_text(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length <= 0) return {};
    std::string text(static_cast<size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

}  // namespace

bool trace_enabled(uint32_t mask) {
    return run_flag(kRunDebugger) && (mask & g_trace_mask.load(std::memory_order_relaxed)) != 0;
}

void trace_printf(uint32_t mask, const char* format, ...) {
    if (!trace_enabled(mask)) return;
    va_list args;
    va_start(args, format);
    std::string text = format_text(format, args);
    va_end(args);
    trace_text(mask, std::strlen(format), text);
}

void trace_text(uint32_t mask, size_t format_size, std::string_view text) {
    uint32_t m = mask & g_trace_mask.load(std::memory_order_relaxed);
    if (!run_flag(kRunDebugger) || m == 0) return;

    // The whole trace goes out in one write, so that lines of other threads
    // never land inside it.
    std::string out;
    bool header_open = false;
    int pad = 0;
    const int format_length = static_cast<int>(format_size);

    if ((m & kTraceIncoming) && (m & kTraceHeader)) {
        out += "\n===[";
        header_open = true;
        pad = kHeaderWidth - format_length;
    }
    if (m & kTraceIncoming) {
        if (m & kTraceRule) {
            out.append(kRuleLength, '=');
            out += '\n';
            output_write(out);
            return;
        }
        if (m & kTracePrefix) out += "=> ";
    }
    if ((m & kTraceOutgoing) && (m & kTraceHeader)) {
        out += "\n---[";
        header_open = true;
        pad = kHeaderWidth - format_length;
    }
    if (m & kTraceOutgoing) {
        if (m & kTraceRule) {
            out.append(kRuleLength, '-');
            out += '\n';
            output_write(out);
            return;
        }
        if (m & kTracePrefix) out += "-> ";
    }

    out += text;

    if (header_open) {
        if (m & kTraceHeader) {
            out += ']';
            if (pad > 0) out.append(static_cast<size_t>(pad), (m & kTraceIncoming) ? '=' : '-');
        }
        out += '\n';
    }
    output_write(out);
}

}  // namespace kestrel
