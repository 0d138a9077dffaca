// The trace printer: printf-like output that is gated by a category-and-style
// mask and framed with header and rule lines.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestrel {

// Category bits of a trace mask (the global mask and every caller's mask).
enum TraceBits : uint32_t {
    kTraceL2cap = 0x00000001,
    kTraceDm = 0x00000002,
    kTraceRfc = 0x00000004,
    kTraceSdp = 0x00000018,  // both bits switch together; callers pass 0x10
    kTraceVm = 0x00000020,
    kTracePtcmd = 0x00000040,
    kTraceDebug = 0x00000080,
    kTraceTci = 0x00000100,  // never switched by PT_option
    kTraceRaw = 0x00000400,

    kTracePrefix = 0x00800000,    // "=> " or "-> " before the text
    kTraceRule = 0x01000000,      // a rule line instead of the text
    kTraceHeader = 0x02000000,    // frame the text as "[text]" header line
    kTraceOutgoing = 0x04000000,  // '-' style
    kTraceIncoming = 0x08000000,  // '=' style

    kTraceError = 0x20000000,
};

inline constexpr uint32_t kTraceMaskInitial = 0xef80071f;

// The global trace mask; receive threads read it while PT_option changes it.
inline std::atomic<uint32_t> g_trace_mask{kTraceMaskInitial};

// Prints only while the internal debugger (-d) is on and mask meets the
// global mask. The header padding is computed from the length of the format
// string, not of the formatted text.
void trace_printf(uint32_t mask, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The same for text formatted already; a header is padded as if format_length
// were the length of its format.
void trace_text(uint32_t mask, size_t format_length, std::string_view text);
inline void trace_text(uint32_t mask, std::string_view text) { trace_text(mask, text.size(), text); }

// Whether a trace of this mask would print at all, so that callers can skip
// building its text.
bool trace_enabled(uint32_t mask);

}  // namespace kestrel
