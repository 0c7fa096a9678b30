#pragma once

#include "answers/expectations.h"
#include "logging/log_book.h"
#include "panel/panel.h"

#include <functional>
#include <memory>

namespace sim {

// Judged runs: the device's replies to the run's own sends, held to the profile's expectations, with the
// time each took. It hears the link's sends and arrivals, runs a timer for the next deadline, and fails
// what still waits once its link has ended. Without a judge it does nothing.
class JudgedSends {
public:
    using Verdict = answers::ExpectationJudge::Verdict;

    JudgedSends(Panel& panel, LogBook& log, Clock& clock, TimerFactory& timers);

    void configure(std::unique_ptr<answers::ExpectationJudge> judge) {
        deadline_->stop();
        arrival_.clear();
        judge_ = std::move(judge);
    }
    const answers::ExpectationJudge* judge() const { return judge_.get(); }

    void sent(Socket& socket, int step);
    // An arrival is judged before its record is written, so the record can carry the reply it completed;
    // what it decided is told once the record is written.
    void arriving(Socket& socket, const Bytes& bytes);
    void arrived();
    // The first send the arrival being recorded completed, if any.
    const Verdict* replyOfArrival() const;
    // The failed send whose Expect Fail line is being written, if any.
    const Verdict* failing() const { return failing_; }
    // The device closed its side of `socket`'s link: no reply can come any more.
    void peerClosed(Socket& socket);
    // How many sends the run has made so far, and whether one of the first `upTo` still waits.
    int sends() const { return judge_ ? judge_->sends() : 0; }
    bool waitsFor(int upTo) const { return judge_ && judge_->waitsFor(upTo); }
    // The run ends by its own Close: what is past its time fails, what is still in its time is cut off.
    void endOfRun();
    // A link of `socket` began or ended: what waits on the link that ended fails at once.
    void linkChanged(Socket& socket);

    // Told of each send decided, after its failure (if any) was written to the log.
    std::function<void(const Verdict&)> judged;

private:
    // What waits on a link that has ended (another socket, another link, or with `byState` one no longer
    // connected) fails first.
    void followLink(Socket& socket, bool byState);
    void settle(const std::vector<Verdict>& verdicts);
    void rearm();

    Panel& panel_;
    LogBook& log_;
    Clock& clock_;
    std::unique_ptr<answers::ExpectationJudge> judge_;
    std::unique_ptr<PlatformTimer> deadline_;
    std::vector<Verdict> arrival_; // what the arrival being recorded decided
    const Verdict* failing_ = nullptr;
    Socket* socket_ = nullptr;
    unsigned link_ = 0;
};

} // namespace sim
