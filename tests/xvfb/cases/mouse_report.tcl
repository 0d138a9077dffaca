# Mouse reports moving the pointer of a private X server. The position is
# read back with xdotool after each report; the button events are checked
# by the recorder against mouse_report.events.
proc where {} {
    foreach line [split [exec xdotool getmouselocation --shell] \n] {
        if {[regexp {^([XY])=(-?[0-9]+)$} $line -> axis value]} { set at($axis) $value }
    }
    puts "at $at(X) $at(Y)"
}
exec xdotool mousemove 300 200
where
# From the starting state: left and middle up, buttons X never saw pressed.
OS_send_mouse_report 0 10 20 0
where
# Deltas are signed bytes: 200 moves back by 56.
OS_send_mouse_report 1 -5 200 0
where
OS_send_mouse_report 1 0 0 0
OS_send_mouse_report 0 0x7f 0 0
where
OS_send_mouse_report 2 0 0 0
OS_send_mouse_report 6 0 0 0
OS_send_mouse_report 5 -1 -1 0
where
OS_send_mouse_report 0 0 0 0
# The wheel, in notches: away from the user twice, then towards once
# (255 is -1).
OS_send_mouse_report 0 0 0 2
OS_send_mouse_report 0 0 0 255
where
OS_send_mouse_report 1 2 3
OS_send_mouse_report
