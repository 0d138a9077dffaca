#include "sim/embedded_sim.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "sim/chip_options.h"
#include "sim/chip_stack.h"

namespace kestrel {
namespace sim {
namespace {

// The running chips. A chip whose host has gone cannot destroy itself (its
// own thread reports the end), so a reaper thread does it.
class Registry {
public:
    ~Registry() {
        std::vector<std::shared_ptr<SimulatedChip>> doomed;
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            for (Entry& entry : chips_) doomed.push_back(std::move(entry.chip));
            chips_.clear();
        }
        changed_.notify_all();
        if (reaper_.joinable()) reaper_.join();
        doomed.clear();
    }

    void add(std::shared_ptr<SimulatedChip> chip, uint64_t number) {
        std::lock_guard lock(mutex_);
        if (!reaper_.joinable()) reaper_ = std::thread(&Registry::reap, this);
        chips_.push_back({number, std::move(chip), false});
    }

    uint64_t next_number() {
        std::lock_guard lock(mutex_);
        return ++last_number_;
    }

    void ended(uint64_t number) {
        {
            std::lock_guard lock(mutex_);
            for (Entry& entry : chips_)
                if (entry.number == number) entry.ended = true;
        }
        changed_.notify_all();
    }

    std::shared_ptr<SimulatedChip> current() {
        std::lock_guard lock(mutex_);
        for (auto it = chips_.rbegin(); it != chips_.rend(); ++it)
            if (!it->ended) return it->chip;
        return nullptr;
    }

    size_t count() {
        std::lock_guard lock(mutex_);
        return static_cast<size_t>(std::count_if(chips_.begin(), chips_.end(), [](const Entry& e) { return !e.ended; }));
    }

    // Chips on one file share one store, so that they never overwrite each
    // other's keys with stale ones.
    std::shared_ptr<PsStore> ps_store(const std::string& path, std::string& error) {
        std::lock_guard lock(mutex_);
        if (auto store = stores_[path].lock()) return store;
        auto store = PsStore::open(path, error);
        if (store) stores_[path] = store;
        return store;
    }

private:
    struct Entry {
        uint64_t number;
        std::shared_ptr<SimulatedChip> chip;
        bool ended;
    };

    void reap() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [&] {
                return stopping_ || std::any_of(chips_.begin(), chips_.end(), [](const Entry& e) { return e.ended; });
            });
            if (stopping_) return;
            std::vector<std::shared_ptr<SimulatedChip>> doomed;
            for (Entry& entry : chips_)
                if (entry.ended) doomed.push_back(std::move(entry.chip));
            std::erase_if(chips_, [](const Entry& e) { return e.ended; });
            lock.unlock();
            doomed.clear();  // joins the chips' threads
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Entry> chips_;
    std::map<std::string, std::weak_ptr<PsStore>> stores_;
    uint64_t last_number_ = 0;
    bool stopping_ = false;
    std::thread reaper_;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

std::unique_ptr<ByteStream> make_embedded_chip(std::string_view device_name, const LineSettings&, std::string& error) {
    ChipConfig config;
    if (device_name.size() > 3 && !apply_chip_options(config, device_name.substr(4), error)) return nullptr;
    // Each chip inside Kestrel has an air of its own, with the remote peer.
    SimulatedChip::Options options{config.protocol, nullptr, config.conditions,
                                   config.stack ? std::make_unique<ChipStack>(SimWorld::make()) : nullptr};
    if (!config.ps_path.empty()) {
        options.ps = registry().ps_store(config.ps_path, error);
        if (!options.ps) return nullptr;
    }
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        error = std::string("cannot make a socket pair: ") + std::strerror(errno);
        return nullptr;
    }
    const uint64_t number = registry().next_number();
    auto chip = std::make_shared<SimulatedChip>(std::move(options));
    chip->set_unplugged_handler([number] { registry().ended(number); });
    if (!chip->attach(make_fd_byte_stream(ends[0], "simulated chip " + std::to_string(number)), error)) {
        ::close(ends[1]);
        return nullptr;
    }
    registry().add(std::move(chip), number);
    return make_fd_byte_stream(ends[1], std::string(device_name));
}

}  // namespace

std::shared_ptr<SimulatedChip> current_embedded_chip() { return registry().current(); }

size_t embedded_chip_count() { return registry().count(); }

}  // namespace sim

void register_embedded_sim() {
    sim::registry();  // made before the factory can be used, so destroyed after the streams it serves
    register_byte_stream_factory("sim", sim::make_embedded_chip);
}

}  // namespace kestrel
