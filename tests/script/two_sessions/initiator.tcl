# The initiating side: finds the other chip by inquiry (the remote peer
# answers too, and is passed over), opens an L2CAP channel to its PSM
# 0x1234, sends "ping", reads "pong", disconnects.
source $session_start
set other {}
for {set tries 0} {$tries < 100 && $other == ""} {incr tries} { DM_HCI_INQUIRY 0x9e8b33 1 0; while 1 { set got [PT_wait_until [list $DM_PRIM $DM_HCI_INQUIRY_RESULT $DM_HCI_INQUIRY_COMPLETE]]; if {$got == ""} { error "the inquiry did not end" }; if {[lindex $got 1] == $DM_HCI_INQUIRY_COMPLETE} break; if {[lindex [lindex $got 4] 0] != 0xff0c67} { set other [lrange [lindex $got 4] 0 2] } }; if {$other == ""} { after 100 } }
if {$other == ""} { error "the other chip was not found" }
puts "initiator: found the other chip"
L2CA_CONNECT_REQ 0x1234 {*}$other 0x1234 0
expect $L2CAP_PRIM $L2CA_CONNECT_CFM
expect $L2CAP_PRIM $L2CA_CONNECT_CFM
puts "initiator: connect response $response"
set channel $cid
L2CA_CONFIG_REQ $channel 1 672 0 0 0 0 0 0 0 0
expect $L2CAP_PRIM $L2CA_CONFIG_CFM
expect $L2CAP_PRIM $L2CA_CONFIG_IND
puts "initiator: the other side's options $options"
L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0
L2CA_DATAWRITE_REQ $channel 4 {0x70 0x69 0x6e 0x67}
expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM
expect $L2CAP_PRIM $L2CA_DATAREAD_IND
puts "initiator: read $data"
if {$data != "0x70 0x6f 0x6e 0x67"} { error "not pong" }
L2CA_DISCONNECT_REQ $channel
expect $L2CAP_PRIM $L2CA_DISCONNECT_CFM
puts "initiator: disconnected"
PT_disconnect
