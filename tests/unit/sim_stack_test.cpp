// The simulated chip's host stack, driven directly with the host's
// primitives (built by field name from the sent table) and read back by
// field name from the received table: the writer, the generic HCI rule
// over every HCI command row, and RFCOMM's credits.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "decode/received_primitives.h"
#include "encode/sent_primitives.h"
#include "sim/chip_stack.h"
#include "sim/sdp_data.h"
#include "transport/platform/message_codec.h"
#include "transport/wire_bytes.h"

namespace kestrel::sim {
namespace {

using namespace std::chrono_literals;

// A received primitive, rebuilt as Kestrel's receive side does.
struct Answer {
    const PrimitiveDef* row = nullptr;
    AttachedPrimitive primitive;

    std::string_view name() const { return row ? row->name : "?"; }
    uint32_t get(std::string_view field, unsigned index = 0) const {
        for (const FieldDef& f : row->fields)
            if (f.name == field) {
                const unsigned size = f.width == FieldWidth::u8 ? 1 : f.width == FieldWidth::u16 ? 2 : 4;
                const uint8_t* at = primitive.bytes.data() + f.offset + index * size;
                return size == 1 ? *at : size == 2 ? get_le16(at) : get_le32(at);
            }
        ADD_FAILURE() << "no field " << field << " in " << name();
        return 0;
    }
    std::vector<uint8_t> block(std::string_view field, unsigned index = 0) const {
        for (const FieldDef& f : row->fields)
            if (f.name == field) {
                const auto b = primitive.block_at(f.offset + 4 * index);
                return {b.begin(), b.end()};
            }
        return {};
    }
};

class Chip {
public:
    explicit Chip(std::shared_ptr<SimWorld> world = SimWorld::make()) : stack_(std::move(world)) {
        stack_.restart(Restart::power_on);
    }

    // Sends a host primitive: its row by name, fields by name.
    void send(std::string_view name, std::initializer_list<std::pair<std::string_view, uint32_t>> fields = {},
              std::vector<uint8_t> block = {}, std::string_view block_field = {}) {
        const PrimitiveDef* row = find_sent_by_name(name);
        ASSERT_NE(row, nullptr) << name;
        ChipPrimitive p(*row);
        for (const auto& [field, value] : fields) p.set(field, value);
        if (!block_field.empty()) p.block(block_field, std::move(block));
        stack_.receive(static_cast<uint8_t>(row->channel), p.encode(), [this](uint8_t channel, std::vector<uint8_t> bytes) {
            std::lock_guard lock(mutex_);
            got_.emplace_back(channel, std::move(bytes));
            arrived_.notify_all();
        });
    }

    // The next answer, within a guard time; an empty answer when none came.
    Answer next(std::chrono::milliseconds wait = 5000ms) {
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_for(lock, wait, [&] { return !got_.empty(); })) return {};
        auto [channel, bytes] = std::move(got_.front());
        got_.pop_front();
        Answer a;
        a.row = find_received_primitive(channel, get_le16(bytes.data()));
        if (a.row) a.primitive = *decode_stack_message(bytes, a.row->size, pointer_offsets(*a.row));
        return a;
    }

    // The next answer of that name, passing over others.
    Answer expect(std::string_view name) {
        for (;;) {
            Answer a = next();
            if (!a.row || a.name() == name) {
                EXPECT_EQ(a.name(), name);
                return a;
            }
        }
    }

    BdAddr address() const { return stack_.address(); }
    void restart() { stack_.restart(Restart::power_on); }

private:
    ChipStack stack_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::pair<uint8_t, std::vector<uint8_t>>> got_;
};

constexpr uint32_t kPeerLap = 0xFF0C67, kPeerUap = 0x5B, kPeerNap = 0x0002;

// Registered, scanning and with RFCOMM started: ready to be found and to
// run a multiplexer.
void start_for_rfcomm(Chip& chip) {
    chip.send("DM_AM_REGISTER_REQ", {{"phandle", 1}});
    chip.expect("DM_AM_REGISTER_CFM");
    chip.send("DM_HCI_WRITE_SCAN_ENABLE", {{"scan_enable", 3}});
    chip.expect("DM_HCI_WRITE_SCAN_ENABLE_COMPLETE");
    chip.send("RFC_INIT_REQ", {{"phandle", 6}});
    chip.expect("RFC_INIT_CFM");
}

TEST(ChipPrimitiveWriter, BuildsByFieldNameWithBlocksCountsAndNames) {
    ChipPrimitive p("L2CA_DATAREAD_IND");
    p.set("phandle", 7).set("cid", 0x41).block("data", {1, 2, 3});
    const PrimitiveDef* row = find_received_by_name("L2CA_DATAREAD_IND");
    auto back = decode_stack_message(p.encode(), row->size, pointer_offsets(*row));
    ASSERT_TRUE(back);
    EXPECT_EQ(get_le16(back->bytes.data() + 8), 3);  // length, from the block's count
    EXPECT_EQ(std::vector<uint8_t>(back->block_at(12).begin(), back->block_at(12).end()), (std::vector<uint8_t>{1, 2, 3}));

    // A name of 40 bytes: two parts of 32 and 9 (its NUL), the rest null.
    ChipPrimitive name("DM_HCI_READ_LOCAL_NAME_COMPLETE");
    name.name("name_part", std::string(40, 'x'));
    const PrimitiveDef* name_row = find_received_by_name("DM_HCI_READ_LOCAL_NAME_COMPLETE");
    auto parts = decode_stack_message(name.encode(), name_row->size, pointer_offsets(*name_row));
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->block_at(8).size(), 32u);
    EXPECT_EQ(parts->block_at(12).size(), 9u);
    EXPECT_TRUE(parts->block_at(16).empty());

    // An inquiry result's records: the count stands at the format's length_offset.
    ChipPrimitive inquiry("DM_HCI_INQUIRY_RESULT");
    inquiry.blocks("result", {std::vector<uint8_t>(20, 1), std::vector<uint8_t>(20, 2)});
    const auto bytes = inquiry.encode();
    EXPECT_EQ(bytes[4], 2);
}

TEST(HostPrimitiveReader, AByteBlockIsReadNoLongerThanItsCount) {
    // A script's data block may be longer than the length it gives; the
    // chip reads the length.
    ChipPrimitive write(*find_sent_by_name("RFC_DATA_REQ"));
    write.set("mux_id", 1).set("server_chan", 1).block("payload", {1, 2, 3, 4}).set("payload_length", 2);
    auto read = HostPrimitive::decode(kChannelRfcomm, write.encode());
    ASSERT_TRUE(read);
    EXPECT_EQ(std::vector<uint8_t>(read->block("payload").begin(), read->block("payload").end()),
              (std::vector<uint8_t>{1, 2}));
    write.set("payload_length", 0);
    read = HostPrimitive::decode(kChannelRfcomm, write.encode());
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->block("payload").empty());
    // A count larger than the block reads what the block holds.
    write.set("payload_length", 9);
    read = HostPrimitive::decode(kChannelRfcomm, write.encode());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->block("payload").size(), 4u);
}

// Every HCI command that has a complete in the received table gets it first,
// with the registered phandle, and a status of 0, or 0x02 when the command
// names a connection handle that is not open.
TEST(GenericHciRule, EveryHciCommandWithACompleteGetsIt) {
    int checked = 0;
    for (const PrimitiveDef& row : sent_primitives()) {
        if (row.family != PrimitiveFamily::dm_hci) continue;
        std::string answer = std::string(row.name) + "_COMPLETE";
        if (row.name == "DM_HCI_QOS_SETUP_REQ") answer = "DM_HCI_QOS_SETUP_CFM";
        if (row.name == "DM_HCI_CHANGE_LINK_KEY") answer = "DM_HCI_LINK_KEY_CHANGE_COMPLETE";
        if (row.name == "DM_HCI_READ_STORED_LINK_KEY") answer = "DM_HCI_READ_STORED_LINK_KEY_COMPLETE";
        if (row.name == "DM_HCI_INQUIRY") answer = "DM_HCI_INQUIRY_COMPLETE";
        if (!find_received_by_name(answer)) continue;
        Chip chip;
        chip.send("DM_AM_REGISTER_REQ", {{"phandle", 0x55}});
        ASSERT_EQ(chip.next().name(), "DM_AM_REGISTER_CFM");
        chip.send(row.name, {{"handle", 9}});
        const Answer a = chip.expect(answer);
        ASSERT_TRUE(a.row) << row.name;
        EXPECT_EQ(a.get("phandle"), 0x55u) << row.name;
        bool names_handle = false;
        for (const FieldDef& f : row.fields) names_handle |= f.name == "handle";
        bool has_status = false;
        for (const FieldDef& f : a.row->fields) has_status |= f.name == "status";
        // Cancelling an inquiry that does not run is disallowed (0x0C).
        const uint32_t status = names_handle ? 0x02 : row.name == "DM_HCI_INQUIRY_CANCEL" ? 0x0C : 0;
        if (has_status) {
            EXPECT_EQ(a.get("status"), status) << row.name;
        }
        ++checked;
    }
    EXPECT_GE(checked, 60);
}

TEST(GenericHciRule, WritesAreReadBackUnderTheirStem) {
    Chip chip;
    chip.send("DM_AM_REGISTER_REQ", {{"phandle", 1}});
    chip.next();
    chip.send("DM_HCI_WRITE_PAGE_TO", {{"page_timeout", 0x1234}});
    chip.expect("DM_HCI_WRITE_PAGE_TO_COMPLETE");
    chip.send("DM_HCI_READ_PAGE_TO");
    EXPECT_EQ(chip.expect("DM_HCI_READ_PAGE_TO_COMPLETE").get("page_timeout"), 0x1234u);
    chip.send("DM_HCI_WRITE_PAGESCAN_ACTIVITY", {{"pagescan_interval", 0x400}, {"pagescan_window", 0x20}});
    chip.expect("DM_HCI_WRITE_PAGESCAN_ACTIVITY_COMPLETE");
    chip.send("DM_HCI_READ_PAGESCAN_ACTIVITY");
    const Answer a = chip.expect("DM_HCI_READ_PAGESCAN_ACTIVITY_COMPLETE");
    EXPECT_EQ(a.get("pagescan_interval"), 0x400u);
    EXPECT_EQ(a.get("pagescan_window"), 0x20u);
    chip.send("DM_HCI_READ_BD_ADDR");
    EXPECT_EQ(chip.expect("DM_HCI_READ_BD_ADDR_COMPLETE").get("bd_addr.lap"), chip.address().lap);
    // A reset forgets what was written.
    chip.send("DM_HCI_RESET");
    chip.expect("DM_HCI_RESET_COMPLETE");
    chip.send("DM_HCI_READ_PAGE_TO");
    EXPECT_EQ(chip.expect("DM_HCI_READ_PAGE_TO_COMPLETE").get("page_timeout"), 0x2000u);
}

// Every RFCOMM data primitive the chip has finished with returns one credit:
// RFC_DATA_IND on mux and server channel 0xFF with the running total, also
// for one that went nowhere.
TEST(RfcommCredits, EachDataPrimitiveIsCreditedWithTheRunningTotal) {
    Chip chip;
    chip.send("RFC_DATA_REQ", {{"mux_id", 9}, {"server_chan", 1}}, {1}, "payload");
    Answer credit = chip.expect("RFC_DATA_IND");
    EXPECT_EQ(credit.get("mux_id"), 0xFFu);
    EXPECT_EQ(credit.get("server_chan"), 0xFFu);
    EXPECT_EQ(credit.get("credits"), 1u);

    chip.send("RFC_INIT_REQ", {{"phandle", 3}});
    chip.expect("RFC_INIT_CFM");
    chip.send("RFC_START_REQ", {{"bd_addr.lap", kPeerLap}, {"bd_addr.uap", kPeerUap}, {"bd_addr.nap", kPeerNap}});
    const uint32_t mux = chip.expect("RFC_START_CFM").get("mux_id");
    EXPECT_EQ(chip.expect("RFC_STARTCMP_IND").get("result_code"), 0u);
    chip.send("RFC_ESTABLISH_REQ", {{"mux_id", mux}, {"loc_server_chan", 2}, {"rem_server_chan", 1}});
    EXPECT_EQ(chip.expect("RFC_ESTABLISH_CFM").get("result_code"), 0u);
    // Without negotiation each side grants the other 7 credits: the eighth
    // frame waits, and so does its credit, until the peer's echoes grant
    // more; the peer's eighth echo waits until the host grants it credits.
    for (int n = 0; n < 10; ++n) chip.send("RFC_DATA_REQ", {{"mux_id", mux}, {"server_chan", 1}}, {uint8_t(n)}, "payload");
    uint32_t last_total = 1;
    int echoes = 0;
    bool granted = false;
    while (last_total < 12 || echoes < 10) {
        if (echoes == 7 && !granted) {
            granted = true;
            chip.send("RFC_DATA_REQ", {{"mux_id", mux}, {"server_chan", 1}, {"credits", 3}});
        }
        const Answer a = chip.expect("RFC_DATA_IND");
        if (!a.row) break;
        if (a.get("mux_id") == 0xFF) {
            EXPECT_EQ(a.get("credits"), last_total + 1);
            last_total = a.get("credits");
        } else {
            EXPECT_EQ(a.block("payload"), std::vector<uint8_t>{uint8_t(echoes)});
            ++echoes;
        }
    }
    EXPECT_EQ(last_total, 12u);  // and the one that granted credits
    EXPECT_EQ(echoes, 10);
}

// Two chips on one air: what one chip's host starts, the other's host is
// told of and answers.
TEST(TwoChips, RfcommScoAndAuthorisationReachTheOtherHost) {
    auto world = SimWorld::make();
    Chip a(world), b(world);
    for (Chip* chip : {&a, &b}) start_for_rfcomm(*chip);
    const BdAddr to_b = b.address();
    const std::initializer_list<std::pair<std::string_view, uint32_t>> b_addr = {
        {"bd_addr.lap", to_b.lap}, {"bd_addr.uap", to_b.uap}, {"bd_addr.nap", to_b.nap}};
    b.send("RFC_REGISTER_REQ", {{"phandle", 6}});
    EXPECT_EQ(b.expect("RFC_REGISTER_CFM").get("server_chan"), 1u);
    // B's host must authorise RFCOMM channel 1.
    b.send("DM_SM_REGISTER_REQ", {{"protocol_id", kProtocolRfcomm}, {"channel", 1}, {"security_level", 1}});

    a.send("RFC_START_REQ", b_addr);
    const uint32_t mux_a = a.expect("RFC_START_CFM").get("mux_id");
    EXPECT_EQ(b.expect("DM_ACL_CONNECT_IND").get("bd_addr.lap"), a.address().lap);
    const uint32_t mux_b = b.expect("RFC_START_IND").get("mux_id");
    b.send("RFC_START_RES", {{"mux_id", mux_b}, {"accept", 1}});
    EXPECT_EQ(b.expect("RFC_STARTCMP_IND").get("result_code"), 0u);
    EXPECT_EQ(a.expect("RFC_STARTCMP_IND").get("result_code"), 0u);

    a.send("RFC_PARNEG_REQ", {{"mux_id", mux_a}, {"loc_server_chan", 2}, {"rem_server_chan", 1},
                              {"dlc_pars.max_frame_size", 100}, {"dlc_pars.initial_credits", 1}});
    EXPECT_EQ(b.expect("RFC_PARNEG_IND").get("dlc_pars.initial_credits"), 1u);
    b.send("RFC_PARNEG_RES", {{"mux_id", mux_b}, {"server_chan", 1}, {"dlc_pars.max_frame_size", 100},
                              {"dlc_pars.initial_credits", 1}});
    EXPECT_EQ(a.expect("RFC_PARNEG_CFM").get("dlc_pars.initial_credits"), 1u);

    a.send("RFC_ESTABLISH_REQ", {{"mux_id", mux_a}, {"loc_server_chan", 2}, {"rem_server_chan", 1}});
    const Answer authorise = b.expect("DM_SM_AUTHORISE_IND");
    EXPECT_EQ(authorise.get("channel"), 1u);
    EXPECT_EQ(authorise.get("incoming"), 1u);
    b.send("DM_SM_AUTHORISE_RES", {{"bd_addr.lap", a.address().lap}, {"bd_addr.uap", a.address().uap},
                                   {"bd_addr.nap", a.address().nap}, {"protocol_id", kProtocolRfcomm}, {"channel", 1},
                                   {"authorised", 1}});
    b.expect("RFC_ESTABLISH_IND");
    b.send("RFC_ESTABLISH_RES", {{"mux_id", mux_b}, {"server_chan", 1}, {"accept", 1}});
    EXPECT_EQ(a.expect("RFC_ESTABLISH_CFM").get("result_code"), 0u);

    a.send("RFC_PORTNEG_REQ", {{"mux_id", mux_a}, {"rem_server_chan", 1}, {"port_pars.port_speed", 7}});
    EXPECT_EQ(b.expect("RFC_PORTNEG_IND").get("port_pars.port_speed"), 7u);
    b.send("RFC_PORTNEG_RES", {{"mux_id", mux_b}, {"server_chan", 1}, {"port_pars.port_speed", 6}});
    EXPECT_EQ(a.expect("RFC_PORTNEG_CFM").get("port_pars.port_speed"), 6u);
    a.send("RFC_LINESTATUS_REQ", {{"mux_id", mux_a}, {"server_chan", 1}, {"error_flag", 1}, {"line_status", 4}});
    EXPECT_EQ(b.expect("RFC_LINESTATUS_IND").get("line_status"), 4u);
    a.send("RFC_FCOFF_REQ", {{"mux_id", mux_a}});
    b.expect("RFC_FCOFF_IND");

    // B granted one credit: A's second frame waits until B's host grants one.
    a.send("RFC_DATA_REQ", {{"mux_id", mux_a}, {"server_chan", 1}}, {0x61}, "payload");
    a.send("RFC_DATA_REQ", {{"mux_id", mux_a}, {"server_chan", 1}}, {0x62}, "payload");
    EXPECT_EQ(b.expect("RFC_DATA_IND").block("payload"), std::vector<uint8_t>{0x61});
    b.send("RFC_DATA_REQ", {{"mux_id", mux_b}, {"server_chan", 1}, {"credits", 1}});
    EXPECT_EQ(b.expect("RFC_DATA_IND").get("mux_id"), 0xFFu);  // B's own host credit
    EXPECT_EQ(b.expect("RFC_DATA_IND").block("payload"), std::vector<uint8_t>{0x62});
    // A's host learns of B's grant: an indication on the data link with the
    // credits and no payload, between its own host credits for the frames.
    std::vector<uint32_t> host_credits;
    Answer grant;
    while ((grant = a.expect("RFC_DATA_IND")).row && grant.get("mux_id") == 0xFF) host_credits.push_back(grant.get("credits"));
    ASSERT_TRUE(grant.row);
    EXPECT_EQ(grant.get("mux_id"), mux_a);
    EXPECT_EQ(grant.get("server_chan"), 1u);
    EXPECT_EQ(grant.get("credits"), 1u);
    EXPECT_EQ(grant.get("payload_length"), 0u);
    EXPECT_EQ(host_credits, std::vector<uint32_t>{1});  // the first frame's; the second waited for the grant
    const Answer second = a.expect("RFC_DATA_IND");
    EXPECT_EQ(second.get("mux_id"), 0xFFu);
    EXPECT_EQ(second.get("credits"), 2u);

    a.send("RFC_RELEASE_REQ", {{"mux_id", mux_a}, {"server_chan", 1}});
    EXPECT_EQ(b.expect("RFC_RELEASE_IND").get("server_chan"), 1u);
    a.send("RFC_CLOSE_REQ", {{"mux_id", mux_a}});
    EXPECT_EQ(b.expect("RFC_CLOSE_IND").get("mux_id"), mux_b);

    // SCO: B's host is offered the link and accepts it.
    b.send("DM_SCO_INCOMING_REGISTER_REQ", {{"phandle", 4}, {"pv_cbarg", 0x99}});
    b.expect("DM_SCO_BUFFER_SIZE_IND");
    a.send("DM_SCO_CONNECT_REQ", {{"phandle", 4}, {"pv_cbarg", 0x77}, {"bd_addr.lap", to_b.lap}, {"bd_addr.uap", to_b.uap},
                                  {"bd_addr.nap", to_b.nap}});
    const Answer offered = b.expect("DM_SCO_CONNECT_IND");
    EXPECT_EQ(offered.get("pv_cbarg"), 0x99u);
    b.send("DM_SCO_CONNECT_RES", {{"handle", offered.get("handle")}, {"accept", 1}});
    const Answer sco = a.expect("DM_SCO_CONNECT_CFM");
    EXPECT_EQ(sco.get("status"), 0u);
    EXPECT_EQ(sco.get("pv_cbarg"), 0x77u);
    a.send("DM_SCO_DISCONNECT_REQ", {{"handle", sco.get("handle")}, {"reason", 0x13}});
    EXPECT_EQ(b.expect("DM_SCO_DISCONNECT_IND").get("reason"), 0x13u);
}

TEST(TwoChips, AChipThatRestartsDropsItsLinksAtTheOtherEnd) {
    auto world = SimWorld::make();
    Chip a(world), b(world);
    for (Chip* chip : {&a, &b}) start_for_rfcomm(*chip);
    const BdAddr to_b = b.address();
    a.send("RFC_START_REQ", {{"bd_addr.lap", to_b.lap}, {"bd_addr.uap", to_b.uap}, {"bd_addr.nap", to_b.nap}});
    a.expect("RFC_START_CFM");
    b.expect("DM_ACL_CONNECT_IND");
    const uint32_t mux_b = b.expect("RFC_START_IND").get("mux_id");
    b.send("RFC_START_RES", {{"mux_id", mux_b}, {"accept", 1}});
    a.expect("RFC_STARTCMP_IND");

    // A resets: B loses the link and the multiplexer on it, as it would
    // when a chip goes silent.
    a.restart();
    EXPECT_EQ(b.expect("RFC_CLOSE_IND").get("mux_id"), mux_b);
    EXPECT_EQ(b.expect("DM_ACL_DISCONNECT_IND").get("reason"), 0x08u);
    EXPECT_EQ(b.expect("DM_ACL_CLOSED_IND").get("bd_addr.lap"), a.address().lap);
}

TEST(SdpData, SearchesMatchUuidsAndAttributeListsCutRecords) {
    const sdp::Bytes record = sdp::serial_port_record(0x10000, 1);
    const sdp::Bytes records[] = {record};
    const sdp::Bytes search = {sdp::kSearch, 0x35, 0x03, 0x19, 0x11, 0x01, 0x00, 0x05};
    EXPECT_EQ(sdp::answer_request(records, search), (sdp::Bytes{sdp::kSearchResponse, 0, 1, 0, 1, 0, 0}));
    const sdp::Bytes miss = {sdp::kSearch, 0x35, 0x03, 0x19, 0x11, 0x05, 0x00, 0x05};
    EXPECT_EQ(sdp::answer_request(records, miss), (sdp::Bytes{sdp::kSearchResponse, 0, 0}));
    // Attribute 0x0100 alone: the service name.
    const sdp::Bytes name = {sdp::kAttribute, 0, 1, 0, 0, 0xFF, 0xFF, 0x35, 0x03, 0x09, 0x01, 0x00};
    const sdp::Bytes answer = sdp::answer_request(records, name);
    const sdp::Bytes expected = [] {
        sdp::Bytes out{sdp::kAttributeResponse};
        const sdp::Bytes list = sdp::sequence({sdp::uint16(0x0100), sdp::text("Serial Port")});
        out.insert(out.end(), list.begin(), list.end());
        return out;
    }();
    EXPECT_EQ(answer, expected);
    const sdp::Bytes unknown = {sdp::kAttribute, 0, 2, 0, 0, 0xFF, 0xFF, 0x35, 0x03, 0x09, 0x01, 0x00};
    EXPECT_EQ(sdp::answer_request(records, unknown), (sdp::Bytes{sdp::kError, 0, sdp::kInvalidHandle}));
}

}  // namespace
}  // namespace kestrel::sim
