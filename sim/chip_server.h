// petrelsim's chips, each served on a line that hosts can reach: a
// pseudo-terminal, a Unix socket or a TCP port on the loopback interface.
// One host at a time: each host that connects finds the chip freshly powered
// on (its persistent store kept). A pseudo-terminal survives its host closing
// and reopening it; a socket accepts the next host once the last has gone
// (one that connects meanwhile waits in the listen queue).
#pragma once

#include <memory>
#include <string>

#include "sim/simulated_chip.h"

namespace kestrel::sim {

class ChipServer {
public:
    virtual ~ChipServer() = default;

    // Where hosts find the chip, as a Kestrel device name: "/dev/pts/7",
    // "unix:/tmp/x.sock", "tcp:127.0.0.1:5555".
    virtual std::string where() const = 0;
    virtual SimulatedChip& chip() = 0;

    // Null with `error` when the line cannot be made.
    static std::unique_ptr<ChipServer> pty(SimulatedChip::Options options, std::string& error);
    // A stale socket file (nobody listening) is replaced; the file is removed
    // when the server goes.
    static std::unique_ptr<ChipServer> unix_socket(const std::string& path, SimulatedChip::Options options,
                                                   std::string& error);
    // Port 0 takes a free port; where() tells which.
    static std::unique_ptr<ChipServer> tcp(unsigned port, SimulatedChip::Options options, std::string& error);
};

}  // namespace kestrel::sim
