# RFCOMM: start a multiplexer to the remote peer, negotiate and open its
# serial port channel (server channel 1), send data that the peer echoes
# under credit-based flow control, then release the channel and close.
# Run it: kestrel -b < examples/rfcomm_credits.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
RFC_INIT_REQ 1 3 1 0 0 0 0 0
expect $RFCOMM_PRIM $RFC_INIT_CFM

RFC_START_REQ ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 3 0 127 1
expect $RFCOMM_PRIM $RFC_START_CFM
set mux $mux_id
expect $RFCOMM_PRIM $RFC_STARTCMP_IND
puts "Multiplexer $mux started: result $result_code"

# We give the peer 4 credits: it may send us 4 frames before we grant more.
RFC_PARNEG_REQ $mux 2 1 127 1 4
expect $RFCOMM_PRIM $RFC_PARNEG_CFM
puts "Negotiated: frame size ${dlc_pars.max_frame_size}, the peer grants us ${dlc_pars.initial_credits} credits"
RFC_ESTABLISH_REQ $mux 2 1
expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM
puts "Channel 1 established: result $result_code"

RFC_CONTROL_REQ $mux 1 0x8d 0
expect $RFCOMM_PRIM $RFC_CONTROL_IND
puts "The peer's modem signals: ${control_pars.modem_signal}"

# Six frames go out; the peer echoes the first four, then waits for credits.
for {set n 1} {$n <= 6} {incr n} { RFC_DATA_REQ $mux 1 0 3 [list $n $n $n] }
for {set n 1} {$n <= 4} {incr n} { expect $RFCOMM_PRIM $RFC_DATA_IND; puts "Echo $n: $payload (the peer returns $credits credit)" }
PT_option +timeout 1
puts "Nothing more before new credits: <[PT_wait_until [list $RFCOMM_PRIM $RFC_DATA_IND]]>"
PT_option +timeout 5
RFC_DATA_REQ $mux 1 2 0 {}
for {set n 5} {$n <= 6} {incr n} { expect $RFCOMM_PRIM $RFC_DATA_IND; puts "Echo $n: $payload" }

RFC_RELEASE_REQ $mux 1
expect $RFCOMM_PRIM $RFC_RELEASE_IND
puts "Channel ${server_chan} released"
RFC_CLOSE_REQ $mux
expect $RFCOMM_PRIM $RFC_CLOSE_IND
puts "Multiplexer $mux_id closed"
PT_disconnect
