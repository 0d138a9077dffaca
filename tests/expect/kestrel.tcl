# kestrel.tcl - shared by the Expect scripts beside it, which run kestrel at
# a pseudo-terminal and compare what it prints exactly.
#
# usage of every script: expect SCRIPT.exp KESTREL ?WORKDIR?
# Without WORKDIR a temporary directory is made and removed at exit.

set timeout 10
log_user 0

if {[llength $argv] < 1 || [llength $argv] > 2} {
    puts stderr "usage: [file tail $argv0] KESTREL ?WORKDIR?"
    exit 2
}
# Normalised first: the script changes directory before spawning.
set kestrel [file normalize [lindex $argv 0]]
if {![file executable $kestrel]} {
    puts stderr "FAIL: $kestrel is not an executable file"
    exit 1
}
if {[llength $argv] == 2} {
    cd [lindex $argv 1]
} else {
    set workdir [exec mktemp -d]
    exit -onexit [list file delete -force $workdir]
    cd $workdir
}

set banner {
    {.   .  .....   ....  .....  ....   .....  .    }
    {#  #'  #''''  #''''  ''#''  #'''#  #''''  #    }
    {# #'   #      #        #    #   #  #      #    }
    {##:    ####:  '###.    #    ####'  ####:  #    }
    {# '#.  #          #    #    # '#.  #      #    }
    {#  '#  #          #    #    #  '#  #      #    }
    {#   #  #####  ####'    #    #   #  #####  #####}
    {'   '  '''''  ''''     '    '   '  '''''  '''''}
}
set time_re {^Session (start|end) time is [A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}$}

# Control characters made visible, so a stray \r or a missing newline shows.
proc visible {text} {
    return [string map [list \r {\r} \n "\\n\n    "] $text]
}

proc fail {message {got ""}} {
    puts stderr "FAIL: $message"
    if {$got ne ""} { puts stderr "  received:\n    [visible $got]" }
    exit 1
}

# Whatever has arrived but not been consumed yet, for failure messages.
proc pending {} {
    expect -timeout 0 -re {.+} { return $expect_out(buffer) }
    return ""
}

proc start {prompt args} {
    global kestrel spawn_id
    spawn -noecho $kestrel {*}$args
    return [until_prompt $prompt "the first prompt"]
}

# Everything up to and including the next PROMPT> (printed without newline).
proc until_prompt {prompt what} {
    expect {
        -ex "$prompt>" { return $expect_out(buffer) }
        timeout { fail "timed out waiting for $what" [pending] }
        eof { fail "kestrel ended while waiting for $what" $expect_out(buffer) }
    }
}

# Sends LINE and returns the terminal echo plus kestrel's output up to the
# next prompt.
proc command {prompt line} {
    send -- "$line\r"
    return [until_prompt $prompt "the prompt after \"$line\""]
}

proc check_equal {what got want} {
    if {$got ne $want} {
        fail "$what: expected\n    [visible $want]" $got
    }
}

# The start-up block: blank line, banner, version, copyright, start time,
# interpreter line, EXTRA option messages, blank line, prompt.
proc check_startup {what text prompt {extra {}}} {
    global banner time_re
    set want [list {} {*}$banner <VERSION> {Copyright (C) 2026 The Kestrel developers} \
                  <TIME> {Tcl interpreter started (Tcl v8.6).} {*}$extra {} "$prompt>"]
    if {[regexp {[^\r]\n|\r[^\n]} $text]} { fail "$what: a line not ended by \\r\\n" $text }
    set got [split [string map {\r\n \n} $text] \n]
    if {[llength $got] != [llength $want]} {
        fail "$what: [llength $got] lines, expected [llength $want]" $text
    }
    foreach g $got w $want {
        switch -- $w {
            <VERSION> { set ok [regexp {^[0-9]+\.[0-9]+\.[0-9]+ [^ ]} $g] }
            <TIME>    { set ok [expr {[regexp $time_re $g] && [string match "Session start*" $g]}] }
            default   { set ok [expr {$g eq $w}] }
        }
        if {!$ok} { fail "$what: line \"$g\" does not match \"$w\"" $text }
    }
}

# After a whole line quit/exit: the end time, then end of file, exit status 0.
proc check_quit {line} {
    global time_re
    send -- "$line\r"
    expect {
        -re {^[^\n]*\n([^\n]*)\r\n\r\n} {
            check_equal "echo of $line" [lindex [split $expect_out(buffer) \r] 0] $line
            if {![regexp $time_re $expect_out(1,string)]} {
                fail "no end time after $line" $expect_out(buffer)
            }
        }
        timeout { fail "timed out waiting for the end time after $line" [pending] }
        eof { fail "kestrel ended without an end time after $line" $expect_out(buffer) }
    }
    expect {
        eof {}
        timeout { fail "kestrel still running after $line" [pending] }
    }
    if {[string trim $expect_out(buffer)] ne ""} {
        fail "output after the end time" $expect_out(buffer)
    }
    set status [wait]
    if {[llength $status] != 4 || [lindex $status 2] != 0 || [lindex $status 3] != 0} {
        fail "after $line kestrel ended with status {$status}, expected exit status 0"
    }
}
