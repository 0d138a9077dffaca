# The manual rows of the receivable primitives: one per primitive, by family
# (flags 0x10000000 with the channel in the low byte), the field list in both
# the fifth and the sixth element; and a receive command for each.
set counts [dict create]
foreach name [array names manual] {
    set flags [lindex $manual($name) 1]
    if {$flags & 0x10000000} { dict incr counts $flags }
}
foreach flags [lsort [dict keys $counts]] { puts "$flags [dict get $counts $flags]" }
foreach name {DM_HCI_READ_AUTO_FLUSH_TIMEOUT_COMPLETE L2CA_DATAREAD_IND BNEP_EXTENDED_DATA_IND SDS_REGISTER_CFM RFC_DATA_IND} {
    puts [list $manual($name)]
}
set missing 0
foreach name [array names manual] {
    if {([lindex $manual($name) 1] & 0x10000000) && [info commands $name] eq ""} { incr missing }
}
puts "receivable rows without a command: $missing"
puts [catch {DM_HCI_RESET_COMPLETE extra words} result]<$result>
