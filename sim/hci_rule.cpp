// The rule that answers most device-manager commands: DM_HCI_X gets
// DM_HCI_X_COMPLETE and DM_X_REQ gets DM_X_CFM, when the received table has
// that row. The answer copies the fields the request shares with it by
// name, takes phandle from the registered DM handle, and the rest from the
// chip's settings under the command's stem (DM_HCI_WRITE_SCAN_ENABLE stores
// under SCAN_ENABLE what DM_HCI_READ_SCAN_ENABLE reports). A command about a
// connection handle that is not open gets status 0x02, unknown connection.
#include <string>

#include "sim/chip_stack.h"

namespace kestrel::sim {
namespace {

constexpr uint8_t kUnknownConnection = 0x02;

// Answers whose names do not follow the rule.
constexpr std::pair<std::string_view, std::string_view> kAnswerNames[] = {
    {"DM_HCI_CHANGE_LINK_KEY", "DM_HCI_LINK_KEY_CHANGE_COMPLETE"},
    {"DM_HCI_QOS_SETUP_REQ", "DM_HCI_QOS_SETUP_CFM"},
};

// A field that the read answer names differently from the write.
constexpr std::pair<std::string_view, std::string_view> kFieldAliases[] = {
    {"FlushTimeout", "timeout"},
    {"link_policy", "link_policy_settings"},
};

// The chip's inline arrays, by stem and field.
struct ArrayFact {
    std::string_view stem, field;
    uint16_t values[8];  // one per element, of the field's width
};
constexpr ArrayFact kArrayFacts[] = {
    {"LOCAL_FEATURES", "lmp_supp_features", {0xFF, 0xFF, 0x0F, 0x00, 0x08, 0x08, 0x00, 0x00}},
    {"REMOTE_FEATURES", "features", {0xFFFF, 0x000F, 0x0808, 0x0000}},
};

std::string_view strip(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix ? text.substr(prefix.size()) : text;
}

}  // namespace

// What a freshly started chip reports, by stem.
StackCore::Settings StackCore::initial_settings() {
    return {
        {"SCAN_ENABLE", {{"scan_enable", 0}}},
        {"PAGE_TO", {{"page_timeout", 0x2000}}},
        {"CONN_ACCEPT_TO", {{"conn_accept_timeout", 0x1FA0}}},
        {"VOICE_SETTING", {{"voice_setting", 0x0060}}},
        {"PIN_TYPE", {{"pin_type", 0}}},
        {"CLASS_OF_DEVICE", {{"dev_class", 0x000000}}},
        {"AUTH_ENABLE", {{"auth_enable", 0}}},
        {"ENCRYPTION_MODE", {{"mode", 0}}},
        {"PAGESCAN_ACTIVITY", {{"pagescan_interval", 0x0800}, {"pagescan_window", 0x0012}}},
        {"INQUIRYSCAN_ACTIVITY", {{"inqscan_interval", 0x1000}, {"inqscan_window", 0x0012}}},
        {"NUM_BCAST_TXS", {{"num", 1}}},
        {"HOLD_MODE_ACTIVITY", {{"activity", 0}}},
        {"PAGESCAN_PERIOD_MODE", {{"mode", 0}}},
        {"PAGESCAN_MODE", {{"mode", 0}}},
        {"LOOPBACK_MODE", {{"mode", 0}}},
        {"NUM_SUPPORTED_IAC", {{"num", 6}}},
        {"AUTO_FLUSH_TIMEOUT", {{"timeout", 0}}},
        {"LINK_SUPERV_TIMEOUT", {{"timeout", 0x7D00}}},
        {"TX_POWER_LEVEL", {{"pwr_level", 4}}},
        {"GET_LINK_QUALITY", {{"link_quality", 0xFF}}},
        {"RSSI", {{"rssi", 0}}},
        {"FAILED_CONTACT_COUNTER", {{"failed_contact_count", 0}}},
        {"LP_SETTINGS", {{"link_policy_settings", 0x000F}}},
        {"COUNTRY_CODE", {{"country_code", 0}}},
        {"LOCAL_VERSION",
         {{"hci_version", 1}, {"hci_revision", 0x0B54}, {"lmp_version", 1}, {"manuf_name", 0xFFFF},
          {"lmp_subversion", 0x0B54}}},
        {"REMOTE_VERSION", {{"LMP_version", 1}, {"manufacturer_name", 0xFFFF}, {"LMP_subversion", 0x0B54}}},
        {"CLOCK_OFFSET", {{"clock_offset", 0x1234}}},
        {"STORED_LINK_KEY", {{"max_num_keys", 10}}},
        {"MASTER_LINK_KEY", {{"key_flag", 0}}},
        {"SM_ACCESS", {{"granted", 1}}},
        {"SM_SET_SEC_MODE", {{"success", 1}}},
        {"SM_ADD_DEVICE", {{"success", 1}}},
    };
}

bool StackCore::answer_hci(const HostPrimitive& p) {
    const std::string_view name = p.name();
    std::string answer_name;
    for (const auto& [request, answer] : kAnswerNames)
        if (request == name) answer_name = answer;
    if (answer_name.empty()) {
        if (name.ends_with("_REQ"))
            answer_name = std::string(name.substr(0, name.size() - 4)) + "_CFM";
        else
            answer_name = std::string(name) + "_COMPLETE";
    }
    if (!find_received_by_name(answer_name)) return false;

    std::string_view stem = strip(strip(name, "DM_HCI_"), "DM_");
    if (stem.ends_with("_REQ")) stem.remove_suffix(4);
    const bool write = stem.starts_with("WRITE_");
    stem = strip(strip(stem, "READ_"), "WRITE_");
    auto& stored = settings_[std::string(stem)];
    if (write)
        for (const FieldDef& field : p.row().fields)
            if (field.width != FieldWidth::ptr && field.count == 1 && field.name != "handle" &&
                !field.name.starts_with("bd_addr"))
                stored[std::string(field.name)] = p.get(field.name);

    uint8_t status = 0;
    BdAddr peer = p.address();
    if (p.has("handle")) {
        const Acl* acl = acl_by_handle(static_cast<uint16_t>(p.get("handle")));
        if (!acl) status = kUnknownConnection;
        for (const auto& [address, link] : acls_)
            if (acl == &link && peer == BdAddr{}) peer = address;
    }

    ChipPrimitive out(answer_name);
    for (const FieldDef& field : out.row().fields) {
        const std::string_view f = field.name;
        if (field.width == FieldWidth::ptr) continue;
        if (field.count > 1) {
            for (const ArrayFact& fact : kArrayFacts)
                if (fact.stem == stem && fact.field == f)
                    for (unsigned i = 0; i < field.count && i < std::size(fact.values); ++i) out.set(f, fact.values[i], i);
            continue;
        }
        if (f == "phandle") {
            out.set(f, p.has("phandle") ? p.get("phandle") : dm_phandle_);
        } else if (f == "status") {
            out.set(f, status);
        } else if (f.starts_with("bd_addr")) {
            continue;
        } else if (p.has(f)) {
            out.set(f, p.get(f));
        } else if (auto it = stored.find(std::string(f)); it != stored.end()) {
            out.set(f, it->second);
        } else {
            for (const auto& [alias, source] : kFieldAliases)
                if (alias == f)
                    if (auto s = stored.find(std::string(source)); s != stored.end()) out.set(f, s->second);
        }
    }
    if (name == "DM_HCI_READ_BD_ADDR")
        out.address(address_);
    else
        out.address(peer);
    if (name == "DM_HCI_RESET") {
        settings_ = initial_settings();
        stored_keys_.clear();
    }
    emit(out);
    return true;
}

}  // namespace kestrel::sim
