// The data primitives the throughput engines send and read, located by
// field name in the primitive tables once, so the engines never spell out
// an offset of their own.
#pragma once

#include <cstdint>
#include <span>

#include "decode/field_text.h"
#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel {

struct DataPrimitives {
    // L2CA_DATAWRITE_REQ, sent.
    const PrimitiveDef* write;
    const FieldDef *write_cid, *write_length, *write_data;
    // L2CA_DATAWRITE_CFM and L2CA_DATAREAD_IND, received.
    const PrimitiveDef* write_cfm;
    const FieldDef *cfm_cid, *cfm_result;
    const PrimitiveDef* read;
    const FieldDef *read_cid, *read_data;
    // RFC_DATA_REQ, sent.
    const PrimitiveDef* rfc_req;
    const FieldDef *req_mux_id, *req_server_chan, *req_credits, *req_payload_length, *req_payload;
    // RFC_DATA_IND, received.
    const PrimitiveDef* rfc_ind;
    const FieldDef *ind_mux_id, *ind_server_chan, *ind_credits, *ind_payload;
};

const DataPrimitives& data_primitives();

// A zeroed primitive of the row, its type set.
AttachedPrimitive new_primitive(const PrimitiveDef& row);
// Stores a number field.
void set_field(AttachedPrimitive& primitive, const FieldDef& field, uint32_t value);
// Reads a number field; 0 outside what the view holds.
uint32_t field_value(const PrimitiveView& view, const FieldDef& field);

}  // namespace kestrel
