puts one
 quit
quit 
Exit
puts never
