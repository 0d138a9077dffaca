# Every default, in the order the session sets them. One list per line: a
# braced list over several lines would carry the loop's "flush stdout" lines.
set names {comport protocol baud_rate connectionAttempts phandle psm_local use_flow_control fc_type fc_threshold}
lappend names fc_timer rsvd_4 rsvd_5 bd_addr.lap bd_addr.uap bd_addr.nap psm_remote sys_pars.port_speed
lappend names sys_pars.max_frame_size respond_phandle accept loc_server_chan rem_server_chan dlc_pars.max_frame_size
lappend names dlc_pars.credit_flow_ctrl dlc_pars.initial_credits server_chan mux_id credits payload_length payload
lappend names control_pars.modem_signal control_pars.break_signal port_pars.port_speed port_pars.data_bits
lappend names port_pars.stop_bits port_pars.parity port_pars.parity_type port_pars.flow_ctrl_mask port_pars.xon
lappend names port_pars.xoff port_pars.parameter_mask psm packet_type cid in_mtu outflow.service_type
lappend names outflow.token_rate outflow.token_bucket outflow.peak_bw outflow.latency outflow.delay_var outflush_to
lappend names more_flag options response L2CA_CONNECTION_SUCCESSFUL L2CA_CONNECTION_PENDING L2CA_CONNECTION_REJ_PSM
lappend names L2CA_CONNECTION_REJ_SECURITY L2CA_CONNECTION_REJ_RESOURCES L2CA_CONNECTION_REJ_NOT_READY
lappend names L2CA_CONNECTION_FAILED L2CA_CONNECTION_TIMEOUT
puts [llength $names]
foreach name $names { puts "$name=[set ::$name]" }
