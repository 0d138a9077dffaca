// The simulated air that the chips of one simulator and the remote peer
// share: who can be found and paged, and frames between devices, delivered
// after the time they would take. Data frames occupy their direction of the
// link at the air's data rate (by default a BR/EDR link sending 5-slot
// packets: 339 bytes every 6 slots, 723.2 kbit/s) and all frames arrive
// after the air's latency, in the order they were sent.
//
// Threads: one timer thread delivers frames and runs timed actions, without
// the air's lock held; devices are held weakly, so one that has gone is
// skipped.
#pragma once

#include <array>
#include <chrono>
#include <span>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <queue>
#include <string>
#include <thread>
#include <vector>

#include "sim/stack_primitive.h"

namespace kestrel::sim {

// What one device sends another. Which fields mean what depends on the kind;
// the names follow the on-air protocols (L2CAP channel ids, RFCOMM server
// channels, SDP PDUs).
struct AirFrame {
    enum class Kind : uint8_t {
        acl_connect, acl_accept, acl_reject, acl_disconnect,
        sco_connect, sco_connect_rsp, sco_disconnect,
        pin_request, pin_reply, auth_done,
        l2_connect, l2_connect_rsp, l2_config, l2_config_rsp, l2_data, l2_disconnect, l2_disconnect_rsp,
        l2_echo, l2_echo_rsp, l2_info, l2_info_rsp, l2_connectionless,
        rfc_start, rfc_start_rsp, rfc_close, rfc_pn, rfc_pn_rsp, rfc_establish, rfc_establish_rsp,
        rfc_release, rfc_data, rfc_credit, rfc_msc, rfc_rls, rfc_rpn, rfc_rpn_rsp, rfc_test, rfc_test_rsp,
        rfc_fcon, rfc_fcoff, rfc_nsc,
        sdp_request, sdp_response,
        bnep_connect, bnep_connect_rsp, bnep_data, bnep_disconnect,
        tcp_open, tcp_open_rsp, tcp_data, tcp_close,
    };
    Kind kind{};
    BdAddr from{}, to{};
    uint16_t psm = 0;     // L2CAP PSM, info type
    uint16_t src = 0;     // the sender's channel id
    uint16_t dst = 0;     // the receiver's channel id
    uint16_t result = 0;  // responses; RFCOMM credits
    uint8_t chan = 0;     // RFCOMM server channel (0: the multiplexer)
    uint8_t identifier = 0;
    std::vector<uint8_t> data{};
};

// The link key that a pairing with `pin` (or a stored key) gives both ends.
std::array<uint8_t, 16> pairing_key(std::span<const uint8_t> pin, const BdAddr& a, const BdAddr& b);

struct DeviceInfo {
    BdAddr address;
    uint32_t dev_class = 0;
    std::string name;
    bool discoverable = false;  // inquiry scan
    bool connectable = false;   // page scan
    uint16_t clock_offset = 0;
};

class AirDevice {
public:
    virtual ~AirDevice() = default;
    virtual DeviceInfo info() const = 0;
    virtual void from_air(const AirFrame& frame) = 0;
};

struct AirSettings {
    // A DH5 packet carries 339 bytes in 5 slots and takes one more for the
    // other side's packet: 339 * 8 bits per 3.75 ms.
    static constexpr double kDh5BitsPerSecond = 339.0 * 8 / 0.00375;
    double rate = kDh5BitsPerSecond;  // bits per second of ACL data, per direction
    double latency_ms = 1.25;         // two slots
};

class Air {
public:
    using Clock = std::chrono::steady_clock;

    Air();
    ~Air();
    Air(const Air&) = delete;
    Air& operator=(const Air&) = delete;

    // A device keeps its address while it is on the air.
    void attach(const BdAddr& address, const std::shared_ptr<AirDevice>& device);

    // The discoverable devices other than `asking`, and the device at an
    // address (null when none, or gone).
    std::vector<DeviceInfo> inquire(const BdAddr& asking);
    std::shared_ptr<AirDevice> find(const BdAddr& address);
    // The next free address of a chip of this air.
    BdAddr next_chip_address();

    // Sends a frame; data frames (those with bytes to carry) occupy the link
    // of their direction. Answers when the frame has left the sender.
    Clock::time_point transmit(AirFrame frame);
    // Runs `action` on the air's thread at `when`.
    void at(Clock::time_point when, std::function<void()> action);

    AirSettings settings() const;
    void set_settings(const AirSettings& settings);

private:
    struct Job {
        Clock::time_point when;
        uint64_t order;
        std::function<void()> action;
        bool operator>(const Job& other) const { return when != other.when ? when > other.when : order > other.order; }
    };
    void run();

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<std::pair<BdAddr, std::weak_ptr<AirDevice>>> devices_;
    std::priority_queue<Job, std::vector<Job>, std::greater<>> jobs_;
    std::map<std::pair<BdAddr, BdAddr>, Clock::time_point> busy_until_;   // data on a direction
    std::map<std::pair<BdAddr, BdAddr>, Clock::time_point> last_arrival_; // order on a direction
    AirSettings settings_;
    uint64_t order_ = 0;
    uint32_t chips_ = 0;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace kestrel::sim
