#include "panel/control_table.h"

#include "panel/texts.h"

#include <array>

namespace sim {
namespace {

using colour::kButtonFace;
using colour::kGrey;
using colour::kWindow;
using texts::kMakerAddress;

constexpr std::array<ControlDesign, 91> kTable = {{
    // clang-format off
    // name, index, kind, holder, tab, {left, top, width, height}, caption, flags, back, font, entries, interval
    {"fraBack",              -1, Kind::Frame,        "form",    31, {30, -90, 10905, 5445},  "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"List1",                -1, Kind::ListBox,      "form",    66, {45, 5490, 10860, 4620}, "",                                 0,                     kWindow,     Font::List,        Entries::None},
    {"Frame4",               -1, Kind::Frame,        "form",    79, {45, 10125, 10860, 510}, "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label11",              -1, Kind::Label,        "Frame4",  80, {135, 225, 1785, 225},   kMakerAddress,                      0,                     kWindow,     Font::Regular,     Entries::None},
    {"chkMode",              -1, Kind::CheckBox,     "fraBack", 14, {300, 1890, 1785, 195},  "Program Mode",                     0,                     kWindow,     Font::Bold,        Entries::None},
    {"Frame8",               -1, Kind::Frame,        "fraBack", 32, {0, 4200, 10905, 1230},  " [ Data Input ] ",                 0,                     kWindow,     Font::Bold,        Entries::None},
    {"Frame7",               -1, Kind::Frame,        "fraBack", 35, {0, 3150, 10905, 1035},  " [ Log Level ] ",                  0,                     kWindow,     Font::Bold,        Entries::None},
    {"Frame2",               -1, Kind::Frame,        "fraBack", 37, {0, 780, 10905, 1095},   "[ Action ]",                       0,                     kWindow,     Font::Bold,        Entries::None},
    {"Frame1",               -1, Kind::Frame,        "fraBack", 43, {0, 90, 10905, 675},     " [ Tarnix ] ",                     0,                     kWindow,     Font::Bold,        Entries::None},
    {"Frame10",              -1, Kind::Frame,        "fraBack", 50, {0, 1890, 10905, 1245},  "[                         ]",      kDisabled,             kWindow,     Font::Bold,        Entries::None},
    {"txtStep",              0,  Kind::TextBox,      "Frame10", 15, {750, 480, 1965, 270},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txtTimeGap",           0,  Kind::ComboBox,     "Frame10", 16, {1020, 780, 1245, 345},  "",                                 0,                     kWindow,     Font::Regular,     Entries::Milliseconds},
    {"txtStep",              1,  Kind::TextBox,      "Frame10", 17, {3420, 480, 1965, 270},  "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txtTimeGap",           1,  Kind::ComboBox,     "Frame10", 18, {3720, 780, 1215, 345},  "",                                 0,                     kWindow,     Font::Regular,     Entries::Milliseconds},
    {"txtStep",              2,  Kind::TextBox,      "Frame10", 19, {6120, 480, 1965, 270},  "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txtTimeGap",           2,  Kind::ComboBox,     "Frame10", 20, {6390, 780, 1245, 345},  "",                                 0,                     kWindow,     Font::Regular,     Entries::Milliseconds},
    {"txtStep",              3,  Kind::TextBox,      "Frame10", 21, {8820, 480, 1965, 270},  "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"cmdSendStart",         -1, Kind::Button,       "Frame10", 22, {8820, 810, 1995, 375},  "Start",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              0,  Kind::Label,        "Frame10", 51, {120, 540, 525, 225},    "1 Step",                           0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              1,  Kind::Label,        "Frame10", 52, {2820, 540, 525, 225},   "2 Step",                           0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              2,  Kind::Label,        "Frame10", 53, {5490, 540, 525, 225},   "3 Step",                           0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              3,  Kind::Label,        "Frame10", 54, {8190, 540, 525, 225},   "4 Step",                           0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              4,  Kind::Label,        "Frame10", 55, {120, 840, 810, 225},    "Time Gap",                         0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              5,  Kind::Label,        "Frame10", 56, {2820, 840, 810, 225},   "Time Gap",                         0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label12",              6,  Kind::Label,        "Frame10", 57, {5490, 840, 810, 225},   "Time Gap",                         0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label13",              0,  Kind::Label,        "Frame10", 58, {2235, 300, 435, 225},   "bytes",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"lvlcnt_Byte",          0,  Kind::Label,        "Frame10", 59, {1995, 300, 105, 225},   "0",                                kRightAligned,         kWindow,     Font::Regular,     Entries::None},
    {"Label13",              1,  Kind::Label,        "Frame10", 60, {4905, 300, 435, 225},   "bytes",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"lvlcnt_Byte",          1,  Kind::Label,        "Frame10", 61, {4665, 300, 105, 225},   "0",                                kRightAligned,         kWindow,     Font::Regular,     Entries::None},
    {"Label13",              2,  Kind::Label,        "Frame10", 62, {7605, 300, 435, 225},   "bytes",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"lvlcnt_Byte",          2,  Kind::Label,        "Frame10", 63, {7365, 300, 105, 225},   "0",                                kRightAligned,         kWindow,     Font::Regular,     Entries::None},
    {"Label13",              3,  Kind::Label,        "Frame10", 64, {10305, 300, 435, 225},  "bytes",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"lvlcnt_Byte",          3,  Kind::Label,        "Frame10", 65, {10065, 300, 105, 225},  "0",                                kRightAligned,         kWindow,     Font::Regular,     Entries::None},
    {"Label14",              1,  Kind::Label,        "Frame10", 67, {4950, 870, 390, 225},   "(ms)",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label14",              2,  Kind::Label,        "Frame10", 68, {7650, 870, 390, 225},   "(ms)",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label14",              0,  Kind::Label,        "Frame10", 70, {2070, 870, 60, 180},    "",                                 0,                     kWindow,     Font::FormDefault, Entries::None},
    {"Label14",              3,  Kind::Label,        "Frame10", 71, {2280, 885, 390, 225},   "(ms)",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Destination_IP",   0,  Kind::TextBox,      "Frame1",  0,  {2340, 233, 465, 285},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Destination_Port", -1, Kind::TextBox,      "Frame1",  1,  {4860, 240, 645, 270},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Simulator_IP",     -1, Kind::TextBox,      "Frame1",  2,  {7620, 240, 1515, 270},  "",                                 kReadOnly,             kGrey,       Font::Regular,     Entries::None},
    {"txt_Port",             -1, Kind::TextBox,      "Frame1",  3,  {9990, 240, 825, 270},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Client",           -1, Kind::OptionButton, "Frame1",  44, {5610, 248, 795, 255},   "Client",                           0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Server",           -1, Kind::OptionButton, "Frame1",  45, {180, 248, 855, 255},    "Server",                           kSelected,             kWindow,     Font::Regular,     Entries::None},
    {"Label4",               -1, Kind::Label,        "Frame1",  46, {4185, 285, 615, 225},   "Port No",                          0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label3",               -1, Kind::Label,        "Frame1",  47, {1095, 285, 1155, 225},  "Destination IP",                   0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label2",               -1, Kind::Label,        "Frame1",  48, {9300, 285, 615, 225},   "Port No",                          0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label1",               -1, Kind::Label,        "Frame1",  49, {6510, 285, 1005, 225},  "Simulator IP",                     0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Destination_IP",   1,  Kind::TextBox,      "Frame1",  76, {2790, 233, 465, 285},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Destination_IP",   2,  Kind::TextBox,      "Frame1",  77, {3240, 233, 465, 285},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Destination_IP",   3,  Kind::TextBox,      "Frame1",  78, {3690, 233, 465, 285},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"Frame6",               -1, Kind::Frame,        "Frame2",  38, {7350, 120, 3435, 885},  "",                                 kBorderless,           kWindow,     Font::Regular,     Entries::None},
    {"Frame5",               -1, Kind::Frame,        "Frame2",  41, {1260, 120, 5985, 765},  "",                                 kBorderless,           kWindow,     Font::Regular,     Entries::None},
    {"Frame3",               -1, Kind::Frame,        "Frame2",  42, {150, 210, 915, 705},    "",                                 kBorderless,           kWindow,     Font::Regular,     Entries::None},
    {"opt_Ascii",            -1, Kind::OptionButton, "Frame3",  4,  {60, 120, 765, 255},     "ASCII",                            kSelected,             kWindow,     Font::Regular,     Entries::None},
    {"opt_HexA",             -1, Kind::OptionButton, "Frame3",  5,  {60, 450, 825, 255},     "HexA",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Receive_Only",     -1, Kind::OptionButton, "Frame5",  6,  {210, 180, 1635, 255},   "Receive Only",                     0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Send_Only",        -1, Kind::OptionButton, "Frame5",  7,  {210, 540, 2625, 255},   "Send Input Data && Receive",       0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Send_recv",        -1, Kind::OptionButton, "Frame5",  8,  {2865, 180, 2820, 285},  "Receive && Send Receive Data",     kSelected,             kWindow,     Font::Regular,     Entries::None},
    {"opt_Send_input",       -1, Kind::OptionButton, "Frame5",  9,  {2865, 510, 2700, 315},  "Receive && Send Input Data",       0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_Repeat",           -1, Kind::OptionButton, "Frame6",  10, {60, 180, 1155, 285},    "Repeat",                           kDisabled | kSelected, kWindow,     Font::Regular,     Entries::None},
    {"opt_OneTime",          -1, Kind::OptionButton, "Frame6",  11, {60, 540, 1125, 255},    "OneTime",                          kDisabled,             kWindow,     Font::Regular,     Entries::None},
    {"com_Timegap",          -1, Kind::ComboBox,     "Frame6",  12, {2130, 180, 825, 345},   "",                                 kDisabled,             kButtonFace, Font::Regular,     Entries::Seconds},
    {"com_Count",            -1, Kind::ComboBox,     "Frame6",  13, {2130, 540, 1335, 345},  "",                                 kDisabled,             kButtonFace, Font::Regular,     Entries::Count},
    {"Label6",               -1, Kind::Label,        "Frame6",  39, {1320, 600, 495, 225},   "Count",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label5",               -1, Kind::Label,        "Frame6",  40, {1290, 240, 780, 225},   "Time gap",                         0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label15",              -1, Kind::Label,        "Frame6",  69, {3210, 240, 285, 225},   "",                                 0,                     kWindow,     Font::FormDefault, Entries::None},
    {"Label16",              -1, Kind::Label,        "Frame6",  72, {2970, 270, 420, 225},   "(sec)",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_None",             -1, Kind::OptionButton, "Frame7",  23, {180, 270, 1035, 285},   "None",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"opt_List",             -1, Kind::OptionButton, "Frame7",  24, {1200, 270, 795, 285},   "List",                             kSelected,             kWindow,     Font::Regular,     Entries::None},
    {"opt_File",             -1, Kind::OptionButton, "Frame7",  25, {2070, 270, 915, 285},   "File",                             0,                     kWindow,     Font::Regular,     Entries::None},
    {"Opt_List_File",        -1, Kind::OptionButton, "Frame7",  26, {3000, 270, 1275, 255},  "List + File",                      0,                     kWindow,     Font::Regular,     Entries::None},
    {"txt_Logfile",          -1, Kind::TextBox,      "Frame7",  27, {840, 570, 9450, 285},   "",                                 kDisabled,             kWindow,     Font::Regular,     Entries::None},
    {"cmd_browser",          -1, Kind::Button,       "Frame7",  28, {10380, 570, 375, 285},  "...",                              kDisabled,             kWindow,     Font::Regular,     Entries::None},
    {"Label7",               -1, Kind::Label,        "Frame7",  36, {210, 630, 555, 225},    "Logfile",                          kDisabled,             kWindow,     Font::Regular,     Entries::None},
    {"txt_Data_Input",       -1, Kind::TextBox,      "Frame8",  29, {180, 345, 8910, 270},   "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"Cmd_Send",             -1, Kind::Button,       "Frame8",  30, {4800, 720, 1545, 375},  "Send OneTime",                     0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label10",              -1, Kind::Label,        "Frame8",  33, {8610, 135, 435, 225},   "bytes",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"Label9",               -1, Kind::Label,        "Frame8",  34, {8370, 135, 105, 225},   "0",                                kRightAligned,         kWindow,     Font::Regular,     Entries::None},
    {"Cmd_Start",            -1, Kind::Button,       "Frame8",  73, {3120, 720, 1545, 375},  "Send Repeatly",                    0,                     kWindow,     Font::Regular,     Entries::None},
    {"cmd_End",              -1, Kind::Button,       "Frame8",  74, {6480, 720, 1065, 375},  "Close",                            0,                     kWindow,     Font::Regular,     Entries::None},
    {"cmd_Log",              -1, Kind::Button,       "Frame8",  75, {9240, 240, 1545, 375},  "Log Clear",                        0,                     kWindow,     Font::Regular,     Entries::None},
    {"cmd_CSend",            -1, Kind::Button,       "Frame8",  81, {7680, 720, 3015, 375},  "Connect && Send && Recv && Close", kDisabled,             kWindow,     Font::FormDefault, Entries::None},
    {"Opt_Cnn1",             -1, Kind::OptionButton, "Frame8",  82, {120, 720, 1215, 375},   "Connect",                          kSelected,             kWindow,     Font::FormDefault, Entries::None},
    {"Opt_Cnn2",             -1, Kind::OptionButton, "Frame8",  83, {1320, 720, 1815, 375},  "Connect && Close",                 0,                     kWindow,     Font::FormDefault, Entries::None},
    {"client_status",        -1, Kind::Timer,        "form",    -1, {},                      "",                                 kDisabled,             kWindow,     Font::Regular,     Entries::None, 1000},
    {"TmrConnect",           -1, Kind::Timer,        "form",    -1, {},                      "",                                 0,                     kWindow,     Font::Regular,     Entries::None, 0},
    {"Timer1",               -1, Kind::Timer,        "form",    -1, {},                      "",                                 kDisabled,             kWindow,     Font::Regular,     Entries::None, 5000},
    {"Timer2",               -1, Kind::Timer,        "form",    -1, {},                      "",                                 kDisabled,             kWindow,     Font::Regular,     Entries::None, 0},
    {"Client_Socket",        -1, Kind::Socket,       "form",    -1, {},                      "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"Server_Socket",        -1, Kind::Socket,       "form",    -1, {},                      "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    {"ComDlg",               -1, Kind::SaveDialog,   "form",    -1, {},                      "",                                 0,                     kWindow,     Font::Regular,     Entries::None},
    // clang-format on
}};

} // namespace

std::span<const ControlDesign> controlTable() {
    return kTable;
}

} // namespace sim
