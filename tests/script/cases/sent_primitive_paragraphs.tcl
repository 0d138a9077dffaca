# With +primdebug out, a sent primitive of a switched-on family is shown as
# a paragraph before it goes; the data primitives only while the outgoing
# data switch is on (it is from the start).
# The chip's stack is off, so no answer races the end of the session.
PT_connect sim:stack=off ptsp 115200; after 300
DM_HCI_WRITE_PAGE_TO 0x2000
PT_option +primdebug out l2cap
L2CA_REGISTER_REQ 0x1001 1
L2CA_DATAWRITE_REQ 0x40 2 {1 2}
PT_option -primdebug out data
L2CA_DATAWRITE_REQ 0x40 2 {3 4}
L2CA_DISCONNECT_REQ 0x40
PT_option +primdebug out rfc
PT_option -rfc_flow_control
RFC_DATA_REQ 1 2 0 1 {5}
RFC_CLOSE_REQ 1
PT_disconnect
