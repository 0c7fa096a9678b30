#include "link/judged_sends.h"

#include "panel/texts.h"

#include <algorithm>
#include <utility>

namespace sim {

JudgedSends::JudgedSends(Panel& panel, LogBook& log, Clock& clock, TimerFactory& timers)
    : panel_(panel), log_(log), clock_(clock), deadline_(timers.createTimer([this] {
          panel_.dispatch([this] {
              deadline_->stop();
              if (socket_ != nullptr) {
                  followLink(*socket_, true);
              }
              settle(judge_->due(clock_.monotonicMicroseconds()));
          });
      })) {}

void JudgedSends::followLink(Socket& socket, bool byState) {
    const bool ended = &socket != socket_ || socket.linkNumber() != link_ ||
                       (byState && socket.state() != socket_state::kConnected);
    if (ended) {
        settle(judge_->linkEnded());
        socket_ = &socket;
        link_ = socket.linkNumber();
    }
}

void JudgedSends::sent(Socket& socket, int step) {
    if (!judge_) {
        return;
    }
    followLink(socket, true);
    judge_->sent(clock_.monotonicMicroseconds(), step, statusText(log_.stamp(), "").mid(1));
    rearm();
}

void JudgedSends::arriving(Socket& socket, const Bytes& bytes) {
    if (!judge_) {
        return;
    }
    // By its link only: an arrival queued before an error is judged before what waits fails.
    followLink(socket, false);
    arrival_ = judge_->arrived(
        clock_.monotonicMicroseconds(),
        QByteArrayView(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())));
}

void JudgedSends::arrived() {
    if (judge_) {
        settle(std::exchange(arrival_, {}));
    }
}

const JudgedSends::Verdict* JudgedSends::replyOfArrival() const {
    const auto first = std::find_if(arrival_.begin(), arrival_.end(),
                                    [](const Verdict& v) { return v.replyUs.has_value(); });
    return first == arrival_.end() ? nullptr : &*first;
}

void JudgedSends::peerClosed(Socket& socket) {
    if (judge_ && &socket == socket_) {
        followLink(socket, true);
    }
}

void JudgedSends::endOfRun() {
    if (judge_) {
        settle(judge_->due(clock_.monotonicMicroseconds()));
        judge_->cutOff();
        rearm();
    }
}

void JudgedSends::linkChanged(Socket& socket) {
    if (judge_ && &socket == socket_ && socket.linkNumber() != link_) {
        link_ = socket.linkNumber();
        settle(judge_->linkEnded());
    }
}

void JudgedSends::settle(const std::vector<Verdict>& verdicts) {
    for (const Verdict& v : verdicts) {
        if (v.expected != nullptr && !v.passed) {
            failing_ = &v;
            log_.statusLine(log_.stamp(), texts::kExpectFail, Filed::AtListPlusFile);
            failing_ = nullptr;
        }
        if (judged) {
            judged(v);
        }
    }
    rearm();
}

void JudgedSends::rearm() {
    const auto due = judge_->nextDeadline();
    if (!due) {
        deadline_->stop();
        return;
    }
    const qint64 ms = (*due - clock_.monotonicMicroseconds() + 999) / 1000;
    deadline_->start(static_cast<int>(std::clamp<qint64>(ms, 1, 3'600'000)));
}

} // namespace sim
