// The RFCOMM throughput engine: paced by RFCOMM's own credits. It sends
// while the peer has granted credits, counts the credits that come back
// with the peer's data, and grants the peer more when those it holds run
// low. Its RFC_DATA_REQ primitives pass through the chip's flow control.
#include "decode/field_text.h"
#include "transfer/data_primitives.h"
#include "transfer/payload_generator.h"
#include "transfer/transfer_list.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

AttachedPrimitive data_request(const TransferKey& key, uint16_t credits) {
    const DataPrimitives& d = data_primitives();
    AttachedPrimitive primitive = new_primitive(*d.rfc_req);
    set_field(primitive, *d.req_mux_id, key.mux_id);
    set_field(primitive, *d.req_server_chan, key.server_chan);
    set_field(primitive, *d.req_credits, credits);
    return primitive;
}

}  // namespace

bool TransferList::send_rfcomm_payload(TransferRecord& record) {
    const DataPrimitives& d = data_primitives();
    auto payload = generator_.generate(record.payload_length, 0, &record.tx_seed, kPayloadUseCounter);
    if (!payload) return false;
    AttachedPrimitive primitive = data_request(record.key, 0);
    set_field(primitive, *d.req_payload_length, record.payload_length);
    set_field(primitive, *d.req_payload, primitive.attach(std::move(*payload)));
    port_.send_rfcomm(std::move(primitive));
    ++record.tx_count;
    record.tx_view = static_cast<int32_t>(record.tx_count);
    --record.tx_credits;
    return true;
}

void TransferList::send_rfcomm_grant(TransferRecord& record) {
    port_.send_rfcomm(data_request(record.key, record.rx_reissue_credits));
    record.rx_credits = static_cast<uint16_t>(record.rx_credits + record.rx_reissue_credits);
}

bool TransferList::receive_rfcomm(TransferRecord& record, const PrimitiveView& view) {
    const DataPrimitives& d = data_primitives();
    const auto payload = block_field_bytes(*d.ind_payload, view);
    if (!payload.empty()) {
        if (!accept_payload(record, payload, active_rfcomm_)) return false;
        --record.rx_credits;
    }
    record.tx_credits = static_cast<uint16_t>(record.tx_credits + field_value(view, *d.ind_credits));
    return true;
}

bool TransferList::drain_queued_rfcomm(TransferRecord& record) {
    const DataPrimitives& d = data_primitives();
    auto ours = [&](const PrimitiveView& view) {
        return view.scalar(FieldWidth::u16, 0) == d.rfc_ind->type &&
               field_value(view, *d.ind_mux_id) == record.key.mux_id &&
               field_value(view, *d.ind_server_chan) == record.key.server_chan;
    };
    while (auto queued = port_.take_queued(kChannelRfcomm, ours)) {
        const PrimitiveView view = PrimitiveView::record(queued->data(), static_cast<uint32_t>(queued->size()));
        if (!receive_rfcomm(record, view)) return false;
    }
    return true;
}

TransferEvent* TransferList::start_rfcomm(const RfcommStart& start) {
    std::lock_guard lock(mutex_);
    TransferRecord& record = prepare(TransferKey::dlc(start.mux_id, start.server_chan), start.timed, start.tx_target,
                                     start.rx_target, start.payload_length, start.period_ms);
    record.tx_credits = start.tx_credits;
    record.rx_credits = start.rx_credits;
    record.rx_reissue_threshold = start.rx_reissue_threshold;
    record.rx_reissue_credits = start.rx_reissue_credits;
    ++active_rfcomm_;

    // A timed test sends only while its transmit switch is on.
    const bool sends = record.timed ? record.tx_target != 0 : true;
    while (sends && record.tx_credits != 0 && (record.timed || record.tx_count != record.tx_target)) {
        if (!send_rfcomm_payload(record)) {
            abandon(record, active_rfcomm_);
            return nullptr;
        }
    }
    if (record.rx_target == 0) {
        if (record.tx_count == record.tx_target && !record.timed) finish(record, active_rfcomm_);
        return &record.done;
    }
    if (record.tx_target != 0) return &record.done;

    // Receive only: what already arrived counts, but the test is judged
    // complete only at its next RFC_DATA_IND.
    record.state = TransferState::receiving;
    if (!drain_queued_rfcomm(record)) return &record.done;
    if (record.rx_credits < record.rx_reissue_threshold) send_rfcomm_grant(record);
    return &record.done;
}

bool TransferList::offer_rfcomm(const AttachedPrimitive& primitive) {
    if (active_rfcomm_.load() == 0) return false;
    const DataPrimitives& d = data_primitives();
    if (primitive.type() != d.rfc_ind->type) return false;
    const PrimitiveView view = PrimitiveView::attached(primitive);
    const TransferKey key = TransferKey::dlc(static_cast<uint8_t>(field_value(view, *d.ind_mux_id)),
                                             static_cast<uint8_t>(field_value(view, *d.ind_server_chan)));

    std::lock_guard lock(mutex_);
    TransferRecord* found = find(key);
    if (!found || !found->running()) return false;
    TransferRecord& record = *found;
    if (record.state == TransferState::started) {
        record.state = TransferState::receiving;
        if (!drain_queued_rfcomm(record)) return true;
    }
    if (!receive_rfcomm(record, view)) return true;
    if (record.rx_credits < record.rx_reissue_threshold) send_rfcomm_grant(record);

    const bool sends = record.timed ? record.tx_target != 0 : true;
    while (record.stop == TransferStop::running && sends && record.tx_credits > 0 &&
           (record.timed || record.tx_count != record.tx_target)) {
        if (!send_rfcomm_payload(record)) {
            abandon(record, active_rfcomm_);
            return true;
        }
    }

    end_test(record, active_rfcomm_);
    return true;
}

}  // namespace kestrel
