proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
show PT_option
show PT_option bogus
show PT_option show_stack_on_error
show PT_option agpmode
show PT_option +agpmode seq8
show PT_option agpmode
show PT_option AGPMODE SEQ16
show PT_option agpmode
show PT_option agpmode block
show PT_option agpmode
show PT_option agpmode nonsense
show PT_option +agpmode nonsense
show PT_option -agpmode random
show PT_option agpmode
show PT_option agpmode tcl
show PT_option agpmode
show PT_option agpmode tcl make_payload
show PT_option agpmode
show PT_option +primdebug
show PT_option -primdebug
show PT_option +primdebug sideways
show PT_option +primdebug IN rfc
show PT_option -primdebug out
show PT_option -primdebug all nosuchcategory
show PT_option rfc_buffer_size
show PT_option rfc_buffer_size 10
show PT_option rfc_maxprimcount 4
show PT_option +rfc_flow_control
show PT_option -rfc_flow_control
show PT_option +timeout 2
show PT_option -timeout
show PT_option timeout
