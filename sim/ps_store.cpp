#include "sim/ps_store.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace kestrel::sim {
namespace {

bool parse_hex16(std::string_view text, uint16_t& out) {
    if (text.empty() || text.size() > 4) return false;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), out, 16);
    return failure == std::errc() && end == text.data() + text.size();
}

std::string_view trim(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    const size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

// One "KEY: WORD..." line into `keys`; false with `why` on a malformed one.
bool parse_line(std::string_view line, std::map<uint16_t, PsStore::Value>& keys, std::string& why) {
    const size_t colon = line.find(':');
    uint16_t key = 0;
    if (colon == std::string_view::npos || !parse_hex16(trim(line.substr(0, colon)), key) || key == 0) {
        why = "expected KEY: WORD... with a hexadecimal key from 1 to ffff";
        return false;
    }
    PsStore::Value value;
    std::istringstream words{std::string(line.substr(colon + 1))};
    for (std::string word; words >> word;) {
        uint16_t number = 0;
        if (!parse_hex16(word, number)) {
            why = "bad word '" + word + "'";
            return false;
        }
        value.push_back(number);
    }
    if (value.empty()) {
        why = "key without a value";
        return false;
    }
    if (!keys.emplace(key, std::move(value)).second) {
        why = "key given twice";
        return false;
    }
    return true;
}

}  // namespace

std::shared_ptr<PsStore> PsStore::open(const std::string& path, std::string& error) {
    auto store = std::make_shared<PsStore>();
    store->path_ = path;
    std::ifstream file(path);
    if (!file) {
        if (errno == ENOENT) return store;
        error = path + ": " + std::strerror(errno);
        return nullptr;
    }
    std::string line;
    for (unsigned number = 1; std::getline(file, line); ++number) {
        const std::string_view text = trim(line);
        if (text.empty() || text.front() == '#') continue;
        std::string why;
        if (!parse_line(text, store->keys_, why)) {
            error = path + " line " + std::to_string(number) + ": " + why;
            return nullptr;
        }
    }
    return store;
}

std::optional<PsStore::Value> PsStore::get(uint16_t key) const {
    std::lock_guard lock(mutex_);
    const auto it = keys_.find(key);
    if (it == keys_.end()) return std::nullopt;
    return it->second;
}

bool PsStore::set(uint16_t key, Value value) {
    if (key == 0 || value.empty()) return false;
    std::lock_guard lock(mutex_);
    auto changed = keys_;
    changed[key] = std::move(value);
    if (!save_locked(changed)) return false;
    keys_ = std::move(changed);
    return true;
}

bool PsStore::erase(uint16_t key) {
    std::lock_guard lock(mutex_);
    if (!keys_.contains(key)) return true;
    auto changed = keys_;
    changed.erase(key);
    if (!save_locked(changed)) return false;
    keys_ = std::move(changed);
    return true;
}

std::optional<uint16_t> PsStore::next_key(uint16_t after) const {
    std::lock_guard lock(mutex_);
    const auto it = keys_.upper_bound(after);
    if (it == keys_.end()) return std::nullopt;
    return it->first;
}

std::map<uint16_t, PsStore::Value> PsStore::keys() const {
    std::lock_guard lock(mutex_);
    return keys_;
}

std::string PsStore::format(const std::map<uint16_t, Value>& keys) {
    std::string text;
    char word[8];
    for (const auto& [key, value] : keys) {
        std::snprintf(word, sizeof word, "%04x:", key);
        text += word;
        for (uint16_t w : value) {
            std::snprintf(word, sizeof word, " %04x", w);
            text += word;
        }
        text += '\n';
    }
    return text;
}

// Written to a neighbour and renamed over the file, so that a crash leaves
// either the old store or the new one, never half of one.
bool PsStore::save_locked(const std::map<uint16_t, Value>& keys) const {
    if (path_.empty()) return true;
    const std::string temporary = path_ + ".new";
    {
        std::ofstream file(temporary, std::ios::trunc);
        file << "# Petrel simulator persistent store: KEY: WORD... (hexadecimal)\n" << format(keys);
        file.flush();
        if (!file) {
            std::remove(temporary.c_str());
            return false;
        }
    }
    return std::rename(temporary.c_str(), path_.c_str()) == 0;
}

}  // namespace kestrel::sim
