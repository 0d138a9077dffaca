// The throughput tests of one connection: a record per transfer, kept for
// the connection's life and found by its key, and the engines that run them.
// An engine starts on the interpreter thread and then runs on the link's
// receive thread, answering each confirmation or credit with the next
// payload itself, so that the link stays busy without a round trip through
// the interpreter. One lock guards every record and the result texts; the
// RFCOMM flow control's own lock is taken inside it, never around it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "transfer/transfer_event.h"
#include "transport/attached_primitive.h"

namespace kestrel {

class PayloadGenerator;
class PrimitiveView;

// L2CAP transfers are keyed by their cid (mux_id and server_chan 0), RFCOMM
// transfers by mux_id and server_chan (cid 0).
struct TransferKey {
    bool rfcomm = false;
    uint8_t mux_id = 0;
    uint8_t server_chan = 0;
    uint16_t cid = 0;
    bool operator==(const TransferKey&) const = default;
    static TransferKey l2cap(uint16_t cid) { return {false, 0, 0, cid}; }
    static TransferKey dlc(uint8_t mux_id, uint8_t server_chan) { return {true, mux_id, server_chan, 0}; }
};

enum class TransferState : uint16_t { started = 1, receiving = 2, failed = 3, finished = 4 };
enum class TransferStop : uint16_t { running = 0, cancel_asked = 1, cancelled = 2 };

// The millisecond clock of the results: steady, 32 bits, wrapping.
uint32_t transfer_clock_ms();

struct TransferRecord {
    bool timed = false;
    TransferStop stop = TransferStop::running;
    TransferState state = TransferState::started;
    uint32_t rx_target = 0;  // payloads to receive, or the receive switch of a timed test
    uint32_t rx_count = 0;
    uint32_t rx_reported = 0;
    TransferKey key;
    uint32_t tx_target = 0;  // payloads to send, or the transmit switch of a timed test
    uint32_t tx_count = 0;
    uint32_t tx_reported = 0;
    uint16_t payload_length = 0;
    uint32_t start_time = 0;
    uint32_t report_time = 0;
    uint32_t end_time = 0;
    uint32_t period = 0;  // ms, timed tests
    // What the scripts' gTXcount and gRXcount variables read: the receive
    // thread writes them, Tcl reads them as plain integers.
    std::atomic<int32_t> tx_view{0};
    std::atomic<int32_t> rx_view{0};
    uint32_t rx_seed = 0;  // this transfer's own payload sequences
    uint32_t tx_seed = 0;
    // RFCOMM: credits the peer granted and we have not used, credits we
    // granted and the peer has not used, and when and how many to grant.
    uint16_t tx_credits = 0;
    uint16_t rx_credits = 0;
    uint16_t rx_reissue_threshold = 0;
    uint16_t rx_reissue_credits = 0;
    // A failed transfer's five-part report.
    std::array<std::string, 5> report;
    TransferEvent done;

    bool running() const {
        return (state == TransferState::started || state == TransferState::receiving) &&
               stop != TransferStop::cancelled;
    }
};

// The texts of a result: time, tx count, rx count, tx bytes, rx bytes, tx
// rate, rx rate, and for RFCOMM the two credit counts. A failed transfer
// holds its five-part report in the first five.
struct TransferResult {
    enum class Outcome { none, unknown_state, failed, running, finished };
    Outcome outcome = Outcome::none;
    bool rfcomm = false;
    std::array<std::string, 9> texts;
};

// The texts of a record at `now`; a running record's report point moves on.
TransferResult transfer_result(TransferRecord& record, uint32_t now);

// Where an engine's primitives go and come from: the link of the
// connection, or a test's stand-in.
class TransferPort {
public:
    virtual ~TransferPort() = default;
    // An L2CA_DATAWRITE_REQ, to the chip as a script's would go.
    virtual void send_l2cap(AttachedPrimitive primitive) = 0;
    // An RFC_DATA_REQ, through the RFCOMM flow control.
    virtual void send_rfcomm(AttachedPrimitive primitive) = 0;
    // The oldest unread record of the receive queue, taken when it is on
    // that channel and `wanted` says yes to it.
    virtual std::optional<std::vector<uint8_t>> take_queued(
        uint32_t channel, const std::function<bool(const PrimitiveView&)>& wanted) = 0;
};

struct L2capStart {
    uint16_t cid = 0;
    uint16_t payload_length = 0;
    uint32_t tx_target = 0;
    uint32_t rx_target = 0;
    bool timed = false;
    uint32_t period_ms = 0;
};

struct RfcommStart {
    uint8_t mux_id = 0;
    uint8_t server_chan = 0;
    uint16_t payload_length = 0;
    uint16_t tx_credits = 0;
    uint16_t rx_credits = 0;
    uint16_t rx_reissue_threshold = 0;
    uint16_t rx_reissue_credits = 0;
    uint32_t tx_target = 0;
    uint32_t rx_target = 0;
    bool timed = false;
    uint32_t period_ms = 0;
};

class TransferList {
public:
    TransferList(TransferPort& port, PayloadGenerator& generator);
    TransferList(const TransferList&) = delete;
    TransferList& operator=(const TransferList&) = delete;

    // Start a transfer (a new record, or the key's record reused). The
    // event signals its end; null when the first payload could not be made.
    TransferEvent* start_l2cap(const L2capStart& start);
    TransferEvent* start_rfcomm(const RfcommStart& start);

    // Receive thread: an L2CA_DATAWRITE_CFM or L2CA_DATAREAD_IND, or an
    // RFC_DATA_IND that is not a flow-control credit. True when a running
    // transfer took it; anything else goes on to the receive queue.
    bool offer_l2cap(const AttachedPrimitive& primitive);
    bool offer_rfcomm(const AttachedPrimitive& primitive);

    // Asks the matching transfer, or all of them, to stop; it stops at its
    // next event. Unknown keys are ignored.
    void cancel(const std::optional<TransferKey>& key);

    // The key's result; `none` when there is no such transfer.
    TransferResult result(const TransferKey& key);
    // Every transfer's result, newest first; stops after the first failed
    // one or one in an unknown state.
    std::vector<TransferResult> results();

    // The views of the key's counters, for linking to script variables;
    // null when there is no such transfer.
    std::atomic<int32_t>* tx_view(const TransferKey& key);
    std::atomic<int32_t>* rx_view(const TransferKey& key);

    // The script variables linked to the views, unlinked before the list
    // goes. Interpreter thread only.
    void remember_linked(std::string name) { linked_.push_back(std::move(name)); }
    const std::vector<std::string>& linked() const { return linked_; }

    int active_l2cap() const { return active_l2cap_.load(); }
    int active_rfcomm() const { return active_rfcomm_.load(); }

private:
    TransferRecord* find(const TransferKey& key);  // callers hold mutex_
    TransferRecord& prepare(const TransferKey& key, bool timed, uint32_t tx_target, uint32_t rx_target,
                            uint16_t payload_length, uint32_t period_ms);
    bool send_l2cap_payload(TransferRecord& record);
    bool send_rfcomm_payload(TransferRecord& record);
    void send_rfcomm_grant(TransferRecord& record);
    // Checks one received payload; on failure writes the report and ends
    // the transfer as failed. False on failure.
    bool accept_payload(TransferRecord& record, std::span<const uint8_t> data, std::atomic<int>& active);
    // Consumes the data primitives waiting at the head of the receive
    // queue for this transfer. False when one failed its check.
    bool drain_queued_l2cap(TransferRecord& record);
    bool drain_queued_rfcomm(TransferRecord& record);
    // One RFC_DATA_IND of the transfer: its payload checked, its credits
    // counted. False when the payload failed its check.
    bool receive_rfcomm(TransferRecord& record, const PrimitiveView& view);
    void fail(TransferRecord& record, std::array<std::string, 5> report, std::atomic<int>& active);
    void finish(TransferRecord& record, std::atomic<int>& active);
    // After each event: a cancel ends the transfer silently (nobody waits on
    // a cancelled one); a timed test ends when its period is over, a bulk
    // test when both its targets are reached.
    void end_test(TransferRecord& record, std::atomic<int>& active);
    // A payload could not be made: the transfer stops where it is, its
    // waiter woken, and takes nothing more.
    void abandon(TransferRecord& record, std::atomic<int>& active);

    TransferPort& port_;
    PayloadGenerator& generator_;
    std::mutex mutex_;
    std::list<TransferRecord> records_;  // newest first; a list, so records stay put
    std::atomic<int> active_l2cap_{0};
    std::atomic<int> active_rfcomm_{0};
    std::vector<std::string> linked_;
};

}  // namespace kestrel
