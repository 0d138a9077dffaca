#include "sim/peer_payloads.h"

#include <algorithm>

namespace kestrel::sim {
namespace {

std::vector<uint8_t> payload(PayloadMode mode, uint32_t length, uint32_t& seed) {
    std::vector<uint8_t> block(length);
    fill_payload(block, static_cast<uint32_t>(mode), seed);
    return block;
}

}  // namespace

void PeerPayloads::set_source(uint32_t length, std::optional<uint64_t> count) {
    mode_ = Mode::source;
    length_ = length;
    count_ = count;
}

void PeerPayloads::reset_counts() {
    good_ = bad_ = sent_ = 0;
}

void PeerPayloads::restart(PayloadStream& stream) {
    stream.tx_seed = stream.rx_seed = 0;
}

void PeerPayloads::receive(PayloadStream& stream, std::span<const uint8_t> data) {
    if (mode_ == Mode::echo || data.empty()) return;
    const auto expected = payload(payload_mode_, static_cast<uint32_t>(data.size()), stream.rx_seed);
    if (std::equal(data.begin(), data.end(), expected.begin()))
        ++good_;
    else
        ++bad_;
}

bool PeerPayloads::may_source(const PayloadStream& stream) const {
    return mode_ == Mode::source && stream.in_flight < kInFlight && (!count_ || stream.sourced < *count_);
}

std::vector<uint8_t> PeerPayloads::source(PayloadStream& stream) {
    ++stream.sourced;
    auto block = payload(payload_mode_, length_, stream.tx_seed);
    outgoing(block);
    return block;
}

void PeerPayloads::outgoing(std::vector<uint8_t>& data) {
    if (data.empty()) return;
    ++sent_;
    if (corrupt_next_) {
        data[0] ^= 0x01;
        corrupt_next_ = false;
    }
}

std::string PeerPayloads::mode_text() const {
    switch (mode_) {
    case Mode::echo: return "echo";
    case Mode::sink: return "sink";
    case Mode::source: break;
    }
    return "source " + std::to_string(length_) + (count_ ? " " + std::to_string(*count_) : "");
}

std::string PeerPayloads::counts_text() const {
    const char* word = payload_mode_ == PayloadMode::seq8 ? "seq8" : payload_mode_ == PayloadMode::seq16 ? "seq16" : "random";
    return std::string("payload ") + word + " good " + std::to_string(good_) + " bad " + std::to_string(bad_) +
           " sent " + std::to_string(sent_);
}

std::optional<PayloadMode> payload_mode_of(std::string_view word) {
    if (word == "random") return PayloadMode::random;
    if (word == "seq8") return PayloadMode::seq8;
    if (word == "seq16") return PayloadMode::seq16;
    return std::nullopt;
}

}  // namespace kestrel::sim
