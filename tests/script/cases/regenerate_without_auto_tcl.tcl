puts [file exists kestrellibs/tclIndex]
