#include "sim/chip_stack.h"

namespace kestrel::sim {

std::shared_ptr<SimWorld> SimWorld::make() {
    auto world = std::make_shared<SimWorld>();
    world->air = std::make_shared<Air>();
    world->peer = RemotePeer::join(world->air);
    return world;
}

ChipStack::ChipStack(std::shared_ptr<SimWorld> world)
    : world_(std::move(world)), core_(std::make_shared<StackCore>(*world_->air, world_->air->next_chip_address())) {
    world_->air->attach(core_->address(), core_);
    core_->restart();
}

ChipStack::~ChipStack() { core_.reset(); }

void ChipStack::restart(Restart) { core_->restart(); }

void ChipStack::receive(uint8_t channel, std::span<const uint8_t> message, const Send& send) {
    core_->receive(channel, message, send);
}

void ChipStack::stop() { core_->stop(); }

BdAddr ChipStack::address() const { return core_->address(); }

void StackCore::stop() {
    std::lock_guard order(flush_mutex_);
    Lock lock(mutex_);
    stopped_ = true;
    send_ = nullptr;
}

StackCore::StackCore(Air& air, BdAddr address)
    : air_(&air), address_(address), settings_(initial_settings()) {}

void StackCore::restart() {
    Lock lock(mutex_);
    ++generation_;
    outbox_.clear();
    dm_phandle_ = acl_phandle_ = sco_phandle_ = sm_phandle_ = 0;
    settings_ = initial_settings();
    local_name_ = "Petrel simulator";
    stored_keys_.clear();
    iac_laps_ = {0x9E8B33};
    // The other ends lose their links as they would to a chip that reset:
    // the link times out (HCI reason 0x08), and their channels with it.
    for (const auto& [address, acl] : acls_)
        send_air({.kind = AirFrame::Kind::acl_disconnect, .to = address, .result = 0x08});
    acls_.clear();
    next_handle_ = 1;
    scos_.clear();
    sco_cbarg_ = 0;
    sco_requests_.clear();
    sco_offered_.clear();
    sec_mode_ = 1;
    sm_keys_.clear();
    pairings_.clear();
    sm_services_.clear();
    awaiting_authorisation_.clear();
    paging_.clear();
    inquiry_ = 0;
    l2_psms_.clear();
    l2_channels_.clear();
    next_cid_ = 0x40;
    l2_connectionless_.clear();
    pings_.clear();
    infos_.clear();
    rfc_phandle_ = rfc_register_phandle_ = 0;
    rfc_server_chans_.clear();
    muxes_.clear();
    next_mux_ = 1;
    credit_total_ = 0;
    bnep_phandle_ = bnep_id_ = tcp_phandle_ = 0;
    next_tcp_ = 1;
    tcp_connections_.clear();
    sdp_records_.clear();
    sdp_searches_.clear();
    sdp_waiting_.clear();
    next_record_ = 0x10000;
}

void StackCore::receive(uint8_t channel, std::span<const uint8_t> message, const StackModel::Send& send) {
    {
        Lock lock(mutex_);
        if (!send_ && !stopped_) send_ = send;
        // A primitive that Kestrel does not send, or that does not hold
        // together, is dropped as a chip drops what it cannot parse.
        const std::optional<HostPrimitive> p = HostPrimitive::decode(channel, message);
        if (p) {
            switch (channel) {
            case kChannelDm: on_dm(*p); break;
            case kChannelL2cap:
                if (!on_bnep_tcp(*p)) on_l2cap(*p);
                break;
            case kChannelRfcomm: on_rfcomm(*p); break;
            case kChannelSdp: on_sdp(*p); break;
            default: break;
            }
        }
    }
    flush();
}

DeviceInfo StackCore::info() const {
    Lock lock(mutex_);
    const auto scan = settings_.find("SCAN_ENABLE");
    const uint32_t enable = scan == settings_.end() ? 0 : scan->second.at("scan_enable");
    const auto cod = settings_.find("CLASS_OF_DEVICE");
    return {address_, cod == settings_.end() ? 0 : cod->second.at("dev_class"), local_name_, (enable & 1) != 0,
            (enable & 2) != 0, static_cast<uint16_t>(address_.lap & 0x7FFF)};
}

void StackCore::from_air(const AirFrame& frame) {
    {
        Lock lock(mutex_);
        using K = AirFrame::Kind;
        switch (frame.kind) {
        case K::acl_connect:
        case K::acl_accept:
        case K::acl_reject:
        case K::acl_disconnect:
        case K::sco_connect:
        case K::sco_connect_rsp:
        case K::sco_disconnect:
        case K::pin_request:
        case K::pin_reply:
        case K::auth_done: dm_from_air(frame); break;
        case K::sdp_request:
        case K::sdp_response: sdp_from_air(frame); break;
        case K::bnep_connect:
        case K::bnep_connect_rsp:
        case K::bnep_data:
        case K::bnep_disconnect:
        case K::tcp_open:
        case K::tcp_open_rsp:
        case K::tcp_data:
        case K::tcp_close: bnep_tcp_from_air(frame); break;
        default:
            if (frame.kind >= K::rfc_start && frame.kind <= K::rfc_nsc)
                rfcomm_from_air(frame);
            else
                l2cap_from_air(frame);
            break;
        }
    }
    flush();
}

void StackCore::emit(const ChipPrimitive& primitive) { outbox_.emplace_back(primitive.channel(), primitive.encode()); }

void StackCore::flush() {
    std::lock_guard order(flush_mutex_);
    std::deque<std::pair<uint8_t, std::vector<uint8_t>>> batch;
    StackModel::Send send;
    {
        Lock lock(mutex_);
        batch.swap(outbox_);
        send = send_;
    }
    if (!send) return;
    for (auto& [channel, bytes] : batch) send(channel, std::move(bytes));
}

void StackCore::later(std::chrono::milliseconds delay, std::function<void()> action) {
    at(Air::Clock::now() + delay, std::move(action));
}

void StackCore::at(Air::Clock::time_point when, std::function<void()> action) {
    air_->at(when, [weak = weak_from_this(), generation = generation_, action = std::move(action)] {
        if (auto self = weak.lock()) {
            {
                Lock lock(self->mutex_);
                if (self->generation_ == generation) action();
            }
            self->flush();
        }
    });
}

void StackCore::with_device(const BdAddr& peer, std::function<void(const std::optional<DeviceInfo>&)> action) {
    air_->at(Air::Clock::now(), [weak = weak_from_this(), air = air_, peer, action = std::move(action)] {
        auto self = weak.lock();
        if (!self) return;
        std::optional<DeviceInfo> info;
        if (auto device = air->find(peer)) info = device->info();
        {
            Lock lock(self->mutex_);
            action(info);
        }
        self->flush();
    });
}

Air::Clock::time_point StackCore::send_air(AirFrame frame) {
    frame.from = address_;
    return air_->transmit(std::move(frame));
}

}  // namespace kestrel::sim
