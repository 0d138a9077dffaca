# help.tcl - readable help from the manual array.
#
# Every command and every receivable primitive has an entry manual(NAME): a
# list of name, flags, help text, argument synopsis, result synopsis and one
# more column. These procedures print it for people.

# The kind of an entry, from its flags word.
proc help_kind {flags} {
    set channels {3 TCI 4 DM 5 L2CAP 6 RFCOMM 7 SDP}
    set channel [expr {$flags & 0xff}]
    set family [expr {[dict exists $channels $channel] ? [dict get $channels $channel] : "channel $channel"}]
    if {$flags & 0x04000000} { return "built-in command" }
    if {$flags & 0x08000000} { return "sends a $family primitive" }
    if {$flags & 0x10000000} { return "a $family primitive the wait commands receive" }
    return "command"
}

# help ?NAME?
#   With a name, prints its manual entry. Without one, lists every name that
#   has an entry. A name that has none lists the names that contain it.
proc help {args} {
    global manual
    if {[llength $args] > 1} {
        error "usage: help ?name?"
    }
    if {[llength $args] == 0} {
        set names [lsort [array names manual]]
        puts "Manual entries ([llength $names]); type help NAME for one of them:"
        foreach name $names { puts "  $name" }
        return
    }
    set name [lindex $args 0]
    if {![info exists manual($name)]} {
        set similar [lsort [array names manual -glob *$name*]]
        if {[llength $similar] == 0} {
            error "no manual entry for \"$name\""
        }
        puts "No manual entry for \"$name\"; entries that contain it:"
        foreach other $similar { puts "  $other" }
        return
    }
    lassign $manual($name) entry flags text arguments results
    puts "$entry - [help_kind $flags]"
    if {$arguments eq "None"} {
        puts "Usage:   $entry"
    } else {
        puts "Usage:   $entry [string trimright $arguments]"
    }
    puts "Results: [string trimright $results]"
    puts ""
    foreach line [split $text \n] { puts "  $line" }
}
