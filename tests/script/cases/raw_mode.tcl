proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "[string map [list [pwd] .] $args] -> $code <[string map {\n |} $result]>"
}
show PT_send_raw 1
show PT_connect ptyA raw 115200
show PT_connect [pwd]/ptyA raw 115200
show PT_connect [pwd]/ptyA raw 115200
show PT_send_raw
show PT_send_raw 1 2 0x10 300 'a' 017
show PT_wait {4}
show PT_send 2 1
show PT_option rfc_buffer_size
show PT_option rfc_maxprimcount 5
show PT_option -rfc_flow_control
after 500
puts [string trim [exec od -An -tx1 received.bin]]
show PT_disconnect
show PT_send_raw 1
