# The remote peer's payloads against Kestrel's payload check: payloads it
# sources on an L2CAP channel pass PT_wait's check in seq8, and one it was
# told to corrupt fails with the validation report; as a sink it counts
# Kestrel's generated payloads good and explicit wrong bytes bad (random);
# on an RFCOMM data link it sources seq16 as the credits Kestrel grants
# allow, and sinks seq16 payloads of RFC_DATA_REQ "?".
PT_connect sim ptsp 115200
PT_option +timeout 5
set peer {0xff0c67 0x5b 0x0002}
proc expect {channel type} {
    set got [PT_wait_until [list $channel $type]]
    if {$got == ""} { error "nothing arrived of type $type on channel $channel" }
    return $got
}
# While the peer sources, its counts move on: only its first line is steady.
proc peer_mode {args} { return [lindex [split [PT_sim peer {*}$args] \n] 0] }
puts [PT_sim peer]
DM_AM_REGISTER_REQ 1; puts [expect $DM_PRIM $DM_AM_REGISTER_CFM]
L2CA_REGISTER_REQ 0x1001 1; puts [expect $L2CAP_PRIM $L2CA_REGISTER_CFM]
L2CA_CONNECT_REQ 0x1001 {*}$peer 0x1001 0; puts [expect $L2CAP_PRIM $L2CA_CONNECT_CFM]; puts [expect $L2CAP_PRIM $L2CA_CONNECT_CFM]
set channel $cid
L2CA_CONFIG_REQ $channel 1 672 0 0 0 0 0 0 0 0; puts [expect $L2CAP_PRIM $L2CA_CONFIG_IND]
L2CA_CONFIG_RSP $channel $identifier $size_options $options 0 0; puts [expect $L2CAP_PRIM $L2CA_CONFIG_CFM]
PT_option +agpmode seq8
puts [peer_mode payload seq8 source 20 3]
for {set n 1} {$n <= 3} {incr n} { puts [expect $L2CAP_PRIM $L2CA_DATAREAD_IND] }
puts [peer_mode corrupt source 20 1]
puts "check fails: [catch {expect $L2CAP_PRIM $L2CA_DATAREAD_IND} report]"
puts $report
puts [PT_sim peer]
puts [PT_sim peer sink reset payload random]
PT_option +agpmode random
L2CA_DATAWRITE_REQ $channel 100 ?; puts [expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM]
L2CA_DATAWRITE_REQ $channel 33 ?; puts [expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM]
L2CA_DATAWRITE_REQ $channel 3 {0x09 0x09 0x09}; puts [expect $L2CAP_PRIM $L2CA_DATAWRITE_CFM]
after 200
puts [PT_sim peer]
L2CA_DISCONNECT_REQ $channel; puts [expect $L2CAP_PRIM $L2CA_DISCONNECT_CFM]
RFC_INIT_REQ 1 3 1 0 0 0 0 0; puts [expect $RFCOMM_PRIM $RFC_INIT_CFM]
RFC_START_REQ {*}$peer 3 0 127 1; puts [expect $RFCOMM_PRIM $RFC_START_CFM]; set mux $mux_id; puts [expect $RFCOMM_PRIM $RFC_STARTCMP_IND]
RFC_PARNEG_REQ $mux 2 1 127 1 4; puts [expect $RFCOMM_PRIM $RFC_PARNEG_CFM]
RFC_ESTABLISH_REQ $mux 2 1; puts [expect $RFCOMM_PRIM $RFC_ESTABLISH_CFM]
PT_option +agpmode seq16
puts [peer_mode reset payload seq16 source 6 6]
for {set n 1} {$n <= 4} {incr n} { puts [expect $RFCOMM_PRIM $RFC_DATA_IND] }
PT_option +timeout 1
puts "nothing more before new credits: <[PT_wait_until [list $RFCOMM_PRIM $RFC_DATA_IND]]>"
PT_option +timeout 5
RFC_DATA_REQ $mux 1 2 0 ?
for {set n 5} {$n <= 6} {incr n} { puts [expect $RFCOMM_PRIM $RFC_DATA_IND] }
puts [PT_sim peer sink]
RFC_DATA_REQ $mux 1 0 6 ?; RFC_DATA_REQ $mux 1 0 7 ?; RFC_DATA_REQ $mux 1 0 2 {0x07 0x00}
after 200
puts [PT_sim peer]
RFC_RELEASE_REQ $mux 1; puts [expect $RFCOMM_PRIM $RFC_RELEASE_IND]
RFC_CLOSE_REQ $mux; puts [expect $RFCOMM_PRIM $RFC_CLOSE_IND]
puts [PT_sim peer echo reset]
PT_disconnect
