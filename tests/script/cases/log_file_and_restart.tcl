puts "to both"
restart
puts again
quit
