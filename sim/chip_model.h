// The simulated Petrel chip's behaviour, apart from any line: it takes whole
// messages per channel and answers through its outputs. PTCMD variables, the
// persistent store, VM echo, debug text and HQ fault reports live here; the
// link, restarts and halts are carried out by the owner (SimulatedChip).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "sim/ps_store.h"
#include "transport/platform/wire_channel.h"

namespace kestrel::sim {

// The chip's channels on the wire. HQ carries chip-to-host requests in the
// PTCMD word form.
inline constexpr uint8_t kChannelPtcmd = kWirePtcmd;
inline constexpr uint8_t kChannelHq = kWireHq;
inline constexpr uint8_t kChannelDm = kWireDm;
inline constexpr uint8_t kChannelL2cap = kWireL2cap;
inline constexpr uint8_t kChannelRfcomm = kWireRfcomm;
inline constexpr uint8_t kChannelSdp = kWireSdp;
inline constexpr uint8_t kChannelDebug = kWireDebug;
inline constexpr uint8_t kChannelVm = kWireVm;

namespace ptcmd {

enum Type : uint16_t { kGetReq = 0, kGetResp = 1, kSetReq = 2 };

enum Status : uint16_t {
    kOk = 0,
    kNoSuchVariable = 1,
    kTooBig = 2,
    kNoValue = 3,
    kBadRequest = 4,
    kNoAccess = 5,
    kReadOnly = 6,
    kWriteOnly = 7,
    kError = 8,
    kPermissionDenied = 9,
};

// Word positions in a message; the payload follows the status.
inline constexpr size_t kTypeWord = 0;
inline constexpr size_t kLengthWord = 1;
inline constexpr size_t kSeqWord = 2;
inline constexpr size_t kVaridWord = 3;
inline constexpr size_t kStatusWord = 4;
inline constexpr size_t kPayloadWord = 5;
inline constexpr size_t kMinWords = 9;

// The access rule, read from a variable id's top bits:
//   0x2000  the host may read it (GETREQ);
//   0x4000  the host may write it (SETREQ);
//   0x1000  special: its payload has a layout of its own (the PS variable's
//           [key, length, stores, data...]);
//   bits 11-10 of an ordinary variable: the value's size, 00 none (an
//           action), 10 one word, 11 two words (more significant first).
// A known variable with neither access bit answers "no access".
constexpr bool readable(uint16_t id) { return (id & 0x2000) != 0; }
constexpr bool writable(uint16_t id) { return (id & 0x4000) != 0; }
constexpr bool special(uint16_t id) { return (id & 0x1000) != 0; }
constexpr unsigned value_words(uint16_t id) {
    switch (id >> 10 & 3) {
    case 2: return 1;
    case 3: return 2;
    default: return 0;
    }
}

// The HQ fault report's variable: the chip writes it at the host, so it is a
// write-only special, numbered after the PTCMD specials.
inline constexpr uint16_t kHqVaridFault = 0x5010;

}  // namespace ptcmd

enum class Restart { power_on, cold, warm };

struct ChipVariable;  // a row of the chip's variable table (chip_model.cpp)

// What the chip asks of its owner after a message: carried out after the
// answer has been sent.
struct ChipRequest {
    enum class Kind { restart_cold, restart_warm, halt, panic } kind;
    uint16_t code = 0;      // panic code
    unsigned delay_ms = 0;  // a delayed panic
};

inline constexpr std::string_view kStartupLine = "Petrel simulator 0.1: chip ready";
inline constexpr unsigned kDelayedPanicMs = 100;

// Where the stack channels (DM, L2CAP, RFCOMM, SDP) will be answered. Without
// one, the chip records their messages (the owner does) and answers nothing.
class StackModel {
public:
    using Send = std::function<void(uint8_t channel, std::vector<uint8_t> message)>;
    virtual ~StackModel() = default;
    virtual void restart(Restart kind) = 0;
    virtual void receive(uint8_t channel, std::span<const uint8_t> message, const Send& send) = 0;
    // Nothing is sent after this returns, even from the stack's own threads:
    // the chip is going.
    virtual void stop() {}
};

class ChipModel {
public:
    struct Outputs {
        std::function<void(uint8_t channel, std::vector<uint8_t> message)> send;
        std::function<void(const ChipRequest& request)> request;
    };

    ChipModel(std::shared_ptr<PsStore> ps, Outputs outputs, std::unique_ptr<StackModel> stack = nullptr);

    // The state after a start: volatile variables back to their initial
    // values (a warm restart keeps the preserved ones). Sends nothing.
    void restart(Restart kind);
    // The start-up debug line.
    void announce();
    // One whole message from the host. Called from one thread at a time.
    void receive(uint8_t channel, std::span<const uint8_t> message);
    // The panic's debug line and PANIC_ARG; the owner then restarts warm.
    void panic(uint16_t code);

    const std::shared_ptr<PsStore>& ps() const { return ps_; }
    StackModel* stack() const { return stack_.get(); }

private:
    using Variable = ChipVariable;
    struct Effects {
        std::vector<std::pair<uint8_t, std::vector<uint8_t>>> messages;
        std::optional<ChipRequest> request;
    };

    std::vector<uint16_t> answer_ptcmd(std::span<const uint8_t> message, Effects& effects);
    uint16_t get(const Variable& variable, std::span<uint16_t> payload);
    uint16_t set(const Variable& variable, std::span<uint16_t> payload, Effects& effects);
    uint16_t get_special(const Variable& variable, std::span<uint16_t> payload);
    uint16_t set_special(const Variable& variable, std::span<uint16_t> payload);
    uint32_t bt_clock() const;
    void emit(Effects& effects);

    const std::shared_ptr<PsStore> ps_;
    const Outputs outputs_;
    const std::unique_ptr<StackModel> stack_;

    std::mutex mutex_;  // the state below; never held while emitting
    std::map<uint16_t, uint32_t> values_;
    bool preserve_valid_ = false;
    std::chrono::steady_clock::time_point started_;
    std::optional<uint16_t> adc_channel_;
    uint16_t hq_seq_ = 0;
    uint16_t faults_reported_ = 0;
    std::mt19937 random_;
};

}  // namespace kestrel::sim
