#pragma once

#include "app/frm_simulator.h"
#include "support/keyboard.h"
#include "support/sim_platform.h"

namespace sim::test {

// The whole form on the simulated platform, loaded as the window would show it.
struct SimForm {
    SimPlatform sim;
    FrmSimulator form{sim.platform()};
    Panel& p = form.panel();
    Operator& op = form.op();
    Keyboard keys{p, op};

    explicit SimForm(bool load = true) {
        if (load) {
            form.load();
        }
    }
};

} // namespace sim::test
