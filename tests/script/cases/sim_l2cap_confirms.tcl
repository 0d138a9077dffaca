PT_connect sim ptsp 115200; after 300
source throughput.tcl
PT_option +timeout 5
open_l2cap
puts [lindex [split [PT_sim peer sink] \n] 0]
puts [PT_sim air 800]
proc confirms {} { global L2CAP_PRIM L2CA_DATAWRITE_CFM; PT_option timeout 0; set n 0; while {[PT_wait_until [list $L2CAP_PRIM $L2CA_DATAWRITE_CFM]] ne ""} { incr n }; PT_option timeout 5; return $n }
L2CA_DATAWRITE_REQ $channel 94 [lrepeat 94 1]; L2CA_DATAWRITE_REQ $channel 94 [lrepeat 94 2]; L2CA_DATAWRITE_REQ $channel 94 [lrepeat 94 3]
after 300; puts "a second a frame: confirmed at once [confirms], the first frame still on the air"
after 1000; puts "when the first frame has left: [confirms] more"
after 1000; puts "when the second has left: [confirms] more"
after 1000; puts "when the third has left: [confirms] more"
puts [PT_sim air 723200]
PT_disconnect
