# The accepting side: its chip is found by the other chip's inquiry, takes
# the L2CAP channel on PSM 0x1234, configures it, answers "ping" with "pong"
# and sees the channel go. Every step waits for the other session's doing.
source $session_start
DM_HCI_WRITE_SCAN_ENABLE 3
expect $DM_PRIM $DM_HCI_WRITE_SCAN_ENABLE_COMPLETE
expect $L2CAP_PRIM $L2CA_CONNECT_IND
puts "acceptor: connect indication for PSM $psm from ${bd_addr.lap}"
set channel $cid
L2CA_CONNECT_RSP $identifier $channel 0
expect $L2CAP_PRIM $L2CA_CONFIG_IND
L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0
L2CA_CONFIG_REQ $channel 1 339 0 0 0 0 0 0 0 0
expect $L2CAP_PRIM $L2CA_CONFIG_CFM
puts "acceptor: configured, response $response"
expect $L2CAP_PRIM $L2CA_DATAREAD_IND
puts "acceptor: read $data"
if {$data != "0x70 0x69 0x6e 0x67"} { error "not ping" }
L2CA_DATAWRITE_REQ $channel 4 {0x70 0x6f 0x6e 0x67}
expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM
expect $L2CAP_PRIM $L2CA_DISCONNECT_IND
L2CA_DISCONNECT_RSP $identifier $cid
puts "acceptor: channel $cid gone"
PT_disconnect
