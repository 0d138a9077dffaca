puts [lsort [array names manual PT_*]]
set entry $manual(PT_option)
puts [llength $entry]
puts [lindex $entry 0]
puts [lindex $entry 1]
puts [lindex $entry 3]
puts [lindex $entry 4]
puts <[lindex $entry 5]>
puts [lindex [split [lindex $entry 2] \n] 0]
puts [llength [split [lindex $entry 2] \n]]
foreach name {PT_connect PT_disconnect PT_wait PT_wait_until PT_send PT_flush PT_send_raw} { puts [list $manual($name)] }
help PT_option
help PT_wait
help opt
help nothing_like_this
