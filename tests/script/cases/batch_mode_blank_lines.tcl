puts a

puts b
