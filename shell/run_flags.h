// RunFlags: the process-wide word of session-wide switches. Receive threads
// read it (the trace printer tests the debugger bit), hence the atomic.
#pragma once

#include <atomic>
#include <cstdint>

namespace kestrel {

enum RunFlag : uint32_t {
    kRunEchoPipedInput = 0x001,  // -e
    kRunPipedInput = 0x002,      // standard input is not a terminal
    kRunDebugger = 0x004,        // -d: the category trace printer prints
    kRunLogging = 0x080,         // -l opened its file
    kRunBatchMode = 0x200,       // -b
};

// Bits 0x010 and 0x040 are set from the start and never change.
inline constexpr uint32_t kRunFlagsInitial = 0x50;

inline std::atomic<uint32_t> g_run_flags{kRunFlagsInitial};

inline bool run_flag(RunFlag flag) { return (g_run_flags.load(std::memory_order_relaxed) & flag) != 0; }
inline void set_run_flag(RunFlag flag) { g_run_flags.fetch_or(flag, std::memory_order_relaxed); }

}  // namespace kestrel
