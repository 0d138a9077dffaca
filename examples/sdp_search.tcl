# SDP: search the remote peer for a serial port service, read the record's
# attributes, find its RFCOMM server channel; register a record of our own.
# Run it: kestrel -b < examples/sdp_search.tcl
PT_connect sim ptsp 115200
PT_option +timeout 5

proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}

DM_AM_REGISTER_REQ 1
expect $DM_PRIM $DM_AM_REGISTER_CFM

SDC_OPEN_SEARCH_REQ 1 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap}
expect $SDP_PRIM $SDC_OPEN_SEARCH_CFM
puts "Search opened: result $result"

# A pattern of one UUID, the serial port class 0x1101.
set serial_port {0x35 0x03 0x19 0x11 0x01}
SDC_SERVICE_SEARCH_REQ 1 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 5 $serial_port 10
expect $SDP_PRIM $SDC_SERVICE_SEARCH_CFM
puts "Records found: $num_recs_ret, handles $rec_list"
set record [expr {([lindex $rec_list 0] << 24) | ([lindex $rec_list 1] << 16) | ([lindex $rec_list 2] << 8) | [lindex $rec_list 3]}]

# Every attribute of that record: the id range 0x0000-0xffff.
SDC_SERVICE_ATTRIBUTE_REQ 1 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} $record 7 {0x35 0x05 0x0a 0x00 0x00 0xff 0xff} 100
expect $SDP_PRIM $SDC_SERVICE_ATTRIBUTE_CFM
puts "Attributes of record [format 0x%x $record]: $attr_list"

# Search and attribute in one: the protocol descriptor list (0x0004).
SDC_SERVICE_SEARCH_ATTRIBUTE_REQ 1 ${bd_addr.lap} ${bd_addr.uap} ${bd_addr.nap} 5 $serial_port 5 {0x35 0x03 0x09 0x00 0x04} 100
expect $SDP_PRIM $SDC_SERVICE_SEARCH_ATTRIBUTE_CFM
puts "Protocol descriptors: $attr_list"
# RFCOMM's UUID (0x0003) is followed by the server channel, a uint8.
set at [lsearch -exact $attr_list 0x03]
set channel [lindex $attr_list [expr {$at + 2}]]
puts "The serial port is on RFCOMM server channel [expr {$channel}]"
if {$channel != 1} { error "wrong server channel" }

SDC_CLOSE_SEARCH_REQ 1
expect $SDP_PRIM $SDC_CLOSE_SEARCH_IND

# A record of our own, a serial port named "Kes"; the server gives it a handle.
SDS_REGISTER_REQ 1 {0x35 0x10 0x09 0x00 0x01 0x35 0x03 0x19 0x11 0x01 0x09 0x01 0x00 0x25 0x03 0x4b 0x65 0x73} 18
expect $SDP_PRIM $SDS_REGISTER_CFM
puts "Registered: handle $svc_rec_hndl, result $result"
SDS_UNREGISTER_REQ 1 $svc_rec_hndl
expect $SDP_PRIM $SDS_UNREGISTER_CFM
puts "Unregistered: result $result"
PT_disconnect
