# The bytes of TCI commands, events and ACL data on the wire (the H4 type
# byte first), read by the script from the other end of a pseudo-terminal
# pair; and what Kestrel makes of raw bytes written there.
set line [open [pwd]/device.pty r+]
fconfigure $line -translation binary -blocking 0 -buffering none
proc wire {} {
    global line
    after 100
    binary scan [read $line] H* hex
    return [string toupper [regsub -all {..} $hex {& }]]
}
proc put_wire {hex} {
    global line
    puts -nonewline $line [binary format H* [string map {" " ""} $hex]]
}
TCI_connect [pwd]/host.pty 115200
TCI_HCI_RESET_REQ; puts "reset: [wire]"
TCI_HCI_RESET_COMPLETE 1 0x0C03 0; puts "reset complete: [wire]"
# The op code of an L2CAP command complete replaces the script's.
TCI_L2CA_DISCONNECT_REQ_COMPLETE 1 0 0; puts "disconnect complete: [wire]"
TCI_L2CA_TIMEOUT_IND 5 0x40 1000; puts "timeout indication: [wire]"
TCI_L2CA_PING_REQ 0x123456 0x78 0x9abc 4 {1 2 3 4}; puts "ping: [wire]"
TCI_L2CA_ENABLECLT_REQ 2 {0x1001 0x1003}; puts "enable CLT: [wire]"
TCI_L2CA_DISABLECLT_REQ 0 ?; puts "disable CLT: [wire]"
TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE 1 0 0 2 {{0x123456 0x78 0x9abc} {1 2 3}}; puts "membership: [wire]"
TCI_L2CA_PING_REQ_COMPLETE 1 0 0 2 {0xaa 0xbb}; puts "ping complete: [wire]"
TCI_L2CA_GETINFO_REQ_COMPLETE 1 0 0 3 {0xaa 0xbb 0xcc}; puts "get-info complete: [wire]"
TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ 2 {0x9e8b33 0x9e8b00}; puts "IAC LAP: [wire]"
# A count larger than the data sends zeros in place of the missing bytes.
TCI_L2CA_PING_REQ 1 2 3 3 {0x11}; puts "short ping: [wire]"
TCI_sendacl 1 4 {1 2 3 4}; puts "ACL: [wire]"
TCI_sendacl 0x2001 2 {0xff 0xfe 0xfd}; puts "ACL cut to its length: [wire]"
# '?' leaves a field as allocated: zero.
TCI_HCI_CREATE_CONNECTION_REQ 0x123456 ? 0x9abc ? 1 2 ? 1; puts "skipped fields: [wire]"
set scan_enable 2
TCI_HCI_WRITE_SCAN_ENABLE_REQ; puts "from the variable: [wire]"

# What arrives: a damaged stream is reported and resynchronised; SCO data,
# unknown event codes, op codes and event ids are refused with their lines.
put_wire "07 08 04 0E 04 01 03 0C 00"; puts [PT_wait {$TCI_PRIM}]
put_wire "03 01 00 02 AA BB 04 0F 04 00 01 05 04 04 0E 04 01 1A 0C 00"; puts [PT_wait {$TCI_PRIM}]
put_wire "01 01 FC 00 01 03 0C 00"; puts [PT_wait {$TCI_PRIM}]
put_wire "04 0E 04 01 12 F8 00 04 FE 01 06 04 0E 04 01 3A 0C 00"; puts [PT_wait {$TCI_PRIM}]
# A wait for command completes passes over the TCI events before them.
put_wire "04 FE 05 05 40 00 E8 03 04 0E 04 01 03 0C 07"; puts [PT_wait {$TCI_PRIM 0x0E}]
put_wire "04 FE 05 05 40 00 E8 03"; puts [PT_wait {$TCI_PRIM 0xFE}]
put_wire "01 0D F8 0E 01 00 00 00 02 00 03 00 04 00 01 02 03 04"; puts [PT_wait {$TCI_PRIM 0xF80D}]
put_wire "02 01 00 02 00 AB CD"; puts [PT_wait {$ACL_PRIM}]
TCI_disconnect
close $line
exec kill [string trim [read [set f [open socat.pid]]]]
close $f
