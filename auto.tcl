# auto.tcl - sourced by "kestrel -a" just before it rebuilds the index of the
# script library (kestrellibs/tclIndex) from every kestrellibs/*.tcl file.

# Say which files will be indexed, so that a missing one is noticed.
set kestrel_index_files [lsort [glob -nocomplain -tails -directory kestrellibs *.tcl]]
puts "Indexing [llength $kestrel_index_files] script file(s) in kestrellibs: [join $kestrel_index_files {, }]"
unset kestrel_index_files

# Tcl reads the indexes once and keeps them. Once the new index is written,
# have the next unknown command read them again, so that procedures added to
# the library are found in this session already, not only after a restart.
auto_load auto_mkindex
trace add execution auto_mkindex leave [list apply {args {unset -nocomplain ::tcl::auto_oldpath}}]
