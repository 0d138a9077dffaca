# L2CAP and RFCOMM beyond the examples, through the real binary:
# information requests, groups and connectionless data, a refusing and a
# sinking peer; RFCOMM port negotiation, line status, test frames, flow
# control of the multiplexer, and the chip's credit primitives as a script
# sees them with Kestrel's flow control off.
PT_connect sim ptsp 115200
PT_option +timeout 5
set peer {0xff0c67 0x5b 0x0002}
DM_AM_REGISTER_REQ 1; puts [PT_wait {$DM_PRIM}]
L2CA_REGISTER_REQ 0x1001 1; puts [PT_wait {$L2CAP_PRIM}]
DM_ACL_OPEN_REQ {*}$peer; puts [PT_wait {$DM_PRIM}]; puts [PT_wait {$DM_PRIM}]
L2CA_GETINFO_REQ {*}$peer 1 0x1001; puts [PT_wait {$L2CAP_PRIM}]
L2CA_GETINFO_REQ {*}$peer 2 0x1001; puts [PT_wait {$L2CAP_PRIM}]
L2CA_ENABLE_CONNECTIONLESS_REQ 0x1001 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$DM_PRIM}]
L2CA_GROUP_CREATE_REQ 0x1001; puts [PT_wait {$L2CAP_PRIM}]; set group $cid
L2CA_DATAWRITE_REQ $group 2 {0xab 0xcd}; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
L2CA_GROUP_CLOSE_REQ $group 0x1001; puts [PT_wait {$L2CAP_PRIM}]
L2CA_DISABLE_CONNECTIONLESS_REQ 0x1001 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$DM_PRIM}]
puts [PT_sim peer refuse]
L2CA_CONNECT_REQ 0x1001 {*}$peer 0x1001 0; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
puts [PT_sim peer accept sink]
L2CA_CONNECT_REQ 0x1001 {*}$peer 0x2002 0; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
L2CA_CONNECT_REQ 0x1001 {*}$peer 0x1001 0; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
puts [PT_wait {$L2CAP_PRIM}]
L2CA_DATAWRITE_REQ $cid 1 {7}; puts [PT_wait {$L2CAP_PRIM}]
puts "sink: <[PT_wait {$L2CAP_PRIM}]>"
puts [PT_sim peer echo silent]
L2CA_CONNECT_REQ 0x1001 {*}$peer 0x1001 0; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
puts [PT_sim peer answer]
PT_option -rfc_flow_control
RFC_INIT_REQ 1 3 1 0 0 0 0 0; puts [PT_wait {$RFCOMM_PRIM}]
RFC_START_REQ {*}$peer 3 0 127 1; puts [PT_wait {$RFCOMM_PRIM}]; puts [PT_wait {$RFCOMM_PRIM}]
RFC_ESTABLISH_REQ 1 2 1; puts [PT_wait {$RFCOMM_PRIM}]
RFC_PORTNEG_REQ 1 2 1 0 3 3 0 0 0 0 0x11 0x13 0x7f; puts [PT_wait {$RFCOMM_PRIM}]
RFC_LINESTATUS_REQ 1 1 1 2; puts [PT_wait {$RFCOMM_PRIM}]
RFC_TEST_REQ 1 3 {1 2 3}; puts [PT_wait {$RFCOMM_PRIM}]
RFC_FCOFF_REQ 1; puts [PT_wait {$RFCOMM_PRIM}]
RFC_FCON_REQ 1; puts [PT_wait {$RFCOMM_PRIM}]
RFC_DATAWRITE_REQ 1 1 0 2 {0x11 0x22}; puts [PT_wait {$RFCOMM_PRIM}]; puts [PT_wait {$RFCOMM_PRIM}]; puts [PT_wait {$RFCOMM_PRIM}]
RFC_ESTABLISH_REQ 1 2 5; puts [PT_wait {$RFCOMM_PRIM}]
puts [PT_sim peer basic]
RFC_PORTNEG_REQ 1 2 1 0 3 3 0 0 0 0 0x11 0x13 0x7f; puts [PT_wait {$RFCOMM_PRIM}]
RFC_CLOSE_REQ 1; puts [PT_wait {$RFCOMM_PRIM}]
PT_disconnect
