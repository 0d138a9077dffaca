# Throughput: open an L2CAP channel and an RFCOMM channel to the remote
# peer, which echoes what it gets, and measure both with Kestrel's own
# transfer engine: 500 payloads of 200 bytes each way, every payload that
# comes back checked against what was sent.
# Run it: kestrel -b < examples/throughput.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

proc report {what result} {
    lassign $result status time tx rx txb rxb txr rxr
    if {$status != 0} { error "$what did not finish: $result" }
    puts [format "%s: %d payloads out, %d back in %.2f s: %.1f kB/s each way" $what $tx $rx $time $txr]
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM

# L2CAP: the peer's echo service, 672-byte MTU both ways.
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
report "L2CAP" [PT_btl2cap $channel 200 500 500]
puts "The counters scripts can watch: gTXcount(0x40) $gTXcount(0x40), gRXcount(0x40) $gRXcount(0x40)"

# RFCOMM: we grant the peer 10 credits in parameter negotiation and 8 more
# whenever it holds fewer than 4; the peer grants us its own.
RFC_INIT_REQ 1 3 1 0 0 0 0 0
expect $RFCOMM_PRIM $RFC_INIT_CFM
RFC_START_REQ ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 3 0 127 1
expect $RFCOMM_PRIM $RFC_START_CFM
set mux $mux_id
expect $RFCOMM_PRIM $RFC_STARTCMP_IND
RFC_PARNEG_REQ $mux 2 1 127 1 10
expect $RFCOMM_PRIM $RFC_PARNEG_CFM
set granted ${dlc_pars.initial_credits}
RFC_ESTABLISH_REQ $mux 2 1
expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM
# 120-byte payloads fit the 127-byte frames negotiated above.
set result [PT_btrfcomm $mux 1 120 $granted 10 4 8 500 500]
report "RFCOMM" $result
puts "Credits left: ours [lindex $result 8], the peer's [lindex $result 9]"
PT_disconnect
