#include "panel/texts.h"
#include "support/sim_form.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace sim::test {
namespace {

// The panel's control table as the form was designed: every visible control with its
// kind, holder, place in the tab order, Left,Top,Width,Height in twips, caption or content at design,
// and design state. Written out here, so that the model is compared with the form and not with itself.
struct Row {
    const char* name;
    const char* kind;
    const char* holder;
    int tab;
    Geometry geometry;
    const char* caption; // a quoted caption, or "none", "empty", the combo boxes' "list, ..." or the maker's
    const char* state;   // "-" or a list such as "disabled, selected"
};

constexpr Row kForm[] = {
    {"fraBack", "frame", "form", 31, {30, -90, 10905, 5445}, "none", "-"},
    {"List1", "list box", "form", 66, {45, 5490, 10860, 4620}, "empty", "-"},
    {"Frame4", "frame", "form", 79, {45, 10125, 10860, 510}, "none", "-"},
    {"Label11", "label", "Frame4", 80, {135, 225, 1785, 225}, "the maker's web address", "-"},
    {"chkMode", "check box", "fraBack", 14, {300, 1890, 1785, 195}, "\"Program Mode\"", "-"},
    {"Frame8", "frame", "fraBack", 32, {0, 4200, 10905, 1230}, "\" [ Data Input ] \"", "-"},
    {"Frame7", "frame", "fraBack", 35, {0, 3150, 10905, 1035}, "\" [ Log Level ] \"", "-"},
    {"Frame2", "frame", "fraBack", 37, {0, 780, 10905, 1095}, "\"[ Action ]\"", "-"},
    {"Frame1", "frame", "fraBack", 43, {0, 90, 10905, 675}, "\" [ Tarnix ] \"", "-"},
    {"Frame10",
     "frame",
     "fraBack",
     50,
     {0, 1890, 10905, 1245},
     "\"[                         ]\"",
     "disabled"},
    {"txtStep(0)", "text box", "Frame10", 15, {750, 480, 1965, 270}, "empty", "-"},
    {"txtTimeGap(0)", "combo box", "Frame10", 16, {1020, 780, 1245, 345}, "list, see below; text empty", "-"},
    {"txtStep(1)", "text box", "Frame10", 17, {3420, 480, 1965, 270}, "empty", "-"},
    {"txtTimeGap(1)", "combo box", "Frame10", 18, {3720, 780, 1215, 345}, "list, see below; text empty", "-"},
    {"txtStep(2)", "text box", "Frame10", 19, {6120, 480, 1965, 270}, "empty", "-"},
    {"txtTimeGap(2)", "combo box", "Frame10", 20, {6390, 780, 1245, 345}, "list, see below; text empty", "-"},
    {"txtStep(3)", "text box", "Frame10", 21, {8820, 480, 1965, 270}, "empty", "-"},
    {"cmdSendStart", "button", "Frame10", 22, {8820, 810, 1995, 375}, "\"Start\"", "-"},
    {"Label12(0)", "label", "Frame10", 51, {120, 540, 525, 225}, "\"1 Step\"", "-"},
    {"Label12(1)", "label", "Frame10", 52, {2820, 540, 525, 225}, "\"2 Step\"", "-"},
    {"Label12(2)", "label", "Frame10", 53, {5490, 540, 525, 225}, "\"3 Step\"", "-"},
    {"Label12(3)", "label", "Frame10", 54, {8190, 540, 525, 225}, "\"4 Step\"", "-"},
    {"Label12(4)", "label", "Frame10", 55, {120, 840, 810, 225}, "\"Time Gap\"", "-"},
    {"Label12(5)", "label", "Frame10", 56, {2820, 840, 810, 225}, "\"Time Gap\"", "-"},
    {"Label12(6)", "label", "Frame10", 57, {5490, 840, 810, 225}, "\"Time Gap\"", "-"},
    {"Label13(0)", "label", "Frame10", 58, {2235, 300, 435, 225}, "\"bytes\"", "-"},
    {"lvlcnt_Byte(0)", "label", "Frame10", 59, {1995, 300, 105, 225}, "\"0\"", "right aligned"},
    {"Label13(1)", "label", "Frame10", 60, {4905, 300, 435, 225}, "\"bytes\"", "-"},
    {"lvlcnt_Byte(1)", "label", "Frame10", 61, {4665, 300, 105, 225}, "\"0\"", "right aligned"},
    {"Label13(2)", "label", "Frame10", 62, {7605, 300, 435, 225}, "\"bytes\"", "-"},
    {"lvlcnt_Byte(2)", "label", "Frame10", 63, {7365, 300, 105, 225}, "\"0\"", "right aligned"},
    {"Label13(3)", "label", "Frame10", 64, {10305, 300, 435, 225}, "\"bytes\"", "-"},
    {"lvlcnt_Byte(3)", "label", "Frame10", 65, {10065, 300, 105, 225}, "\"0\"", "right aligned"},
    {"Label14(1)", "label", "Frame10", 67, {4950, 870, 390, 225}, "\"(ms)\"", "-"},
    {"Label14(2)", "label", "Frame10", 68, {7650, 870, 390, 225}, "\"(ms)\"", "-"},
    {"Label14(0)", "label", "Frame10", 70, {2070, 870, 60, 180}, "none", "-"},
    {"Label14(3)", "label", "Frame10", 71, {2280, 885, 390, 225}, "\"(ms)\"", "-"},
    {"txt_Destination_IP(0)", "text box", "Frame1", 0, {2340, 233, 465, 285}, "empty", "-"},
    {"txt_Destination_Port", "text box", "Frame1", 1, {4860, 240, 645, 270}, "empty", "-"},
    {"txt_Simulator_IP",
     "text box",
     "Frame1",
     2,
     {7620, 240, 1515, 270},
     "empty",
     "back colour 0xC0C0C0, read-only"},
    {"txt_Port", "text box", "Frame1", 3, {9990, 240, 825, 270}, "empty", "-"},
    {"opt_Client", "option button", "Frame1", 44, {5610, 248, 795, 255}, "\"Client\"", "-"},
    {"opt_Server", "option button", "Frame1", 45, {180, 248, 855, 255}, "\"Server\"", "selected"},
    {"Label4", "label", "Frame1", 46, {4185, 285, 615, 225}, "\"Port No\"", "-"},
    {"Label3", "label", "Frame1", 47, {1095, 285, 1155, 225}, "\"Destination IP\"", "-"},
    {"Label2", "label", "Frame1", 48, {9300, 285, 615, 225}, "\"Port No\"", "-"},
    {"Label1", "label", "Frame1", 49, {6510, 285, 1005, 225}, "\"Simulator IP\"", "-"},
    {"txt_Destination_IP(1)", "text box", "Frame1", 76, {2790, 233, 465, 285}, "empty", "-"},
    {"txt_Destination_IP(2)", "text box", "Frame1", 77, {3240, 233, 465, 285}, "empty", "-"},
    {"txt_Destination_IP(3)", "text box", "Frame1", 78, {3690, 233, 465, 285}, "empty", "-"},
    {"Frame6", "frame", "Frame2", 38, {7350, 120, 3435, 885}, "none", "-"},
    {"Frame5", "frame", "Frame2", 41, {1260, 120, 5985, 765}, "none", "-"},
    {"Frame3", "frame", "Frame2", 42, {150, 210, 915, 705}, "none", "-"},
    {"opt_Ascii", "option button", "Frame3", 4, {60, 120, 765, 255}, "\"ASCII\"", "selected"},
    {"opt_HexA", "option button", "Frame3", 5, {60, 450, 825, 255}, "\"HexA\"", "-"},
    {"opt_Receive_Only", "option button", "Frame5", 6, {210, 180, 1635, 255}, "\"Receive Only\"", "-"},
    {"opt_Send_Only",
     "option button",
     "Frame5",
     7,
     {210, 540, 2625, 255},
     "\"Send Input Data && Receive\"",
     "-"},
    {"opt_Send_recv",
     "option button",
     "Frame5",
     8,
     {2865, 180, 2820, 285},
     "\"Receive && Send Receive Data\"",
     "selected"},
    {"opt_Send_input",
     "option button",
     "Frame5",
     9,
     {2865, 510, 2700, 315},
     "\"Receive && Send Input Data\"",
     "-"},
    {"opt_Repeat", "option button", "Frame6", 10, {60, 180, 1155, 285}, "\"Repeat\"", "disabled, selected"},
    {"opt_OneTime", "option button", "Frame6", 11, {60, 540, 1125, 255}, "\"OneTime\"", "disabled"},
    {"com_Timegap",
     "combo box",
     "Frame6",
     12,
     {2130, 180, 825, 345},
     "list, see below; text empty",
     "disabled, back colour system button face"},
    {"com_Count",
     "combo box",
     "Frame6",
     13,
     {2130, 540, 1335, 345},
     "list, see below; text empty",
     "disabled, back colour system button face"},
    {"Label6", "label", "Frame6", 39, {1320, 600, 495, 225}, "\"Count\"", "-"},
    {"Label5", "label", "Frame6", 40, {1290, 240, 780, 225}, "\"Time gap\"", "-"},
    {"Label15", "label", "Frame6", 69, {3210, 240, 285, 225}, "none", "-"},
    {"Label16", "label", "Frame6", 72, {2970, 270, 420, 225}, "\"(sec)\"", "-"},
    {"opt_None", "option button", "Frame7", 23, {180, 270, 1035, 285}, "\"None\"", "-"},
    {"opt_List", "option button", "Frame7", 24, {1200, 270, 795, 285}, "\"List\"", "selected"},
    {"opt_File", "option button", "Frame7", 25, {2070, 270, 915, 285}, "\"File\"", "-"},
    {"Opt_List_File", "option button", "Frame7", 26, {3000, 270, 1275, 255}, "\"List + File\"", "-"},
    {"txt_Logfile", "text box", "Frame7", 27, {840, 570, 9450, 285}, "empty", "disabled"},
    {"cmd_browser", "button", "Frame7", 28, {10380, 570, 375, 285}, "\"...\"", "disabled"},
    {"Label7", "label", "Frame7", 36, {210, 630, 555, 225}, "\"Logfile\"", "disabled"},
    {"txt_Data_Input", "text box", "Frame8", 29, {180, 345, 8910, 270}, "empty", "-"},
    {"Cmd_Send", "button", "Frame8", 30, {4800, 720, 1545, 375}, "\"Send OneTime\"", "-"},
    {"Label10", "label", "Frame8", 33, {8610, 135, 435, 225}, "\"bytes\"", "-"},
    {"Label9", "label", "Frame8", 34, {8370, 135, 105, 225}, "\"0\"", "right aligned"},
    {"Cmd_Start", "button", "Frame8", 73, {3120, 720, 1545, 375}, "\"Send Repeatly\"", "-"},
    {"cmd_End", "button", "Frame8", 74, {6480, 720, 1065, 375}, "\"Close\"", "-"},
    {"cmd_Log", "button", "Frame8", 75, {9240, 240, 1545, 375}, "\"Log Clear\"", "-"},
    {"cmd_CSend",
     "button",
     "Frame8",
     81,
     {7680, 720, 3015, 375},
     "\"Connect && Send && Recv && Close\"",
     "disabled"},
    {"Opt_Cnn1", "option button", "Frame8", 82, {120, 720, 1215, 375}, "\"Connect\"", "selected"},
    {"Opt_Cnn2", "option button", "Frame8", 83, {1320, 720, 1815, 375}, "\"Connect && Close\"", "-"},
};

Kind kindNamed(const std::string& kind) {
    static const std::map<std::string, Kind> kinds = {
        {"frame", Kind::Frame},        {"label", Kind::Label},
        {"text box", Kind::TextBox},   {"option button", Kind::OptionButton},
        {"check box", Kind::CheckBox}, {"button", Kind::Button},
        {"combo box", Kind::ComboBox}, {"list box", Kind::ListBox}};
    return kinds.at(kind);
}

// What a control shows at design: its caption, or the text of a box.
QString shownText(const Control& c) {
    switch (c.kind()) {
    case Kind::Frame:
        return static_cast<const Frame&>(c).caption();
    case Kind::Label:
    case Kind::Button:
        return static_cast<const Captioned&>(c).caption();
    case Kind::OptionButton:
        return static_cast<const OptionButton&>(c).caption();
    case Kind::CheckBox:
        return static_cast<const CheckBox&>(c).caption();
    case Kind::TextBox:
        return static_cast<const TextBox&>(c).text();
    case Kind::ComboBox:
        return static_cast<const ComboBox&>(c).text();
    default:
        return {};
    }
}

bool has(const char* state, const char* word) {
    return std::string(state).find(word) != std::string::npos;
}

unsigned backColour(const Control& c) {
    if (c.kind() == Kind::TextBox) {
        return static_cast<const TextBox&>(c).backColor();
    }
    return c.kind() == Kind::ComboBox ? static_cast<const ComboBox&>(c).backColor() : 0;
}

TEST(ControlTable, EveryVisibleControlIsTheFormsInKindHolderTabPlaceCaptionAndDesignState) {
    SimForm f(false); // the design state: before Form_Load
    std::map<QString, const Control*> model;
    for (const Control* c : f.p.controls()) {
        if (c->kind() != Kind::Timer && c->kind() != Kind::SaveDialog) {
            model[c->name()] = c;
        }
    }
    EXPECT_EQ(model.size(), std::size(kForm)) << "the model has controls the form does not";
    const unsigned plainText = backColour(f.p.txt_Data_Input);
    const unsigned plainCombo = backColour(f.p.txtTimeGap(0));
    for (const Row& row : kForm) {
        SCOPED_TRACE(row.name);
        const auto found = model.find(QString::fromLatin1(row.name));
        ASSERT_NE(found, model.end());
        const Control& c = *found->second;
        EXPECT_EQ(c.kind(), kindNamed(row.kind));
        EXPECT_EQ(c.holder() == nullptr ? QStringLiteral("form") : c.holder()->name(),
                  QLatin1String(row.holder));
        EXPECT_EQ(c.design().tab, row.tab);
        EXPECT_EQ(c.design().geometry.left, row.geometry.left);
        EXPECT_EQ(c.design().geometry.top, row.geometry.top);
        EXPECT_EQ(c.design().geometry.width, row.geometry.width);
        EXPECT_EQ(c.design().geometry.height, row.geometry.height);

        const std::string caption(row.caption);
        if (caption.front() == '"') {
            EXPECT_EQ(shownText(c), QString::fromLatin1(caption.substr(1, caption.size() - 2)));
        } else if (caption == "the maker's web address") {
            EXPECT_EQ(shownText(c), QLatin1String(texts::kMakerAddress));
        } else {
            EXPECT_EQ(shownText(c), QString()) << caption;
        }

        EXPECT_EQ(c.enabled(), !has(row.state, "disabled"));
        if (c.kind() == Kind::OptionButton) {
            EXPECT_EQ(static_cast<const OptionButton&>(c).value(), has(row.state, "selected"));
        }
        EXPECT_EQ((c.design().flags & kRightAligned) != 0, has(row.state, "right aligned"));
        if (c.kind() == Kind::TextBox) {
            EXPECT_EQ(static_cast<const TextBox&>(c).readOnly(), has(row.state, "read-only"));
            EXPECT_EQ(backColour(c), has(row.state, "0xC0C0C0") ? 0xC0C0C0 : plainText);
        }
        if (c.kind() == Kind::ComboBox) {
            EXPECT_EQ(c.design().back == 0x8000000FU, has(row.state, "system button face"));
            EXPECT_EQ(backColour(c) == plainCombo, !has(row.state, "system button face"));
        }
    }
}

TEST(ControlTable, TheFormHasItsCaptionAndClientArea) {
    EXPECT_STREQ(texts::kFormCaption, "Tarnix Simulator Ver3.5.1 (2011/06/08)");
    SimForm f(false);
    EXPECT_EQ(f.p.frmSimulator.width(), 10965);
    EXPECT_EQ(f.p.frmSimulator.height(), 10635);
    EXPECT_EQ(f.p.Frame10.caption(), QLatin1Char('[') + QString(25, QLatin1Char(' ')) + QLatin1Char(']'));
}

} // namespace
} // namespace sim::test
