#pragma once

#include "panel/panel.h"
#include "platform/seam.h"

namespace sim {

using AddressBoxes = ControlArray<TextBox, 4>;

// Selects the whole text of obj(index) and gives that box the focus.
void txt_check(const AddressBoxes& obj, int index);

// The four destination boxes, typed like one IPv4 field: three digits move on by themselves, a dot
// moves on from a shorter octet, Backspace in an empty box walks back, and each box is tested by
// itself when the focus leaves it. The editor keeps no state: the boxes and the focus are all of it.
class AddressEditor {
public:
    AddressEditor(Panel& panel, Dialogs& dialogs) : panel_(panel), dialogs_(dialogs) {}

    void txt_Destination_IP_KeyPress(int index, Int16& keyAscii);
    void txt_Destination_IP_KeyUp(int index, Int16& keyCode, Int16 shift);
    void txt_Destination_IP_GotFocus(int index);
    void txt_Destination_IP_LostFocus(int index);

    // What a box holds as a number: the number its text begins with, 0 when it begins with none.
    static double value(const TextBox& box);

private:
    Panel& panel_;
    Dialogs& dialogs_;
};

} // namespace sim
