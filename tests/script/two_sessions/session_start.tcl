# What both sides do first: connect to their chip, register with the device
# manager and register PSM 0x1234. expect waits for one primitive and fails
# when none arrives in time.
PT_connect $device ptsp 115200
PT_option +timeout 20
proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}
DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
L2CA_REGISTER_REQ 0x1234 1
expect $L2CAP_PRIM $L2CA_REGISTER_CFM
