// The session totals: how many primitives of each family went to and came
// from the chip over the links that were ended in this session.
#pragma once

#include <array>
#include <cstdint>

namespace kestrel {

enum SessionTotal : uint8_t {
    kL2capIssued, kDmIssued, kSdpIssued, kRfcommIssued, kBnepIssued, kTcpIssued, kVmIssued, kPtcmdIssued,
    kAclIssued, kHciIssued,
    kL2capReceived, kDmReceived, kSdpReceived, kRfcommReceived, kBnepReceived, kTcpReceived, kVmReceived,
    kPtcmdReceived, kAclReceived, kHciReceived,
    kDebugReceived, kHqReceived,
    kSessionTotalCount
};

using SessionTotals = std::array<uint32_t, kSessionTotalCount>;

// Prints the heading (when any total but DEBUG and HQ is non-zero) and one
// line per non-zero total.
void print_session_statistics(const SessionTotals& totals);

}  // namespace kestrel
