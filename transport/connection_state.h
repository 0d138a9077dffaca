// The process-wide connection bits and the three checks that commands make
// before they touch a device.
#pragma once

#include <tcl.h>

#include <atomic>
#include <cstdint>

namespace kestrel {

enum ConnectionBit : uint8_t {
    kChipConnected = 0x01,
    kTciConnected = 0x10,
};

inline std::atomic<uint8_t> g_connection_bits{0};

inline bool connected(uint8_t mask) { return (g_connection_bits.load() & mask) != 0; }
inline void set_connected(ConnectionBit bit) { g_connection_bits.fetch_or(bit); }
inline void clear_connected(ConnectionBit bit) { g_connection_bits.fetch_and(static_cast<uint8_t>(~bit)); }

// Each check appends its message to the interpreter result and answers false
// when the device it asks for is not connected.
bool check_chip_or_tci_connected(Tcl_Interp* interp);
bool check_chip_connected(Tcl_Interp* interp);
bool check_tci_connected(Tcl_Interp* interp);

}  // namespace kestrel
