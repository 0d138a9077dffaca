// The chip's persistent store (PS): 16-bit keys, each holding a value of one
// or more 16-bit words. It outlives chip restarts and, with a file, the
// simulator itself. Thread-safe.
//
// File format, one key a line, hexadecimal, written whole after every change:
//     # comment
//     01fe: 6590
//     0002: 0001 0002 5bff 0c67
// Key 0 is never a key: it is where an enumeration with PSNEXT starts.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kestrel::sim {

class PsStore {
public:
    using Value = std::vector<uint16_t>;

    // An empty store kept in memory only.
    PsStore() = default;

    // The store kept in `path`. A missing file is an empty store (the file
    // appears with the first key); a malformed one is refused with `error`
    // naming the file and line.
    static std::shared_ptr<PsStore> open(const std::string& path, std::string& error);

    std::optional<Value> get(uint16_t key) const;
    // False when the file cannot be written; the store is then unchanged.
    // Key 0 and empty values are refused (false) as well.
    bool set(uint16_t key, Value value);
    // Removing an absent key succeeds. False only when the file cannot be written.
    bool erase(uint16_t key);
    // The smallest key above `after`.
    std::optional<uint16_t> next_key(uint16_t after) const;
    std::map<uint16_t, Value> keys() const;

    const std::string& path() const { return path_; }

    // The file's text for a set of keys (also what the control surface lists).
    static std::string format(const std::map<uint16_t, Value>& keys);

private:
    bool save_locked(const std::map<uint16_t, Value>& keys) const;

    mutable std::mutex mutex_;
    std::map<uint16_t, Value> keys_;
    std::string path_;  // empty: memory only
};

}  // namespace kestrel::sim
