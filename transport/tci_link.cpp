#include "transport/tci_link.h"

#include <algorithm>

#include "decode/tci_decoder.h"
#include "decode/tci_received_primitives.h"
#include "shell/output.h"
#include "transport/channel.h"
#include "transport/platform/h4_stack.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

constexpr uint32_t kRingCapacity = 32768;
constexpr uint32_t kRingTimeoutSeconds = 60000;
constexpr unsigned kReadyTimeoutMs = 10000;

// The op codes whose parameters point to data that travels behind them.
constexpr uint16_t kDisableClt = 0xF804;
constexpr uint16_t kEnableClt = 0xF805;
constexpr uint16_t kGroupMembership = 0xF80A;
constexpr uint16_t kPing = 0xF80D;
constexpr uint16_t kGetInfo = 0xF80E;

// The longest packet that its length field can describe.
constexpr size_t kMaxCommand = 3 + 255;
constexpr size_t kMaxEvent = 2 + 255;
constexpr size_t kMaxAcl = 4 + 65535;

bool known_command(uint16_t op) {
    return (op >= 0xF801 && op <= 0xF80E) || (op >= 0xF811 && op <= 0xF813) || op == 0x0C03 || op == 0x0405 ||
           op == 0x0C1A;
}

bool known_complete(uint16_t op) {
    return (op >= 0xF801 && op <= 0xF80E) || op == 0xF811 || op == 0xF813 || op == 0x0C03 || op == 0x0C1A ||
           op == 0x0C3A;
}

// The fixed bytes up to keep, then count bytes of the block that the
// pointer field at pointer names; a block shorter than count is padded with
// zeros, so that nothing beyond it is read.
std::vector<uint8_t> flatten(const AttachedPrimitive& primitive, size_t keep, uint16_t pointer, size_t count) {
    std::vector<uint8_t> packet(primitive.bytes.begin(), primitive.bytes.begin() + std::min(keep, primitive.bytes.size()));
    packet.resize(keep, 0);
    const std::span<const uint8_t> block = primitive.block_at(pointer);
    packet.insert(packet.end(), block.begin(), block.begin() + std::min(count, block.size()));
    packet.resize(keep + count, 0);
    return packet;
}

// Frees nothing (the buffers are owned by the vectors); reports a packet
// that did not leave whole.
void on_transfer_done(bool success, const void* buffer) {
    if (!success)
        output_printf("ERROR, primitive 0x%08lx has failed to be transfered successfully\n",
                      static_cast<unsigned long>(reinterpret_cast<uintptr_t>(buffer)));
}

}  // namespace

TciLink::TciLink() = default;

TciLink::~TciLink() {
    if (h4_) h4_->stop();
    // A queue shared with the chip link stays with the chip link.
    if (ring_ && ring_.use_count() == 1) ring_->abandon();
}

bool TciLink::connect(const std::string& device, unsigned baud, std::shared_ptr<PrimitiveRing> shared_ring) {
    h4_ = std::make_unique<H4Stack>();
    h4_->start(device, baud);
    // The queue and the handlers are in place before the first packet can
    // arrive; a link that never became ready lets go of them again.
    ring_ = shared_ring ? std::move(shared_ring) : std::make_shared<PrimitiveRing>(kRingCapacity, kRingTimeoutSeconds);
    h4_->setup_receive_command([this](std::span<const uint8_t> p) { on_command(p); });
    h4_->setup_receive_event([this](std::span<const uint8_t> p) { on_event(p); });
    h4_->setup_receive_acl([this](std::span<const uint8_t> p) { on_acl(p); });
    h4_->setup_receive_sco([](std::span<const uint8_t>) { output_write("WARNING, SCO Data received, discarding data\n"); });
    h4_->setup_damaged(
        [](uint8_t byte) { output_printf("Error, unknown H4 packet type 0x%02x, resynchronising\n", byte); });
    if (!h4_->ready(kReadyTimeoutMs)) {
        h4_->stop();
        ring_.reset();
        return false;
    }
    return true;
}

std::vector<uint8_t> TciLink::command_packet(uint16_t op_code, const AttachedPrimitive& command) {
    std::vector<uint8_t> packet = command.bytes;
    packet.resize(std::max<size_t>(packet.size(), 3), 0);
    put_le16(packet.data(), op_code);
    packet[2] = static_cast<uint8_t>(packet.size() - 3);
    if (op_code == kDisableClt || op_code == kEnableClt) {
        const uint16_t count = get_le16(packet.data() + 3);
        packet = flatten(command, 5, 5, count * 2u);
        put_le16(packet.data(), op_code);
        packet[2] = static_cast<uint8_t>(count * 2 + 2);
    } else if (op_code == kPing) {
        const uint16_t length = get_le16(packet.data() + 11);
        packet = flatten(command, 13, 13, length);
        put_le16(packet.data(), op_code);
        packet[2] = static_cast<uint8_t>(length + 10);
    }
    return packet;
}

std::vector<uint8_t> TciLink::event_packet(uint16_t code, const AttachedPrimitive& event) {
    std::vector<uint8_t> packet = event.bytes;
    packet.resize(std::max<size_t>(packet.size(), 2), 0);
    packet[1] = static_cast<uint8_t>(packet.size() - 2);
    if ((code & 0xFC00) == 0) {
        packet[0] = code == kTciCommandCompleteCode ? kTciCommandCompleteCode : kTciEventCode;
        return packet;
    }
    // A command complete for the op code, which replaces the script's.
    packet.resize(std::max<size_t>(packet.size(), 5), 0);
    packet[0] = kTciCommandCompleteCode;
    put_le16(packet.data() + 3, code);
    if (code == kGroupMembership || code == kPing || code == kGetInfo) {
        const uint16_t count = get_le16(packet.data() + 7);
        // Get-info data replaces the size field; the others follow it.
        const size_t keep = code == kGetInfo ? 7 : 9;
        const size_t bytes = code == kGroupMembership ? count * 8u : count;
        packet = flatten(event, keep, 9, bytes);
        packet[0] = kTciCommandCompleteCode;
        put_le16(packet.data() + 3, code);
        packet[1] = static_cast<uint8_t>(keep - 2 + bytes);
    }
    return packet;
}

std::vector<uint8_t> TciLink::acl_packet(const AttachedPrimitive& acl) {
    const uint16_t length = acl.bytes.size() >= 4 ? get_le16(acl.bytes.data() + 2) : 0;
    std::vector<uint8_t> packet = flatten(acl, 4, 4, length);
    return packet;
}

void TciLink::send_command(uint16_t op_code, const AttachedPrimitive& command) {
    const std::vector<uint8_t> packet = command_packet(op_code, command);
    if (packet.size() > kMaxCommand) return on_transfer_done(false, packet.data());
    h4_->send_command(packet, [&](bool success) { on_transfer_done(success, packet.data()); });
}

void TciLink::send_event(uint16_t code, const AttachedPrimitive& event) {
    const std::vector<uint8_t> packet = event_packet(code, event);
    if (packet.size() > kMaxEvent) return on_transfer_done(false, packet.data());
    h4_->send_event(packet, [&](bool success) { on_transfer_done(success, packet.data()); });
}

void TciLink::send_acl(const AttachedPrimitive& acl) {
    const std::vector<uint8_t> packet = acl_packet(acl);
    if (packet.size() > kMaxAcl) return on_transfer_done(false, packet.data());
    h4_->send_acl(packet, [&](bool success) { on_transfer_done(success, packet.data()); });
}

void TciLink::on_command(std::span<const uint8_t> packet) {
    if (packet.size() < 3) {
        output_write("ERROR, bad TCI command length detected, discarding data\n");
        return;
    }
    const uint16_t op = get_le16(packet.data());
    const PrimitiveDef* row = known_command(op) ? find_tci_command(op) : nullptr;
    if (!row) {
        output_write("ERROR, Unexpected Hci command received, discarding primitive\n");
        return;
    }
    trace_tci_received(*row, true, packet);
    ring_->push(kChannelTciCommand, packet);
}

void TciLink::on_event(std::span<const uint8_t> packet) {
    if (packet.size() < 2) {
        output_write("ERROR, bad TCI event length detected, discarding data\n");
        return;
    }
    const PrimitiveDef* row = nullptr;
    if (packet[0] == kTciEventCode) {
        const uint8_t id = packet.size() > 2 ? packet[2] : 0;
        row = find_tci_indication(id);
        if (!row) {
            output_printf("ERROR, Unexpected TCI event_id encountered: %d, discarding event\n", id);
            return;
        }
    } else if (packet[0] == kTciCommandCompleteCode) {
        const uint16_t op = packet.size() >= 5 ? get_le16(packet.data() + 3) : 0;
        row = known_complete(op) ? find_tci_complete(op) : nullptr;
        if (!row) {
            output_printf("ERROR, Unexpected Hci COMMAND COMPLETE command_op_code encountered: %d, discarding event\n",
                          op);
            return;
        }
    } else {
        output_printf("ERROR, Unexpected Hci event_code encountered: %d, discarding event\n", packet[0]);
        return;
    }
    trace_tci_received(*row, false, packet);
    ring_->push(kChannelTci, packet);
}

void TciLink::on_acl(std::span<const uint8_t> packet) {
    const uint16_t handle = packet.size() >= 2 ? get_le16(packet.data()) : 0;
    if (handle != 1) output_printf("WARNING, ACL Data received, with unexpected handle (%d), discarding data\n", handle);
    // Queued all the same, whatever the warning says.
    trace_tci_acl(packet);
    ring_->push(kChannelAcl, packet);
}

}  // namespace kestrel
