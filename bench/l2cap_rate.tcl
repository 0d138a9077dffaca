# L2CAP data rate between Kestrel and the simulated remote peer, which
# echoes every frame, over the simulated air: frames of 672 bytes (the
# default MTU) go out with up to 8 unconfirmed at a time, as a transfer
# would keep them, and the rate counts the bytes that came back echoed,
# from the first write to the last echo. Printed as a share of the air's
# configured rate; then the same with the peer sourcing and sinking
# generated payloads. bench/l2cap_bench.sh sources it; it judges nothing.
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

# The peer sourcing: it paces itself by the air, Kestrel checks every
# payload against its own sequence (PT_wait_until fails on a bad one).
proc measure_source {count} {
    global L2CAP_PRIM L2CA_DATAREAD_IND
    PT_option +agpmode seq8
    set start [clock microseconds]
    PT_sim peer reset payload seq8 source 672 $count
    for {set n 0} {$n < $count} {incr n} { if {[PT_wait_until [list $L2CAP_PRIM $L2CA_DATAREAD_IND]] == ""} { error "the source stalled" } }
    set elapsed [expr {([clock microseconds] - $start) / 1e6}]
    PT_sim peer echo
    return [expr {$count * 672 * 8 / $elapsed}]
}

# The peer sinking Kestrel's generated payloads, 8 unconfirmed at a time;
# it counts the good ones.
proc measure_sink {count window} {
    global channel L2CAP_PRIM L2CA_DATAWRITE_CFM
    PT_option +agpmode seq8
    PT_sim peer reset payload seq8 sink
    set sent 0; set confirmed 0
    set start [clock microseconds]
    while {$sent < $window} { L2CA_DATAWRITE_REQ $channel 672 ?; incr sent }
    while {$confirmed < $count} { if {[PT_wait_until [list $L2CAP_PRIM $L2CA_DATAWRITE_CFM]] == ""} { error "the transfer stalled" }; incr confirmed; if {$sent < $count} { L2CA_DATAWRITE_REQ $channel 672 ?; incr sent } }
    set elapsed [expr {([clock microseconds] - $start) / 1e6}]
    after 50
    set counts [lindex [split [PT_sim peer echo] \n] 1]
    return [list [expr {$count * 672 * 8 / $elapsed}] $counts]
}

foreach rate {723200 2178000} {
    set configured [lindex [PT_sim air $rate] 1]
    set measured [measure_source 300]
    puts [format "L2CAP from the sourcing peer at %7.0f bit/s: %7.0f bit/s of checked data, %5.1f%% of the air's rate" $configured $measured [expr {100.0 * $measured / $configured}]]
    lassign [measure_sink 300 8] measured counts
    puts [format "L2CAP to the sinking peer at %7.0f bit/s: %7.0f bit/s, %5.1f%% of the air's rate (peer: %s)" $configured $measured [expr {100.0 * $measured / $configured}] $counts]
}
L2CA_DISCONNECT_REQ $channel
PT_disconnect
