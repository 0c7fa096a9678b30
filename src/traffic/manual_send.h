#pragma once

#include "link/link.h"

namespace sim {

// The two buttons that send the text of txt_Data_Input once.
class ManualSend {
public:
    ManualSend(Panel& panel, LogBook& log, Link& link, Dialogs& dialogs)
        : panel_(panel), log_(log), link_(link), dialogs_(dialogs) {}

    void Cmd_Send_Click();
    void cmd_CSend_Click();

private:
    Panel& panel_;
    LogBook& log_;
    Link& link_;
    Dialogs& dialogs_;
};

} // namespace sim
