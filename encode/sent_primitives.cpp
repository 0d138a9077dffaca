// Every stack primitive that Kestrel sends: one row each, from which the
// named commands, the PT_send builders, the manual rows, the vocabulary and
// the simulated chip's reading of what it received are all derived.
// Argument order is field order; fields with a codec other than number are
// built by the special field encoders.
#include "encode/sent_primitives.h"

namespace kestrel {
namespace {

using W = FieldWidth;
using F = FieldFormat;
using P = PrimitiveFamily;

constexpr FieldDef k_DM_HCI_INQUIRY[] = {{"lap", 4, W::u32}, {"inquiry_length", 8, W::u8}, {"num_responses", 9, W::u8}};
constexpr FieldDef k_DM_HCI_PERIODIC_INQUIRY[] = {{"max_period_length", 4, W::u16}, {"min_period_length", 6, W::u16}, {"lap", 8, W::u32}, {"inquiry_length", 12, W::u8}, {"num_responses", 13, W::u8}};
constexpr FieldDef k_DM_HCI_CHANGE_PACKET_TYPE[] = {{"handle", 4, W::u16}, {"pkt_type", 6, W::u16}};
constexpr FieldDef k_DM_HCI_CHANGE_LINK_KEY[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_MASTER_LINK_KEY[] = {{"link_key_type", 4, W::u8}};
constexpr FieldDef k_DM_HCI_REMOTE_NAME_REQUEST[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"page_scan_rep_mode", 12, W::u8}, {"page_scan_mode", 13, W::u8}, {"clock_offset", 14, W::u16}};
constexpr FieldDef k_DM_HCI_READ_REMOTE_FEATURES[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_READ_REMOTE_VERSION[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_READ_CLOCK_OFFSET[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_HOLD_MODE[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"max_interval", 16, W::u16}, {"min_interval", 18, W::u16}};
constexpr FieldDef k_DM_HCI_SNIFF_MODE[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"max_interval", 16, W::u16}, {"min_interval", 18, W::u16}, {"attempt", 20, W::u16}, {"timeout", 22, W::u16}};
constexpr FieldDef k_DM_HCI_EXIT_SNIFF_MODE[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_PARK_MODE[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"max_interval", 16, W::u16}, {"min_interval", 18, W::u16}};
constexpr FieldDef k_DM_HCI_EXIT_PARK_MODE[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_QOS_SETUP_REQ[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"flags", 16, W::u8}, {"service_type", 17, W::u8}, {"token_rate", 20, W::u32}, {"peak_bandwidth", 24, W::u32}, {"latency", 28, W::u32}, {"delay_variation", 32, W::u32}};
constexpr FieldDef k_DM_HCI_ROLE_DISCOVERY[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_SWITCH_ROLE[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"role", 12, W::u8}};
constexpr FieldDef k_DM_HCI_READ_LP_SETTINGS[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_LP_SETTINGS[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"link_policy_settings", 12, W::u16}, {"dm_policy", 14, W::u8}, {"u", 16, W::u8, 8, F::lp_settings}};
constexpr FieldDef k_DM_HCI_SET_EVENT_MASK[] = {{"event_mask", 4, W::u32, 2, F::event_mask}};
constexpr FieldDef k_DM_HCI_SET_EVENT_FILTER[] = {{"filter_type", 4, W::u8}, {"filter_condition_type", 5, W::u8}, {"condition", 8, W::u8, 12, F::event_filter}};
constexpr FieldDef k_DM_HCI_FLUSH[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_PIN_TYPE[] = {{"pin_type", 4, W::u8}};
constexpr FieldDef k_DM_HCI_READ_STORED_LINK_KEY[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"read_all", 12, W::u8}};
constexpr FieldDef k_DM_HCI_WRITE_STORED_LINK_KEY[] = {{"number_keys", 4, W::u8}, {"link_key_bd_addr", 8, W::ptr, 10, F::link_key_list}};
constexpr FieldDef k_DM_HCI_DELETE_STORED_LINK_KEY[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"flag", 12, W::u8}};
constexpr FieldDef k_DM_HCI_CHANGE_LOCAL_NAME[] = {{"name_part", 4, W::ptr, 8, F::local_name, 2}};
constexpr FieldDef k_DM_HCI_WRITE_CONN_ACCEPT_TO[] = {{"conn_accept_timeout", 4, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_PAGE_TO[] = {{"page_timeout", 4, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_SCAN_ENABLE[] = {{"scan_enable", 4, W::u8}};
constexpr FieldDef k_DM_HCI_WRITE_PAGESCAN_ACTIVITY[] = {{"pagescan_interval", 4, W::u16}, {"pagescan_window", 6, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_INQUIRYSCAN_ACTIVITY[] = {{"inqscan_interval", 4, W::u16}, {"inqscan_window", 6, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_CLASS_OF_DEVICE[] = {{"dev_class", 4, W::u32}};
constexpr FieldDef k_DM_HCI_WRITE_VOICE_SETTING[] = {{"voice_setting", 4, W::u16}};
constexpr FieldDef k_DM_HCI_READ_AUTO_FLUSH_TIMEOUT[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_AUTO_FLUSH_TIMEOUT[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"timeout", 16, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_NUM_BCAST_TXS[] = {{"num", 4, W::u8}};
constexpr FieldDef k_DM_HCI_WRITE_HOLD_MODE_ACTIVITY[] = {{"activity", 4, W::u8}};
constexpr FieldDef k_DM_HCI_READ_TX_POWER_LEVEL[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"type", 16, W::u8}};
constexpr FieldDef k_DM_HCI_WRITE_SCO_FLOW_CONTROL_ENABLE[] = {{"sco_flow_control_enable", 4, W::u8}};
constexpr FieldDef k_DM_HCI_SET_HC_TO_HOST_FLOW[] = {{"enable", 4, W::u8}};
constexpr FieldDef k_DM_HCI_READ_LINK_SUPERV_TIMEOUT[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_LINK_SUPERV_TIMEOUT[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"timeout", 16, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_CURRENT_IAC_LAP[] = {{"num_current_iac", 4, W::u8}, {"iac_lap", 8, W::u32, 6, F::iac_laps, 4}};
constexpr FieldDef k_DM_HCI_WRITE_PAGESCAN_PERIOD_MODE[] = {{"mode", 4, W::u8}};
constexpr FieldDef k_DM_HCI_WRITE_PAGESCAN_MODE[] = {{"mode", 4, W::u8}};
constexpr FieldDef k_DM_HCI_HARDWARE_ERROR[] = {{"phandle", 2, W::u16}, {"hw_error", 4, W::u8}};
constexpr FieldDef k_DM_HCI_DATA_BUFFER_OVERFLOW[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_DM_HCI_MAX_SLOTS_CHANGE[] = {{"phandle", 2, W::u16}, {"lmp_max_slots", 4, W::u8}};
constexpr FieldDef k_DM_HCI_FAILED_CONTACT_COUNTER[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_RESET_CONTACT_COUNTER[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_GET_LINK_QUALITY[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_READ_RSSI[] = {{"handle", 4, W::u16}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}};
constexpr FieldDef k_DM_HCI_WRITE_LOOPBACK_MODE[] = {{"mode", 4, W::u8}};
constexpr FieldDef k_DM_SM_SET_DEFAULT_SECURITY_REQ[] = {{"secl_default", 2, W::u16}};
constexpr FieldDef k_DM_SM_REGISTER_REQ[] = {{"protocol_id", 4, W::u32}, {"channel", 8, W::u32}, {"outgoing_ok", 12, W::u8}, {"security_level", 14, W::u16}, {"psm", 16, W::u16}};
constexpr FieldDef k_DM_SM_UNREGISTER_REQ[] = {{"protocol_id", 4, W::u32}, {"channel", 8, W::u32}};
constexpr FieldDef k_DM_SM_REGISTER_OUTGOING_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"protocol_id", 12, W::u32}, {"remote_channel", 16, W::u32}, {"outgoing_security_level", 20, W::u16}, {"psm", 22, W::u16}};
constexpr FieldDef k_DM_SM_UNREGISTER_OUTGOING_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"protocol_id", 12, W::u32}, {"remote_channel", 16, W::u32}};
constexpr FieldDef k_DM_SM_ACCESS_REQ[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"protocol_id", 12, W::u32}, {"channel", 16, W::u32}, {"incoming", 20, W::u8}, {"pv_context", 24, W::u32}, {"n_context", 28, W::u32}};
constexpr FieldDef k_DM_SM_SET_SEC_MODE_REQ[] = {{"mode", 2, W::u8}, {"mode3_enc", 3, W::u8}};
constexpr FieldDef k_DM_SM_ADD_DEVICE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"update_trust_level", 12, W::u8}, {"trusted", 13, W::u8}, {"update_link_key", 14, W::u8}, {"link_key", 15, W::u8, 16, F::link_key}};
constexpr FieldDef k_DM_SM_REMOVE_DEVICE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_DM_SM_LINK_KEY_REQUEST_RES[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"key", 12, W::u8, 16, F::request_key}, {"valid", 28, W::u8}};
constexpr FieldDef k_DM_SM_PIN_REQUEST_RES[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"pin_length", 12, W::u8}, {"pin", 13, W::u8, 16, F::pin, 12}};
constexpr FieldDef k_DM_SM_AUTHORISE_RES[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"protocol_id", 12, W::u32}, {"channel", 16, W::u32}, {"incoming", 20, W::u8}, {"authorised", 21, W::u8}};
constexpr FieldDef k_DM_SM_AUTHENTICATE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_DM_SM_ENCRYPT_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"encrypt", 12, W::u8}};
constexpr FieldDef k_DM_SM_L2CAP_REGISTER_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_DM_SM_ENCRYPTION_CHANGE[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"encrypted", 12, W::u8}};
constexpr FieldDef k_DM_ACL_REGISTER_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_DM_ACL_CONNECT_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"packet_type", 12, W::u16}};
constexpr FieldDef k_DM_ACL_DISCONNECT_REQ[] = {{"handle", 2, W::u16}, {"reason", 4, W::u8}};
constexpr FieldDef k_DM_ACL_OPEN_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_DM_ACL_CLOSE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_DM_SCO_INCOMING_REGISTER_REQ[] = {{"phandle", 2, W::u16}, {"pv_cbarg", 4, W::u32}};
constexpr FieldDef k_DM_SCO_INCOMING_UNREGISTER_REQ[] = {{"phandle", 2, W::u16}, {"pv_cbarg", 4, W::u32}};
constexpr FieldDef k_DM_SCO_CONNECT_REQ[] = {{"phandle", 2, W::u16}, {"pv_cbarg", 4, W::u32}, {"bd_addr.lap", 8, W::u32}, {"bd_addr.uap", 12, W::u8}, {"bd_addr.nap", 14, W::u16}, {"packet_type", 16, W::u16}};
constexpr FieldDef k_DM_SCO_CONNECT_RES[] = {{"handle", 2, W::u16}, {"accept", 4, W::u8}};
constexpr FieldDef k_DM_SCO_DISCONNECT_REQ[] = {{"handle", 2, W::u16}, {"reason", 4, W::u8}};
constexpr FieldDef k_DM_AM_REGISTER_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_DM_CONNECTIONLESS_CH_REG_REQ[] = {{"handle", 2, W::u16}};
constexpr FieldDef k_DM_WRITE_CACHED_PAGE_MODE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"page_scan_mode", 12, W::u8}, {"page_scan_rep_mode", 13, W::u8}};
constexpr FieldDef k_DM_WRITE_CACHED_CLOCK_OFFSET_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"clock_offset", 12, W::u16}};
constexpr FieldDef k_DM_CLEAR_PARAM_CACHE_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_DM_SET_DEFAULT_LINK_POLICY[] = {{"link_policy_settings_in", 2, W::u16}, {"link_policy_settings_out", 4, W::u16}};
constexpr FieldDef k_DM_HC_TO_HOST_FLOW_CONTROL[] = {{"phandle", 2, W::u16}, {"Active", 4, W::u8}};
constexpr FieldDef k_L2CA_REGISTER_REQ[] = {{"psm", 2, W::u16}, {"phandle", 4, W::u16}};
constexpr FieldDef k_L2CA_CONNECT_REQ[] = {{"psm_local", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"psm", 12, W::u16}, {"packet_type", 14, W::u16}};
constexpr FieldDef k_L2CA_CONNECT_RSP[] = {{"identifier", 2, W::u8}, {"cid", 4, W::u16}, {"response", 6, W::u16}};
constexpr FieldDef k_L2CA_CONFIG_REQ[] = {{"cid", 2, W::u16}, {"options", 4, W::u16}, {"in_mtu", 6, W::u16}, {"outflow.service_type", 8, W::u8}, {"outflow.token_rate", 12, W::u32}, {"outflow.token_bucket", 16, W::u32}, {"outflow.peak_bw", 20, W::u32}, {"outflow.latency", 24, W::u32}, {"outflow.delay_var", 28, W::u32}, {"outflush_to", 32, W::u16}, {"more_flag", 34, W::u8}};
constexpr FieldDef k_L2CA_CONFIG_RSP[] = {{"cid", 2, W::u16}, {"identifier", 4, W::u8}, {"size_options", 6, W::u16}, {"options", 8, W::ptr, 1, F::block, 6}, {"response", 12, W::u16}, {"more_flag", 14, W::u8}};
constexpr FieldDef k_L2CA_DATAWRITE_REQ[] = {{"cid", 2, W::u16}, {"length", 4, W::u16}, {"data", 8, W::ptr, 1, F::block, 4}};
constexpr FieldDef k_L2CA_DISCONNECT_REQ[] = {{"cid", 2, W::u16}};
constexpr FieldDef k_L2CA_DISCONNECT_RSP[] = {{"identifier", 2, W::u8}, {"cid", 4, W::u16}};
constexpr FieldDef k_L2CA_PING_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"data", 12, W::ptr, 1, F::block, 16}, {"length", 16, W::u16}, {"psm_local", 18, W::u16}};
constexpr FieldDef k_L2CA_GETINFO_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"info_type", 12, W::u16}, {"psm_local", 14, W::u16}};
constexpr FieldDef k_L2CA_GROUP_CREATE_REQ[] = {{"psm_local", 2, W::u16}};
constexpr FieldDef k_L2CA_GROUP_CLOSE_REQ[] = {{"cid", 2, W::u16}, {"psm_local", 4, W::u16}};
constexpr FieldDef k_L2CA_ENABLE_CONNECTIONLESS_REQ[] = {{"psm", 2, W::u16}, {"phandle", 4, W::u16}};
constexpr FieldDef k_L2CA_DISABLE_CONNECTIONLESS_REQ[] = {{"psm", 2, W::u16}, {"phandle", 4, W::u16}};
constexpr FieldDef k_BNEP_REGISTER_REQ[] = {{"flags", 2, W::u16}, {"phandle", 4, W::u16}};
constexpr FieldDef k_BNEP_LISTEN_REQ[] = {{"phandle", 2, W::u16}, {"ether_type", 4, W::u16}, {"addr", 6, W::u16, 3, F::ether_addr}};
constexpr FieldDef k_BNEP_IGNORE_REQ[] = {{"ether_type", 2, W::u16}, {"addr", 4, W::u16, 3, F::ether_addr}};
constexpr FieldDef k_BNEP_DATA_REQ[] = {{"ether_type", 2, W::u16}, {"rem_addr", 4, W::u16, 3, F::ether_addr}, {"mblk", 12, W::ptr, 1, F::block, 16}, {"len", 16, W::u16}};
constexpr FieldDef k_BNEP_EXTENDED_DATA_REQ[] = {{"id", 2, W::u16}, {"ether_type", 4, W::u16}, {"dst_addr", 6, W::u16, 3, F::ether_addr}, {"src_addr", 12, W::u16, 3, F::ether_addr}, {"mblk", 20, W::ptr, 1, F::block, 24}, {"len", 24, W::u16}};
constexpr FieldDef k_BNEP_EXTENDED_MULTICAST_DATA_REQ[] = {{"id_not", 2, W::u16}, {"ether_type", 4, W::u16}, {"dst_addr", 6, W::u16, 3, F::ether_addr}, {"src_addr", 12, W::u16, 3, F::ether_addr}, {"mblk", 20, W::ptr, 1, F::block, 24}, {"len", 24, W::u16}};
constexpr FieldDef k_BNEP_DISCONNECT_REQ[] = {{"flags", 2, W::u16}, {"id", 4, W::u16}};
constexpr FieldDef k_BNEP_DEBUG_REQ[] = {{"id", 2, W::u16}, {"test", 4, W::u16}, {"args", 6, W::u16, 18, F::word_args}};
constexpr FieldDef k_BNEP_HCI_SWITCH_ROLE_RSP[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"status", 12, W::u8}, {"role", 13, W::u8}};
constexpr FieldDef k_TCP_OPEN_REQ[] = {{"phandle", 2, W::u16}, {"flags", 4, W::u16}, {"rem_addr", 6, W::u16, 8, F::ip_addr}, {"rem_port", 22, W::u16}, {"out_size", 24, W::u16}, {"loc_port", 26, W::u16}, {"in_size", 28, W::u16}};
constexpr FieldDef k_TCP_OPEN_RSP[] = {{"b", 2, W::u16}, {"status", 4, W::u32}};
constexpr FieldDef k_TCP_DATA_REQ[] = {{"b_out", 2, W::u16}, {"len", 4, W::u16}, {"data", 8, W::ptr, 1, F::block, 4}};
constexpr FieldDef k_TCP_DATA_RSP[] = {{"b", 2, W::u16}, {"len", 4, W::u16}};
constexpr FieldDef k_TCP_CLOSE_REQ[] = {{"b", 2, W::u16}};
constexpr FieldDef k_TCP_CLOSED_RSP[] = {{"b", 2, W::u16}};
constexpr FieldDef k_TCP_ABORT_REQ[] = {{"b", 2, W::u16}};
constexpr FieldDef k_TCP_ABORT_RSP[] = {{"b", 2, W::u16}, {"flags", 4, W::u32}};
constexpr FieldDef k_RFC_INIT_REQ[] = {{"phandle", 2, W::u16}, {"psm_local", 4, W::u16}, {"use_flow_control", 6, W::u8}, {"fc_type", 8, W::u16}, {"fc_threshold", 10, W::u16}, {"fc_timer", 12, W::u32}, {"rsvd_4", 16, W::u32}, {"rsvd_5", 20, W::u32}};
constexpr FieldDef k_RFC_REGISTER_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_RFC_START_REQ[] = {{"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"psm_remote", 12, W::u16}, {"sys_pars.port_speed", 14, W::u8}, {"sys_pars.max_frame_size", 16, W::u16}, {"respond_phandle", 18, W::u16}};
constexpr FieldDef k_RFC_START_RES[] = {{"mux_id", 2, W::u8}, {"accept", 3, W::u8}, {"sys_pars.port_speed", 4, W::u8}, {"sys_pars.max_frame_size", 6, W::u16}, {"respond_phandle", 8, W::u16}};
constexpr FieldDef k_RFC_CLOSE_REQ[] = {{"mux_id", 2, W::u8}};
constexpr FieldDef k_RFC_ESTABLISH_REQ[] = {{"mux_id", 2, W::u8}, {"loc_server_chan", 3, W::u8}, {"rem_server_chan", 4, W::u8}};
constexpr FieldDef k_RFC_ESTABLISH_RES[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"accept", 4, W::u8}};
constexpr FieldDef k_RFC_RELEASE_REQ[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}};
constexpr FieldDef k_RFC_FCON_REQ[] = {{"mux_id", 2, W::u8}};
constexpr FieldDef k_RFC_FCOFF_REQ[] = {{"mux_id", 2, W::u8}};
constexpr FieldDef k_RFC_DATA_REQ[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"credits", 4, W::u16}, {"payload_length", 6, W::u16}, {"payload", 8, W::ptr, 1, F::block, 6}};
constexpr FieldDef k_RFC_DATAWRITE_REQ[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"credits", 4, W::u16}, {"payload_length", 6, W::u16}, {"payload", 8, W::ptr, 1, F::block, 6}};
constexpr FieldDef k_RFC_CONTROL_REQ[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"control_pars.modem_signal", 4, W::u8}, {"control_pars.break_signal", 5, W::u8}};
constexpr FieldDef k_RFC_LINESTATUS_REQ[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"error_flag", 4, W::u8}, {"line_status", 5, W::u8}};
constexpr FieldDef k_RFC_PARNEG_REQ[] = {{"mux_id", 2, W::u8}, {"loc_server_chan", 3, W::u8}, {"rem_server_chan", 4, W::u8}, {"dlc_pars.max_frame_size", 6, W::u16}, {"dlc_pars.credit_flow_ctrl", 8, W::u8}, {"dlc_pars.initial_credits", 10, W::u16}};
constexpr FieldDef k_RFC_PARNEG_RES[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"dlc_pars.max_frame_size", 4, W::u16}, {"dlc_pars.credit_flow_ctrl", 6, W::u8}, {"dlc_pars.initial_credits", 8, W::u16}};
constexpr FieldDef k_RFC_PORTNEG_REQ[] = {{"mux_id", 2, W::u8}, {"loc_server_chan", 3, W::u8}, {"rem_server_chan", 4, W::u8}, {"request", 5, W::u8}, {"port_pars.port_speed", 6, W::u8}, {"port_pars.data_bits", 7, W::u8}, {"port_pars.stop_bits", 8, W::u8}, {"port_pars.parity", 9, W::u8}, {"port_pars.parity_type", 10, W::u8}, {"port_pars.flow_ctrl_mask", 11, W::u8}, {"port_pars.xon", 12, W::u8}, {"port_pars.xoff", 13, W::u8}, {"port_pars.parameter_mask", 14, W::u16}};
constexpr FieldDef k_RFC_PORTNEG_RES[] = {{"mux_id", 2, W::u8}, {"server_chan", 3, W::u8}, {"port_pars.port_speed", 4, W::u8}, {"port_pars.data_bits", 5, W::u8}, {"port_pars.stop_bits", 6, W::u8}, {"port_pars.parity", 7, W::u8}, {"port_pars.parity_type", 8, W::u8}, {"port_pars.flow_ctrl_mask", 9, W::u8}, {"port_pars.xon", 10, W::u8}, {"port_pars.xoff", 11, W::u8}, {"port_pars.parameter_mask", 12, W::u16}};
constexpr FieldDef k_RFC_TEST_REQ[] = {{"mux_id", 2, W::u8}, {"test_data_length", 4, W::u16}, {"test_data", 8, W::ptr, 1, F::block, 4}};
constexpr FieldDef k_SDC_SERVICE_SEARCH_REQ[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"size_srch_pttrn", 12, W::u16}, {"srch_pttrn", 16, W::ptr, 1, F::block, 12}, {"max_num_recs", 20, W::u16}};
constexpr FieldDef k_SDC_SERVICE_ATTRIBUTE_REQ[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"svc_rec_hndl", 12, W::u32}, {"size_attr_list", 16, W::u16}, {"attr_list", 20, W::ptr, 1, F::block, 16}, {"max_num_attr", 24, W::u16}};
constexpr FieldDef k_SDC_SERVICE_SEARCH_ATTRIBUTE_REQ[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}, {"size_srch_pttrn", 12, W::u16}, {"srch_pttrn", 16, W::ptr, 1, F::block, 12}, {"size_attr_list", 20, W::u16}, {"attr_list", 24, W::ptr, 1, F::block, 20}, {"max_num_attr", 28, W::u16}};
constexpr FieldDef k_SDC_TERMINATE_PRIMITIVE_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_SDC_OPEN_SEARCH_REQ[] = {{"phandle", 2, W::u16}, {"bd_addr.lap", 4, W::u32}, {"bd_addr.uap", 8, W::u8}, {"bd_addr.nap", 10, W::u16}};
constexpr FieldDef k_SDC_CLOSE_SEARCH_REQ[] = {{"phandle", 2, W::u16}};
constexpr FieldDef k_SDC_CONFIG_REQ[] = {{"mtu", 2, W::u16}};
constexpr FieldDef k_SDS_REGISTER_REQ[] = {{"phandle", 2, W::u16}, {"service_rec", 4, W::ptr, 1, F::block, 8}, {"num_rec_bytes", 8, W::u16}};
constexpr FieldDef k_SDS_UNREGISTER_REQ[] = {{"phandle", 2, W::u16}, {"svc_rec_hndl", 4, W::u32}};
constexpr FieldDef k_SDS_CONFIG_REQ[] = {{"mtu", 2, W::u16}};

constexpr PrimitiveDef kSentPrimitives[] = {
    {"DM_HCI_INQUIRY", 0x0401, 4, 12, k_DM_HCI_INQUIRY, P::dm_hci},
    {"DM_HCI_INQUIRY_CANCEL", 0x0402, 4, 4, {}, P::dm_hci},
    {"DM_HCI_PERIODIC_INQUIRY", 0x0403, 4, 16, k_DM_HCI_PERIODIC_INQUIRY, P::dm_hci},
    {"DM_HCI_EXIT_PERIODIC_INQUIRY", 0x0404, 4, 4, {}, P::dm_hci},
    {"DM_HCI_CHANGE_PACKET_TYPE", 0x040F, 4, 8, k_DM_HCI_CHANGE_PACKET_TYPE, P::dm_hci},
    {"DM_HCI_CHANGE_LINK_KEY", 0x0415, 4, 16, k_DM_HCI_CHANGE_LINK_KEY, P::dm_hci},
    {"DM_HCI_MASTER_LINK_KEY", 0x0417, 4, 6, k_DM_HCI_MASTER_LINK_KEY, P::dm_hci},
    {"DM_HCI_REMOTE_NAME_REQUEST", 0x0419, 4, 16, k_DM_HCI_REMOTE_NAME_REQUEST, P::dm_hci},
    {"DM_HCI_READ_REMOTE_FEATURES", 0x041B, 4, 16, k_DM_HCI_READ_REMOTE_FEATURES, P::dm_hci},
    {"DM_HCI_READ_REMOTE_VERSION", 0x041D, 4, 16, k_DM_HCI_READ_REMOTE_VERSION, P::dm_hci},
    {"DM_HCI_READ_CLOCK_OFFSET", 0x041F, 4, 16, k_DM_HCI_READ_CLOCK_OFFSET, P::dm_hci},
    {"DM_HCI_HOLD_MODE", 0x0801, 4, 20, k_DM_HCI_HOLD_MODE, P::dm_hci},
    {"DM_HCI_SNIFF_MODE", 0x0803, 4, 24, k_DM_HCI_SNIFF_MODE, P::dm_hci},
    {"DM_HCI_EXIT_SNIFF_MODE", 0x0804, 4, 16, k_DM_HCI_EXIT_SNIFF_MODE, P::dm_hci},
    {"DM_HCI_PARK_MODE", 0x0805, 4, 20, k_DM_HCI_PARK_MODE, P::dm_hci},
    {"DM_HCI_EXIT_PARK_MODE", 0x0806, 4, 16, k_DM_HCI_EXIT_PARK_MODE, P::dm_hci},
    {"DM_HCI_QOS_SETUP_REQ", 0x0807, 4, 36, k_DM_HCI_QOS_SETUP_REQ, P::dm_hci},
    {"DM_HCI_ROLE_DISCOVERY", 0x0809, 4, 16, k_DM_HCI_ROLE_DISCOVERY, P::dm_hci},
    {"DM_HCI_SWITCH_ROLE", 0x080B, 4, 16, k_DM_HCI_SWITCH_ROLE, P::dm_hci},
    {"DM_HCI_READ_LP_SETTINGS", 0x080C, 4, 16, k_DM_HCI_READ_LP_SETTINGS, P::dm_hci},
    {"DM_HCI_WRITE_LP_SETTINGS", 0x080D, 4, 24, k_DM_HCI_WRITE_LP_SETTINGS, P::dm_hci},
    {"DM_HCI_SET_EVENT_MASK", 0x0C01, 4, 12, k_DM_HCI_SET_EVENT_MASK, P::dm_hci},
    {"DM_HCI_RESET", 0x0C03, 4, 4, {}, P::dm_hci},
    {"DM_HCI_SET_EVENT_FILTER", 0x0C05, 4, 20, k_DM_HCI_SET_EVENT_FILTER, P::dm_hci},
    {"DM_HCI_FLUSH", 0x0C08, 4, 16, k_DM_HCI_FLUSH, P::dm_hci},
    {"DM_HCI_READ_PIN_TYPE", 0x0C09, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_PIN_TYPE", 0x0C0A, 4, 6, k_DM_HCI_WRITE_PIN_TYPE, P::dm_hci},
    {"DM_HCI_CREATE_NEW_UNIT_KEY", 0x0C0B, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_STORED_LINK_KEY", 0x0C0D, 4, 16, k_DM_HCI_READ_STORED_LINK_KEY, P::dm_hci},
    {"DM_HCI_WRITE_STORED_LINK_KEY", 0x0C11, 4, 48, k_DM_HCI_WRITE_STORED_LINK_KEY, P::dm_hci},
    {"DM_HCI_DELETE_STORED_LINK_KEY", 0x0C12, 4, 16, k_DM_HCI_DELETE_STORED_LINK_KEY, P::dm_hci},
    {"DM_HCI_CHANGE_LOCAL_NAME", 0x0C13, 4, 36, k_DM_HCI_CHANGE_LOCAL_NAME, P::dm_hci},
    {"DM_HCI_READ_LOCAL_NAME", 0x0C14, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_CONN_ACCEPT_TO", 0x0C15, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_CONN_ACCEPT_TO", 0x0C16, 4, 6, k_DM_HCI_WRITE_CONN_ACCEPT_TO, P::dm_hci},
    {"DM_HCI_READ_PAGE_TO", 0x0C17, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_PAGE_TO", 0x0C18, 4, 6, k_DM_HCI_WRITE_PAGE_TO, P::dm_hci},
    {"DM_HCI_READ_SCAN_ENABLE", 0x0C19, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_SCAN_ENABLE", 0x0C1A, 4, 6, k_DM_HCI_WRITE_SCAN_ENABLE, P::dm_hci},
    {"DM_HCI_READ_PAGESCAN_ACTIVITY", 0x0C1B, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_PAGESCAN_ACTIVITY", 0x0C1C, 4, 8, k_DM_HCI_WRITE_PAGESCAN_ACTIVITY, P::dm_hci},
    {"DM_HCI_READ_INQUIRYSCAN_ACTIVITY", 0x0C1D, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_INQUIRYSCAN_ACTIVITY", 0x0C1E, 4, 8, k_DM_HCI_WRITE_INQUIRYSCAN_ACTIVITY, P::dm_hci},
    {"DM_HCI_READ_AUTH_ENABLE", 0x0C1F, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_ENCRYPTION_MODE", 0x0C21, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_CLASS_OF_DEVICE", 0x0C23, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_CLASS_OF_DEVICE", 0x0C24, 4, 8, k_DM_HCI_WRITE_CLASS_OF_DEVICE, P::dm_hci},
    {"DM_HCI_READ_VOICE_SETTING", 0x0C25, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_VOICE_SETTING", 0x0C26, 4, 6, k_DM_HCI_WRITE_VOICE_SETTING, P::dm_hci},
    {"DM_HCI_READ_AUTO_FLUSH_TIMEOUT", 0x0C27, 4, 16, k_DM_HCI_READ_AUTO_FLUSH_TIMEOUT, P::dm_hci},
    {"DM_HCI_WRITE_AUTO_FLUSH_TIMEOUT", 0x0C28, 4, 20, k_DM_HCI_WRITE_AUTO_FLUSH_TIMEOUT, P::dm_hci},
    {"DM_HCI_READ_NUM_BCAST_TXS", 0x0C29, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_NUM_BCAST_TXS", 0x0C2A, 4, 6, k_DM_HCI_WRITE_NUM_BCAST_TXS, P::dm_hci},
    {"DM_HCI_READ_HOLD_MODE_ACTIVITY", 0x0C2B, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_HOLD_MODE_ACTIVITY", 0x0C2C, 4, 6, k_DM_HCI_WRITE_HOLD_MODE_ACTIVITY, P::dm_hci},
    {"DM_HCI_READ_TX_POWER_LEVEL", 0x0C2D, 4, 20, k_DM_HCI_READ_TX_POWER_LEVEL, P::dm_hci},
    {"DM_HCI_READ_SCO_FLOW_CONTROL_ENABLE", 0x0C2E, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_SCO_FLOW_CONTROL_ENABLE", 0x0C2F, 4, 6, k_DM_HCI_WRITE_SCO_FLOW_CONTROL_ENABLE, P::dm_hci},
    {"DM_HCI_SET_HC_TO_HOST_FLOW", 0x0C31, 4, 6, k_DM_HCI_SET_HC_TO_HOST_FLOW, P::dm_hci},
    {"DM_HCI_READ_LINK_SUPERV_TIMEOUT", 0x0C36, 4, 16, k_DM_HCI_READ_LINK_SUPERV_TIMEOUT, P::dm_hci},
    {"DM_HCI_WRITE_LINK_SUPERV_TIMEOUT", 0x0C37, 4, 20, k_DM_HCI_WRITE_LINK_SUPERV_TIMEOUT, P::dm_hci},
    {"DM_HCI_READ_NUM_SUPPORTED_IAC", 0x0C38, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_CURRENT_IAC_LAP", 0x0C39, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_CURRENT_IAC_LAP", 0x0C3A, 4, 32, k_DM_HCI_WRITE_CURRENT_IAC_LAP, P::dm_hci},
    {"DM_HCI_READ_PAGESCAN_PERIOD_MODE", 0x0C3B, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_PAGESCAN_PERIOD_MODE", 0x0C3C, 4, 6, k_DM_HCI_WRITE_PAGESCAN_PERIOD_MODE, P::dm_hci},
    {"DM_HCI_READ_PAGESCAN_MODE", 0x0C3D, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_PAGESCAN_MODE", 0x0C3E, 4, 6, k_DM_HCI_WRITE_PAGESCAN_MODE, P::dm_hci},
    {"DM_HCI_HARDWARE_ERROR", 0x0C6E, 4, 6, k_DM_HCI_HARDWARE_ERROR, P::dm_hci},
    {"DM_HCI_DATA_BUFFER_OVERFLOW", 0x0C6F, 4, 4, k_DM_HCI_DATA_BUFFER_OVERFLOW, P::dm_hci},
    {"DM_HCI_MAX_SLOTS_CHANGE", 0x0C70, 4, 6, k_DM_HCI_MAX_SLOTS_CHANGE, P::dm_hci},
    {"DM_HCI_READ_LOCAL_VERSION", 0x1001, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_LOCAL_FEATURES", 0x1003, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_COUNTRY_CODE", 0x1007, 4, 4, {}, P::dm_hci},
    {"DM_HCI_READ_BD_ADDR", 0x1009, 4, 4, {}, P::dm_hci},
    {"DM_HCI_FAILED_CONTACT_COUNTER", 0x1401, 4, 16, k_DM_HCI_FAILED_CONTACT_COUNTER, P::dm_hci},
    {"DM_HCI_RESET_CONTACT_COUNTER", 0x1402, 4, 16, k_DM_HCI_RESET_CONTACT_COUNTER, P::dm_hci},
    {"DM_HCI_GET_LINK_QUALITY", 0x1403, 4, 16, k_DM_HCI_GET_LINK_QUALITY, P::dm_hci},
    {"DM_HCI_READ_RSSI", 0x1405, 4, 16, k_DM_HCI_READ_RSSI, P::dm_hci},
    {"DM_HCI_READ_LOOPBACK_MODE", 0x1801, 4, 4, {}, P::dm_hci},
    {"DM_HCI_WRITE_LOOPBACK_MODE", 0x1802, 4, 6, k_DM_HCI_WRITE_LOOPBACK_MODE, P::dm_hci},
    {"DM_HCI_ENABLE_DEVICE_UT_MODE", 0x1803, 4, 4, {}, P::dm_hci},
    {"DM_SM_SET_DEFAULT_SECURITY_REQ", 0x2C01, 4, 4, k_DM_SM_SET_DEFAULT_SECURITY_REQ, P::dm},
    {"DM_SM_REGISTER_REQ", 0x2C02, 4, 20, k_DM_SM_REGISTER_REQ, P::dm},
    {"DM_SM_UNREGISTER_REQ", 0x2C03, 4, 12, k_DM_SM_UNREGISTER_REQ, P::dm},
    {"DM_SM_REGISTER_OUTGOING_REQ", 0x2C04, 4, 24, k_DM_SM_REGISTER_OUTGOING_REQ, P::dm},
    {"DM_SM_UNREGISTER_OUTGOING_REQ", 0x2C05, 4, 20, k_DM_SM_UNREGISTER_OUTGOING_REQ, P::dm},
    {"DM_SM_ACCESS_REQ", 0x2C06, 4, 32, k_DM_SM_ACCESS_REQ, P::dm},
    {"DM_SM_SET_SEC_MODE_REQ", 0x2C07, 4, 4, k_DM_SM_SET_SEC_MODE_REQ, P::dm},
    {"DM_SM_ADD_DEVICE_REQ", 0x2C08, 4, 32, k_DM_SM_ADD_DEVICE_REQ, P::dm},
    {"DM_SM_REMOVE_DEVICE_REQ", 0x2C09, 4, 12, k_DM_SM_REMOVE_DEVICE_REQ, P::dm},
    {"DM_SM_LINK_KEY_REQUEST_RES", 0x2C0A, 4, 32, k_DM_SM_LINK_KEY_REQUEST_RES, P::dm},
    {"DM_SM_PIN_REQUEST_RES", 0x2C0B, 4, 32, k_DM_SM_PIN_REQUEST_RES, P::dm},
    {"DM_SM_AUTHORISE_RES", 0x2C0C, 4, 24, k_DM_SM_AUTHORISE_RES, P::dm},
    {"DM_SM_AUTHENTICATE_REQ", 0x2C0D, 4, 12, k_DM_SM_AUTHENTICATE_REQ, P::dm},
    {"DM_SM_ENCRYPT_REQ", 0x2C0E, 4, 16, k_DM_SM_ENCRYPT_REQ, P::dm},
    {"DM_SM_L2CAP_REGISTER_REQ", 0x2C0F, 4, 4, k_DM_SM_L2CAP_REGISTER_REQ, P::dm},
    {"DM_SM_ENCRYPTION_CHANGE", 0x2C1C, 4, 16, k_DM_SM_ENCRYPTION_CHANGE, P::dm},
    {"DM_ACL_REGISTER_REQ", 0x2001, 4, 4, k_DM_ACL_REGISTER_REQ, P::dm},
    {"DM_ACL_CONNECT_REQ", 0x2003, 4, 16, k_DM_ACL_CONNECT_REQ, P::dm},
    {"DM_ACL_DISCONNECT_REQ", 0x2006, 4, 6, k_DM_ACL_DISCONNECT_REQ, P::dm},
    {"DM_ACL_OPEN_REQ", 0x2805, 4, 12, k_DM_ACL_OPEN_REQ, P::dm},
    {"DM_ACL_CLOSE_REQ", 0x2806, 4, 12, k_DM_ACL_CLOSE_REQ, P::dm},
    {"DM_SCO_INCOMING_REGISTER_REQ", 0x2401, 4, 8, k_DM_SCO_INCOMING_REGISTER_REQ, P::dm},
    {"DM_SCO_INCOMING_UNREGISTER_REQ", 0x2402, 4, 8, k_DM_SCO_INCOMING_UNREGISTER_REQ, P::dm},
    {"DM_SCO_CONNECT_REQ", 0x2403, 4, 20, k_DM_SCO_CONNECT_REQ, P::dm},
    {"DM_SCO_CONNECT_RES", 0x2406, 4, 6, k_DM_SCO_CONNECT_RES, P::dm},
    {"DM_SCO_DISCONNECT_REQ", 0x2407, 4, 6, k_DM_SCO_DISCONNECT_REQ, P::dm},
    {"DM_AM_REGISTER_REQ", 0x0000, 4, 4, k_DM_AM_REGISTER_REQ, P::dm},
    {"DM_CONNECTIONLESS_CH_REG_REQ", 0x200A, 4, 4, k_DM_CONNECTIONLESS_CH_REG_REQ, P::dm},
    {"DM_WRITE_CACHED_PAGE_MODE_REQ", 0x2801, 4, 16, k_DM_WRITE_CACHED_PAGE_MODE_REQ, P::dm},
    {"DM_WRITE_CACHED_CLOCK_OFFSET_REQ", 0x2802, 4, 16, k_DM_WRITE_CACHED_CLOCK_OFFSET_REQ, P::dm},
    {"DM_CLEAR_PARAM_CACHE_REQ", 0x2803, 4, 12, k_DM_CLEAR_PARAM_CACHE_REQ, P::dm},
    {"DM_SET_DEFAULT_LINK_POLICY", 0x2804, 4, 6, k_DM_SET_DEFAULT_LINK_POLICY, P::dm},
    {"DM_HC_TO_HOST_FLOW_CONTROL", 0x280B, 4, 6, k_DM_HC_TO_HOST_FLOW_CONTROL, P::dm},
    {"L2CA_REGISTER_REQ", 0x0001, 5, 6, k_L2CA_REGISTER_REQ, P::l2ca},
    {"L2CA_CONNECT_REQ", 0x0003, 5, 16, k_L2CA_CONNECT_REQ, P::l2ca},
    {"L2CA_CONNECT_RSP", 0x0004, 5, 8, k_L2CA_CONNECT_RSP, P::l2ca},
    {"L2CA_CONFIG_REQ", 0x0007, 5, 36, k_L2CA_CONFIG_REQ, P::l2ca},
    {"L2CA_CONFIG_RSP", 0x0008, 5, 16, k_L2CA_CONFIG_RSP, P::l2ca},
    {"L2CA_DATAWRITE_REQ", 0x000B, 5, 12, k_L2CA_DATAWRITE_REQ, P::l2ca},
    {"L2CA_DISCONNECT_REQ", 0x000E, 5, 4, k_L2CA_DISCONNECT_REQ, P::l2ca},
    {"L2CA_DISCONNECT_RSP", 0x000F, 5, 6, k_L2CA_DISCONNECT_RSP, P::l2ca},
    {"L2CA_PING_REQ", 0x0014, 5, 20, k_L2CA_PING_REQ, P::l2ca},
    {"L2CA_GETINFO_REQ", 0x0016, 5, 16, k_L2CA_GETINFO_REQ, P::l2ca},
    {"L2CA_GROUP_CREATE_REQ", 0x0018, 5, 4, k_L2CA_GROUP_CREATE_REQ, P::l2ca},
    {"L2CA_GROUP_CLOSE_REQ", 0x001A, 5, 6, k_L2CA_GROUP_CLOSE_REQ, P::l2ca},
    {"L2CA_ENABLE_CONNECTIONLESS_REQ", 0x001C, 5, 6, k_L2CA_ENABLE_CONNECTIONLESS_REQ, P::l2ca},
    {"L2CA_DISABLE_CONNECTIONLESS_REQ", 0x001E, 5, 6, k_L2CA_DISABLE_CONNECTIONLESS_REQ, P::l2ca},
    {"BNEP_FLOW_REQ", 0x00FF, 5, 2, {}, P::bnep},
    {"BNEP_REGISTER_REQ", 0x0101, 5, 6, k_BNEP_REGISTER_REQ, P::bnep},
    {"BNEP_LISTEN_REQ", 0x0105, 5, 12, k_BNEP_LISTEN_REQ, P::bnep},
    {"BNEP_IGNORE_REQ", 0x0106, 5, 10, k_BNEP_IGNORE_REQ, P::bnep},
    {"BNEP_DATA_REQ", 0x0109, 5, 20, k_BNEP_DATA_REQ, P::bnep},
    {"BNEP_EXTENDED_DATA_REQ", 0x010A, 5, 28, k_BNEP_EXTENDED_DATA_REQ, P::bnep},
    {"BNEP_EXTENDED_MULTICAST_DATA_REQ", 0x010B, 5, 28, k_BNEP_EXTENDED_MULTICAST_DATA_REQ, P::bnep},
    {"BNEP_DISCONNECT_REQ", 0x0110, 5, 6, k_BNEP_DISCONNECT_REQ, P::bnep},
    {"BNEP_DEBUG_REQ", 0x0112, 5, 42, k_BNEP_DEBUG_REQ, P::bnep},
    {"BNEP_HCI_SWITCH_ROLE_RSP", 0x0114, 5, 16, k_BNEP_HCI_SWITCH_ROLE_RSP, P::bnep},
    {"TCP_OPEN_REQ", 0x0201, 5, 30, k_TCP_OPEN_REQ, P::tcp},
    {"TCP_OPEN_RSP", 0x0204, 5, 8, k_TCP_OPEN_RSP, P::tcp},
    {"TCP_DATA_REQ", 0x0205, 5, 12, k_TCP_DATA_REQ, P::tcp},
    {"TCP_DATA_RSP", 0x0208, 5, 6, k_TCP_DATA_RSP, P::tcp},
    {"TCP_CLOSE_REQ", 0x0209, 5, 4, k_TCP_CLOSE_REQ, P::tcp},
    {"TCP_CLOSED_RSP", 0x020C, 5, 4, k_TCP_CLOSED_RSP, P::tcp},
    {"TCP_ABORT_REQ", 0x020D, 5, 4, k_TCP_ABORT_REQ, P::tcp},
    {"TCP_ABORT_RSP", 0x020F, 5, 8, k_TCP_ABORT_RSP, P::tcp},
    {"RFC_INIT_REQ", 0x0001, 6, 24, k_RFC_INIT_REQ, P::rfc},
    {"RFC_REGISTER_REQ", 0x0003, 6, 4, k_RFC_REGISTER_REQ, P::rfc},
    {"RFC_START_REQ", 0x0005, 6, 20, k_RFC_START_REQ, P::rfc},
    {"RFC_START_RES", 0x0006, 6, 10, k_RFC_START_RES, P::rfc},
    {"RFC_CLOSE_REQ", 0x000A, 6, 4, k_RFC_CLOSE_REQ, P::rfc},
    {"RFC_ESTABLISH_REQ", 0x000C, 6, 6, k_RFC_ESTABLISH_REQ, P::rfc},
    {"RFC_ESTABLISH_RES", 0x000D, 6, 6, k_RFC_ESTABLISH_RES, P::rfc},
    {"RFC_RELEASE_REQ", 0x0010, 6, 4, k_RFC_RELEASE_REQ, P::rfc},
    {"RFC_FCON_REQ", 0x0012, 6, 4, k_RFC_FCON_REQ, P::rfc},
    {"RFC_FCOFF_REQ", 0x0015, 6, 4, k_RFC_FCOFF_REQ, P::rfc},
    {"RFC_DATA_REQ", 0x0018, 6, 12, k_RFC_DATA_REQ, P::rfc},
    {"RFC_DATAWRITE_REQ", 0x001A, 6, 12, k_RFC_DATAWRITE_REQ, P::rfc},
    {"RFC_CONTROL_REQ", 0x001C, 6, 6, k_RFC_CONTROL_REQ, P::rfc},
    {"RFC_LINESTATUS_REQ", 0x001E, 6, 6, k_RFC_LINESTATUS_REQ, P::rfc},
    {"RFC_PARNEG_REQ", 0x0020, 6, 12, k_RFC_PARNEG_REQ, P::rfc},
    {"RFC_PARNEG_RES", 0x0021, 6, 10, k_RFC_PARNEG_RES, P::rfc},
    {"RFC_PORTNEG_REQ", 0x0024, 6, 16, k_RFC_PORTNEG_REQ, P::rfc},
    {"RFC_PORTNEG_RES", 0x0025, 6, 14, k_RFC_PORTNEG_RES, P::rfc},
    {"RFC_TEST_REQ", 0x0028, 6, 12, k_RFC_TEST_REQ, P::rfc},
    {"SDC_SERVICE_SEARCH_REQ", 0x0001, 7, 24, k_SDC_SERVICE_SEARCH_REQ, P::sdc},
    {"SDC_SERVICE_ATTRIBUTE_REQ", 0x0003, 7, 28, k_SDC_SERVICE_ATTRIBUTE_REQ, P::sdc},
    {"SDC_SERVICE_SEARCH_ATTRIBUTE_REQ", 0x0005, 7, 32, k_SDC_SERVICE_SEARCH_ATTRIBUTE_REQ, P::sdc},
    {"SDC_TERMINATE_PRIMITIVE_REQ", 0x0007, 7, 4, k_SDC_TERMINATE_PRIMITIVE_REQ, P::sdc},
    {"SDC_OPEN_SEARCH_REQ", 0x0008, 7, 12, k_SDC_OPEN_SEARCH_REQ, P::sdc},
    {"SDC_CLOSE_SEARCH_REQ", 0x000A, 7, 4, k_SDC_CLOSE_SEARCH_REQ, P::sdc},
    {"SDC_CONFIG_REQ", 0x000B, 7, 4, k_SDC_CONFIG_REQ, P::sdc},
    {"SDS_REGISTER_REQ", 0x000E, 7, 12, k_SDS_REGISTER_REQ, P::sds},
    {"SDS_UNREGISTER_REQ", 0x0010, 7, 8, k_SDS_UNREGISTER_REQ, P::sds},
    {"SDS_CONFIG_REQ", 0x0012, 7, 4, k_SDS_CONFIG_REQ, P::sds},
};

constexpr size_t kSentPrimitiveCount = 176;
static_assert(std::size(kSentPrimitives) == kSentPrimitiveCount);

// Every field lies inside its primitive, and the type is the only thing
// before offset 2.
constexpr bool fields_inside(const PrimitiveDef& row) {
    for (const FieldDef& field : row.fields)
        if (field.offset < 2 || field.offset + width_bytes(field.width) * field.count > row.size) return false;
    return true;
}

constexpr bool all_fields_inside() {
    for (const PrimitiveDef& row : kSentPrimitives)
        if (!fields_inside(row)) return false;
    return true;
}
static_assert(all_fields_inside());

}  // namespace

std::span<const PrimitiveDef> sent_primitives() { return kSentPrimitives; }

const PrimitiveDef* find_sent_primitive(uint32_t channel, uint16_t type) {
    for (const PrimitiveDef& row : kSentPrimitives)
        if (row.channel == channel && row.type == type) return &row;
    return nullptr;
}

}  // namespace kestrel
