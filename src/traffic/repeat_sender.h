#pragma once

#include "link/link.h"

namespace sim {

// The repeat run on the dialling side: each tick of Timer1 sends the text of txt_Data_Input, until
// the count is used up, and dials again when it finds the link gone.
class RepeatSender {
public:
    RepeatSender(Panel& panel, LogBook& log, Link& link) : panel_(panel), log_(log), link_(link) {}

    void Timer1_Timer();

private:
    Panel& panel_;
    LogBook& log_;
    Link& link_;
};

} // namespace sim
