#include "shell/manual.h"

#include <string_view>

#include "shell/interpreter.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

std::string field_list(const PrimitiveDef& primitive) {
    std::string list;
    for (const FieldDef& field : primitive.fields) {
        list += field.name;
        list += ' ';
    }
    return list;
}

}  // namespace

std::string manual_row_script(const ManualRow& row) {
    char flags[16];
    std::snprintf(flags, sizeof flags, "0x%08lx", static_cast<unsigned long>(row.flags));
    std::string script = "set manual(";
    script += row.name;
    script += ") { \"";
    script += row.name;
    script += "\" ";
    script += flags;
    for (const char* text : {row.help, row.arguments, row.results, row.extra}) {
        script += " \"";
        if (text) script += text;
        script += '"';
    }
    script += " }";
    return script;
}

void add_manual_row(Tcl_Interp* interp, const ManualRow& row) {
    evaluate_and_report(interp, manual_row_script(row).c_str());
}

void add_primitive_manual_rows(Tcl_Interp* interp, std::span<const PrimitiveDef> table, PrimitiveRole role) {
    std::string help, fields;
    for (const PrimitiveDef& primitive : table) {
        const std::string_view family = channel_family_name(primitive.channel);
        fields = field_list(primitive);
        ManualRow row{};
        const std::string name(primitive.name);
        row.name = name.c_str();
        if (role == PrimitiveRole::issued) {
            help = "Internal command. Issues a " + name + " primtive to " + std::string(family) + ".";
            row.flags = kManualInternal | kManualIssues | primitive.channel;
            row.arguments = fields.c_str();
            row.results = "None";
        } else {
            help = "Internal command. Waits for a " + name + " primtive from " + std::string(family) + ".";
            row.flags = kManualInternal | kManualReceivable | primitive.channel;
            row.arguments = "None";
            row.results = fields.c_str();
        }
        row.help = help.c_str();
        row.extra = row.results;
        add_manual_row(interp, row);
    }
}

}  // namespace kestrel
