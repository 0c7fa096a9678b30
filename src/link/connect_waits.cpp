#include "link/connect_waits.h"

namespace sim {

void ConnectWaits::dialOut(const Control& button, const std::function<void()>& click) {
    if (depth_ == 0) {
        click();
    } else {
        held_.push_back({&button, click});
    }
}

bool ConnectWaits::waitFor(const Socket& socket, int state) {
    Panel& p = panel_;
    const Scope wait(*this);
    p.iConnectTick = 0;
    p.TmrConnect.setInterval(1000);
    p.TmrConnect.setEnabled(true);
    bool reached = false;
    while (!reached && p.iConnectTick < 1) {
        pump_.pump();
        reached = socket.state() == state;
    }
    p.TmrConnect.setEnabled(false);
    p.iConnectTick = 0;
    return reached;
}

void ConnectWaits::leave() {
    if (--depth_ > 0) {
        return;
    }
    // A posted event may still run inside a handler that pumps and has started another wait by then:
    // it is held again and comes back once that wait is over, in the order of the clicks.
    for (Held& held : held_) {
        pump_.post([this, held = std::move(held)] {
            panel_.dispatch([&] {
                if (running()) {
                    held_.push_back(held);
                } else if (held.button->takesInput()) {
                    held.click();
                }
            });
        });
    }
    held_.clear();
}

} // namespace sim
