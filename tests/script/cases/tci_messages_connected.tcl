# Messages of the TCI builders on a connected link: counts, missing
# variables, '$' names.
TCI_connect [pwd]/host.pty 115200
catch {TCI_HCI_RESET_COMPLETE 1 0x0C03} r; puts <$r>
catch {TCI_sendacl 1 2} r; puts <$r>
catch {TCI_L2CA_DISCONNECT_REQ_COMPLETE} r; puts <$r>
set cid 0x40
catch {TCI_L2CA_TIMEOUT_IND 5 - {$nothing}} r; puts <$r>
catch {TCI_HCI_RESET_REQ 1} r; puts <$r>
catch {TCI_connect [pwd]/host.pty 115200 1} r; puts <$r>
TCI_disconnect
exec kill [string trim [read [set f [open socat.pid]]]]
close $f
