puts [file exists kestrellibs/tclIndex]
extra_proc
help nothing
