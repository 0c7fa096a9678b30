#include "panel/options.h"

namespace sim {

void Options::opt_Send_Only_Click() {
    Panel& p = panel_;
    p.opt_Repeat.setEnabled(true);
    p.opt_OneTime.setEnabled(true);
    p.com_Timegap.setEnabled(true);
    p.com_Count.setEnabled(true);
    p.chkMode.setEnabled(true);
    p.com_Timegap.setBackColor(colour::kWhite);
    p.com_Count.setBackColor(colour::kWhite);
}

void Options::actionWithoutSending() {
    Panel& p = panel_;
    p.opt_Repeat.setEnabled(false);
    p.opt_OneTime.setEnabled(false);
    p.com_Timegap.setEnabled(false);
    p.com_Count.setEnabled(false);
    p.chkMode.setValue(0);
    p.chkMode.setEnabled(false);
    p.com_Timegap.setBackColor(colour::kButtonFace);
    p.com_Count.setBackColor(colour::kButtonFace);
}

void Options::opt_Repeat_Click() {
    if (panel_.opt_Repeat.value()) {
        repeatRow(true);
    }
}

void Options::opt_OneTime_Click() {
    if (panel_.opt_OneTime.value()) {
        repeatRow(false);
    }
}

void Options::repeatRow(bool on) {
    Panel& p = panel_;
    p.Label5.setEnabled(on);
    p.Label6.setEnabled(on);
    p.com_Timegap.setEnabled(on);
    p.com_Count.setEnabled(on);
}

void Options::connectionStyle(bool keep) {
    Panel& p = panel_;
    p.Cmd_Start.setEnabled(keep);
    p.Cmd_Send.setEnabled(keep);
    p.cmd_End.setEnabled(keep);
    p.cmd_CSend.setEnabled(!keep);
}

void Options::chkMode_Click() {
    Panel& p = panel_;
    const bool ticked = p.chkMode.value() == 1;
    p.txt_Data_Input.setEnabled(!ticked);
    p.cmd_End.setEnabled(!ticked);
    p.Cmd_Start.setEnabled(!ticked);
    p.Cmd_Send.setEnabled(!ticked);
    if (ticked) {
        p.opt_OneTime.setValue(true);
        p.opt_Repeat.setEnabled(false);
        p.Frame10.setEnabled(true);
    } else {
        p.Frame10.setEnabled(false);
        p.opt_Repeat.setEnabled(true);
    }
}

void Options::countBytes(const TextBox& field, Label& counter) {
    const auto length = static_cast<std::int32_t>(field.text().size());
    counter.setCaption(QString::number(panel_.opt_Ascii.value() ? length : length / 2));
}

void Options::filterKey(TextBox& field, Int16& keyAscii) {
    if (keyAscii < 0) {
        keyAscii = 0;
        field.setFocus();
    }
    const bool hexDigit = (keyAscii >= '0' && keyAscii <= '9') || (keyAscii >= 'A' && keyAscii <= 'F') ||
                          (keyAscii >= 'a' && keyAscii <= 'f') || keyAscii == 8;
    if (panel_.opt_HexA.value() && !hexDigit) {
        keyAscii = 0;
        field.setFocus();
    }
}

} // namespace sim
