PT_connect sim ptsp 115200; after 300
source throughput.tcl
open_rfcomm 5
set result [PT_btrfcomm $mux 1 100 $granted 5 2 3 1000 1000]; show $result 0.5 10
lassign [lrange $result 8 9] txc rxc; PT_option rfc_buffer_size 250; puts "chip buffer [PT_option rfc_buffer_size]"
set result [PT_btrfcomm $mux 1 100 $txc $rxc 2 3 200 200]; show $result 0.1 10
lassign [lrange $result 8 9] txc rxc; PT_option rfc_buffer_size 768
puts "counters [set gTXcount([format 0x%x $mux],0x1)] [set gRXcount([format 0x%x $mux],0x1)]"
show_timed [PT_ttrfcomm $mux 1 100 $txc $rxc 2 3 1 1 2] 100 2
puts "timed counters: [info exists gTXcount([expr $mux],1)] [expr {$gTXcount([expr $mux],1) >= $gRXcount([expr $mux],1)}]"
after 300; PT_flush
PT_btrfcomm $mux 1 100 0 20 10 10 0 50 async
puts "nothing sent without credits: $gTXcount([format 0x%x $mux],0x1)"
after 300
lassign [PT_btrfcomm $mux 1] status time tx rx txb rxb txr rxr txc rxc; puts "status $status tx $tx rx $rx credits $txc $rxc"
PT_cancel $mux 1
puts [llength [PT_btrfcomm]]
PT_btrfcomm $mux 1 100 1 1 1 1 1 1 1 1
PT_ttrfcomm $mux 1 100 1 1 1 1 1 1
PT_btrfcomm $mux
reopen_rfcomm 5
PT_sim peer corrupt
PT_btrfcomm $mux 1 100 $granted 5 2 3 10 10
reopen_rfcomm 5
PT_btrfcomm $mux 1 100 0 5 2 3 0 40 async; PT_sim peer source 100 40
after 1500
show [PT_btrfcomm $mux 1] 0 10
after 100; puts [lindex [split [PT_sim peer echo] \n] 0]
PT_disconnect
