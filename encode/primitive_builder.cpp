#include "encode/primitive_builder.h"

#include <cstring>
#include <string>

#include "decode/pretty_printer.h"
#include "encode/number_conversion.h"
#include "encode/primitive_build.h"
#include "encode/special_fields.h"
#include "encode/tci_sent_primitives.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"
#include "transport/connection_state.h"

namespace kestrel {
namespace {

// The bytes of an HCI command primitive before its parameters: the type and
// the parameter length.
constexpr uint16_t kHciHeaderSize = 4;

bool has_hci_header(const PrimitiveDef& row) {
    return row.family == PrimitiveFamily::dm_hci && (row.fields.empty() || row.fields.front().offset >= kHciHeaderSize);
}

// A '?' skips a field only where the row has special fields; elsewhere it is
// text like any other and converts to 0.
bool has_special_fields(const PrimitiveDef& row) {
    for (const FieldDef& field : row.fields)
        if (field.format != FieldFormat::number) return true;
    return false;
}

// A field's argument as text: its own argument, the variable a '$' names,
// or, for no arguments, an empty one or a '-', the variable named like the
// field. Null when the variable is missing.
const char* resolve(const PrimitiveBuild& build, const FieldDef& field, const char* arg) {
    if (!arg || arg[0] == '\0' || arg[0] == '-') return build.variable(field.name);
    if (arg[0] == '$') return build.variable(arg + 1);
    return arg;
}

void encode_number(PrimitiveBuild& build, const FieldDef& field, const char* text) {
    build.store(field.offset, field.width, static_cast<uint32_t>(parse_number(text)));
}

// A '?' in a block field asks for a generated payload of the length that
// the row's length field holds once every other field is built.
int attach_generated_payload(PrimitiveBuild& build, const FieldDef& field) {
    const uint32_t length = build.load(field.length_offset, FieldWidth::u16);
    SessionContext& session = build.session;
    if (!session.payload_mode) return TCL_ERROR;
    if (length == 0) return TCL_OK;
    auto payload = session.payload_generator.generate(length);
    if (!payload) return TCL_ERROR;
    build.store(field.offset, FieldWidth::u32, build.primitive.attach(std::move(*payload)));
    return TCL_OK;
}

// The TCI send path of the row: ACL data, an event with its code, or a
// command with its op code.
int send_tci_primitive(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row,
                       const AttachedPrimitive& primitive) {
    TciLink* link = connected(kTciConnected) ? session.tci_link.get() : nullptr;
    if (!link) {
        // Only TCI_sendacl gets here without a device: it has no check of
        // its own, and there is nowhere to send.
        return check_tci_connected(interp) ? TCL_OK : TCL_ERROR;
    }
    if (row.channel == kChannelAcl)
        link->send_acl(primitive);
    else if (is_tci_event(row))
        link->send_event(row.type, primitive);
    else
        link->send_command(row.type, primitive);
    return TCL_OK;
}

}  // namespace

int build_and_send(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row, int count,
                   const char* const* args, BuilderEntry entry) {
    // TCI rows: packed, their envelope filled by the TCI send path, '?' for
    // any field, the field line only for a field that was converted. The
    // ACL record of TCI_sendacl makes no connection check of its own.
    const bool tci = row.family == PrimitiveFamily::tci;
    const bool tci_acl = tci && row.channel == kChannelAcl;
    if (entry == BuilderEntry::command) {
        if (tci ? !tci_acl && !check_tci_connected(interp) : !check_chip_connected(interp)) return TCL_ERROR;
    }

    const int wanted = static_cast<int>(row.fields.size());
    if (count != wanted && count != 0) {
        const std::string_view counted = tci_acl ? std::string_view("tci_sendacl") : row.name;
        if (entry == BuilderEntry::pt_send && row.family == PrimitiveFamily::dm_hci)
            session.append_message("Error, bad param count for %.*s\n", static_cast<int>(row.name.size()),
                                   row.name.data());
        else
            session.append_message("Error, bad param count for %.*s [%d/%d]\n", static_cast<int>(counted.size()),
                                   counted.data(), count, wanted);
        return TCL_ERROR;
    }

    PrimitiveBuild build(session, interp, row);
    const std::string_view name = row.name;
    trace_text(kBuildStartMask | build.category, name);

    if (!tci) build.store(0, FieldWidth::u16, row.type);
    if (has_hci_header(row)) build.store(2, FieldWidth::u8, row.size - kHciHeaderSize);

    const bool special_row = tci || has_special_fields(row);
    const FieldDef* generated = nullptr;
    for (size_t i = 0; i < row.fields.size(); ++i) {
        const FieldDef& field = row.fields[i];
        const char* arg = count == wanted ? args[i] : nullptr;
        if (special_row && arg && arg[0] == '?') {
            if (!tci && field.format == FieldFormat::block) generated = &field;
            continue;
        }
        const char* text = resolve(build, field, arg);
        if (field.format != FieldFormat::number) {
            if (text)
                encode_special_field(build, field, text);
            else
                build.missing(field.name);
            continue;
        }
        if (text)
            encode_number(build, field, text);
        else
            build.missing(field.name);
        // A stack builder's line shows what the field holds, also when its
        // variable was missing; a TCI builder's only what it converted.
        if (text || !tci) build.trace_field(field.name, build.load(field.offset, field.width));
    }
    trace_text(kBuildEndMask | build.category, name);

    if (build.failures == 0 && generated && attach_generated_payload(build, *generated) != TCL_OK) {
        session.append_message("Error, failed to generate payload.\n");
        return TCL_ERROR;
    }
    if (build.failures != 0) {
        session.append_message("Error, %d parameter conversion failure%c\n", build.failures,
                               build.failures > 1 ? 's' : ' ');
        return TCL_ERROR;
    }
    if (tci) return send_tci_primitive(session, interp, row, build.primitive);
    // The send path's paragraph follows the session's switches, not the
    // link's copy.
    print_sent_primitive(session.debug_switches, row, build.primitive);
    session.device_link->send_primitive(row, std::move(build.primitive));
    return TCL_OK;
}

}  // namespace kestrel
