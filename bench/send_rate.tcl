# How many primitive commands per second a script builds and sends to the
# simulated chip inside Kestrel (PTSP, no line rate): the rate at which the
# loop builds and hands them to the link, and the rate until the chip holds
# every one. bench/send_bench.sh sources it; it prints figures, judges none.
PT_connect sim:stack=off ptsp 115200
PT_option -rfc_flow_control
# A PTCMD answer comes back behind everything sent before its request.
proc settle {} {
    PT_send $::PTCMD_PRIM 10 $::PTCMDPDU_GETREQ 9 1 $::PTCMDVARID_CHIPVER 0 0 0 0 0
    PT_wait $::PTCMD_PRIM
}
set payload [lrepeat 100 0x5a]
set count 20000
foreach {label command} [list \
        "DM_HCI_RESET" {DM_HCI_RESET} \
        "L2CA_DATAWRITE_REQ, 100 bytes" [list L2CA_DATAWRITE_REQ 0x40 100 $payload]] {
    settle
    PT_sim clear
    set start [clock microseconds]
    for {set i 0} {$i < $count} {incr i} { {*}$command }
    set built [clock microseconds]
    settle
    set received [clock microseconds]
    puts [format "%-30s %8.0f commands/s built and sent, %8.0f/s through to the chip (%d commands)" \
          $label [expr {$count * 1e6 / ($built - $start)}] [expr {$count * 1e6 / ($received - $start)}] $count]
}
PT_disconnect
