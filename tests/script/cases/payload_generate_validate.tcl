proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
# Manual rows and argument counts.
puts [list $manual(PT_generate)]
puts [list $manual(PT_validate)]
show PT_generate
show PT_generate 1 2 3 4
show PT_validate
show PT_validate {1} - 0 extra
# Mode random from counter 0; a seed runs on a copy and the transmit counter
# carries on where it stood.
show PT_generate 2
show PT_generate 4 seq8 5
show PT_generate 2
show PT_generate 3 rand 0
show PT_generate 3 random 0
show PT_generate 3 - 0
show PT_generate 0
show PT_generate -1
show PT_generate 0x3 seq16 0x1ff
# The receive counter is separate: it starts at 0 too.
show PT_validate {0x00 0x0c 0x3f 0xd4}
show PT_validate {0x04 0x1f 0xd5}
show PT_validate {0x00 0x0c 0x3f 0xd5 0x04} - 0
show PT_validate {9 9 9 9 9} seq8 9
show PT_validate {9 9 8 9 7} seq8 9
set payload [lindex [PT_generate 6 seq16 0x0102] 0]
puts $payload
show PT_validate $payload seq16 0x0102
show PT_validate {}
# +agpmode restarts both counters; -agpmode passes every check.
show PT_option +agpmode seq16
show PT_generate 4
show PT_generate 4
show PT_generate 5
show PT_validate {0 0 0 0}
show PT_validate {1 0 1 0}
show PT_option agpmode block
show PT_option agpmode
show PT_option -agpmode
show PT_validate {1 2 3}
show PT_validate {0 0 0 0}
show PT_generate 2
show PT_option +agpmode seq8
show PT_validate {0 0}
show PT_validate {7 1}
# Mode tcl: a procedure answers "true" and the length.
proc counting {flag n} {
    puts "counting $flag $n"
    if {$n == 3} { return {} }
    if {$n == 2} { return {7 8 9} }
    if {$n == 1} { error "no single bytes" }
    set r {}
    for {set i 0} {$i < $n} {incr i} { lappend r $i }
    return $r
}
show PT_option +agpmode tcl counting
show PT_option agpmode
show PT_generate 4
show PT_generate 3
show PT_generate 2
show PT_generate 1
show PT_validate {0 1 2 3}
show PT_validate {0 1 2 4}
show PT_validate {0 1 2}
show PT_generate 2 seq8
