set x {a
b
c}
puts [string map {"\n" |} $x]
proc p {} {
quit
puts never
