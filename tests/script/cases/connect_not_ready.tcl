# A device that never appears: the link gives up after ten seconds.
set started [clock milliseconds]
catch {PT_connect /tmp/kestrel-no-such-device ptsp 115200} result
puts [string trim $result]
puts [expr {[clock milliseconds] - $started >= 9900}]
