# The same chip over the H4 vendor tunnel, with its start-up line shown.
PT_option +primdebug in debug
PT_connect sim h4 115200
# The chip powers on at the host's first byte; the wait lets its start-up
# line come before the next prompt.
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 7 $PTCMDVARID_CHIPVER 0 0 0 0 0; after 300
puts [PT_wait {$PTCMD_PRIM}]
# A VM message longer than one tunnel fragment comes back whole.
set words {}
for {set i 0} {$i < 300} {incr i} { lappend words $i }
PT_send $VM_PRIM $words
set echo [PT_wait {$VM_PRIM}]
puts "[lindex $echo 0] [llength [lindex $echo 1]] [lindex [lindex $echo 1] 299]"
PT_disconnect
