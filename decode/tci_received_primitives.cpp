#include "decode/tci_received_primitives.h"

#include <iterator>

#include "transport/channel.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

using W = FieldWidth;
using F = FieldFormat;
using P = PrimitiveFamily;

// Commands: op code u16 at 0, length u8 at 2, parameters from 3.
constexpr FieldDef kAddress5[] = {{"bd_addr.lap", 5, W::u32}, {"bd_addr.uap", 9, W::u8}, {"bd_addr.nap", 11, W::u16}};
constexpr FieldDef kConfigReq[] = {{"in_mtu", 5, W::u16}, {"out_flow.flags", 7, W::u8}, {"out_flow.service_type", 8, W::u8}, {"out_flow.token_rate", 9, W::u32}, {"out_flow.token_bucket_size", 13, W::u32}, {"out_flow.peak_bandwidth", 17, W::u32}, {"out_flow.latency", 21, W::u32}, {"out_flow.delay_variation", 25, W::u32}};
constexpr FieldDef kConfigRsp[] = {{"out_mtu", 5, W::u16}, {"in_flow.flags", 7, W::u8}, {"in_flow.service_type", 8, W::u8}, {"in_flow.token_rate", 9, W::u32}, {"in_flow.token_bucket_size", 13, W::u32}, {"in_flow.peak_bandwidth", 17, W::u32}, {"in_flow.latency", 21, W::u32}, {"in_flow.delay_variation", 25, W::u32}};
constexpr FieldDef kPsms[] = {{"psms", 5, W::u16, 1, F::flat_words, 3}};
constexpr FieldDef kDataLength[] = {{"length", 5, W::u16}};
constexpr FieldDef kPingReq[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"length", 11, W::u16}, {"echo_data", 13, W::u8, 1, F::flat_bytes, 11}};
constexpr FieldDef kGetInfoReq[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"info_type", 11, W::u16}};
constexpr FieldDef kConnectRsp[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"identifier", 11, W::u8}, {"lcid", 12, W::u16}, {"response", 14, W::u16}, {"status", 16, W::u16}};
constexpr FieldDef kCreateConnection[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"pkt_type", 11, W::u16}, {"page_scan_rep_mode", 13, W::u8}, {"page_scan_mode", 14, W::u8}, {"clock_offset", 15, W::u16}, {"allow_role_switch", 17, W::u8}};
constexpr FieldDef kScanEnable[] = {{"scan_enable", 3, W::u8}};
constexpr FieldDef kIacLap[] = {{"num_current_iac", 3, W::u8}, {"iac_lap", 4, W::u32}};

constexpr PrimitiveDef kCommands[] = {
    {"TCI_L2CA_CONNECT_REQ", 0xF801, kChannelTci, 13, kAddress5, P::tci},
    {"TCI_L2CA_DISCONNECT_REQ", 0xF802, kChannelTci, 5, {}, P::tci},
    {"TCI_L2CA_CONFIG_REQ", 0xF803, kChannelTci, 33, kConfigReq, P::tci},
    {"TCI_L2CA_DISABLECLT_REQ", 0xF804, kChannelTci, 5, kPsms, P::tci},
    {"TCI_L2CA_ENABLECLT_REQ", 0xF805, kChannelTci, 5, kPsms, P::tci},
    {"TCI_L2CA_GROUPCREATE_REQ", 0xF806, kChannelTci, 5, {}, P::tci},
    {"TCI_L2CA_GROUPCLOSE_REQ", 0xF807, kChannelTci, 5, {}, P::tci},
    {"TCI_L2CA_GROUPADDMEMBER_REQ", 0xF808, kChannelTci, 13, kAddress5, P::tci},
    {"TCI_L2CA_GROUPREMOVEMEMBER_REQ", 0xF809, kChannelTci, 13, kAddress5, P::tci},
    {"TCI_L2CA_GROUPMEMBERSHIP_REQ", 0xF80A, kChannelTci, 5, {}, P::tci},
    {"TCI_L2CA_WRITEDATA_REQ", 0xF80B, kChannelTci, 7, kDataLength, P::tci},
    {"TCI_L2CA_READDATA_REQ", 0xF80C, kChannelTci, 7, kDataLength, P::tci},
    {"TCI_L2CA_PING_REQ", 0xF80D, kChannelTci, 13, kPingReq, P::tci},
    {"TCI_L2CA_GETINFO_REQ", 0xF80E, kChannelTci, 13, kGetInfoReq, P::tci},
    {"TCI_L2CA_CONNECT_RSP", 0xF811, kChannelTci, 18, kConnectRsp, P::tci},
    {"TCI_L2CA_DISCONNECT_RSP", 0xF812, kChannelTci, 3, {}, P::tci},
    {"TCI_L2CA_CONFIG_RSP", 0xF813, kChannelTci, 29, kConfigRsp, P::tci},
    {"TCI_HCI_RESET_REQ", 0x0C03, kChannelTci, 3, {}, P::tci},
    {"TCI_HCI_CREATE_CONNECTION_REQ", 0x0405, kChannelTci, 18, kCreateConnection, P::tci},
    {"TCI_HCI_WRITE_SCAN_ENABLE_REQ", 0x0C1A, kChannelTci, 4, kScanEnable, P::tci},
    {"TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ", 0x0C3A, kChannelTci, 8, kIacLap, P::tci},
};

// Events: event code u8 at 0, length u8 at 1, parameters from 2. A command
// complete carries num_hci_command_packets at 2 and the op code at 3.
constexpr FieldDef kConnectInd[] = {{"event_id", 2, W::u8}, {"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"identifier", 15, W::u8}};
constexpr FieldDef kConfigInd[] = {{"event_id", 2, W::u8}, {"out_mtu", 5, W::u16}, {"in_flow.flags", 7, W::u8}, {"in_flow.service_type", 8, W::u8}, {"in_flow.token_rate", 9, W::u32}, {"in_flow.token_bucket_size", 13, W::u32}, {"in_flow.peak_bandwidth", 17, W::u32}, {"in_flow.latency", 21, W::u32}, {"in_flow.delay_variation", 25, W::u32}};
constexpr FieldDef kEventId[] = {{"event_id", 2, W::u8}};
constexpr FieldDef kQosViolationInd[] = {{"event_id", 2, W::u8}, {"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}};
constexpr FieldDef kTimeoutInd[] = {{"event_id", 2, W::u8}, {"timer", 5, W::u16}};
constexpr FieldDef kConnectionComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}, {"bd_addr.lap", 6, W::u32}, {"bd_addr.uap", 10, W::u8}, {"bd_addr.nap", 12, W::u16}, {"link_type", 14, W::u8}, {"encryption_mode", 15, W::u8}};
constexpr FieldDef kHciComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}};
constexpr FieldDef kResultComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef kBareComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}};
constexpr FieldDef kConnectReqComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"lcid", 5, W::u16}, {"result", 7, W::u16}, {"status", 9, W::u16}};
constexpr FieldDef kWriteDataComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"size", 5, W::u16}, {"result", 7, W::u16}};
constexpr FieldDef kPingComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}, {"size", 7, W::u16}, {"echo_data", 9, W::u8, 1, F::flat_bytes, 7}};
constexpr FieldDef kGetInfoComplete[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}, {"size", 7, W::u16}};

// The type of an indication row is its event id; that of a complete row the
// op code it completes.
constexpr size_t kIndicationCount = 5;
constexpr PrimitiveDef kEvents[] = {
    {"TCI_L2CA_CONNECT_IND", 1, kChannelTci, 16, kConnectInd, P::tci},
    {"TCI_L2CA_CONFIG_IND", 2, kChannelTci, 31, kConfigInd, P::tci},
    {"TCI_L2CA_DISCONNECT_IND", 3, kChannelTci, 5, kEventId, P::tci},
    {"TCI_L2CA_QOSVIOLATION_IND", 4, kChannelTci, 11, kQosViolationInd, P::tci},
    {"TCI_L2CA_TIMEOUT_IND", 5, kChannelTci, 7, kTimeoutInd, P::tci},
    {"TCI_HCI_CONNECTION_COMPLETE", 0x0405, kChannelTci, 16, kConnectionComplete, P::tci},
    {"TCI_HCI_RESET_COMPLETE", 0x0C03, kChannelTci, 6, kHciComplete, P::tci},
    {"TCI_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE", 0x0C3A, kChannelTci, 6, kHciComplete, P::tci},
    {"TCI_HCI_WRITE_SCAN_ENABLE_COMPLETE", 0x0C1A, kChannelTci, 6, kHciComplete, P::tci},
    {"TCI_L2CA_CONNECT_REQ_COMPLETE", 0xF801, kChannelTci, 11, kConnectReqComplete, P::tci},
    {"TCI_L2CA_DISCONNECT_REQ_COMPLETE", 0xF802, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_CONFIG_REQ_COMPLETE", 0xF803, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_DISABLECLT_REQ_COMPLETE", 0xF804, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_ENABLECLT_REQ_COMPLETE", 0xF805, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_GROUPCREATE_REQ_COMPLETE", 0xF806, kChannelTci, 7, kBareComplete, P::tci},
    {"TCI_L2CA_GROUPCLOSE_REQ_COMPLETE", 0xF807, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_GROUPADDMEMBER_REQ_COMPLETE", 0xF808, kChannelTci, 7, kBareComplete, P::tci},
    {"TCI_L2CA_GROUPREMOVEMEMBER_REQ_COMPLETE", 0xF809, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE", 0xF80A, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_WRITEDATA_REQ_COMPLETE", 0xF80B, kChannelTci, 9, kWriteDataComplete, P::tci},
    {"TCI_L2CA_READDATA_REQ_COMPLETE", 0xF80C, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_PING_REQ_COMPLETE", 0xF80D, kChannelTci, 9, kPingComplete, P::tci},
    {"TCI_L2CA_GETINFO_REQ_COMPLETE", 0xF80E, kChannelTci, 9, kGetInfoComplete, P::tci},
    {"TCI_L2CA_CONNECT_RSP_COMPLETE", 0xF811, kChannelTci, 7, kResultComplete, P::tci},
    {"TCI_L2CA_CONFIG_RSP_COMPLETE", 0xF813, kChannelTci, 7, kResultComplete, P::tci},
};
static_assert(std::size(kEvents) == 25);

const PrimitiveDef* find(std::span<const PrimitiveDef> rows, uint16_t type) {
    for (const PrimitiveDef& row : rows)
        if (row.type == type) return &row;
    return nullptr;
}

}  // namespace

std::span<const PrimitiveDef> tci_received_events() { return kEvents; }

const PrimitiveDef* find_tci_command(uint16_t op_code) { return find(kCommands, op_code); }

const PrimitiveDef* find_tci_complete(uint16_t command_op_code) {
    return find(std::span(kEvents).subspan(kIndicationCount), command_op_code);
}

const PrimitiveDef* find_tci_indication(uint8_t event_id) {
    return find(std::span(kEvents).first(kIndicationCount), event_id);
}

const PrimitiveDef* find_tci_received(uint32_t channel, const uint8_t* packet, uint32_t size) {
    if (channel & 0x80000000u) return size >= 2 ? find_tci_command(get_le16(packet)) : nullptr;
    if (size >= 5 && packet[0] == kTciCommandCompleteCode) return find_tci_complete(get_le16(packet + 3));
    if (size >= 3 && packet[0] == kTciEventCode) return find_tci_indication(packet[2]);
    return nullptr;
}

}  // namespace kestrel
