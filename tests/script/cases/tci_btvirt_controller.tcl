# Against a real HCI controller (btvirt): its command completes decode, and
# the Command Status that answers a create connection is refused with the
# unexpected-event line (as is the connection complete that follows it).
TCI_connect unix:/tmp/bt-server-bredr 115200
TCI_HCI_RESET_REQ; puts [PT_wait {$TCI_PRIM}]
puts "$num_hci_command_packets $command_op_code $status"
TCI_HCI_WRITE_SCAN_ENABLE_REQ 3; puts [PT_wait {$TCI_PRIM}]
TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ 1 0x9e8b33; puts [PT_wait {$TCI_PRIM}]
TCI_HCI_CREATE_CONNECTION_REQ 0x123456 0x78 0x9abc 0xcc18 1 0 0 1; TCI_HCI_RESET_REQ; puts [PT_wait {$TCI_PRIM}]
TCI_disconnect
# The btvirt this case started, by its process id.
exec kill [string trim [read [set f [open btvirt.pid]]]]
close $f
