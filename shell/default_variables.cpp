#include "shell/default_variables.h"

namespace kestrel {

const DefaultVariable kDefaultVariables[] = {
    {"comport", "com1"},
    {"protocol", "ptsp"},
    {"baud_rate", "115200"},
    {"connectionAttempts", "3"},
    {"phandle", "0x8000"},
    {"psm_local", "3"},
    {"use_flow_control", "TRUE"},
    {"fc_type", "1"},
    {"fc_threshold", "3"},
    {"fc_timer", "1"},
    {"rsvd_4", "0"},
    {"rsvd_5", "0"},
    {"bd_addr.lap", "0xff0c67"},
    {"bd_addr.uap", "0x5b"},
    {"bd_addr.nap", "0x0002"},
    {"psm_remote", "3"},
    {"sys_pars.port_speed", "0xff"},
    {"sys_pars.max_frame_size", "0x7f"},
    {"respond_phandle", "0x8000"},
    {"accept", "TRUE"},
    {"loc_server_chan", "1"},
    {"rem_server_chan", "1"},
    {"dlc_pars.max_frame_size", "0x7f"},
    {"dlc_pars.credit_flow_ctrl", "TRUE"},
    {"dlc_pars.initial_credits", "4"},
    {"server_chan", "1"},
    {"mux_id", "0"},
    {"credits", "1"},
    // payload and payload_length are independent defaults.
    {"payload_length", "5"},
    {"payload", "kestrel"},
    {"control_pars.modem_signal", "0"},
    {"control_pars.break_signal", "0"},
    {"port_pars.port_speed", "0xff"},
    {"port_pars.data_bits", "3"},
    {"port_pars.stop_bits", "1"},
    {"port_pars.parity", "2"},
    {"port_pars.parity_type", "3"},
    {"port_pars.flow_ctrl_mask", "3"},
    {"port_pars.xon", "0x11"},
    {"port_pars.xoff", "0x13"},
    {"port_pars.parameter_mask", "2"},
    {"psm", "3"},
    {"packet_type", "0"},
    {"cid", "0x41"},
    {"in_mtu", "0x200"},
    {"outflow.service_type", "0"},
    {"outflow.token_rate", "0"},
    {"outflow.token_bucket", "0"},
    {"outflow.peak_bw", "0"},
    {"outflow.latency", "0"},
    {"outflow.delay_var", "0"},
    {"outflush_to", "0"},
    {"more_flag", "0"},
    {"options", "1"},
    {"response", "0"},
    // Named results of an L2CAP connection, for response and comparisons.
    {"L2CA_CONNECTION_SUCCESSFUL", "0x0"},
    {"L2CA_CONNECTION_PENDING", "0x1"},
    {"L2CA_CONNECTION_REJ_PSM", "0x2"},
    {"L2CA_CONNECTION_REJ_SECURITY", "0x3"},
    {"L2CA_CONNECTION_REJ_RESOURCES", "0x4"},
    {"L2CA_CONNECTION_REJ_NOT_READY", "0xdddd"},
    {"L2CA_CONNECTION_FAILED", "0xddde"},
    {"L2CA_CONNECTION_TIMEOUT", "0xeeee"},
    {nullptr, nullptr},
};

static_assert(sizeof kDefaultVariables / sizeof kDefaultVariables[0] == 63 + 1, "63 defaults and the end row");
const int kDefaultVariableCount = static_cast<int>(sizeof kDefaultVariables / sizeof kDefaultVariables[0]) - 1;

void set_default_variables(Tcl_Interp* interp) {
    for (const DefaultVariable* v = kDefaultVariables; v->name; ++v) Tcl_SetVar(interp, v->name, v->value, TCL_GLOBAL_ONLY);
}

}  // namespace kestrel
