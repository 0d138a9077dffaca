// SessionContext: everything one interpreter life owns. Made at start-up and
// on every restart; every command gets it as client data.
#pragma once

#include <tcl.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "shell/debug_switches.h"
#include "shell/session_statistics.h"
#include "transfer/payload_generator.h"
#include "transport/device_link.h"
#include "transport/primitive_table.h"
#include "transport/tci_link.h"

namespace kestrel {

class SessionContext;

// The client data of a command made from a table row: its session and row.
struct CommandBinding {
    SessionContext* session;
    const PrimitiveDef* row;
};

class SessionContext {
public:
    SessionContext();
    ~SessionContext();
    SessionContext(const SessionContext&) = delete;
    SessionContext& operator=(const SessionContext&) = delete;

    // Formats a command's message into the session's message buffer and
    // appends it to the interpreter result.
    void append_message(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Drops a partially typed command.
    void discard_partial_command();

    // Adds the connected link's counts into the session totals.
    void accumulate_statistics();

    // Adds what a still connected link counted, then prints the totals.
    // Shut-down clears the connection bit first, so a link still up at the
    // end adds nothing.
    void print_statistics();

    // Ends the chip's link: the script variables linked to its transfers'
    // counters are unlinked first (they keep their last values).
    void drop_device_link();

    // The device link's queue when a chip is connected, else the TCI link's;
    // null when neither holds one (no link, or the raw mode).
    PrimitiveRing* receive_queue();

    DebugSwitches debug_switches{};
    uint8_t show_stack_on_error = 1;
    std::string message;
    uint32_t wait_timeout_switch = 0;  // PT_option +timeout / -timeout
    Tcl_Interp* interp = nullptr;
    std::unique_ptr<DeviceLink> device_link;  // null while no chip is connected
    // The last TCI link made; it stays stored when its device never became
    // ready (connection bit 0x10 then stays clear).
    std::unique_ptr<TciLink> tci_link;
    PayloadGenerator payload_generator;
    // PT_option +agpmode / -agpmode; the receive decoders read it too.
    std::atomic<bool> payload_mode{false};
    SessionTotals totals{};
    // One per table-made command; a deque, so that the addresses given to
    // Tcl stay put.
    std::deque<CommandBinding> command_bindings;
    // Set by an asynchronous transfer, cleared when a transfer's result is
    // taken finished.
    uint8_t async_transfer = 0;

    // Read-eval state: new_command is true when no partial command is held;
    // partial accumulates the lines of an incomplete command.
    bool new_command = true;
    Tcl_DString partial;
};

// The one SessionContext of the running interpreter life (null between
// lives).
extern SessionContext* g_current_session;

}  // namespace kestrel
