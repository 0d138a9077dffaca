set x {a
b
c}
puts [string map {"\n" |} $x]
puts done
