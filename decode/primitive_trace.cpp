#include "decode/primitive_trace.h"

#include <string>

#include "decode/field_text.h"
#include "shell/run_flags.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

constexpr uint32_t kIncomingHeader = 0x0a000000;
constexpr uint32_t kIncomingField = 0x08800000;
constexpr uint32_t kIncomingRule = 0x09000000;
constexpr uint32_t kOutgoingHeader = 0x06000000;
constexpr uint32_t kOutgoingField = 0x04800000;
constexpr uint32_t kOutgoingRule = 0x05000000;

// The header's fill follows the length of the format, so the name itself is
// the format; primitive names hold no '%'.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void trace_name(uint32_t mask, const std::string& name) { trace_printf(mask, name.c_str()); }
#pragma GCC diagnostic pop

}  // namespace

uint32_t trace_category(uint32_t channel) {
    switch (channel) {
    case kChannelDm: return kTraceDm;
    case kChannelL2cap: return kTraceL2cap;
    case kChannelRfcomm: return kTraceRfc;
    case kChannelSdp: return 0x10;
    default: return 0;
    }
}

void trace_primitive_fields(TraceDirection direction, const PrimitiveDef& row, const AttachedPrimitive& primitive) {
    const bool in = direction == TraceDirection::in;
    const uint32_t category = trace_category(row.channel);
    const uint32_t field_mask = (in ? kIncomingField : kOutgoingField) | category;
    if (!run_flag(kRunDebugger)) return;  // nothing would print
    const std::string name(row.name);
    trace_name((in ? kIncomingHeader : kOutgoingHeader) | category, name);
    const PrimitiveView view = PrimitiveView::attached(primitive);
    for (const FieldDef& field : row.fields) {
        const uint32_t step = field.width == FieldWidth::ptr ? 4 : width_bytes(field.width);
        for (uint32_t i = 0; i < field.count; ++i) {
            const uint32_t value = view.scalar(field.width, field.offset + i * step);
            const std::string label =
                field.count == 1 ? std::string(field.name) : std::string(field.name) + "[" + std::to_string(i) + "]";
            trace_printf(field_mask, "prim->%s: %d (0x%lx)\n", label.c_str(), static_cast<int>(value),
                         static_cast<unsigned long>(value));
        }
    }
    trace_name((in ? kIncomingRule : kOutgoingRule) | category, name);
}

}  // namespace kestrel
