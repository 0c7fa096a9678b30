#pragma once

#include "panel/panel.h"

#include <deque>
#include <functional>

namespace sim {

// The waits of a connect and of a listen run the event pump inside the handler that started them, and
// share one tick counter. A wait must never run inside another one: the outer wait could end only
// after the inner one had returned. So a click that would start a dial-out while a wait runs is held
// back and runs as an event of its own once no wait runs, and only if its button can still be pressed.
class ConnectWaits {
public:
    ConnectWaits(Panel& panel, EventPump& pump) : panel_(panel), pump_(pump) {}

    bool running() const { return depth_ > 0; }

    // The click of `button` that starts a dial-out: runs now when no wait runs, else later.
    void dialOut(const Control& button, const std::function<void()>& click);

    // The wait of a connect or of a listen: the event pump runs until the socket's State is `state` or
    // TmrConnect has ticked once (one second). True when the socket got there in time.
    bool waitFor(const Socket& socket, int state);

private:
    // Marks a wait for as long as it lives.
    class Scope {
    public:
        explicit Scope(ConnectWaits& waits) : waits_(waits) { ++waits_.depth_; }
        ~Scope() { waits_.leave(); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        ConnectWaits& waits_;
    };
    struct Held {
        const Control* button;
        std::function<void()> click;
    };
    void leave();
    Panel& panel_;
    EventPump& pump_;
    int depth_ = 0;
    std::deque<Held> held_;
};

} // namespace sim
