#include "decode/pretty_printer.h"

#include <gtest/gtest.h>

#include <string>

#include "decode/field_text.h"
#include "decode/primitive_trace.h"
#include "decode/received_primitives.h"
#include "output_capture.h"
#include "shell/run_flags.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

const PrimitiveDef& received(uint32_t channel, uint16_t type) {
    const PrimitiveDef* row = find_received_primitive(channel, type);
    EXPECT_NE(row, nullptr);
    return *row;
}

AttachedPrimitive primitive_of(const PrimitiveDef& row) {
    AttachedPrimitive p;
    p.bytes.assign(row.size, 0);
    put_le16(p.bytes.data(), row.type);
    p.pointer_offsets = pointer_offsets(row);
    return p;
}

// Sent rows of the shape the send paths hand over: a data primitive and an
// ordinary one of the same family.
constexpr FieldDef kDataWriteFields[] = {
    {"cid", 2, FieldWidth::u16},
    {"length", 4, FieldWidth::u16},
    {"data", 8, FieldWidth::ptr, 1, FieldFormat::block, 4},
};
constexpr PrimitiveDef kDataWriteReq{"L2CA_DATAWRITE_REQ", 0x000B, kChannelL2cap, 12, kDataWriteFields,
                                     PrimitiveFamily::l2ca};
constexpr FieldDef kDisconnectFields[] = {{"cid", 2, FieldWidth::u16}};
constexpr PrimitiveDef kDisconnectReq{"L2CA_DISCONNECT_REQ", 0x0010, kChannelL2cap, 4, kDisconnectFields,
                                      PrimitiveFamily::l2ca};

DebugSwitches switches_with(std::initializer_list<DebugSwitch> on) {
    DebugSwitches s{};
    for (DebugSwitch i : on) s[i] = 1;
    return s;
}

TEST(PrettyPrinter, ShowsNameTypeAndEveryFieldInItsFormat) {
    AttachedPrimitive p = primitive_of(kDataWriteReq);
    put_le16(p.bytes.data() + 2, 0x41);
    put_le16(p.bytes.data() + 4, 3);
    put_le32(p.bytes.data() + 8, p.attach({1, 2, 0xff}));
    EXPECT_EQ(pretty_print_primitive(kDataWriteReq, p),
              "L2CA_DATAWRITE_REQ (L2CAP primitive 0x000b, 12 bytes)\n"
              "    cid = 0x41\n"
              "    length = 0x3\n"
              "    data = 0x01 0x02 0xff\n");

    const PrimitiveDef& name_row = received(kChannelDm, 0x0C4B);  // DM_HCI_READ_LOCAL_NAME_COMPLETE
    AttachedPrimitive name = primitive_of(name_row);
    put_le32(name.bytes.data() + 8, name.attach(std::vector<uint8_t>(32, 'a')));
    put_le32(name.bytes.data() + 16, name.attach({'b', 'c', 0, 'x'}));  // a missing part is skipped
    EXPECT_EQ(pretty_print_primitive(name_row, name),
              "DM_HCI_READ_LOCAL_NAME_COMPLETE (DM primitive 0x0c4b, 40 bytes)\n"
              "    phandle = 0x0\n"
              "    status = 0x0\n"
              "    name_part = " + std::string(32, 'a') + "bc\n");
}

TEST(PrettyPrinter, SentDataPrimitivesNeedTheOutgoingDataSwitch) {
    test::OutputCapture capture;
    AttachedPrimitive write = primitive_of(kDataWriteReq);
    AttachedPrimitive disconnect = primitive_of(kDisconnectReq);

    print_sent_primitive(switches_with({kOutL2cap}), kDataWriteReq, write);
    EXPECT_EQ(capture.take(), "");
    print_sent_primitive(switches_with({kOutL2cap}), kDisconnectReq, disconnect);
    EXPECT_EQ(capture.take(), "\nL2CA_DISCONNECT_REQ (L2CAP primitive 0x0010, 4 bytes)\n    cid = 0x0\n");
    print_sent_primitive(switches_with({kOutL2cap, kOutData}), kDataWriteReq, write);
    EXPECT_NE(capture.take().find("L2CA_DATAWRITE_REQ"), std::string::npos);
    // The incoming switches say nothing about what is sent.
    print_sent_primitive(switches_with({kInL2cap, kInData, kOutDm}), kDisconnectReq, disconnect);
    EXPECT_EQ(capture.take(), "");
}

TEST(PrettyPrinter, ReceivedDataPrimitivesNeedTheIncomingDataSwitch) {
    test::OutputCapture capture;
    LinkDebugSwitches link{};
    const PrimitiveDef& data_ind = received(kChannelRfcomm, 0x0019);
    const PrimitiveDef& close_ind = received(kChannelRfcomm, 0x000B);
    const AttachedPrimitive data = primitive_of(data_ind);
    const AttachedPrimitive close = primitive_of(close_ind);

    link[kInRfc] = 1;
    print_received_primitive(link, data_ind, data);
    EXPECT_EQ(capture.take(), "");
    print_received_primitive(link, close_ind, close);
    EXPECT_NE(capture.take().find("RFC_CLOSE_IND (RFCOMM primitive 0x000b, 6 bytes)"), std::string::npos);
    link[kInData] = 1;
    print_received_primitive(link, data_ind, data);
    EXPECT_NE(capture.take().find("RFC_DATA_IND"), std::string::npos);
    link[kInRfc] = 0;
    print_received_primitive(link, close_ind, close);
    EXPECT_EQ(capture.take(), "");
}

TEST(PrimitiveTrace, InlineArraysShowOneLinePerElement) {
    test::OutputCapture capture;
    set_run_flag(kRunDebugger);
    const PrimitiveDef& features = received(kChannelDm, 0x042A);  // DM_HCI_READ_REMOTE_FEATURES_COMPLETE
    AttachedPrimitive p = primitive_of(features);
    put_le16(p.bytes.data() + 22, 0xfffe);
    trace_primitive_fields(TraceDirection::in, features, p);
    g_run_flags = kRunFlagsInitial;
    const std::string text = capture.take();
    EXPECT_NE(text.find("=> prim->features[2]: 0 (0x0)\n=> prim->features[3]: 65534 (0xfffe)\n"), std::string::npos);
    EXPECT_EQ(text.rfind(std::string(45, '=') + "\n"), text.size() - 46);
}

TEST(FieldText, ARecordsBlocksAreBoundedByTheRecord) {
    // L2CA_PING_CFM: data at 4, size at 8. The size says 9 but only 4 bytes
    // lie behind the primitive; a pointer past the record is no block.
    const PrimitiveDef& ping = received(kChannelL2cap, 0x0015);
    std::vector<uint8_t> record(12 + 4, 0);
    put_le16(record.data(), 0x0015);
    put_le32(record.data() + 4, 12);
    put_le16(record.data() + 8, 9);
    record[12] = 0xde;
    const FieldDef& data = ping.fields[1];
    EXPECT_EQ(field_text(data, PrimitiveView::record(record.data(), static_cast<uint32_t>(record.size()))),
              "0xde 0x00 0x00 0x00");
    put_le32(record.data() + 4, 16);
    EXPECT_EQ(field_text(data, PrimitiveView::record(record.data(), static_cast<uint32_t>(record.size()))), "");
}

}  // namespace
}  // namespace kestrel
