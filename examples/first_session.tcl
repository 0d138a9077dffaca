# A first session: the script library's help, the manual, and runtime options.
puts "Kestrel knows [llength [array names manual]] manual entries."
help PT_option
PT_option +agpmode seq16
puts "Payload mode: [PT_option agpmode]"
PT_option -show_stack_on_error
PT_option rfc_buffer_size
puts "Default device: $comport, protocol $protocol at $baud_rate baud"
quit
