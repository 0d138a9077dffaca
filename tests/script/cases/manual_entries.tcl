puts [lsort [lmap name [array names manual] {if {[lindex $manual($name) 1] ne "0x44000000"} continue; set name}]]
set entry $manual(PT_option)
puts [llength $entry]
puts [lindex $entry 0]
puts [lindex $entry 1]
puts [lindex $entry 3]
puts [lindex $entry 4]
puts <[lindex $entry 5]>
puts [lindex [split [lindex $entry 2] \n] 0]
puts [llength [split [lindex $entry 2] \n]]
foreach name {PT_connect PT_disconnect PT_wait PT_wait_until PT_send PT_btrfcomm PT_ttrfcomm PT_cancel PT_btl2cap PT_ttl2cap PT_flush OS_send_mouse_report OS_kbhit PT_send_raw} { puts [list $manual($name)] }
help PT_option
help PT_wait
help opt
help nothing_like_this
help PT_btrfcomm
