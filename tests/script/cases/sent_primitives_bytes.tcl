# Every sent primitive's bytes on the wire, by name and through PT_send. The
# RFCOMM data primitives go straight to the chip without flow control.
PT_connect sim:stack=off ptsp 115200
PT_option -rfc_flow_control
source sent_primitives.tcl
PT_disconnect
