# BNEP and TCP on the simulated chip: a PAN connection to the remote peer,
# data echoed, looped back and multicast, debug words answered, the
# disconnection; TCP to the peer's echo port, a refused port, an abort.
PT_connect sim ptsp 115200
PT_option +timeout 5
set peer_ether {0x0002 0x5bff 0x0c67}
set own_ether {0x0002 0x5b10 0x0001}
BNEP_REGISTER_REQ 1 3; puts [PT_wait {$L2CAP_PRIM}]
puts [PT_wait_until {$L2CAP_PRIM $BNEP_CONNECT_CFM}]; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
BNEP_DATA_REQ 0x800 $peer_ether {0x11 0x22} 2; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
BNEP_DATA_REQ 0x800 $own_ether {0x33} 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
BNEP_EXTENDED_DATA_REQ 5 0x86dd $peer_ether $own_ether {0x44 0x55} 2; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
BNEP_EXTENDED_MULTICAST_DATA_REQ 0 0x800 {0x0100 0x5e00 0x0001} $own_ether {0x66} 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
BNEP_DEBUG_REQ 1 2 {1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18}; puts [PT_wait {$L2CAP_PRIM}]
BNEP_DISCONNECT_REQ 0 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
TCP_OPEN_REQ 1 0 {0x2001 0xdb8 0 0 0 0 0 1} 7 512 1024 512
TCP_DATA_REQ 1 3 {0x61 0x62 0x63}; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
TCP_DATA_RSP 1 3
TCP_CLOSE_REQ 1; puts [PT_wait {$L2CAP_PRIM}]; puts [PT_wait {$L2CAP_PRIM}]
TCP_CLOSED_RSP 1
TCP_OPEN_REQ 1 0 {0x2001 0xdb8 0 0 0 0 0 1} 80 512 1024 512; puts [PT_wait {$L2CAP_PRIM}]
TCP_OPEN_REQ 1 0 {0x2001 0xdb8 0 0 0 0 0 1} 7 512 1024 512
TCP_ABORT_REQ 3; puts [PT_wait {$L2CAP_PRIM}]
PT_disconnect
