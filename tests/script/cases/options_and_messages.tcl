puts $a
puts [info exists novalue]
puts "<$empty>"
puts [info exists x]
