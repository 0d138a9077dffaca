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

// The channel, then the whole message as one block of words; arg1 holds the
// block.
template <typename Word>
int decode_word_message(Tcl_Interp* interp, const char* channel, const uint8_t* message, uint32_t size) {
    std::vector<Word> words(size / sizeof(Word));
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = sizeof(Word) == 4 ? static_cast<Word>(get_le32(message + 4 * i)) : static_cast<Word>(get_le16(message + 2 * i));
    std::string block;
    if constexpr (sizeof(Word) == 4)
        block = long_block_text(words);
    else
        block = word_block_text(words);
    Tcl_AppendElement(interp, channel);
    Tcl_AppendElement(interp, block.c_str());
    set_arg(interp, 1, block);
    return TCL_OK;
}

}  // namespace

int decode_ptcmd_wait(SessionContext&, Tcl_Interp* interp, const uint8_t* message, uint32_t size) {
    return decode_word_message<uint32_t>(interp, "0x2", message, size);
}

int decode_vm_wait(SessionContext&, Tcl_Interp* interp, const uint8_t* message, uint32_t size) {
    return decode_word_message<uint16_t>(interp, "0xd", message, size);
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
