# A session that ends while its only link is still connected prints no
# statistics at all.
PT_connect sim ptsp 115200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
PT_wait {$PTCMD_PRIM}
PT_send $VM_PRIM 1 2 0x1234
PT_wait {$VM_PRIM}
quit
