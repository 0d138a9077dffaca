# ACL connection: open a link to the remote peer, look at it, close it.
# Run it: kestrel -b < examples/acl_connection.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM
DM_ACL_REGISTER_REQ 1
expect $DM_PRIM $DM_ACL_REGISTER_CFM
puts "ACL buffers: [lrange [expect $DM_PRIM $DM_ACL_BUFFER_SIZE_IND] 3 4]"

# The remote peer's address is in the default bd_addr variables.
puts "Connecting to ${bd_addr.nap} ${bd_addr.uap} ${bd_addr.lap}"
DM_ACL_CONNECT_REQ ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 0xcc18
expect $DM_PRIM $DM_ACL_CONNECT_CFM
if {$status != 0} { error "connect failed: status $status" }
set link $handle
puts "Connected: handle $link"

DM_HCI_READ_REMOTE_FEATURES $link 0 0 0
expect $DM_PRIM $DM_HCI_READ_REMOTE_FEATURES_COMPLETE
puts "Remote features: $features"
DM_HCI_READ_REMOTE_VERSION $link 0 0 0
expect $DM_PRIM $DM_HCI_READ_REMOTE_VERSION_COMPLETE
puts "Remote version: LMP $LMP_version, subversion $LMP_subversion"
DM_HCI_WRITE_LINK_SUPERV_TIMEOUT $link 0 0 0 0x3e80
expect $DM_PRIM $DM_HCI_WRITE_LINK_SUPERV_TIMEOUT_COMPLETE
DM_HCI_READ_LINK_SUPERV_TIMEOUT $link 0 0 0
expect $DM_PRIM $DM_HCI_READ_LINK_SUPERV_TIMEOUT_COMPLETE
puts "Supervision timeout: $timeout"
if {$timeout != 0x3e80} { error "the timeout written is not the one read" }

DM_ACL_DISCONNECT_REQ $link 0x13
expect $DM_PRIM $DM_ACL_DISCONNECT_IND
puts "Disconnected: handle $handle, reason $reason"
expect $DM_PRIM $DM_ACL_CLOSED_IND

# A handle that is gone is an unknown connection (status 0x2).
DM_HCI_READ_LINK_SUPERV_TIMEOUT $link 0 0 0
expect $DM_PRIM $DM_HCI_READ_LINK_SUPERV_TIMEOUT_COMPLETE
puts "After the disconnection: status $status"
PT_disconnect
