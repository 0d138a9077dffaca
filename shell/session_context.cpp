#include "shell/session_context.h"

#include <cstdarg>
#include <cstdio>

#include "transfer/transfer_list.h"
#include "transport/connection_state.h"

namespace kestrel {

SessionContext* g_current_session = nullptr;

SessionContext::SessionContext() { Tcl_DStringInit(&partial); }

SessionContext::~SessionContext() {
    if (connected(kChipConnected)) clear_connected(kChipConnected);
    // The link goes before the generator its transfers use.
    drop_device_link();
    if (connected(kTciConnected)) clear_connected(kTciConnected);
    tci_link.reset();
    if (interp) Tcl_DeleteInterp(interp);
    interp = nullptr;
    Tcl_DStringFree(&partial);
}

void SessionContext::drop_device_link() {
    if (device_link && interp)
        for (const std::string& name : device_link->transfers().linked()) Tcl_UnlinkVar(interp, name.c_str());
    device_link.reset();
}

void SessionContext::append_message(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    message.assign(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(message.data(), message.size() + 1, format, args);
    va_end(args);
    Tcl_AppendResult(interp, message.c_str(), nullptr);
}

void SessionContext::accumulate_statistics() {
    if (!connected(kChipConnected) || !device_link) return;
    // The link keeps HQ before DEBUG, the totals DEBUG before HQ: add by name.
    for (int i = 0; i < kLinkHqReceived; ++i) totals[i] += device_link->counter(static_cast<LinkCounter>(i));
    totals[kDebugReceived] += device_link->counter(kLinkDebugReceived);
    totals[kHqReceived] += device_link->counter(kLinkHqReceived);
}

void SessionContext::print_statistics() {
    accumulate_statistics();
    print_session_statistics(totals);
}

PrimitiveRing* SessionContext::receive_queue() {
    if (device_link) return device_link->ring();
    return tci_link && connected(kTciConnected) ? tci_link->ring() : nullptr;
}

void SessionContext::discard_partial_command() {
    Tcl_DStringFree(&partial);
    new_command = true;
}

}  // namespace kestrel
