# The initiating side: finds the other chip by inquiry (the remote peer
# answers too, and is passed over), opens an L2CAP channel to its PSM
# 0x1234, sends "ping", reads "pong", sends an L2CAP bulk test, opens an
# RFCOMM multiplexer and data link to the server channel the other side
# named, receives its RFCOMM bulk test, sends an L2CAP bulk test in another
# payload sequence, and closes everything.
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

# L2CAP bulk test, sending once the other side's receive test runs; its
# message names its RFCOMM server channel.
expect $L2CAP_PRIM $L2CA_DATAREAD_IND
set server [expr {$data}]
puts "initiator: told to send, RFCOMM server channel $server"
show_bulk initiator [PT_btl2cap $channel 300 200 0]

# RFCOMM: a multiplexer to the other chip, parameters (we grant it 8
# credits) and the data link.
RFC_START_REQ {*}$other 3 0 127 1
expect $RFCOMM_PRIM $RFC_START_CFM
set mux $mux_id
expect $RFCOMM_PRIM $RFC_STARTCMP_IND
puts "initiator: multiplexer started, result $result_code"
RFC_PARNEG_REQ $mux 2 $server 127 1 8
expect $RFCOMM_PRIM $RFC_PARNEG_CFM
set granted [expr {${dlc_pars.initial_credits}}]
puts "initiator: frame size ${dlc_pars.max_frame_size}, granted $granted credits"
RFC_ESTABLISH_REQ $mux 2 $server
expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM
puts "initiator: channel $server established, result $result_code"

# RFCOMM bulk test, receiving: started before the other side is told to
# send. It grants 5 more credits whenever fewer than 3 are left.
PT_btrfcomm $mux $server 100 $granted 8 3 5 0 200 async
L2CA_DATAWRITE_REQ $channel 2 {0x67 0x6f}
show_bulk initiator [wait_finished PT_btrfcomm $mux $server]

RFC_RELEASE_REQ $mux $server
expect $RFCOMM_PRIM $RFC_RELEASE_IND
RFC_CLOSE_REQ $mux
expect $RFCOMM_PRIM $RFC_CLOSE_IND
puts "initiator: RFCOMM closed"

# A last L2CAP bulk test whose payloads follow another sequence: the other
# side's check must reject the first of them.
PT_option agpmode seq8
expect $L2CAP_PRIM $L2CA_DATAREAD_IND
puts "initiator: told to send, in sequence seq8"
show_bulk initiator [PT_btl2cap $channel 300 5 0]
L2CA_DISCONNECT_REQ $channel
expect $L2CAP_PRIM $L2CA_DISCONNECT_CFM
puts "initiator: disconnected"
PT_disconnect
