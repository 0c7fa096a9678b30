#include "panel/texts.h"
#include "support/sim_form.h"

#include <gtest/gtest.h>

#include <map>

namespace sim::test {
namespace {

// Every visible control as the form was designed: kind, holder, place in the tab order,
// Left,Top,Width,Height in twips, caption or content, design state and font. Written out here, so that
// the model is compared with the form and not with itself.
struct Row {
    const char* name;
    Kind kind;
    const char* holder;
    int tab;
    Geometry at;
    const char* caption; // what the control shows: its caption, or the text of a box
    const char* state;   // "-", or words such as "disabled, selected"
    Font font;
};

constexpr Row kForm[] = {
    // clang-format off
    {"fraBack",               Kind::Frame,        "form",    31, {30, -90, 10905, 5445},   "",                                  "-",                            Font::Regular},
    {"List1",                 Kind::ListBox,      "form",    66, {45, 5490, 10860, 4620},  "",                                  "-",                            Font::List},
    {"Frame4",                Kind::Frame,        "form",    79, {45, 10125, 10860, 510},  "",                                  "-",                            Font::Regular},
    {"Label11",               Kind::Label,        "Frame4",  80, {135, 225, 1785, 225},    "www.tarnix.example",                "-",                            Font::Regular},
    {"chkMode",               Kind::CheckBox,     "fraBack", 14, {300, 1890, 1785, 195},   "Program Mode",                      "-",                            Font::Bold},
    {"Frame8",                Kind::Frame,        "fraBack", 32, {0, 4200, 10905, 1230},   " [ Data Input ] ",                  "-",                            Font::Bold},
    {"Frame7",                Kind::Frame,        "fraBack", 35, {0, 3150, 10905, 1035},   " [ Log Level ] ",                   "-",                            Font::Bold},
    {"Frame2",                Kind::Frame,        "fraBack", 37, {0, 780, 10905, 1095},    "[ Action ]",                        "-",                            Font::Bold},
    {"Frame1",                Kind::Frame,        "fraBack", 43, {0, 90, 10905, 675},      " [ Tarnix ] ",                      "-",                            Font::Bold},
    {"Frame10",               Kind::Frame,        "fraBack", 50, {0, 1890, 10905, 1245},   "[                         ]",       "disabled",                     Font::Bold},
    {"txtStep(0)",            Kind::TextBox,      "Frame10", 15, {750, 480, 1965, 270},    "",                                  "-",                            Font::Regular},
    {"txtTimeGap(0)",         Kind::ComboBox,     "Frame10", 16, {1020, 780, 1245, 345},   "",                                  "-",                            Font::Regular},
    {"txtStep(1)",            Kind::TextBox,      "Frame10", 17, {3420, 480, 1965, 270},   "",                                  "-",                            Font::Regular},
    {"txtTimeGap(1)",         Kind::ComboBox,     "Frame10", 18, {3720, 780, 1215, 345},   "",                                  "-",                            Font::Regular},
    {"txtStep(2)",            Kind::TextBox,      "Frame10", 19, {6120, 480, 1965, 270},   "",                                  "-",                            Font::Regular},
    {"txtTimeGap(2)",         Kind::ComboBox,     "Frame10", 20, {6390, 780, 1245, 345},   "",                                  "-",                            Font::Regular},
    {"txtStep(3)",            Kind::TextBox,      "Frame10", 21, {8820, 480, 1965, 270},   "",                                  "-",                            Font::Regular},
    {"cmdSendStart",          Kind::Button,       "Frame10", 22, {8820, 810, 1995, 375},   "Start",                             "-",                            Font::Regular},
    {"Label12(0)",            Kind::Label,        "Frame10", 51, {120, 540, 525, 225},     "1 Step",                            "-",                            Font::Regular},
    {"Label12(1)",            Kind::Label,        "Frame10", 52, {2820, 540, 525, 225},    "2 Step",                            "-",                            Font::Regular},
    {"Label12(2)",            Kind::Label,        "Frame10", 53, {5490, 540, 525, 225},    "3 Step",                            "-",                            Font::Regular},
    {"Label12(3)",            Kind::Label,        "Frame10", 54, {8190, 540, 525, 225},    "4 Step",                            "-",                            Font::Regular},
    {"Label12(4)",            Kind::Label,        "Frame10", 55, {120, 840, 810, 225},     "Time Gap",                          "-",                            Font::Regular},
    {"Label12(5)",            Kind::Label,        "Frame10", 56, {2820, 840, 810, 225},    "Time Gap",                          "-",                            Font::Regular},
    {"Label12(6)",            Kind::Label,        "Frame10", 57, {5490, 840, 810, 225},    "Time Gap",                          "-",                            Font::Regular},
    {"Label13(0)",            Kind::Label,        "Frame10", 58, {2235, 300, 435, 225},    "bytes",                             "-",                            Font::Regular},
    {"lvlcnt_Byte(0)",        Kind::Label,        "Frame10", 59, {1995, 300, 105, 225},    "0",                                 "right aligned",                Font::Regular},
    {"Label13(1)",            Kind::Label,        "Frame10", 60, {4905, 300, 435, 225},    "bytes",                             "-",                            Font::Regular},
    {"lvlcnt_Byte(1)",        Kind::Label,        "Frame10", 61, {4665, 300, 105, 225},    "0",                                 "right aligned",                Font::Regular},
    {"Label13(2)",            Kind::Label,        "Frame10", 62, {7605, 300, 435, 225},    "bytes",                             "-",                            Font::Regular},
    {"lvlcnt_Byte(2)",        Kind::Label,        "Frame10", 63, {7365, 300, 105, 225},    "0",                                 "right aligned",                Font::Regular},
    {"Label13(3)",            Kind::Label,        "Frame10", 64, {10305, 300, 435, 225},   "bytes",                             "-",                            Font::Regular},
    {"lvlcnt_Byte(3)",        Kind::Label,        "Frame10", 65, {10065, 300, 105, 225},   "0",                                 "right aligned",                Font::Regular},
    {"Label14(1)",            Kind::Label,        "Frame10", 67, {4950, 870, 390, 225},    "(ms)",                              "-",                            Font::Regular},
    {"Label14(2)",            Kind::Label,        "Frame10", 68, {7650, 870, 390, 225},    "(ms)",                              "-",                            Font::Regular},
    {"Label14(0)",            Kind::Label,        "Frame10", 70, {2070, 870, 60, 180},     "",                                  "-",                            Font::FormDefault},
    {"Label14(3)",            Kind::Label,        "Frame10", 71, {2280, 885, 390, 225},    "(ms)",                              "-",                            Font::Regular},
    {"txt_Destination_IP(0)", Kind::TextBox,      "Frame1",  0,  {2340, 233, 465, 285},    "",                                  "-",                            Font::Regular},
    {"txt_Destination_Port",  Kind::TextBox,      "Frame1",  1,  {4860, 240, 645, 270},    "",                                  "-",                            Font::Regular},
    {"txt_Simulator_IP",      Kind::TextBox,      "Frame1",  2,  {7620, 240, 1515, 270},   "",                                  "0xC0C0C0, read-only",          Font::Regular},
    {"txt_Port",              Kind::TextBox,      "Frame1",  3,  {9990, 240, 825, 270},    "",                                  "-",                            Font::Regular},
    {"opt_Client",            Kind::OptionButton, "Frame1",  44, {5610, 248, 795, 255},    "Client",                            "-",                            Font::Regular},
    {"opt_Server",            Kind::OptionButton, "Frame1",  45, {180, 248, 855, 255},     "Server",                            "selected",                     Font::Regular},
    {"Label4",                Kind::Label,        "Frame1",  46, {4185, 285, 615, 225},    "Port No",                           "-",                            Font::Regular},
    {"Label3",                Kind::Label,        "Frame1",  47, {1095, 285, 1155, 225},   "Destination IP",                    "-",                            Font::Regular},
    {"Label2",                Kind::Label,        "Frame1",  48, {9300, 285, 615, 225},    "Port No",                           "-",                            Font::Regular},
    {"Label1",                Kind::Label,        "Frame1",  49, {6510, 285, 1005, 225},   "Simulator IP",                      "-",                            Font::Regular},
    {"txt_Destination_IP(1)", Kind::TextBox,      "Frame1",  76, {2790, 233, 465, 285},    "",                                  "-",                            Font::Regular},
    {"txt_Destination_IP(2)", Kind::TextBox,      "Frame1",  77, {3240, 233, 465, 285},    "",                                  "-",                            Font::Regular},
    {"txt_Destination_IP(3)", Kind::TextBox,      "Frame1",  78, {3690, 233, 465, 285},    "",                                  "-",                            Font::Regular},
    {"Frame6",                Kind::Frame,        "Frame2",  38, {7350, 120, 3435, 885},   "",                                  "borderless",                   Font::Regular},
    {"Frame5",                Kind::Frame,        "Frame2",  41, {1260, 120, 5985, 765},   "",                                  "borderless",                   Font::Regular},
    {"Frame3",                Kind::Frame,        "Frame2",  42, {150, 210, 915, 705},     "",                                  "borderless",                   Font::Regular},
    {"opt_Ascii",             Kind::OptionButton, "Frame3",  4,  {60, 120, 765, 255},      "ASCII",                             "selected",                     Font::Regular},
    {"opt_HexA",              Kind::OptionButton, "Frame3",  5,  {60, 450, 825, 255},      "HexA",                              "-",                            Font::Regular},
    {"opt_Receive_Only",      Kind::OptionButton, "Frame5",  6,  {210, 180, 1635, 255},    "Receive Only",                      "-",                            Font::Regular},
    {"opt_Send_Only",         Kind::OptionButton, "Frame5",  7,  {210, 540, 2625, 255},    "Send Input Data && Receive",        "-",                            Font::Regular},
    {"opt_Send_recv",         Kind::OptionButton, "Frame5",  8,  {2865, 180, 2820, 285},   "Receive && Send Receive Data",      "selected",                     Font::Regular},
    {"opt_Send_input",        Kind::OptionButton, "Frame5",  9,  {2865, 510, 2700, 315},   "Receive && Send Input Data",        "-",                            Font::Regular},
    {"opt_Repeat",            Kind::OptionButton, "Frame6",  10, {60, 180, 1155, 285},     "Repeat",                            "disabled, selected",           Font::Regular},
    {"opt_OneTime",           Kind::OptionButton, "Frame6",  11, {60, 540, 1125, 255},     "OneTime",                           "disabled",                     Font::Regular},
    {"com_Timegap",           Kind::ComboBox,     "Frame6",  12, {2130, 180, 825, 345},    "",                                  "disabled, button face",        Font::Regular},
    {"com_Count",             Kind::ComboBox,     "Frame6",  13, {2130, 540, 1335, 345},   "",                                  "disabled, button face",        Font::Regular},
    {"Label6",                Kind::Label,        "Frame6",  39, {1320, 600, 495, 225},    "Count",                             "-",                            Font::Regular},
    {"Label5",                Kind::Label,        "Frame6",  40, {1290, 240, 780, 225},    "Time gap",                          "-",                            Font::Regular},
    {"Label15",               Kind::Label,        "Frame6",  69, {3210, 240, 285, 225},    "",                                  "-",                            Font::FormDefault},
    {"Label16",               Kind::Label,        "Frame6",  72, {2970, 270, 420, 225},    "(sec)",                             "-",                            Font::Regular},
    {"opt_None",              Kind::OptionButton, "Frame7",  23, {180, 270, 1035, 285},    "None",                              "-",                            Font::Regular},
    {"opt_List",              Kind::OptionButton, "Frame7",  24, {1200, 270, 795, 285},    "List",                              "selected",                     Font::Regular},
    {"opt_File",              Kind::OptionButton, "Frame7",  25, {2070, 270, 915, 285},    "File",                              "-",                            Font::Regular},
    {"Opt_List_File",         Kind::OptionButton, "Frame7",  26, {3000, 270, 1275, 255},   "List + File",                       "-",                            Font::Regular},
    {"txt_Logfile",           Kind::TextBox,      "Frame7",  27, {840, 570, 9450, 285},    "",                                  "disabled",                     Font::Regular},
    {"cmd_browser",           Kind::Button,       "Frame7",  28, {10380, 570, 375, 285},   "...",                               "disabled",                     Font::Regular},
    {"Label7",                Kind::Label,        "Frame7",  36, {210, 630, 555, 225},     "Logfile",                           "disabled",                     Font::Regular},
    {"txt_Data_Input",        Kind::TextBox,      "Frame8",  29, {180, 345, 8910, 270},    "",                                  "-",                            Font::Regular},
    {"Cmd_Send",              Kind::Button,       "Frame8",  30, {4800, 720, 1545, 375},   "Send OneTime",                      "-",                            Font::Regular},
    {"Label10",               Kind::Label,        "Frame8",  33, {8610, 135, 435, 225},    "bytes",                             "-",                            Font::Regular},
    {"Label9",                Kind::Label,        "Frame8",  34, {8370, 135, 105, 225},    "0",                                 "right aligned",                Font::Regular},
    {"Cmd_Start",             Kind::Button,       "Frame8",  73, {3120, 720, 1545, 375},   "Send Repeatly",                     "-",                            Font::Regular},
    {"cmd_End",               Kind::Button,       "Frame8",  74, {6480, 720, 1065, 375},   "Close",                             "-",                            Font::Regular},
    {"cmd_Log",               Kind::Button,       "Frame8",  75, {9240, 240, 1545, 375},   "Log Clear",                         "-",                            Font::Regular},
    {"cmd_CSend",             Kind::Button,       "Frame8",  81, {7680, 720, 3015, 375},   "Connect && Send && Recv && Close",  "disabled",                     Font::FormDefault},
    {"Opt_Cnn1",              Kind::OptionButton, "Frame8",  82, {120, 720, 1215, 375},    "Connect",                           "selected",                     Font::FormDefault},
    {"Opt_Cnn2",              Kind::OptionButton, "Frame8",  83, {1320, 720, 1815, 375},   "Connect && Close",                  "-",                            Font::FormDefault},
    // clang-format on
};

// What a control shows at design: the text of a box, or its caption.
QString shownText(const Control& c) {
    if (const auto* box = dynamic_cast<const TextBox*>(&c)) {
        return box->text();
    }
    if (const auto* combo = dynamic_cast<const ComboBox*>(&c)) {
        return combo->text();
    }
    if (const auto* captioned = dynamic_cast<const Captioned*>(&c)) {
        return captioned->caption();
    }
    return QString::fromLatin1(c.design().caption); // frames, options and the check box
}

QStringList numbers(int from, int to, int step) {
    QStringList out;
    for (int n = from; n <= to; n += step) {
        out << QString::number(n);
    }
    return out;
}

TEST(ControlTable, EveryVisibleControlIsTheDesignedOne) {
    SimForm f(false); // before Form_Load
    std::map<QString, const Control*> model;
    for (const Control* c : f.p.controls()) {
        if (c->kind() != Kind::Timer && c->kind() != Kind::SaveDialog) {
            EXPECT_TRUE(model.emplace(c->name(), c).second) << "twice: " << c->name().toStdString();
        }
    }
    EXPECT_EQ(model.size(), std::size(kForm)) << "the model has controls the form does not";
    for (const Row& row : kForm) {
        SCOPED_TRACE(row.name);
        const auto found = model.find(QString::fromLatin1(row.name));
        ASSERT_NE(found, model.end());
        const Control& c = *found->second;
        const auto has = [&](const char* word) {
            return std::string_view(row.state).find(word) != std::string_view::npos;
        };
        EXPECT_EQ(c.kind(), row.kind);
        EXPECT_EQ(c.holder() == nullptr ? QStringLiteral("form") : c.holder()->name(),
                  QLatin1String(row.holder));
        EXPECT_EQ(c.design().tab, row.tab);
        const Geometry& at = c.design().geometry;
        EXPECT_EQ(std::vector<int>({at.left, at.top, at.width, at.height}),
                  std::vector<int>({row.at.left, row.at.top, row.at.width, row.at.height}));
        EXPECT_EQ(shownText(c), QString::fromLatin1(row.caption));
        EXPECT_EQ(c.design().font, row.font);
        EXPECT_EQ(c.enabled(), !has("disabled"));
        if (c.kind() == Kind::OptionButton) {
            EXPECT_EQ(static_cast<const OptionButton&>(c).value(), has("selected"));
        }
        EXPECT_EQ((c.design().flags & kRightAligned) != 0, has("right aligned"));
        EXPECT_EQ((c.design().flags & kBorderless) != 0, has("borderless"));
        // Colours as the form stores them; the top bit marks a system colour, 5 the window's, 15 a button's.
        const unsigned back = has("0xC0C0C0") ? 0xC0C0C0U : has("button face") ? 0x8000000FU : 0x80000005U;
        if (const auto* box = dynamic_cast<const TextBox*>(&c)) {
            EXPECT_EQ(box->readOnly(), has("read-only"));
            EXPECT_EQ(box->backColor(), back);
        } else if (const auto* combo = dynamic_cast<const ComboBox*>(&c)) {
            EXPECT_EQ(combo->backColor(), back);
        }
    }
}

TEST(ControlTable, TheFormItsTimersAndTheCombosFixedEntriesAreTheDesignedOnes) {
    SimForm f(false);
    EXPECT_STREQ(texts::kFormCaption, "Tarnix Simulator Ver3.5.1 (2011/06/08)");
    EXPECT_EQ(f.p.frmSimulator.width(), 10965);
    EXPECT_EQ(f.p.frmSimulator.height(), 10635);
    QStringList timers; // name, interval and " on" for the one enabled at design
    for (const Timer* t : {&f.p.client_status, &f.p.TmrConnect, &f.p.Timer1, &f.p.Timer2}) {
        timers << QStringLiteral("%1 %2%3").arg(t->name()).arg(t->interval()).arg(t->enabled() ? " on" : "");
    }
    EXPECT_EQ(timers.join(", "), "client_status 1000, TmrConnect 0 on, Timer1 5000, Timer2 0");
    EXPECT_EQ(f.p.com_Timegap.entries(), numbers(1, 15, 1));
    EXPECT_EQ(f.p.com_Count.entries(), QStringList{QStringLiteral("Endless")} + numbers(1, 50, 1));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(f.p.txtTimeGap(i).entries(), numbers(100, 900, 100) + numbers(1000, 30000, 1000)) << i;
    }
}

} // namespace
} // namespace sim::test
