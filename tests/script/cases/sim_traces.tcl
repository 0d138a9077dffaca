# Raw channel dumps in both directions, and the PTCMD and VM traces of the
# internal debugger (-d). Each send and its wait stand on one line, so that
# what the reader prints comes before the next prompt.
PT_connect sim ptsp 115200; after 200
PT_option +primdebug all raw
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 4 $PTCMDVARID_CHIPVER 0 0 0 0 0; PT_wait {$PTCMD_PRIM}
PT_option -primdebug all raw
PT_option +primdebug in vm
PT_send $VM_PRIM 0x0102 0x0304; PT_wait {$VM_PRIM}
PT_disconnect
