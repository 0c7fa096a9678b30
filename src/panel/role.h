#pragma once

#include "panel/panel.h"

namespace sim {

// The device's role: the server (the simulator dials out) or the client (the simulator listens).
class Role {
public:
    explicit Role(Panel& panel) : panel_(panel) {}
    void opt_Client_Click();
    void opt_Server_Click();

private:
    void destination(bool on);
    void listenPort(bool on);
    Panel& panel_;
};

} // namespace sim
