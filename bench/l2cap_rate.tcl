# L2CAP data rate between Kestrel and the simulated remote peer, which
# echoes every frame, over the simulated air: frames of 672 bytes (the
# default MTU) go out with up to 8 unconfirmed at a time, as a transfer
# would keep them, and the rate counts the bytes that came back echoed,
# from the first write to the last echo. Printed as a share of the air's
# configured rate; bench/l2cap_bench.sh sources it; it judges nothing.
PT_connect sim ptsp 115200
PT_option +timeout 10
proc expect {type} {
    set got [PT_wait_until [list $::L2CAP_PRIM $type]]
    if {$got == ""} { error "nothing arrived of type $type" }
}
DM_AM_REGISTER_REQ 1
L2CA_REGISTER_REQ 0x1001 1
expect $L2CA_REGISTER_CFM
L2CA_CONNECT_REQ 0x1001 0xff0c67 0x5b 0x0002 0x1001 0
expect $L2CA_CONNECT_CFM
expect $L2CA_CONNECT_CFM
set channel $cid
L2CA_CONFIG_REQ $channel 1 672 0 0 0 0 0 0 0 0
expect $L2CA_CONFIG_IND
L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0
expect $L2CA_CONFIG_CFM

proc measure {count window} {
    global channel L2CAP_PRIM L2CA_DATAWRITE_CFM L2CA_DATAREAD_IND
    set payload [lrepeat 672 0x5a]
    set sent 0; set confirmed 0; set echoed 0
    set start [clock microseconds]
    while {$sent < $window} { L2CA_DATAWRITE_REQ $channel 672 $payload; incr sent }
    while {$echoed < $count} { set got [PT_wait [list $L2CAP_PRIM $L2CA_DATAWRITE_CFM $L2CA_DATAREAD_IND]]; if {$got == ""} { error "the transfer stalled" }; if {[lindex $got 1] == $L2CA_DATAREAD_IND} { incr echoed; continue }; incr confirmed; if {$sent < $count} { L2CA_DATAWRITE_REQ $channel 672 $payload; incr sent } }
    set elapsed [expr {([clock microseconds] - $start) / 1e6}]
    return [expr {$count * 672 * 8 / $elapsed}]
}

foreach rate {723200 2178000} {
    set air [PT_sim air $rate]
    set configured [lindex $air 1]
    set measured [measure 300 8]
    puts [format "L2CAP echo over the air at %7.0f bit/s: %7.0f bit/s of data, %5.1f%% of the air's rate (goal: at least 90%%)" $configured $measured [expr {100.0 * $measured / $configured}]]
}
L2CA_DISCONNECT_REQ $channel
PT_disconnect
