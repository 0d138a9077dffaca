# Shared by the throughput cases: open a channel to the remote peer, and
# print a result with the parts that vary (time and rates) checked rather
# than shown.

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

# An L2CAP channel to the peer's echo service, configured both ways; sets
# the global channel.
proc open_l2cap {} {
    global DM_PRIM DM_AM_REGISTER_CFM L2CAP_PRIM L2CA_REGISTER_CFM L2CA_CONNECT_CFM L2CA_CONFIG_IND L2CA_CONFIG_CFM
    global bd_addr.lap bd_addr.uap bd_addr.nap cid identifier size_options options channel
    DM_AM_REGISTER_REQ 1
    expect $DM_PRIM $DM_AM_REGISTER_CFM
    L2CA_REGISTER_REQ 0x1001 7
    expect $L2CAP_PRIM $L2CA_REGISTER_CFM
    L2CA_CONNECT_REQ 0x1001 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 0x1001 0
    expect $L2CAP_PRIM $L2CA_CONNECT_CFM
    expect $L2CAP_PRIM $L2CA_CONNECT_CFM
    set channel $cid
    L2CA_CONFIG_REQ $channel 1 672 0 0 0 0 0 0 0 0
    expect $L2CAP_PRIM $L2CA_CONFIG_IND
    L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0
    expect $L2CAP_PRIM $L2CA_CONFIG_CFM
    puts "L2CAP channel $channel open"
}

# An RFCOMM multiplexer and the peer's serial port channel (1). We grant the
# peer `ours` credits and ask for frames of up to `frame_size` bytes; sets
# the globals mux and granted (the peer's grant).
proc open_rfcomm {ours {frame_size 127}} {
    global DM_PRIM DM_AM_REGISTER_CFM RFCOMM_PRIM RFC_INIT_CFM RFC_START_CFM RFC_STARTCMP_IND RFC_PARNEG_CFM
    global RFC_ESTABLISH_CFM bd_addr.lap bd_addr.uap bd_addr.nap mux_id dlc_pars.initial_credits mux granted
    DM_AM_REGISTER_REQ 1
    expect $DM_PRIM $DM_AM_REGISTER_CFM
    RFC_INIT_REQ 1 3 1 0 0 0 0 0
    expect $RFCOMM_PRIM $RFC_INIT_CFM
    RFC_START_REQ ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 3 0 $frame_size 1
    expect $RFCOMM_PRIM $RFC_START_CFM
    set mux $mux_id
    expect $RFCOMM_PRIM $RFC_STARTCMP_IND
    RFC_PARNEG_REQ $mux 2 1 $frame_size 1 $ours
    expect $RFCOMM_PRIM $RFC_PARNEG_CFM
    set granted [expr {${dlc_pars.initial_credits}}]
    RFC_ESTABLISH_REQ $mux 2 1
    expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM
    puts "RFCOMM channel 1 on multiplexer $mux open, the peer grants $granted credits"
}

# A result list: status, counts and byte totals as they are; the time
# checked against bounds. A finished test's rates must match its byte totals
# over its time (shown to 10 ms); a running test's cover only the interval
# since the last poll, so they are only checked against the air's rate.
# Every line starts with prefix.
proc show {result {low 0} {high 60} {counts 1} {prefix ""}} {
    lassign $result status time tx rx txb rxb txr rxr
    set line "status $status tx $tx rx $rx bytes $txb $rxb"
    if {[llength $result] > 8} { append line " credits [lrange $result 8 end]" }
    if {$counts} { puts "$prefix$line" }
    if {$time < $low || $time > $high} { puts "${prefix}time $time outside $low..$high" } else { puts "${prefix}time plausible" }
    foreach {name rate bytes} [list tx $txr $txb rx $rxr $rxb] {
        if {$status == 1} {
            if {$rate < 0 || $rate > 95} { puts "$prefix$name rate $rate beyond the air's" }
            continue
        }
        if {$bytes == 0 || $time < 0.01} {
            if {$rate != 0} { puts "$prefix$name rate $rate for $bytes bytes in $time s" }
            continue
        }
        set most [expr {$bytes / ($time - 0.005) / 1000.0 + 0.01}]
        set least [expr {$bytes / ($time + 0.005) / 1000.0 - 0.01}]
        if {$rate < $least || $rate > $most} { puts "$prefix$name rate $rate, expected $least..$most" }
    }
}

# A timed result: its counts vary with the machine, so only their relations
# are shown: how the byte totals follow from the counts, whether the
# receive count trails the transmit count by what was still in flight, and
# whether the rates match.
proc show_timed {result length period} {
    lassign $result status time tx rx txb rxb
    puts "status $status, bytes are counts times $length: [expr {$txb == $tx * $length && $rxb == $rx * $length}]"
    puts "moved data: [expr {$tx > 0 || $rx > 0}], in flight at the end: [expr {$tx >= $rx && $tx - $rx < 10}]"
    show $result $period [expr {$period + 1}] 0
}

# Releases the data link and opens it again, so both sides start over with
# the credits of a new parameter negotiation.
proc reopen_rfcomm {ours} {
    global RFCOMM_PRIM RFC_RELEASE_IND RFC_PARNEG_CFM RFC_ESTABLISH_CFM dlc_pars.initial_credits mux granted
    after 300
    PT_flush
    RFC_RELEASE_REQ $mux 1
    expect $RFCOMM_PRIM $RFC_RELEASE_IND
    RFC_PARNEG_REQ $mux 2 1 127 1 $ours
    expect $RFCOMM_PRIM $RFC_PARNEG_CFM
    set granted [expr {${dlc_pars.initial_credits}}]
    RFC_ESTABLISH_REQ $mux 2 1
    expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM
    puts "RFCOMM channel 1 open again, the peer grants $granted credits"
}
