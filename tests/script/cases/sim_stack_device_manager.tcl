# The simulated chip's device manager through the real binary: the generic
# answer to HCI commands (a write read back, an unknown handle), the local
# name, stored link keys, IAC LAPs, modes of a link, SCO links, the
# security manager's confirms.
PT_connect sim ptsp 115200
PT_option +timeout 5
set peer {0xff0c67 0x5b 0x0002}
DM_AM_REGISTER_REQ 2; puts [PT_wait {$DM_PRIM}]
DM_HCI_WRITE_CLASS_OF_DEVICE 0x5a020c; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_CLASS_OF_DEVICE; puts [PT_wait {$DM_PRIM}]
DM_HCI_WRITE_VOICE_SETTING 0x63; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_VOICE_SETTING; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_RSSI 5 0 0 0; puts [PT_wait {$DM_PRIM}]
DM_HCI_CHANGE_LOCAL_NAME {0x4b 0x65 0x73 0x74 0x72 0x65 0x6c}; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_LOCAL_NAME; puts [PT_wait {$DM_PRIM}]
DM_HCI_WRITE_STORED_LINK_KEY 2 {{0x1 0x2 0x3 {1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16}} {0x4 0x5 0x6 {16 15 14 13 12 11 10 9 8 7 6 5 4 3 2 1}}}; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_STORED_LINK_KEY 0 0 0 1; puts [PT_wait {$DM_PRIM}]; puts [PT_wait {$DM_PRIM}]
DM_HCI_DELETE_STORED_LINK_KEY 0x1 0x2 0x3 0; puts [PT_wait {$DM_PRIM}]
DM_HCI_WRITE_CURRENT_IAC_LAP 2 {0x9e8b33 0x9e8b00}; puts [PT_wait {$DM_PRIM}]
DM_HCI_READ_CURRENT_IAC_LAP; puts [PT_wait {$DM_PRIM}]
DM_ACL_CONNECT_REQ {*}$peer 0; puts [PT_wait_until {$DM_PRIM $DM_ACL_CONNECT_CFM}]
DM_HCI_SNIFF_MODE 1 0 0 0 0x800 0x400 4 1; puts [PT_wait {$DM_PRIM}]
DM_HCI_EXIT_SNIFF_MODE 1 0 0 0; puts [PT_wait {$DM_PRIM}]
DM_HCI_QOS_SETUP_REQ 1 0 0 0 0 2 1000 0 20000 0; puts [PT_wait {$DM_PRIM}]
# More bytes a second than the air carries: a violation follows.
DM_HCI_QOS_SETUP_REQ 1 0 0 0 0 2 200000 0 20000 0; puts [PT_wait {$DM_PRIM}]; puts [PT_wait {$DM_PRIM}]
DM_HCI_ROLE_DISCOVERY 1 0 0 0; puts [PT_wait {$DM_PRIM}]
DM_SCO_INCOMING_REGISTER_REQ 2 0; puts [PT_wait {$DM_PRIM}]
DM_SCO_CONNECT_REQ 2 0x77 {*}$peer 0x80; puts [PT_wait {$DM_PRIM}]
set sco $handle; DM_SCO_DISCONNECT_REQ $sco 0x13; puts [PT_wait {$DM_PRIM}]
DM_SM_SET_SEC_MODE_REQ 3 1; puts [PT_wait {$DM_PRIM}]
DM_SM_ADD_DEVICE_REQ 0x1 0x2 0x3 1 1 0 {1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16}; puts [PT_wait {$DM_PRIM}]
DM_SM_REMOVE_DEVICE_REQ 0x7 0x8 0x9; puts [PT_wait {$DM_PRIM}]
DM_SM_ACCESS_REQ 2 {*}$peer 3 1 0 0x11 0x22; puts [PT_wait {$DM_PRIM}]
DM_ACL_DISCONNECT_REQ 1 0x13; puts [PT_wait {$DM_PRIM}]; puts [PT_wait {$DM_PRIM}]
# Paging an address where nobody answers fails after the page time-out.
DM_HCI_WRITE_PAGE_TO 0x80; puts [PT_wait {$DM_PRIM}]
DM_ACL_CONNECT_REQ 0x123456 0x78 0x9a 0; puts [PT_wait {$DM_PRIM}]
PT_disconnect
