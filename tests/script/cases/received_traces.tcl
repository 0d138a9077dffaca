# What the internal debugger (-d) prints of a received stack primitive, and
# the paragraphs of PT_option +primdebug, with the data primitives shown only
# while the incoming data switch is on. Each send and its wait stand on one
# line, so that what the reader prints comes before the next prompt.
proc le16 {v} { list [expr {$v & 0xff}] [expr {($v >> 8) & 0xff}] }
proc le32 {v} { concat [le16 $v] [le16 [expr {$v >> 16}]] }
set bd_addr_complete [concat [le16 0x100e] [le16 7] 0 0 0 0 [le32 0xff0c67] 0x5b 0 [le16 2]]
# L2CA_DATAREAD_IND with three bytes, and L2CA_CONNECT_IND.
set data_read [concat [le16 0x000d] [le16 1] [le16 0x40] [le16 3] [le16 3] 0 0 0 0 0 0 [le16 0] 0 0 [le16 3] 0xaa 0xbb 0xcc]
set connect_ind [concat [le16 0x0005] [le16 1] 9 0 0 0 [le32 0xff0c67] 0x5b 0 [le16 2] [le16 0x41] [le16 3]]
PT_connect sim ptsp 115200; after 200
PT_sim send 4 {*}$bd_addr_complete; puts [PT_wait {$DM_PRIM}]
PT_option +primdebug in dm
PT_sim send 4 {*}$bd_addr_complete; puts [PT_wait {$DM_PRIM}]
PT_option -primdebug in dm
PT_option +primdebug in l2cap
PT_option -primdebug in data
PT_sim send 5 {*}$data_read; puts [PT_wait {$L2CAP_PRIM}]
PT_sim send 5 {*}$connect_ind; puts [PT_wait {$L2CAP_PRIM}]
PT_option +primdebug in data
PT_sim send 5 {*}$data_read; puts [PT_wait {$L2CAP_PRIM}]
PT_disconnect
