#include "shell/debug_switches.h"

#include <strings.h>

#include <string>

#include "shell/trace_printer.h"

namespace kestrel {
namespace {

// The style bits that go with each direction. The incoming set carries the
// rule bit and the outgoing one does not, so switching outgoing categories
// off keeps the rule lines.
constexpr uint32_t kInStyle = 0x0b800000;
constexpr uint32_t kOutStyle = 0x06800000;
constexpr uint8_t kNoSwitch = 0xff;

struct Category {
    const char* word;
    uint8_t in_switch;
    uint8_t out_switch;
    uint32_t bits;  // 0 for data, which has no trace category
};

// The order in which "all" walks the categories.
constexpr Category kCategories[] = {
    {"sdp", kInSdp, kOutSdp, kTraceSdp},
    {"dm", kInDm, kOutDm, kTraceDm},
    {"l2cap", kInL2cap, kOutL2cap, kTraceL2cap},
    {"rfc", kInRfc, kOutRfc, kTraceRfc},
    {"vm", kInVm, kOutVm, kTraceVm},
    {"data", kInData, kOutData, 0},
    {"ptcmd", kInPtcmd, kOutPtcmd, kTracePtcmd},
    {"raw", kInRaw, kOutRaw, kTraceRaw},
    {"debug", kInDebug, kNoSwitch, kTraceDebug},
};

void apply(const Category& c, DebugSwitches& session, LinkDebugSwitches* link, TraceDirection direction,
           bool on) {
    const bool in = direction == TraceDirection::in;
    const uint8_t index = in ? c.in_switch : c.out_switch;
    if (index == kNoSwitch) return;
    if (c.bits != 0) {
        if (on)
            g_trace_mask.fetch_or(c.bits | (in ? kInStyle : kOutStyle));
        else
            g_trace_mask.fetch_and(~(c.bits | (in ? kInStyle : kOutStyle)));
    }
    // Switching outgoing rfc off clears the session's outgoing dm switch and
    // leaves its outgoing rfc switch alone; the link's copy is cleared as
    // expected. Scripts rely on this long-standing behaviour.
    uint8_t session_index = (!on && !in && index == kOutRfc) ? uint8_t{kOutDm} : index;
    session[session_index] = on ? 1 : 0;
    if (link) (*link)[index].store(on ? 1 : 0);
}

}  // namespace

DebugSwitches initial_debug_switches() {
    DebugSwitches switches{};
    switches[kInData] = 1;
    switches[kOutData] = 1;
    return switches;
}

void show_all_primitives(DebugSwitches& switches) {
    for (int i = 0; i < kDebugSwitchCount; ++i)
        if (i != kInRaw && i != kOutRaw) switches[i] = 1;
}

void switch_category(DebugSwitches& session, LinkDebugSwitches* link, std::string_view category,
                     TraceDirection direction, bool on, bool all) {
    const std::string word(category);
    for (const Category& c : kCategories)
        if (all || strcasecmp(word.c_str(), c.word) == 0) apply(c, session, link, direction, on);
}

}  // namespace kestrel
