# auto.tcl - sourced by "kestrel -a" just before it rebuilds the index of the
# script library (kestrellibs/tclIndex) from every kestrellibs/*.tcl file.
# Says which files will be indexed, so that a missing one is noticed.
set kestrel_index_files [lsort [glob -nocomplain -tails -directory kestrellibs *.tcl]]
puts "Indexing [llength $kestrel_index_files] script file(s) in kestrellibs: [join $kestrel_index_files {, }]"
unset kestrel_index_files
