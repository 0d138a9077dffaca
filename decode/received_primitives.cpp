#include "decode/received_primitives.h"

#include <iterator>

#include "transport/channel.h"

namespace kestrel {
namespace {

using F = FieldFormat;

// Each row: name, type, channel, size (the chip's 32-bit layout), and the
// fields in the order the decoders report them, which numbers arg1, arg2...
// The rows stand in the order their receive commands are registered: DM
// completes, L2CAP, SDP, RFCOMM, BNEP, TCP, and last the three DM events.

constexpr FieldDef kDmHciLinkKeyChangeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciWriteLoopbackModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciEnableDeviceUtModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadRemoteVersionComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"LMP_version", 16, FieldWidth::u8},
    {"manufacturer_name", 18, FieldWidth::u16},
    {"LMP_subversion", 20, FieldWidth::u16},
};
constexpr FieldDef kDmHciWriteCurrentIacLapComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadAutoFlushTimeoutComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"status", 12, FieldWidth::u8},
    {"FlushTimeout", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadStoredLinkKeyComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"max_num_keys", 6, FieldWidth::u16},
    {"num_keys_read", 8, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadAuthEnableComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"auth_enable", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadCountryCodeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"country_code", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadNumSupportedIacComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"num", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciSetHcToHostFlowComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadLinkSupervTimeoutComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"timeout", 16, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadLoopbackModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"mode", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciInquiryComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciMasterLinkKeyComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"key_flag", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciRemoteNameComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"name_part", 16, FieldWidth::ptr, 8, F::name_parts, 0},
};
constexpr FieldDef kDmHciWriteAutoFlushTimeoutComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciResetContactCounterComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadLocalNameComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"name_part", 8, FieldWidth::ptr, 8, F::name_parts, 0},
};
constexpr FieldDef kDmHciSetEventMaskComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciWritePinTypeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciPeriodicInquiryComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciSetEventFilterComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciWritePagescanPeriodModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciResetComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciFlushComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciCreateNewUnitKeyComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciFailedContactCounterComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"failed_contact_count", 16, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadHoldModeActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"activity", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadInquiryscanActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"inqscan_interval", 6, FieldWidth::u16},
    {"inqscan_window", 8, FieldWidth::u16},
};
constexpr FieldDef kDmHciWriteConnAcceptToComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciChangeLocalNameComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadConnAcceptToComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"conn_accept_timeout", 6, FieldWidth::u16},
};
constexpr FieldDef kDmHciWritePagescanModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciInquiryCancelComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadCurrentIacLapComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"num_current_iac", 5, FieldWidth::u8},
    {"iac_lap", 8, FieldWidth::ptr, 6, F::lap_list, 5},
};
constexpr FieldDef kDmHciReadTxPowerLevelComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"pwr_level", 16, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteHoldModeActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadClockOffsetComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"clock_offset", 16, FieldWidth::u16},
};
constexpr FieldDef kDmHciWriteClassOfDeviceComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteVoiceSettingComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadPagescanModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"mode", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadLpSettingsComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"link_policy", 16, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadBdAddrComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciGetLinkQualityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"link_quality", 16, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteStoredLinkKeyComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"num_keys_written", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteNumBcastTxsComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadRemoteFeaturesComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"features", 16, FieldWidth::u16, 4, F::remote_features},
};
constexpr FieldDef kDmHciWriteLpSettingsComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadVoiceSettingComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"voice_setting", 6, FieldWidth::u16},
};
constexpr FieldDef kDmHciWriteLinkSupervTimeoutComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadLocalFeaturesComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"lmp_supp_features", 5, FieldWidth::u8, 8, F::local_features},
};
constexpr FieldDef kDmHciReadRssiComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"rssi", 16, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadNumBcastTxsComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"num", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadEncryptionModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"mode", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadPagescanPeriodModeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"mode", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadLocalVersionComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"hci_version", 5, FieldWidth::u8},
    {"hci_revision", 6, FieldWidth::u16},
    {"lmp_version", 8, FieldWidth::u8},
    {"manuf_name", 10, FieldWidth::u16},
    {"lmp_subversion", 12, FieldWidth::u16},
};
constexpr FieldDef kDmHciHostNumCompletedPacketsComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciSwitchRoleComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"status", 12, FieldWidth::u8},
    {"role", 13, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadPagescanActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"pagescan_interval", 6, FieldWidth::u16},
    {"pagescan_window", 8, FieldWidth::u16},
};
constexpr FieldDef kDmHciExitPeriodicInquiryComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadPinTypeComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"pin_type", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteInquiryscanActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciRoleDiscoveryComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"status", 12, FieldWidth::u8},
    {"role", 13, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadScanEnableComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"scan_enable", 5, FieldWidth::u8},
};
constexpr FieldDef kDmHciDeleteStoredLinkKeyComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"num_keys_deleted", 6, FieldWidth::u16},
};
constexpr FieldDef kDmHciReadPageToComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"page_timeout", 6, FieldWidth::u16},
};
constexpr FieldDef kDmHciWritePagescanActivityComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciWriteScanEnableComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciWritePageToComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciReadClassOfDeviceComplete[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"dev_class", 8, FieldWidth::u32},
};
constexpr FieldDef kDmScoConnectCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"pv_cbarg", 4, FieldWidth::u32},
    {"status", 8, FieldWidth::u8},
    {"handle", 10, FieldWidth::u16},
    {"lm_sco_handle", 12, FieldWidth::u8},
    {"bd_addr.lap", 16, FieldWidth::u32},
    {"bd_addr.uap", 20, FieldWidth::u8},
    {"bd_addr.nap", 22, FieldWidth::u16},
    {"enc_mode", 24, FieldWidth::u8},
};
constexpr FieldDef kDmWriteCachedClockOffsetCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmHciQosSetupCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"flags", 16, FieldWidth::u8},
    {"service_type", 17, FieldWidth::u8},
    {"token_rate", 20, FieldWidth::u32},
    {"peak_bandwidth", 24, FieldWidth::u32},
    {"latency", 28, FieldWidth::u32},
    {"delay_variation", 32, FieldWidth::u32},
};
constexpr FieldDef kDmAclRegisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
};
constexpr FieldDef kDmSmAddDeviceCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"success", 12, FieldWidth::u8},
};
constexpr FieldDef kDmAclConnectCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"handle", 6, FieldWidth::u16},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"enc_mode", 16, FieldWidth::u8},
};
constexpr FieldDef kDmSmSetSecModeCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mode", 4, FieldWidth::u8},
    {"mode3_enc", 5, FieldWidth::u8},
    {"success", 6, FieldWidth::u8},
};
constexpr FieldDef kDmWriteCachedPageModeCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmSmAccessCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"protocol_id", 12, FieldWidth::u32},
    {"channel", 16, FieldWidth::u32},
    {"incoming", 20, FieldWidth::u8},
    {"granted", 21, FieldWidth::u8},
    {"pv_context", 24, FieldWidth::u32},
    {"n_context", 28, FieldWidth::u32},
};
constexpr FieldDef kDmSmRemoveDeviceCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"success", 12, FieldWidth::u8},
};
constexpr FieldDef kDmAmRegisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
};
constexpr FieldDef kDmAclOpenCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"success", 12, FieldWidth::u8},
};
constexpr FieldDef kDmClearParamCacheCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
};
constexpr FieldDef kDmSmEncryptCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"success", 12, FieldWidth::u8},
    {"encrypted", 13, FieldWidth::u8},
};
constexpr FieldDef kDmSmAuthenticateCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"success", 12, FieldWidth::u8},
};
constexpr FieldDef kDmSmLinkKeyInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"key_type", 12, FieldWidth::u8},
    {"key", 13, FieldWidth::u8, 16, F::byte_array},
};
constexpr FieldDef kDmSmAuthoriseInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"protocol_id", 12, FieldWidth::u32},
    {"channel", 16, FieldWidth::u32},
    {"incoming", 20, FieldWidth::u8},
};
constexpr FieldDef kDmSmLinkKeyRequestInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
};
constexpr FieldDef kDmAclBufferSizeInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"size", 4, FieldWidth::u16},
    {"max_num_packets", 6, FieldWidth::u16},
};
constexpr FieldDef kDmHciQosViolationInd[] = {
    {"phandle", 2, FieldWidth::u16},
};
constexpr FieldDef kDmSmL2capClrxEnableInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"psm_array", 4, FieldWidth::u16, 10, F::word_array},
};
constexpr FieldDef kDmAclOpenedInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"incoming", 12, FieldWidth::u8},
    {"dev_class", 16, FieldWidth::u32},
};
constexpr FieldDef kDmAclClosedInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
};
constexpr FieldDef kDmScoDisconnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"pv_cbarg", 4, FieldWidth::u32},
    {"status", 8, FieldWidth::u8},
    {"handle", 10, FieldWidth::u16},
    {"reason", 12, FieldWidth::u8},
};
constexpr FieldDef kDmScoConnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"pv_cbarg", 4, FieldWidth::u32},
    {"status", 8, FieldWidth::u8},
    {"handle", 10, FieldWidth::u16},
    {"lm_sco_handle", 12, FieldWidth::u8},
    {"bd_addr.lap", 16, FieldWidth::u32},
    {"bd_addr.uap", 20, FieldWidth::u8},
    {"bd_addr.nap", 22, FieldWidth::u16},
    {"enc_mode", 24, FieldWidth::u8},
};
constexpr FieldDef kDmScoDataSentInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"handle", 4, FieldWidth::u16},
    {"num_completed", 6, FieldWidth::u16},
};
constexpr FieldDef kDmSmPinRequestInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
};
constexpr FieldDef kDmScoBufferSizeInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"size", 4, FieldWidth::u16},
    {"max_num_packets", 6, FieldWidth::u16},
};
constexpr FieldDef kDmAclDisconnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"handle", 6, FieldWidth::u16},
    {"reason", 8, FieldWidth::u8},
};
constexpr FieldDef kDmAclConnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"handle", 6, FieldWidth::u16},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"enc_mode", 16, FieldWidth::u8},
};
constexpr FieldDef kL2caDisableConnectionlessCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"response", 4, FieldWidth::u16},
};
constexpr FieldDef kL2caPingCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"data", 4, FieldWidth::ptr, 1, F::data_block, 8},
    {"size", 8, FieldWidth::u16},
    {"result", 10, FieldWidth::u16},
};
constexpr FieldDef kL2caConfigCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"response", 6, FieldWidth::u16},
    {"options", 8, FieldWidth::u16},
    {"in_mtu", 10, FieldWidth::u16},
    {"outflow.service_type", 12, FieldWidth::u8},
    {"outflow.token_rate", 16, FieldWidth::u32},
    {"outflow.token_bucket", 20, FieldWidth::u32},
    {"outflow.peak_bw", 24, FieldWidth::u32},
    {"outflow.latency", 28, FieldWidth::u32},
    {"outflow.delay_var", 32, FieldWidth::u32},
    {"flush_to", 36, FieldWidth::u16},
    {"more_flag", 38, FieldWidth::u8},
};
constexpr FieldDef kL2caGroupCreateCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"psm", 6, FieldWidth::u16},
    {"response", 8, FieldWidth::u16},
};
constexpr FieldDef kL2caDisconnectCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"result", 6, FieldWidth::u16},
};
constexpr FieldDef kL2caEnableConnectionlessCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"response", 4, FieldWidth::u16},
};
constexpr FieldDef kL2caGroupCloseCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"psm", 4, FieldWidth::u16},
    {"response", 6, FieldWidth::u16},
};
constexpr FieldDef kL2caRegisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"psm", 4, FieldWidth::u16},
};
constexpr FieldDef kL2caDatawriteCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"length", 6, FieldWidth::u16},
    {"result", 8, FieldWidth::u16},
};
constexpr FieldDef kL2caGetinfoCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"result", 4, FieldWidth::u16},
    {"inf_data", 8, FieldWidth::ptr, 1, F::data_block, 12},
    {"size", 12, FieldWidth::u16},
};
constexpr FieldDef kL2caConnectCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"cid", 12, FieldWidth::u16},
    {"psm", 14, FieldWidth::u16},
    {"response", 16, FieldWidth::u16},
};
constexpr FieldDef kL2caDisconnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"identifier", 4, FieldWidth::u8},
    {"cid", 6, FieldWidth::u16},
};
constexpr FieldDef kL2caDatareadInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"cl_psm", 6, FieldWidth::u16},
    {"length", 8, FieldWidth::u16},
    {"data", 12, FieldWidth::ptr, 1, F::read_payload_block, 8},
    {"result", 16, FieldWidth::u16},
};
constexpr FieldDef kL2caQosviolationInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
};
constexpr FieldDef kL2caTimeoutInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
};
constexpr FieldDef kL2caConnectInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"identifier", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"cid", 16, FieldWidth::u16},
    {"psm", 18, FieldWidth::u16},
};
constexpr FieldDef kL2caConfigInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"cid", 4, FieldWidth::u16},
    {"identifier", 6, FieldWidth::u8},
    {"size_options", 8, FieldWidth::u16},
    {"options", 12, FieldWidth::ptr, 1, F::data_block, 8},
    {"more_flag", 16, FieldWidth::u8},
};
constexpr FieldDef kSdsUnregisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"svc_rec_hndl", 4, FieldWidth::u32},
    {"result", 8, FieldWidth::u16},
};
constexpr FieldDef kSdsRegisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"svc_rec_hndl", 4, FieldWidth::u32},
    {"result", 8, FieldWidth::u16},
};
constexpr FieldDef kSdcServiceSearchAttributeCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"total_response_size", 4, FieldWidth::u16},
    {"size_attr_list", 6, FieldWidth::u16},
    {"attr_list", 8, FieldWidth::ptr, 1, F::data_block, 6},
    {"more_to_come", 12, FieldWidth::u8},
    {"response", 14, FieldWidth::u16},
    {"err_code", 16, FieldWidth::u16},
    {"size_err_info", 18, FieldWidth::u16},
    {"err_info", 20, FieldWidth::ptr, 1, F::data_block, 18},
};
constexpr FieldDef kSdcServiceAttributeCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"size_attr_list", 4, FieldWidth::u16},
    {"attr_list", 8, FieldWidth::ptr, 1, F::data_block, 4},
    {"response", 12, FieldWidth::u16},
    {"err_code", 14, FieldWidth::u16},
    {"size_err_info", 16, FieldWidth::u16},
    {"err_info", 20, FieldWidth::ptr, 1, F::data_block, 16},
};
constexpr FieldDef kSdcServiceSearchCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"num_recs_ret", 4, FieldWidth::u16},
    {"size_rec_list", 6, FieldWidth::u16},
    {"rec_list", 8, FieldWidth::ptr, 1, F::data_block, 6},
    {"response", 12, FieldWidth::u16},
    {"err_code", 14, FieldWidth::u16},
    {"size_err_info", 16, FieldWidth::u16},
    {"err_info", 20, FieldWidth::ptr, 1, F::data_block, 16},
};
constexpr FieldDef kSdcOpenSearchCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"result", 4, FieldWidth::u16},
};
constexpr FieldDef kSdcCloseSearchInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"result", 4, FieldWidth::u16},
};
constexpr FieldDef kRfcParnegCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"dlc_pars.max_frame_size", 6, FieldWidth::u16},
    {"dlc_pars.credit_flow_ctrl", 8, FieldWidth::u8},
    {"dlc_pars.initial_credits", 10, FieldWidth::u16},
};
constexpr FieldDef kRfcFconCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
};
constexpr FieldDef kRfcStartCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"mux_id", 12, FieldWidth::u8},
    {"result_code", 13, FieldWidth::u8},
    {"sys_pars.port_speed", 14, FieldWidth::u8},
    {"sys_pars.max_frame_size", 16, FieldWidth::u16},
};
constexpr FieldDef kRfcPortnegCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"port_pars.port_speed", 6, FieldWidth::u8},
    {"port_pars.data_bits", 7, FieldWidth::u8},
    {"port_pars.stop_bits", 8, FieldWidth::u8},
    {"port_pars.parity", 9, FieldWidth::u8},
    {"port_pars.parity_type", 10, FieldWidth::u8},
    {"port_pars.flow_ctrl_mask", 11, FieldWidth::u8},
    {"port_pars.xon", 12, FieldWidth::u8},
    {"port_pars.xoff", 13, FieldWidth::u8},
    {"port_pars.parameter_mask", 14, FieldWidth::u16},
};
constexpr FieldDef kRfcDatawriteCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
};
constexpr FieldDef kRfcEstablishCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"result_code", 6, FieldWidth::u8},
};
constexpr FieldDef kRfcInitCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"psm_local", 4, FieldWidth::u16},
    {"fc_type", 6, FieldWidth::u16},
    {"fc_threshold", 8, FieldWidth::u16},
    {"fc_timer", 12, FieldWidth::u32},
    {"rsvd_4", 16, FieldWidth::u32},
    {"rsvd_5", 20, FieldWidth::u32},
};
constexpr FieldDef kRfcFcoffCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
};
constexpr FieldDef kRfcTestCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"test_data_length", 6, FieldWidth::u16},
    {"test_data", 8, FieldWidth::ptr, 1, F::data_block, 6},
};
constexpr FieldDef kRfcRegisterCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"server_chan", 4, FieldWidth::u8},
    {"accept", 5, FieldWidth::u8},
};
constexpr FieldDef kRfcEstablishInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
};
constexpr FieldDef kRfcStartcmpInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"result_code", 5, FieldWidth::u8},
    {"sys_pars.port_speed", 6, FieldWidth::u8},
    {"sys_pars.max_frame_size", 8, FieldWidth::u16},
};
constexpr FieldDef kRfcFcoffInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
};
constexpr FieldDef kRfcLinestatusInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"error_flag", 6, FieldWidth::u8},
    {"line_status", 7, FieldWidth::u8},
};
constexpr FieldDef kRfcDataInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"credits", 6, FieldWidth::u16},
    {"payload_length", 8, FieldWidth::u16},
    {"payload", 12, FieldWidth::ptr, 1, F::payload_block, 8},
};
constexpr FieldDef kRfcCloseInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"reason_code", 5, FieldWidth::u8},
};
constexpr FieldDef kRfcParnegInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"dlc_pars.max_frame_size", 6, FieldWidth::u16},
    {"dlc_pars.credit_flow_ctrl", 8, FieldWidth::u8},
    {"dlc_pars.initial_credits", 10, FieldWidth::u16},
};
constexpr FieldDef kRfcNscInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"command_type", 5, FieldWidth::u8},
    {"cmd_res", 6, FieldWidth::u8},
};
constexpr FieldDef kRfcFconInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
};
constexpr FieldDef kRfcReleaseInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"reason_code", 6, FieldWidth::u8},
};
constexpr FieldDef kRfcControlInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"control_pars.modem_signal", 6, FieldWidth::u8},
    {"control_pars.break_signal", 7, FieldWidth::u8},
};
constexpr FieldDef kRfcStartInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"bd_addr.lap", 4, FieldWidth::u32},
    {"bd_addr.uap", 8, FieldWidth::u8},
    {"bd_addr.nap", 10, FieldWidth::u16},
    {"mux_id", 12, FieldWidth::u8},
    {"sys_pars.port_speed", 14, FieldWidth::u8},
    {"sys_pars.max_frame_size", 16, FieldWidth::u16},
};
constexpr FieldDef kRfcPortnegInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mux_id", 4, FieldWidth::u8},
    {"server_chan", 5, FieldWidth::u8},
    {"request", 6, FieldWidth::u8},
    {"port_pars.port_speed", 8, FieldWidth::u8},
    {"port_pars.data_bits", 9, FieldWidth::u8},
    {"port_pars.stop_bits", 10, FieldWidth::u8},
    {"port_pars.parity", 11, FieldWidth::u8},
    {"port_pars.parity_type", 12, FieldWidth::u8},
    {"port_pars.flow_ctrl_mask", 13, FieldWidth::u8},
    {"port_pars.xon", 14, FieldWidth::u8},
    {"port_pars.xoff", 15, FieldWidth::u8},
    {"port_pars.parameter_mask", 16, FieldWidth::u16},
};
constexpr FieldDef kBnepConnectCfm[] = {
    {"status", 2, FieldWidth::u16},
};
constexpr FieldDef kBnepDownInd[] = {
    {"phandle", 2, FieldWidth::u16},
};
constexpr FieldDef kBnepDebugInd[] = {
    {"id", 2, FieldWidth::u16},
    {"test", 4, FieldWidth::u16},
    {"args", 6, FieldWidth::u16, 18, F::word_array},
};
constexpr FieldDef kBnepFlowInd[] = {
    {"free", 2, FieldWidth::u16},
};
constexpr FieldDef kBnepDisconnectInd[] = {
    {"id", 2, FieldWidth::u16},
    {"reason", 4, FieldWidth::u16},
};
constexpr FieldDef kBnepMulticastDataInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mblk", 4, FieldWidth::ptr, 1, F::data_block, 8},
    {"len", 8, FieldWidth::u16},
};
constexpr FieldDef kBnepLoopbackDataInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mblk", 4, FieldWidth::ptr, 1, F::data_block, 8},
    {"len", 8, FieldWidth::u16},
};
constexpr FieldDef kBnepUpInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"rem_uuid", 4, FieldWidth::u16},
    {"loc_uuid", 6, FieldWidth::u16},
};
constexpr FieldDef kBnepConnectInd[] = {
    {"status", 2, FieldWidth::u16},
    {"id", 4, FieldWidth::u16},
    {"rem_addr", 6, FieldWidth::u16, 3, F::word_array},
    {"rem_uuid", 12, FieldWidth::u16},
    {"loc_uuid", 14, FieldWidth::u16},
};
constexpr FieldDef kBnepExtendedDataInd[] = {
    {"mblk", 20, FieldWidth::ptr, 1, F::data_block, 24},
    {"id", 2, FieldWidth::u16},
    {"ether_type", 4, FieldWidth::u16},
    {"dst_addr", 6, FieldWidth::u16, 3, F::word_array},
    {"src_addr", 12, FieldWidth::u16, 3, F::word_array},
    {"mblk", 20, FieldWidth::ptr, 1, F::data_block, 24},
    {"len", 24, FieldWidth::u16},
};
constexpr FieldDef kBnepDataInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"mblk", 4, FieldWidth::ptr, 1, F::data_block, 8},
    {"len", 8, FieldWidth::u16},
};
constexpr FieldDef kTcpDataCfm[] = {
    {"phandle", 2, FieldWidth::u16},
    {"b_out", 4, FieldWidth::u16},
    {"len", 6, FieldWidth::u16},
};
constexpr FieldDef kTcpCloseInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"b_out", 4, FieldWidth::u16},
};
constexpr FieldDef kTcpDataInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"b_out", 4, FieldWidth::u16},
    {"len", 6, FieldWidth::u16},
    {"data", 8, FieldWidth::ptr, 1, F::data_block, 6},
};
constexpr FieldDef kTcpClosedInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"b_out", 4, FieldWidth::u16},
};
constexpr FieldDef kTcpAbortInd[] = {
    {"phandle", 2, FieldWidth::u16},
    {"b_out", 4, FieldWidth::u16},
};
constexpr FieldDef kDmHciInquiryResult[] = {
    {"phandle", 2, FieldWidth::u16},
    {"num_responses", 4, FieldWidth::u8},
    {"result", 8, FieldWidth::ptr, 6, F::inquiry_result, 4},
};
constexpr FieldDef kDmHciReturnLinkKeys[] = {
    {"phandle", 2, FieldWidth::u16},
    {"num_keys", 4, FieldWidth::u8},
    {"link_key_bd_addr", 8, FieldWidth::ptr, 10, F::link_key_entries, 4},
};
constexpr FieldDef kDmHciModeChangeEvent[] = {
    {"phandle", 2, FieldWidth::u16},
    {"status", 4, FieldWidth::u8},
    {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8},
    {"bd_addr.nap", 14, FieldWidth::u16},
    {"mode", 16, FieldWidth::u8},
    {"length", 18, FieldWidth::u16},
};

constexpr PrimitiveDef kReceived[] = {
    {"DM_HCI_LINK_KEY_CHANGE_COMPLETE", 0x0426, kChannelDm, 16, kDmHciLinkKeyChangeComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_LOOPBACK_MODE_COMPLETE", 0x1806, kChannelDm, 6, kDmHciWriteLoopbackModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_ENABLE_DEVICE_UT_MODE_COMPLETE", 0x1808, kChannelDm, 6, kDmHciEnableDeviceUtModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_REMOTE_VERSION_COMPLETE", 0x042B, kChannelDm, 24, kDmHciReadRemoteVersionComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE", 0x0C69, kChannelDm, 6, kDmHciWriteCurrentIacLapComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_AUTO_FLUSH_TIMEOUT_COMPLETE", 0x0C5C, kChannelDm, 16, kDmHciReadAutoFlushTimeoutComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_STORED_LINK_KEY_COMPLETE", 0x0C47, kChannelDm, 10, kDmHciReadStoredLinkKeyComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_AUTH_ENABLE_COMPLETE", 0x0C56, kChannelDm, 6, kDmHciReadAuthEnableComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_COUNTRY_CODE_COMPLETE", 0x100D, kChannelDm, 6, kDmHciReadCountryCodeComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_NUM_SUPPORTED_IAC_COMPLETE", 0x0C67, kChannelDm, 6, kDmHciReadNumSupportedIacComplete, PrimitiveFamily::dm},
    {"DM_HCI_SET_HC_TO_HOST_FLOW_COMPLETE", 0x0C63, kChannelDm, 6, kDmHciSetHcToHostFlowComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LINK_SUPERV_TIMEOUT_COMPLETE", 0x0C65, kChannelDm, 20, kDmHciReadLinkSupervTimeoutComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LOOPBACK_MODE_COMPLETE", 0x1805, kChannelDm, 6, kDmHciReadLoopbackModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_INQUIRY_COMPLETE", 0x0425, kChannelDm, 6, kDmHciInquiryComplete, PrimitiveFamily::dm},
    {"DM_HCI_MASTER_LINK_KEY_COMPLETE", 0x0428, kChannelDm, 6, kDmHciMasterLinkKeyComplete, PrimitiveFamily::dm},
    {"DM_HCI_REMOTE_NAME_COMPLETE", 0x0429, kChannelDm, 48, kDmHciRemoteNameComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_AUTO_FLUSH_TIMEOUT_COMPLETE", 0x0C5D, kChannelDm, 16, kDmHciWriteAutoFlushTimeoutComplete, PrimitiveFamily::dm},
    {"DM_HCI_RESET_CONTACT_COUNTER_COMPLETE", 0x1409, kChannelDm, 16, kDmHciResetContactCounterComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LOCAL_NAME_COMPLETE", 0x0C4B, kChannelDm, 40, kDmHciReadLocalNameComplete, PrimitiveFamily::dm},
    {"DM_HCI_SET_EVENT_MASK_COMPLETE", 0x0C40, kChannelDm, 6, kDmHciSetEventMaskComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_PIN_TYPE_COMPLETE", 0x0C45, kChannelDm, 6, kDmHciWritePinTypeComplete, PrimitiveFamily::dm},
    {"DM_HCI_PERIODIC_INQUIRY_COMPLETE", 0x0422, kChannelDm, 6, kDmHciPeriodicInquiryComplete, PrimitiveFamily::dm},
    {"DM_HCI_SET_EVENT_FILTER_COMPLETE", 0x0C42, kChannelDm, 6, kDmHciSetEventFilterComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_PAGESCAN_PERIOD_MODE_COMPLETE", 0x0C6B, kChannelDm, 6, kDmHciWritePagescanPeriodModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_RESET_COMPLETE", 0x0C41, kChannelDm, 6, kDmHciResetComplete, PrimitiveFamily::dm},
    {"DM_HCI_FLUSH_COMPLETE", 0x0C43, kChannelDm, 16, kDmHciFlushComplete, PrimitiveFamily::dm},
    {"DM_HCI_CREATE_NEW_UNIT_KEY_COMPLETE", 0x0C46, kChannelDm, 6, kDmHciCreateNewUnitKeyComplete, PrimitiveFamily::dm},
    {"DM_HCI_FAILED_CONTACT_COUNTER_COMPLETE", 0x1408, kChannelDm, 20, kDmHciFailedContactCounterComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_HOLD_MODE_ACTIVITY_COMPLETE", 0x0C60, kChannelDm, 6, kDmHciReadHoldModeActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_INQUIRYSCAN_ACTIVITY_COMPLETE", 0x0C54, kChannelDm, 10, kDmHciReadInquiryscanActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_CONN_ACCEPT_TO_COMPLETE", 0x0C4D, kChannelDm, 6, kDmHciWriteConnAcceptToComplete, PrimitiveFamily::dm},
    {"DM_HCI_CHANGE_LOCAL_NAME_COMPLETE", 0x0C4A, kChannelDm, 6, kDmHciChangeLocalNameComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_CONN_ACCEPT_TO_COMPLETE", 0x0C4C, kChannelDm, 8, kDmHciReadConnAcceptToComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_PAGESCAN_MODE_COMPLETE", 0x0C6D, kChannelDm, 6, kDmHciWritePagescanModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_INQUIRY_CANCEL_COMPLETE", 0x0421, kChannelDm, 6, kDmHciInquiryCancelComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE", 0x0C68, kChannelDm, 32, kDmHciReadCurrentIacLapComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_TX_POWER_LEVEL_COMPLETE", 0x0C62, kChannelDm, 20, kDmHciReadTxPowerLevelComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_HOLD_MODE_ACTIVITY_COMPLETE", 0x0C61, kChannelDm, 6, kDmHciWriteHoldModeActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_CLOCK_OFFSET_COMPLETE", 0x042C, kChannelDm, 20, kDmHciReadClockOffsetComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_CLASS_OF_DEVICE_COMPLETE", 0x0C59, kChannelDm, 6, kDmHciWriteClassOfDeviceComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_VOICE_SETTING_COMPLETE", 0x0C5B, kChannelDm, 6, kDmHciWriteVoiceSettingComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_PAGESCAN_MODE_COMPLETE", 0x0C6C, kChannelDm, 6, kDmHciReadPagescanModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LP_SETTINGS_COMPLETE", 0x0814, kChannelDm, 20, kDmHciReadLpSettingsComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_BD_ADDR_COMPLETE", 0x100E, kChannelDm, 16, kDmHciReadBdAddrComplete, PrimitiveFamily::dm},
    {"DM_HCI_GET_LINK_QUALITY_COMPLETE", 0x140A, kChannelDm, 20, kDmHciGetLinkQualityComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_STORED_LINK_KEY_COMPLETE", 0x0C48, kChannelDm, 6, kDmHciWriteStoredLinkKeyComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_NUM_BCAST_TXS_COMPLETE", 0x0C5F, kChannelDm, 6, kDmHciWriteNumBcastTxsComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_REMOTE_FEATURES_COMPLETE", 0x042A, kChannelDm, 24, kDmHciReadRemoteFeaturesComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_LP_SETTINGS_COMPLETE", 0x0815, kChannelDm, 16, kDmHciWriteLpSettingsComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_VOICE_SETTING_COMPLETE", 0x0C5A, kChannelDm, 8, kDmHciReadVoiceSettingComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_LINK_SUPERV_TIMEOUT_COMPLETE", 0x0C66, kChannelDm, 16, kDmHciWriteLinkSupervTimeoutComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LOCAL_FEATURES_COMPLETE", 0x100C, kChannelDm, 14, kDmHciReadLocalFeaturesComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_RSSI_COMPLETE", 0x140B, kChannelDm, 20, kDmHciReadRssiComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_NUM_BCAST_TXS_COMPLETE", 0x0C5E, kChannelDm, 6, kDmHciReadNumBcastTxsComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_ENCRYPTION_MODE_COMPLETE", 0x0C57, kChannelDm, 6, kDmHciReadEncryptionModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_PAGESCAN_PERIOD_MODE_COMPLETE", 0x0C6A, kChannelDm, 6, kDmHciReadPagescanPeriodModeComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_LOCAL_VERSION_COMPLETE", 0x100B, kChannelDm, 14, kDmHciReadLocalVersionComplete, PrimitiveFamily::dm},
    {"DM_HCI_HOST_NUM_COMPLETED_PACKETS_COMPLETE", 0x0C64, kChannelDm, 6, kDmHciHostNumCompletedPacketsComplete, PrimitiveFamily::dm},
    {"DM_HCI_SWITCH_ROLE_COMPLETE", 0x0813, kChannelDm, 16, kDmHciSwitchRoleComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_PAGESCAN_ACTIVITY_COMPLETE", 0x0C52, kChannelDm, 10, kDmHciReadPagescanActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_EXIT_PERIODIC_INQUIRY_COMPLETE", 0x0423, kChannelDm, 6, kDmHciExitPeriodicInquiryComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_PIN_TYPE_COMPLETE", 0x0C44, kChannelDm, 6, kDmHciReadPinTypeComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_INQUIRYSCAN_ACTIVITY_COMPLETE", 0x0C55, kChannelDm, 6, kDmHciWriteInquiryscanActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_ROLE_DISCOVERY_COMPLETE", 0x0812, kChannelDm, 16, kDmHciRoleDiscoveryComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_SCAN_ENABLE_COMPLETE", 0x0C50, kChannelDm, 6, kDmHciReadScanEnableComplete, PrimitiveFamily::dm},
    {"DM_HCI_DELETE_STORED_LINK_KEY_COMPLETE", 0x0C49, kChannelDm, 8, kDmHciDeleteStoredLinkKeyComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_PAGE_TO_COMPLETE", 0x0C4E, kChannelDm, 8, kDmHciReadPageToComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_PAGESCAN_ACTIVITY_COMPLETE", 0x0C53, kChannelDm, 6, kDmHciWritePagescanActivityComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_SCAN_ENABLE_COMPLETE", 0x0C51, kChannelDm, 6, kDmHciWriteScanEnableComplete, PrimitiveFamily::dm},
    {"DM_HCI_WRITE_PAGE_TO_COMPLETE", 0x0C4F, kChannelDm, 6, kDmHciWritePageToComplete, PrimitiveFamily::dm},
    {"DM_HCI_READ_CLASS_OF_DEVICE_COMPLETE", 0x0C58, kChannelDm, 12, kDmHciReadClassOfDeviceComplete, PrimitiveFamily::dm},
    {"DM_SCO_CONNECT_CFM", 0x2404, kChannelDm, 28, kDmScoConnectCfm, PrimitiveFamily::dm},
    {"DM_WRITE_CACHED_CLOCK_OFFSET_CFM", 0x2809, kChannelDm, 6, kDmWriteCachedClockOffsetCfm, PrimitiveFamily::dm},
    {"DM_HCI_QOS_SETUP_CFM", 0x0810, kChannelDm, 36, kDmHciQosSetupCfm, PrimitiveFamily::dm},
    {"DM_ACL_REGISTER_CFM", 0x2002, kChannelDm, 4, kDmAclRegisterCfm, PrimitiveFamily::dm},
    {"DM_SM_ADD_DEVICE_CFM", 0x2C14, kChannelDm, 16, kDmSmAddDeviceCfm, PrimitiveFamily::dm},
    {"DM_ACL_CONNECT_CFM", 0x2004, kChannelDm, 20, kDmAclConnectCfm, PrimitiveFamily::dm},
    {"DM_SM_SET_SEC_MODE_CFM", 0x2C13, kChannelDm, 8, kDmSmSetSecModeCfm, PrimitiveFamily::dm},
    {"DM_WRITE_CACHED_PAGE_MODE_CFM", 0x2808, kChannelDm, 6, kDmWriteCachedPageModeCfm, PrimitiveFamily::dm},
    {"DM_SM_ACCESS_CFM", 0x2C12, kChannelDm, 32, kDmSmAccessCfm, PrimitiveFamily::dm},
    {"DM_SM_REMOVE_DEVICE_CFM", 0x2C15, kChannelDm, 16, kDmSmRemoveDeviceCfm, PrimitiveFamily::dm},
    {"DM_AM_REGISTER_CFM", 0x0001, kChannelDm, 4, kDmAmRegisterCfm, PrimitiveFamily::dm},
    {"DM_ACL_OPEN_CFM", 0x280C, kChannelDm, 16, kDmAclOpenCfm, PrimitiveFamily::dm},
    {"DM_CLEAR_PARAM_CACHE_CFM", 0x280A, kChannelDm, 6, kDmClearParamCacheCfm, PrimitiveFamily::dm},
    {"DM_SM_ENCRYPT_CFM", 0x2C1B, kChannelDm, 16, kDmSmEncryptCfm, PrimitiveFamily::dm},
    {"DM_SM_AUTHENTICATE_CFM", 0x2C1A, kChannelDm, 16, kDmSmAuthenticateCfm, PrimitiveFamily::dm},
    {"DM_SM_LINK_KEY_IND", 0x2C18, kChannelDm, 32, kDmSmLinkKeyInd, PrimitiveFamily::dm},
    {"DM_SM_AUTHORISE_IND", 0x2C19, kChannelDm, 24, kDmSmAuthoriseInd, PrimitiveFamily::dm},
    {"DM_SM_LINK_KEY_REQUEST_IND", 0x2C16, kChannelDm, 12, kDmSmLinkKeyRequestInd, PrimitiveFamily::dm},
    {"DM_ACL_BUFFER_SIZE_IND", 0x2008, kChannelDm, 8, kDmAclBufferSizeInd, PrimitiveFamily::dm},
    {"DM_HCI_QOS_VIOLATION_IND", 0x0811, kChannelDm, 4, kDmHciQosViolationInd, PrimitiveFamily::dm},
    {"DM_SM_L2CAP_CLRX_ENABLE_IND", 0x2C1D, kChannelDm, 24, kDmSmL2capClrxEnableInd, PrimitiveFamily::dm},
    {"DM_ACL_OPENED_IND", 0x280D, kChannelDm, 20, kDmAclOpenedInd, PrimitiveFamily::dm},
    {"DM_ACL_CLOSED_IND", 0x280E, kChannelDm, 12, kDmAclClosedInd, PrimitiveFamily::dm},
    {"DM_SCO_DISCONNECT_IND", 0x2408, kChannelDm, 16, kDmScoDisconnectInd, PrimitiveFamily::dm},
    {"DM_SCO_CONNECT_IND", 0x2405, kChannelDm, 28, kDmScoConnectInd, PrimitiveFamily::dm},
    {"DM_SCO_DATA_SENT_IND", 0x240A, kChannelDm, 8, kDmScoDataSentInd, PrimitiveFamily::dm},
    {"DM_SM_PIN_REQUEST_IND", 0x2C17, kChannelDm, 12, kDmSmPinRequestInd, PrimitiveFamily::dm},
    {"DM_SCO_BUFFER_SIZE_IND", 0x2409, kChannelDm, 8, kDmScoBufferSizeInd, PrimitiveFamily::dm},
    {"DM_ACL_DISCONNECT_IND", 0x2007, kChannelDm, 10, kDmAclDisconnectInd, PrimitiveFamily::dm},
    {"DM_ACL_CONNECT_IND", 0x2005, kChannelDm, 20, kDmAclConnectInd, PrimitiveFamily::dm},
    {"L2CA_DISABLE_CONNECTIONLESS_CFM", 0x001F, kChannelL2cap, 6, kL2caDisableConnectionlessCfm, PrimitiveFamily::l2ca},
    {"L2CA_PING_CFM", 0x0015, kChannelL2cap, 12, kL2caPingCfm, PrimitiveFamily::l2ca},
    {"L2CA_CONFIG_CFM", 0x000A, kChannelL2cap, 40, kL2caConfigCfm, PrimitiveFamily::l2ca},
    {"L2CA_GROUP_CREATE_CFM", 0x0019, kChannelL2cap, 10, kL2caGroupCreateCfm, PrimitiveFamily::l2ca},
    {"L2CA_DISCONNECT_CFM", 0x0011, kChannelL2cap, 8, kL2caDisconnectCfm, PrimitiveFamily::l2ca},
    {"L2CA_ENABLE_CONNECTIONLESS_CFM", 0x001D, kChannelL2cap, 6, kL2caEnableConnectionlessCfm, PrimitiveFamily::l2ca},
    {"L2CA_GROUP_CLOSE_CFM", 0x001B, kChannelL2cap, 8, kL2caGroupCloseCfm, PrimitiveFamily::l2ca},
    {"L2CA_REGISTER_CFM", 0x0002, kChannelL2cap, 6, kL2caRegisterCfm, PrimitiveFamily::l2ca},
    {"L2CA_DATAWRITE_CFM", 0x000C, kChannelL2cap, 10, kL2caDatawriteCfm, PrimitiveFamily::l2ca},
    {"L2CA_GETINFO_CFM", 0x0017, kChannelL2cap, 16, kL2caGetinfoCfm, PrimitiveFamily::l2ca},
    {"L2CA_CONNECT_CFM", 0x0006, kChannelL2cap, 20, kL2caConnectCfm, PrimitiveFamily::l2ca},
    {"L2CA_DISCONNECT_IND", 0x0010, kChannelL2cap, 8, kL2caDisconnectInd, PrimitiveFamily::l2ca},
    {"L2CA_DATAREAD_IND", 0x000D, kChannelL2cap, 20, kL2caDatareadInd, PrimitiveFamily::l2ca},
    {"L2CA_QOSVIOLATION_IND", 0x0013, kChannelL2cap, 12, kL2caQosviolationInd, PrimitiveFamily::l2ca},
    {"L2CA_TIMEOUT_IND", 0x0012, kChannelL2cap, 6, kL2caTimeoutInd, PrimitiveFamily::l2ca},
    {"L2CA_CONNECT_IND", 0x0005, kChannelL2cap, 20, kL2caConnectInd, PrimitiveFamily::l2ca},
    {"L2CA_CONFIG_IND", 0x0009, kChannelL2cap, 20, kL2caConfigInd, PrimitiveFamily::l2ca},
    {"SDS_UNREGISTER_CFM", 0x0011, kChannelSdp, 12, kSdsUnregisterCfm, PrimitiveFamily::sds},
    {"SDS_REGISTER_CFM", 0x000F, kChannelSdp, 12, kSdsRegisterCfm, PrimitiveFamily::sds},
    {"SDC_SERVICE_SEARCH_ATTRIBUTE_CFM", 0x0006, kChannelSdp, 24, kSdcServiceSearchAttributeCfm, PrimitiveFamily::sdc},
    {"SDC_SERVICE_ATTRIBUTE_CFM", 0x0004, kChannelSdp, 24, kSdcServiceAttributeCfm, PrimitiveFamily::sdc},
    {"SDC_SERVICE_SEARCH_CFM", 0x0002, kChannelSdp, 24, kSdcServiceSearchCfm, PrimitiveFamily::sdc},
    {"SDC_OPEN_SEARCH_CFM", 0x0009, kChannelSdp, 6, kSdcOpenSearchCfm, PrimitiveFamily::sdc},
    {"SDC_CLOSE_SEARCH_IND", 0x000C, kChannelSdp, 6, kSdcCloseSearchInd, PrimitiveFamily::sdc},
    {"RFC_PARNEG_CFM", 0x0023, kChannelRfcomm, 12, kRfcParnegCfm, PrimitiveFamily::rfc},
    {"RFC_FCON_CFM", 0x0014, kChannelRfcomm, 6, kRfcFconCfm, PrimitiveFamily::rfc},
    {"RFC_START_CFM", 0x0008, kChannelRfcomm, 20, kRfcStartCfm, PrimitiveFamily::rfc},
    {"RFC_PORTNEG_CFM", 0x0027, kChannelRfcomm, 16, kRfcPortnegCfm, PrimitiveFamily::rfc},
    {"RFC_DATAWRITE_CFM", 0x001B, kChannelRfcomm, 6, kRfcDatawriteCfm, PrimitiveFamily::rfc},
    {"RFC_ESTABLISH_CFM", 0x000F, kChannelRfcomm, 8, kRfcEstablishCfm, PrimitiveFamily::rfc},
    {"RFC_INIT_CFM", 0x0002, kChannelRfcomm, 24, kRfcInitCfm, PrimitiveFamily::rfc},
    {"RFC_FCOFF_CFM", 0x0017, kChannelRfcomm, 6, kRfcFcoffCfm, PrimitiveFamily::rfc},
    {"RFC_TEST_CFM", 0x0029, kChannelRfcomm, 12, kRfcTestCfm, PrimitiveFamily::rfc},
    {"RFC_REGISTER_CFM", 0x0004, kChannelRfcomm, 6, kRfcRegisterCfm, PrimitiveFamily::rfc},
    {"RFC_ESTABLISH_IND", 0x000E, kChannelRfcomm, 6, kRfcEstablishInd, PrimitiveFamily::rfc},
    {"RFC_STARTCMP_IND", 0x0009, kChannelRfcomm, 10, kRfcStartcmpInd, PrimitiveFamily::rfc},
    {"RFC_FCOFF_IND", 0x0016, kChannelRfcomm, 6, kRfcFcoffInd, PrimitiveFamily::rfc},
    {"RFC_LINESTATUS_IND", 0x001F, kChannelRfcomm, 8, kRfcLinestatusInd, PrimitiveFamily::rfc},
    {"RFC_DATA_IND", 0x0019, kChannelRfcomm, 20, kRfcDataInd, PrimitiveFamily::rfc},
    {"RFC_CLOSE_IND", 0x000B, kChannelRfcomm, 6, kRfcCloseInd, PrimitiveFamily::rfc},
    {"RFC_PARNEG_IND", 0x0022, kChannelRfcomm, 12, kRfcParnegInd, PrimitiveFamily::rfc},
    {"RFC_NSC_IND", 0x002A, kChannelRfcomm, 8, kRfcNscInd, PrimitiveFamily::rfc},
    {"RFC_FCON_IND", 0x0013, kChannelRfcomm, 6, kRfcFconInd, PrimitiveFamily::rfc},
    {"RFC_RELEASE_IND", 0x0011, kChannelRfcomm, 8, kRfcReleaseInd, PrimitiveFamily::rfc},
    {"RFC_CONTROL_IND", 0x001D, kChannelRfcomm, 8, kRfcControlInd, PrimitiveFamily::rfc},
    {"RFC_START_IND", 0x0007, kChannelRfcomm, 20, kRfcStartInd, PrimitiveFamily::rfc},
    {"RFC_PORTNEG_IND", 0x0026, kChannelRfcomm, 18, kRfcPortnegInd, PrimitiveFamily::rfc},
    {"BNEP_CONNECT_CFM", 0x0103, kChannelL2cap, 4, kBnepConnectCfm, PrimitiveFamily::bnep},
    {"BNEP_DOWN_IND", 0x0108, kChannelL2cap, 4, kBnepDownInd, PrimitiveFamily::bnep},
    {"BNEP_DEBUG_IND", 0x0113, kChannelL2cap, 42, kBnepDebugInd, PrimitiveFamily::bnep},
    {"BNEP_FLOW_IND", 0x0100, kChannelL2cap, 4, kBnepFlowInd, PrimitiveFamily::bnep},
    {"BNEP_DISCONNECT_IND", 0x0111, kChannelL2cap, 6, kBnepDisconnectInd, PrimitiveFamily::bnep},
    {"BNEP_MULTICAST_DATA_IND", 0x010E, kChannelL2cap, 12, kBnepMulticastDataInd, PrimitiveFamily::bnep},
    {"BNEP_LOOPBACK_DATA_IND", 0x010F, kChannelL2cap, 12, kBnepLoopbackDataInd, PrimitiveFamily::bnep},
    {"BNEP_UP_IND", 0x0107, kChannelL2cap, 8, kBnepUpInd, PrimitiveFamily::bnep},
    {"BNEP_CONNECT_IND", 0x0104, kChannelL2cap, 16, kBnepConnectInd, PrimitiveFamily::bnep},
    {"BNEP_EXTENDED_DATA_IND", 0x010D, kChannelL2cap, 28, kBnepExtendedDataInd, PrimitiveFamily::bnep},
    {"BNEP_DATA_IND", 0x010C, kChannelL2cap, 12, kBnepDataInd, PrimitiveFamily::bnep},
    {"TCP_DATA_CFM", 0x0206, kChannelL2cap, 8, kTcpDataCfm, PrimitiveFamily::tcp},
    {"TCP_CLOSE_IND", 0x020A, kChannelL2cap, 6, kTcpCloseInd, PrimitiveFamily::tcp},
    {"TCP_DATA_IND", 0x0207, kChannelL2cap, 12, kTcpDataInd, PrimitiveFamily::tcp},
    {"TCP_CLOSED_IND", 0x020B, kChannelL2cap, 6, kTcpClosedInd, PrimitiveFamily::tcp},
    {"TCP_ABORT_IND", 0x020E, kChannelL2cap, 6, kTcpAbortInd, PrimitiveFamily::tcp},
    {"DM_HCI_INQUIRY_RESULT", 0x0424, kChannelDm, 32, kDmHciInquiryResult, PrimitiveFamily::dm},
    {"DM_HCI_RETURN_LINK_KEYS", 0x0427, kChannelDm, 48, kDmHciReturnLinkKeys, PrimitiveFamily::dm},
    {"DM_HCI_MODE_CHANGE_EVENT", 0x080F, kChannelDm, 20, kDmHciModeChangeEvent, PrimitiveFamily::dm},
};

constexpr bool fields_inside(const PrimitiveDef& row) {
    for (const FieldDef& field : row.fields) {
        if (field.offset + width_bytes(field.width) * field.count > row.size) return false;
        if (field.format != F::number && field.format != F::name_parts && field.length_offset + 1u > row.size)
            return false;
    }
    return true;
}

constexpr bool all_fields_inside() {
    for (const PrimitiveDef& row : kReceived)
        if (!fields_inside(row)) return false;
    return true;
}

static_assert(std::size(kReceived) == kReceivedPrimitiveCount, "the chip sends 167 kinds of stack primitive");
static_assert(all_fields_inside(), "a field of a received primitive lies outside its size");

}  // namespace

std::span<const PrimitiveDef> received_primitives() { return kReceived; }

const PrimitiveDef* find_received_primitive(uint32_t channel, uint16_t type) {
    for (const PrimitiveDef& row : received_primitives())
        if (row.channel == channel && row.type == type) return &row;
    return nullptr;
}

}  // namespace kestrel
