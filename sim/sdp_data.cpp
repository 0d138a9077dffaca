#include "sim/sdp_data.h"

#include <algorithm>

namespace kestrel::sim::sdp {
namespace {

Bytes with_header(uint8_t type, uint8_t size_index, std::initializer_list<uint8_t> value) {
    Bytes out;
    out.reserve(1 + value.size());
    out.push_back(static_cast<uint8_t>(type << 3 | size_index));
    for (uint8_t b : value) out.push_back(b);
    return out;
}

uint32_t big_endian(std::span<const uint8_t> bytes) {
    uint32_t value = 0;
    for (uint8_t b : bytes) value = value << 8 | b;
    return value;
}

void collect_uuids(std::span<const uint8_t> data, std::vector<uint32_t>& out) {
    while (!data.empty()) {
        const auto element = parse(data);
        if (!element) return;
        if (element->type == 3) {
            if (auto uuid = uuid_value(*element)) out.push_back(*uuid);
        } else if (element->type == 6 || element->type == 7) {
            collect_uuids(element->value, out);
        }
        data = data.subspan(element->size);
    }
}

}  // namespace

Bytes uint8(uint8_t v) { return with_header(1, 0, {v}); }
Bytes uint16(uint16_t v) { return with_header(1, 1, {uint8_t(v >> 8), uint8_t(v)}); }
Bytes uint32(uint32_t v) { return with_header(1, 2, {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)}); }
Bytes uuid16(uint16_t v) { return with_header(3, 1, {uint8_t(v >> 8), uint8_t(v)}); }

Bytes text(std::string_view value) {
    Bytes out;
    out.reserve(2 + value.size());
    out.push_back(static_cast<uint8_t>(4 << 3 | 5));
    out.push_back(static_cast<uint8_t>(value.size()));
    for (char c : value) out.push_back(static_cast<uint8_t>(c));
    return out;
}

Bytes sequence(std::span<const Bytes> elements) {
    Bytes body;
    for (const Bytes& e : elements) body.insert(body.end(), e.begin(), e.end());
    Bytes out;
    if (body.size() < 256) {
        out = {static_cast<uint8_t>(6 << 3 | 5), static_cast<uint8_t>(body.size())};
    } else {
        out = {static_cast<uint8_t>(6 << 3 | 6), static_cast<uint8_t>(body.size() >> 8), static_cast<uint8_t>(body.size())};
    }
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

Bytes sequence(std::initializer_list<Bytes> elements) { return sequence(std::span<const Bytes>(elements.begin(), elements.size())); }

std::optional<Element> parse(std::span<const uint8_t> data) {
    if (data.empty()) return std::nullopt;
    const uint8_t type = data[0] >> 3, index = data[0] & 7;
    size_t header = 1, length = 0;
    if (type == 0) {
        length = 0;
    } else if (index <= 4) {
        length = size_t{1} << index;
    } else {
        const size_t count_bytes = size_t{1} << (index - 5);
        if (data.size() < 1 + count_bytes) return std::nullopt;
        length = big_endian(data.subspan(1, count_bytes));
        header += count_bytes;
    }
    if (data.size() < header + length) return std::nullopt;
    return Element{type, data.subspan(header, length), header + length};
}

std::vector<Element> elements(std::span<const uint8_t> value) {
    std::vector<Element> out;
    while (!value.empty()) {
        const auto element = parse(value);
        if (!element) break;
        out.push_back(*element);
        value = value.subspan(element->size);
    }
    return out;
}

std::optional<uint32_t> uuid_value(const Element& e) {
    if (e.type != 3) return std::nullopt;
    if (e.value.size() == 2 || e.value.size() == 4) return big_endian(e.value);
    if (e.value.size() == 16) return big_endian(e.value.subspan(0, 4));
    return std::nullopt;
}

bool record_matches(std::span<const uint8_t> record, std::span<const uint8_t> pattern) {
    std::vector<uint32_t> wanted, present;
    collect_uuids(pattern, wanted);
    collect_uuids(record, present);
    if (wanted.empty()) return false;
    for (uint32_t uuid : wanted)
        if (std::find(present.begin(), present.end(), uuid) == present.end()) return false;
    return true;
}

Bytes attributes(std::span<const uint8_t> record, std::span<const uint8_t> id_list) {
    std::vector<std::pair<uint32_t, uint32_t>> ranges;
    if (auto list = parse(id_list); list && list->type == 6)
        for (const Element& e : elements(list->value)) {
            if (e.type != 1) continue;
            const uint32_t v = big_endian(e.value);
            if (e.value.size() == 4)
                ranges.emplace_back(v >> 16, v & 0xFFFF);
            else
                ranges.emplace_back(v, v);
        }
    std::vector<Bytes> chosen;
    if (auto whole = parse(record); whole && whole->type == 6) {
        const std::vector<Element> items = elements(whole->value);
        for (size_t i = 0; i + 1 < items.size(); i += 2) {
            const uint32_t id = big_endian(items[i].value);
            for (const auto& [low, high] : ranges)
                if (id >= low && id <= high) {
                    const uint8_t* start = items[i].value.data() - (items[i].size - items[i].value.size());
                    chosen.emplace_back(start, start + items[i].size + items[i + 1].size);
                    break;
                }
        }
    }
    return sequence(chosen);
}

std::optional<uint32_t> record_handle(std::span<const uint8_t> record) {
    if (auto whole = parse(record); whole && whole->type == 6) {
        const std::vector<Element> items = elements(whole->value);
        for (size_t i = 0; i + 1 < items.size(); i += 2)
            if (big_endian(items[i].value) == 0 && items[i + 1].type == 1) return big_endian(items[i + 1].value);
    }
    return std::nullopt;
}

}  // namespace kestrel::sim::sdp

namespace kestrel::sim::sdp {

Bytes answer_request(std::span<const Bytes> records, std::span<const uint8_t> request) {
    auto error = [](uint16_t code) { return Bytes{kError, uint8_t(code >> 8), uint8_t(code)}; };
    if (request.empty()) return error(kInvalidSyntax);
    const uint8_t pdu = request[0];
    std::span<const uint8_t> rest = request.subspan(1);
    std::optional<Element> pattern;
    if (pdu == kSearch || pdu == kSearchAttribute) {
        pattern = parse(rest);
        if (!pattern || rest.size() < pattern->size + 2) return error(kInvalidSyntax);
        rest = rest.subspan(pattern->size);
    }
    const std::span<const uint8_t> whole_pattern = pattern ? request.subspan(1, pattern->size) : std::span<const uint8_t>{};
    switch (pdu) {
    case kSearch: {
        const uint16_t max = static_cast<uint16_t>(rest[0] << 8 | rest[1]);
        Bytes out{kSearchResponse, 0, 0};
        uint16_t count = 0;
        for (const Bytes& record : records)
            if (count < max && record_matches(record, whole_pattern))
                if (auto handle = record_handle(record)) {
                    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(*handle >> shift));
                    ++count;
                }
        out[1] = uint8_t(count >> 8);
        out[2] = uint8_t(count);
        return out;
    }
    case kAttribute: {
        if (rest.size() < 6) return error(kInvalidSyntax);
        const uint32_t handle = uint32_t(rest[0]) << 24 | uint32_t(rest[1]) << 16 | uint32_t(rest[2]) << 8 | rest[3];
        for (const Bytes& record : records)
            if (record_handle(record) == handle) {
                Bytes out{kAttributeResponse};
                const Bytes list = attributes(record, rest.subspan(6));
                out.insert(out.end(), list.begin(), list.end());
                return out;
            }
        return error(kInvalidHandle);
    }
    case kSearchAttribute: {
        std::vector<Bytes> lists;
        for (const Bytes& record : records)
            if (record_matches(record, whole_pattern)) lists.push_back(attributes(record, rest.subspan(2)));
        Bytes out{kSearchAttributeResponse};
        const Bytes all = sequence(lists);
        out.insert(out.end(), all.begin(), all.end());
        return out;
    }
    default: return error(kInvalidSyntax);
    }
}

Bytes serial_port_record(uint32_t handle, uint8_t channel) {
    return sequence({
        uint16(0x0000), uint32(handle),
        uint16(0x0001), sequence({uuid16(0x1101)}),
        uint16(0x0004), sequence({sequence({uuid16(0x0100)}), sequence({uuid16(0x0003), uint8(channel)})}),
        uint16(0x0100), text("Serial Port"),
    });
}

}  // namespace kestrel::sim::sdp
