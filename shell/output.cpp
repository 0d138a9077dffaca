#include "shell/output.h"

#include <atomic>
#include <cstdarg>
#include <mutex>
#include <vector>

namespace kestrel {
namespace {

std::mutex g_output_mutex;
std::FILE* g_log = nullptr;
std::FILE* g_console = nullptr;
std::atomic<int> g_mute{0};

std::FILE* console() { return g_console ? g_console : stdout; }

}  // namespace

int output_write(std::string_view text) {
    if (g_mute.load(std::memory_order_relaxed) != 0) return 0;
    std::lock_guard lock(g_output_mutex);
    if (g_log) {
        std::fwrite(text.data(), 1, text.size(), g_log);
        std::fflush(g_log);
    }
    std::FILE* out = console();
    size_t written = std::fwrite(text.data(), 1, text.size(), out);
    std::fflush(out);
    return static_cast<int>(written);
}

int output_vprintf(const char* format, va_list args) {
    char small[512];
    va_list copy;
    va_copy(copy, args);
    int length = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (length < 0) return length;
    if (static_cast<size_t>(length) < sizeof small) return output_write({small, static_cast<size_t>(length)});
    std::vector<char> big(static_cast<size_t>(length) + 1);
    std::vsnprintf(big.data(), big.size(), format, args);
    return output_write({big.data(), static_cast<size_t>(length)});
}

int output_printf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    int result = output_vprintf(format, args);
    va_end(args);
    return result;
}

bool log_open(const std::string& path) {
    std::lock_guard lock(g_output_mutex);
    if (g_log) {
        std::fclose(g_log);
        g_log = nullptr;
    }
    g_log = std::fopen(path.c_str(), "a");
    return g_log != nullptr;
}

void log_close() {
    std::lock_guard lock(g_output_mutex);
    if (g_log) std::fclose(g_log);
    g_log = nullptr;
}

bool log_is_open() {
    std::lock_guard lock(g_output_mutex);
    return g_log != nullptr;
}

void output_set_mute(int mute) { g_mute.store(mute, std::memory_order_relaxed); }

void output_set_console(std::FILE* out) {
    std::lock_guard lock(g_output_mutex);
    g_console = out;
}

}  // namespace kestrel
