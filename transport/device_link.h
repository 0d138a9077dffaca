// DeviceLink: one connection to a chip. It owns the message link (or, in
// raw mode, only the raw stream), the receive queue, the RFCOMM flow
// control, the per-family counters and its copy of the debug switches, and
// routes everything the chip sends.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "shell/debug_switches.h"
#include "transport/attached_primitive.h"
#include "transport/primitive_ring.h"
#include "transport/primitive_table.h"

namespace kestrel {

class ByteStream;
class MessageLink;
class PayloadGenerator;
class RfcommFlowControl;
class TransferList;

// The link's counters, in its own order (HQ before DEBUG).
enum LinkCounter : uint8_t {
    kLinkL2capIssued, kLinkDmIssued, kLinkSdpIssued, kLinkRfcommIssued, kLinkBnepIssued, kLinkTcpIssued,
    kLinkVmIssued, kLinkPtcmdIssued, kLinkAclIssued, kLinkHciIssued,
    kLinkL2capReceived, kLinkDmReceived, kLinkSdpReceived, kLinkRfcommReceived, kLinkBnepReceived,
    kLinkTcpReceived, kLinkVmReceived, kLinkPtcmdReceived, kLinkAclReceived, kLinkHciReceived,
    kLinkHqReceived, kLinkDebugReceived,
    kLinkCounterCount
};

enum class ChipProtocol { ptsp = 1, h4 = 2, usb = 3, raw = 4 };

class DeviceLink {
public:
    // The generator makes and checks the throughput tests' payloads.
    explicit DeviceLink(PayloadGenerator& generator);
    ~DeviceLink();
    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    // Opens the device and starts the link. 0 on success, 1 on failure, the
    // reason printed on the console. shared_ring: the TCI link's queue, when
    // one is up.
    int connect(const std::string& device, int32_t baud, ChipProtocol protocol,
                std::shared_ptr<PrimitiveRing> shared_ring);

    void copy_switches(const DebugSwitches& switches);
    LinkDebugSwitches& switches() { return switches_; }

    // Send paths, on the interpreter thread. Ownership passes to the link.
    void send_stack_message(uint32_t channel, LinkCounter counter, std::vector<uint8_t> message);
    // A built stack primitive of the row's family: counted, then sent (RFCOMM
    // data through the flow control).
    void send_primitive(const PrimitiveDef& row, AttachedPrimitive primitive);
    void send_rfcomm(AttachedPrimitive primitive, uint32_t size);
    void send_ptcmd(std::span<const uint32_t> array);
    void send_vm(std::vector<uint8_t> message);

    bool raw_open() const { return raw_stream_ != nullptr; }
    // Writes the bytes to the raw port; the number written.
    size_t write_raw(std::span<const uint8_t> bytes);

    PrimitiveRing* ring() { return ring_.get(); }
    std::shared_ptr<PrimitiveRing> shared_ring() { return ring_; }
    RfcommFlowControl* flow_control() { return flow_control_.get(); }
    // The throughput tests of this connection.
    TransferList& transfers() { return *transfers_; }
    uint32_t counter(LinkCounter c) const { return counters_[c].load(); }

private:
    int connect_raw(const std::string& device, int32_t baud);
    void on_message(uint8_t channel, std::span<const uint8_t> message);
    void on_stack_primitive(uint32_t channel, std::span<const uint8_t> message);
    void deliver(uint32_t channel, const AttachedPrimitive& primitive);
    void trace_raw(bool downstream, uint8_t channel, std::span<const uint8_t> bytes);
    void count(LinkCounter c) { counters_[c].fetch_add(1, std::memory_order_relaxed); }
    class TransferSide;

    std::shared_ptr<PrimitiveRing> ring_;
    std::unique_ptr<RfcommFlowControl> flow_control_;
    // Declared before the link, so the reader that runs the engines has
    // stopped before they go.
    std::unique_ptr<TransferSide> transfer_side_;
    std::unique_ptr<TransferList> transfers_;
    LinkDebugSwitches switches_{};
    std::unique_ptr<ByteStream> raw_stream_;
    std::unique_ptr<MessageLink> link_;
    std::array<std::atomic<uint32_t>, kLinkCounterCount> counters_{};
};

}  // namespace kestrel
