# A first session with the simulated Petrel chip: connect, read the chip's
# version, echo a VM message, look at what the chip received, disconnect.
puts "Kestrel knows [llength [array names manual]] manual entries; help NAME shows one."
PT_option +primdebug in debug
PT_connect sim ptsp 115200
after 200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
set answer [PT_wait {$PTCMD_PRIM}]
puts "Chip version: [lindex [lindex $answer 1] 6]"
PT_send $VM_PRIM 0x1234 0x5678
puts "VM echo: [PT_wait {$VM_PRIM}]"
puts "The chip received:\n[PT_sim received]"
PT_option +timeout 1
puts "Nothing more arrives: <[PT_wait_until {$PTCMD_PRIM}]>"
help PT_wait
PT_disconnect
quit
