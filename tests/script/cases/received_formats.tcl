# The special value formats of received primitives with real content: device
# names of 40 and 248 characters (and one cut at 248), an inquiry result
# with three responses, a list of two link keys, a zero-length block, the
# payload check of received data, and the receive commands' queue rules.
# (The read loop adds a line to every line it reads, so a procedure of several
# lines ends with an explicit return.)
proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
proc le16 {v} { list [expr {$v & 0xff}] [expr {($v >> 8) & 0xff}] }
proc le32 {v} { concat [le16 $v] [le16 [expr {$v >> 16}]] }
proc zeros {n} { lrepeat $n 0 }
# A block on the wire: its length, then its bytes.
proc block {bytes} { concat [le16 [llength $bytes]] $bytes }
proc text_bytes {text} { scan $text [string repeat %c [string length $text]] }
# DM_HCI_REMOTE_NAME_COMPLETE: 48 fixed bytes (the 8 name pointers at 16),
# then one block per name piece.
proc remote_name {pieces} {
    set wire [concat [le16 0x0429] [le16 1] 0 0 0 0 [le32 0xff0c67] 0x5b 0 [le16 2] [zeros 32]]
    foreach piece $pieces { set wire [concat $wire [block $piece]] }
    return $wire
}
PT_connect sim ptsp 115200; after 200

set forty [string repeat 0123456789 4]
PT_sim send 4 {*}[remote_name [list [text_bytes [string range $forty 0 31]] [concat [text_bytes [string range $forty 32 end]] 0] {} {} {} {} {} {}]]
show PT_wait {4 0x429}
puts "name_part [string length $name_part] $name_part"

# 248 characters: seven full pieces and 24 bytes without a terminating zero.
set long [string repeat abcdefgh 31]
set pieces {}
for {set i 0} {$i < 8} {incr i} { lappend pieces [text_bytes [string range $long [expr {32 * $i}] [expr {32 * $i + 31}]]] }
PT_sim send 4 {*}[remote_name $pieces]
DM_HCI_REMOTE_NAME_COMPLETE
puts "name_part [string length $name_part] [expr {$name_part eq $long}] arg6 [expr {$arg6 eq $long}]"
# Eight full pieces hold 256 characters: the name is cut at 248.
set pieces {}
for {set i 0} {$i < 8} {incr i} { lappend pieces [text_bytes [string repeat [format %c [expr {65 + $i}]] 32]] }
PT_sim send 4 {*}[remote_name $pieces]
DM_HCI_REMOTE_NAME_COMPLETE
puts "name_part [string length $name_part] [string range $name_part 220 end]"
# DM_HCI_READ_LOCAL_NAME_COMPLETE: its name is arg6 too, not arg3.
unset -nocomplain arg3
PT_sim send 4 {*}[concat [le16 0x0c4b] [le16 1] 0 0 0 0 [zeros 32] [block [concat [text_bytes Petrel] 0]] [zeros 14]]
show PT_wait {4}
puts "arg6 <$arg6> arg3 [info exists arg3]"

# DM_HCI_INQUIRY_RESULT with three responses: one console line, the first
# record only, num_responses as it came.
proc inquiry_record {lap clock} { concat [le32 $lap] 0x9a 0 [le16 0xbcde] 1 2 3 0 [le32 0x5a020c] [le16 $clock] 0 0 }
PT_sim send 4 {*}[concat [le16 0x0424] [le16 1] 3 0 0 0 [zeros 24] [block [inquiry_record 0x123456 0x7f01]] [block [inquiry_record 0x222222 0x7f02]] [block [inquiry_record 0x333333 0x7f03]] [zeros 6]]
show PT_wait {4 0x424}
puts "num_responses $num_responses result <$result>"

# DM_HCI_RETURN_LINK_KEYS with two keys: one element of two entries.
proc key_entry {lap first} {
    set key {}
    for {set i 0} {$i < 16} {incr i} { lappend key [expr {$first + $i}] }
    return [concat [le32 $lap] 0x5b 0 [le16 2] $key]
}
PT_sim send 4 {*}[concat [le16 0x0427] [le16 1] 2 0 0 0 [zeros 40] [block [key_entry 0xff0c67 0]] [block [key_entry 0x00a1b2 0xf0]] [zeros 16]]
show DM_HCI_RETURN_LINK_KEYS
# The entries stand one after the other with nothing between them.
puts "link_key_bd_addr <$link_key_bd_addr>"

# A block of length 0: an empty element and empty variables.
proc data_read {bytes} {
    return [concat [le16 0x000d] [le16 1] [le16 0x40] [le16 0] [le16 [llength $bytes]] 0 0 0 0 0 0 [le16 0] 0 0 [block $bytes]]
}
PT_sim send 5 {*}[data_read {}]
set r [PT_wait {5 0xd}]
puts "$r: [llength $r] elements, data <$data> length $length"

# The payload check of received data, with the payload mode on (seq8: every
# byte of payload k is k).
proc rfc_data {bytes} {
    return [concat [le16 0x0019] [le16 1] 1 2 [le16 0] [le16 [llength $bytes]] 0 0 [zeros 8] [block $bytes]]
}
show PT_option +agpmode seq8
PT_sim send 6 {*}[rfc_data {0 0 0 0}]
show RFC_DATA_IND
# Payload 1 with one bad byte (two bad bits) at offset 2: every variable is
# still set, and the report follows the list.
unset -nocomplain payload arg6
PT_sim send 6 {*}[rfc_data {1 1 7 1}]
show PT_wait {6 0x19}
puts "payload <$payload> arg6 <$arg6>"
PT_sim send 5 {*}[data_read {2 2 2 2 2}]
show L2CA_DATAREAD_IND
PT_sim send 5 {*}[data_read {2 3 3 3 3}]
show PT_wait {5}
show PT_option -agpmode
PT_sim send 5 {*}[data_read {9 9}]
show L2CA_DATAREAD_IND

# A receive command drops everything queued ahead of its primitive.
PT_sim send 4 {*}[concat [le16 0x0c41] [le16 1] 0 0]
PT_sim send 7 {*}[concat [le16 0x0009] [le16 2] [le16 0]]
PT_sim send 4 {*}[concat [le16 0x0c41] [le16 3] 0 0]
after 200
show SDC_OPEN_SEARCH_CFM
show DM_HCI_RESET_COMPLETE
# With the time-out on, a receive command on a silent chip answers empty.
show PT_option +timeout 1
show DM_HCI_RESET_COMPLETE
show PT_option -timeout
PT_disconnect
show DM_HCI_RESET_COMPLETE
