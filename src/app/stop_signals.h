#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace sim {

// SIGINT and SIGTERM as an event of the loop: the handler does nothing but write a byte to a pipe that
// the loop watches, so the program ends the way the operator would end it. One instance at a time; the
// signals' earlier handling comes back when it goes. Where the pipe or the handlers cannot be set up,
// the signals end the program as usual.
class StopSignals {
public:
    explicit StopSignals(std::function<void()> onStop);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    void drain();
    std::function<void()> onStop_;
    int pipe_[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
    struct sigaction oldInt_ {};
    struct sigaction oldTerm_ {};
};

} // namespace sim
