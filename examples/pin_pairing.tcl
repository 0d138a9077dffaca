# PIN pairing: the remote peer asks for a PIN before it accepts a link. We
# have no link key for it, give the PIN, and keep the link key the pairing
# makes; the next link uses that key without a PIN.
# Run it: kestrel -b < examples/pin_pairing.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

puts [PT_sim peer pin 1234]
DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
DM_SM_L2CAP_REGISTER_REQ 1

set peer [list ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap}]
set no_key {0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0}
DM_ACL_OPEN_REQ {*}$peer
expect $DM_PRIM $DM_SM_LINK_KEY_REQUEST_IND
puts "The chip asks for a link key; we have none"
DM_SM_LINK_KEY_REQUEST_RES {*}$peer $no_key 0
expect $DM_PRIM $DM_SM_PIN_REQUEST_IND
puts "The chip asks for the PIN"
DM_SM_PIN_REQUEST_RES {*}$peer 4 {0x31 0x32 0x33 0x34}
expect $DM_PRIM $DM_SM_LINK_KEY_IND
set link_key $key
puts "Paired: key type $key_type, key $link_key"
expect $DM_PRIM $DM_ACL_OPEN_CFM
puts "Link open: success $success"
if {$success != 1} { error "the link did not open" }
DM_ACL_CLOSE_REQ {*}$peer
expect $DM_PRIM $DM_ACL_CLOSED_IND

# The next time the key answers the chip's request; no PIN is asked.
DM_ACL_OPEN_REQ {*}$peer
expect $DM_PRIM $DM_SM_LINK_KEY_REQUEST_IND
DM_SM_LINK_KEY_REQUEST_RES {*}$peer $link_key 1
expect $DM_PRIM $DM_ACL_OPEN_CFM
puts "Link open with the stored key: success $success"
DM_ACL_CLOSE_REQ {*}$peer
expect $DM_PRIM $DM_ACL_CLOSED_IND

# A wrong PIN: the peer refuses the link.
DM_ACL_OPEN_REQ {*}$peer
expect $DM_PRIM $DM_SM_LINK_KEY_REQUEST_IND
DM_SM_LINK_KEY_REQUEST_RES {*}$peer $no_key 0
expect $DM_PRIM $DM_SM_PIN_REQUEST_IND
DM_SM_PIN_REQUEST_RES {*}$peer 4 {0x30 0x30 0x30 0x30}
expect $DM_PRIM $DM_ACL_OPEN_CFM
puts "With a wrong PIN: success $success"
PT_disconnect
