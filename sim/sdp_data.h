// SDP data elements, as service records and the SDP client's searches carry
// them: a header byte (type in bits 7-3, size index in bits 2-0), then the
// value, big-endian. Enough of them to keep records, match search patterns
// and cut attribute lists.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kestrel::sim::sdp {

using Bytes = std::vector<uint8_t>;

Bytes uint8(uint8_t value);
Bytes uint16(uint16_t value);
Bytes uint32(uint32_t value);
Bytes uuid16(uint16_t value);
Bytes text(std::string_view value);
Bytes sequence(std::span<const Bytes> elements);
Bytes sequence(std::initializer_list<Bytes> elements);

// One element at the start of `data`: its header and length, and where the
// value lies. Nothing when the element runs past the data.
struct Element {
    uint8_t type;              // 1 uint, 2 int, 3 UUID, 4 text, 5 bool, 6 sequence, 7 alternative, 8 URL
    std::span<const uint8_t> value;
    size_t size;               // header and value
};
std::optional<Element> parse(std::span<const uint8_t> data);
// The elements of a sequence's value.
std::vector<Element> elements(std::span<const uint8_t> value);

// A UUID as a 32-bit number (16- and 32-bit UUIDs; 128-bit ones of the
// Bluetooth base give their short form).
std::optional<uint32_t> uuid_value(const Element& element);

// Whether every UUID of the pattern (a sequence of UUIDs) is in the record.
bool record_matches(std::span<const uint8_t> record, std::span<const uint8_t> pattern);
// The record's attributes whose ids the list (a sequence of 16-bit ids and
// 32-bit ranges) names, as one sequence of id and value pairs.
Bytes attributes(std::span<const uint8_t> record, std::span<const uint8_t> id_list);
// The record's ServiceRecordHandle (attribute 0), if it has one.
std::optional<uint32_t> record_handle(std::span<const uint8_t> record);

}  // namespace kestrel::sim::sdp

namespace kestrel::sim::sdp {

// The PDUs that SDP clients and servers exchange on the air: a PDU id, then
// the parameters. Requests: 0x02 search (pattern, max records u16), 0x04
// attributes (handle u32, max bytes u16, id list), 0x06 search attributes
// (pattern, max bytes u16, id list). Responses: 0x03 (count u16, handles
// u32...), 0x05 (an attribute list), 0x07 (a sequence of attribute lists),
// 0x01 error (code u16).
enum Pdu : uint8_t {
    kError = 0x01, kSearch = 0x02, kSearchResponse = 0x03, kAttribute = 0x04, kAttributeResponse = 0x05,
    kSearchAttribute = 0x06, kSearchAttributeResponse = 0x07,
};
inline constexpr uint16_t kInvalidHandle = 0x0002;
inline constexpr uint16_t kInvalidSyntax = 0x0003;

// A server's answer to a request, from its records.
Bytes answer_request(std::span<const Bytes> records, std::span<const uint8_t> request);

// The serial port record that the remote peer offers: RFCOMM server
// channel `channel`, handle `handle`.
Bytes serial_port_record(uint32_t handle, uint8_t channel);

}  // namespace kestrel::sim::sdp
