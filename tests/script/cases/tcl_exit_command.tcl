puts before
proc finish {} {puts bye; exit 3}
finish
puts never
