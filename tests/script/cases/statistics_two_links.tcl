# The counts of every connection ended with PT_disconnect add up in the
# session statistics: one primitive reads "primitive", more "primitives".
# A link still up at the end adds nothing.
PT_connect sim ptsp 115200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
PT_wait {$PTCMD_PRIM}
PT_disconnect
PT_connect sim ptsp 115200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 2 $PTCMDVARID_CHIPVER 0 0 0 0 0
PT_wait {$PTCMD_PRIM}
PT_send $VM_PRIM 1 2 0x1234
PT_wait {$VM_PRIM}
PT_disconnect
PT_connect sim ptsp 115200
PT_send $VM_PRIM 1 2 0x1234
PT_wait {$VM_PRIM}
