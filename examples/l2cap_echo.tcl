# L2CAP: connect to the remote peer's echo service (PSM 0x1001), configure
# both directions, exchange data that the peer echoes, and disconnect.
# Run it: kestrel -b < examples/l2cap_echo.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
L2CA_REGISTER_REQ 0x1001 7
expect $L2CAP_PRIM $L2CA_REGISTER_CFM

# The chip answers at once that the connection is pending, then pages the
# peer and gives the final response.
L2CA_CONNECT_REQ 0x1001 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 0x1001 0
expect $L2CAP_PRIM $L2CA_CONNECT_CFM
puts "Connect: response $response (pending)"
expect $L2CAP_PRIM $L2CA_CONNECT_CFM
puts "Connect: response $response, cid $cid"
if {$response != 0} { error "the peer did not accept" }
set channel $cid

# Our side: an MTU of 672. The peer's side arrives as a CONFIG_IND, which we
# accept with its options unchanged.
L2CA_CONFIG_REQ $channel 1 672 0 0 0 0 0 0 0 0
expect $L2CAP_PRIM $L2CA_CONFIG_IND
puts "Peer's options: $options"
L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0
expect $L2CAP_PRIM $L2CA_CONFIG_CFM
puts "Configured: response $response, MTU $in_mtu"

# Data goes out, is confirmed, and comes back from the echoing peer.
foreach sent {{0x01 0x02 0x03 0x04 0x05} {0x10 0x20 0x30}} { L2CA_DATAWRITE_REQ $channel [llength $sent] $sent; expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM; expect $L2CAP_PRIM $L2CA_DATAREAD_IND; puts "Sent {$sent}, read back {$data}"; if {$data != $sent} { error "the echo differs" } }

L2CA_PING_REQ ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} {0xca 0xfe} 2 0x1001
expect $L2CAP_PRIM $L2CA_PING_CFM
puts "Ping answered: $size bytes, result $result"

L2CA_DISCONNECT_REQ $channel
expect $L2CAP_PRIM $L2CA_DISCONNECT_CFM
puts "Disconnected: cid $cid, result $result"
PT_disconnect
