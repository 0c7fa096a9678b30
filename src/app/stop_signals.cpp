#include "app/stop_signals.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace sim {
namespace {

volatile std::sig_atomic_t gWriteEnd = -1;

void onSignal(int /*signal*/) {
    const int saved = errno;
    const char byte = 1;
    // A full pipe already holds a wake-up; nothing else is safe to do here.
    if (::write(gWriteEnd, &byte, 1) < 0) {
    }
    errno = saved;
}

} // namespace

StopSignals::StopSignals(std::function<void()> onStop) : onStop_(std::move(onStop)) {
    if (gWriteEnd >= 0 || ::pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    gWriteEnd = pipe_[1];
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    if (sigaction(SIGINT, &action, &oldInt_) != 0 || sigaction(SIGTERM, &action, &oldTerm_) != 0) {
        sigaction(SIGINT, &oldInt_, nullptr);
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(pipe_[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { drain(); });
}

StopSignals::~StopSignals() {
    if (notifier_) {
        sigaction(SIGINT, &oldInt_, nullptr);
        sigaction(SIGTERM, &oldTerm_, nullptr);
        notifier_.reset();
    }
    if (pipe_[0] >= 0) {
        if (gWriteEnd == pipe_[1]) {
            gWriteEnd = -1;
        }
        ::close(pipe_[0]);
        ::close(pipe_[1]);
    }
}

void StopSignals::drain() {
    char bytes[64];
    while (::read(pipe_[0], bytes, sizeof bytes) > 0) {
    }
    if (onStop_) {
        onStop_();
    }
}

} // namespace sim
