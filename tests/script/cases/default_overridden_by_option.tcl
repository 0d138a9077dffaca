puts $comport
puts $protocol
