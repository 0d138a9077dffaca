// SDP on the chip: the server keeps the records the host registers and
// answers other devices' requests from them; the client opens a search to a
// device, sends its requests over the air and reports the answers.
#include "sim/chip_stack.h"
#include "sim/sdp_data.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;

constexpr uint16_t kResponseError = 1;
constexpr uint16_t kNoConnection = 1;

sdp::Bytes request_pdu(const HostPrimitive& p) {
    const std::string_view name = p.name();
    const auto pattern = p.block("srch_pttrn");
    const auto ids = p.block("attr_list");
    sdp::Bytes pdu;
    auto u16 = [&](uint32_t v) { pdu.push_back(uint8_t(v >> 8)), pdu.push_back(uint8_t(v)); };
    if (name == "SDC_SERVICE_SEARCH_REQ") {
        pdu.push_back(sdp::kSearch);
        pdu.insert(pdu.end(), pattern.begin(), pattern.end());
        u16(p.get("max_num_recs"));
    } else if (name == "SDC_SERVICE_ATTRIBUTE_REQ") {
        pdu.push_back(sdp::kAttribute);
        const uint32_t handle = p.get("svc_rec_hndl");
        for (int shift = 24; shift >= 0; shift -= 8) pdu.push_back(uint8_t(handle >> shift));
        u16(0xFFFF);
        pdu.insert(pdu.end(), ids.begin(), ids.end());
    } else {
        pdu.push_back(sdp::kSearchAttribute);
        pdu.insert(pdu.end(), pattern.begin(), pattern.end());
        u16(0xFFFF);
        pdu.insert(pdu.end(), ids.begin(), ids.end());
    }
    return pdu;
}

}  // namespace

void StackCore::on_sdp(const HostPrimitive& p) {
    const std::string_view name = p.name();
    const uint16_t phandle = static_cast<uint16_t>(p.get("phandle"));
    if (name == "SDS_REGISTER_REQ") {
        const auto record = p.block("service_rec");
        sdp::Bytes stored(record.begin(), record.end());
        // The server gives the record its handle, as attribute 0.
        const uint32_t handle = next_record_++;
        if (auto whole = sdp::parse(stored); whole && whole->type == 6) {
            std::vector<sdp::Bytes> items{sdp::uint16(0), sdp::uint32(handle)};
            const auto elements = sdp::elements(whole->value);
            for (size_t i = 0; i + 1 < elements.size(); i += 2) {
                const uint8_t* start = elements[i].value.data() - (elements[i].size - elements[i].value.size());
                const uint32_t id = elements[i].value.size() == 2 ? (elements[i].value[0] << 8 | elements[i].value[1]) : 0xFFFFFFFF;
                if (id == 0) continue;
                items.emplace_back(start, start + elements[i].size + elements[i + 1].size);
            }
            stored = sdp::sequence(items);
            sdp_records_[handle] = stored;
            emit(ChipPrimitive("SDS_REGISTER_CFM").set("phandle", phandle).set("svc_rec_hndl", handle));
        } else {
            emit(ChipPrimitive("SDS_REGISTER_CFM").set("phandle", phandle).set("result", sdp::kInvalidSyntax));
        }
    } else if (name == "SDS_UNREGISTER_REQ") {
        const uint32_t handle = p.get("svc_rec_hndl");
        const bool known = sdp_records_.erase(handle) != 0;
        emit(ChipPrimitive("SDS_UNREGISTER_CFM").set("phandle", phandle).set("svc_rec_hndl", handle)
                 .set("result", known ? 0 : sdp::kInvalidHandle));
    } else if (name == "SDC_OPEN_SEARCH_REQ") {
        const BdAddr peer = p.address();
        when_connected(peer, [this, peer, phandle](bool up) {
            if (up) sdp_searches_[phandle] = peer;
            emit(ChipPrimitive("SDC_OPEN_SEARCH_CFM").set("phandle", phandle).set("result", up ? 0 : kNoConnection));
        });
    } else if (name == "SDC_CLOSE_SEARCH_REQ") {
        sdp_searches_.erase(phandle);
        emit(ChipPrimitive("SDC_CLOSE_SEARCH_IND").set("phandle", phandle));
    } else if (name == "SDC_SERVICE_SEARCH_REQ" || name == "SDC_SERVICE_ATTRIBUTE_REQ" || name == "SDC_SERVICE_SEARCH_ATTRIBUTE_REQ") {
        const BdAddr peer = p.address();
        sdp::Bytes pdu = request_pdu(p);
        when_connected(peer, [this, peer, phandle, pdu = std::move(pdu)](bool up) {
            if (!up) {
                const std::string answer = pdu[0] == sdp::kSearch ? "SDC_SERVICE_SEARCH_CFM"
                                           : pdu[0] == sdp::kAttribute ? "SDC_SERVICE_ATTRIBUTE_CFM"
                                                                       : "SDC_SERVICE_SEARCH_ATTRIBUTE_CFM";
                emit(ChipPrimitive(answer).set("phandle", phandle).set("response", kResponseError).set("err_code", kNoConnection));
                return;
            }
            sdp_waiting_[peer].emplace_back(phandle, pdu[0]);
            send_air({.kind = K::sdp_request, .to = peer, .data = pdu});
        });
    }
    // SDC_CONFIG_REQ, SDS_CONFIG_REQ and SDC_TERMINATE_PRIMITIVE_REQ have
    // no answer on a chip.
}

void StackCore::sdp_from_air(const AirFrame& frame) {
    if (frame.kind == K::sdp_request) {
        std::vector<sdp::Bytes> records;
        for (const auto& [handle, record] : sdp_records_) records.push_back(record);
        send_air({.kind = K::sdp_response, .to = frame.from, .data = sdp::answer_request(records, frame.data)});
        return;
    }
    auto& waiting = sdp_waiting_[frame.from];
    if (waiting.empty() || frame.data.empty()) return;
    const auto [phandle, asked] = waiting.front();
    waiting.pop_front();
    const std::span<const uint8_t> body = std::span<const uint8_t>(frame.data).subspan(1);
    switch (frame.data[0]) {
    case sdp::kSearchResponse:
        emit(ChipPrimitive("SDC_SERVICE_SEARCH_CFM").set("phandle", phandle)
                 .set("num_recs_ret", body.size() >= 2 ? (body[0] << 8 | body[1]) : 0)
                 .block("rec_list", {body.begin() + std::min<size_t>(2, body.size()), body.end()}));
        return;
    case sdp::kAttributeResponse:
        emit(ChipPrimitive("SDC_SERVICE_ATTRIBUTE_CFM").set("phandle", phandle).block("attr_list", {body.begin(), body.end()}));
        return;
    case sdp::kSearchAttributeResponse:
        emit(ChipPrimitive("SDC_SERVICE_SEARCH_ATTRIBUTE_CFM").set("phandle", phandle)
                 .set("total_response_size", static_cast<uint32_t>(body.size())).block("attr_list", {body.begin(), body.end()}));
        return;
    default: {
        const uint16_t code = body.size() >= 2 ? static_cast<uint16_t>(body[0] << 8 | body[1]) : 0;
        const std::vector<uint8_t> info(body.begin(), body.end());
        const char* answer = asked == sdp::kSearch ? "SDC_SERVICE_SEARCH_CFM"
                             : asked == sdp::kAttribute ? "SDC_SERVICE_ATTRIBUTE_CFM"
                                                        : "SDC_SERVICE_SEARCH_ATTRIBUTE_CFM";
        emit(ChipPrimitive(answer).set("phandle", phandle).set("response", kResponseError)
                 .set("err_code", code).block("err_info", info));
        return;
    }
    }
}

}  // namespace kestrel::sim
