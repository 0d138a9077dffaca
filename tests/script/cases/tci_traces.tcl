# With the internal debugger on (-d), TCI commands and events are traced as
# they are built (a field only once converted) and as they arrive.
set line [open [pwd]/device.pty r+]
fconfigure $line -translation binary -blocking 0 -buffering none
proc put_wire {hex} {
    global line
    puts -nonewline $line [binary format H* [string map {" " ""} $hex]]
}
TCI_connect [pwd]/host.pty 115200
TCI_L2CA_PING_REQ 0x123456 ? 0x9abc 2 {1 2}
TCI_L2CA_ENABLECLT_REQ 2 {0x1001 0x1003}
TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE 1 0 0 1 {{0x123456 0x78 0x9abc}}
TCI_sendacl 1 2 {0xaa 0xbb}
put_wire "04 0E 05 01 02 F8 00 00"; puts [PT_wait {$TCI_PRIM}]
put_wire "04 FE 05 05 40 00 E8 03"; puts [PT_wait {$TCI_PRIM}]
put_wire "01 0D F8 0C 01 00 00 00 02 00 03 00 02 00 AA BB"; puts [PT_wait {$TCI_PRIM}]
put_wire "01 05 F8 06 02 00 01 10 03 10"; puts [PT_wait {$TCI_PRIM}]
put_wire "02 01 00 02 00 AB CD"; puts [PT_wait {$ACL_PRIM}]
TCI_disconnect
close $line
exec kill [string trim [read [set f [open socat.pid]]]]
close $f
