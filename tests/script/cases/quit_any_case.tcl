puts hello
set x 5
puts "x is $x"

QUIT
puts never
