# Three DM primitives and one L2CAP primitive, then a disconnect: the
# statistics count each family, plural and singular, in both directions.
PT_connect sim ptsp 115200; after 300
DM_HCI_RESET
DM_HCI_READ_BD_ADDR
DM_HCI_WRITE_SCAN_ENABLE 3
L2CA_REGISTER_REQ 0x1001 1
# The chip answers in order: once the L2CAP answer is here, all four are.
puts [PT_wait_until {$L2CAP_PRIM} {$L2CA_REGISTER_CFM}]
PT_disconnect
