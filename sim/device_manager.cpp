// The device manager's procedures: those that are more than a command and
// its complete (which hci_rule.cpp answers). Inquiry and remote names ask
// the air; ACLs, SCO links and pairing are exchanges with the other device.
#include <algorithm>

#include "sim/chip_stack.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;
using namespace std::chrono_literals;

constexpr uint8_t kPageTimeout = 0x04;
constexpr uint8_t kAuthenticationFailure = 0x05;
constexpr uint8_t kCommandDisallowed = 0x0C;
constexpr uint8_t kLocalHostTerminated = 0x16;
constexpr uint8_t kRemoteUserTerminated = 0x13;
constexpr auto kInquiryStep = 10ms;  // between the results an inquiry reports
constexpr uint16_t kAuthoriseIncoming = 0x0001;  // a security level's bit

std::vector<uint8_t> inquiry_record(const DeviceInfo& info) {
    std::vector<uint8_t> record(20, 0);
    put_bd_addr(record.data(), info.address);
    record[8] = 1;  // page scan repetition mode R1
    put_le32(record.data() + 12, info.dev_class);
    put_le16(record.data() + 16, info.clock_offset);
    return record;
}

}  // namespace

bool StackCore::held_for_authorisation(const AirFrame& frame, uint32_t protocol, uint32_t channel) {
    const auto service = sm_services_.find({protocol, channel});
    if (service == sm_services_.end() || !(service->second & kAuthoriseIncoming)) return false;
    const auto key = std::make_tuple(frame.from, protocol, channel);
    if (awaiting_authorisation_.count(key)) return true;
    awaiting_authorisation_[key] = frame;
    emit(ChipPrimitive("DM_SM_AUTHORISE_IND").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(frame.from)
             .set("protocol_id", protocol).set("channel", channel).set("incoming", 1));
    return true;
}

void StackCore::from_air_authorised(const AirFrame& frame) {
    const bool l2cap = frame.kind == AirFrame::Kind::l2_connect;
    const auto key = std::make_tuple(frame.from, uint32_t{l2cap ? kProtocolL2cap : kProtocolRfcomm},
                                     static_cast<uint32_t>(l2cap ? frame.psm : frame.chan));
    authorised_.insert(key);
    if (l2cap)
        l2cap_from_air(frame);
    else
        rfcomm_from_air(frame);
    authorised_.erase(key);
}

void StackCore::refuse_unauthorised(const AirFrame& frame) {
    if (frame.kind == AirFrame::Kind::l2_connect)
        send_air({.kind = AirFrame::Kind::l2_connect_rsp, .to = frame.from, .dst = frame.src, .result = 3});
    else
        send_air({.kind = AirFrame::Kind::rfc_establish_rsp, .to = frame.from, .result = 1, .chan = frame.chan});
}

StackCore::Acl* StackCore::acl_by_handle(uint16_t handle) {
    for (auto& [address, acl] : acls_)
        if (acl.handle == handle) return &acl;
    return nullptr;
}

StackCore::Acl& StackCore::open_acl(const BdAddr& peer, bool incoming) {
    auto [it, added] = acls_.try_emplace(peer, Acl{next_handle_, incoming});
    if (added) ++next_handle_;
    return it->second;
}

void StackCore::when_connected(const BdAddr& peer, std::function<void(bool)> then) {
    if (acls_.count(peer)) {
        then(true);
        return;
    }
    if (peer == address_) {  // a chip does not page itself
        then(false);
        return;
    }
    auto& waiting = paging_[peer];
    waiting.push_back(std::move(then));
    if (waiting.size() > 1) return;
    if (air_->find(peer)) {
        send_air({K::acl_connect, {}, peer});
        return;
    }
    // Nobody answers the page: it fails after the page time-out (slots of
    // 0.625 ms).
    const auto timeout = std::chrono::microseconds(settings_["PAGE_TO"]["page_timeout"] * 625);
    later(std::chrono::duration_cast<std::chrono::milliseconds>(timeout), [this, peer] {
        auto failed = std::move(paging_[peer]);
        paging_.erase(peer);
        for (auto& then : failed) then(false);
    });
}

void StackCore::close_acl(BdAddr peer, uint8_t reason, bool tell_peer) {
    const auto it = acls_.find(peer);
    if (it == acls_.end()) return;
    const uint16_t handle = it->second.handle;
    // The channels that ran over the link go with it.
    for (auto c = l2_channels_.begin(); c != l2_channels_.end();) {
        if (c->second.peer == peer) {
            emit(ChipPrimitive("L2CA_DISCONNECT_IND").set("phandle", l2_psms_[c->second.psm]).set("cid", c->first));
            c = l2_channels_.erase(c);
        } else {
            ++c;
        }
    }
    for (auto m = muxes_.begin(); m != muxes_.end();) {
        if (m->second.peer == peer) {
            emit(ChipPrimitive("RFC_CLOSE_IND").set("phandle", rfc_phandle_).set("mux_id", m->first).set("reason_code", reason));
            m = muxes_.erase(m);
        } else {
            ++m;
        }
    }
    acls_.erase(it);
    emit(ChipPrimitive("DM_ACL_DISCONNECT_IND").set("phandle", acl_phandle()).set("handle", handle).set("reason", reason));
    emit(ChipPrimitive("DM_ACL_CLOSED_IND").set("phandle", acl_phandle()).address(peer));
    if (tell_peer) send_air({.kind = K::acl_disconnect, .to = peer, .result = kRemoteUserTerminated});
}

void StackCore::inquiry(const HostPrimitive& p) {
    const uint64_t number = inquiry_ = ++inquiries_;
    const unsigned wanted = p.get("num_responses");
    air_->at(Air::Clock::now(), [weak = weak_from_this(), air = air_, number, wanted, self_address = address_] {
        auto self = weak.lock();
        if (!self) return;
        // The air is asked without the chip's lock (it asks every device).
        std::vector<DeviceInfo> found = air->inquire(self_address);
        if (wanted != 0 && found.size() > wanted) found.resize(wanted);
        Lock lock(self->mutex_);
        auto step = kInquiryStep;
        for (const DeviceInfo& info : found) {
            self->later(step, [self = self.get(), number, info] {
                if (self->inquiry_ != number) return;
                self->emit(ChipPrimitive("DM_HCI_INQUIRY_RESULT")
                               .set("phandle", self->dm_phandle_)
                               .blocks("result", {inquiry_record(info)}));
            });
            step += kInquiryStep;
        }
        self->later(step, [self = self.get(), number] {
            if (self->inquiry_ != number) return;
            self->inquiry_ = 0;
            self->emit(ChipPrimitive("DM_HCI_INQUIRY_COMPLETE").set("phandle", self->dm_phandle_));
        });
    });
}

void StackCore::authenticate(const BdAddr& peer, bool asked) {
    auto& pairing = pairings_[peer];
    pairing.asked = pairing.asked || asked;
    if (auto key = sm_keys_.find(peer); key != sm_keys_.end()) {
        send_air({.kind = K::pin_reply, .to = peer, .result = 1, .data = {key->second.begin(), key->second.end()}});
        return;
    }
    emit(ChipPrimitive("DM_SM_LINK_KEY_REQUEST_IND").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(peer));
}

void StackCore::pairing_done(const BdAddr& peer, bool success, const std::optional<std::array<uint8_t, 16>>& key) {
    const auto it = pairings_.find(peer);
    const bool asked = it != pairings_.end() && it->second.asked;
    if (it != pairings_.end()) pairings_.erase(it);
    const uint16_t phandle = sm_phandle_ ? sm_phandle_ : dm_phandle_;
    if (success) {
        if (auto acl = acls_.find(peer); acl != acls_.end()) acl->second.authenticated = true;
        // The host keeps the key; the chip asks for it at the next link.
        if (key) emit(ChipPrimitive("DM_SM_LINK_KEY_IND").set("phandle", phandle).address(peer).bytes("key", *key));
    }
    if (asked)
        emit(ChipPrimitive("DM_SM_AUTHENTICATE_CFM").set("phandle", phandle).address(peer).set("success", success ? 1 : 0));
}

void StackCore::on_dm(const HostPrimitive& p) {
    const std::string_view name = p.name();
    const BdAddr peer = p.address();
    if (name == "DM_AM_REGISTER_REQ") {
        dm_phandle_ = static_cast<uint16_t>(p.get("phandle"));
    } else if (name == "DM_ACL_REGISTER_REQ") {
        acl_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        answer_hci(p);
        emit(ChipPrimitive("DM_ACL_BUFFER_SIZE_IND").set("phandle", acl_phandle_).set("size", 339).set("max_num_packets", 8));
        return;
    } else if (name == "DM_SCO_INCOMING_REGISTER_REQ") {
        sco_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        sco_cbarg_ = p.get("pv_cbarg");
        emit(ChipPrimitive("DM_SCO_BUFFER_SIZE_IND").set("phandle", sco_phandle_).set("size", 48).set("max_num_packets", 4));
        return;
    } else if (name == "DM_SM_L2CAP_REGISTER_REQ") {
        sm_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        return;
    } else if (name == "DM_HC_TO_HOST_FLOW_CONTROL") {
        if (p.get("Active"))
            host_flow_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        else
            host_flow_phandle_.reset();
        return;
    } else if (name == "DM_SM_SET_SEC_MODE_REQ") {
        sec_mode_ = static_cast<uint8_t>(p.get("mode"));
    } else if (name == "DM_HCI_INQUIRY" || name == "DM_HCI_PERIODIC_INQUIRY") {
        if (name == "DM_HCI_PERIODIC_INQUIRY") answer_hci(p);
        inquiry(p);
        return;
    } else if (name == "DM_HCI_INQUIRY_CANCEL") {
        const bool running = inquiry_ != 0;
        inquiry_ = 0;
        emit(ChipPrimitive("DM_HCI_INQUIRY_CANCEL_COMPLETE").set("phandle", dm_phandle_).set("status", running ? 0 : kCommandDisallowed));
        return;
    } else if (name == "DM_HCI_REMOTE_NAME_REQUEST") {
        with_device(peer, [this, peer](const std::optional<DeviceInfo>& info) {
            ChipPrimitive out("DM_HCI_REMOTE_NAME_COMPLETE");
            out.set("phandle", dm_phandle_).address(peer);
            if (info && peer != address_ && (info->connectable || acls_.count(peer)))
                out.name("name_part", info->name);
            else
                out.set("status", kPageTimeout);
            emit(out);
        });
        return;
    } else if (name == "DM_HCI_CHANGE_LOCAL_NAME") {
        std::string text;
        for (unsigned i = 0; i < 8; ++i) {
            const auto part = p.block("name_part", i);
            text.append(part.begin(), part.end());
        }
        local_name_ = text.substr(0, text.find('\0'));
    } else if (name == "DM_HCI_READ_LOCAL_NAME") {
        emit(ChipPrimitive("DM_HCI_READ_LOCAL_NAME_COMPLETE").set("phandle", dm_phandle_).name("name_part", local_name_));
        return;
    } else if (name == "DM_HCI_WRITE_STORED_LINK_KEY") {
        unsigned written = 0;
        for (unsigned i = 0; i < std::min(p.get("number_keys"), 10u); ++i) {
            const auto entry = p.block("link_key_bd_addr", i);
            if (entry.size() < 24) continue;
            std::array<uint8_t, 16> key;
            std::copy_n(entry.begin() + 8, 16, key.begin());
            stored_keys_[get_bd_addr(entry.data())] = key;
            ++written;
        }
        emit(ChipPrimitive("DM_HCI_WRITE_STORED_LINK_KEY_COMPLETE").set("phandle", dm_phandle_).set("num_keys_written", written));
        return;
    } else if (name == "DM_HCI_READ_STORED_LINK_KEY") {
        std::vector<std::vector<uint8_t>> entries;
        for (const auto& [address, key] : stored_keys_) {
            if (!p.get("read_all") && address != peer) continue;
            std::vector<uint8_t> entry(24, 0);
            put_bd_addr(entry.data(), address);
            std::copy(key.begin(), key.end(), entry.begin() + 8);
            entries.push_back(std::move(entry));
        }
        for (size_t start = 0; start < entries.size(); start += 10) {
            const auto end = entries.begin() + static_cast<long>(std::min(entries.size(), start + 10));
            emit(ChipPrimitive("DM_HCI_RETURN_LINK_KEYS").set("phandle", dm_phandle_)
                     .blocks("link_key_bd_addr", {entries.begin() + static_cast<long>(start), end}));
        }
        emit(ChipPrimitive("DM_HCI_READ_STORED_LINK_KEY_COMPLETE").set("phandle", dm_phandle_)
                 .set("max_num_keys", 10).set("num_keys_read", static_cast<uint32_t>(entries.size())));
        return;
    } else if (name == "DM_HCI_DELETE_STORED_LINK_KEY") {
        size_t deleted = 0;
        if (p.get("flag")) {
            deleted = stored_keys_.size();
            stored_keys_.clear();
        } else {
            deleted = stored_keys_.erase(peer);
        }
        emit(ChipPrimitive("DM_HCI_DELETE_STORED_LINK_KEY_COMPLETE").set("phandle", dm_phandle_).set("num_keys_deleted", static_cast<uint32_t>(deleted)));
        return;
    } else if (name == "DM_HCI_WRITE_CURRENT_IAC_LAP") {
        iac_laps_.clear();
        for (unsigned i = 0; i < std::min(p.get("num_current_iac"), 6u); ++i) iac_laps_.push_back(p.get("iac_lap", i));
    } else if (name == "DM_HCI_READ_CURRENT_IAC_LAP") {
        std::vector<std::vector<uint8_t>> laps;
        for (uint32_t lap : iac_laps_) laps.push_back({uint8_t(lap), uint8_t(lap >> 8), uint8_t(lap >> 16)});
        emit(ChipPrimitive("DM_HCI_READ_CURRENT_IAC_LAP_COMPLETE").set("phandle", dm_phandle_).blocks("iac_lap", laps));
        return;
    } else if (name == "DM_HCI_HOLD_MODE" || name == "DM_HCI_SNIFF_MODE" || name == "DM_HCI_PARK_MODE" ||
               name == "DM_HCI_EXIT_SNIFF_MODE" || name == "DM_HCI_EXIT_PARK_MODE") {
        // The mode change event reports the new mode (0 active, 1 hold, 2
        // sniff, 3 park) and its interval.
        const uint8_t mode = name == "DM_HCI_HOLD_MODE" ? 1 : name == "DM_HCI_SNIFF_MODE" ? 2 : name == "DM_HCI_PARK_MODE" ? 3 : 0;
        const Acl* acl = acl_by_handle(static_cast<uint16_t>(p.get("handle")));
        BdAddr link = peer;
        for (const auto& [address, a] : acls_)
            if (&a == acl) link = address;
        emit(ChipPrimitive("DM_HCI_MODE_CHANGE_EVENT").set("phandle", dm_phandle_).set("status", acl ? 0 : 0x02)
                 .address(link).set("mode", mode).set("length", mode ? p.get("max_interval") : 0));
        return;
    } else if (name == "DM_ACL_OPEN_REQ" || name == "DM_ACL_CONNECT_REQ") {
        const bool open = name == "DM_ACL_OPEN_REQ";
        when_connected(peer, [this, peer, open](bool up) {
            const Acl* acl = up ? &acls_.at(peer) : nullptr;
            if (open)
                emit(ChipPrimitive("DM_ACL_OPEN_CFM").set("phandle", acl_phandle()).address(peer).set("success", up ? 1 : 0));
            else
                emit(ChipPrimitive("DM_ACL_CONNECT_CFM").set("phandle", acl_phandle()).set("status", up ? 0 : kPageTimeout)
                         .set("handle", acl ? acl->handle : 0).address(peer));
        });
        return;
    } else if (name == "DM_ACL_CLOSE_REQ") {
        close_acl(peer, kLocalHostTerminated, true);
        return;
    } else if (name == "DM_ACL_DISCONNECT_REQ") {
        for (const auto& [address, acl] : acls_)
            if (acl.handle == p.get("handle")) {
                close_acl(address, kLocalHostTerminated, true);
                return;
            }
        emit(ChipPrimitive("DM_ACL_DISCONNECT_IND").set("phandle", acl_phandle()).set("status", 0x02).set("handle", p.get("handle")));
        return;
    } else if (name == "DM_SCO_CONNECT_REQ") {
        // An SCO link rides on the ACL; the other side accepts it or not.
        if (!acls_.count(peer)) {
            emit(ChipPrimitive("DM_SCO_CONNECT_CFM").set("phandle", p.get("phandle")).set("pv_cbarg", p.get("pv_cbarg"))
                     .address(peer).set("status", kPageTimeout));
            return;
        }
        sco_requests_[peer].push_back({static_cast<uint16_t>(p.get("phandle")), p.get("pv_cbarg")});
        send_air({.kind = K::sco_connect, .to = peer, .psm = static_cast<uint16_t>(p.get("packet_type"))});
        return;
    } else if (name == "DM_SCO_CONNECT_RES") {
        const uint16_t handle = static_cast<uint16_t>(p.get("handle"));
        const auto offered = sco_offered_.find(handle);
        if (offered == sco_offered_.end()) return;
        const bool accept = p.get("accept") != 0;
        send_air({.kind = K::sco_connect_rsp, .to = offered->second, .result = static_cast<uint16_t>(accept ? 0 : 0x0D)});
        if (accept) scos_[handle] = offered->second;
        sco_offered_.erase(offered);
        return;
    } else if (name == "DM_SCO_DISCONNECT_REQ") {
        const uint16_t handle = static_cast<uint16_t>(p.get("handle"));
        const auto sco = scos_.find(handle);
        const bool known = sco != scos_.end();
        if (known) {
            send_air({.kind = K::sco_disconnect, .to = sco->second, .result = static_cast<uint16_t>(p.get("reason"))});
            scos_.erase(sco);
        }
        emit(ChipPrimitive("DM_SCO_DISCONNECT_IND").set("phandle", sco_phandle_).set("status", known ? 0 : 0x02)
                 .set("handle", handle).set("reason", p.get("reason")));
        return;
    } else if (name == "DM_SM_ADD_DEVICE_REQ") {
        if (p.get("update_link_key")) {
            std::array<uint8_t, 16> key;
            const auto bytes = p.bytes("link_key");
            std::copy_n(bytes.begin(), 16, key.begin());
            sm_keys_[peer] = key;
        }
    } else if (name == "DM_HCI_QOS_SETUP_REQ") {
        answer_hci(p);
        // A token rate (bytes a second) beyond what the air carries cannot be
        // kept: the link manager reports the violation, and L2CAP passes it on.
        const auto acl = acl_by_handle(static_cast<uint16_t>(p.get("handle")));
        if (acl && p.get("token_rate") > air_->settings().rate / 8) {
            BdAddr link;
            for (const auto& [address, a] : acls_)
                if (&a == acl) link = address;
            emit(ChipPrimitive("DM_HCI_QOS_VIOLATION_IND").set("phandle", dm_phandle_));
            for (const auto& [psm, phandle] : l2_psms_)
                emit(ChipPrimitive("L2CA_QOSVIOLATION_IND").set("phandle", phandle).address(link));
        }
        return;
    } else if (name == "DM_SM_REGISTER_REQ") {
        sm_services_[{p.get("protocol_id"), p.get("channel")}] = static_cast<uint16_t>(p.get("security_level"));
        return;
    } else if (name == "DM_SM_UNREGISTER_REQ") {
        sm_services_.erase({p.get("protocol_id"), p.get("channel")});
        return;
    } else if (name == "DM_SM_AUTHORISE_RES") {
        const auto held = awaiting_authorisation_.find({peer, p.get("protocol_id"), p.get("channel")});
        if (held == awaiting_authorisation_.end()) return;
        AirFrame frame = std::move(held->second);
        awaiting_authorisation_.erase(held);
        if (p.get("authorised")) {
            from_air_authorised(frame);
        } else {
            // Refused: the connection is turned away for security.
            refuse_unauthorised(frame);
        }
        return;
    } else if (name == "DM_SM_REMOVE_DEVICE_REQ") {
        const bool known = sm_keys_.erase(peer) != 0;
        emit(ChipPrimitive("DM_SM_REMOVE_DEVICE_CFM").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(peer).set("success", known ? 1 : 0));
        return;
    } else if (name == "DM_SM_AUTHENTICATE_REQ") {
        when_connected(peer, [this, peer](bool up) {
            if (up)
                authenticate(peer, true);
            else
                emit(ChipPrimitive("DM_SM_AUTHENTICATE_CFM").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(peer));
        });
        return;
    } else if (name == "DM_SM_LINK_KEY_REQUEST_RES") {
        if (!pairings_.count(peer)) return;
        if (p.get("valid")) {
            const auto key = p.bytes("key");
            send_air({.kind = K::pin_reply, .to = peer, .result = 1, .data = key});
        } else {
            emit(ChipPrimitive("DM_SM_PIN_REQUEST_IND").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(peer));
        }
        return;
    } else if (name == "DM_SM_PIN_REQUEST_RES") {
        if (!pairings_.count(peer)) return;
        std::vector<uint8_t> pin = p.bytes("pin");
        pin.resize(std::min<size_t>(p.get("pin_length"), pin.size()));
        send_air({.kind = K::pin_reply, .to = peer, .data = pin});
        return;
    } else if (name == "DM_SM_ENCRYPT_REQ") {
        const auto acl = acls_.find(peer);
        const bool ok = acl != acls_.end() && acl->second.authenticated;
        if (ok) acl->second.encrypted = p.get("encrypt") != 0;
        emit(ChipPrimitive("DM_SM_ENCRYPT_CFM").set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_).address(peer)
                 .set("success", ok ? 1 : 0).set("encrypted", ok && acl->second.encrypted ? 1 : 0));
        return;
    }
    answer_hci(p);
}

void StackCore::dm_from_air(const AirFrame& frame) {
    const BdAddr peer = frame.from;
    switch (frame.kind) {
    case K::acl_connect: {
        const bool connectable = settings_["SCAN_ENABLE"]["scan_enable"] & 2;
        if (!connectable) {
            send_air({.kind = K::acl_reject, .to = peer, .result = kPageTimeout});
            return;
        }
        const Acl& acl = open_acl(peer, true);
        send_air({K::acl_accept, {}, peer});
        emit(ChipPrimitive("DM_ACL_CONNECT_IND").set("phandle", acl_phandle()).set("handle", acl.handle).address(peer));
        emit(ChipPrimitive("DM_ACL_OPENED_IND").set("phandle", acl_phandle()).address(peer).set("incoming", 1));
        return;
    }
    case K::acl_accept:
    case K::acl_reject: {
        const bool up = frame.kind == K::acl_accept;
        if (up) {
            open_acl(peer, false);
            emit(ChipPrimitive("DM_ACL_OPENED_IND").set("phandle", acl_phandle()).address(peer).set("incoming", 0));
        }
        auto waiting = std::move(paging_[peer]);
        paging_.erase(peer);
        for (auto& then : waiting) then(up);
        return;
    }
    case K::acl_disconnect: close_acl(peer, static_cast<uint8_t>(frame.result), false); return;
    case K::sco_connect: {
        const uint16_t handle = next_handle_++;
        sco_offered_[handle] = peer;
        emit(ChipPrimitive("DM_SCO_CONNECT_IND").set("phandle", sco_phandle_).set("pv_cbarg", sco_cbarg_).set("handle", handle)
                 .set("lm_sco_handle", static_cast<uint32_t>(scos_.size() + 1)).address(peer));
        return;
    }
    case K::sco_connect_rsp: {
        auto& waiting = sco_requests_[peer];
        if (waiting.empty()) return;
        const ScoRequest request = waiting.front();
        waiting.pop_front();
        ChipPrimitive out("DM_SCO_CONNECT_CFM");
        out.set("phandle", request.phandle).set("pv_cbarg", request.pv_cbarg).address(peer).set("status", frame.result);
        if (frame.result == 0) {
            const uint16_t handle = next_handle_++;
            scos_[handle] = peer;
            out.set("handle", handle).set("lm_sco_handle", static_cast<uint32_t>(scos_.size()));
        }
        emit(out);
        return;
    }
    case K::sco_disconnect:
        for (auto it = scos_.begin(); it != scos_.end(); ++it)
            if (it->second == peer) {
                emit(ChipPrimitive("DM_SCO_DISCONNECT_IND").set("phandle", sco_phandle_).set("handle", it->first).set("reason", frame.result));
                scos_.erase(it);
                return;
            }
        return;
    case K::pin_request:
        // The other side will not go on without authentication.
        authenticate(peer, false);
        return;
    case K::pin_reply: {
        // This chip is the side asked: it accepts whatever PIN or key its
        // peer gives (the remote peer is the one that checks them).
        if (frame.result == 1) {
            send_air({K::auth_done, {}, peer});
            pairing_done(peer, true, std::nullopt);
            return;
        }
        const auto key = pairing_key(frame.data, address_, peer);
        send_air({.kind = K::auth_done, .to = peer, .data = {key.begin(), key.end()}});
        pairing_done(peer, true, key);
        return;
    }
    case K::auth_done: {
        std::optional<std::array<uint8_t, 16>> key;
        if (frame.data.size() == 16) std::copy_n(frame.data.begin(), 16, key.emplace().begin());
        pairing_done(peer, frame.result == 0, key);
        if (frame.result != 0) {
            // A failed pairing ends the paging it held up.
            auto waiting = std::move(paging_[peer]);
            paging_.erase(peer);
            for (auto& then : waiting) then(false);
        }
        return;
    }
    default: return;
    }
}

}  // namespace kestrel::sim
