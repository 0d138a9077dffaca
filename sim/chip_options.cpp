#include "sim/chip_options.h"

#include <charconv>
#include <cmath>

namespace kestrel::sim {
namespace {

constexpr std::string_view kKeys = "protocol, ps, rate, latency, drop, corrupt, seed, stack";

}  // namespace

std::optional<unsigned long> parse_number(std::string_view text, unsigned long max) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    unsigned long value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || failure != std::errc() || end != text.data() + text.size() || value > max)
        return std::nullopt;
    return value;
}

std::optional<double> parse_rate(std::string_view text) {
    double value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || failure != std::errc() || end != text.data() + text.size() || !std::isfinite(value) ||
        value < 0 || value > 1)
        return std::nullopt;
    return value;
}

bool apply_chip_option(ChipConfig& config, std::string_view key, std::string_view value, std::string& error) {
    auto bad = [&](std::string_view expected) {
        error = "bad value '" + std::string(value) + "' for simulator option " + std::string(key) + " (" +
                std::string(expected) + ")";
        return false;
    };
    LinkConditions& c = config.conditions;
    if (key == "protocol") {
        if (value == "ptsp") {
            config.protocol = LinkProtocol::ptsp;
        } else if (value == "h4") {
            config.protocol = LinkProtocol::h4;
        } else if (value == "auto") {
            config.protocol.reset();
        } else {
            return bad("ptsp, h4 or auto");
        }
    } else if (key == "ps") {
        if (value.empty()) return bad("a file name");
        config.ps_path = value;
    } else if (key == "rate") {
        const auto n = parse_number(value, 100'000'000);
        if (!n) return bad("bits a second, 0 for unlimited");
        c.baud = static_cast<unsigned>(*n);
    } else if (key == "latency") {
        const auto n = parse_number(value, 60'000);
        if (!n) return bad("milliseconds, up to 60000");
        c.latency_ms = static_cast<unsigned>(*n);
    } else if (key == "drop" || key == "corrupt") {
        const auto r = parse_rate(value);
        if (!r) return bad("a share from 0 to 1");
        (key == "drop" ? c.drop_rate : c.corrupt_rate) = *r;
    } else if (key == "stack") {
        if (value != "on" && value != "off") return bad("on or off");
        config.stack = value == "on";
    } else if (key == "seed") {
        const auto n = parse_number(value, 0xFFFFFFFF);
        if (!n) return bad("a number");
        c.seed = static_cast<uint32_t>(*n);
    } else {
        error = "unknown simulator option '" + std::string(key) + "' (" + std::string(kKeys) + ")";
        return false;
    }
    return true;
}

bool apply_chip_options(ChipConfig& config, std::string_view list, std::string& error) {
    while (!list.empty()) {
        const size_t comma = list.find(',');
        const std::string_view item = list.substr(0, comma);
        list = comma == std::string_view::npos ? std::string_view{} : list.substr(comma + 1);
        const size_t equals = item.find('=');
        if (equals == std::string_view::npos) {
            error = "expected KEY=VALUE, not '" + std::string(item) + "'";
            return false;
        }
        if (!apply_chip_option(config, item.substr(0, equals), item.substr(equals + 1), error)) return false;
    }
    return true;
}

}  // namespace kestrel::sim
