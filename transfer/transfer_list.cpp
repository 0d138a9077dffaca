#include "transfer/transfer_list.h"

#include <chrono>
#include <cstdio>

#include "decode/byte_block_text.h"
#include "decode/field_text.h"
#include "transfer/payload_generator.h"

namespace kestrel {
namespace {

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

std::string number(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    return text;
}

// Thousands of bytes per second, as the results have always given them.
std::string rate(double bytes, uint32_t elapsed_ms) {
    if (bytes == 0 || elapsed_ms == 0) return "0.00";
    return format("%0.2f", bytes / (elapsed_ms * 0.001) * 0.001);
}

}  // namespace

uint32_t transfer_clock_ms() {
    using namespace std::chrono;
    return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

TransferResult transfer_result(TransferRecord& record, uint32_t now) {
    TransferResult result;
    result.rfcomm = record.key.rfcomm;
    auto& t = result.texts;
    const double length = record.payload_length;
    switch (record.state) {
    case TransferState::failed:
        result.outcome = TransferResult::Outcome::failed;
        for (size_t i = 0; i < record.report.size(); ++i) t[i] = record.report[i];
        return result;
    case TransferState::finished: {
        result.outcome = TransferResult::Outcome::finished;
        const uint32_t elapsed = record.end_time - record.start_time;
        t[0] = format("%0.2f", elapsed * 0.001);
        t[1] = number(record.tx_count);
        t[2] = number(record.rx_count);
        t[3] = number(record.payload_length * record.tx_count);
        t[4] = number(record.payload_length * record.rx_count);
        // A bulk test's rates count what it set out to move.
        const uint32_t tx = record.timed ? record.tx_count : record.tx_target;
        const uint32_t rx = record.timed ? record.rx_count : record.rx_target;
        t[5] = rate(length * tx, elapsed);
        t[6] = rate(length * rx, elapsed);
        break;
    }
    case TransferState::receiving: {
        // Each poll reports the rates since the poll before.
        result.outcome = TransferResult::Outcome::running;
        const uint32_t interval = now - record.report_time;
        t[0] = format("%0.2f", interval * 0.001);
        t[1] = number(record.tx_count);
        t[2] = number(record.rx_count);
        t[3] = number(record.payload_length * record.tx_count);
        t[4] = number(record.payload_length * record.rx_count);
        t[5] = rate(length * (record.tx_count - record.tx_reported), interval);
        t[6] = rate(length * (record.rx_count - record.rx_reported), interval);
        record.report_time = now;
        record.tx_reported = record.tx_count;
        record.rx_reported = record.rx_count;
        break;
    }
    default: result.outcome = TransferResult::Outcome::unknown_state; return result;
    }
    if (result.rfcomm) {
        t[7] = number(record.tx_credits);
        t[8] = number(record.rx_credits);
    }
    return result;
}

TransferList::TransferList(TransferPort& port, PayloadGenerator& generator) : port_(port), generator_(generator) {}

TransferRecord* TransferList::find(const TransferKey& key) {
    for (TransferRecord& record : records_)
        if (record.key == key) return &record;
    return nullptr;
}

TransferRecord& TransferList::prepare(const TransferKey& key, bool timed, uint32_t tx_target, uint32_t rx_target,
                                      uint16_t payload_length, uint32_t period_ms) {
    TransferRecord* record = find(key);
    if (!record) {
        record = &records_.emplace_front();
        record->key = key;
    }
    record->done.reset();
    record->timed = timed;
    record->stop = TransferStop::running;
    record->state = TransferState::started;
    record->tx_target = tx_target;
    record->rx_target = rx_target;
    record->payload_length = payload_length;
    record->period = period_ms;
    record->tx_count = record->rx_count = 0;
    record->tx_reported = record->rx_reported = 0;
    record->tx_seed = record->rx_seed = 0;
    record->tx_view = 0;
    record->rx_view = 0;
    record->start_time = record->report_time = transfer_clock_ms();
    record->end_time = 0;
    for (std::string& text : record->report) text.clear();
    return *record;
}

bool TransferList::accept_payload(TransferRecord& record, std::span<const uint8_t> data, std::atomic<int>& active) {
    const PayloadCheck check =
        generator_.check(data.data(), static_cast<uint32_t>(data.size()), 0, &record.rx_seed, kPayloadUseCounter);
    if (check.pass) {
        ++record.rx_count;
        record.rx_view = static_cast<int32_t>(record.rx_count);
        return true;
    }
    char heading[128], numbered[48];
    std::snprintf(heading, sizeof heading, "\nError, Payload validation failure (%d [%d] errors, first at offset %d)\n",
                  static_cast<int>(check.bad_bytes), static_cast<int>(check.bad_bits), static_cast<int>(check.first_bad));
    std::snprintf(numbered, sizeof numbered, "\nPayload %d expecting:\n", static_cast<int>(record.rx_count + 1));
    fail(record, {heading, numbered, byte_block_text(check.expected), "\n\nPayload got:\n", byte_block_text(data)},
         active);
    return false;
}

void TransferList::fail(TransferRecord& record, std::array<std::string, 5> report, std::atomic<int>& active) {
    record.report = std::move(report);
    record.state = TransferState::failed;
    record.end_time = transfer_clock_ms();
    --active;
    record.done.signal();
}

void TransferList::finish(TransferRecord& record, std::atomic<int>& active) {
    record.state = TransferState::finished;
    record.end_time = transfer_clock_ms();
    --active;
    record.done.signal();
}

void TransferList::end_test(TransferRecord& record, std::atomic<int>& active) {
    if (record.stop == TransferStop::cancel_asked) {
        record.stop = TransferStop::cancelled;
        --active;
    } else if (record.timed ? transfer_clock_ms() - record.start_time >= record.period
                            : record.tx_count == record.tx_target && record.rx_count == record.rx_target) {
        finish(record, active);
    }
}

void TransferList::abandon(TransferRecord& record, std::atomic<int>& active) {
    record.stop = TransferStop::cancelled;
    --active;
    record.done.signal();
}

void TransferList::cancel(const std::optional<TransferKey>& key) {
    std::lock_guard lock(mutex_);
    for (TransferRecord& record : records_)
        if ((!key || record.key == *key) && record.stop == TransferStop::running)
            record.stop = TransferStop::cancel_asked;
}

TransferResult TransferList::result(const TransferKey& key) {
    std::lock_guard lock(mutex_);
    TransferRecord* record = find(key);
    if (!record) return {};
    return transfer_result(*record, transfer_clock_ms());
}

std::vector<TransferResult> TransferList::results() {
    std::lock_guard lock(mutex_);
    std::vector<TransferResult> all;
    const uint32_t now = transfer_clock_ms();
    for (TransferRecord& record : records_) {
        all.push_back(transfer_result(record, now));
        const auto outcome = all.back().outcome;
        if (outcome == TransferResult::Outcome::failed || outcome == TransferResult::Outcome::unknown_state) break;
    }
    return all;
}

std::atomic<int32_t>* TransferList::tx_view(const TransferKey& key) {
    std::lock_guard lock(mutex_);
    TransferRecord* record = find(key);
    return record ? &record->tx_view : nullptr;
}

std::atomic<int32_t>* TransferList::rx_view(const TransferKey& key) {
    std::lock_guard lock(mutex_);
    TransferRecord* record = find(key);
    return record ? &record->rx_view : nullptr;
}

}  // namespace kestrel
