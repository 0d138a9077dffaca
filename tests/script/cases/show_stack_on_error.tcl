proc p {} {error boom}
p
PT_option -show_stack_on_error
p
PT_option +SHOW_STACK_ON_ERROR
p
