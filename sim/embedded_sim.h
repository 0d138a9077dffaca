// Simulated chips inside Kestrel. The device names "sim" and
// "sim:KEY=VALUE,..." (keys in chip_options.h) make a socket pair, start a
// chip on one end and give the host the other, so everything between them
// travels as bytes of the chosen wire protocol. A chip is torn down when the
// host closes its end.
#pragma once

#include <cstddef>
#include <memory>

#include "sim/simulated_chip.h"

namespace kestrel {

// Adds the "sim" factory to the byte-stream layer. Idempotent.
void register_embedded_sim();

namespace sim {

// The chip that the control surface reaches: the one made last of those
// whose host is still connected. Null when there is none.
std::shared_ptr<SimulatedChip> current_embedded_chip();
size_t embedded_chip_count();

}  // namespace sim
}  // namespace kestrel
