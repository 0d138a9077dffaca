# Every receivable stack primitive, sent by the simulated chip with
# distinctive values in every field, is decoded once by PT_wait and once by
# its receive command; both results and every variable are compared with
# what the layouts give. Only differences are printed, then the count.
PT_connect sim ptsp 115200; after 200
source received_primitives.data

# Runs one decode inside a procedure, as scripts do: the globals land in the
# global scope, a device name's arg6 in this procedure's.
proc decode_one {how row} {
    lassign $row name channel type wire fields globals local6
    foreach {var value} $globals { unset -nocomplain ::$var }
    for {set i 1} {$i <= 13} {incr i} { unset -nocomplain ::arg$i }
    PT_sim send $channel {*}$wire
    if {$how eq "wait"} {
        set got [PT_wait [list $channel]]
        set want [list [format 0x%x $channel] [format 0x%x $type] {*}$fields]
    } else {
        set got [$name]
        set want $fields
    }
    set problems {}
    if {$got ne $want} { lappend problems "result <$got>, expected <$want>" }
    foreach {var value} $globals {
        if {![info exists ::$var]} {
            lappend problems "$var not set"
        } elseif {[set ::$var] ne $value} {
            lappend problems "$var <[set ::$var]>, expected <$value>"
        }
    }
    for {set i 1} {$i <= 13} {incr i} {
        if {[info exists ::arg$i] && [lsearch -exact $globals arg$i] < 0} { lappend problems "arg$i set" }
    }
    if {$local6 ne "" && (![info exists arg6] || $arg6 ne $local6)} { lappend problems "local arg6 not the name" }
    foreach problem $problems { puts "$name ($how): $problem" }
    return [llength $problems]
}

set checked 0
set failures 0
foreach row $rows {
    incr failures [decode_one wait $row]
    incr failures [decode_one receive $row]
    incr checked
}
puts "$checked primitives decoded by PT_wait and by their receive commands, $failures differences"
PT_disconnect
