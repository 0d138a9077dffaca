// The 17 primitive-debug switches and the category switch of PT_option.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

namespace kestrel {

// Nine switches for primitives from the chip, then eight for primitives to it
// (there is no outgoing debug switch).
enum DebugSwitch : uint8_t {
    kInRfc, kInL2cap, kInDm, kInSdp, kInVm, kInPtcmd, kInDebug, kInData, kInRaw,
    kOutRfc, kOutL2cap, kOutDm, kOutSdp, kOutVm, kOutPtcmd, kOutData, kOutRaw,
    kDebugSwitchCount
};

using DebugSwitches = std::array<uint8_t, kDebugSwitchCount>;
// The device link's copy, read by its receive thread.
using LinkDebugSwitches = std::array<std::atomic<uint8_t>, kDebugSwitchCount>;

enum class TraceDirection { in, out };

// The switches a new interpreter starts with: data in both directions.
DebugSwitches initial_debug_switches();

// Option -s: every switch in both directions but the two raw ones.
void show_all_primitives(DebugSwitches& switches);

// Switches one category (matched case-insensitively; an unknown word changes
// nothing) or, with all, every category, for one direction: the session's
// switch, the link's copy when a link is given, and the global trace mask.
void switch_category(DebugSwitches& session, LinkDebugSwitches* link, std::string_view category,
                     TraceDirection direction, bool on, bool all);

}  // namespace kestrel
