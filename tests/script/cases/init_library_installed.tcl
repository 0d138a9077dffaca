puts [expr {$tcl_library ne "."}]
