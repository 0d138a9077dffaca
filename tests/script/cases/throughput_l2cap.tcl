PT_btl2cap 0x40 100 10 10
PT_connect sim ptsp 115200; after 300
source throughput.tcl
open_l2cap
show [PT_btl2cap $channel 100 1000 1000] 0.5 10
puts "counters $gTXcount(0x40) $gRXcount(0x40)"
set gTXcount(0x40) 5
show_timed [PT_ttl2cap $channel 100 1 1 3] 100 3
puts "counters after the timed test: [expr {$gTXcount(0x40) > 1000}] [expr {$gTXcount(0x40) - $gRXcount(0x40) < 10}]"
after 300; PT_flush
set tx_payload_length 50; set rx_primitive_count 20; set count 20
show [PT_btl2cap $channel - $count -] 0 10
show [PT_btl2cap $channel {} ? 0] 0 1
PT_sim latency 500
set start [clock milliseconds]; PT_btl2cap $channel 100 1000000 1000000 async; PT_btl2cap $channel
PT_sim latency 0
after 1500
# A poll's time is the time since the start or the last poll, as a clock
# read beside it sees it.
proc elapsed {time since} { expr {abs($time * 1000 - ([clock milliseconds] - $since)) < 100} }
set polled [clock milliseconds]; lassign [PT_btl2cap $channel] status time tx rx; puts "polled: status $status, time [elapsed $time $start], moving [expr {$tx > 100 && $tx - $rx < 10}]"
after 300
set before $tx; lassign [PT_btl2cap $channel] status time tx rx; puts "polled again: status $status, time [elapsed $time $polled], more [expr {$tx > $before}], totals [expr {[lindex [PT_btl2cap $channel] 4] >= $tx * 100}]"
PT_cancel $channel
after 100
set stopped $gTXcount(0x40); after 200; puts "stopped: [expr {$gTXcount(0x40) == $stopped}]"
puts "[llength [PT_btl2cap]] transfer, status [lindex [PT_btl2cap] 0 0], [llength [lindex [PT_btl2cap] 0]] texts"
PT_btl2cap 0x41
PT_btl2cap $channel 100 1 1 1 1
PT_btl2cap $channel 100 {$nothing_here} 1
PT_ttl2cap $channel 100 1 1
PT_cancel 1 2 3
PT_cancel
after 300; PT_flush
PT_sim peer corrupt
PT_btl2cap $channel 100 10 10
after 300; PT_flush
puts [PT_sim peer sink reset]
show [PT_btl2cap $channel 100 50 0] 0 10
after 100; puts [PT_sim peer]
PT_btl2cap $channel 100 0 30 async; PT_sim peer source 100 30
after 1000
show [PT_btl2cap $channel] 0 10
puts [PT_sim peer echo]
PT_disconnect
PT_connect sim ptsp 115200; after 300
puts <[PT_btl2cap]>
PT_disconnect
