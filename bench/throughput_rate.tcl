# Validated goodput of the throughput tests (PT_btl2cap, PT_btrfcomm)
# against a simulated chip served by petrelsim, and the CPU time Kestrel and
# petrelsim each spend per megabyte moved. bench/throughput_bench.sh sources
# it with `bench_part` set to "air" or "line"; it prints figures and judges
# none.
#
# air:  the PTSP line is unlimited and the simulated air (723,200 bit/s,
#       then 2,178,000) is the bottleneck; goodput as a share of the air's
#       rate.
# line: the PTSP line runs at 921,600 baud and the air at 100 Mbit/s with
#       no latency, so the line is the bottleneck; goodput as a share of what
#       the PTSP framing lets through at that rate (see frame_bytes).
#
# Every test runs against the remote peer in three ways: it echoes
# Kestrel's payloads (Kestrel checks each echo), it sources payloads
# (Kestrel checks each) and it sinks Kestrel's payloads (the peer checks
# each). Only validated bytes count: Kestrel's received bytes, or the
# sinking peer's good payloads. Payloads are random, as a test engineer
# runs them by default (their escaping costs on the PTSP line).
#
# Settings, as a test engineer would choose them:
# - L2CAP: 672-byte payloads, the channel's MTU (the default).
# - RFCOMM: 330-byte payloads, what one DH5 baseband packet (339 bytes)
#   carries after the L2CAP (4) and RFCOMM (5, with the credit byte)
#   headers, negotiated as the frame size; two of them, 12 + 330 bytes each,
#   fit the chip's RFCOMM buffer (PT_option rfc_buffer_size, 768 bytes, left
#   at the chip's size). We grant the peer 32 credits and 16 more whenever
#   fewer than 16 remain; the peer grants 7 and one with each echo.
source tests/script/data/throughput.tcl

set l2cap_length 672
set rfcomm_length 330
set rfcomm_frame 330
set ticks [expr {[info exists env(KESTREL_CLOCK_TICKS)] ? $env(KESTREL_CLOCK_TICKS) : 100}]

# The chip is served by a petrelsim process of its own, so that the CPU
# time of Kestrel and of the simulation are told apart: its control
# commands go to its standard input and its answers come from its standard
# output, two pipes that bench/throughput_bench.sh made.
set sim_in [open $env(KESTREL_BENCH_DIR)/in w]
set sim_out [open $env(KESTREL_BENCH_DIR)/out r]
set sim_device [lindex [gets $sim_out] 2]
set sim_pid $env(KESTREL_BENCH_SIM_PID)

# A control command of the chip's; its answer (peer answers two lines, the
# others one).
proc sim {args} {
    puts $::sim_in [join $args]
    flush $::sim_in
    set answer [gets $::sim_out]
    if {[lindex $args 0] eq "peer"} { append answer \n [gets $::sim_out] }
    return $answer
}

# User plus system time of a process so far, in seconds.
proc cpu_seconds {{process ""}} {
    if {$process eq ""} { set process [pid] }
    set f [open /proc/$process/stat]
    set stat [read $f]
    close $f
    set fields [string range $stat [expr {[string last ")" $stat] + 2}] end]
    return [expr {([lindex $fields 11] + [lindex $fields 12]) / double($::ticks)}]
}

# CPU time of Kestrel and of petrelsim so far.
proc cpu {} { return [list [cpu_seconds] [cpu_seconds $::sim_pid]] }
proc cpu_since {before} {
    lassign $before kestrel sim
    lassign [cpu] kestrel_now sim_now
    return [list [expr {$kestrel_now - $kestrel}] [expr {$sim_now - $sim}]]
}

# A fresh chip (petrelsim starts one for each session) with the session's
# options set and the line paced at `baud` (0: unlimited).
proc connect {baud} {
    PT_connect $::sim_device ptsp 921600
    sim rate $baud
    PT_option +timeout 30
    PT_option +agpmode random
}

# Waits for an async transfer to finish; its result. Until its first
# primitive arrives a transfer's mode is not known, and a poll fails.
proc await {args} {
    while {1} {
        if {![catch {{*}$args} result] && [lindex $result 0] == 0} { return $result }
        after 20
    }
}

# A sink run's figures once the last payloads have reached the peer: the
# bytes the peer validated, the bytes sent, the time and the CPU time. The
# peer goes back to echoing.
proc sink_result {length txb time cpu} {
    after 100
    set line [lindex [split [sim peer] \n] 1]
    set good [lindex $line 3]; set bad [lindex $line 5]
    sim peer echo
    if {$bad != 0} { puts "BENCH the sinking peer found $bad bad payloads" }
    return [list [expr {$good * $length}] $txb $time $cpu]
}

# Prints one measurement: `validated` payload bytes in `seconds`, against
# `ceiling` bytes/s, and `cpu` seconds for `moved` payload bytes.
proc report {label ceiling ceiling_name validated moved seconds cpu} {
    if {$validated eq ""} { puts "BENCH $label: no figure"; return }
    set goodput [expr {$validated / $seconds}]
    lassign $cpu kestrel sim
    set mb [expr {$moved / 1e6}]
    puts [format "BENCH %-26s %6.1f kB/s validated, %5.1f%% of %s; CPU per MB moved: Kestrel %5.3f s, petrelsim %5.3f s (%.2f MB)" \
              $label [expr {$goodput / 1000}] [expr {100.0 * $goodput / $ceiling}] $ceiling_name \
              [expr {$kestrel / $mb}] [expr {$sim / $mb}] $mb]
}

# --- L2CAP -------------------------------------------------------------

# Echo: Kestrel sends `count` payloads and checks each echo.
proc l2cap_echo {count} {
    global channel l2cap_length
    sim peer reset echo
    set cpu [cpu]
    lassign [PT_btl2cap $channel $l2cap_length $count $count] status time tx rx txb rxb
    return [list $rxb [expr {$txb + $rxb}] $time [cpu_since $cpu]]
}

# Source: the peer sends `count` payloads, Kestrel checks each.
proc l2cap_source {count} {
    global channel l2cap_length
    sim peer reset echo
    set cpu [cpu]
    PT_btl2cap $channel $l2cap_length 0 $count async
    sim peer reset payload random source $l2cap_length $count
    lassign [await PT_btl2cap $channel] status time tx rx txb rxb
    set cpu [cpu_since $cpu]
    sim peer echo
    return [list $rxb $rxb $time $cpu]
}

# Sink: Kestrel sends `count` payloads, the peer checks each.
proc l2cap_sink {count} {
    global channel l2cap_length
    sim peer reset payload random sink
    set cpu [cpu]
    lassign [PT_btl2cap $channel $l2cap_length $count 0] status time tx rx txb rxb
    return [sink_result $l2cap_length $txb $time [cpu_since $cpu]]
}

# The peer keeps a channel whose chip has gone and would source on it too,
# sharing the air with the next session's RFCOMM link: close it first.
proc close_l2cap {} {
    global channel L2CAP_PRIM L2CA_DISCONNECT_CFM
    L2CA_DISCONNECT_REQ $channel
    expect $L2CAP_PRIM $L2CA_DISCONNECT_CFM
}

# --- RFCOMM ------------------------------------------------------------

# The credits each side holds, carried from one test to the next: what the
# peer has granted us (tx) and what we have granted the peer (rx).
# A transfer that sends nothing for 3 s has stalled: it is cancelled and
# reported, and the measurement answers nothing.
proc rfcomm_run {} {
    global mux tx_credits rx_credits gTXcount gRXcount
    set key [format 0x%x,0x1 $mux]
    set last -1
    set still 0
    while {1} {
        if {![catch {PT_btrfcomm $mux 1} result] && [lindex $result 0] == 0} break
        set now [expr {$gTXcount($key) + $gRXcount($key)}]
        if {$now != $last} { set last $now; set still 0 } elseif {[incr still] == 150} {
            PT_cancel $mux 1
            puts "BENCH stalled: sent $gTXcount($key), received $gRXcount($key), no progress for 3 s"
            return {}
        }
        after 20
    }
    lassign [lrange $result 8 9] tx_credits rx_credits
    collect_late_credits
    return $result
}

# Credits the peer grants after a test has ended (for the frames still on
# their way) reach the receive queue, not the test: the next test starts
# with them.
proc collect_late_credits {} {
    global mux tx_credits RFCOMM_PRIM RFC_DATA_IND mux_id server_chan credits
    PT_option timeout 1
    while {[PT_wait_until [list $RFCOMM_PRIM $RFC_DATA_IND]] ne ""} {
        if {$mux_id == $mux && $server_chan == 1} { incr tx_credits $credits }
    }
    PT_option timeout 30
}

proc rfcomm_echo {count} {
    global mux rfcomm_length tx_credits rx_credits
    sim peer reset echo
    set cpu [cpu]
    PT_btrfcomm $mux 1 $rfcomm_length $tx_credits $rx_credits 16 16 $count $count async
    lassign [rfcomm_run] status time tx rx txb rxb
    return [list $rxb [expr {$txb + $rxb}] $time [cpu_since $cpu]]
}

proc rfcomm_source {count} {
    global mux rfcomm_length tx_credits rx_credits
    sim peer reset echo
    set cpu [cpu]
    PT_btrfcomm $mux 1 $rfcomm_length $tx_credits $rx_credits 16 16 0 $count async
    sim peer reset payload random source $rfcomm_length $count
    lassign [rfcomm_run] status time tx rx txb rxb
    set cpu [cpu_since $cpu]
    sim peer echo
    return [list $rxb $rxb $time $cpu]
}

proc rfcomm_sink {count} {
    global mux rfcomm_length tx_credits rx_credits
    sim peer reset payload random sink
    set cpu [cpu]
    PT_btrfcomm $mux 1 $rfcomm_length $tx_credits $rx_credits 16 16 $count 0 async
    set result [rfcomm_run]
    if {$result eq ""} { sim peer echo; return {} }
    lassign $result status time tx rx txb rxb
    return [sink_result $rfcomm_length $txb $time [cpu_since $cpu]]
}

# --- the PTSP line's ceiling -------------------------------------------

# Bytes on the line for one PTSP frame carrying a message of `fixed` bytes
# of primitive, a 2-byte block length and `payload` random bytes: two 0xC0
# delimiters, the 4-byte header, the message, the 2-byte CRC; SLIP doubles
# each 0xC0 and 0xDB, 2 of every 256 random bytes (header and CRC counted
# as random too). A message without a block has no block length.
proc frame_bytes {fixed payload} {
    set block [expr {$payload > 0 ? 2 : 0}]
    return [expr {2 + $fixed + $block + (4 + 2 + $payload) * (1 + 2.0 / 256)}]
}

# Validated payload bytes per second the framing allows on the busier
# direction at `baud`, characters of `bits` bits; `per_payload` is that
# direction's line bytes per payload.
proc ceiling {baud bits length per_payload} {
    return [expr {$baud / double($bits) * $length / $per_payload}]
}

# --- the runs ----------------------------------------------------------

# Each test at both air rates, moving as much more at the faster rate as
# the rate is faster.
proc air_runs {tests} {
    foreach rate {723200 2178000} {
        set configured [lindex [sim air $rate] 1]
        set air [expr {$configured / 8.0}]
        set scale [expr {$configured / 723200.0}]
        foreach {test count} $tests {
            lassign [$test [expr {int($count * $scale)}]] validated moved seconds cpu
            report "air [format %7.0f $configured] [string map {_ " "} $test]" $air "the air" $validated $moved $seconds $cpu
        }
    }
}

if {$bench_part eq "air"} {
    connect 0
    open_l2cap
    air_runs {l2cap_echo 600 l2cap_source 600 l2cap_sink 600}
    close_l2cap
    PT_disconnect
    connect 0
    open_rfcomm 32 $rfcomm_frame
    set tx_credits $granted
    set rx_credits 32
    air_runs {rfcomm_echo 1200 rfcomm_source 1200 rfcomm_sink 1200}
    PT_disconnect
} elseif {$bench_part eq "line"} {
    set baud 921600
    set bits 10
    # Line bytes per payload on the busier direction: chip to host for the
    # echo (L2CA_DATAREAD_IND, 20 bytes, and L2CA_DATAWRITE_CFM, 10) and the
    # source; host to chip for the sink (L2CA_DATAWRITE_REQ, 12). RFCOMM:
    # RFC_DATA_IND (20) carries data, and the chip's credit for each
    # RFC_DATA_REQ (12) comes as an RFC_DATA_IND with an empty block: one
    # per payload sent, and one per grant of ours (every 16 payloads
    # received). The simulated line paces 10 bits a character; a real PTSP
    # line is 8E1, 11 bits.
    set l [expr {$l2cap_length}]
    set r [expr {$rfcomm_length}]
    set grant_down [expr {[frame_bytes 20 0] + 2}]
    set per [dict create \
        l2cap_echo [expr {[frame_bytes 20 $l] + [frame_bytes 10 0]}] \
        l2cap_source [frame_bytes 20 $l] \
        l2cap_sink [frame_bytes 12 $l] \
        rfcomm_echo [expr {[frame_bytes 20 $r] + [frame_bytes 20 0] + 2 + $grant_down / 16.0}] \
        rfcomm_source [expr {[frame_bytes 20 $r] + $grant_down / 16.0}] \
        rfcomm_sink [frame_bytes 12 $r]]
    set ceilings [dict create]
    dict for {test bytes} $per {
        set length [expr {[string match l2cap* $test] ? $l : $r}]
        dict set ceilings $test [ceiling $baud $bits $length $bytes]
        puts [format "BENCH line formula %-14s %7.2f line bytes per %d-byte payload: ceiling %6.2f kB/s at %d bits a character, %6.2f kB/s at 11 (8E1)" \
                  $test $bytes $length [expr {[ceiling $baud $bits $length $bytes] / 1000}] $bits \
                  [expr {[ceiling $baud 11 $length $bytes] / 1000}]]
    }
    connect $baud
    sim air 100000000 0
    open_l2cap
    foreach {test count} [list l2cap_echo 600 l2cap_source 600 l2cap_sink 600] {
        lassign [$test $count] validated moved seconds cpu
        report "line 921600 [string map {_ " "} $test]" [dict get $ceilings $test] "the framing's ceiling" $validated $moved $seconds $cpu
    }
    close_l2cap
    PT_disconnect
    connect $baud
    sim air 100000000 0
    open_rfcomm 32 $rfcomm_frame
    set tx_credits $granted
    set rx_credits 32
    foreach {test count} [list rfcomm_echo 1200 rfcomm_source 1200 rfcomm_sink 1200] {
        lassign [$test $count] validated moved seconds cpu
        report "line 921600 [string map {_ " "} $test]" [dict get $ceilings $test] "the framing's ceiling" $validated $moved $seconds $cpu
    }
    PT_disconnect
}
