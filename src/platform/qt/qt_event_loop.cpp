#include "platform/qt/qt_event_loop.h"

#include "platform/runtime_failure.h"
#include "platform/scoped_flag.h"
#include "platform/tick_schedule.h"

#include <QCoreApplication>
#include <QTimer>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

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

namespace {

std::chrono::nanoseconds steadyNow() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace

QtTimer::QtTimer(EventGate& gate, std::function<void()> onTick)
    : gate_(gate), onTick_(std::move(onTick)),
      fd_(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
    if (fd_ < 0) {
        throw std::system_error(errno, std::generic_category(), "timerfd_create");
    }
    notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { expired(); });
}

QtTimer::~QtTimer() {
    notifier_.reset();
    ::close(fd_);
}

void QtTimer::expired() {
    std::uint64_t count = 0;
    if (::read(fd_, &count, sizeof count) != sizeof count || !active_) {
        return; // read already, or stopped since it was armed
    }
    const Time tickDue = due_;
    arm(tick_schedule::nextDue(due_, interval_, steadyNow()));
    if (tickDue_) {
        return; // the handler of the last tick still runs
    }
    if (!gate_.modal()) {
        deliver(tickDue);
        return;
    }
    if (held_) {
        return;
    }
    held_ = true;
    gate_.post([this] {
        held_ = false;
        if (!active_) {
            return;
        }
        // Late: the next tick is one interval from now.
        const Time now = steadyNow();
        arm(now + interval_);
        deliver(now);
    });
}

void QtTimer::deliver(Time tickDue) {
    const ScopedValue<Time> handling(tickDue_, tickDue);
    onTick_();
}

void QtTimer::start(int intervalMs) {
    interval_ = std::chrono::milliseconds(intervalMs);
    active_ = true;
    arm(tick_schedule::restartDue(tickDue_, interval_, steadyNow()));
}

void QtTimer::stop() {
    if (!std::exchange(active_, false)) {
        return; // disarmed already: no system call for a timer stopped at every event
    }
    const itimerspec off{};
    ::timerfd_settime(fd_, 0, &off, nullptr);
}

void QtTimer::arm(Time due) {
    due_ = due;
    itimerspec at{};
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(due);
    at.it_value.tv_sec = static_cast<time_t>(seconds.count());
    at.it_value.tv_nsec = static_cast<long>((due - seconds).count());
    if (at.it_value.tv_sec == 0 && at.it_value.tv_nsec == 0) {
        at.it_value.tv_nsec = 1; // zero would disarm it
    }
    ::timerfd_settime(fd_, TFD_TIMER_ABSTIME, &at, nullptr);
}

} // namespace sim::qt
