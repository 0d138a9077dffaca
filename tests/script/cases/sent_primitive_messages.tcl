# What the sending commands say when something is wrong: not connected,
# wrong counts (the HCI builders under PT_send name no counts), variables
# that are missing, unknown channels, and the special fields' own messages.
DM_HCI_RESET
PT_send 4 0x0c03
PT_connect sim:stack=off ptsp 115200; after 300
# What the chip received, once a PTCMD answer shows it has all arrived.
proc received {} { PT_send $::PTCMD_PRIM 10 0 9 1 0x281a 0 0 0 0 0; PT_wait 2; set r [lrange [split [string trim [PT_sim received]] \n] 0 end-1]; PT_sim clear; join $r \n }
L2CA_CONNECT_RSP 1 0x40
PT_send 5 4 1 0x40
PT_send 4 0x0c18 1 2
DM_HCI_RESET 1
PT_send 9 1
PT_send 4 9999
# Missing variables: '-', an empty argument and a '$' name all name the field.
L2CA_CONNECT_RSP - 0x40 0
L2CA_CONNECT_RSP {} {$nowhere} 0
set identifier 7; set cid 0x41; set response 2
L2CA_CONNECT_RSP
proc local_values {} { set cid 0x99; L2CA_CONNECT_RSP }
local_values
puts [received]
# Numbers: truncation, octal, the b prefix, true, and text that is no number.
L2CA_CONNECT_RSP 0x1ff 0x10000 017
L2CA_CONNECT_RSP b11 true xyz
set response -1
L2CA_CONNECT_RSP 0 -5 -
puts [received]
# Special fields.
DM_SM_ADD_DEVICE_REQ 1 2 3 1 1 1 {1 2 3 4 5 6 7 8 9 10 11 12 13 14 15}
DM_SM_PIN_REQUEST_RES 1 2 3 0 {1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17}
DM_HCI_SET_EVENT_MASK {1 2 3}
BNEP_IGNORE_REQ 0x800 {1 2}
TCP_OPEN_REQ 1 2 {1 2 3} 4 5 6 7
BNEP_DEBUG_REQ 1 2 {1 2 3}
DM_HCI_WRITE_CURRENT_IAC_LAP 2 {0x9e8b33 xyz}
DM_SM_LINK_KEY_REQUEST_RES 1 2 3 {1 2 3} 1
DM_HCI_CHANGE_LOCAL_NAME '[string repeat a 249]'
L2CA_DATAWRITE_REQ 0x40 4 ?
L2CA_DATAWRITE_REQ 0x40 4 {1 $nothing 2}
puts [received]
# Names of 247 and 248 bytes fit (the shorter one with its terminator), and
# a generated payload follows the payload mode.
DM_HCI_CHANGE_LOCAL_NAME '[string repeat b 247]'
DM_HCI_CHANGE_LOCAL_NAME '[string repeat c 248]'
PT_option +agpmode seq8
L2CA_DATAWRITE_REQ 0x40 4 ?
L2CA_DATAWRITE_REQ 0x40 0 ?
RFC_DATA_REQ 1 2 0 3 ?
foreach line [split [received] \n] { puts [string range $line 0 68] }
PT_disconnect
