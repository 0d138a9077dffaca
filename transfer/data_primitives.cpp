#include "transfer/data_primitives.h"

#include <cstdio>
#include <cstdlib>

#include "decode/received_primitives.h"
#include "encode/sent_primitives.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

const PrimitiveDef* row(const PrimitiveDef* found, const char* name) {
    if (!found) {
        std::fprintf(stderr, "Internal error: no %s in the primitive tables\n", name);
        std::abort();
    }
    return found;
}

const FieldDef* field(const PrimitiveDef* row, const char* name) {
    const FieldDef* found = find_field(*row, name);
    if (!found) {
        std::fprintf(stderr, "Internal error: %.*s has no field %s\n", static_cast<int>(row->name.size()),
                     row->name.data(), name);
        std::abort();
    }
    return found;
}

DataPrimitives locate() {
    DataPrimitives d{};
    d.write = row(find_sent_primitive(kChannelL2cap, 0x000B), "L2CA_DATAWRITE_REQ");
    d.write_cid = field(d.write, "cid");
    d.write_length = field(d.write, "length");
    d.write_data = field(d.write, "data");
    d.write_cfm = row(find_received_primitive(kChannelL2cap, 0x000C), "L2CA_DATAWRITE_CFM");
    d.cfm_cid = field(d.write_cfm, "cid");
    d.cfm_result = field(d.write_cfm, "result");
    d.read = row(find_received_primitive(kChannelL2cap, 0x000D), "L2CA_DATAREAD_IND");
    d.read_cid = field(d.read, "cid");
    d.read_data = field(d.read, "data");
    d.rfc_req = row(find_sent_primitive(kChannelRfcomm, 0x0018), "RFC_DATA_REQ");
    d.req_mux_id = field(d.rfc_req, "mux_id");
    d.req_server_chan = field(d.rfc_req, "server_chan");
    d.req_credits = field(d.rfc_req, "credits");
    d.req_payload_length = field(d.rfc_req, "payload_length");
    d.req_payload = field(d.rfc_req, "payload");
    d.rfc_ind = row(find_received_primitive(kChannelRfcomm, 0x0019), "RFC_DATA_IND");
    d.ind_mux_id = field(d.rfc_ind, "mux_id");
    d.ind_server_chan = field(d.rfc_ind, "server_chan");
    d.ind_credits = field(d.rfc_ind, "credits");
    d.ind_payload = field(d.rfc_ind, "payload");
    return d;
}

}  // namespace

const DataPrimitives& data_primitives() {
    static const DataPrimitives located = locate();
    return located;
}

AttachedPrimitive new_primitive(const PrimitiveDef& row) {
    AttachedPrimitive primitive;
    primitive.bytes.assign(row.size, 0);
    put_le16(primitive.bytes.data(), row.type);
    primitive.pointer_offsets = pointer_offsets(row);
    return primitive;
}

void set_field(AttachedPrimitive& primitive, const FieldDef& field, uint32_t value) {
    uint8_t* at = primitive.bytes.data() + field.offset;
    switch (field.width) {
    case FieldWidth::u8: *at = static_cast<uint8_t>(value); break;
    case FieldWidth::u16: put_le16(at, static_cast<uint16_t>(value)); break;
    default: put_le32(at, value); break;
    }
}

uint32_t field_value(const PrimitiveView& view, const FieldDef& field) {
    return view.scalar(field.width, field.offset);
}

}  // namespace kestrel
