#include "decode/received_decoder.h"

#include <string>

#include "decode/byte_block_text.h"
#include "decode/field_text.h"
#include "shell/output.h"
#include "shell/session_context.h"

namespace kestrel {
namespace {

bool is_payload(FieldFormat format) {
    return format == FieldFormat::payload_block || format == FieldFormat::read_payload_block;
}

// The payload check of received data; a failure is reported behind the
// elements already in the result.
int check_payload(SessionContext& session, Tcl_Interp* interp, std::span<const uint8_t> payload) {
    if (!session.payload_mode) return TCL_OK;
    const PayloadCheck check =
        session.payload_generator.check(payload.data(), static_cast<uint32_t>(payload.size()));
    if (check.pass) return TCL_OK;
    session.append_message("\nError, Payload validation failure (%d [%d] errors, first at offset %d)\n",
                           static_cast<int>(check.bad_bytes), static_cast<int>(check.bad_bits),
                           static_cast<int>(check.first_bad));
    const std::string report = "\nPayload expecting:\n" + byte_block_text(check.expected) + "\n\nPayload got:\n" +
                               byte_block_text(payload);
    Tcl_AppendResult(interp, report.c_str(), nullptr);
    return TCL_ERROR;
}

}  // namespace

int decode_received_primitive(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row,
                              uint32_t channel, const uint8_t* primitive, uint32_t record_size, bool for_wait) {
    if (for_wait) {
        Tcl_AppendElement(interp, hex_text(channel).c_str());
        Tcl_AppendElement(interp, hex_text(row.type).c_str());
    }
    const PrimitiveView view = PrimitiveView::record(primitive, record_size);
    std::span<const uint8_t> payload;
    bool has_payload = false;
    int number = 0;
    for (const FieldDef& field : row.fields) {
        ++number;
        if (field.format == FieldFormat::inquiry_result &&
            view.scalar(FieldWidth::u8, field.length_offset) > 1)
            output_write("Error, num_responses > 1, only processing the first result\n");
        session.message = field_text(field, view);
        const char* text = session.message.c_str();
        const std::string name(field.name);
        Tcl_AppendElement(interp, text);
        if (field.format == FieldFormat::name_parts) {
            // The name's arg6 lands in the caller's scope, whatever the
            // field's position: kept as scripts know it.
            Tcl_SetVar(interp, "arg6", text, 0);
        } else if (field.format != FieldFormat::read_payload_block) {
            const std::string arg = "arg" + std::to_string(number);
            Tcl_SetVar(interp, arg.c_str(), text, TCL_GLOBAL_ONLY);
        }
        Tcl_SetVar(interp, name.c_str(), text, TCL_GLOBAL_ONLY);
        if (is_payload(field.format)) {
            payload = block_field_bytes(field, view);
            has_payload = true;
        }
    }
    return has_payload ? check_payload(session, interp, payload) : TCL_OK;
}

}  // namespace kestrel
