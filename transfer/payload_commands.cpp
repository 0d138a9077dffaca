#include "transfer/payload_commands.h"

#include <strings.h>

#include <cstring>
#include <string>

#include "decode/byte_block_text.h"
#include "encode/array_conversion.h"
#include "encode/number_conversion.h"
#include "shell/session_context.h"

namespace kestrel {
namespace {

constexpr const char* kBadParameterCount = "ERROR - Bad number of parameters\n";

// The optional mode word and seed shared by both commands: argv[2] and
// argv[3]. Random is spelled "rand" here (the option word is "random"); any
// other word, and "-", leave the generator's mode in force.
struct CallSettings {
    uint32_t mode = 0;
    uint32_t seed = 0;
    uint32_t flags = 0;
};

CallSettings call_settings(int argc, const char* argv[]) {
    CallSettings settings;
    if (argc > 2 && strcmp(argv[2], "-") != 0) {
        const char* word = argv[2];
        if (strcasecmp(word, "rand") == 0)
            settings.mode = static_cast<uint32_t>(PayloadMode::random);
        else if (strcasecmp(word, "seq8") == 0)
            settings.mode = static_cast<uint32_t>(PayloadMode::seq8);
        else if (strcasecmp(word, "seq16") == 0)
            settings.mode = static_cast<uint32_t>(PayloadMode::seq16);
        if (settings.mode != 0) settings.flags |= kPayloadUseMode;
    }
    // A seed runs the call on a copy and leaves the generator's counters alone.
    if (argc > 3) {
        settings.seed = static_cast<uint32_t>(parse_number(argv[3]));
        settings.flags |= kPayloadUseCounter;
    }
    return settings;
}

}  // namespace

int pt_generate_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (argc < 2 || argc > 4) {
        Tcl_AppendResult(interp, kBadParameterCount, nullptr);
        return TCL_ERROR;
    }
    const auto length = static_cast<uint32_t>(parse_number(argv[1]));
    CallSettings settings = call_settings(argc, argv);
    auto payload = session.payload_generator.generate(length, settings.mode, &settings.seed, settings.flags);
    if (!payload) return TCL_ERROR;  // only a procedure of mode tcl leaves a message
    // The updated seed is formatted and then reset away with the rest of the
    // result: the answer is the payload alone.
    if (settings.flags & kPayloadUseCounter) session.append_message("%d", static_cast<int>(settings.seed));
    Tcl_ResetResult(interp);
    Tcl_AppendElement(interp, byte_block_text(*payload).c_str());
    return TCL_OK;
}

int pt_validate_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (argc < 2 || argc > 4) {
        Tcl_AppendResult(interp, kBadParameterCount, nullptr);
        return TCL_ERROR;
    }
    const std::vector<uint8_t> payload = convert_byte_array(interp, argv[1]);
    CallSettings settings = call_settings(argc, argv);
    PayloadCheck check = session.payload_generator.check(payload.data(), static_cast<uint32_t>(payload.size()),
                                                         settings.mode, &settings.seed, settings.flags);
    if (check.pass) {
        Tcl_AppendElement(interp, "0");
        return TCL_OK;
    }
    Tcl_AppendElement(interp, std::to_string(static_cast<int>(check.bad_bytes)).c_str());
    Tcl_AppendElement(interp, std::to_string(static_cast<int>(check.first_bad)).c_str());
    Tcl_AppendElement(interp, byte_block_text(check.expected).c_str());
    return TCL_OK;
}

}  // namespace kestrel
