// The remote peer on the simulated air (device address 0x0002 0x5b
// 0xff0c67): a discoverable and connectable device that accepts ACLs,
// L2CAP channels on its echo service (PSM 0x1001) and on every PSM it has
// registered, and RFCOMM on server channel 1, offers an SDP record for a
// serial port on that channel, answers pings, and echoes every L2CAP and
// RFCOMM payload back, or sinks or sources payloads (peer_payloads.h). The
// control surface changes its behaviour.
//
// Threads: frames arrive on the air's thread, the control surface calls in
// from another; one lock guards the whole peer. Sourced frames go out a
// few at a time per channel, the next when one has left (a timed action of
// the air), so the air's queue stays short however long the source runs.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sim/air.h"
#include "sim/peer_payloads.h"

namespace kestrel::sim {

inline constexpr BdAddr kRemotePeerAddress{0xFF0C67, 0x5B, 0x0002};

class RemotePeer final : public AirDevice, public std::enable_shared_from_this<RemotePeer> {
public:
    struct Behaviour {
        bool refuse = false;        // refuses ACLs, channels and multiplexers
        std::optional<std::string> pin;  // asks for this PIN before an ACL
        bool silent = false;        // leaves L2CAP's connect and configure requests unanswered
        bool basic = false;         // RFCOMM without port negotiation, line status and test
    };

    explicit RemotePeer(Air& air);
    // Makes the peer and puts it on the air.
    static std::shared_ptr<RemotePeer> join(const std::shared_ptr<Air>& air);

    DeviceInfo info() const override;
    void from_air(const AirFrame& frame) override;

    Behaviour behaviour() const;
    void set_behaviour(const Behaviour& behaviour);
    void register_psm(uint16_t psm);

    // The payload words of the control surface, applied in this order:
    // reset, payload mode, data mode, corrupt.
    struct PayloadChange {
        bool reset = false;  // counts to zero, every channel's sequences back to 0
        std::optional<PayloadMode> payload{};
        std::optional<PeerPayloads::Mode> mode{};
        uint32_t source_length = 0;
        std::optional<uint64_t> source_count{};
        bool corrupt = false;
    };
    void change_payloads(const PayloadChange& change);
    PeerPayloads payloads() const;
    // "peer" words of the control surface: what the peer does, in words.
    std::string describe() const;

private:
    struct Channel {
        BdAddr device;
        uint16_t remote_cid;
        PayloadStream stream;
        bool answered = false;   // the chip's configuration
        bool confirmed = false;  // the peer's own configuration
    };
    struct Dlc {
        uint16_t credits = 0;  // frames the peer may send
        std::vector<std::vector<uint8_t>> waiting;
        PayloadStream stream;
    };
    Air::Clock::time_point send(AirFrame frame);
    void send_rfcomm_waiting(const BdAddr& device, uint8_t chan);
    // Sources what each channel may send now.
    void source_l2cap(uint16_t cid);
    void source_rfcomm(const BdAddr& device, uint8_t chan);
    void source_everywhere();
    // Runs `then` under the lock once a frame has left at `left`.
    void when_left(Air::Clock::time_point left, std::function<void(RemotePeer&)> then);

    Air& air_;
    mutable std::mutex mutex_;
    Behaviour behaviour_;
    PeerPayloads payloads_;
    std::set<uint16_t> psms_{0x0001, 0x0003, 0x1001};
    std::set<BdAddr> links_;
    std::set<BdAddr> paired_;
    std::set<BdAddr> awaiting_pin_;  // ACLs held until the PIN is right
    std::map<uint16_t, Channel> channels_;
    uint16_t next_cid_ = 0x40;
    std::map<std::pair<BdAddr, uint8_t>, Dlc> dlcs_;
    std::map<std::pair<BdAddr, uint8_t>, uint16_t> offered_credits_;  // from parameter negotiation
};

}  // namespace kestrel::sim
