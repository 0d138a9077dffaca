// One simulated Petrel chip: the chip model behind a message link of the
// chip's role, on whatever line a host plugs in. The chip outlives its
// lines: each line plugged in powers the chip on afresh (only the persistent
// store remains), and what it received and the line's conditions are kept.
//
// Threads: the chip's own thread starts and restarts the chip, halts it and
// watches the line; the link's reader thread runs the model; the line has
// two threads of its own (ConditionedStream).
//
// A restart over PTSP starts a new link, so the host's link sees the chip's
// SYNC while it is up: a peer reset, as with a chip on a serial line. Over
// H4 a restart is seen only by the start-up debug line.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "sim/chip_model.h"
#include "sim/link_conditions.h"
#include "transport/platform/message_link.h"

namespace kestrel::sim {

class SimulatedChip {
public:
    struct Options {
        // None: taken from the host's first byte, 0xC0 PTSP or 0x01 H4
        // (other bytes before it are line noise and skipped).
        std::optional<LinkProtocol> protocol;
        std::shared_ptr<PsStore> ps;  // null: a store in memory
        LinkConditions conditions;
        std::unique_ptr<StackModel> stack;
    };

    enum class State {
        unplugged,  // no line
        detecting,  // a line, waiting for the host's first byte
        running,
        halted,     // silent until reset()
    };

    struct Received {
        uint8_t channel;
        std::vector<uint8_t> bytes;
    };
    // The oldest records give way beyond this many.
    static constexpr size_t kMaxReceived = 10000;

    explicit SimulatedChip(Options options);
    // Unplugs the line without calling the unplugged handler.
    ~SimulatedChip();
    SimulatedChip(const SimulatedChip&) = delete;
    SimulatedChip& operator=(const SimulatedChip&) = delete;

    // Plugs in the line to a host; the chip powers on. False with `error`
    // when a line is plugged in already or the line does not open.
    bool attach(std::unique_ptr<ByteStream> line, std::string& error);
    // Unplugs the line (asynchronously).
    void detach();
    // Called on the chip's thread, without locks, after a line has gone (the
    // host closed its end, or detach()). It must not destroy the chip.
    void set_unplugged_handler(std::function<void()> handler);

    State state() const;
    std::optional<LinkProtocol> protocol() const;  // of the current line, or of the last one
    uint64_t starts() const;                       // power-ons and restarts

    std::vector<Received> received() const;
    uint64_t received_lost() const;  // records that gave way
    void clear_received();

    // Sends any message on any data channel, as the chip. False with an
    // error text (Kestrel's "Error, ...\n" form) when it cannot.
    bool send(uint8_t channel, std::span<const uint8_t> message, std::string& error);
    bool reset(Restart kind, std::string& error);
    bool halt(std::string& error);

    LinkConditions conditions() const;
    void set_conditions(const LinkConditions& conditions);
    uint64_t bytes_dropped() const;    // by the current line's faults
    uint64_t bytes_corrupted() const;

    const std::shared_ptr<PsStore>& ps() const { return model_.ps(); }
    // The on-chip stack, when the chip runs one.
    StackModel* stack() const { return model_.stack(); }

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    class Port;

    void supervise();
    void detect(Lock& lock);
    void drain_halted(Lock& lock);
    void start_chip(Lock& lock, Restart kind);
    void stop_link(Lock& lock);
    void unplug(Lock& lock);
    void wake();  // mutex_ held
    void on_request(const ChipRequest& request);
    void on_line_end(uint64_t generation);
    void record(uint8_t channel, std::span<const uint8_t> message);
    void send_from_chip(uint8_t channel, std::vector<uint8_t> message);
    bool chip_ready(std::string& error) const;  // mutex_ held

    const std::optional<LinkProtocol> configured_protocol_;
    ChipModel model_;

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    State state_ = State::unplugged;
    std::optional<LinkProtocol> protocol_;
    LinkConditions conditions_;
    std::shared_ptr<ConditionedStream> line_;
    std::shared_ptr<MessageLink> link_;
    std::vector<uint8_t> first_bytes_;  // read while detecting, handed to the link
    uint64_t generation_ = 0;           // of the line, so a late end of an old one is ignored
    uint64_t starts_ = 0;
    std::optional<Restart> restart_wanted_;
    bool halt_wanted_ = false;
    bool detach_wanted_ = false;
    bool line_ended_ = false;
    bool stopping_ = false;
    std::optional<std::pair<Clock::time_point, uint16_t>> panic_due_;
    std::function<void()> unplugged_handler_;

    mutable std::mutex record_mutex_;
    std::deque<Received> received_;
    uint64_t received_lost_ = 0;

    std::thread thread_;
};

}  // namespace kestrel::sim
