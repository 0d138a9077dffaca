#include "shell/manual.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "output_capture.h"

namespace kestrel {
namespace {

class ManualTest : public ::testing::Test {
protected:
    void SetUp() override {
        Tcl_FindExecutable(nullptr);
        interp = Tcl_CreateInterp();
    }
    void TearDown() override { Tcl_DeleteInterp(interp); }

    // The elements of manual(name), or nothing when it is unset.
    std::vector<std::string> entry(const char* name) {
        const char* value = Tcl_GetVar2(interp, "manual", name, TCL_GLOBAL_ONLY);
        if (!value) return {};
        int count = 0;
        const char** elements = nullptr;
        EXPECT_EQ(Tcl_SplitList(interp, value, &count, &elements), TCL_OK);
        std::vector<std::string> out(elements, elements + count);
        Tcl_Free(reinterpret_cast<char*>(elements));
        return out;
    }

    Tcl_Interp* interp = nullptr;
};

TEST_F(ManualTest, BuiltinRowKeepsItsTextsUnsubstituted) {
    ManualRow row{"PT_wait", kManualBuiltinFlags,
                  "Internal command. Waits for a specified primitive and generates an\nerror if any other "
                  "primtive arrives before it. Multiple channels and\nprimitives can be waited for",
                  "prim_channel [prim_types...]", "prim_channel prim_type [prim_args...]", "None"};
    EXPECT_EQ(manual_row_script(row).substr(0, 44), "set manual(PT_wait) { \"PT_wait\" 0x44000000 \"");
    add_manual_row(interp, row);
    EXPECT_EQ(entry("PT_wait"), (std::vector<std::string>{"PT_wait", "0x44000000", row.help,
                                                          "prim_channel [prim_types...]",
                                                          "prim_channel prim_type [prim_args...]", "None"}));
}

TEST_F(ManualTest, NullExtraIsAnEmptyElement) {
    add_manual_row(interp, {"PT_x", kManualBuiltinFlags, "help", "args", "None", nullptr});
    auto elements = entry("PT_x");
    ASSERT_EQ(elements.size(), 6u);
    EXPECT_EQ(elements[5], "");
}

constexpr FieldDef kScoFields[] = {
    {"phandle", 2, FieldWidth::u16},    {"pv_cbarg", 4, FieldWidth::u32}, {"bd_addr.lap", 8, FieldWidth::u32},
    {"bd_addr.uap", 12, FieldWidth::u8}, {"bd_addr.nap", 14, FieldWidth::u16}, {"packet_type", 16, FieldWidth::u16},
};
constexpr FieldDef kPingFields[] = {{"phandle", 2, FieldWidth::u16}, {"data", 8, FieldWidth::ptr}};
constexpr PrimitiveDef kIssued[] = {{"DM_SCO_CONNECT_REQ", 0x3c04, 4, 20, kScoFields}};
constexpr PrimitiveDef kReceivable[] = {{"L2CA_PING_CFM", 0x0c, 5, 16, kPingFields},
                                        {"TCI_HCI_RESET_COMPLETE", 0x0e, 3, 6, {}}};

TEST_F(ManualTest, PrimitiveRowsRepeatTheResults) {
    add_primitive_manual_rows(interp, kIssued, PrimitiveRole::issued);
    add_primitive_manual_rows(interp, kReceivable, PrimitiveRole::receivable);
    EXPECT_EQ(entry("DM_SCO_CONNECT_REQ"),
              (std::vector<std::string>{"DM_SCO_CONNECT_REQ", "0x48000004",
                                        "Internal command. Issues a DM_SCO_CONNECT_REQ primtive to DM.",
                                        "phandle pv_cbarg bd_addr.lap bd_addr.uap bd_addr.nap packet_type ", "None",
                                        "None"}));
    EXPECT_EQ(entry("L2CA_PING_CFM"),
              (std::vector<std::string>{"L2CA_PING_CFM", "0x50000005",
                                        "Internal command. Waits for a L2CA_PING_CFM primtive from L2CAP.", "None",
                                        "phandle data ", "phandle data "}));
    EXPECT_EQ(entry("TCI_HCI_RESET_COMPLETE")[1], "0x50000003");
    EXPECT_EQ(entry("TCI_HCI_RESET_COMPLETE")[2],
              "Internal command. Waits for a TCI_HCI_RESET_COMPLETE primtive from TCI.");
}

TEST_F(ManualTest, ABrokenRowIsReportedAndTheNextStillBuilt) {
    test::OutputCapture capture;
    add_manual_row(interp, {"BROKEN", kManualBuiltinFlags, "an { unbalanced brace", "None", "None", "None"});
    add_manual_row(interp, {"FINE", kManualBuiltinFlags, "help", "None", "None", "None"});
    EXPECT_TRUE(entry("BROKEN").empty());
    EXPECT_EQ(entry("FINE").size(), 6u);
    EXPECT_NE(capture.take().find("missing close-brace"), std::string::npos);
}

}  // namespace
}  // namespace kestrel
