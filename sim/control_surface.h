// The control surface of a simulated chip: a small command language that
// reaches the chip from outside its line. The same commands serve the chip
// inside Kestrel (the PT_sim command) and petrelsim's standard input.
//
// A command is words separated by blanks; numbers are decimal or 0x
// hexadecimal. Every command answers a text; a failure answers an error text
// of Kestrel's form, "Error, ...\n".
//
//   received               what the chip received, one line per message,
//                          "CHANNEL: HEX BYTES" (channel in decimal, bytes as
//                          two upper-case hexadecimal digits)
//   clear                  forgets what the chip received
//   send CHANNEL BYTE...   sends a message as the chip, on channel 2 to 15
//   debug TEXT...          sends the text on the debug channel (11)
//   rate [BAUD]            paces the line as a UART (0: unlimited)
//   latency [MS]           delays every byte
//   faults [DROP CORRUPT [SEED]]
//                          damages that share of the line's bursts (0 to 1)
//   reset [cold|warm]      restarts the chip (cold unless told), ending a halt
//   halt                   stops the chip until a reset
//   status                 the chip's state, line and counts
//   ps                     the persistent store's keys, "KEY: WORD..." in hexadecimal
//   help                   this list
//
// The line commands (rate, latency, faults) without arguments report the
// setting, and with them set it and report the new one, in the same words.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/simulated_chip.h"

namespace kestrel::sim {

struct ControlResult {
    bool ok;
    std::string text;
};

std::vector<std::string> split_control_line(std::string_view line);

ControlResult run_control_command(SimulatedChip& chip, std::span<const std::string> words);
ControlResult run_control_line(SimulatedChip& chip, std::string_view line);

// The help text; also what "help" answers.
std::string_view control_help();

}  // namespace kestrel::sim
