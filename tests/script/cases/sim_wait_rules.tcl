proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
PT_connect sim ptsp 115200
# A VM message that nobody asked for is an error for PT_wait...
PT_send $VM_PRIM 0x0101 0x0302
show PT_wait {$PTCMD_PRIM}
# ...and skipped by PT_wait_until.
PT_send $VM_PRIM 0x0101 0x0302
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 3 $PTCMDVARID_CHIPREV 0 0 0 0 0
show PT_wait_until {$PTCMD_PRIM}
# VM types are the word at offset 2: others are skipped by both commands.
PT_send $VM_PRIM 0x0101 0x0302
PT_send $VM_PRIM 0x0101 0x0405
show PT_wait {$VM_PRIM 0x0405}
show PT_wait {9}
show PT_wait {}
show PT_wait {$NO_SUCH_CHANNEL}
show PT_wait {$VM_PRIM $NO_SUCH_TYPE}
show PT_wait {1 2}
proc no_globals {} { PT_wait {$PTCMD_PRIM} }
show no_globals
# With the time-out on, a wait on a silent chip returns empty.
show PT_option timeout
show PT_option +timeout 1
show PT_option timeout
show PT_wait {$PTCMD_PRIM}
show PT_option -timeout
show PT_option timeout 0x1e
show PT_option timeout
show PT_option timeout 12abc
PT_send $VM_PRIM 7
after 200
show PT_flush
show PT_option +timeout 1
show PT_wait {$VM_PRIM}
show PT_option rfc_buffer_size
show PT_option rfc_buffer_size 0x400
show PT_option rfc_buffer_size
show PT_option rfc_maxprimcount
show PT_option rfc_maxprimcount 20
show PT_option rfc_maxprimcount
show PT_option rfc_maxprimcount many
show PT_option -rfc_flow_control
show PT_option +rfc_flow_control
show PT_send 3 1
show PT_send 4 0x7777
show PT_send 2
show PT_send 13
PT_disconnect
