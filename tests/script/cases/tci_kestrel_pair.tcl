# Kestrel against Kestrel over H4: this session is the host; it drives a
# second session, the device, through a pipe and shows what the device
# prints, prefixed "device: ". (Lists are built a line at a time: the
# read-eval loop puts a flush after every line of a command.)
set dev [open "|[info nameofexecutable]" r+]
fconfigure $dev -buffering line
proc dev {script {show 1}} {
    global dev
    puts $dev $script
    puts $dev {puts @@}
    while {[gets $dev line] >= 0} {
        regsub -all {KESTREL>} $line {} line
        if {$line eq "@@"} return
        if {$show && $line ne ""} {puts "device: $line"}
    }
}
dev {TCI_connect [pwd]/device.pty 115200} 0
TCI_connect [pwd]/host.pty 115200

# Every command the device accepts crosses and decodes.
set commands {}
lappend commands {TCI_L2CA_CONNECT_REQ 0x1001 0x123456 0x78 0x9abc}
lappend commands {TCI_L2CA_DISCONNECT_REQ 0x40}
lappend commands {TCI_L2CA_CONFIG_REQ 0x40 672 1 2 0x11111111 0x22222222 0x33333333 0x44444444 0x55555555 0xffff 0x1234}
lappend commands {TCI_L2CA_DISABLECLT_REQ 2 {0x1001 0x1003}}
lappend commands {TCI_L2CA_ENABLECLT_REQ 3 {1 2 3}}
lappend commands {TCI_L2CA_GROUPCREATE_REQ 0x1001}
lappend commands {TCI_L2CA_GROUPCLOSE_REQ 0x41}
lappend commands {TCI_L2CA_GROUPADDMEMBER_REQ 0x41 0x123456 0x78 0x9abc}
lappend commands {TCI_L2CA_GROUPREMOVEMEMBER_REQ 0x41 0x654321 0x87 0xcba9}
lappend commands {TCI_L2CA_GROUPMEMBERSHIP_REQ 0x41}
lappend commands {TCI_L2CA_WRITEDATA_REQ 0x40 100}
lappend commands {TCI_L2CA_READDATA_REQ 0x40 200}
lappend commands {TCI_L2CA_PING_REQ 0x123456 0x78 0x9abc 4 {0xa 0xb 0xc 0xd}}
lappend commands {TCI_L2CA_GETINFO_REQ 0x123456 0x78 0x9abc 2}
lappend commands {TCI_L2CA_CONNECT_RSP 0x123456 0x78 0x9abc 7 0x40 1 2}
lappend commands {TCI_L2CA_DISCONNECT_RSP}
lappend commands {TCI_L2CA_CONFIG_RSP 0x40 48 1 2 3 4 5 6 7}
lappend commands {TCI_HCI_RESET_REQ}
lappend commands {TCI_HCI_CREATE_CONNECTION_REQ 0x123456 0x78 0x9abc 0xcc18 1 2 0x8001 1}
lappend commands {TCI_HCI_WRITE_SCAN_ENABLE_REQ 3}
foreach command $commands {
    eval $command
    puts "host sent [lindex $command 0]"
    dev {puts [PT_wait {$TCI_PRIM}]}
}
# The decoders' variables are global and numbered.
dev {puts "${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} $allow_role_switch $arg8"}
TCI_L2CA_PING_REQ 0x1 0x2 0x3 2 {0x55 0x66}
dev {PT_wait {$TCI_PRIM}; puts "echo_data {$echo_data} arg4 $arg4 arg5 {$arg5}"}

# The device refuses these two commands; the reset behind them arrives.
TCI_HCI_ACCEPT_CONNECTION_REQ
TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ 1 0x9e8b33
TCI_HCI_RESET_REQ
dev {puts [PT_wait {$TCI_PRIM}]}

# Every event the host accepts crosses and decodes.
set events {}
lappend events {TCI_L2CA_CONNECT_IND 1 0x123456 0x78 0x9abc 0x40 0x1001 7}
lappend events {TCI_L2CA_CONFIG_IND 2 0x40 672 1 2 0x11111111 0x22222222 0x33333333 0x44444444 0x55555555 0xffff}
lappend events {TCI_L2CA_DISCONNECT_IND 3 0x40}
lappend events {TCI_L2CA_QOSVIOLATION_IND 4 0x123456 0x78 0x9abc}
lappend events {TCI_L2CA_TIMEOUT_IND 5 0x40 1000}
lappend events {TCI_HCI_RESET_COMPLETE 1 0x0C03 0}
lappend events {TCI_HCI_WRITE_CURRENT_IAC_LAP_COMPLETE 1 0x0C3A 0}
lappend events {TCI_HCI_WRITE_SCAN_ENABLE_COMPLETE 1 0x0C1A 0x12}
lappend events {TCI_L2CA_CONNECT_REQ_COMPLETE 1 0 0x40 1 2}
lappend events {TCI_L2CA_DISCONNECT_REQ_COMPLETE 1 0 3}
lappend events {TCI_L2CA_CONFIG_REQ_COMPLETE 1 0 4}
lappend events {TCI_L2CA_DISABLECLT_REQ_COMPLETE 1 0 5}
lappend events {TCI_L2CA_ENABLECLT_REQ_COMPLETE 1 0 6}
lappend events {TCI_L2CA_GROUPCREATE_REQ_COMPLETE 1 0 0x41}
lappend events {TCI_L2CA_GROUPCLOSE_REQ_COMPLETE 1 0 7}
lappend events {TCI_L2CA_GROUPADDMEMBER_REQ_COMPLETE 1 0 0x41}
lappend events {TCI_L2CA_GROUPREMOVEMEMBER_REQ_COMPLETE 1 0 8}
lappend events {TCI_L2CA_GROUPMEMBERSHIP_REQ_COMPLETE 1 0 9 2 {{0x123456 0x78 0x9abc} {1 2 3}}}
lappend events {TCI_L2CA_WRITEDATA_REQ_COMPLETE 1 0 100 10}
lappend events {TCI_L2CA_READDATA_REQ_COMPLETE 1 0 11}
lappend events {TCI_L2CA_PING_REQ_COMPLETE 1 0 12 3 {0x21 0x22 0x23}}
lappend events {TCI_L2CA_GETINFO_REQ_COMPLETE 1 0 13 2 {0x30 0x31}}
lappend events {TCI_L2CA_CONNECT_RSP_COMPLETE 1 0 14}
lappend events {TCI_L2CA_CONFIG_RSP_COMPLETE 1 0 15}
foreach event $events {
    dev $event
    puts "device sent [lindex $event 0]: [PT_wait {$TCI_PRIM}]"
}
puts "${bd_addr.lap} $command_op_code $result $arg3"

# A connection complete keyed by its op code and an unknown event id are
# refused by the host; the reset complete behind them arrives. (One line,
# so that the host's messages come between its prompt and the result.)
dev {TCI_HCI_CONNECTION_COMPLETE 1 0x0405 0 0x123456 0x78 0x9abc 1 0; TCI_L2CA_CONNECT_IND 9 0x123456 0x78 0x9abc 0x40 0x1001 7; TCI_HCI_RESET_COMPLETE 1 0x0C03 0}; puts [PT_wait {$TCI_PRIM}]

# ACL data both ways; a handle other than 1 is warned about and queued.
TCI_sendacl 1 4 {1 2 3 4}
dev {puts [PT_wait {$ACL_PRIM}]}
dev {TCI_sendacl 2 3 {7 8 9}}; puts [PT_wait {$ACL_PRIM}]
puts "$handle $length {$data} $arg3"

dev {TCI_disconnect}
TCI_disconnect
close $dev
exec kill [string trim [read [set f [open socat.pid]]]]
close $f
