// BNEP and TCP on the chip: not simulated yet beyond telling them apart
// from L2CAP, which shares their channel.
#include "sim/chip_stack.h"

namespace kestrel::sim {

bool StackCore::on_bnep_tcp(const HostPrimitive& p) {
    const PrimitiveFamily family = p.row().family;
    return family == PrimitiveFamily::bnep || family == PrimitiveFamily::tcp;
}

}  // namespace kestrel::sim
