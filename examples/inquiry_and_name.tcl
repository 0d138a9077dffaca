# Inquiry and remote name: find the devices in range of the simulated chip,
# then ask the remote peer for its name.
# Run it: kestrel -b < examples/inquiry_and_name.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

# Waits for one primitive of a channel and type, passing over anything else;
# nothing within the time-out is an error.
proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM

# General inquiry (LAP 0x9e8b33) for up to 4 x 1.28 s, any number of answers.
DM_HCI_INQUIRY 0x9e8b33 4 0
set found {}
while 1 { set got [PT_wait_until [list $DM_PRIM $DM_HCI_INQUIRY_RESULT $DM_HCI_INQUIRY_COMPLETE]]; if {$got == "" || [lindex $got 1] == $DM_HCI_INQUIRY_COMPLETE} break; lappend found [lindex $got 4] }
puts "Inquiry found [llength $found] device(s):"
foreach record $found { puts "  address [lrange $record 0 2], class [lindex $record 6], clock offset [lindex $record 7]" }
if {[llength $found] != 1} { error "expected the remote peer alone" }

# The remote peer's name, from its address in the inquiry result.
set peer [lindex $found 0]
DM_HCI_REMOTE_NAME_REQUEST [lindex $peer 0] [lindex $peer 1] [lindex $peer 2] [lindex $peer 3] 0 [lindex $peer 7]
expect $DM_PRIM $DM_HCI_REMOTE_NAME_COMPLETE
puts "Remote name: status $status, name \"$name_part\""
if {$status != 0} { error "remote name request failed" }

PT_disconnect
