// Every TCI command and event that Kestrel builds, and the ACL data record
// of TCI_sendacl: one row each, packed as they travel. A row whose first
// field stands at offset 2 is an event (event code and length before it);
// any other is a command (op code and length). The type of a command row is
// its op code; that of an event row the code its send path is given: an
// event id, 0x000E for an HCI command complete, or the op code of an L2CAP
// command complete.
#include "encode/tci_sent_primitives.h"

#include <iterator>

#include "transport/channel.h"

namespace kestrel {
namespace {

using W = FieldWidth;
using F = FieldFormat;
using P = PrimitiveFamily;

constexpr FieldDef k_TCI_HCI_CREATE_CONNECTION_REQ[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"pkt_type", 11, W::u16}, {"page_scan_rep_mode", 13, W::u8}, {"page_scan_mode", 14, W::u8}, {"clock_offset", 15, W::u16}, {"allow_role_switch", 17, W::u8}};
constexpr FieldDef k_TCI_HCI_WRITE_SCAN_ENABLE_REQ[] = {{"scan_enable", 3, W::u8}};
constexpr FieldDef k_TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ[] = {{"num_current_iac", 3, W::u8}, {"iac_lap", 4, W::u32, 1, F::iac_laps, 3}};
constexpr FieldDef k_TCI_L2CA_CONNECT_REQ[] = {{"psm", 3, W::u16}, {"bd_addr.lap", 5, W::u32}, {"bd_addr.uap", 9, W::u8}, {"bd_addr.nap", 11, W::u16}};
constexpr FieldDef k_TCI_L2CA_DISCONNECT_REQ[] = {{"cid", 3, W::u16}};
constexpr FieldDef k_TCI_L2CA_CONFIG_REQ[] = {{"cid", 3, W::u16}, {"in_mtu", 5, W::u16}, {"out_flow.flags", 7, W::u8}, {"out_flow.service_type", 8, W::u8}, {"out_flow.token_rate", 9, W::u32}, {"out_flow.token_bucket_size", 13, W::u32}, {"out_flow.peak_bandwidth", 17, W::u32}, {"out_flow.latency", 21, W::u32}, {"out_flow.delay_variation", 25, W::u32}, {"flush_to", 29, W::u16}, {"link_to", 31, W::u16}};
constexpr FieldDef k_TCI_L2CA_DISABLECLT_REQ[] = {{"N", 3, W::u16}, {"psms", 5, W::ptr, 1, F::word_block}};
constexpr FieldDef k_TCI_L2CA_ENABLECLT_REQ[] = {{"N", 3, W::u16}, {"psms", 5, W::ptr, 1, F::word_block}};
constexpr FieldDef k_TCI_L2CA_GROUPCREATE_REQ[] = {{"psm", 3, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPCLOSE_REQ[] = {{"cid", 3, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPADDMEMBER_REQ[] = {{"cid", 3, W::u16}, {"bd_addr.lap", 5, W::u32}, {"bd_addr.uap", 9, W::u8}, {"bd_addr.nap", 11, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPREMOVEMEMBER_REQ[] = {{"cid", 3, W::u16}, {"bd_addr.lap", 5, W::u32}, {"bd_addr.uap", 9, W::u8}, {"bd_addr.nap", 11, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPMEMBERSHIP_REQ[] = {{"cid", 3, W::u16}};
constexpr FieldDef k_TCI_L2CA_WRITEDATA_REQ[] = {{"cid", 3, W::u16}, {"length", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_READDATA_REQ[] = {{"cid", 3, W::u16}, {"length", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_PING_REQ[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"length", 11, W::u16}, {"echo_data", 13, W::ptr, 1, F::block}};
constexpr FieldDef k_TCI_L2CA_GETINFO_REQ[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"info_type", 11, W::u16}};
constexpr FieldDef k_TCI_L2CA_CONNECT_RSP[] = {{"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"identifier", 11, W::u8}, {"lcid", 12, W::u16}, {"response", 14, W::u16}, {"status", 16, W::u16}};
constexpr FieldDef k_TCI_L2CA_CONFIG_RSP[] = {{"cid", 3, W::u16}, {"out_mtu", 5, W::u16}, {"in_flow.flags", 7, W::u8}, {"in_flow.service_type", 8, W::u8}, {"in_flow.token_rate", 9, W::u32}, {"in_flow.token_bucket_size", 13, W::u32}, {"in_flow.peak_bandwidth", 17, W::u32}, {"in_flow.latency", 21, W::u32}, {"in_flow.delay_variation", 25, W::u32}};
constexpr FieldDef k_TCI_L2CA_CONNECT_IND[] = {{"event_id", 2, W::u8}, {"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}, {"cid", 11, W::u16}, {"psm", 13, W::u16}, {"identifier", 15, W::u8}};
constexpr FieldDef k_TCI_L2CA_CONFIG_IND[] = {{"event_id", 2, W::u8}, {"cid", 3, W::u16}, {"out_mtu", 5, W::u16}, {"in_flow.flags", 7, W::u8}, {"in_flow.service_type", 8, W::u8}, {"in_flow.token_rate", 9, W::u32}, {"in_flow.token_bucket_size", 13, W::u32}, {"in_flow.peak_bandwidth", 17, W::u32}, {"in_flow.latency", 21, W::u32}, {"in_flow.delay_variation", 25, W::u32}, {"flush_to", 29, W::u16}};
constexpr FieldDef k_TCI_L2CA_DISCONNECT_IND[] = {{"event_id", 2, W::u8}, {"cid", 3, W::u16}};
constexpr FieldDef k_TCI_L2CA_QOSVIOLATION_IND[] = {{"event_id", 2, W::u8}, {"bd_addr.lap", 3, W::u32}, {"bd_addr.uap", 7, W::u8}, {"bd_addr.nap", 9, W::u16}};
constexpr FieldDef k_TCI_L2CA_TIMEOUT_IND[] = {{"event_id", 2, W::u8}, {"cid", 3, W::u16}, {"timer", 5, W::u16}};
constexpr FieldDef k_TCI_HCI_CONNECTION_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}, {"bd_addr.lap", 6, W::u32}, {"bd_addr.uap", 10, W::u8}, {"bd_addr.nap", 12, W::u16}, {"link_type", 14, W::u8}, {"encryption_mode", 15, W::u8}};
constexpr FieldDef k_TCI_HCI_RESET_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}};
constexpr FieldDef k_TCI_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}};
constexpr FieldDef k_TCI_HCI_WRITE_SCAN_ENABLE_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"status", 5, W::u8}};
constexpr FieldDef k_TCI_L2CA_CONNECT_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"lcid", 5, W::u16}, {"result", 7, W::u16}, {"status", 9, W::u16}};
constexpr FieldDef k_TCI_L2CA_DISCONNECT_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_CONFIG_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_DISABLECLT_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_ENABLECLT_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPCREATE_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"cid", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPCLOSE_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPADDMEMBER_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"cid", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPREMOVEMEMBER_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}, {"N", 7, W::u16}, {"bd_addr", 9, W::ptr, 1, F::address_list}};
constexpr FieldDef k_TCI_L2CA_WRITEDATA_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"size", 5, W::u16}, {"result", 7, W::u16}};
constexpr FieldDef k_TCI_L2CA_READDATA_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_PING_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}, {"size", 7, W::u16}, {"echo_data", 9, W::ptr, 1, F::block}};
constexpr FieldDef k_TCI_L2CA_GETINFO_REQ_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}, {"size", 7, W::u16}, {"info_data", 9, W::ptr, 1, F::block}};
constexpr FieldDef k_TCI_L2CA_CONNECT_RSP_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};
constexpr FieldDef k_TCI_L2CA_CONFIG_RSP_COMPLETE[] = {{"num_hci_command_packets", 2, W::u8}, {"command_op_code", 3, W::u16}, {"result", 5, W::u16}};

constexpr PrimitiveDef kTciSentPrimitives[] = {
    {"TCI_HCI_CREATE_CONNECTION_REQ", 0x0405, kChannelTci, 18, k_TCI_HCI_CREATE_CONNECTION_REQ, P::tci},
    {"TCI_HCI_ACCEPT_CONNECTION_REQ", 0x0409, kChannelTci, 3, {}, P::tci},
    {"TCI_HCI_RESET_REQ", 0x0C03, kChannelTci, 3, {}, P::tci},
    {"TCI_HCI_WRITE_SCAN_ENABLE_REQ", 0x0C1A, kChannelTci, 4, k_TCI_HCI_WRITE_SCAN_ENABLE_REQ, P::tci},
    {"TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ", 0x0C3A, kChannelTci, 8, k_TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ, P::tci},
    {"TCI_L2CA_CONNECT_REQ", 0xF801, kChannelTci, 13, k_TCI_L2CA_CONNECT_REQ, P::tci},
    {"TCI_L2CA_DISCONNECT_REQ", 0xF802, kChannelTci, 5, k_TCI_L2CA_DISCONNECT_REQ, P::tci},
    {"TCI_L2CA_CONFIG_REQ", 0xF803, kChannelTci, 33, k_TCI_L2CA_CONFIG_REQ, P::tci},
    {"TCI_L2CA_DISABLECLT_REQ", 0xF804, kChannelTci, 9, k_TCI_L2CA_DISABLECLT_REQ, P::tci},
    {"TCI_L2CA_ENABLECLT_REQ", 0xF805, kChannelTci, 9, k_TCI_L2CA_ENABLECLT_REQ, P::tci},
    {"TCI_L2CA_GROUPCREATE_REQ", 0xF806, kChannelTci, 5, k_TCI_L2CA_GROUPCREATE_REQ, P::tci},
    {"TCI_L2CA_GROUPCLOSE_REQ", 0xF807, kChannelTci, 5, k_TCI_L2CA_GROUPCLOSE_REQ, P::tci},
    {"TCI_L2CA_GROUPADDMEMBER_REQ", 0xF808, kChannelTci, 13, k_TCI_L2CA_GROUPADDMEMBER_REQ, P::tci},
    {"TCI_L2CA_GROUPREMOVEMEMBER_REQ", 0xF809, kChannelTci, 13, k_TCI_L2CA_GROUPREMOVEMEMBER_REQ, P::tci},
    {"TCI_L2CA_GROUPMEMBERSHIP_REQ", 0xF80A, kChannelTci, 5, k_TCI_L2CA_GROUPMEMBERSHIP_REQ, P::tci},
    {"TCI_L2CA_WRITEDATA_REQ", 0xF80B, kChannelTci, 7, k_TCI_L2CA_WRITEDATA_REQ, P::tci},
    {"TCI_L2CA_READDATA_REQ", 0xF80C, kChannelTci, 7, k_TCI_L2CA_READDATA_REQ, P::tci},
    {"TCI_L2CA_PING_REQ", 0xF80D, kChannelTci, 17, k_TCI_L2CA_PING_REQ, P::tci},
    {"TCI_L2CA_GETINFO_REQ", 0xF80E, kChannelTci, 13, k_TCI_L2CA_GETINFO_REQ, P::tci},
    {"TCI_L2CA_CONNECT_RSP", 0xF811, kChannelTci, 18, k_TCI_L2CA_CONNECT_RSP, P::tci},
    {"TCI_L2CA_DISCONNECT_RSP", 0xF812, kChannelTci, 3, {}, P::tci},
    {"TCI_L2CA_CONFIG_RSP", 0xF813, kChannelTci, 29, k_TCI_L2CA_CONFIG_RSP, P::tci},
    {"TCI_L2CA_CONNECT_IND", 0x0001, kChannelTci, 16, k_TCI_L2CA_CONNECT_IND, P::tci},
    {"TCI_L2CA_CONFIG_IND", 0x0002, kChannelTci, 31, k_TCI_L2CA_CONFIG_IND, P::tci},
    {"TCI_L2CA_DISCONNECT_IND", 0x0003, kChannelTci, 5, k_TCI_L2CA_DISCONNECT_IND, P::tci},
    {"TCI_L2CA_QOSVIOLATION_IND", 0x0004, kChannelTci, 11, k_TCI_L2CA_QOSVIOLATION_IND, P::tci},
    {"TCI_L2CA_TIMEOUT_IND", 0x0005, kChannelTci, 7, k_TCI_L2CA_TIMEOUT_IND, P::tci},
    {"TCI_HCI_CONNECTION_COMPLETE", 0x000E, kChannelTci, 16, k_TCI_HCI_CONNECTION_COMPLETE, P::tci},
    {"TCI_HCI_RESET_COMPLETE", 0x000E, kChannelTci, 6, k_TCI_HCI_RESET_COMPLETE, P::tci},
    {"TCI_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE", 0x000E, kChannelTci, 6, k_TCI_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE, P::tci},
    {"TCI_HCI_WRITE_SCAN_ENABLE_COMPLETE", 0x000E, kChannelTci, 6, k_TCI_HCI_WRITE_SCAN_ENABLE_COMPLETE, P::tci},
    {"TCI_L2CA_CONNECT_REQ_COMPLETE", 0xF801, kChannelTci, 11, k_TCI_L2CA_CONNECT_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_DISCONNECT_REQ_COMPLETE", 0xF802, kChannelTci, 7, k_TCI_L2CA_DISCONNECT_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_CONFIG_REQ_COMPLETE", 0xF803, kChannelTci, 7, k_TCI_L2CA_CONFIG_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_DISABLECLT_REQ_COMPLETE", 0xF804, kChannelTci, 7, k_TCI_L2CA_DISABLECLT_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_ENABLECLT_REQ_COMPLETE", 0xF805, kChannelTci, 7, k_TCI_L2CA_ENABLECLT_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GROUPCREATE_REQ_COMPLETE", 0xF806, kChannelTci, 7, k_TCI_L2CA_GROUPCREATE_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GROUPCLOSE_REQ_COMPLETE", 0xF807, kChannelTci, 7, k_TCI_L2CA_GROUPCLOSE_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GROUPADDMEMBER_REQ_COMPLETE", 0xF808, kChannelTci, 7, k_TCI_L2CA_GROUPADDMEMBER_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GROUPREMOVEMEMBER_REQ_COMPLETE", 0xF809, kChannelTci, 7, k_TCI_L2CA_GROUPREMOVEMEMBER_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE", 0xF80A, kChannelTci, 13, k_TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_WRITEDATA_REQ_COMPLETE", 0xF80B, kChannelTci, 9, k_TCI_L2CA_WRITEDATA_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_READDATA_REQ_COMPLETE", 0xF80C, kChannelTci, 7, k_TCI_L2CA_READDATA_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_PING_REQ_COMPLETE", 0xF80D, kChannelTci, 13, k_TCI_L2CA_PING_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_GETINFO_REQ_COMPLETE", 0xF80E, kChannelTci, 13, k_TCI_L2CA_GETINFO_REQ_COMPLETE, P::tci},
    {"TCI_L2CA_CONNECT_RSP_COMPLETE", 0xF811, kChannelTci, 7, k_TCI_L2CA_CONNECT_RSP_COMPLETE, P::tci},
    {"TCI_L2CA_CONFIG_RSP_COMPLETE", 0xF813, kChannelTci, 7, k_TCI_L2CA_CONFIG_RSP_COMPLETE, P::tci},
};
constexpr size_t kTciCommandCount = 22;
static_assert(std::size(kTciSentPrimitives) == kTciCommandCount + 25);

// The ACL record: handle, length and a reference to the data bytes.
constexpr FieldDef kAclFields[] = {{"handle", 0, W::u16}, {"length", 2, W::u16}, {"data", 4, W::ptr, 1, F::block}};
constexpr PrimitiveDef kAclRecord{"TCI_ACL_DATA", 0, kChannelAcl, 8, kAclFields, P::tci};

// Every field lies behind the envelope and inside its primitive.
constexpr bool fields_inside() {
    for (const PrimitiveDef& row : kTciSentPrimitives)
        for (const FieldDef& field : row.fields)
            if (field.offset < 2 || field.offset + width_bytes(field.width) * field.count > row.size) return false;
    return true;
}
static_assert(fields_inside());

}  // namespace

std::span<const PrimitiveDef> tci_sent_primitives() { return kTciSentPrimitives; }

std::span<const PrimitiveDef> tci_sent_commands() { return std::span(kTciSentPrimitives).first(kTciCommandCount); }

const PrimitiveDef& tci_acl_record() { return kAclRecord; }

bool is_tci_event(const PrimitiveDef& row) { return !row.fields.empty() && row.fields.front().offset == 2; }

}  // namespace kestrel
