puts one
quit