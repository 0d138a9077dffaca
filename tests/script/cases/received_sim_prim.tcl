# The simulated chip builds what it sends from the received table:
# PT_sim prim NAME FIELD=VALUE... and the host decodes it with the same rows.
proc show {args} {
    set code [catch {uplevel 1 $args} result]
    puts "$args -> $code <[string map {\n |} $result]>"
}
PT_connect sim ptsp 115200; after 200
PT_sim prim DM_HCI_READ_BD_ADDR_COMPLETE phandle=7 bd_addr.lap=0xff0c67 bd_addr.uap=0x5b bd_addr.nap=2
show PT_wait {$DM_PRIM}
PT_sim prim DM_HCI_READ_LOCAL_NAME_COMPLETE phandle=1 name_part=[string repeat x 40]
show DM_HCI_READ_LOCAL_NAME_COMPLETE
PT_sim prim DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE phandle=2 iac_lap=0x33,0x8b,0x9e/0x00,0x8b,0x9e
show DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE
PT_sim prim DM_HCI_READ_REMOTE_FEATURES_COMPLETE features=0xffff,0x1,0x2,0x8000
show PT_wait {4}
PT_sim prim SDC_SERVICE_SEARCH_CFM phandle=3 num_recs_ret=1 rec_list=0,1,0,2 err_info=
show SDC_SERVICE_SEARCH_CFM
PT_sim prim BNEP_CONNECT_IND rem_addr=0x1234,0x5678,0x9abc
show PT_wait {5}
show PT_sim prim NO_SUCH_PRIMITIVE
show PT_sim prim RFC_DATA_IND nothing=1
show PT_sim prim RFC_DATA_IND mux_id=0x100
PT_disconnect
