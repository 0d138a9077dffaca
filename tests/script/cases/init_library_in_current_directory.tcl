puts ok
puts $tcl_library
