// Receive benchmark: how many RFC_DATA_IND primitives (100-byte payloads)
// per second Kestrel receives from the embedded simulated chip, queues and
// decodes into Tcl variables with a script looping on PT_wait, next to the
// rate at which the same loop sets the same variables in plain Tcl inside
// the same interpreter. Over PTSP (its window of four unacknowledged
// messages paces the chip) and over H4 (no window). Prints; asserts nothing.
//
// usage: receive_bench [KESTREL [COUNT]]
//   KESTREL  default: kestrel in the build directory above this program
//   COUNT    primitives per run, a multiple of 100, default 20000
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

// The script kestrel runs: the chip sends COUNT copies in batches of 100 (the
// command that asks for a batch runs on the interpreter's thread, so a batch
// must fit the receive queue) and the script takes them one by one; then the
// plain loop.
std::string script(const std::string& protocol, int count) {
    return R"tcl(
proc le16 {v} { list [expr {$v & 0xff}] [expr {($v >> 8) & 0xff}] }
set payload {}
for {set i 0} {$i < 100} {incr i} { lappend payload [expr {$i & 0xff}] }
set wire [concat [le16 0x0019] [le16 1] 1 2 [le16 0] [le16 100] 0 0 [lrepeat 8 0] [le16 100] $payload]
set n )tcl" + std::to_string(count) + R"tcl(
PT_connect sim )tcl" + protocol + R"tcl( 921600
after 300
# An H4 chip learns the protocol from the host's first bytes.
PT_send $PTCMD_PRIM 10 $PTCMDPDU_GETREQ 9 1 $PTCMDVARID_CHIPVER 0 0 0 0 0
PT_wait {$PTCMD_PRIM}
# A lost primitive ends the run by the time-out instead of hanging it.
PT_option +timeout 5
# Batches of 100 fit the receive queue while the chip sends them all.
set start [clock microseconds]
for {set i 0} {$i < $n} {incr i 100} {
    PT_sim repeat 100 6 {*}$wire
    for {set j 0} {$j < 100} {incr j} { if {[PT_wait {6}] eq ""} { puts "Error, a primitive was lost"; break } }
}
set kestrel [expr {$n * 1e6 / ([clock microseconds] - $start)}]
set block [join [lmap b $payload {format 0x%02x $b}]]
set start [clock microseconds]
for {set i 0} {$i < $n} {incr i} {
    set r [list 0x6 0x19 0x1 0x1 0x2 0x0 0x64 $block]; set ::arg1 0x1; set ::phandle 0x1; set ::arg2 0x1; set ::mux_id 0x1; set ::arg3 0x2; set ::server_chan 0x2; set ::arg4 0x0; set ::credits 0x0; set ::arg5 0x64; set ::payload_length 0x64; set ::arg6 $block; set ::payload $block
}
set plain [expr {$n * 1e6 / ([clock microseconds] - $start)}]
puts [format "%-5s %d primitives: PT_wait decodes %8.0f per second; the plain Tcl loop sets the same variables %8.0f per second (ratio %.2f)" )tcl" +
           protocol + R"tcl( $n $kestrel $plain [expr {$kestrel / $plain}]]
PT_disconnect
)tcl";
}

}  // namespace

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    const fs::path self = fs::canonical("/proc/self/exe");
    const std::string kestrel = argc > 1 ? argv[1] : (self.parent_path().parent_path() / "kestrel").string();
    const int count = argc > 2 ? std::atoi(argv[2]) : 20000;
    std::printf("RFC_DATA_IND with 100-byte payloads from the simulated chip, %d per run\n", count);
    std::fflush(stdout);
    for (const char* protocol : {"ptsp", "h4"}) {
        // Only the script's own line is kept: the banner and prompts go.
        const std::string command = "'" + kestrel + "' 2>&1 | grep -oE '(ptsp|h4 ) .*|(Error|ERROR).*'";
        FILE* pipe = popen(command.c_str(), "w");
        if (!pipe) {
            std::perror("receive_bench: popen");
            return 1;
        }
        const std::string text = script(protocol, count);
        std::fwrite(text.data(), 1, text.size(), pipe);
        pclose(pipe);
    }
    return 0;
}
