#include "panel/address_editor.h"

#include "panel/texts.h"
#include "platform/text_number.h"

namespace sim {
namespace {

constexpr int kBackspace = 8;
constexpr int kDot = 46;
constexpr int kCtrlBackspace = 127;
constexpr int kOctetLength = 3;
constexpr double kFirstOctetLimit = 223;
constexpr double kOctetLimit = 255;

int length(const TextBox& box) {
    return static_cast<int>(box.text().size());
}

// A box or the port box that a link has locked cannot take the focus (the focus can be left in an
// address box when a timer starts a link, and a key can come up after it did): the move is skipped
// instead of failing, so that the click or key that made the focus leave still does its work.
void focusIfReachable(Control& control) {
    if (control.takesInput()) {
        control.setFocus();
    }
}

} // namespace

void txt_check(const AddressBoxes& obj, int index) {
    TextBox& box = obj(index);
    box.setSelStart(0);
    box.setSelLength(length(box));
    focusIfReachable(box);
}

double AddressEditor::value(const TextBox& box) {
    return leadingNumber(box.text());
}

void AddressEditor::txt_Destination_IP_KeyPress(int index, Int16& keyAscii) {
    const AddressBoxes& boxes = panel_.txt_Destination_IP;
    // Backspace in a box worth 0 walks back; the character still acts on the box it was typed in.
    if (index != 0 && keyAscii == kBackspace && value(boxes(index)) == 0) {
        txt_check(boxes, index - 1);
    }
    if (index <= 2 && keyAscii == kDot) {
        txt_check(boxes, index + 1);
    }
    const bool passes =
        (keyAscii >= '0' && keyAscii <= '9') || keyAscii == kBackspace || keyAscii == kCtrlBackspace;
    if (!passes) {
        keyAscii = 0;
        return;
    }
    TextBox& box = boxes(index);
    if (!box.text().isEmpty() && !box.selText().isEmpty()) {
        box.setSelText(QString());
    }
}

void AddressEditor::txt_Destination_IP_KeyUp(int index, Int16& keyCode, Int16 /*shift*/) {
    const AddressBoxes& boxes = panel_.txt_Destination_IP;
    if (index != 0 && keyCode == kBackspace && value(boxes(index)) == 0) {
        txt_check(boxes, index - 1);
    }
    // The forward moves look at the length alone, whatever the key was.
    if (index < 3 && length(boxes(index)) == kOctetLength) {
        focusIfReachable(boxes(index + 1));
    }
    if (index == 3 && length(boxes(3)) == kOctetLength) {
        focusIfReachable(panel_.txt_Destination_Port);
    }
}

void AddressEditor::txt_Destination_IP_GotFocus(int index) {
    TextBox& box = panel_.txt_Destination_IP(index);
    box.setSelStart(0);
    box.setSelLength(length(box));
}

void AddressEditor::txt_Destination_IP_LostFocus(int index) {
    const AddressBoxes& boxes = panel_.txt_Destination_IP;
    TextBox& box = boxes(index);
    const double number = value(box);
    if (index == 0 && number > kFirstOctetLimit) {
        dialogs_.messageBox(QLatin1String(texts::kAddressCrossLimit), msg_style::kPlain, std::nullopt);
        txt_check(boxes, index);
        box.setText(QString());
        return;
    }
    if (number > kOctetLimit) {
        dialogs_.messageBox(QLatin1String(texts::kAddressFormat), msg_style::kInformation,
                            QLatin1String(texts::kAddressFormatTitle));
        txt_check(boxes, index);
        box.setText(QString());
        focusIfReachable(box);
        return;
    }
    // Every departure from the last box in range goes on to the port box, wherever it was headed.
    if (index == 3) {
        focusIfReachable(panel_.txt_Destination_Port);
    }
}

} // namespace sim
