# The accepting side: its chip is found by the other chip's inquiry, takes
# the L2CAP channel on PSM 0x1234, configures it, answers "ping" with "pong",
# receives the other side's L2CAP bulk test, accepts its RFCOMM multiplexer
# and data link on our server channel and sends it an RFCOMM bulk test,
# rejects an L2CAP bulk test in another payload sequence, and sees
# everything go. Every step waits for the other session's doing.
source $session_start
RFC_REGISTER_REQ 1
expect $RFCOMM_PRIM $RFC_REGISTER_CFM
set server $server_chan
puts "acceptor: RFCOMM server channel $server, accepted $accept"
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

# L2CAP bulk test, receiving: it must run before the first payload comes,
# so only then is the other side told (with our RFCOMM server channel) to
# send. The running test takes that message's confirm.
PT_btl2cap $channel 300 0 200 async
L2CA_DATAWRITE_REQ $channel 1 [list $server]
show_bulk acceptor [wait_finished PT_btl2cap $channel]

# RFCOMM: the other side's multiplexer, its parameters (it grants us
# credits; we grant it 6) and its data link.
expect $RFCOMM_PRIM $RFC_START_IND
set mux $mux_id
RFC_START_RES $mux 1 0 127 1
expect $RFCOMM_PRIM $RFC_STARTCMP_IND
puts "acceptor: multiplexer started, result $result_code"
expect $RFCOMM_PRIM $RFC_PARNEG_IND
set granted [expr {${dlc_pars.initial_credits}}]
puts "acceptor: parameters for channel $server_chan, frame size ${dlc_pars.max_frame_size}, granted $granted credits"
RFC_PARNEG_RES $mux $server 127 1 6
expect $RFCOMM_PRIM $RFC_ESTABLISH_IND
puts "acceptor: establish indication for channel $server_chan"
RFC_ESTABLISH_RES $mux $server 1

# RFCOMM bulk test, sending once the other side's receive test runs: with
# the credits it granted, and more as it grants them.
expect $L2CAP_PRIM $L2CA_DATAREAD_IND
puts "acceptor: told to send"
show_bulk acceptor [PT_btrfcomm $mux $server 100 $granted 6 3 5 200 0]

expect $RFCOMM_PRIM $RFC_RELEASE_IND
puts "acceptor: channel $server_chan released"
expect $RFCOMM_PRIM $RFC_CLOSE_IND
puts "acceptor: multiplexer closed"

# The other side now sends payloads of another sequence: the receive test
# fails at the first, with the validation report.
PT_btl2cap $channel 300 0 5 async
L2CA_DATAWRITE_REQ $channel 1 {0x00}
for {set polls 0} {$polls < 400 && ![catch {PT_btl2cap $channel} result]} {incr polls} { after 50 }
if {$polls == 400} { error "the receive test did not fail: $result" }
puts "acceptor: [string trim [lindex $result 0]]"
puts "acceptor: [string trim [lindex $result 1]]"
expect $L2CAP_PRIM $L2CA_DISCONNECT_IND
L2CA_DISCONNECT_RSP $identifier $cid
puts "acceptor: channel $cid gone"
PT_disconnect
