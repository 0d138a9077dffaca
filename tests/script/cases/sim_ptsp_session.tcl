# A session with the simulated chip over PTSP: the chip version, a VM
# message and its echo, debug text, an HQ fault report, the chip's record.
# What arrives by itself is awaited on the line that asks for it, so it is
# printed before that line's prompt.
PT_connect sim ptsp 115200; after 200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
puts [PT_wait {$PTCMD_PRIM}]
puts "arg1: $arg1"
PT_send $VM_PRIM 1 2 0x1234
puts [PT_wait {$VM_PRIM}]
puts [string trim [PT_sim received]]
PT_option +primdebug in debug
PT_sim debug hello from the chip; after 300
PT_send $PTCMD_PRIM 10 $PTCMDPDU_SETREQ 9 2 $PTCMDVARID_PROVOKE_FAULT 0 0 0 0 0; after 300
PT_option -primdebug in debug
PT_sim debug not shown; after 200
PT_disconnect
PT_disconnect
