# Kestrel connects to chips that petrelsim serves, as to chips on a desk.
set where [split [string trim [read [set f [open where.txt]]]] \n]; close $f
set pty [lindex [lindex $where 0] 2]
set socket [lindex [lindex $where 1] 2]
puts "[lrange [lindex $where 0] 0 1] [string match /dev/pts/* $pty]"
puts "[lrange [lindex $where 1] 0 1] [string equal $socket unix:[pwd]/chip.sock]"
proc chip_version {} {
    global PTCMD_PRIM PTCMDPDU_GETREQ PTCMDVARID_CHIPVER
    PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
    return [lindex [lindex [PT_wait_until {$PTCMD_PRIM}] 1] 6]
}
PT_connect $pty ptsp 921600
puts "pty: [chip_version]"
PT_disconnect
PT_connect [pwd]/chip.sock h4 115200
puts "socket: [chip_version]"
PT_send $VM_PRIM 5 6
puts [PT_wait_until {$VM_PRIM}]
PT_disconnect
# A second session on the same pseudo-terminal finds the chip again.
PT_connect $pty ptsp 921600
puts "pty again: [chip_version]"
PT_disconnect
