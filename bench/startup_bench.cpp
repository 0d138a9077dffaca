// startup_bench - how long kestrel takes to offer its first prompt, against
// tclsh starting and evaluating "exit", over a number of runs. The goal
// (kestrel's median under 3x tclsh's) is printed, never asserted.
//
// usage: startup_bench [KESTREL [TCLSH [RUNS [ROOT]]]]
//   KESTREL  default: kestrel in the build directory above this program
//   TCLSH    default: tclsh, found on PATH
//   RUNS     default: 20
//   ROOT     kestrel's working directory (it looks for kestrellibs/ there);
//            default: the current directory
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kTimeoutMs = 10000;  // a child that hangs must not hang the bench

[[noreturn]] void die(const std::string& message) {
    std::fprintf(stderr, "startup_bench: %s\n", message.c_str());
    std::exit(1);
}

struct Child {
    std::string name;
    pid_t pid;
    int in;   // the child's stdin, kept open until we are done with it
    int out;  // the child's stdout
};

// Starts PROGRAM in DIR (unless empty) with stdin and stdout on pipes; stderr
// is inherited so the child's own complaints are seen.
Child start(const std::string& program, const std::string& dir) {
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) die(std::string("pipe: ") + std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    if (!dir.empty()) posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
    pid_t pid = 0;
    int rc = posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    if (rc != 0) die("cannot start " + program + ": " + std::strerror(rc));
    return {program, pid, in[1], out[0]};
}

// Waits for the child to end; anything but exit status 0 is an error.
void reap(Child& child) {
    if (child.in >= 0) close(child.in);
    close(child.out);
    int status = 0;
    while (waitpid(child.pid, &status, 0) < 0)
        if (errno != EINTR) die("waitpid: " + std::string(std::strerror(errno)));
    if (WIFSIGNALED(status)) die(child.name + " was killed by signal " + std::to_string(WTERMSIG(status)));
    if (WEXITSTATUS(status) != 0) die(child.name + " exited with status " + std::to_string(WEXITSTATUS(status)));
}

// Reads the child's stdout until WANT has appeared, or to end of file when
// WANT is empty.
void read_until(Child& child, const std::string& want, const char* what) {
    std::string seen;
    char block[4096];
    for (;;) {
        pollfd p{child.out, POLLIN, 0};
        int ready = poll(&p, 1, kTimeoutMs);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) {
            kill(child.pid, SIGKILL);
            die(child.name + ": no " + what + " within " + std::to_string(kTimeoutMs / 1000) + " s");
        }
        ssize_t n = read(child.out, block, sizeof block);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            if (want.empty()) return;
            reap(child);  // reports a crash or an error status first
            die(child.name + " ended before its " + what);
        }
        seen.append(block, static_cast<size_t>(n));
        if (!want.empty() && seen.find(want) != std::string::npos) return;
    }
}

void send(Child& child, const char* text) {
    if (write(child.in, text, std::strlen(text)) < 0) die(child.name + ": cannot write: " + std::strerror(errno));
    close(child.in);
    child.in = -1;
}

double elapsed_ms(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    size_t m = v.size() / 2;
    return v.size() % 2 ? v[m] : (v[m - 1] + v[m]) / 2;
}

void report(const char* label, const std::vector<double>& v) {
    double mean = std::accumulate(v.begin(), v.end(), 0.0) / static_cast<double>(v.size());
    std::printf("%-26s min %8.2f ms  median %8.2f ms  mean %8.2f ms\n", label,
                *std::min_element(v.begin(), v.end()), median(v), mean);
}

// A path with a slash is made absolute: kestrel starts in another directory.
std::string program_path(const std::string& name) {
    return name.find('/') == std::string::npos ? name : std::filesystem::absolute(name).lexically_normal().string();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 5) die("usage: startup_bench [KESTREL [TCLSH [RUNS [ROOT]]]]");
    std::signal(SIGPIPE, SIG_IGN);  // a child that died shows as a write error
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    std::string kestrel = argc > 1 ? program_path(argv[1]) : (self.parent_path().parent_path() / "kestrel").string();
    std::string tclsh = argc > 2 ? program_path(argv[2]) : "tclsh";
    int runs = 20;
    if (argc > 3) {
        char* end = nullptr;
        long n = std::strtol(argv[3], &end, 10);
        if (*end != '\0' || n < 1 || n > 100000) die(std::string("run count must be 1 to 100000, not ") + argv[3]);
        runs = static_cast<int>(n);
    }
    std::string root = argc > 4 ? argv[4] : std::filesystem::current_path().string();
    if (access(kestrel.c_str(), X_OK) != 0) die("no executable kestrel at " + kestrel);
    if (!std::filesystem::is_directory(root, error)) die("no directory " + root);

    std::vector<double> kestrel_ms, tclsh_ms;
    for (int i = 0; i < runs; ++i) {
        auto t0 = Clock::now();
        Child k = start(kestrel, root);
        read_until(k, "KESTREL>", "first prompt");
        kestrel_ms.push_back(elapsed_ms(t0));
        send(k, "quit\n");
        read_until(k, "", "end of output after quit");
        reap(k);

        t0 = Clock::now();
        Child t = start(tclsh, "");
        send(t, "exit\n");
        read_until(t, "", "end of output after exit");
        reap(t);
        tclsh_ms.push_back(elapsed_ms(t0));
    }

    std::printf("startup_bench: %d runs; kestrel %s (in %s); tclsh %s\n", runs, kestrel.c_str(), root.c_str(),
                tclsh.c_str());
    report("kestrel to first prompt:", kestrel_ms);
    report("tclsh to exit:", tclsh_ms);
    std::printf("ratio %.2f (goal: under 3.0)\n", median(kestrel_ms) / median(tclsh_ms));
    return 0;
}
