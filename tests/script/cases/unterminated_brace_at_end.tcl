puts hi
set x {
puts inside
