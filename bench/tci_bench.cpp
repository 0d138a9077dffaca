// TCI benchmark: command-and-complete round trips per second between two
// Kestrel sessions on the two ends of a pseudo-terminal pair (socat), one
// the host sending TCI_HCI_RESET_REQ and waiting for the complete, one the
// device waiting for the command and answering TCI_HCI_RESET_COMPLETE; next
// to a plain ping-pong of the same bytes (4 out, 7 back, H4 type bytes
// included) over the same kind of pair. Prints its figures; asserts nothing.
//
// usage: tci_bench KESTREL [ROUND_TRIPS]
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

struct PtyPair {
    pid_t socat = -1;
    std::string a, b;
};

PtyPair start_pair(const fs::path& dir) {
    PtyPair pair{-1, (dir / "a.pty").string(), (dir / "b.pty").string()};
    pair.socat = fork();
    if (pair.socat == 0) {
        const std::string left = "pty,raw,echo=0,link=" + pair.a;
        const std::string right = "pty,raw,echo=0,link=" + pair.b;
        execlp("socat", "socat", left.c_str(), right.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    for (int i = 0; i < 200 && !(fs::exists(pair.a) && fs::exists(pair.b)); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (!fs::exists(pair.a) || !fs::exists(pair.b)) {
        std::fprintf(stderr, "tci_bench: socat made no pseudo-terminal pair\n");
        std::exit(1);
    }
    return pair;
}

void stop_pair(PtyPair& pair) {
    if (pair.socat > 0) {
        kill(pair.socat, SIGTERM);
        waitpid(pair.socat, nullptr, 0);
    }
}

int open_raw(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    if (fd < 0) {
        std::perror(path.c_str());
        std::exit(1);
    }
    termios settings{};
    tcgetattr(fd, &settings);
    cfmakeraw(&settings);
    tcsetattr(fd, TCSANOW, &settings);
    return fd;
}

bool read_exactly(int fd, unsigned char* buffer, size_t size) {
    for (size_t got = 0; got < size;) {
        const ssize_t n = read(fd, buffer + got, size - got);
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

// The same bytes as the TCI round trip, with nothing but the pair between.
double plain_ping_pong(const fs::path& dir, long rounds) {
    PtyPair pair = start_pair(dir);
    const int host = open_raw(pair.a), device = open_raw(pair.b);
    const unsigned char command[] = {0x01, 0x03, 0x0C, 0x00};
    const unsigned char complete[] = {0x04, 0x0E, 0x04, 0x01, 0x03, 0x0C, 0x00};
    std::thread answerer([&] {
        unsigned char buffer[sizeof command];
        for (long i = 0; i < rounds; ++i) {
            if (!read_exactly(device, buffer, sizeof buffer)) return;
            if (write(device, complete, sizeof complete) != sizeof complete) return;
        }
    });
    const auto start = Clock::now();
    unsigned char buffer[sizeof complete];
    for (long i = 0; i < rounds; ++i) {
        if (write(host, command, sizeof command) != sizeof command) break;
        if (!read_exactly(host, buffer, sizeof buffer)) break;
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    answerer.join();
    close(host);
    close(device);
    stop_pair(pair);
    return rounds / seconds;
}

// Two sessions: the device prints "ready" once connected; the host times its
// own loop and prints the microseconds it took.
double kestrel_round_trips(const std::string& kestrel, const fs::path& dir, long rounds) {
    PtyPair pair = start_pair(dir);
    const fs::path device_script = dir / "device.tcl", host_script = dir / "host.tcl";
    std::ofstream(device_script) << "TCI_connect " << pair.b << " 115200; puts ready; flush stdout\n"
                                 << "for {set i 0} {$i < " << rounds
                                 << "} {incr i} {PT_wait {$TCI_PRIM}; TCI_HCI_RESET_COMPLETE 1 0x0C03 0}\n";
    std::ofstream(host_script) << "TCI_connect " << pair.a << " 115200\n"
                               << "set t [clock microseconds]; for {set i 0} {$i < " << rounds
                               << "} {incr i} {TCI_HCI_RESET_REQ; PT_wait {$TCI_PRIM}}; puts \"elapsed "
                                  "[expr {[clock microseconds] - $t}]\"\n";
    FILE* device = popen((kestrel + " < " + device_script.string() + " 2>&1").c_str(), "r");
    char line[512];
    bool ready = false;
    while (!ready && fgets(line, sizeof line, device)) ready = std::string(line).find("ready") != std::string::npos;
    double rate = 0;
    FILE* host = popen((kestrel + " < " + host_script.string() + " 2>&1").c_str(), "r");
    while (fgets(line, sizeof line, host)) {
        const char* at = std::strstr(line, "elapsed ");
        if (at) rate = rounds / (std::atof(at + 8) / 1e6);
    }
    pclose(host);
    pclose(device);
    stop_pair(pair);
    return rate;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tci_bench KESTREL [ROUND_TRIPS]\n");
        return 2;
    }
    const std::string kestrel = argv[1];
    const long rounds = argc > 2 ? std::atol(argv[2]) : 2000;
    char pattern[] = "/tmp/tci_bench.XXXXXX";
    const fs::path dir = mkdtemp(pattern);
    const double plain = plain_ping_pong(dir / "", rounds);
    fs::remove(dir / "a.pty");
    fs::remove(dir / "b.pty");
    const double tci = kestrel_round_trips(kestrel, dir, rounds);
    fs::remove_all(dir);
    std::printf("TCI over a pseudo-terminal pair, %ld round trips each:\n", rounds);
    std::printf("  Kestrel host and device, TCI_HCI_RESET_REQ and its complete: %9.0f round trips/s\n", tci);
    std::printf("  plain ping-pong of the same 4 and 7 bytes:                  %9.0f round trips/s\n", plain);
    if (plain > 0) std::printf("  Kestrel reaches %.0f%% of the plain pair\n", 100.0 * tci / plain);
    return 0;
}
