# A credit primitive from the chip for data it was never sent: each surplus
# credit is warned about, and the batch session ends after the command
# during which the credits came.
PT_connect sim ptsp 115200
PT_option rfc_buffer_size 300
RFC_DATA_REQ 9 1 0 3 {1 2 3}; after 300
puts "One data primitive sent and credited"
PT_sim prim RFC_DATA_IND mux_id=0xff server_chan=0xff credits=4; after 300
puts "Not reached: the session has ended"
