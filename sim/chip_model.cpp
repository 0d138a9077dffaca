#include "sim/chip_model.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>

#include "transport/platform/message_codec.h"

namespace kestrel::sim {

using namespace ptcmd;

enum class Behaviour : uint8_t {
    inaccessible,   // neither access bit: answers no access
    state,          // a value kept until the next restart
    preserved,      // a value kept across warm restarts
    constant,
    preserve_valid, // 1 after a warm restart
    random,
    clock,          // the 28-bit Bluetooth clock, 3200 ticks a second
    action,         // accepted; nothing to simulate yet
    cold_reset,
    warm_reset,
    halt,
    panic,
    delayed_panic,
    fault,          // an HQ fault report
    adc,            // starts a reading on a channel
    adc_result,     // [channel, valid, reading]
    ps,             // [key, length, stores, data...]
    ps_next,        // [key, stores, next key]; next 0 when there is none
    ps_size,        // [key, stores, length]
    ps_clear,       // the value is the key
    ps_clear_stores,// [key, stores]
    no_value,       // nothing to report yet (no connections, no events)
};

struct ChipVariable {
    uint16_t id;
    std::string_view name;
    Behaviour behaviour;
    uint32_t initial = 0;
};

namespace {

using B = Behaviour;

constexpr uint16_t kPanicArg = 0x6805;
constexpr uint16_t kFaultArg = 0x6806;

constexpr uint32_t kBuildId = 0x0B54;
constexpr uint32_t kChipVersion = 0x0002;
constexpr uint32_t kChipRevision = 0x0031;

// The vocabulary's variables, without its two range markers (NO_VARIABLE
// 0x6000 and SPECIAL_START 0x1000, which answer "no such variable") and with
// one row for the id that two names share (0x681E).
constexpr ChipVariable kVariables[] = {
    {0x4001, "COLD_RESET", B::cold_reset},
    {0x4002, "WARM_RESET", B::warm_reset},
    {0x4003, "COLD_HALT", B::halt},
    {0x4004, "WARM_HALT", B::halt},
    {0x4005, "INIT_BT_STACK", B::action},
    {0x4006, "ACTIVATE_BT_STACK", B::action},
    {0x4007, "ENABLE_TX", B::action},
    {0x4008, "DISABLE_TX", B::action},
    {0x4009, "RECAL", B::action},
    {0x000B, "PSCLRALL", B::inaccessible},
    {0x000C, "PS_FACTORY_SET", B::inaccessible},
    {0x400D, "PS_FACTORY_RESTORE", B::action},
    {0x400E, "PS_FACTORY_RESTORE_ALL", B::action},
    {0x400F, "DEFRAG_RESET", B::action},
    {0x4010, "KILL_VM_APPLICATION", B::action},
    {0x4011, "HOPPING_ON", B::action},
    {0x2801, "PT01_STATUS", B::constant, 0},
    {0x6802, "CONFIG_UART", B::state, 0},
    {0x6803, "TESTA_AMUX", B::state, 0},
    {0x6804, "TESTB_AMUX", B::state, 0},
    {kPanicArg, "PANIC_ARG", B::preserved, 0},
    {kFaultArg, "FAULT_ARG", B::preserved, 0},
    {0x2807, "PRESERVE_VALID", B::preserve_valid},
    {0x4818, "PSCLR", B::ps_clear},
    {0x2819, "BUILDID", B::constant, kBuildId},
    {0x281A, "CHIPVER", B::constant, kChipVersion},
    {0x281B, "CHIPREV", B::constant, kChipRevision},
    {0x481C, "MAP_SCO_PCM", B::action},
    {0x281D, "SPI_BUFSIZE", B::constant, 0x0040},
    {0x681E, "PIO_DIRECTION_MASK", B::state, 0},
    {0x681F, "PIO", B::state, 0},
    {0x4820, "PROVOKE_PANIC", B::panic},
    {0x4821, "PROVOKE_DELAYED_PANIC", B::delayed_panic},
    {0x4822, "PROVOKE_FAULT", B::fault},
    {0x2823, "PIO_PROTECT_MASK", B::constant, 0},
    {0x2825, "INTERFACE_VERSION", B::constant, 0x0003},
    {0x2826, "RADIOTEST_INTERFACE_VERSION", B::constant, 0x0002},
    {0x6827, "MAX_TX_POWER", B::state, 4},
    {0x4829, "ADC", B::adc},
    {0x282A, "RAND", B::random},
    {0x682B, "DEFAULT_TX_POWER", B::state, 0},
    {0x282C, "MAXCRYPTKEYLEN", B::constant, 16},
    {0x082D, "PSCLRALLS", B::inaccessible},
    {0x482E, "SINGLE_CHAN", B::action},
    {0x2C00, "BT_CLOCK", B::clock},
    {0x1001, "MEMORY", B::inaccessible},
    {0x1002, "BUFFER", B::inaccessible},
    {0x7003, "PS", B::ps},
    {0x5004, "RADIOTEST", B::action},
    {0x3005, "PSNEXT", B::ps_next},
    {0x3006, "PSSIZE", B::ps_size},
    {0x3007, "ADCRES", B::adc_result},
    {0x3008, "CRYPTKEYLEN", B::no_value},
    {0x3009, "PICONET_INSTANT", B::no_value},
    {0x300A, "GET_CLR_EVT", B::no_value},
    {0x300B, "GET_NEXT_BUILDDEF", B::no_value},
    {0x500C, "PSCLRS", B::ps_clear_stores},
};
static_assert(std::size(kVariables) == 57, "60 vocabulary names less two markers and one shared id");

// Each behaviour must agree with the access rule its id spells.
constexpr bool row_agrees(const ChipVariable& v) {
    const bool r = readable(v.id), w = writable(v.id), s = special(v.id);
    const unsigned words = value_words(v.id);
    switch (v.behaviour) {
    case B::inaccessible: return !r && !w;
    case B::state:
    case B::preserved: return r && w && !s && words > 0;
    case B::constant:
    case B::preserve_valid:
    case B::random: return r && !w && !s && words == 1;
    case B::clock: return r && !w && !s && words == 2;
    case B::action: return !r && w;
    case B::cold_reset:
    case B::warm_reset:
    case B::halt: return !r && w && !s && words == 0;
    case B::panic:
    case B::delayed_panic:
    case B::fault:
    case B::adc:
    case B::ps_clear: return !r && w && !s && words == 1;
    case B::adc_result:
    case B::ps_next:
    case B::ps_size:
    case B::no_value: return r && !w && s;
    case B::ps: return r && w && s;
    case B::ps_clear_stores: return !r && w && s;
    }
    return false;
}

constexpr bool table_agrees() {
    for (const auto& v : kVariables)
        if (!row_agrees(v)) return false;
    return true;
}
static_assert(table_agrees(), "a variable's behaviour contradicts the access bits of its id");

const ChipVariable* find_variable(uint16_t id) {
    const auto it = std::find_if(std::begin(kVariables), std::end(kVariables),
                                 [id](const ChipVariable& v) { return v.id == id; });
    return it == std::end(kVariables) ? nullptr : it;
}

bool kept(Behaviour b) { return b == B::state || b == B::preserved; }

void put_value(std::span<uint16_t> payload, uint32_t value, unsigned words) {
    if (words == 2) {
        payload[0] = static_cast<uint16_t>(value >> 16);
        payload[1] = static_cast<uint16_t>(value);
    } else if (words == 1) {
        payload[0] = static_cast<uint16_t>(value);
    }
}

uint32_t take_value(std::span<const uint16_t> payload, unsigned words) {
    if (words == 2) return uint32_t{payload[0]} << 16 | payload[1];
    return words == 1 ? payload[0] : 0;
}

std::vector<uint8_t> text_bytes(std::string_view text) { return {text.begin(), text.end()}; }

}  // namespace

ChipModel::ChipModel(std::shared_ptr<PsStore> ps, Outputs outputs, std::unique_ptr<StackModel> stack)
    : ps_(ps ? std::move(ps) : std::make_shared<PsStore>()), outputs_(std::move(outputs)), stack_(std::move(stack)),
      random_(std::random_device{}()) {
    restart(Restart::power_on);
}

void ChipModel::restart(Restart kind) {
    {
        std::lock_guard lock(mutex_);
        for (const Variable& v : kVariables) {
            if (v.behaviour == B::state || (v.behaviour == B::preserved && kind != Restart::warm))
                values_[v.id] = v.initial;
        }
        preserve_valid_ = kind == Restart::warm;
        started_ = std::chrono::steady_clock::now();
        adc_channel_.reset();
        hq_seq_ = 0;
        faults_reported_ = 0;
    }
    if (stack_) stack_->restart(kind);
}

void ChipModel::announce() {
    Effects effects;
    effects.messages.emplace_back(kChannelDebug, text_bytes(kStartupLine));
    emit(effects);
}

void ChipModel::panic(uint16_t code) {
    {
        std::lock_guard lock(mutex_);
        values_[kPanicArg] = code;  // survives the warm restart that follows
    }
    char line[80];
    std::snprintf(line, sizeof line, "Petrel simulator 0.1: panic 0x%04x, restarting", code);
    Effects effects;
    effects.messages.emplace_back(kChannelDebug, text_bytes(line));
    emit(effects);
}

void ChipModel::receive(uint8_t channel, std::span<const uint8_t> message) {
    Effects effects;
    switch (channel) {
    case kChannelPtcmd: {
        std::lock_guard lock(mutex_);
        const std::vector<uint16_t> answer = answer_ptcmd(message, effects);
        // The answer goes before whatever the request set off (a fault report).
        effects.messages.emplace(effects.messages.begin(), kChannelPtcmd, ptcmd_bytes(answer));
        break;
    }
    case kChannelVm:
        effects.messages.emplace_back(kChannelVm, std::vector<uint8_t>(message.begin(), message.end()));
        break;
    case kChannelDm:
    case kChannelL2cap:
    case kChannelRfcomm:
    case kChannelSdp:
        if (stack_) stack_->receive(channel, message, outputs_.send);
        break;
    default:
        break;  // HQ answers, debug text and other channels need no answer
    }
    emit(effects);
}

void ChipModel::emit(Effects& effects) {
    for (auto& [channel, bytes] : effects.messages)
        if (outputs_.send) outputs_.send(channel, std::move(bytes));
    if (effects.request && outputs_.request) outputs_.request(*effects.request);
}

// The GETRESP for one message: the request's words with the type, status and
// payload filled in, as long as the request (at least kMinWords).
std::vector<uint16_t> ChipModel::answer_ptcmd(std::span<const uint8_t> message, Effects& effects) {
    std::vector<uint16_t> words = ptcmd_words(message);
    const bool whole_words = message.size() % 2 == 0;
    const size_t given = words.size();
    const uint16_t type = given > kTypeWord ? words[kTypeWord] : 0xFFFF;
    if (words.size() < kMinWords) words.resize(kMinWords, 0);
    words[kTypeWord] = kGetResp;
    auto answer = [&](uint16_t status) {
        words[kLengthWord] = static_cast<uint16_t>(words.size());
        words[kStatusWord] = status;
        return std::move(words);  // each path ends here: the words are not needed again
    };
    // A message that is short, odd, or whose length word disagrees with it
    // cannot be trusted any further.
    if (given < kMinWords || !whole_words || words[kLengthWord] != given) return answer(kBadRequest);
    if (type != kGetReq && type != kSetReq) return answer(kBadRequest);

    const Variable* variable = find_variable(words[kVaridWord]);
    if (!variable) return answer(kNoSuchVariable);
    const uint16_t id = variable->id;
    if (!readable(id) && !writable(id)) return answer(kNoAccess);
    std::span<uint16_t> payload(words.begin() + kPayloadWord, words.end());
    if (type == kGetReq) {
        if (!readable(id)) return answer(kWriteOnly);
        return answer(get(*variable, payload));
    }
    if (!writable(id)) return answer(kReadOnly);
    return answer(set(*variable, payload, effects));
}

uint16_t ChipModel::get(const Variable& v, std::span<uint16_t> payload) {
    if (special(v.id)) return get_special(v, payload);
    uint32_t value = 0;
    switch (v.behaviour) {
    case B::constant: value = v.initial; break;
    case B::preserve_valid: value = preserve_valid_ ? 1 : 0; break;
    case B::random: value = static_cast<uint16_t>(random_()); break;
    case B::clock: value = bt_clock(); break;
    default: value = values_[v.id]; break;
    }
    put_value(payload, value, value_words(v.id));
    return kOk;
}

uint16_t ChipModel::set(const Variable& v, std::span<uint16_t> payload, Effects& effects) {
    if (special(v.id)) return set_special(v, payload);
    const uint32_t value = take_value(payload, value_words(v.id));
    switch (v.behaviour) {
    case B::cold_reset: effects.request = ChipRequest{ChipRequest::Kind::restart_cold}; break;
    case B::warm_reset: effects.request = ChipRequest{ChipRequest::Kind::restart_warm}; break;
    case B::halt: effects.request = ChipRequest{ChipRequest::Kind::halt}; break;
    case B::panic:
        effects.request = ChipRequest{ChipRequest::Kind::panic, static_cast<uint16_t>(value)};
        break;
    case B::delayed_panic:
        effects.request = ChipRequest{ChipRequest::Kind::panic, static_cast<uint16_t>(value), kDelayedPanicMs};
        break;
    case B::fault: {
        values_[kFaultArg] = value;
        ++faults_reported_;
        const uint16_t report[] = {kSetReq, 9, hq_seq_++, kHqVaridFault, kOk,
                                   static_cast<uint16_t>(value), faults_reported_, 0, 0};
        effects.messages.emplace_back(kChannelHq, ptcmd_bytes(report));
        break;
    }
    case B::adc: adc_channel_ = static_cast<uint16_t>(value); break;
    case B::ps_clear:
        if (!ps_->erase(static_cast<uint16_t>(value))) return kError;
        break;
    default:
        if (kept(v.behaviour)) values_[v.id] = value;
        break;  // actions without a simulated effect are accepted
    }
    return kOk;
}

uint16_t ChipModel::get_special(const Variable& v, std::span<uint16_t> payload) {
    // Every special payload has at least the four words of a minimal message.
    switch (v.behaviour) {
    case B::ps: {
        const std::optional<PsStore::Value> value = ps_->get(payload[0]);
        if (!value) return kNoValue;
        payload[1] = static_cast<uint16_t>(value->size());
        std::span<uint16_t> room = payload.subspan(3);
        const size_t copied = std::min(room.size(), value->size());
        std::copy_n(value->begin(), copied, room.begin());
        std::fill(room.begin() + static_cast<long>(copied), room.end(), 0);
        return copied < value->size() ? kTooBig : kOk;
    }
    case B::ps_next:
        payload[2] = ps_->next_key(payload[0]).value_or(0);
        return kOk;
    case B::ps_size: {
        const std::optional<PsStore::Value> value = ps_->get(payload[0]);
        payload[2] = value ? static_cast<uint16_t>(value->size()) : 0;
        return value ? kOk : kNoValue;
    }
    case B::adc_result:
        payload[0] = adc_channel_.value_or(0);
        payload[1] = adc_channel_ ? 1 : 0;
        payload[2] = adc_channel_ ? static_cast<uint16_t>(0x0100 + random_() % 0x100) : 0;
        return kOk;
    default: return kNoValue;
    }
}

uint16_t ChipModel::set_special(const Variable& v, std::span<uint16_t> payload) {
    switch (v.behaviour) {
    case B::ps: {
        const uint16_t key = payload[0], length = payload[1];
        if (key == 0 || length == 0 || length > payload.size() - 3) return kBadRequest;
        const auto data = payload.subspan(3, length);
        return ps_->set(key, {data.begin(), data.end()}) ? kOk : kError;
    }
    case B::ps_clear_stores: return ps_->erase(payload[0]) ? kOk : kError;
    default: return kOk;  // accepted (radio tests are not simulated)
    }
}

uint32_t ChipModel::bt_clock() const {
    const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - started_).count();
    // 3200 ticks a second is one tick every 312.5 microseconds.
    return static_cast<uint32_t>(elapsed * 2 / 625) & 0x0FFFFFFF;
}

}  // namespace kestrel::sim
