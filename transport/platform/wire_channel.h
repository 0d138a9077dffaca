// The channels of a Petrel chip's line, as PTSP and the H4 tunnel carry them.
// Wire channel 3 carries HQ requests and 11 debug text; neither ever meets
// the receive queue, where 3 means TCI traffic.
#pragma once

#include <cstdint>

namespace kestrel {

enum WireChannel : uint8_t {
    kWireAck = 0,
    kWireLinkEstablishment = 1,
    kWirePtcmd = 2,
    kWireHq = 3,
    kWireDm = 4,
    kWireL2cap = 5,
    kWireRfcomm = 6,
    kWireSdp = 7,
    kWireDebug = 11,
    kWireVm = 13,
};

}  // namespace kestrel
