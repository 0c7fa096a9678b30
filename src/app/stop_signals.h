#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace sim {

// SIGINT and SIGTERM as an event of the loop: the handler does nothing but write a byte to a pipe that
// the loop watches, so the program ends the way the operator would end it. One instance at a time; the
// signals' earlier handling comes back when it goes.
class StopSignals {
public:
    explicit StopSignals(std::function<void()> onStop);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // False when the pipe or the handlers could not be set up; the signals then end the program as usual.
    bool active() const { return notifier_ != nullptr; }

private:
    void drain();
    std::function<void()> onStop_;
    int pipe_[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
    struct sigaction oldInt_ {};
    struct sigaction oldTerm_ {};
};

} // namespace sim
