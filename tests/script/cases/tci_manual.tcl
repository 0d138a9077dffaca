# The TCI rows of the manual: 22 issuing rows (the commands) and 25
# receivable rows (the events), and the three built-in TCI commands.
set issuing {}; set receivable {}
foreach name [lsort [array names manual TCI_*]] { switch [lindex $manual($name) 1] { 0x48000003 {lappend issuing $name} 0x50000003 {lappend receivable $name} } }
puts "[llength $issuing] issuing, [llength $receivable] receivable"
foreach name {TCI_connect TCI_disconnect TCI_sendacl TCI_HCI_RESET_REQ TCI_L2CA_PING_REQ TCI_L2CA_ENABLECLT_REQ TCI_L2CA_TIMEOUT_IND TCI_L2CA_PING_REQ_COMPLETE TCI_HCI_RESET_COMPLETE} { puts [list $manual($name)] }
puts [llength [info commands TCI_*]]
