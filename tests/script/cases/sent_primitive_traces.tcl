# With the internal debugger on, a built primitive is traced field by field
# between its header and its rule; special fields dump what they wrote; an
# unknown type through PT_send is reported on the error trace.
PT_connect sim:stack=off ptsp 115200; after 300
DM_HCI_INQUIRY 0x9e8b33 8 0x1ff
L2CA_DATAWRITE_REQ 0x40 3 {1 2 3}
BNEP_DATA_REQ 0x800 {0x0002 0x5bff 0x0c67} {0x11 0x22} 2
TCP_OPEN_REQ 1 2 {0x2001 0xdb8 0 0 0 0 0 1} 80 512 1024 512
DM_HCI_WRITE_LP_SETTINGS 1 2 3 0xf 3 {0x800 0x400 0x10000}
DM_SM_LINK_KEY_REQUEST_RES 1 2 3 {1 2} 1
PT_send 4 9999
PT_send 7 0x77
PT_disconnect
