// The L2CAP throughput engine: one L2CA_DATAWRITE_REQ in flight, the next
// sent from the receive thread as soon as the chip confirms the last, and
// every L2CA_DATAREAD_IND of the channel checked against the payload the
// other end should have sent.
#include <cstdio>

#include "decode/field_text.h"
#include "transfer/data_primitives.h"
#include "transfer/payload_generator.h"
#include "transfer/transfer_list.h"
#include "transport/channel.h"

namespace kestrel {

bool TransferList::send_l2cap_payload(TransferRecord& record) {
    const DataPrimitives& d = data_primitives();
    auto payload = generator_.generate(record.payload_length, 0, &record.tx_seed, kPayloadUseCounter);
    if (!payload) return false;
    AttachedPrimitive primitive = new_primitive(*d.write);
    set_field(primitive, *d.write_cid, record.key.cid);
    set_field(primitive, *d.write_length, record.payload_length);
    set_field(primitive, *d.write_data, primitive.attach(std::move(*payload)));
    port_.send_l2cap(std::move(primitive));
    ++record.tx_count;
    record.tx_view = static_cast<int32_t>(record.tx_count);
    return true;
}

bool TransferList::drain_queued_l2cap(TransferRecord& record) {
    const DataPrimitives& d = data_primitives();
    // Only this channel's data: anything else stops the drain and stays for
    // its reader.
    auto ours = [&](const PrimitiveView& view) {
        return view.scalar(FieldWidth::u16, 0) == d.read->type && field_value(view, *d.read_cid) == record.key.cid;
    };
    for (;;) {
        auto queued = port_.take_queued(kChannelL2cap, ours);
        if (!queued) return true;
        const PrimitiveView view = PrimitiveView::record(queued->data(), static_cast<uint32_t>(queued->size()));
        const auto data = block_field_bytes(*d.read_data, view);
        if (!data.empty() && !accept_payload(record, data, active_l2cap_)) return false;
    }
}

TransferEvent* TransferList::start_l2cap(const L2capStart& start) {
    std::lock_guard lock(mutex_);
    TransferRecord& record = prepare(TransferKey::l2cap(start.cid), start.timed, start.tx_target, start.rx_target,
                                     start.payload_length, start.period_ms);
    ++active_l2cap_;
    if (!record.timed && record.tx_target == 0 && record.rx_target == 0) {
        // Nothing to move: no event would ever come to end it.
        finish(record, active_l2cap_);
        return &record.done;
    }
    if (record.tx_target != 0) {
        if (!send_l2cap_payload(record)) {
            abandon(record, active_l2cap_);
            return nullptr;
        }
    } else if (record.rx_target != 0) {
        record.state = TransferState::receiving;
        if (!drain_queued_l2cap(record)) return &record.done;
    }
    return &record.done;
}

bool TransferList::offer_l2cap(const AttachedPrimitive& primitive) {
    if (active_l2cap_.load() == 0) return false;
    const DataPrimitives& d = data_primitives();
    const uint16_t type = primitive.type();
    const bool confirm = type == d.write_cfm->type;
    if (!confirm && type != d.read->type) return false;
    const PrimitiveView view = PrimitiveView::attached(primitive);
    const uint16_t cid = static_cast<uint16_t>(field_value(view, confirm ? *d.cfm_cid : *d.read_cid));

    std::lock_guard lock(mutex_);
    TransferRecord* found = find(TransferKey::l2cap(cid));
    if (!found || !found->running()) return false;
    TransferRecord& record = *found;
    if (record.state == TransferState::started) {
        record.state = TransferState::receiving;
        if (!drain_queued_l2cap(record)) return true;
    }

    if (!confirm) {
        const auto data = block_field_bytes(*d.read_data, view);
        if (!data.empty() && !accept_payload(record, data, active_l2cap_)) return true;
    } else {
        const uint32_t result = field_value(view, *d.cfm_result);
        if (result != 0) {
            char failure[48], which[48];
            std::snprintf(failure, sizeof failure, "\nError, DATAWRITE failure (%d)\n", static_cast<int>(result));
            std::snprintf(which, sizeof which, "\nPayload %d failed:\n", static_cast<int>(record.tx_count));
            fail(record, {failure, which, "", "", ""}, active_l2cap_);
            return true;
        }
        // A timed test sends for as long as its transmit switch is on.
        const bool more = record.timed ? record.tx_target != 0 : record.tx_count < record.tx_target;
        if (record.stop == TransferStop::running && more && !send_l2cap_payload(record)) {
            abandon(record, active_l2cap_);
            return true;
        }
    }

    end_test(record, active_l2cap_);
    return true;
}

}  // namespace kestrel
