#include "sim/primitive_builder.h"

#include <algorithm>

#include "sim/chip_options.h"
#include "sim/stack_primitive.h"

namespace kestrel::sim {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) return parts;
        start = end + 1;
    }
}

std::optional<std::vector<uint32_t>> numbers(const std::string& text, unsigned long max, std::string& error) {
    std::vector<uint32_t> values;
    if (text.empty()) return values;
    for (const std::string& word : split(text, ',')) {
        const auto value = parse_number(word, max);
        if (!value) {
            error = "Error, bad value '" + word + "'\n";
            return std::nullopt;
        }
        values.push_back(static_cast<uint32_t>(*value));
    }
    return values;
}

bool assign(ChipPrimitive& chip, const FieldDef& field, const std::string& value, std::string& error) {
    if (field.format == FieldFormat::name_parts) {
        chip.name(field.name, value);
        return true;
    }
    if (field.width == FieldWidth::ptr) {
        const std::vector<std::string> texts = field.count > 1 ? split(value, '/') : std::vector<std::string>{value};
        if (texts.size() > field.count) {
            error = "Error, " + std::string(field.name) + " holds at most " + std::to_string(field.count) + " blocks\n";
            return false;
        }
        std::vector<std::vector<uint8_t>> blocks;
        for (const std::string& text : texts) {
            const auto block = numbers(text, 0xFF, error);
            if (!block) return false;
            blocks.emplace_back(block->begin(), block->end());
        }
        if (field.count > 1)
            chip.blocks(field.name, blocks);
        else
            chip.block(field.name, std::move(blocks.front()));
        return true;
    }
    const unsigned long max = field.width == FieldWidth::u8 ? 0xFF : field.width == FieldWidth::u16 ? 0xFFFF : 0xFFFFFFFF;
    const auto values = numbers(value, max, error);
    if (!values) return false;
    if (values->size() > field.count) {
        error = "Error, " + std::string(field.name) + " holds at most " + std::to_string(field.count) + " values\n";
        return false;
    }
    for (size_t i = 0; i < values->size(); ++i) chip.set(field.name, (*values)[i], static_cast<unsigned>(i));
    return true;
}

}  // namespace

std::optional<std::vector<uint8_t>> build_message(const PrimitiveDef& row, std::span<const std::string> assignments,
                                                  std::string& error) {
    ChipPrimitive chip(row);
    for (const std::string& assignment : assignments) {
        const size_t equals = assignment.find('=');
        const std::string name = assignment.substr(0, equals);
        const auto field = std::find_if(row.fields.begin(), row.fields.end(),
                                        [&](const FieldDef& f) { return f.name == name; });
        if (equals == std::string::npos || field == row.fields.end()) {
            error = "Error, " + std::string(row.name) + " has no field '" + name + "' (FIELD=VALUE)\n";
            return std::nullopt;
        }
        if (!assign(chip, *field, assignment.substr(equals + 1), error)) return std::nullopt;
    }
    return chip.encode();
}

}  // namespace kestrel::sim
