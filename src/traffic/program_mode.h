#pragma once

#include "link/link.h"

namespace sim {

// Program mode: a script of up to four sends on one outgoing link of its own, with gaps between them.
// The caption of cmdSendStart is the only memory of whether a run was started.
class ProgramMode {
public:
    ProgramMode(Panel& panel, LogBook& log, Link& link) : panel_(panel), log_(log), link_(link) {}

    void cmdSendStart_Click();
    void StepConnect();
    void StepStart();
    void Timer2_Timer();

    // The wait before the first step, in milliseconds.
    static constexpr int kFirstStepMs = 1000;

private:
    void endRun();
    Panel& panel_;
    LogBook& log_;
    Link& link_;
};

} // namespace sim
