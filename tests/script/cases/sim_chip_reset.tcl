# A chip that resets: the link is established again and answers as before.
PT_connect sim ptsp 115200
PT_send $PTCMD_PRIM 10 $PTCMDPDU_SETREQ 9 1 $PTCMDVARID_COLD_RESET 0 0 0 0 0; after 1500
PT_flush
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 2 $PTCMDVARID_CHIPVER 0 0 0 0 0
puts [PT_wait_until {$PTCMD_PRIM}]
PT_disconnect
