set y 1
puts [info exists y]
RESTART
puts [info exists y]
puts $comport
exit
