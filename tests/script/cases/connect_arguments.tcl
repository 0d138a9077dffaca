proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
show PT_connect a b
show PT_connect a b c d
show PT_connect foo ptsp 115200
show PT_connect usb usb 0
show PT_connect abcdXfgh USB 0
show PT_send 2 1 2 3
show PT_send_raw 1 2
show PT_wait {4}
show PT_wait_until {4}
show PT_flush
show PT_disconnect
set comport nowhere:at:all
show PT_connect
show PT_connect - - -
