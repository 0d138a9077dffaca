# Three DM primitives and one L2CAP primitive, then a disconnect: the
# statistics count each family, plural and singular.
PT_connect sim ptsp 115200; after 300
DM_HCI_RESET
DM_HCI_READ_BD_ADDR
DM_HCI_WRITE_SCAN_ENABLE 3
L2CA_REGISTER_REQ 0x1001 1
PT_disconnect
