#include "platform/qt/qt_event_loop.h"

#include "platform/runtime_failure.h"

#include <QCoreApplication>

namespace sim::qt {

void EventGate::post(std::function<void()> event) {
    queue_.push_back(std::move(event));
    schedule();
}

void EventGate::leaveModal() {
    if (--modalDepth_ == 0 && !queue_.empty()) {
        schedule();
    }
}

void EventGate::schedule() {
    if (!scheduled_ && !modal() && !quitting_) {
        scheduled_ = true;
        QMetaObject::invokeMethod(this, &EventGate::flush, Qt::QueuedConnection);
    }
}

void EventGate::flush() {
    scheduled_ = false;
    // One at a time from the shared queue: a handler that pumps takes the events behind it in order.
    while (!queue_.empty() && !modal() && !quitting_) {
        auto event = std::move(queue_.front());
        queue_.pop_front();
        event();
    }
}

void QtEventPump::pump() {
    if (quit_) {
        throw ApplicationQuit();
    }
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (quit_) {
        throw ApplicationQuit();
    }
}

void QtEventPump::pumpFor(int maxWaitMs) {
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(maxWaitMs);
    pump();
}

void QtEventPump::requestQuit() {
    quit_ = true;
    gate_.setQuitting();
    QCoreApplication::exit(0);
}

QtTimer::QtTimer(EventGate& gate, std::function<void()> onTick) : gate_(gate), onTick_(std::move(onTick)) {
    // The operator sets gaps in milliseconds; coarse timers would drift by up to 5%.
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] { timeout(); });
}

void QtTimer::timeout() {
    if (!gate_.modal()) {
        onTick_();
        return;
    }
    if (pending_) {
        return;
    }
    pending_ = true;
    gate_.post([this] {
        pending_ = false;
        if (timer_.isActive()) {
            timer_.start(); // late: the next tick is one interval from now
        }
        onTick_();
    });
}

void QtTimer::start(int intervalMs) {
    timer_.start(intervalMs);
}

void QtTimer::stop() {
    timer_.stop();
}

} // namespace sim::qt
