#include "panel/role.h"

#include "panel/texts.h"

namespace sim {

void Role::destination(bool on) {
    Panel& p = panel_;
    for (int i = 0; i < 4; ++i) {
        p.txt_Destination_IP(i).setEnabled(on);
    }
    p.txt_Destination_Port.setEnabled(on);
    for (int i = 0; i < 4; ++i) {
        p.txt_Destination_IP(i).setBackColor(on ? colour::kWhite : colour::kGrey);
    }
    p.txt_Destination_Port.setBackColor(on ? colour::kWhite : colour::kGrey);
}

void Role::listenPort(bool on) {
    panel_.txt_Port.setEnabled(on);
    panel_.txt_Port.setBackColor(on ? colour::kWhite : colour::kGrey);
}

void Role::opt_Client_Click() {
    Panel& p = panel_;
    p.opt_Repeat.setEnabled(false);
    p.opt_OneTime.setValue(true);
    p.com_Timegap.setEnabled(false);
    p.com_Count.setEnabled(false);
    p.com_Timegap.setBackColor(colour::kGrey);
    p.com_Count.setBackColor(colour::kGrey);
    listenPort(true);
    destination(false);
    p.Cmd_Start.setCaption(QLatin1String(texts::kListenCaption));
}

void Role::opt_Server_Click() {
    Panel& p = panel_;
    p.opt_Repeat.setEnabled(true);
    p.opt_Repeat.setValue(true);
    p.com_Timegap.setEnabled(true);
    p.com_Count.setEnabled(true);
    p.com_Timegap.setBackColor(colour::kWhite);
    p.com_Count.setBackColor(colour::kWhite);
    destination(true);
    listenPort(false);
    p.Cmd_Start.setCaption(QLatin1String(texts::kConnectCaption));
}

} // namespace sim
