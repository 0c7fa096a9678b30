#pragma once

#include "platform/seam.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sim::qt {

// The one door through which platform events reach the form. Events run in the order they were
// posted, at the next pump; while a modal dialog is open they wait, and timer ticks merge into one.
class EventGate : public QObject {
    Q_OBJECT
public:
    void post(std::function<void()> event);

    bool modal() const { return modalDepth_ > 0; }
    void enterModal() { ++modalDepth_; }
    void leaveModal();
    void setQuitting() { quitting_ = true; }
    bool quitting() const { return quitting_; }

private:
    void schedule();
    void flush();
    std::deque<std::function<void()>> queue_;
    bool scheduled_ = false;
    int modalDepth_ = 0;
    bool quitting_ = false;
};

// Blocks until the next event instead of spinning, so a waiting form costs no processor time.
class QtEventPump : public EventPump {
public:
    explicit QtEventPump(EventGate& gate) : gate_(gate) {}
    void pump() override;
    void pumpFor(int maxWaitMs) override;
    void post(std::function<void()> event) override { gate_.post(std::move(event)); }
    void requestQuit() override;
    bool quitRequested() const override { return quit_; }

private:
    EventGate& gate_;
    bool quit_ = false;
};

// Ticks at whole multiples of the interval from its start, to the microsecond: a kernel timer on the
// steady clock, armed for each tick's absolute due time, wakes the event loop through its descriptor.
// A restart from the timer's own tick counts from that tick's due time, so a program of gaps does not
// drift by the time each step takes; a tick taken late, by a busy loop or a handler that waited, moves
// the next one to an interval from then, never a burst (see tick_schedule). A tick that comes while a
// dialog is open waits for it to close and is delivered once, however often it came; the timer then
// counts the next interval from that moment. A tick that comes while its own handler still runs (the
// handler pumps in a wait) is dropped.
class QtTimer : public PlatformTimer {
public:
    QtTimer(EventGate& gate, std::function<void()> onTick);
    ~QtTimer() override;
    QtTimer(const QtTimer&) = delete;
    QtTimer& operator=(const QtTimer&) = delete;
    void start(int intervalMs) override;
    void stop() override;

private:
    using Time = std::chrono::nanoseconds;
    void expired();
    void deliver(Time tickDue);
    void arm(Time due);
    EventGate& gate_;
    std::function<void()> onTick_;
    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
    Time interval_{};
    Time due_{};
    bool active_ = false;
    bool held_ = false;
    std::optional<Time> tickDue_; // while the handler of a tick runs
};

class QtTimerFactory : public TimerFactory {
public:
    explicit QtTimerFactory(EventGate& gate) : gate_(gate) {}
    std::unique_ptr<PlatformTimer> createTimer(std::function<void()> onTick) override {
        return std::make_unique<QtTimer>(gate_, std::move(onTick));
    }

private:
    EventGate& gate_;
};

} // namespace sim::qt
