// petrelsim: serves simulated Petrel chips on pseudo-terminals and sockets,
// prints where each one is ("chip N: WHERE", one line each, then flushes),
// and runs control-surface commands read from standard input, "[N] COMMAND
// ARGS...", for chip N or, without a number, the last chip. It ends on
// SIGINT, SIGTERM, "quit" or the end of standard input.
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sim/chip_options.h"
#include "sim/chip_stack.h"
#include "sim/chip_server.h"
#include "sim/control_surface.h"

namespace {

using namespace kestrel::sim;

constexpr std::string_view kUsage =
    "Usage: petrelsim [CHIP OPTION | CHIP]...\n"
    "Serves simulated Petrel chips and prints where each one is: \"chip N: WHERE\".\n"
    "\n"
    "Chips (one pseudo-terminal chip when none is given):\n"
    "  --pty[=N]          N chips (1 unless told) on pseudo-terminals\n"
    "  --unix PATH        a chip on a Unix socket\n"
    "  --tcp PORT         a chip on a TCP port of the loopback interface (0: any free port)\n"
    "Chip options, for the chips named after them:\n"
    "  --protocol ptsp|h4|auto   the line's protocol (auto: from the host's first byte)\n"
    "  --ps FILE          keep the chip's persistent store in FILE\n"
    "  --rate BAUD        pace the line as a UART (0: unlimited)\n"
    "  --latency MS       delay every byte\n"
    "  --drop RATE, --corrupt RATE   damage that share of the line's bursts (0 to 1)\n"
    "  --seed N           the faults' generators\n"
    "  --stack on|off     run the host stack (on) or only record its channels (off)\n"
    "Other options:\n"
    "  --ignore-eof       keep serving after standard input ends\n"
    "  --help\n"
    "\n"
    "Standard input takes control commands, \"[N] COMMAND ARGS...\" for chip N (the last\n"
    "chip unless told), \"chips\" to list the chips again and \"quit\". Commands:\n";

constexpr std::string_view kChipOptionKeys[] = {"protocol", "ps", "rate", "latency", "drop", "corrupt", "seed"};

enum class Line { pty, unix_socket, tcp };

struct ServedChip {
    Line line;
    std::string address;  // path or port
    ChipConfig config;
};

struct Arguments {
    std::vector<ServedChip> chips;
    bool ignore_eof = false;
};

bool fail(const std::string& message) {
    std::fprintf(stderr, "petrelsim: %s\n", message.c_str());
    return false;
}

bool parse_arguments(int argc, char** argv, Arguments& out) {
    ChipConfig config;
    for (int i = 1; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (!arg.starts_with("--")) return fail("unexpected argument '" + std::string(arg) + "' (try --help)");
        arg.remove_prefix(2);
        std::string_view key = arg, value;
        bool has_value = false;
        if (const size_t equals = arg.find('='); equals != std::string_view::npos) {
            key = arg.substr(0, equals);
            value = arg.substr(equals + 1);
            has_value = true;
        }
        auto take_value = [&]() -> bool {
            if (has_value) return true;
            if (i + 1 >= argc) return fail("--" + std::string(key) + " needs a value");
            value = argv[++i];
            return true;
        };
        if (key == "help") {
            std::fputs(kUsage.data(), stdout);
            std::fputs(std::string(control_help()).c_str(), stdout);
            std::exit(0);
        } else if (key == "ignore-eof") {
            out.ignore_eof = true;
        } else if (key == "pty") {
            const auto count = has_value ? parse_number(value, 64) : std::optional<unsigned long>(1);
            if (!count || *count == 0) return fail("--pty=N takes a count from 1 to 64");
            for (unsigned long n = 0; n < *count; ++n) out.chips.push_back({Line::pty, "", config});
        } else if (key == "unix" || key == "tcp") {
            if (!take_value()) return false;
            out.chips.push_back({key == "unix" ? Line::unix_socket : Line::tcp, std::string(value), config});
        } else if (std::ranges::find(kChipOptionKeys, key) != std::end(kChipOptionKeys)) {
            if (!take_value()) return false;
            std::string error;
            if (!apply_chip_option(config, key, value, error)) return fail(error);
        } else {
            return fail("unknown option --" + std::string(key) + " (try --help)");
        }
    }
    if (out.chips.empty()) out.chips.push_back({Line::pty, "", config});
    // Two chips on one file would overwrite each other's keys.
    std::map<std::string, size_t> owners;
    for (size_t n = 0; n < out.chips.size(); ++n) {
        const std::string& path = out.chips[n].config.ps_path;
        if (path.empty()) continue;
        if (auto [it, fresh] = owners.emplace(path, n + 1); !fresh)
            return fail("chips " + std::to_string(it->second) + " and " + std::to_string(n + 1) +
                        " would share the PS file " + path);
    }
    return true;
}

// The chips of one petrelsim share one air, where they find each other and
// the remote peer.
std::unique_ptr<ChipServer> make_server(const ServedChip& served, const std::shared_ptr<SimWorld>& world,
                                        std::string& error) {
    SimulatedChip::Options options{served.config.protocol, nullptr, served.config.conditions,
                                   served.config.stack ? std::make_unique<ChipStack>(world) : nullptr};
    if (!served.config.ps_path.empty()) {
        options.ps = PsStore::open(served.config.ps_path, error);
        if (!options.ps) return nullptr;
    }
    switch (served.line) {
    case Line::pty: return ChipServer::pty(std::move(options), error);
    case Line::unix_socket: return ChipServer::unix_socket(served.address, std::move(options), error);
    case Line::tcp: {
        const auto port = parse_number(served.address, 65535);
        if (!port) {
            error = "bad TCP port '" + served.address + "'";
            return nullptr;
        }
        return ChipServer::tcp(static_cast<unsigned>(*port), std::move(options), error);
    }
    }
    return nullptr;
}

void print(const std::string& text) {
    if (text.empty()) return;
    std::fputs(text.c_str(), stdout);
    if (text.back() != '\n') std::fputc('\n', stdout);
    std::fflush(stdout);
}

std::string chip_list(const std::vector<std::unique_ptr<ChipServer>>& servers) {
    std::string text;
    for (size_t n = 0; n < servers.size(); ++n) text += "chip " + std::to_string(n + 1) + ": " + servers[n]->where() + "\n";
    return text;
}

// One line of standard input; false when the simulator should end.
bool run_line(std::string_view line, std::vector<std::unique_ptr<ChipServer>>& servers) {
    std::vector<std::string> words = split_control_line(line);
    if (words.empty()) return true;
    if (words.size() == 1 && (words[0] == "quit" || words[0] == "exit")) return false;
    if (words.size() == 1 && words[0] == "chips") {
        print(chip_list(servers));
        return true;
    }
    size_t chip = servers.size();
    if (const auto number = parse_number(words[0], 1'000'000)) {
        if (*number == 0 || *number > servers.size()) {
            print("Error, no chip " + words[0] + " (chips 1 to " + std::to_string(servers.size()) + ")\n");
            return true;
        }
        chip = *number;
        words.erase(words.begin());
    }
    print(run_control_command(servers[chip - 1]->chip(), words).text);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    if (!parse_arguments(argc, argv, arguments)) return 2;

    // Before any thread starts, so that every thread inherits the mask and
    // the signals arrive only through the descriptor.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    const int signal_fd = ::signalfd(-1, &signals, SFD_CLOEXEC);

    const std::shared_ptr<SimWorld> world = SimWorld::make();
    std::vector<std::unique_ptr<ChipServer>> servers;
    for (const ServedChip& served : arguments.chips) {
        std::string error;
        auto server = make_server(served, world, error);
        if (!server) {
            fail("chip " + std::to_string(servers.size() + 1) + ": " + error);
            return 1;  // the servers made so far go with their socket files
        }
        servers.push_back(std::move(server));
    }
    print(chip_list(servers));

    std::string pending;
    bool input_open = true;
    for (;;) {
        pollfd fds[] = {{signal_fd, POLLIN, 0}, {input_open ? STDIN_FILENO : -1, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[0].revents != 0) break;
        if (fds[1].revents == 0) continue;
        char buffer[4096];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            if (!pending.empty() && !run_line(pending, servers)) break;
            pending.clear();
            if (!arguments.ignore_eof) break;
            input_open = false;
            continue;
        }
        pending.append(buffer, static_cast<size_t>(got));
        bool quit = false;
        for (size_t end; !quit && (end = pending.find('\n')) != std::string::npos;) {
            quit = !run_line(std::string_view(pending).substr(0, end), servers);
            pending.erase(0, end + 1);
        }
        if (quit) break;
    }
    servers.clear();  // chips unplugged, socket files removed
    return 0;
}
