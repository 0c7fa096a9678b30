#pragma once

#include "platform/qt/qt_platform.h"
#include "support/sim_form.h"

#include <QDeadlineTimer>
#include <QTimer>

namespace sim::test {

// The Qt event loop, timers and sockets, with the simulated dialogs, settings, folders and browser:
// real traffic on loopback, nothing of the operator's touched.
struct MixedPlatform {
    qt::EventGate gate;
    qt::QtEventPump pump{gate};
    qt::QtTimerFactory timers{gate};
    qt::QtNetwork network{gate};
    qt::QtClock clock;
    Scheduler dialogTime;
    SimDialogs dialogs{dialogTime};
    MemorySettings settings;
    TempFolders folders;
    SimBrowser browser;
    AppendQueue files;
    Platform platform() { return {pump, timers, network, dialogs, settings, clock, folders, browser, files}; }
};

// Pumps the Qt loop until the condition holds or `limitMs` have passed.
template <class Cond> bool pumpUntil(EventPump& pump, Cond cond, int limitMs = 20000) {
    QTimer wake;
    wake.start(20);
    const QDeadlineTimer deadline(limitMs);
    while (!cond() && !deadline.hasExpired()) {
        pump.pump();
    }
    return cond();
}

} // namespace sim::test
