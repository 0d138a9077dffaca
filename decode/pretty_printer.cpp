#include "decode/pretty_printer.h"

#include <cstdio>

#include "decode/field_text.h"
#include "shell/output.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

struct FamilySwitches {
    uint32_t channel;
    DebugSwitch in;
    DebugSwitch out;
};

constexpr FamilySwitches kFamilies[] = {
    {kChannelDm, kInDm, kOutDm},
    {kChannelL2cap, kInL2cap, kOutL2cap},
    {kChannelRfcomm, kInRfc, kOutRfc},
    {kChannelSdp, kInSdp, kOutSdp},
};

// The data primitives, shown only while the direction's data switch is on.
struct DataPrimitive {
    uint32_t channel;
    uint16_t type;
    TraceDirection direction;
};

constexpr DataPrimitive kDataPrimitives[] = {
    {kChannelL2cap, 0x000B, TraceDirection::out},  // L2CA_DATAWRITE_REQ
    {kChannelRfcomm, 0x0018, TraceDirection::out}, // RFC_DATA_REQ
    {kChannelRfcomm, 0x001A, TraceDirection::out}, // RFC_DATAWRITE_REQ
    {kChannelL2cap, 0x000C, TraceDirection::in},   // L2CA_DATAWRITE_CFM
    {kChannelL2cap, 0x000D, TraceDirection::in},   // L2CA_DATAREAD_IND
    {kChannelRfcomm, 0x0019, TraceDirection::in},  // RFC_DATA_IND
};

bool is_data_primitive(const PrimitiveDef& row, TraceDirection direction) {
    for (const DataPrimitive& d : kDataPrimitives)
        if (d.channel == row.channel && d.type == row.type && d.direction == direction) return true;
    return false;
}

// switch_of(index) reads one switch of whichever copy the caller holds.
template <typename Switch>
bool wanted(const PrimitiveDef& row, TraceDirection direction, Switch switch_of) {
    for (const FamilySwitches& f : kFamilies) {
        if (f.channel != row.channel) continue;
        if (!switch_of(direction == TraceDirection::in ? f.in : f.out)) return false;
        if (!is_data_primitive(row, direction)) return true;
        return switch_of(direction == TraceDirection::in ? kInData : kOutData) == 1;
    }
    return false;
}

void print_paragraph(const PrimitiveDef& row, const AttachedPrimitive& primitive) {
    output_write("\n" + pretty_print_primitive(row, primitive));
}

}  // namespace

std::string pretty_print_primitive(const PrimitiveDef& row, const AttachedPrimitive& primitive) {
    char heading[64];
    std::snprintf(heading, sizeof heading, " (%.*s primitive 0x%04x, %zu bytes)\n",
                  static_cast<int>(channel_family_name(row.channel).size()), channel_family_name(row.channel).data(),
                  row.type, primitive.bytes.size());
    std::string text(row.name);
    text += heading;
    const PrimitiveView view = PrimitiveView::attached(primitive);
    for (const FieldDef& field : row.fields) {
        text += "    ";
        text += field.name;
        text += " = ";
        text += field_text(field, view);
        text += '\n';
    }
    return text;
}

void print_sent_primitive(const DebugSwitches& switches, const PrimitiveDef& row, const AttachedPrimitive& primitive) {
    if (wanted(row, TraceDirection::out, [&](uint8_t i) { return switches[i]; })) print_paragraph(row, primitive);
}

void print_sent_primitive(const LinkDebugSwitches& switches, const PrimitiveDef& row,
                          const AttachedPrimitive& primitive) {
    if (wanted(row, TraceDirection::out, [&](uint8_t i) { return switches[i].load(); })) print_paragraph(row, primitive);
}

void print_received_primitive(const LinkDebugSwitches& switches, const PrimitiveDef& row,
                              const AttachedPrimitive& primitive) {
    if (wanted(row, TraceDirection::in, [&](uint8_t i) { return switches[i].load(); }))
        print_paragraph(row, primitive);
}

}  // namespace kestrel
