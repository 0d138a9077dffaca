#include "encode/vocabulary.h"

#include <cstdio>
#include <string>

#include "decode/received_primitives.h"
#include "encode/sent_primitives.h"

namespace kestrel {
namespace {

constexpr VocabularyRow kRows[] = {
    // PTCMD PDU types.
    {"PTCMDPDU_GETREQ", 0x0},
    {"PTCMDPDU_GETRESP", 0x1},
    {"PTCMDPDU_SETREQ", 0x2},
    // PTCMD variable identifiers. Two names share 0x681E.
    {"PTCMDVARID_NO_VARIABLE", 0x6000},
    {"PTCMDVARID_COLD_RESET", 0x4001},
    {"PTCMDVARID_WARM_RESET", 0x4002},
    {"PTCMDVARID_COLD_HALT", 0x4003},
    {"PTCMDVARID_WARM_HALT", 0x4004},
    {"PTCMDVARID_INIT_BT_STACK", 0x4005},
    {"PTCMDVARID_ACTIVATE_BT_STACK", 0x4006},
    {"PTCMDVARID_ENABLE_TX", 0x4007},
    {"PTCMDVARID_DISABLE_TX", 0x4008},
    {"PTCMDVARID_RECAL", 0x4009},
    {"PTCMDVARID_PSCLRALL", 0x000B},
    {"PTCMDVARID_PS_FACTORY_SET", 0x000C},
    {"PTCMDVARID_PS_FACTORY_RESTORE", 0x400D},
    {"PTCMDVARID_PS_FACTORY_RESTORE_ALL", 0x400E},
    {"PTCMDVARID_DEFRAG_RESET", 0x400F},
    {"PTCMDVARID_KILL_VM_APPLICATION", 0x4010},
    {"PTCMDVARID_HOPPING_ON", 0x4011},
    {"PTCMDVARID_PT01_STATUS", 0x2801},
    {"PTCMDVARID_CONFIG_UART", 0x6802},
    {"PTCMDVARID_TESTA_AMUX", 0x6803},
    {"PTCMDVARID_TESTB_AMUX", 0x6804},
    {"PTCMDVARID_PANIC_ARG", 0x6805},
    {"PTCMDVARID_FAULT_ARG", 0x6806},
    {"PTCMDVARID_PRESERVE_VALID", 0x2807},
    {"PTCMDVARID_PSCLR", 0x4818},
    {"PTCMDVARID_BUILDID", 0x2819},
    {"PTCMDVARID_CHIPVER", 0x281A},
    {"PTCMDVARID_CHIPREV", 0x281B},
    {"PTCMDVARID_MAP_SCO_PCM", 0x481C},
    {"PTCMDVARID_SPI_BUFSIZE", 0x281D},
    {"PTCMDVARID_PIO_DIRECTION_MASK", 0x681E},
    {"PTCMDVARID_PIO_MASK", 0x681E},
    {"PTCMDVARID_PIO", 0x681F},
    {"PTCMDVARID_PROVOKE_PANIC", 0x4820},
    {"PTCMDVARID_PROVOKE_DELAYED_PANIC", 0x4821},
    {"PTCMDVARID_PROVOKE_FAULT", 0x4822},
    {"PTCMDVARID_PIO_PROTECT_MASK", 0x2823},
    {"PTCMDVARID_INTERFACE_VERSION", 0x2825},
    {"PTCMDVARID_RADIOTEST_INTERFACE_VERSION", 0x2826},
    {"PTCMDVARID_MAX_TX_POWER", 0x6827},
    {"PTCMDVARID_ADC", 0x4829},
    {"PTCMDVARID_RAND", 0x282A},
    {"PTCMDVARID_DEFAULT_TX_POWER", 0x682B},
    {"PTCMDVARID_MAXCRYPTKEYLEN", 0x282C},
    {"PTCMDVARID_PSCLRALLS", 0x082D},
    {"PTCMDVARID_SINGLE_CHAN", 0x482E},
    {"PTCMDVARID_BT_CLOCK", 0x2C00},
    {"PTCMDVARID_SPECIAL_START", 0x1000},
    {"PTCMDVARID_MEMORY", 0x1001},
    {"PTCMDVARID_BUFFER", 0x1002},
    {"PTCMDVARID_PS", 0x7003},
    {"PTCMDVARID_RADIOTEST", 0x5004},
    {"PTCMDVARID_PSNEXT", 0x3005},
    {"PTCMDVARID_PSSIZE", 0x3006},
    {"PTCMDVARID_ADCRES", 0x3007},
    {"PTCMDVARID_CRYPTKEYLEN", 0x3008},
    {"PTCMDVARID_PICONET_INSTANT", 0x3009},
    {"PTCMDVARID_GET_CLR_EVT", 0x300A},
    {"PTCMDVARID_GET_NEXT_BUILDDEF", 0x300B},
    {"PTCMDVARID_PSCLRS", 0x500C},
    // TCI command op codes, the command complete event, the L2CAP
    // indication ids.
    {"TCI_L2CA_CONNECT_REQ", 0xF801},
    {"TCI_L2CA_DISCONNECT_REQ", 0xF802},
    {"TCI_L2CA_CONFIG_REQ", 0xF803},
    {"TCI_L2CA_DISABLECLT_REQ", 0xF804},
    {"TCI_L2CA_ENABLECLT_REQ", 0xF805},
    {"TCI_L2CA_GROUPCREATE_REQ", 0xF806},
    {"TCI_L2CA_GROUPCLOSE_REQ", 0xF807},
    {"TCI_L2CA_GROUPADDMEMBER_REQ", 0xF808},
    {"TCI_L2CA_GROUPREMOVEMEMBER_REQ", 0xF809},
    {"TCI_L2CA_GROUPMEMBERSHIP_REQ", 0xF80A},
    {"TCI_L2CA_WRITEDATA_REQ", 0xF80B},
    {"TCI_L2CA_READDATA_REQ", 0xF80C},
    {"TCI_L2CA_PING_REQ", 0xF80D},
    {"TCI_L2CA_GETINFO_REQ", 0xF80E},
    {"TCI_L2CA_CONNECT_RSP", 0xF811},
    {"TCI_L2CA_DISCONNECT_RSP", 0xF812},
    {"TCI_L2CA_CONFIG_RSP", 0xF813},
    {"TCI_HCI_RESET_REQ", 0x0C03},
    {"TCI_HCI_CREATE_CONNECTION_REQ", 0x0405},
    {"TCI_HCI_WRITE_SCAN_ENABLE_REQ", 0x0C1A},
    {"TCI_HCI_ACCEPT_CONNECTION_REQ", 0x0409},
    {"TCI_HCI_WRITE_CURRENT_IAC_LAP_REQ", 0x0C3A},
    {"TCI_HCI_COMMAND_COMPLETE", 0xE},
    {"TCI_L2CA_CONNECT_IND", 1},
    {"TCI_L2CA_CONFIG_IND", 2},
    {"TCI_L2CA_DISCONNECT_IND", 3},
    {"TCI_L2CA_QOSVIOLATION_IND", 4},
    {"TCI_L2CA_TIMEOUT_IND", 5},
    // Channels. Several names share a number: 3 is all TCI traffic, 5 L2CAP
    // and HCI_COM_PRIM, 7 the whole SDP family.
    {"PTCMD_PRIM", 0x2},
    {"DM_PRIM", 0x4},
    {"HCI_COM_PRIM", 0x5},
    {"HCI_PRIM", 0x3},
    {"TCI_PRIM", 0x3},
    {"HCI_ACL_PRIM", 0x3},
    {"HCI_SCO_PRIM", 0x3},
    {"L2CA_PRIM", 0x5},
    {"L2CAP_PRIM", 0x5},
    {"RFC_PRIM", 0x6},
    {"RFCOMM_PRIM", 0x6},
    {"SDS_PRIM", 0x7},
    {"SDC_PRIM", 0x7},
    {"SDP_PRIM", 0x7},
    {"VM_PRIM", 0xd},
    {"ACL_PRIM", 0x14},
};

}  // namespace

std::span<const VocabularyRow> vocabulary_rows() { return kRows; }

void set_vocabulary_variables(Tcl_Interp* interp) {
    char text[16];
    auto set = [&](const char* name, uint32_t value) {
        std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(value));
        Tcl_SetVar(interp, name, text, 0);
    };
    for (const VocabularyRow& row : kRows) set(row.name, row.value);
    // Every stack primitive's type under its name: those Kestrel sends, then
    // those it receives.
    std::string name;
    for (auto table : {sent_primitives(), received_primitives()})
        for (const PrimitiveDef& row : table) {
            name = row.name;
            set(name.c_str(), row.type);
        }
}

}  // namespace kestrel
