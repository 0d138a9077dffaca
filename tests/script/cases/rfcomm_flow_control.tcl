# RFCOMM credit flow control towards the simulated chip, over PTSP and over
# the H4 tunnel, in batch mode (a surplus credit would end the session): a
# small on-chip buffer holds data primitives back until the chip's credits
# return, the echoes arrive in order, and the chip's credit primitives reach
# the script only while flow control is off.
proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}
# How many RFC_DATA_REQ primitives the chip has received since PT_sim clear.
proc data_reqs_on_chip {} { return [regexp -all -line {^6: 18 00} [PT_sim received]] }

# A data link channel to the remote peer's serial port; the peer grants 7
# credits and one more with each echo, we grant it 10 and one more with each
# frame.
proc open_dlc {} {
    global mux_id
    DM_AM_REGISTER_REQ 1
    expect $::DM_PRIM $::DM_AM_REGISTER_CFM
    RFC_INIT_REQ 1 3 1 0 0 0 0 0
    expect $::RFCOMM_PRIM $::RFC_INIT_CFM
    RFC_START_REQ ${::bd_addr.lap} ${::bd_addr.uap} ${::bd_addr.nap} 3 0 127 1
    expect $::RFCOMM_PRIM $::RFC_START_CFM
    set mux $mux_id
    expect $::RFCOMM_PRIM $::RFC_STARTCMP_IND
    RFC_PARNEG_REQ $mux 2 1 127 1 10
    expect $::RFCOMM_PRIM $::RFC_PARNEG_CFM
    RFC_ESTABLISH_REQ $mux 2 1
    expect $::RFCOMM_PRIM $::RFC_ESTABLISH_CFM
    return $mux
}

# Five 100-byte frames over a slow air (one frame takes about 450 ms to
# leave the chip): a 230-byte buffer takes two of them over PTSP (112 bytes
# each), one over H4 (117 each); the rest wait in Kestrel and follow as the
# chip's credits come back.
proc burst {mux} {
    PT_sim air 2000
    PT_sim clear
    for {set n 1} {$n <= 5} {incr n} { RFC_DATA_REQ $mux 1 1 100 [lrepeat 100 $n] }
    after 100
    puts "On the chip after 100 ms: [data_reqs_on_chip] of 5"
    for {set n 1} {$n <= 5} {incr n} {
        expect $::RFCOMM_PRIM $::RFC_DATA_IND
        puts "Echo $n: [llength $::payload] bytes of [lindex $::payload 0] on server channel $::server_chan"
    }
    puts "On the chip: [data_reqs_on_chip] of 5"
    PT_sim air 723200
}

foreach protocol {ptsp h4} {
    puts "=== $protocol"
    PT_connect sim $protocol 115200
    PT_option +timeout 5
    show PT_option rfc_buffer_size
    show PT_option rfc_maxprimcount
    set mux [open_dlc]
    show PT_option rfc_buffer_size 230
    show PT_option rfc_buffer_size
    burst $mux

    PT_option +timeout 1
    puts "No credit reaches the script: <[PT_wait_until [list $RFCOMM_PRIM $RFC_DATA_IND]]>"
    PT_option +timeout 5

    # Off: each frame's credit comes to the script, before its echo.
    show PT_option -rfc_flow_control
    for {set n 6} {$n <= 7} {incr n} {
        RFC_DATA_REQ $mux 1 1 3 [list $n $n $n]
        expect $RFCOMM_PRIM $RFC_DATA_IND
        puts "Credit: mux $mux_id, server channel $server_chan, total $credits"
        expect $RFCOMM_PRIM $RFC_DATA_IND
        puts "Echo $n: $payload"
    }

    # On again: counting goes on from the chip's last total, no surplus.
    show PT_option +rfc_flow_control
    RFC_DATA_REQ $mux 1 1 3 {8 8 8}
    expect $RFCOMM_PRIM $RFC_DATA_IND
    puts "Echo 8: $payload"

    # Off while frames are still on their way: the switch waits until every
    # one has been credited, so no credit is left for the script.
    PT_sim air 2000
    PT_sim clear
    for {set n 9} {$n <= 11} {incr n} { RFC_DATA_REQ $mux 1 1 100 [lrepeat 100 $n] }
    show PT_option -rfc_flow_control
    puts "On the chip when switched off: [data_reqs_on_chip] of 3"
    for {set n 9} {$n <= 11} {incr n} {
        expect $RFCOMM_PRIM $RFC_DATA_IND
        puts "Echo $n: [llength $payload] bytes of [lindex $payload 0] on server channel $server_chan"
    }
    PT_option +timeout 1
    puts "Nothing more: <[PT_wait_until [list $RFCOMM_PRIM $RFC_DATA_IND]]>"
    PT_sim air 723200
    PT_disconnect
}
