#include "link/connect_waits.h"

namespace sim {

void ConnectWaits::dialOut(const Control& button, const std::function<void()>& click) {
    if (depth_ == 0) {
        click();
    } else {
        held_.push_back({&button, click});
    }
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
