#pragma once

#include "panel/panel.h"

namespace sim {

// The two values that outlive a run, the destination address and port: read once at start-up and
// written at every change of their boxes. Also the maker link at the foot of the form.
class SavedSettings {
public:
    SavedSettings(Panel& panel, SettingsStore& store, Dialogs& dialogs, Browser& browser)
        : panel_(panel), store_(store), dialogs_(dialogs), browser_(browser) {}

    // Fills the address boxes and the port box from the store; their Change handlers write back.
    void readAtStart();

    void txt_Destination_IP_Change(int index);
    void txt_Destination_Port_Change();
    void Label11_Click();

private:
    QString read(const char* key, const char* fallback);
    void write(const char* key, const QString& value);
    Panel& panel_;
    SettingsStore& store_;
    Dialogs& dialogs_;
    Browser& browser_;
};

} // namespace sim
