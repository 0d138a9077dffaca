#include "transport/device_link.h"

#include <cctype>

#include "decode/hex_dump.h"
#include "decode/pretty_printer.h"
#include "decode/primitive_trace.h"
#include "decode/received_primitives.h"
#include "transfer/data_primitives.h"
#include "shell/output.h"
#include "shell/trace_printer.h"
#include "transfer/rfcomm_flow_control.h"
#include "transfer/transfer_list.h"
#include "transport/channel.h"
#include "transport/platform/byte_stream.h"
#include "transport/platform/message_codec.h"
#include "transport/platform/message_link.h"
#include "transport/platform/usb_stream.h"
#include "transport/platform/wire_channel.h"

namespace kestrel {
namespace {

constexpr uint32_t kRingCapacity = 32768;
constexpr uint32_t kRingTimeoutSeconds = 60000;
constexpr unsigned kReadyTimeoutMs = 10000;

struct Family {
    uint32_t channel;
    LinkCounter received;
    const char* unrecognised;
};

constexpr Family kFamilies[] = {
    {kChannelDm, kLinkDmReceived, "Error, unrecognised dm primitive\n"},
    {kChannelL2cap, kLinkL2capReceived, "Error, unrecognised l2cap primitive\n"},
    {kChannelRfcomm, kLinkRfcommReceived, "Error, unrecognised rfcomm primitive\n"},
    {kChannelSdp, kLinkSdpReceived, "Error, unrecognised sdp primitive\n"},
};

const Family* family_of(uint32_t channel) {
    for (const Family& f : kFamilies)
        if (f.channel == channel) return &f;
    return nullptr;
}

std::vector<uint8_t> long_bytes(std::span<const uint32_t> words) {
    std::vector<uint8_t> bytes(words.size() * 4);
    for (size_t i = 0; i < words.size(); ++i) put_le32(bytes.data() + 4 * i, words[i]);
    return bytes;
}

// Protocol usb: the device name's fifth or seventh character tells libusb
// from the kernel's HCI user channel.
std::unique_ptr<ByteStream> usb_stream(const std::string& device, std::string& error) {
    if (is_usb_device_name(device)) return make_usb_stream(device, error);
    if (is_hci_user_channel_name(device)) return make_hci_user_channel_stream(device, error);
    return nullptr;
}

}  // namespace

// What the throughput engines send and take through this link.
class DeviceLink::TransferSide final : public TransferPort {
public:
    explicit TransferSide(DeviceLink& link) : link_(link) {}
    void send_l2cap(AttachedPrimitive primitive) override {
        const PrimitiveDef& row = *data_primitives().write;
        print_sent_primitive(link_.switches_, row, primitive);
        link_.send_primitive(row, std::move(primitive));
    }
    void send_rfcomm(AttachedPrimitive primitive) override {
        const PrimitiveDef& row = *data_primitives().rfc_req;
        print_sent_primitive(link_.switches_, row, primitive);
        link_.send_rfcomm(std::move(primitive), row.size);
    }
    std::optional<std::vector<uint8_t>> take_queued(uint32_t channel,
                                                    const std::function<bool(const PrimitiveView&)>& wanted) override {
        if (!link_.ring_) return std::nullopt;
        return link_.ring_->take_oldest_if(channel, [&](const uint8_t* primitive, uint32_t size) {
            return wanted(PrimitiveView::record(primitive, size));
        });
    }

private:
    DeviceLink& link_;
};

DeviceLink::DeviceLink(PayloadGenerator& generator)
    : transfer_side_(std::make_unique<TransferSide>(*this)),
      transfers_(std::make_unique<TransferList>(*transfer_side_, generator)) {}

DeviceLink::~DeviceLink() {
    // The reader goes first, so that nothing arrives into a queue that is
    // going away; a take still waiting on the queue is woken.
    if (link_) link_->stop();
    // A queue shared with the TCI link stays with the TCI link.
    if (ring_ && ring_.use_count() == 1) ring_->abandon();
}

void DeviceLink::copy_switches(const DebugSwitches& switches) {
    for (size_t i = 0; i < switches.size(); ++i) switches_[i].store(switches[i]);
}

int DeviceLink::connect(const std::string& device, int32_t baud, ChipProtocol protocol,
                        std::shared_ptr<PrimitiveRing> shared_ring) {
    if (protocol == ChipProtocol::raw) return connect_raw(device, baud);

    std::string error;
    std::unique_ptr<ByteStream> stream;
    LinkProtocol framing = LinkProtocol::h4;
    if (protocol == ChipProtocol::usb) {
        stream = usb_stream(device, error);
        if (!stream && error.empty()) {
            output_printf("Bad device name '%s', failing connection\n", device.c_str());
            return 1;
        }
    } else {
        LineSettings settings;
        settings.baud = static_cast<unsigned>(baud);
        if (protocol == ChipProtocol::ptsp) {
            settings.parity = LineSettings::Parity::even;
            framing = LinkProtocol::ptsp;
        } else {
            settings.rts_cts = true;
        }
        stream = make_byte_stream(device, settings, error);
    }
    if (!stream) {
        output_write("Failed to initialize transport object\n");
        return 1;
    }

    // The queue and the flow control exist before the first message can
    // arrive.
    if (shared_ring)
        ring_ = std::move(shared_ring);
    else
        ring_ = std::make_shared<PrimitiveRing>(kRingCapacity, kRingTimeoutSeconds);
    flow_control_ = std::make_unique<RfcommFlowControl>(
        static_cast<RfcommFlowControl::Transport>(protocol),
        [this](AttachedPrimitive&& primitive) {
            auto message = encode_stack_message(primitive);
            trace_raw(true, kChannelRfcomm, message);
            link_->send(kChannelRfcomm, message);
        },
        [this](const AttachedPrimitive& primitive) { ring_->push(kChannelRfcomm, primitive); });

    link_ = std::make_unique<MessageLink>(
        std::move(stream), framing, LinkRole::host,
        MessageLink::Handlers{
            [this](uint8_t channel, std::span<const uint8_t> message) { on_message(channel, message); },
            [] { output_write("Warning, the chip has reset; the link is being established again\n"); },
            [](uint8_t byte) { output_printf("Error, unknown H4 packet type 0x%02x, resynchronising\n", byte); },
        });
    if (!link_->start(kReadyTimeoutMs, error)) {
        output_write("Transport is not ready\n");
        link_->stop();
        link_.reset();
        return 1;
    }
    return 0;
}

int DeviceLink::connect_raw(const std::string& device, int32_t baud) {
    if (raw_stream_) {
        output_write("Raw transport already open.\n");
        return 1;
    }
    LineSettings settings;
    settings.baud = static_cast<unsigned>(baud);
    settings.rts_cts = true;
    std::string error;
    auto stream = make_byte_stream(device, settings, error);
    if (!stream || !stream->open(error)) {
        output_printf("Raw transport could not open '%s'.\n", device.c_str());
        return 1;
    }
    raw_stream_ = std::move(stream);
    return 0;
}

size_t DeviceLink::write_raw(std::span<const uint8_t> bytes) {
    if (!raw_stream_) return 0;
    return raw_stream_->write(bytes) ? bytes.size() : 0;
}

void DeviceLink::trace_raw(bool downstream, uint8_t channel, std::span<const uint8_t> bytes) {
    const uint8_t which = downstream ? kOutRaw : kInRaw;
    if (!switches_[which].load()) return;
    std::string text;
    char heading[64];
    std::snprintf(heading, sizeof heading, downstream ? "===[DOWNSTREAM RAW CHANNEL %02d PRIMITIVE]===\n"
                                                      : "===[UPSTREAM RAW CHANNEL %02d PRIMITIVE]===\n",
                  channel);
    text += heading;
    text += hex_dump_bytes(bytes, "");
    text += downstream ? "===========================================\n" : "=========================================\n";
    output_write(text);
}

void DeviceLink::send_stack_message(uint32_t channel, LinkCounter counter, std::vector<uint8_t> message) {
    count(counter);
    if (!link_) return;
    trace_raw(true, static_cast<uint8_t>(channel), message);
    link_->send(static_cast<uint8_t>(channel), message);
}

void DeviceLink::send_primitive(const PrimitiveDef& row, AttachedPrimitive primitive) {
    LinkCounter counter = kLinkDmIssued;
    switch (row.family) {
    case PrimitiveFamily::l2ca: counter = kLinkL2capIssued; break;
    case PrimitiveFamily::bnep: counter = kLinkBnepIssued; break;
    case PrimitiveFamily::tcp: counter = kLinkTcpIssued; break;
    case PrimitiveFamily::sdc:
    case PrimitiveFamily::sds: counter = kLinkSdpIssued; break;
    case PrimitiveFamily::rfc: send_rfcomm(std::move(primitive), row.size); return;
    default: break;
    }
    send_stack_message(row.channel, counter, encode_stack_message(primitive));
}

void DeviceLink::send_rfcomm(AttachedPrimitive primitive, uint32_t size) {
    count(kLinkRfcommIssued);
    if (!link_) return;
    const uint16_t type = primitive.type();
    if (type == RfcommFlowControl::kDataReq || type == RfcommFlowControl::kDataWriteReq) {
        flow_control_->submit(std::move(primitive), size);
        return;
    }
    auto message = encode_stack_message(primitive);
    trace_raw(true, kChannelRfcomm, message);
    link_->send(kChannelRfcomm, message);
}

void DeviceLink::send_ptcmd(std::span<const uint32_t> array) {
    count(kLinkPtcmdIssued);
    auto message = encode_ptcmd_message(array);
    if (message.empty() || !link_) return;
    trace_raw(true, kChannelPtcmd, message);
    link_->send(kChannelPtcmd, message);
}

void DeviceLink::send_vm(std::vector<uint8_t> message) {
    count(kLinkVmIssued);
    if (!link_) return;
    trace_raw(true, kChannelVm, message);
    if (!link_->send(kChannelVm, message))
        output_printf("Error, a VM message of %zu bytes is too long for the link\n", message.size());
}

void DeviceLink::on_message(uint8_t channel, std::span<const uint8_t> message) {
    trace_raw(false, channel, message);
    switch (channel) {
    case kChannelPtcmd: {
        count(kLinkPtcmdReceived);
        const std::vector<uint32_t> array = decode_ptcmd_message(message);
        trace_printf(0x0a000040, "PTCMD");
        // The dump carries its own "=>" and indents its continuation lines
        // under it, so it goes out without the printer's prefix.
        if ((0x08800040u & g_trace_mask.load()) != 0) trace_printf(0x08000040, "%s", hex_dump_longs(array, "=>").c_str());
        trace_printf(0x09000040, "PTCMD");
        ring_->push(kChannelPtcmd, long_bytes(array));
        return;
    }
    case kChannelVm:
        count(kLinkVmReceived);
        trace_printf(0x0a000020, "VM_PRIM");
        if (switches_[kInVm].load()) output_write(hex_dump_bytes(message, "=>"));
        trace_printf(0x09000020, "VM_PRIM");
        ring_->push(kChannelVm, message);
        return;
    case kWireDebug: {
        count(kLinkDebugReceived);
        const std::string text(message.begin(), message.end());
        if (switches_[kInDebug].load())
            output_write("DEBUG CHANNEL-------------\n" + text + "\n--------------------------\n");
        trace_printf(0x0a000080, "DEBUG");
        trace_printf(0x08800080, "%s\n", text.c_str());
        trace_printf(0x09000080, "DEBUG");
        return;
    }
    case kWireHq: {
        count(kLinkHqReceived);
        const std::vector<uint16_t> words = ptcmd_words(message);
        output_write("---------------HQ---------------\n" + hex_dump_words(words, "") +
                     "--------------------------------\n");
        return;
    }
    default:
        if (family_of(channel)) on_stack_primitive(channel, message);
        return;
    }
}

void DeviceLink::on_stack_primitive(uint32_t channel, std::span<const uint8_t> message) {
    const Family& family = *family_of(channel);
    count(family.received);
    const uint16_t type = message.size() >= 2 ? get_le16(message.data()) : 0;
    const PrimitiveDef* row = find_received_primitive(channel, type);
    if (!row) {
        trace_printf(kTraceError, "%s", family.unrecognised);
        return;
    }
    auto primitive = decode_stack_message(message, row->size, pointer_offsets(*row));
    if (!primitive) {
        output_printf("Error, malformed %.*s primitive 0x%04x of %zu bytes dropped\n",
                      static_cast<int>(row->name.size()), row->name.data(), type, message.size());
        return;
    }
    print_received_primitive(switches_, *row, *primitive);
    trace_primitive_fields(TraceDirection::in, *row, *primitive);
    deliver(channel, *primitive);
}

void DeviceLink::deliver(uint32_t channel, const AttachedPrimitive& primitive) {
    // A running throughput test takes its channel's data and confirmations;
    // the flow control takes the chip's credits; the queue takes the rest.
    if (channel == kChannelL2cap && transfers_->offer_l2cap(primitive)) return;
    if (channel == kChannelRfcomm) {
        if (!flow_control_->is_credit(primitive) && transfers_->offer_rfcomm(primitive)) return;
        flow_control_->incoming(primitive);
        return;
    }
    ring_->push(channel, primitive);
}

}  // namespace kestrel
