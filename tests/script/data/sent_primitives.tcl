# Every stack primitive Kestrel sends, by name and again through PT_send,
# with its manual row and its type variable,
# with distinctive values in every field: the chip's record of each must be
# exactly the bytes its layout gives (type, HCI parameter length, fields
# truncated to their widths, zero padding, blocks behind the fixed part).
# The expected bytes were worked out from the layouts, not by Kestrel.
# Sourced by the script case sent_primitives_bytes, on a connected link.
# The chip answers PTCMD in order with everything else, so once the answer
# is here, what was sent before it has been received.
proc received {} {
    PT_send $::PTCMD_PRIM 10 $::PTCMDPDU_GETREQ 9 1 $::PTCMDVARID_CHIPVER 0 0 0 0 0
    PT_wait $::PTCMD_PRIM
    set lines [split [string trim [PT_sim received]] \n]
    PT_sim clear
    return [lrange $lines 0 end-1]
}
proc check {how name want args} {
    PT_sim clear
    if {[catch {uplevel #0 $args} e]} { puts "$how $name failed: $e"; return 0 }
    set got [received]
    if {$got ne [list $want]} { puts "$how $name sent $got\n  expected $want"; return 0 }
    return 1
}
set good 0
set manuals 0
set types 0
# name, the chip's record, type, arguments, the manual's argument synopsis
set sends {
    {DM_HCI_INQUIRY {4: 01 04 08 00 78 56 34 12 89 9A 00 00} 0x0401 {0x12345678 0x23456789 0x3456789a} {lap inquiry_length num_responses }}
    {DM_HCI_INQUIRY_CANCEL {4: 02 04 00 00} 0x0402 {} {}}
    {DM_HCI_PERIODIC_INQUIRY {4: 03 04 0C 00 78 56 89 67 9A 78 56 34 AB BC 00 00} 0x0403 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {max_period_length min_period_length lap inquiry_length num_responses }}
    {DM_HCI_EXIT_PERIODIC_INQUIRY {4: 04 04 00 00} 0x0404 {} {}}
    {DM_HCI_CHANGE_PACKET_TYPE {4: 0F 04 04 00 78 56 89 67} 0x040f {0x12345678 0x23456789} {handle pkt_type }}
    {DM_HCI_CHANGE_LINK_KEY {4: 15 04 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0415 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_MASTER_LINK_KEY {4: 17 04 02 00 78 00} 0x0417 {0x12345678} {link_key_type }}
    {DM_HCI_REMOTE_NAME_REQUEST {4: 19 04 0C 00 78 56 34 12 89 00 9A 78 AB BC CD AB} 0x0419 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {bd_addr.lap bd_addr.uap bd_addr.nap page_scan_rep_mode page_scan_mode clock_offset }}
    {DM_HCI_READ_REMOTE_FEATURES {4: 1B 04 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x041b {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_READ_REMOTE_VERSION {4: 1D 04 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x041d {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_READ_CLOCK_OFFSET {4: 1F 04 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x041f {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_HOLD_MODE {4: 01 08 10 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 9A CD AB} 0x0801 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {handle bd_addr.lap bd_addr.uap bd_addr.nap max_interval min_interval }}
    {DM_HCI_SNIFF_MODE {4: 03 08 14 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 9A CD AB DE BC EF CD} 0x0803 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef} {handle bd_addr.lap bd_addr.uap bd_addr.nap max_interval min_interval attempt timeout }}
    {DM_HCI_EXIT_SNIFF_MODE {4: 04 08 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0804 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_PARK_MODE {4: 05 08 10 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 9A CD AB} 0x0805 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {handle bd_addr.lap bd_addr.uap bd_addr.nap max_interval min_interval }}
    {DM_HCI_EXIT_PARK_MODE {4: 06 08 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0806 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_QOS_SETUP_REQ {4: 07 08 20 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC CD 00 00 DE BC 9A 78 EF CD AB 89 00 DF BC 9A 11 F0 CD AB} 0x0807 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef 0x9abcdf00 0xabcdf011} {handle bd_addr.lap bd_addr.uap bd_addr.nap flags service_type token_rate peak_bandwidth latency delay_variation }}
    {DM_HCI_ROLE_DISCOVERY {4: 09 08 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0809 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_SWITCH_ROLE {4: 0B 08 0C 00 78 56 34 12 89 00 9A 78 AB 00 00 00} 0x080b {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap role }}
    {DM_HCI_READ_LP_SETTINGS {4: 0C 08 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x080c {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_WRITE_LP_SETTINGS {4: 0D 08 14 00 78 56 34 12 89 00 9A 78 AB 89 02 00 00 08 00 04 04 00 01 00} 0x080d {0x12345678 0x23456789 0x3456789a 0x456789ab 2 {0x800 0x400 4 1}} {bd_addr.lap bd_addr.uap bd_addr.nap link_policy_settings dm_policy u }}
    {DM_HCI_SET_EVENT_MASK {4: 01 0C 08 00 FF 00 00 00 80 00 00 00} 0x0c01 {{0x1ff 0x80}} {event_mask }}
    {DM_HCI_RESET {4: 03 0C 00 00} 0x0c03 {} {}}
    {DM_HCI_SET_EVENT_FILTER {4: 05 0C 10 00 02 01 00 00 0C 02 5A 00 FF FF FF 00 02 00 00 00} 0x0c05 {2 1 {0x5a020c 0xffffff 2}} {filter_type filter_condition_type condition }}
    {DM_HCI_FLUSH {4: 08 0C 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0c08 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_READ_PIN_TYPE {4: 09 0C 00 00} 0x0c09 {} {}}
    {DM_HCI_WRITE_PIN_TYPE {4: 0A 0C 02 00 78 00} 0x0c0a {0x12345678} {pin_type }}
    {DM_HCI_CREATE_NEW_UNIT_KEY {4: 0B 0C 00 00} 0x0c0b {} {}}
    {DM_HCI_READ_STORED_LINK_KEY {4: 0D 0C 0C 00 78 56 34 12 89 00 9A 78 AB 00 00 00} 0x0c0d {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap read_all }}
    {DM_HCI_WRITE_STORED_LINK_KEY {4: 11 0C 2C 00 78 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 18 00 33 8B 9E 00 12 00 56 34 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 18 00 01 02 03 00 5B 00 67 0C F0 F1 F2 F3 F4 F5 F6 F7 F8 F9 FA FB FC FD FE FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00} 0x0c11 {0x12345678 {{0x9e8b33 0x12 0x3456 {0x00 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09 0x0a 0x0b 0x0c 0x0d 0x0e 0x0f}} {0x030201 0x5b 0x0c67 {0xf0 0xf1 0xf2 0xf3 0xf4 0xf5 0xf6 0xf7 0xf8 0xf9 0xfa 0xfb 0xfc 0xfd 0xfe 0xff}}}} {number_keys link_key_bd_addr }}
    {DM_HCI_DELETE_STORED_LINK_KEY {4: 12 0C 0C 00 78 56 34 12 89 00 9A 78 AB 00 00 00} 0x0c12 {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap flag }}
    {DM_HCI_CHANGE_LOCAL_NAME {4: 13 0C 4F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 20 00 4B 65 73 74 72 65 6C 5F 74 65 73 74 5F 6E 61 6D 65 3A 6C 6F 6E 67 65 72 5F 74 68 61 6E 5F 74 68 0F 00 69 72 74 79 2D 74 77 6F 5F 62 79 74 65 73 00 00 00 00 00 00 00 00 00 00 00 00 00} 0x0c13 {'Kestrel_test_name:longer_than_thirty-two_bytes'} {name_part }}
    {DM_HCI_READ_LOCAL_NAME {4: 14 0C 00 00} 0x0c14 {} {}}
    {DM_HCI_READ_CONN_ACCEPT_TO {4: 15 0C 00 00} 0x0c15 {} {}}
    {DM_HCI_WRITE_CONN_ACCEPT_TO {4: 16 0C 02 00 78 56} 0x0c16 {0x12345678} {conn_accept_timeout }}
    {DM_HCI_READ_PAGE_TO {4: 17 0C 00 00} 0x0c17 {} {}}
    {DM_HCI_WRITE_PAGE_TO {4: 18 0C 02 00 78 56} 0x0c18 {0x12345678} {page_timeout }}
    {DM_HCI_READ_SCAN_ENABLE {4: 19 0C 00 00} 0x0c19 {} {}}
    {DM_HCI_WRITE_SCAN_ENABLE {4: 1A 0C 02 00 78 00} 0x0c1a {0x12345678} {scan_enable }}
    {DM_HCI_READ_PAGESCAN_ACTIVITY {4: 1B 0C 00 00} 0x0c1b {} {}}
    {DM_HCI_WRITE_PAGESCAN_ACTIVITY {4: 1C 0C 04 00 78 56 89 67} 0x0c1c {0x12345678 0x23456789} {pagescan_interval pagescan_window }}
    {DM_HCI_READ_INQUIRYSCAN_ACTIVITY {4: 1D 0C 00 00} 0x0c1d {} {}}
    {DM_HCI_WRITE_INQUIRYSCAN_ACTIVITY {4: 1E 0C 04 00 78 56 89 67} 0x0c1e {0x12345678 0x23456789} {inqscan_interval inqscan_window }}
    {DM_HCI_READ_AUTH_ENABLE {4: 1F 0C 00 00} 0x0c1f {} {}}
    {DM_HCI_READ_ENCRYPTION_MODE {4: 21 0C 00 00} 0x0c21 {} {}}
    {DM_HCI_READ_CLASS_OF_DEVICE {4: 23 0C 00 00} 0x0c23 {} {}}
    {DM_HCI_WRITE_CLASS_OF_DEVICE {4: 24 0C 04 00 78 56 34 12} 0x0c24 {0x12345678} {dev_class }}
    {DM_HCI_READ_VOICE_SETTING {4: 25 0C 00 00} 0x0c25 {} {}}
    {DM_HCI_WRITE_VOICE_SETTING {4: 26 0C 02 00 78 56} 0x0c26 {0x12345678} {voice_setting }}
    {DM_HCI_READ_AUTO_FLUSH_TIMEOUT {4: 27 0C 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0c27 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_WRITE_AUTO_FLUSH_TIMEOUT {4: 28 0C 10 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 9A 00 00} 0x0c28 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {handle bd_addr.lap bd_addr.uap bd_addr.nap timeout }}
    {DM_HCI_READ_NUM_BCAST_TXS {4: 29 0C 00 00} 0x0c29 {} {}}
    {DM_HCI_WRITE_NUM_BCAST_TXS {4: 2A 0C 02 00 78 00} 0x0c2a {0x12345678} {num }}
    {DM_HCI_READ_HOLD_MODE_ACTIVITY {4: 2B 0C 00 00} 0x0c2b {} {}}
    {DM_HCI_WRITE_HOLD_MODE_ACTIVITY {4: 2C 0C 02 00 78 00} 0x0c2c {0x12345678} {activity }}
    {DM_HCI_READ_TX_POWER_LEVEL {4: 2D 0C 10 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 00 00 00} 0x0c2d {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {handle bd_addr.lap bd_addr.uap bd_addr.nap type }}
    {DM_HCI_READ_SCO_FLOW_CONTROL_ENABLE {4: 2E 0C 00 00} 0x0c2e {} {}}
    {DM_HCI_WRITE_SCO_FLOW_CONTROL_ENABLE {4: 2F 0C 02 00 78 00} 0x0c2f {0x12345678} {sco_flow_control_enable }}
    {DM_HCI_SET_HC_TO_HOST_FLOW {4: 31 0C 02 00 78 00} 0x0c31 {0x12345678} {enable }}
    {DM_HCI_READ_LINK_SUPERV_TIMEOUT {4: 36 0C 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x0c36 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_WRITE_LINK_SUPERV_TIMEOUT {4: 37 0C 10 00 78 56 00 00 89 67 45 23 9A 00 AB 89 BC 9A 00 00} 0x0c37 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {handle bd_addr.lap bd_addr.uap bd_addr.nap timeout }}
    {DM_HCI_READ_NUM_SUPPORTED_IAC {4: 38 0C 00 00} 0x0c38 {} {}}
    {DM_HCI_READ_CURRENT_IAC_LAP {4: 39 0C 00 00} 0x0c39 {} {}}
    {DM_HCI_WRITE_CURRENT_IAC_LAP {4: 3A 0C 1C 00 02 00 00 00 33 8B 9E 00 00 8B 9E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00} 0x0c3a {0x12345678 {0x9e8b33 0x9e8b00}} {num_current_iac iac_lap }}
    {DM_HCI_READ_PAGESCAN_PERIOD_MODE {4: 3B 0C 00 00} 0x0c3b {} {}}
    {DM_HCI_WRITE_PAGESCAN_PERIOD_MODE {4: 3C 0C 02 00 78 00} 0x0c3c {0x12345678} {mode }}
    {DM_HCI_READ_PAGESCAN_MODE {4: 3D 0C 00 00} 0x0c3d {} {}}
    {DM_HCI_WRITE_PAGESCAN_MODE {4: 3E 0C 02 00 78 00} 0x0c3e {0x12345678} {mode }}
    {DM_HCI_HARDWARE_ERROR {4: 6E 0C 78 56 89 00} 0x0c6e {0x12345678 0x23456789} {phandle hw_error }}
    {DM_HCI_DATA_BUFFER_OVERFLOW {4: 6F 0C 78 56} 0x0c6f {0x12345678} {phandle }}
    {DM_HCI_MAX_SLOTS_CHANGE {4: 70 0C 78 56 89 00} 0x0c70 {0x12345678 0x23456789} {phandle lmp_max_slots }}
    {DM_HCI_READ_LOCAL_VERSION {4: 01 10 00 00} 0x1001 {} {}}
    {DM_HCI_READ_LOCAL_FEATURES {4: 03 10 00 00} 0x1003 {} {}}
    {DM_HCI_READ_COUNTRY_CODE {4: 07 10 00 00} 0x1007 {} {}}
    {DM_HCI_READ_BD_ADDR {4: 09 10 00 00} 0x1009 {} {}}
    {DM_HCI_FAILED_CONTACT_COUNTER {4: 01 14 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x1401 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_RESET_CONTACT_COUNTER {4: 02 14 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x1402 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_GET_LINK_QUALITY {4: 03 14 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x1403 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_READ_RSSI {4: 05 14 0C 00 78 56 00 00 89 67 45 23 9A 00 AB 89} 0x1405 {0x12345678 0x23456789 0x3456789a 0x456789ab} {handle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_HCI_READ_LOOPBACK_MODE {4: 01 18 00 00} 0x1801 {} {}}
    {DM_HCI_WRITE_LOOPBACK_MODE {4: 02 18 02 00 78 00} 0x1802 {0x12345678} {mode }}
    {DM_HCI_ENABLE_DEVICE_UT_MODE {4: 03 18 00 00} 0x1803 {} {}}
    {DM_SM_SET_DEFAULT_SECURITY_REQ {4: 01 2C 78 56} 0x2c01 {0x12345678} {secl_default }}
    {DM_SM_REGISTER_REQ {4: 02 2C 00 00 78 56 34 12 89 67 45 23 9A 00 AB 89 BC 9A 00 00} 0x2c02 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {protocol_id channel outgoing_ok security_level psm }}
    {DM_SM_UNREGISTER_REQ {4: 03 2C 00 00 78 56 34 12 89 67 45 23} 0x2c03 {0x12345678 0x23456789} {protocol_id channel }}
    {DM_SM_REGISTER_OUTGOING_REQ {4: 04 2C 00 00 78 56 34 12 89 00 9A 78 AB 89 67 45 BC 9A 78 56 CD AB DE BC} 0x2c04 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde} {bd_addr.lap bd_addr.uap bd_addr.nap protocol_id remote_channel outgoing_security_level psm }}
    {DM_SM_UNREGISTER_OUTGOING_REQ {4: 05 2C 00 00 78 56 34 12 89 00 9A 78 AB 89 67 45 BC 9A 78 56} 0x2c05 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {bd_addr.lap bd_addr.uap bd_addr.nap protocol_id remote_channel }}
    {DM_SM_ACCESS_REQ {4: 06 2C 78 56 89 67 45 23 9A 00 AB 89 BC 9A 78 56 CD AB 89 67 DE 00 00 00 EF CD AB 89 00 DF BC 9A} 0x2c06 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef 0x9abcdf00} {phandle bd_addr.lap bd_addr.uap bd_addr.nap protocol_id channel incoming pv_context n_context }}
    {DM_SM_SET_SEC_MODE_REQ {4: 07 2C 78 89} 0x2c07 {0x12345678 0x23456789} {mode mode3_enc }}
    {DM_SM_ADD_DEVICE_REQ {4: 08 2C 00 00 78 56 34 12 89 00 9A 78 AB BC CD A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF 00} 0x2c08 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd {0xa0 0xa1 0xa2 0xa3 0xa4 0xa5 0xa6 0xa7 0xa8 0xa9 0xaa 0xab 0xac 0xad 0xae 0xaf}} {bd_addr.lap bd_addr.uap bd_addr.nap update_trust_level trusted update_link_key link_key }}
    {DM_SM_REMOVE_DEVICE_REQ {4: 09 2C 00 00 78 56 34 12 89 00 9A 78} 0x2c09 {0x12345678 0x23456789 0x3456789a} {bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_SM_LINK_KEY_REQUEST_RES {4: 0A 2C 00 00 78 56 34 12 89 00 9A 78 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF BC 00 00 00} 0x2c0a {0x12345678 0x23456789 0x3456789a {0xc0 0xc1 0xc2 0xc3 0xc4 0xc5 0xc6 0xc7 0xc8 0xc9 0xca 0xcb 0xcc 0xcd 0xce 0xcf} 0x56789abc} {bd_addr.lap bd_addr.uap bd_addr.nap key valid }}
    {DM_SM_PIN_REQUEST_RES {4: 0B 2C 00 00 78 56 34 12 89 00 9A 78 04 31 32 33 34 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00} 0x2c0b {0x12345678 0x23456789 0x3456789a 0x456789ab '1234'} {bd_addr.lap bd_addr.uap bd_addr.nap pin_length pin }}
    {DM_SM_AUTHORISE_RES {4: 0C 2C 00 00 78 56 34 12 89 00 9A 78 AB 89 67 45 BC 9A 78 56 CD DE 00 00} 0x2c0c {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde} {bd_addr.lap bd_addr.uap bd_addr.nap protocol_id channel incoming authorised }}
    {DM_SM_AUTHENTICATE_REQ {4: 0D 2C 00 00 78 56 34 12 89 00 9A 78} 0x2c0d {0x12345678 0x23456789 0x3456789a} {bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_SM_ENCRYPT_REQ {4: 0E 2C 00 00 78 56 34 12 89 00 9A 78 AB 00 00 00} 0x2c0e {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap encrypt }}
    {DM_SM_L2CAP_REGISTER_REQ {4: 0F 2C 78 56} 0x2c0f {0x12345678} {phandle }}
    {DM_SM_ENCRYPTION_CHANGE {4: 1C 2C 78 56 89 67 45 23 9A 00 AB 89 BC 00 00 00} 0x2c1c {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {phandle bd_addr.lap bd_addr.uap bd_addr.nap encrypted }}
    {DM_ACL_REGISTER_REQ {4: 01 20 78 56} 0x2001 {0x12345678} {phandle }}
    {DM_ACL_CONNECT_REQ {4: 03 20 00 00 78 56 34 12 89 00 9A 78 AB 89 00 00} 0x2003 {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap packet_type }}
    {DM_ACL_DISCONNECT_REQ {4: 06 20 78 56 89 00} 0x2006 {0x12345678 0x23456789} {handle reason }}
    {DM_ACL_OPEN_REQ {4: 05 28 00 00 78 56 34 12 89 00 9A 78} 0x2805 {0x12345678 0x23456789 0x3456789a} {bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_ACL_CLOSE_REQ {4: 06 28 00 00 78 56 34 12 89 00 9A 78} 0x2806 {0x12345678 0x23456789 0x3456789a} {bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_SCO_INCOMING_REGISTER_REQ {4: 01 24 78 56 89 67 45 23} 0x2401 {0x12345678 0x23456789} {phandle pv_cbarg }}
    {DM_SCO_INCOMING_UNREGISTER_REQ {4: 02 24 78 56 89 67 45 23} 0x2402 {0x12345678 0x23456789} {phandle pv_cbarg }}
    {DM_SCO_CONNECT_REQ {4: 03 24 78 56 89 67 45 23 9A 78 56 34 AB 00 BC 9A CD AB 00 00} 0x2403 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {phandle pv_cbarg bd_addr.lap bd_addr.uap bd_addr.nap packet_type }}
    {DM_SCO_CONNECT_RES {4: 06 24 78 56 89 00} 0x2406 {0x12345678 0x23456789} {handle accept }}
    {DM_SCO_DISCONNECT_REQ {4: 07 24 78 56 89 00} 0x2407 {0x12345678 0x23456789} {handle reason }}
    {DM_AM_REGISTER_REQ {4: 00 00 78 56} 0x0000 {0x12345678} {phandle }}
    {DM_CONNECTIONLESS_CH_REG_REQ {4: 0A 20 78 56} 0x200a {0x12345678} {handle }}
    {DM_WRITE_CACHED_PAGE_MODE_REQ {4: 01 28 00 00 78 56 34 12 89 00 9A 78 AB BC 00 00} 0x2801 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {bd_addr.lap bd_addr.uap bd_addr.nap page_scan_mode page_scan_rep_mode }}
    {DM_WRITE_CACHED_CLOCK_OFFSET_REQ {4: 02 28 00 00 78 56 34 12 89 00 9A 78 AB 89 00 00} 0x2802 {0x12345678 0x23456789 0x3456789a 0x456789ab} {bd_addr.lap bd_addr.uap bd_addr.nap clock_offset }}
    {DM_CLEAR_PARAM_CACHE_REQ {4: 03 28 00 00 78 56 34 12 89 00 9A 78} 0x2803 {0x12345678 0x23456789 0x3456789a} {bd_addr.lap bd_addr.uap bd_addr.nap }}
    {DM_SET_DEFAULT_LINK_POLICY {4: 04 28 78 56 89 67} 0x2804 {0x12345678 0x23456789} {link_policy_settings_in link_policy_settings_out }}
    {DM_HC_TO_HOST_FLOW_CONTROL {4: 0B 28 78 56 89 00} 0x280b {0x12345678 0x23456789} {phandle Active }}
    {L2CA_REGISTER_REQ {5: 01 00 78 56 89 67} 0x0001 {0x12345678 0x23456789} {psm phandle }}
    {L2CA_CONNECT_REQ {5: 03 00 78 56 89 67 45 23 9A 00 AB 89 BC 9A CD AB} 0x0003 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {psm_local bd_addr.lap bd_addr.uap bd_addr.nap psm packet_type }}
    {L2CA_CONNECT_RSP {5: 04 00 78 00 89 67 9A 78} 0x0004 {0x12345678 0x23456789 0x3456789a} {identifier cid response }}
    {L2CA_CONFIG_REQ {5: 07 00 78 56 89 67 9A 78 AB 00 00 00 BC 9A 78 56 CD AB 89 67 DE BC 9A 78 EF CD AB 89 00 DF BC 9A 11 F0 22 00} 0x0007 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef 0x9abcdf00 0xabcdf011 0xbcdf0122} {cid options in_mtu outflow.service_type outflow.token_rate outflow.token_bucket outflow.peak_bw outflow.latency outflow.delay_var outflush_to more_flag }}
    {L2CA_CONFIG_RSP {5: 08 00 78 56 89 00 08 00 00 00 00 00 BC 9A CD 00 08 00 33 34 35 36 37 38 39 3A} 0x0008 {0x12345678 0x23456789 0x3456789a {0x33 0x34 0x35 0x36 0x37 0x38 0x39 0x3a} 0x56789abc 0x6789abcd} {cid identifier size_options options response more_flag }}
    {L2CA_DATAWRITE_REQ {5: 0B 00 78 56 07 00 00 00 00 00 00 00 07 00 32 33 34 35 36 37 38} 0x000b {0x12345678 0x23456789 {0x32 0x33 0x34 0x35 0x36 0x37 0x38}} {cid length data }}
    {L2CA_DISCONNECT_REQ {5: 0E 00 78 56} 0x000e {0x12345678} {cid }}
    {L2CA_DISCONNECT_RSP {5: 0F 00 78 00 89 67} 0x000f {0x12345678 0x23456789} {identifier cid }}
    {L2CA_PING_REQ {5: 14 00 00 00 78 56 34 12 89 00 9A 78 00 00 00 00 BC 9A CD AB 08 00 33 34 35 36 37 38 39 3A} 0x0014 {0x12345678 0x23456789 0x3456789a {0x33 0x34 0x35 0x36 0x37 0x38 0x39 0x3a} 0x56789abc 0x6789abcd} {bd_addr.lap bd_addr.uap bd_addr.nap data length psm_local }}
    {L2CA_GETINFO_REQ {5: 16 00 00 00 78 56 34 12 89 00 9A 78 AB 89 BC 9A} 0x0016 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {bd_addr.lap bd_addr.uap bd_addr.nap info_type psm_local }}
    {L2CA_GROUP_CREATE_REQ {5: 18 00 78 56} 0x0018 {0x12345678} {psm_local }}
    {L2CA_GROUP_CLOSE_REQ {5: 1A 00 78 56 89 67} 0x001a {0x12345678 0x23456789} {cid psm_local }}
    {L2CA_ENABLE_CONNECTIONLESS_REQ {5: 1C 00 78 56 89 67} 0x001c {0x12345678 0x23456789} {psm phandle }}
    {L2CA_DISABLE_CONNECTIONLESS_REQ {5: 1E 00 78 56 89 67} 0x001e {0x12345678 0x23456789} {psm phandle }}
    {BNEP_FLOW_REQ {5: FF 00} 0x00ff {} {}}
    {BNEP_REGISTER_REQ {5: 01 01 78 56 89 67} 0x0101 {0x12345678 0x23456789} {flags phandle }}
    {BNEP_LISTEN_REQ {5: 05 01 78 56 89 67 04 01 04 03 06 05} 0x0105 {0x12345678 0x23456789 {0x0104 0x0304 0x0506}} {phandle ether_type addr }}
    {BNEP_IGNORE_REQ {5: 06 01 78 56 03 01 04 03 06 05} 0x0106 {0x12345678 {0x0103 0x0304 0x0506}} {ether_type addr }}
    {BNEP_DATA_REQ {5: 09 01 78 56 03 01 04 03 06 05 00 00 00 00 00 00 AB 89 00 00 07 00 32 33 34 35 36 37 38} 0x0109 {0x12345678 {0x0103 0x0304 0x0506} {0x32 0x33 0x34 0x35 0x36 0x37 0x38} 0x456789ab} {ether_type rem_addr mblk len }}
    {BNEP_EXTENDED_DATA_REQ {5: 0A 01 78 56 89 67 04 01 04 03 06 05 05 01 04 03 06 05 00 00 00 00 00 00 CD AB 00 00 09 00 34 35 36 37 38 39 3A 3B 3C} 0x010a {0x12345678 0x23456789 {0x0104 0x0304 0x0506} {0x0105 0x0304 0x0506} {0x34 0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c} 0x6789abcd} {id ether_type dst_addr src_addr mblk len }}
    {BNEP_EXTENDED_MULTICAST_DATA_REQ {5: 0B 01 78 56 89 67 04 01 04 03 06 05 05 01 04 03 06 05 00 00 00 00 00 00 CD AB 00 00 09 00 34 35 36 37 38 39 3A 3B 3C} 0x010b {0x12345678 0x23456789 {0x0104 0x0304 0x0506} {0x0105 0x0304 0x0506} {0x34 0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c} 0x6789abcd} {id_not ether_type dst_addr src_addr mblk len }}
    {BNEP_DISCONNECT_REQ {5: 10 01 78 56 89 67} 0x0110 {0x12345678 0x23456789} {flags id }}
    {BNEP_DEBUG_REQ {5: 12 01 78 56 89 67 00 10 01 10 02 10 03 10 04 10 05 10 06 10 07 10 08 10 09 10 0A 10 0B 10 0C 10 0D 10 0E 10 0F 10 10 10 11 10} 0x0112 {0x12345678 0x23456789 {0x1000 0x1001 0x1002 0x1003 0x1004 0x1005 0x1006 0x1007 0x1008 0x1009 0x100a 0x100b 0x100c 0x100d 0x100e 0x100f 0x1010 0x1011}} {id test args }}
    {BNEP_HCI_SWITCH_ROLE_RSP {5: 14 01 78 56 89 67 45 23 9A 00 AB 89 BC CD 00 00} 0x0114 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {phandle bd_addr.lap bd_addr.uap bd_addr.nap status role }}
    {TCP_OPEN_REQ {5: 01 02 78 56 89 67 01 20 B8 0D 00 00 00 00 00 00 00 00 00 00 03 00 AB 89 BC 9A CD AB DE BC} 0x0201 {0x12345678 0x23456789 {0x2001 0x0db8 0x0000 0x0000 0x0000 0x0000 0x0000 0x0003} 0x456789ab 0x56789abc 0x6789abcd 0x789abcde} {phandle flags rem_addr rem_port out_size loc_port in_size }}
    {TCP_OPEN_RSP {5: 04 02 78 56 89 67 45 23} 0x0204 {0x12345678 0x23456789} {b status }}
    {TCP_DATA_REQ {5: 05 02 78 56 07 00 00 00 00 00 00 00 07 00 32 33 34 35 36 37 38} 0x0205 {0x12345678 0x23456789 {0x32 0x33 0x34 0x35 0x36 0x37 0x38}} {b_out len data }}
    {TCP_DATA_RSP {5: 08 02 78 56 89 67} 0x0208 {0x12345678 0x23456789} {b len }}
    {TCP_CLOSE_REQ {5: 09 02 78 56} 0x0209 {0x12345678} {b }}
    {TCP_CLOSED_RSP {5: 0C 02 78 56} 0x020c {0x12345678} {b }}
    {TCP_ABORT_REQ {5: 0D 02 78 56} 0x020d {0x12345678} {b }}
    {TCP_ABORT_RSP {5: 0F 02 78 56 89 67 45 23} 0x020f {0x12345678 0x23456789} {b flags }}
    {RFC_INIT_REQ {6: 01 00 78 56 89 67 9A 00 AB 89 BC 9A CD AB 89 67 DE BC 9A 78 EF CD AB 89} 0x0001 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef} {phandle psm_local use_flow_control fc_type fc_threshold fc_timer rsvd_4 rsvd_5 }}
    {RFC_REGISTER_REQ {6: 03 00 78 56} 0x0003 {0x12345678} {phandle }}
    {RFC_START_REQ {6: 05 00 00 00 78 56 34 12 89 00 9A 78 AB 89 BC 00 CD AB DE BC} 0x0005 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde} {bd_addr.lap bd_addr.uap bd_addr.nap psm_remote sys_pars.port_speed sys_pars.max_frame_size respond_phandle }}
    {RFC_START_RES {6: 06 00 78 89 9A 00 AB 89 BC 9A} 0x0006 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {mux_id accept sys_pars.port_speed sys_pars.max_frame_size respond_phandle }}
    {RFC_CLOSE_REQ {6: 0A 00 78 00} 0x000a {0x12345678} {mux_id }}
    {RFC_ESTABLISH_REQ {6: 0C 00 78 89 9A 00} 0x000c {0x12345678 0x23456789 0x3456789a} {mux_id loc_server_chan rem_server_chan }}
    {RFC_ESTABLISH_RES {6: 0D 00 78 89 9A 00} 0x000d {0x12345678 0x23456789 0x3456789a} {mux_id server_chan accept }}
    {RFC_RELEASE_REQ {6: 10 00 78 89} 0x0010 {0x12345678 0x23456789} {mux_id server_chan }}
    {RFC_FCON_REQ {6: 12 00 78 00} 0x0012 {0x12345678} {mux_id }}
    {RFC_FCOFF_REQ {6: 15 00 78 00} 0x0015 {0x12345678} {mux_id }}
    {RFC_DATA_REQ {6: 18 00 78 89 9A 78 09 00 00 00 00 00 09 00 34 35 36 37 38 39 3A 3B 3C} 0x0018 {0x12345678 0x23456789 0x3456789a 0x456789ab {0x34 0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c}} {mux_id server_chan credits payload_length payload }}
    {RFC_DATAWRITE_REQ {6: 1A 00 78 89 9A 78 09 00 00 00 00 00 09 00 34 35 36 37 38 39 3A 3B 3C} 0x001a {0x12345678 0x23456789 0x3456789a 0x456789ab {0x34 0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c}} {mux_id server_chan credits payload_length payload }}
    {RFC_CONTROL_REQ {6: 1C 00 78 89 9A AB} 0x001c {0x12345678 0x23456789 0x3456789a 0x456789ab} {mux_id server_chan control_pars.modem_signal control_pars.break_signal }}
    {RFC_LINESTATUS_REQ {6: 1E 00 78 89 9A AB} 0x001e {0x12345678 0x23456789 0x3456789a 0x456789ab} {mux_id server_chan error_flag line_status }}
    {RFC_PARNEG_REQ {6: 20 00 78 89 9A 00 AB 89 BC 00 CD AB} 0x0020 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd} {mux_id loc_server_chan rem_server_chan dlc_pars.max_frame_size dlc_pars.credit_flow_ctrl dlc_pars.initial_credits }}
    {RFC_PARNEG_RES {6: 21 00 78 89 9A 78 AB 00 BC 9A} 0x0021 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc} {mux_id server_chan dlc_pars.max_frame_size dlc_pars.credit_flow_ctrl dlc_pars.initial_credits }}
    {RFC_PORTNEG_REQ {6: 24 00 78 89 9A AB BC CD DE EF 00 11 22 33 44 23} 0x0024 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef 0x9abcdf00 0xabcdf011 0xbcdf0122 0xcdf01233 0xdf012344} {mux_id loc_server_chan rem_server_chan request port_pars.port_speed port_pars.data_bits port_pars.stop_bits port_pars.parity port_pars.parity_type port_pars.flow_ctrl_mask port_pars.xon port_pars.xoff port_pars.parameter_mask }}
    {RFC_PORTNEG_RES {6: 25 00 78 89 9A AB BC CD DE EF 00 11 22 01} 0x0025 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd 0x789abcde 0x89abcdef 0x9abcdf00 0xabcdf011 0xbcdf0122} {mux_id server_chan port_pars.port_speed port_pars.data_bits port_pars.stop_bits port_pars.parity port_pars.parity_type port_pars.flow_ctrl_mask port_pars.xon port_pars.xoff port_pars.parameter_mask }}
    {RFC_TEST_REQ {6: 28 00 78 00 07 00 00 00 00 00 00 00 07 00 32 33 34 35 36 37 38} 0x0028 {0x12345678 0x23456789 {0x32 0x33 0x34 0x35 0x36 0x37 0x38}} {mux_id test_data_length test_data }}
    {SDC_SERVICE_SEARCH_REQ {7: 01 00 78 56 89 67 45 23 9A 00 AB 89 0A 00 00 00 00 00 00 00 DE BC 00 00 0A 00 35 36 37 38 39 3A 3B 3C 3D 3E} 0x0001 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc {0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c 0x3d 0x3e} 0x789abcde} {phandle bd_addr.lap bd_addr.uap bd_addr.nap size_srch_pttrn srch_pttrn max_num_recs }}
    {SDC_SERVICE_ATTRIBUTE_REQ {7: 03 00 78 56 89 67 45 23 9A 00 AB 89 BC 9A 78 56 0B 00 00 00 00 00 00 00 EF CD 00 00 0B 00 36 37 38 39 3A 3B 3C 3D 3E 3F 40} 0x0003 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc 0x6789abcd {0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c 0x3d 0x3e 0x3f 0x40} 0x89abcdef} {phandle bd_addr.lap bd_addr.uap bd_addr.nap svc_rec_hndl size_attr_list attr_list max_num_attr }}
    {SDC_SERVICE_SEARCH_ATTRIBUTE_REQ {7: 05 00 78 56 89 67 45 23 9A 00 AB 89 0A 00 00 00 00 00 00 00 0C 00 00 00 00 00 00 00 00 DF 00 00 0A 00 35 36 37 38 39 3A 3B 3C 3D 3E 0C 00 37 38 39 3A 3B 3C 3D 3E 3F 40 41 42} 0x0005 {0x12345678 0x23456789 0x3456789a 0x456789ab 0x56789abc {0x35 0x36 0x37 0x38 0x39 0x3a 0x3b 0x3c 0x3d 0x3e} 0x789abcde {0x37 0x38 0x39 0x3a 0x3b 0x3c 0x3d 0x3e 0x3f 0x40 0x41 0x42} 0x9abcdf00} {phandle bd_addr.lap bd_addr.uap bd_addr.nap size_srch_pttrn srch_pttrn size_attr_list attr_list max_num_attr }}
    {SDC_TERMINATE_PRIMITIVE_REQ {7: 07 00 78 56} 0x0007 {0x12345678} {phandle }}
    {SDC_OPEN_SEARCH_REQ {7: 08 00 78 56 89 67 45 23 9A 00 AB 89} 0x0008 {0x12345678 0x23456789 0x3456789a 0x456789ab} {phandle bd_addr.lap bd_addr.uap bd_addr.nap }}
    {SDC_CLOSE_SEARCH_REQ {7: 0A 00 78 56} 0x000a {0x12345678} {phandle }}
    {SDC_CONFIG_REQ {7: 0B 00 78 56} 0x000b {0x12345678} {mtu }}
    {SDS_REGISTER_REQ {7: 0E 00 78 56 00 00 00 00 9A 78 00 00 06 00 31 32 33 34 35 36} 0x000e {0x12345678 {0x31 0x32 0x33 0x34 0x35 0x36} 0x3456789a} {phandle service_rec num_rec_bytes }}
    {SDS_UNREGISTER_REQ {7: 10 00 78 56 89 67 45 23} 0x0010 {0x12345678 0x23456789} {phandle svc_rec_hndl }}
    {SDS_CONFIG_REQ {7: 12 00 78 56} 0x0012 {0x12345678} {mtu }}
}
foreach send $sends {
    lassign $send name wire type arguments synopsis
    set channel [lindex [split $wire :] 0]
    # The manual row and the vocabulary variable of the primitive.
    set family [dict get {4 DM 5 L2CAP 6 RFCOMM 7 SDP} $channel]
    set row [list $name [format 0x%08x [expr {0x48000000 | $channel}]]              "Internal command. Issues a $name primtive to $family." $synopsis None None]
    if {[lrange $manual($name) 0 end] ne $row} { puts "manual($name) is $manual($name)
  expected $row" } else { incr manuals }
    if {[set ::$name] ne [format 0x%x $type]} { puts "\$$name is [set ::$name]" } else { incr types }
    incr good [check named $name $wire $name {*}$arguments]
    incr good [check PT_send $name $wire PT_send $channel $type {*}$arguments]
}
puts "$good of [expr {2 * [llength $sends]}] sends matched"
puts "$manuals of [llength $sends] manual rows and $types of [llength $sends] type variables matched"
