#pragma once

#include "answers/answer_rules.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <deque>
#include <optional>
#include <vector>

namespace sim::answers {

// Reply times in microseconds as a histogram: the memory stays the same however long a run lasts (some
// 90 KiB at most, for times up to ten minutes), and each percentile is within 0.1% of the time it stands
// for (times under 512 us exactly, above that 512 buckets to each doubling).
class ReplyTimes {
public:
    void add(qint64 us);
    qint64 count() const { return count_; }
    qint64 min() const { return min_; }
    qint64 max() const { return max_; }
    // The time below which `percent` of the times lie (the middle of its bucket, within min and max).
    qint64 percentile(double percent) const;

private:
    static std::size_t bucketOf(qint64 us);
    static qint64 middleOf(std::size_t bucket);
    std::vector<qint64> buckets_;
    qint64 count_ = 0;
    qint64 min_ = 0;
    qint64 max_ = 0;
};

// How long a reply may take unless a profile says otherwise, in milliseconds.
inline constexpr int kDefaultWithinMs = 1000;

// What must come back after a send: a rule's pattern, written as the profile wrote it.
struct Expectation {
    Rule rule;
    QString pattern;
    MatchKind kind = MatchKind::Exact;
};

// The replies of a run matched to its sends in order, on the stream of the bytes that arrive: the oldest
// send still waiting takes the bytes that arrive after it. A whole match passes it and takes the matched
// bytes (`starts` and `contains`: everything waiting); a partial match waits; bytes that cannot match fail
// it at once; nothing by its deadline fails it then. A failed send takes the bytes waiting at its failure,
// so one wrong reply does not fail the sends behind it. A send without an expectation is answered by the
// first arrival after it, which only gives its reply time. Times are microseconds on a monotonic clock.
class ExpectationJudge {
public:
    struct Verdict {
        int send = 0;                          // its number in the run, from 1
        int step = -1;                         // its program step, or -1
        qint64 at = 0;                         // when it was handed to the socket
        QString stamp;                         // the same on the log's clock, as its records show it
        const Expectation* expected = nullptr; // none: only its reply time is kept
        bool passed = false;
        std::optional<qint64> replyUs; // from the send to the arrival that completed its reply
        QByteArray came;               // the first bytes of what came, when it failed on bytes
        qsizetype cameCount = 0;       // how many came
        QString why;                   // why it failed
    };

    ExpectationJudge(std::optional<Expectation> every, std::array<std::optional<Expectation>, 4> steps,
                     int withinMs)
        : every_(std::move(every)), steps_(std::move(steps)), withinUs_(qint64{withinMs} * 1000) {}

    // A send of the run was handed to the socket at `at`; `step` is its program step, or -1.
    void sent(qint64 at, int step, QString stamp = {});
    // Bytes arrived at `at`: the sends they decide, in order.
    std::vector<Verdict> arrived(qint64 at, QByteArrayView bytes);
    // The sends whose time ran out by `now`.
    std::vector<Verdict> due(qint64 now);
    // The link ended or is dialled again: every waiting send fails and the stream empties.
    std::vector<Verdict> linkEnded();
    // The run ends by its own Close: the sends still in their time are neither passed nor failed.
    void cutOff();
    // When the next waiting send's time runs out.
    std::optional<qint64> nextDeadline() const;
    int sends() const { return sends_; }
    // Whether a send with an expectation, numbered `upTo` or less, still waits.
    bool waitsFor(int upTo) const;
    // sends, replies, expectations passed and failed (and cut off, if any), reply times min, median, 99th
    // percentile and max.
    QString summary() const;

private:
    struct Waiting {
        Verdict verdict;
        qint64 deadline = 0;
    };
    void decide(qint64 at, std::vector<Verdict>& out);
    void fail(QString why, std::vector<Verdict>& out);

    std::optional<Expectation> every_;
    std::array<std::optional<Expectation>, 4> steps_;
    qint64 withinUs_;
    std::deque<Waiting> waiting_;
    QByteArray bytes_; // arrived and not yet taken by a send
    int sends_ = 0;
    int passed_ = 0;
    int failed_ = 0;
    int cutOff_ = 0;
    ReplyTimes times_;
};

// "send 12", or "send 12 (step 2)" for a program step.
QString sendName(const ExpectationJudge::Verdict& verdict);

// A failed send in a line of its own: which send, what was expected and what came (its first bytes in
// the data format), or that nothing came.
QString describeFailure(const ExpectationJudge::Verdict& verdict, Format format);

} // namespace sim::answers
