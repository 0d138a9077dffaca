# What both sides do first: connect to their chip, register with the device
# manager and RFCOMM, and register PSM 0x1234. The throughput helpers come
# with expect, which waits for one primitive and fails when none arrives in
# time.
PT_connect $device ptsp 115200
PT_option +timeout 20
source $throughput
DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
L2CA_REGISTER_REQ 0x1234 1
expect $L2CAP_PRIM $L2CA_REGISTER_CFM
RFC_INIT_REQ 1 3 1 0 0 0 0 0
expect $RFCOMM_PRIM $RFC_INIT_CFM

# The air carries at most this many bytes a second one way: no test can
# move its data faster.
set air_bytes_per_second [expr {339.0 / 0.00375}]

# Polls a receive-only transfer (the command without its other arguments)
# until it has finished, for at most 20 seconds; returns its result.
proc wait_finished {args} {
    for {set polls 0} {$polls < 400} {incr polls} {
        set result [{*}$args]
        if {[lindex $result 0] == 0} { return $result }
        after 50
    }
    error "the transfer did not finish: $result"
}

# A finished bulk result, shown as the throughput cases show it, prefixed
# with the side: its time no longer than 20 seconds, and no shorter than
# the air needs for all but the last payload the side moved (a sender is
# done when it hands over its last payload), less the rounding of the time
# to 10 ms.
proc show_bulk {side result} {
    global air_bytes_per_second
    lassign $result status time tx rx txb rxb
    set payloads [expr {max($tx, $rx)}]
    set least [expr {($payloads - 1) * max($txb, $rxb) / $payloads / $air_bytes_per_second - 0.005}]
    show $result $least 20 1 "$side: "
}
