puts ok
kestrelinit
