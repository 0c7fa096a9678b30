#pragma once

#include "logging/log_book.h"

namespace sim {

// The log level options and the choice of the named log file.
class LogLevel {
public:
    LogLevel(Panel& panel, LogBook& log) : panel_(panel), log_(log) {}

    void LogfileOn() { setRow(true); }
    void LogfileOff() { setRow(false); }
    // Lets the operator pick the file in the Save dialog; the chosen file is created empty at once.
    // Cancel, or any failure, leaves silently.
    void cmd_browser_Click();

private:
    void setRow(bool on);
    Panel& panel_;
    LogBook& log_;
};

} // namespace sim
