#include "decode/raw_channel_decoders.h"

#include <algorithm>
#include <vector>

#include "decode/byte_block_text.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

void set_arg(Tcl_Interp* interp, int number, const std::string& text) {
    const std::string name = "arg" + std::to_string(number);
    Tcl_SetVar(interp, name.c_str(), text.c_str(), TCL_GLOBAL_ONLY);
}

}  // namespace

int decode_ptcmd_wait(SessionContext&, Tcl_Interp* interp, const uint8_t* message, uint32_t size) {
    std::vector<uint32_t> words(size / 4);
    for (size_t i = 0; i < words.size(); ++i) words[i] = get_le32(message + 4 * i);
    const std::string block = long_block_text(words);
    Tcl_AppendElement(interp, "0x2");
    Tcl_AppendElement(interp, block.c_str());
    set_arg(interp, 1, block);
    return TCL_OK;
}

int decode_vm_wait(SessionContext&, Tcl_Interp* interp, const uint8_t* message, uint32_t size) {
    std::vector<uint16_t> words(size / 2);
    for (size_t i = 0; i < words.size(); ++i) words[i] = get_le16(message + 2 * i);
    const std::string block = word_block_text(words);
    Tcl_AppendElement(interp, "0xd");
    Tcl_AppendElement(interp, block.c_str());
    set_arg(interp, 1, block);
    return TCL_OK;
}

int decode_acl_wait(SessionContext&, Tcl_Interp* interp, const uint8_t* message, uint32_t size) {
    const uint16_t handle = size >= 2 ? get_le16(message) : 0;
    const uint16_t length = size >= 4 ? get_le16(message + 2) : 0;
    const uint32_t available = size >= 4 ? size - 4 : 0;
    const std::string data = byte_block_text({message + 4, std::min<uint32_t>(length, available)});
    char text[16];
    Tcl_AppendElement(interp, "0x14");
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(handle));
    Tcl_AppendElement(interp, text);
    set_arg(interp, 1, text);
    Tcl_SetVar(interp, "handle", text, TCL_GLOBAL_ONLY);
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(length));
    Tcl_AppendElement(interp, text);
    set_arg(interp, 2, text);
    Tcl_SetVar(interp, "length", text, TCL_GLOBAL_ONLY);
    Tcl_AppendElement(interp, data.c_str());
    set_arg(interp, 3, data);
    Tcl_SetVar(interp, "data", data.c_str(), TCL_GLOBAL_ONLY);
    return TCL_OK;
}

}  // namespace kestrel
