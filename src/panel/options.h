#pragma once

#include "panel/panel.h"

namespace sim {

// The action, repeat, data format and connection style options, the data input fields and the program
// mode switch: handlers that only keep the panel consistent.
class Options {
public:
    explicit Options(Panel& panel) : panel_(panel) {}

    void opt_Send_Only_Click();
    void opt_Receive_Only_Click() { actionWithoutSending(); }
    void opt_Send_input_Click() { actionWithoutSending(); }
    void opt_Send_recv_Click() { actionWithoutSending(); }
    void opt_Repeat_Click();
    void opt_OneTime_Click();
    void opt_Ascii_Click() { panel_.txt_Data_Input.setText(QString()); }
    void opt_HexA_Click() { panel_.txt_Data_Input.setText(QString()); }
    void Opt_Cnn1_Click() { connectionStyle(true); }
    void Opt_Cnn2_Click() { connectionStyle(false); }
    void chkMode_Click();

    void txt_Data_Input_Change() { countBytes(panel_.txt_Data_Input, panel_.Label9); }
    void txt_Data_Input_KeyPress(Int16& keyAscii) { filterKey(panel_.txt_Data_Input, keyAscii); }
    void txtStep_Change(int index) { countBytes(panel_.txtStep(index), panel_.lvlcnt_Byte(index)); }
    void txtStep_KeyPress(int index, Int16& keyAscii) { filterKey(panel_.txtStep(index), keyAscii); }

private:
    void actionWithoutSending();
    void repeatRow(bool on);
    void connectionStyle(bool keep);
    void countBytes(const TextBox& field, Label& counter);
    void filterKey(TextBox& field, Int16& keyAscii);
    Panel& panel_;
};

} // namespace sim
