#include "decode/tci_decoder.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "decode/byte_block_text.h"
#include "decode/field_text.h"
#include "decode/hex_dump.h"
#include "decode/received_decoder.h"
#include "decode/tci_received_primitives.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

constexpr uint32_t kHeaderMask = 0x0a000000 | kTraceTci;
constexpr uint32_t kFieldMask = 0x08800000 | kTraceTci;
constexpr uint32_t kRuleMask = 0x09000000 | kTraceTci;
// A dump carries its own "=>" prefix.
constexpr uint32_t kDumpMask = 0x08000000 | kTraceTci;

void trace_value(const char* owner, std::string_view name, uint32_t value) {
    char line[160];
    std::snprintf(line, sizeof line, "%s->%.*s: %d (0x%lx)\n", owner, static_cast<int>(name.size()), name.data(),
                  static_cast<int>(value), static_cast<unsigned long>(value));
    trace_text(kFieldMask, line);
}

}  // namespace

int decode_tci_wait(SessionContext& session, Tcl_Interp* interp, uint32_t channel, int32_t type,
                    const uint8_t* packet, uint32_t size) {
    const PrimitiveDef* row = find_tci_received(channel, packet, size);
    if (!row) {
        trace_printf(kTraceError, "Error, unrecognised TCI primitive\n");
        session.append_message("ERROR - Unexpected TCI primitive received\n");
        return TCL_ERROR;
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(kChannelTci));
    Tcl_AppendElement(interp, text);
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(static_cast<uint32_t>(type)));
    Tcl_AppendElement(interp, text);
    return decode_received_primitive(session, interp, *row, kChannelTci, packet, size, false);
}

void trace_tci_received(const PrimitiveDef& row, bool command, std::span<const uint8_t> packet) {
    if (!trace_enabled(kHeaderMask) && !trace_enabled(kFieldMask)) return;
    trace_text(kHeaderMask, row.name);
    const PrimitiveView view = PrimitiveView::record(packet.data(), static_cast<uint32_t>(packet.size()));
    if (command) {
        trace_value("prim", "common.op_code", packet.size() >= 2 ? get_le16(packet.data()) : 0);
        trace_value("prim", "common.length", packet.size() >= 3 ? packet[2] : 0);
    } else {
        trace_value("prim", "event_code", packet.size() >= 1 ? packet[0] : 0);
        trace_value("prim", "event_length", packet.size() >= 2 ? packet[1] : 0);
    }
    for (const FieldDef& field : row.fields) {
        if (field.format == FieldFormat::number) {
            trace_value("prim", field.name, view.scalar(field.width, field.offset));
            continue;
        }
        if (!trace_enabled(kFieldMask)) continue;
        const uint32_t count = field.length_offset + 2u <= packet.size() ? get_le16(packet.data() + field.length_offset) : 0;
        const size_t available = packet.size() > field.offset ? packet.size() - field.offset : 0;
        const std::string heading = "=> prim->" + std::string(field.name) + ":";
        if (field.format == FieldFormat::flat_bytes) {
            trace_text(kDumpMask, hex_dump_bytes(packet.subspan(field.offset, std::min<size_t>(count, available)), heading));
        } else {
            std::vector<uint16_t> words;
            for (size_t i = 0; i < count && 2 * i + 2 <= available; ++i)
                words.push_back(get_le16(packet.data() + field.offset + 2 * i));
            trace_text(kDumpMask, hex_dump_words(words, heading));
        }
    }
    trace_text(kRuleMask, row.name);
}

void trace_tci_acl(std::span<const uint8_t> packet) {
    constexpr std::string_view kName = "HCI_ACL_DATA";
    if (!trace_enabled(kHeaderMask) && !trace_enabled(kFieldMask)) return;
    const uint16_t handle = packet.size() >= 2 ? get_le16(packet.data()) : 0;
    const uint16_t length = packet.size() >= 4 ? get_le16(packet.data() + 2) : 0;
    trace_text(kHeaderMask, kName);
    trace_value("aclprim", "handle", handle);
    trace_value("aclprim", "length", length);
    if (trace_enabled(kFieldMask)) {
        const size_t available = packet.size() >= 4 ? packet.size() - 4 : 0;
        trace_text(kDumpMask, hex_dump_bytes(packet.subspan(std::min<size_t>(4, packet.size()),
                                                            std::min<size_t>(length, available)),
                                             "-> prim->data:"));
    }
    trace_text(kRuleMask, kName);
}

}  // namespace kestrel
