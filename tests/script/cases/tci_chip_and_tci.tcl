# A chip and a TCI device at once share one receive queue, whichever came
# first; the link that goes first leaves the queue working for the other.
set line [open [pwd]/device.pty r+]
fconfigure $line -translation binary -blocking 0 -buffering none
proc put_wire {hex} {
    global line
    puts -nonewline $line [binary format H* [string map {" " ""} $hex]]
}
proc chip_version {} {
    global PTCMD_PRIM PTCMDPDU_GETREQ PTCMDVARID_CHIPVER
    PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
    return [lindex [lindex [PT_wait_until {$PTCMD_PRIM}] 1] 6]
}
TCI_connect [pwd]/host.pty 115200
PT_connect sim ptsp 115200
put_wire "04 FE 05 05 40 00 E8 03"; puts [PT_wait {$TCI_PRIM}]
puts "chip: [chip_version]"
PT_disconnect
put_wire "04 0E 04 01 03 0C 00"; puts [PT_wait {$TCI_PRIM}]
TCI_disconnect
# Now the chip first.
PT_connect sim ptsp 115200
TCI_connect [pwd]/host.pty 115200
put_wire "04 0E 04 01 1A 0C 00"; puts [PT_wait {$TCI_PRIM}]
TCI_disconnect
puts "chip: [chip_version]"
TCI_connect [pwd]/host.pty 115200
PT_disconnect
put_wire "02 01 00 01 00 99"; puts [PT_wait {$ACL_PRIM}]
TCI_disconnect
close $line
exec kill [string trim [read [set f [open socat.pid]]]]
close $f
