#pragma once

#include <span>
#include <string_view>

namespace sim {

enum class Kind {
    Frame,
    Label,
    TextBox,
    OptionButton,
    CheckBox,
    Button,
    ComboBox,
    ListBox,
    Timer,
    Socket,
    SaveDialog
};

// Colours as the form stores them: 0x00BBGGRR, or the index of a system colour with the top bit set.
namespace colour {
inline constexpr unsigned kWhite = 0xFFFFFF; // a field in use
inline constexpr unsigned kGrey = 0xC0C0C0;  // a field out of use
// The system's button face: the combo boxes' colour at design, and not the fixed grey above.
inline constexpr unsigned kButtonFace = 0x8000000F;
inline constexpr unsigned kWindow = 0x80000005; // the system's window background: every other box's
} // namespace colour

// Arial 9 pt regular unless said otherwise; FormDefault is the form's own default font.
enum class Font { Regular, Bold, List, FormDefault };

// The fixed entries of the combo boxes.
enum class Entries { None, Seconds, Count, Milliseconds };

enum Flag : unsigned {
    kDisabled = 1U << 0,
    kSelected = 1U << 1,
    kRightAligned = 1U << 2,
    kReadOnly = 1U << 3,
    kBorderless = 1U << 4,
};

// Twips, relative to the holder's top-left corner.
struct Geometry {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

inline constexpr int kTwipsPerPixel = 15;

// One control as it is stored with the form: its design state.
struct ControlDesign {
    std::string_view name;
    int index; // member of a control array, or -1
    Kind kind;
    std::string_view holder; // "form" for the form itself
    int tab;
    Geometry geometry;
    std::string_view caption; // caption, or the design text; "&&" shows one ampersand
    unsigned flags;
    unsigned back; // the back colour of a text or combo box
    Font font;
    Entries entries;
    int interval = 0; // timers: design Interval in ms
};

// Every control of the form in order of holder, then of tab order, followed by the timers, the sockets
// and the Save dialog.
std::span<const ControlDesign> controlTable();

// The form itself.
inline constexpr int kDesignClientWidth = 10965;
inline constexpr int kDesignClientHeight = 10635;

} // namespace sim
