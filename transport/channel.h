// Primitive channels: the families a primitive belongs to on its way to and
// from the chip.
#pragma once

#include <cstdint>
#include <string_view>

namespace kestrel {

enum Channel : uint32_t {
    kChannelPtcmd = 2,
    kChannelTci = 3,
    kChannelDm = 4,
    kChannelL2cap = 5,  // with BNEP and TCP
    kChannelRfcomm = 6,
    kChannelSdp = 7,
    kChannelVm = 13,
    kChannelAcl = 20,  // ACL data from a TCI device
};

// The family name that manual texts use ("DM", "L2CAP", ...); empty for
// channels that carry no stack primitives.
constexpr std::string_view channel_family_name(uint32_t channel) {
    switch (channel) {
    case kChannelTci: return "TCI";
    case kChannelDm: return "DM";
    case kChannelL2cap: return "L2CAP";
    case kChannelRfcomm: return "RFCOMM";
    case kChannelSdp: return "SDP";
    default: return {};
    }
}

}  // namespace kestrel
