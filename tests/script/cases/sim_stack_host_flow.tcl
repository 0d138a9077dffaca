# With controller-to-host flow control on, the chip's stack gives back the
# buffer of every L2CAP packet it passes up and confirms the report.
PT_connect sim ptsp 115200; after 300
PT_option +timeout 5
DM_AM_REGISTER_REQ 1
puts [PT_wait_until [list $DM_PRIM $DM_AM_REGISTER_CFM]]
L2CA_REGISTER_REQ 0x1001 7
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_REGISTER_CFM]]
L2CA_CONNECT_REQ 0x1001 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 0x1001 0
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_CONNECT_CFM]]; puts [PT_wait_until [list $L2CAP_PRIM $L2CA_CONNECT_CFM]]
set channel $cid
DM_HC_TO_HOST_FLOW_CONTROL 1 1
L2CA_DATAWRITE_REQ $channel 2 {0x11 0x22}
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_DATAWRITE_CFM]]
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_DATAREAD_IND]]
puts [PT_wait_until [list $DM_PRIM $DM_HCI_HOST_NUM_COMPLETED_PACKETS_COMPLETE]]
# Off again: the data comes back with no report behind it.
DM_HC_TO_HOST_FLOW_CONTROL 1 0
L2CA_DATAWRITE_REQ $channel 1 {0x33}
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_DATAWRITE_CFM]]
puts [PT_wait_until [list $L2CAP_PRIM $L2CA_DATAREAD_IND]]
PT_option timeout 1
puts "left: [PT_wait_until [list $DM_PRIM $DM_HCI_HOST_NUM_COMPLETED_PACKETS_COMPLETE]]"
PT_disconnect
