# The TCI commands' messages: arguments, connection checks, counts and
# missing variables.
catch {TCI_connect a} r; puts <$r>
catch {TCI_disconnect} r; puts <$r>
catch {TCI_HCI_RESET_REQ} r; puts <$r>
catch {TCI_L2CA_TIMEOUT_IND 5 0x40 1000} r; puts <$r>
catch {PT_wait {$TCI_PRIM}} r; puts <$r>
# TCI_sendacl has no connection check of its own; with no device there is
# nowhere to send.
catch {TCI_sendacl 1 1 {1}} r; puts <$r>
catch {TCI_sendacl 1 1} r; puts <$r>
# No device answers within ten seconds: TCI_connect succeeds all the same,
# and the link does not count as connected.
set started [clock seconds]
puts "[catch {TCI_connect [pwd]/nothing 115200} r] <$r> [expr {[clock seconds] - $started >= 9}]"
catch {TCI_disconnect} r; puts <$r>
catch {TCI_HCI_RESET_REQ} r; puts <$r>
