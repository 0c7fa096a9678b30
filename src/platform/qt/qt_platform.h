#pragma once

#include "platform/file_appenders.h"
#include "platform/qt/qt_event_loop.h"
#include "platform/qt/qt_network.h"
#include "platform/qt/qt_services.h"

namespace sim::qt {

// Every part of the Qt platform, owned together. Needs a Q(Gui)Application.
class QtPlatform {
public:
    QtPlatform() = default;
    Platform platform() { return {pump, timers, network, dialogs, settings, clock, folders, browser, files}; }

    EventGate gate;
    QtEventPump pump{gate};
    QtTimerFactory timers{gate};
    QtNetwork network{gate};
    QtDialogs dialogs{gate};
    QtSettingsStore settings;
    QtClock clock;
    QtFolders folders;
    QtBrowser browser;
    AppendQueue files;
};

} // namespace sim::qt
