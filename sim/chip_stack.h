// The host stack running on the simulated chip: the device manager, L2CAP,
// RFCOMM, SDP and BNEP/TCP as a chip runs them, with the chip on the
// simulated air as a device that other chips and the remote peer reach.
// What the host sends is read by field name with the sent table; what the
// chip answers is built by field name with the received table.
//
// Each layer lives in its own file (device_manager.cpp, hci_rule.cpp,
// l2cap_layer.cpp, rfcomm_layer.cpp, sdp_layer.cpp, bnep_tcp.cpp); this class
// holds their state, which one mutex guards.
//
// Threads: the chip link's reader delivers the host's primitives; the air's
// thread delivers frames from other devices. Answers are queued under the
// state's lock and sent, in that order, after it is released (the link's
// send may wait on the chip's lock, which is held while the chip restarts).
#pragma once

#include <array>
#include <cstdint>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <tuple>
#include <string>
#include <vector>

#include "sim/air.h"
#include "sim/chip_model.h"
#include "sim/remote_peer.h"
#include "sim/stack_primitive.h"

namespace kestrel::sim {

class StackCore;

// The security manager's protocol ids.
inline constexpr uint32_t kProtocolL2cap = 0;
inline constexpr uint32_t kProtocolRfcomm = 1;

// The StackModel that a SimulatedChip's model holds; the core outlives it on
// the air only as long as frames for it are under way.
// The air and the remote peer that a simulator's chips share.
struct SimWorld {
    std::shared_ptr<Air> air;
    std::shared_ptr<RemotePeer> peer;
    static std::shared_ptr<SimWorld> make();
};

class ChipStack final : public StackModel {
public:
    explicit ChipStack(std::shared_ptr<SimWorld> world);
    ~ChipStack() override;
    void restart(Restart kind) override;
    void receive(uint8_t channel, std::span<const uint8_t> message, const Send& send) override;
    void stop() override;

    BdAddr address() const;
    const std::shared_ptr<SimWorld>& world() const { return world_; }

private:
    std::shared_ptr<SimWorld> world_;  // destroyed after the core, so the air's thread ends last
    std::shared_ptr<StackCore> core_;
};

class StackCore final : public AirDevice, public std::enable_shared_from_this<StackCore> {
public:
    StackCore(Air& air, BdAddr address);

    void restart();
    void receive(uint8_t channel, std::span<const uint8_t> message, const StackModel::Send& send);
    // Sends nothing more; waits for a send under way.
    void stop();
    DeviceInfo info() const override;
    void from_air(const AirFrame& frame) override;
    const BdAddr& address() const { return address_; }

    // The chip's settings under the stem that DM_HCI_WRITE_X and
    // DM_HCI_READ_X share (hci_rule.cpp).
    using Settings = std::map<std::string, std::map<std::string, uint32_t>, std::less<>>;
    static Settings initial_settings();

private:
    using Lock = std::unique_lock<std::mutex>;

    struct Acl {
        uint16_t handle;
        bool incoming;
        bool authenticated = false;
        bool encrypted = false;
    };
    struct L2Channel {
        BdAddr peer;
        uint16_t psm = 0;
        uint16_t phandle = 0;
        uint16_t remote_cid = 0;
        bool open = false;
        bool group = false;
        uint8_t unanswered = 0;  // requests to the other side still waiting (connect, configure)
        Air::Clock::time_point sending_until{};  // when the channel's last frame leaves the chip
        std::map<std::string, uint32_t, std::less<>> config;  // the host's last L2CA_CONFIG_REQ
    };
    struct Dlc {
        uint16_t remote_credits = 0;  // frames we may still send
        uint16_t max_frame = 127;
        bool open = false;
        std::deque<std::vector<uint8_t>> waiting;  // data held until the peer grants credits
    };
    struct Mux {
        BdAddr peer;
        bool open = false;
        bool initiator = false;
        std::map<uint8_t, Dlc> dlcs;
    };

    // Queues a primitive for the host; sent by flush() in queue order.
    void emit(const ChipPrimitive& primitive);
    void flush();
    // From this chip; answers when the frame has left it.
    Air::Clock::time_point send_air(AirFrame frame);

    // Device manager (device_manager.cpp, hci_rule.cpp).
    void on_dm(const HostPrimitive& p);
    bool answer_hci(const HostPrimitive& p);
    void dm_from_air(const AirFrame& frame);
    Acl* acl_by_handle(uint16_t handle);
    Acl& open_acl(const BdAddr& peer, bool incoming);
    void close_acl(BdAddr peer, uint8_t reason, bool tell_peer);  // by value: callers pass keys of acls_
    // Runs `then(true)` once an ACL to `peer` is up (paging it first), or
    // `then(false)` when the peer cannot be reached or refuses.
    void when_connected(const BdAddr& peer, std::function<void(bool)> then);
    void inquiry(const HostPrimitive& p);
    void authenticate(const BdAddr& peer, bool asked);
    // `key`: the new link key of a pairing by PIN, none when a stored key was used.
    void pairing_done(const BdAddr& peer, bool success, const std::optional<std::array<uint8_t, 16>>& key);
    // Runs `action` under the lock on the air's thread after `delay`, with
    // what the air knows of `peer` (looked up before the lock is taken).
    void later(std::chrono::milliseconds delay, std::function<void()> action);
    // The same at a point in time; an action of a chip that has restarted
    // since is dropped, as the chip has forgotten what it was for.
    void at(Air::Clock::time_point when, std::function<void()> action);
    void with_device(const BdAddr& peer, std::function<void(const std::optional<DeviceInfo>&)> action);
    uint16_t acl_phandle() const { return acl_phandle_ ? acl_phandle_ : dm_phandle_; }

    // L2CAP (l2cap_layer.cpp).
    void on_l2cap(const HostPrimitive& p);
    void l2cap_from_air(const AirFrame& frame);
    // Sends an L2CAP request that the other side must answer; without an
    // answer within the response time-out the host hears L2CA_TIMEOUT_IND.
    void send_l2cap_request(uint16_t cid, AirFrame frame);
    // BNEP and TCP (bnep_tcp.cpp).
    bool on_bnep_tcp(const HostPrimitive& p);
    void bnep_tcp_from_air(const AirFrame& frame);
    // RFCOMM (rfcomm_layer.cpp).
    void on_rfcomm(const HostPrimitive& p);
    void rfcomm_from_air(const AirFrame& frame);
    void rfcomm_send_waiting(uint8_t mux_id, uint8_t chan);
    void return_credit();
    // SDP (sdp_layer.cpp).
    void on_sdp(const HostPrimitive& p);
    void sdp_from_air(const AirFrame& frame);

    Air* const air_;
    const BdAddr address_;

    mutable std::mutex mutex_;  // everything below
    uint64_t generation_ = 0;   // of the chip's starts
    std::deque<std::pair<uint8_t, std::vector<uint8_t>>> outbox_;
    StackModel::Send send_;
    bool stopped_ = false;
    std::mutex flush_mutex_;  // keeps batches in queue order; never taken under mutex_

    // Device manager.
    uint16_t dm_phandle_ = 0;
    uint16_t acl_phandle_ = 0;
    uint16_t sco_phandle_ = 0;
    uint16_t sm_phandle_ = 0;
    Settings settings_;
    std::string local_name_;
    std::map<BdAddr, std::array<uint8_t, 16>> stored_keys_;  // the HCI store
    std::vector<uint32_t> iac_laps_;
    std::map<BdAddr, Acl> acls_;
    uint16_t next_handle_ = 1;
    std::map<uint16_t, BdAddr> scos_;
    // Controller-to-host flow control (DM_HC_TO_HOST_FLOW_CONTROL): while it
    // is on, the stack gives each received L2CAP packet's buffer back to the
    // controller and confirms the completed-packets report to this handle.
    std::optional<uint16_t> host_flow_phandle_;
    uint32_t sco_cbarg_ = 0;  // of DM_SCO_INCOMING_REGISTER_REQ
    struct ScoRequest {
        uint16_t phandle;
        uint32_t pv_cbarg;
    };
    std::map<BdAddr, std::deque<ScoRequest>> sco_requests_;
    std::map<uint16_t, BdAddr> sco_offered_;  // incoming, awaiting DM_SCO_CONNECT_RES
    uint8_t sec_mode_ = 1;
    std::map<BdAddr, std::array<uint8_t, 16>> sm_keys_;  // the security manager's devices
    struct Pairing {
        bool asked = false;  // by DM_SM_AUTHENTICATE_REQ: answered with its confirm
    };
    std::map<BdAddr, Pairing> pairings_;
    // Security levels registered with DM_SM_REGISTER_REQ, by protocol and
    // channel; incoming connections held until the host authorises them.
    std::map<std::pair<uint32_t, uint32_t>, uint16_t> sm_services_;
    std::map<std::tuple<BdAddr, uint32_t, uint32_t>, AirFrame> awaiting_authorisation_;
    // Whether an incoming connection needs the host's authorisation first;
    // if so it is asked and the frame held.
    bool held_for_authorisation(const AirFrame& frame, uint32_t protocol, uint32_t channel);
    bool authorised(const AirFrame& frame, uint32_t protocol, uint32_t channel) {
        return authorised_.count({frame.from, protocol, channel}) || !held_for_authorisation(frame, protocol, channel);
    }
    void from_air_authorised(const AirFrame& frame);  // goes on as if it had just arrived
    void refuse_unauthorised(const AirFrame& frame);
    std::set<std::tuple<BdAddr, uint32_t, uint32_t>> authorised_;  // for the frame being replayed
    std::map<BdAddr, std::vector<std::function<void(bool)>>> paging_;
    uint64_t inquiry_ = 0;  // the running inquiry's number; 0 when none runs
    uint64_t inquiries_ = 0;

    // L2CAP.
    std::map<uint16_t, uint16_t> l2_psms_;  // registered PSM -> phandle
    std::map<uint16_t, L2Channel> l2_channels_;
    uint16_t next_cid_ = 0x40;
    uint8_t next_identifier_ = 1;
    std::map<uint16_t, uint16_t> l2_connectionless_;  // PSM -> phandle
    std::map<BdAddr, std::deque<uint16_t>> pings_, infos_;  // the asking phandles, by peer

    // RFCOMM.
    uint16_t rfc_phandle_ = 0;
    uint16_t rfc_register_phandle_ = 0;
    std::vector<uint8_t> rfc_server_chans_;
    std::map<uint8_t, Mux> muxes_;
    uint8_t next_mux_ = 1;
    uint16_t credit_total_ = 0;  // running count of data primitives finished with
    uint16_t initial_credits_ = 7;

    // BNEP and TCP.
    uint16_t bnep_phandle_ = 0;
    uint16_t bnep_id_ = 0;  // the connection to the remote peer; 0 when none
    uint16_t tcp_phandle_ = 0;
    uint16_t next_tcp_ = 1;
    std::map<uint16_t, uint16_t> tcp_connections_;  // handle -> remote port

    // SDP.
    std::map<uint32_t, std::vector<uint8_t>> sdp_records_;
    std::map<uint16_t, BdAddr> sdp_searches_;  // open searches, by phandle
    std::map<BdAddr, std::deque<std::pair<uint16_t, uint8_t>>> sdp_waiting_;  // phandle and request PDU
    uint32_t next_record_ = 0x10000;
};

}  // namespace kestrel::sim
