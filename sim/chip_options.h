// The options of a simulated chip, spelt the same way wherever a chip is
// made: in the device name "sim:KEY=VALUE,..." and as petrelsim's
// "--KEY VALUE". Keys:
//   protocol=ptsp|h4|auto   the line's protocol; auto (the default) takes it
//                           from the host's first byte
//   ps=FILE                 keep the persistent store in FILE
//   rate=BAUD               pace the line as a UART (0, the default: unlimited)
//   latency=MS              delay every byte
//   drop=RATE, corrupt=RATE damage that share of the bursts (0 to 1)
//   seed=N                  the faults' generators
//   stack=on|off            run the host stack (on, the default) or only
//                           record what arrives on its channels
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sim/link_conditions.h"
#include "transport/platform/message_link.h"

namespace kestrel::sim {

struct ChipConfig {
    std::optional<LinkProtocol> protocol;
    std::string ps_path;  // empty: the store lives in memory
    LinkConditions conditions;
    // Off: the chip runs no host stack and only records the stack channels'
    // messages (for tests of what Kestrel sends, byte for byte).
    bool stack = true;
};

// One KEY and VALUE; false with `error` ("unknown simulator option 'x' ...",
// "bad value 'y' for simulator option rate ...").
bool apply_chip_option(ChipConfig& config, std::string_view key, std::string_view value, std::string& error);

// "KEY=VALUE,KEY=VALUE..." (empty: nothing to change).
bool apply_chip_options(ChipConfig& config, std::string_view list, std::string& error);

// Numbers as users type them: decimal or 0x hexadecimal, whole text.
std::optional<unsigned long> parse_number(std::string_view text, unsigned long max);
// A share from 0 to 1.
std::optional<double> parse_rate(std::string_view text);

}  // namespace kestrel::sim
