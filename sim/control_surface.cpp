#include "sim/control_surface.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "decode/received_primitives.h"
#include "sim/chip_options.h"
#include "sim/chip_stack.h"
#include "sim/primitive_builder.h"
#include "transport/platform/message_codec.h"

namespace kestrel::sim {
namespace {

using Words = std::span<const std::string>;

constexpr std::string_view kHelp =
    "received               what the chip received, one line per message: CHANNEL: HEX BYTES\n"
    "clear                  forget what the chip received\n"
    "send CHANNEL BYTE...   send a message as the chip, on channel 2 to 15\n"
    "repeat COUNT CHANNEL BYTE...  send the message COUNT times, one after the other\n"
    "prim NAME [FIELD=VALUE]...  send a stack primitive built from its layout (arrays and\n"
    "                       blocks: values separated by commas; pointer arrays: blocks\n"
    "                       separated by slashes; names: the text)\n"
    "debug TEXT...          send the text on the debug channel (11)\n"
    "rate [BAUD]            pace the line as a UART (0: unlimited)\n"
    "latency [MS]           delay every byte by MS milliseconds\n"
    "faults [DROP CORRUPT [SEED]]  damage that share of the line's bursts (0 to 1)\n"
    "reset [cold|warm]      restart the chip, ending a halt\n"
    "halt                   stop the chip until a reset\n"
    "status                 the chip's state, line and counts\n"
    "ps                     the persistent store's keys\n"
    "address                the chip's device address: NAP UAP LAP\n"
    "peer [WORD...]         the remote peer: echo, sink or source LENGTH [COUNT]\n"
    "                       (payloads of its channels), payload random, seq8 or\n"
    "                       seq16, corrupt (the next payload sent), reset (its\n"
    "                       payload counts and sequences), accept or refuse,\n"
    "                       pin TEXT or nopin, silent or answer (L2CAP\n"
    "                       requests), basic or full (RFCOMM commands),\n"
    "                       psm N (registers a PSM); reports its state and\n"
    "                       its payloads good, bad and sent\n"
    "air [RATE [MS]]        the air's ACL data rate (bit/s) and latency\n"
    "help                   this list\n";

ControlResult ok(std::string text) { return {true, std::move(text)}; }
ControlResult fail(std::string text) { return {false, std::move(text)}; }

std::string hex_line(uint8_t channel, const std::vector<uint8_t>& bytes) {
    std::string line = std::to_string(channel) + ":";
    char hex[4];
    for (uint8_t b : bytes) {
        std::snprintf(hex, sizeof hex, " %02X", b);
        line += hex;
    }
    return line + "\n";
}

std::string rate_text(double rate) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", rate);
    return text;
}

std::string faults_text(const LinkConditions& c) {
    return "faults " + rate_text(c.drop_rate) + " " + rate_text(c.corrupt_rate) + " " + std::to_string(c.seed) + "\n";
}

ControlResult received(SimulatedChip& chip, Words) {
    std::string text;
    for (const auto& message : chip.received()) text += hex_line(message.channel, message.bytes);
    return ok(std::move(text));
}

ControlResult clear(SimulatedChip& chip, Words) {
    chip.clear_received();
    return ok("");
}

ControlResult send_times(SimulatedChip& chip, uint64_t count, Words args) {
    const auto channel = parse_number(args[0], 15);
    if (!channel || *channel < 2) return fail("Error, bad channel '" + args[0] + "' (2 to 15)\n");
    std::vector<uint8_t> bytes;
    for (const std::string& word : args.subspan(1)) {
        const auto byte = parse_number(word, 255);
        if (!byte) return fail("Error, bad byte '" + word + "' (0 to 255)\n");
        bytes.push_back(static_cast<uint8_t>(*byte));
    }
    std::string error;
    for (uint64_t i = 0; i < count; ++i)
        if (!chip.send(static_cast<uint8_t>(*channel), bytes, error)) return fail(error);
    return ok("");
}

ControlResult send(SimulatedChip& chip, Words args) { return send_times(chip, 1, args); }

// A stream of one message, for measuring what the host does with a flood.
ControlResult repeat(SimulatedChip& chip, Words args) {
    const auto count = parse_number(args[0], 1'000'000);
    if (!count) return fail("Error, bad count '" + args[0] + "' (0 to 1000000)\n");
    return send_times(chip, *count, args.subspan(1));
}

// A primitive the chip sends up, built from the received table: the same
// rows the host decodes it with, the same wire form as every message.
ControlResult prim(SimulatedChip& chip, Words args) {
    const auto rows = received_primitives();
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const PrimitiveDef& r) { return r.name == args[0]; });
    if (row == rows.end()) return fail("Error, no received primitive is named '" + args[0] + "'\n");
    std::string error;
    const auto message = build_message(*row, args.subspan(1), error);
    if (!message) return fail(error);
    if (!chip.send(static_cast<uint8_t>(row->channel), *message, error)) return fail(error);
    return ok("");
}

ControlResult debug(SimulatedChip& chip, Words args) {
    std::string text;
    for (const std::string& word : args) text += (text.empty() ? "" : " ") + word;
    std::string error;
    if (!chip.send(kChannelDebug, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, error))
        return fail(error);
    return ok("");
}

// A one-number line setting: reported, or set and then reported, in the
// same words. bad_value names the setting in the error ("bad baud rate").
ControlResult line_setting(SimulatedChip& chip, Words args, const char* word, unsigned LinkConditions::*setting,
                           uint64_t limit, const std::string& bad_value, const std::string& range) {
    LinkConditions c = chip.conditions();
    if (!args.empty()) {
        const auto value = parse_number(args[0], limit);
        if (!value) return fail("Error, " + bad_value + " '" + args[0] + "'" + range + "\n");
        c.*setting = static_cast<unsigned>(*value);
        chip.set_conditions(c);
    }
    return ok(std::string(word) + " " + std::to_string(c.*setting) + "\n");
}

ControlResult rate(SimulatedChip& chip, Words args) {
    return line_setting(chip, args, "rate", &LinkConditions::baud, 100'000'000, "bad baud rate", "");
}

ControlResult latency(SimulatedChip& chip, Words args) {
    return line_setting(chip, args, "latency", &LinkConditions::latency_ms, 60'000, "bad latency",
                        " (0 to 60000 ms)");
}

ControlResult faults(SimulatedChip& chip, Words args) {
    LinkConditions c = chip.conditions();
    if (args.size() == 1) return fail("Error, usage: faults [DROP CORRUPT [SEED]]\n");
    if (!args.empty()) {
        const auto drop = parse_rate(args[0]);
        const auto corrupt = parse_rate(args[1]);
        if (!drop) return fail("Error, bad rate '" + args[0] + "' (0 to 1)\n");
        if (!corrupt) return fail("Error, bad rate '" + args[1] + "' (0 to 1)\n");
        c.drop_rate = *drop;
        c.corrupt_rate = *corrupt;
        if (args.size() == 3) {
            const auto seed = parse_number(args[2], 0xFFFFFFFF);
            if (!seed) return fail("Error, bad seed '" + args[2] + "'\n");
            c.seed = static_cast<uint32_t>(*seed);
        }
        chip.set_conditions(c);
    }
    return ok(faults_text(c));
}

ControlResult reset(SimulatedChip& chip, Words args) {
    Restart kind = Restart::cold;
    if (!args.empty()) {
        if (args[0] == "warm") {
            kind = Restart::warm;
        } else if (args[0] != "cold") {
            return fail("Error, reset takes cold or warm, not '" + args[0] + "'\n");
        }
    }
    std::string error;
    if (!chip.reset(kind, error)) return fail(error);
    return ok("");
}

ControlResult halt(SimulatedChip& chip, Words) {
    std::string error;
    if (!chip.halt(error)) return fail(error);
    return ok("");
}

const char* state_name(SimulatedChip::State state) {
    switch (state) {
    case SimulatedChip::State::unplugged: return "unplugged";
    case SimulatedChip::State::detecting: return "detecting";
    case SimulatedChip::State::running: return "running";
    case SimulatedChip::State::halted: return "halted";
    }
    return "?";
}

ControlResult status(SimulatedChip& chip, Words) {
    const LinkConditions c = chip.conditions();
    const auto protocol = chip.protocol();
    std::string text = std::string("state ") + state_name(chip.state()) + "\n";
    text += std::string("protocol ") + (!protocol ? "unknown" : *protocol == LinkProtocol::ptsp ? "ptsp" : "h4") + "\n";
    text += "starts " + std::to_string(chip.starts()) + "\n";
    text += "received " + std::to_string(chip.received().size()) + " (" + std::to_string(chip.received_lost()) +
            " not kept)\n";
    text += "rate " + std::to_string(c.baud) + "\n";
    text += "latency " + std::to_string(c.latency_ms) + "\n";
    text += faults_text(c);
    text += "dropped " + std::to_string(chip.bytes_dropped()) + "\n";
    text += "corrupted " + std::to_string(chip.bytes_corrupted()) + "\n";
    const std::string& path = chip.ps()->path();
    text += "ps " + (path.empty() ? std::string("(memory)") : path) + "\n";
    return ok(std::move(text));
}

ControlResult ps(SimulatedChip& chip, Words) { return ok(PsStore::format(chip.ps()->keys())); }

ControlResult help(SimulatedChip&, Words) { return ok(std::string(kHelp)); }

ChipStack* stack_of(SimulatedChip& chip) { return dynamic_cast<ChipStack*>(chip.stack()); }

ControlResult address(SimulatedChip& chip, Words) {
    ChipStack* stack = stack_of(chip);
    if (!stack) return fail("Error, the chip runs no stack\n");
    const BdAddr a = stack->address();
    char text[48];
    std::snprintf(text, sizeof text, "0x%04x 0x%02x 0x%06x\n", a.nap, a.uap, a.lap);
    return ok(text);
}

ControlResult peer(SimulatedChip& chip, Words args) {
    ChipStack* stack = stack_of(chip);
    if (!stack) return fail("Error, the chip runs no stack\n");
    RemotePeer& peer = *stack->world()->peer;
    RemotePeer::Behaviour b = peer.behaviour();
    RemotePeer::PayloadChange change;
    std::vector<uint16_t> psms;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (word == "echo" || word == "sink") {
            change.mode = word == "echo" ? PeerPayloads::Mode::echo : PeerPayloads::Mode::sink;
        } else if (word == "source" && i + 1 < args.size()) {
            const auto length = parse_number(args[++i], 65535);
            if (!length || *length == 0) return fail("Error, bad payload length '" + args[i] + "' (1 to 65535)\n");
            change.mode = PeerPayloads::Mode::source;
            change.source_length = static_cast<uint32_t>(*length);
            change.source_count.reset();
            // A number after the length is the count.
            if (i + 1 < args.size() && parse_number(args[i + 1], 0xFFFFFFFF)) change.source_count = parse_number(args[++i], 0xFFFFFFFF);
        } else if (word == "payload" && i + 1 < args.size()) {
            change.payload = payload_mode_of(args[++i]);
            if (!change.payload) return fail("Error, bad payload mode '" + args[i] + "' (random, seq8 or seq16)\n");
        } else if (word == "corrupt") {
            change.corrupt = true;
        } else if (word == "reset") {
            change.reset = true;
        } else if (word == "accept" || word == "refuse") {
            b.refuse = word == "refuse";
        } else if (word == "basic" || word == "full") {
            b.basic = word == "basic";
        } else if (word == "silent" || word == "answer") {
            b.silent = word == "silent";
        } else if (word == "nopin") {
            b.pin.reset();
        } else if (word == "pin" && i + 1 < args.size()) {
            b.pin = args[++i];
        } else if (word == "psm" && i + 1 < args.size()) {
            const auto psm = parse_number(args[++i], 0xFFFF);
            if (!psm) return fail("Error, bad PSM '" + args[i] + "'\n");
            psms.push_back(static_cast<uint16_t>(*psm));
        } else {
            return fail("Error, usage: peer [echo|sink|source LENGTH [COUNT]] [payload random|seq8|seq16] [corrupt] "
                        "[reset] [accept|refuse] [pin TEXT|nopin] [silent|answer] [basic|full] [psm N]\n");
        }
    }
    // Every word was good: only now does anything change.
    for (uint16_t psm : psms) peer.register_psm(psm);
    peer.set_behaviour(b);
    peer.change_payloads(change);
    return ok("peer " + peer.describe() + "\n");
}

ControlResult air(SimulatedChip& chip, Words args) {
    ChipStack* stack = stack_of(chip);
    if (!stack) return fail("Error, the chip runs no stack\n");
    Air& air = *stack->world()->air;
    AirSettings s = air.settings();
    if (!args.empty()) {
        const auto rate = parse_number(args[0], 100'000'000);
        if (!rate || *rate == 0) return fail("Error, bad air rate '" + args[0] + "'\n");
        s.rate = static_cast<double>(*rate);
        if (args.size() > 1) {
            const auto latency = parse_number(args[1], 10'000);
            if (!latency) return fail("Error, bad air latency '" + args[1] + "'\n");
            s.latency_ms = static_cast<double>(*latency);
        }
        air.set_settings(s);
    }
    char text[64];
    std::snprintf(text, sizeof text, "air %.0f %g\n", s.rate, s.latency_ms);
    return ok(text);
}

struct Command {
    std::string_view name;
    size_t min_args;
    size_t max_args;
    std::string_view usage;
    ControlResult (*run)(SimulatedChip&, Words);
};

constexpr size_t kAny = 4096;

constexpr Command kCommands[] = {
    {"received", 0, 0, "received", received},
    {"clear", 0, 0, "clear", clear},
    {"send", 1, kAny, "send CHANNEL BYTE...", send},
    {"repeat", 2, kAny, "repeat COUNT CHANNEL BYTE...", repeat},
    {"prim", 1, kAny, "prim NAME [FIELD=VALUE]...", prim},
    {"debug", 1, kAny, "debug TEXT...", debug},
    {"rate", 0, 1, "rate [BAUD]", rate},
    {"latency", 0, 1, "latency [MS]", latency},
    {"faults", 0, 3, "faults [DROP CORRUPT [SEED]]", faults},
    {"reset", 0, 1, "reset [cold|warm]", reset},
    {"halt", 0, 0, "halt", halt},
    {"status", 0, 0, "status", status},
    {"ps", 0, 0, "ps", ps},
    {"address", 0, 0, "address", address},
    {"peer", 0, 16, "peer [WORD...]", peer},
    {"air", 0, 2, "air [RATE [MS]]", air},
    {"help", 0, 0, "help", help},
};

}  // namespace

std::vector<std::string> split_control_line(std::string_view line) {
    std::vector<std::string> words;
    size_t at = 0;
    while (at < line.size()) {
        const size_t start = line.find_first_not_of(" \t\r\n", at);
        if (start == std::string_view::npos) break;
        const size_t end = std::min(line.find_first_of(" \t\r\n", start), line.size());
        words.emplace_back(line.substr(start, end - start));
        at = end;
    }
    return words;
}

ControlResult run_control_command(SimulatedChip& chip, std::span<const std::string> words) {
    if (words.empty()) return fail("Error, no sim command (try help)\n");
    const auto command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                      [&](const Command& c) { return c.name == words[0]; });
    if (command == std::end(kCommands)) return fail("Error, unknown sim command '" + words[0] + "' (try help)\n");
    const Words args = words.subspan(1);
    if (args.size() < command->min_args || args.size() > command->max_args)
        return fail("Error, usage: " + std::string(command->usage) + "\n");
    return command->run(chip, args);
}

ControlResult run_control_line(SimulatedChip& chip, std::string_view line) {
    const std::vector<std::string> words = split_control_line(line);
    return run_control_command(chip, words);
}

std::string_view control_help() { return kHelp; }

}  // namespace kestrel::sim
