# PTCMD round trips through a line that drops and corrupts bytes: each is
# answered once and in order.
PT_connect sim:drop=0.01,corrupt=0.01,seed=5 ptsp 115200
proc round_trips {count} {
    global PTCMD_PRIM PTCMDPDU_GETREQ PTCMDVARID_CHIPVER arg1
    for {set i 0} {$i < $count} {incr i} {
        PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 $i $PTCMDVARID_CHIPVER 0 0 0 0 0
        PT_wait {$PTCMD_PRIM}
        if {[lindex $arg1 3] != $i} { return "answer $i carried sequence [lindex $arg1 3]" }
    }
    return "$count answered in order"
}
puts [round_trips 200]
PT_disconnect
