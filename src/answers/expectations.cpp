#include "answers/expectations.h"

#include "platform/code_page.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace sim::answers {
namespace {

constexpr int kBits = 9;                        // of a time above kExact that pick its bucket
constexpr int kPerDoubling = 1 << kBits;        // buckets to each doubling
constexpr qint64 kExact = qint64{kPerDoubling}; // times below it have a bucket each
constexpr qsizetype kShownBytes = 64;

} // namespace

std::size_t ReplyTimes::bucketOf(qint64 us) {
    if (us < kExact) {
        return static_cast<std::size_t>(us);
    }
    const int e = static_cast<int>(std::bit_width(static_cast<quint64>(us))) - 1; // 2^e <= us
    const auto sub = static_cast<std::size_t>((us >> (e - kBits)) & (kPerDoubling - 1));
    return static_cast<std::size_t>(kExact) + static_cast<std::size_t>(e - kBits) * kPerDoubling + sub;
}

qint64 ReplyTimes::middleOf(std::size_t bucket) {
    if (bucket < static_cast<std::size_t>(kExact)) {
        return static_cast<qint64>(bucket);
    }
    const auto above = bucket - static_cast<std::size_t>(kExact);
    const int e = kBits + static_cast<int>(above / kPerDoubling);
    const qint64 low = (kPerDoubling + static_cast<qint64>(above % kPerDoubling)) << (e - kBits);
    return low + (qint64{1} << (e - kBits)) / 2;
}

void ReplyTimes::add(qint64 us) {
    us = std::max<qint64>(us, 0);
    const std::size_t bucket = bucketOf(us);
    if (bucket >= buckets_.size()) {
        buckets_.resize(bucket + 1, 0);
    }
    ++buckets_[bucket];
    min_ = count_ == 0 ? us : std::min(min_, us);
    max_ = count_ == 0 ? us : std::max(max_, us);
    ++count_;
}

qint64 ReplyTimes::percentile(double percent) const {
    if (count_ == 0) {
        return 0;
    }
    const auto rank =
        std::max<qint64>(1, static_cast<qint64>(std::ceil(percent / 100.0 * static_cast<double>(count_))));
    if (rank >= count_) {
        return max_;
    }
    qint64 seen = 0;
    for (std::size_t b = 0; b < buckets_.size(); ++b) {
        seen += buckets_[b];
        if (seen >= rank) {
            return std::clamp(middleOf(b), min_, max_);
        }
    }
    return max_;
}

void ExpectationJudge::sent(qint64 at, int step, QString stamp) {
    const Expectation* expected = step >= 0 && step < 4 && steps_[step] ? &*steps_[step]
                                  : every_                              ? &*every_
                                                                        : nullptr;
    if (waiting_.empty()) {
        bytes_.clear(); // what came while no send waited is judged by none
    }
    Verdict verdict;
    verdict.send = ++sends_;
    verdict.step = step;
    verdict.at = at;
    verdict.expected = expected;
    verdict.stamp = std::move(stamp);
    waiting_.push_back({std::move(verdict), at + withinUs_});
}

std::vector<ExpectationJudge::Verdict> ExpectationJudge::arrived(qint64 at, QByteArrayView bytes) {
    std::vector<Verdict> out;
    if (waiting_.empty()) {
        return out;
    }
    bytes_.append(bytes);
    decide(at, out);
    return out;
}

void ExpectationJudge::decide(qint64 at, std::vector<Verdict>& out) {
    while (!waiting_.empty()) {
        Verdict& head = waiting_.front().verdict;
        if (head.expected == nullptr) {
            head.passed = true; // the first arrival after a send is its reply; its bytes are for the sends
                                // that judge them
        } else if (bytes_.isEmpty()) {
            break;
        } else {
            const Rule::Try t = head.expected->rule.tryOn(bytes_);
            if (t.outcome == Rule::Outcome::Partial && bytes_.size() <= AnswerStream::kMostWaiting) {
                return;
            }
            if (t.outcome != Rule::Outcome::Whole) {
                fail(t.outcome == Rule::Outcome::None
                         ? QStringLiteral("what came cannot match")
                         : QStringLiteral("what came passed 64 KiB without a match"),
                     out);
                continue;
            }
            bytes_.remove(0, t.taken);
            head.passed = true;
        }
        head.replyUs = at - head.at;
        times_.add(*head.replyUs);
        passed_ += head.expected != nullptr ? 1 : 0;
        out.push_back(std::move(head));
        waiting_.pop_front();
    }
    if (waiting_.empty()) {
        bytes_.clear(); // judged by none
    }
}

void ExpectationJudge::fail(QString why, std::vector<Verdict>& out) {
    Verdict& head = waiting_.front().verdict;
    head.passed = false;
    failed_ += head.expected != nullptr ? 1 : 0;
    head.why = std::move(why);
    head.came = bytes_.left(kShownBytes);
    head.cameCount = bytes_.size();
    bytes_.clear();
    out.push_back(std::move(head));
    waiting_.pop_front();
}

std::vector<ExpectationJudge::Verdict> ExpectationJudge::due(qint64 now) {
    std::vector<Verdict> out;
    while (!waiting_.empty() && waiting_.front().deadline <= now) {
        fail((bytes_.isEmpty() ? QStringLiteral("nothing came within %1 ms")
                               : QStringLiteral("no whole match came within %1 ms"))
                 .arg(withinUs_ / 1000),
             out);
    }
    return out;
}

std::vector<ExpectationJudge::Verdict> ExpectationJudge::linkEnded() {
    std::vector<Verdict> out;
    while (!waiting_.empty()) {
        fail(QStringLiteral("the link ended"), out);
    }
    return out;
}

bool ExpectationJudge::waitsFor(int upTo) const {
    return std::any_of(waiting_.begin(), waiting_.end(), [upTo](const Waiting& w) {
        return w.verdict.send <= upTo && w.verdict.expected != nullptr;
    });
}

void ExpectationJudge::cutOff() {
    cutOff_ += static_cast<int>(std::count_if(
        waiting_.begin(), waiting_.end(), [](const Waiting& w) { return w.verdict.expected != nullptr; }));
    waiting_.clear();
    bytes_.clear();
}

std::optional<qint64> ExpectationJudge::nextDeadline() const {
    return waiting_.empty() ? std::nullopt : std::optional<qint64>(waiting_.front().deadline);
}

QString ExpectationJudge::summary() const {
    const auto ms = [](qint64 us) { return QString::number(static_cast<double>(us) / 1000.0, 'f', 3); };
    const QString cut = cutOff_ > 0 ? QStringLiteral(", %1 cut off by the end").arg(cutOff_) : QString();
    return QStringLiteral(
               "summary: %1 sends, %2 replies, %3 expectations passed, %4 failed%5; reply time ms: "
               "min %6, median %7, 99th percentile %8, max %9")
        .arg(sends_)
        .arg(times_.count())
        .arg(passed_)
        .arg(failed_)
        .arg(cut, ms(times_.min()), ms(times_.percentile(50)), ms(times_.percentile(99)), ms(times_.max()));
}

QString sendName(const ExpectationJudge::Verdict& v) {
    return v.step >= 0 ? QStringLiteral("send %1 (step %2)").arg(v.send).arg(v.step)
                       : QStringLiteral("send %1").arg(v.send);
}

QString describeFailure(const ExpectationJudge::Verdict& v, Format format) {
    QString came;
    if (format == Format::Hex) {
        came = QString::fromLatin1(v.came.toHex(' ').toUpper());
    } else {
        // As a pattern in ASCII would be written, so it can be copied into one.
        for (const char b : v.came) {
            const auto u = static_cast<std::uint8_t>(b);
            switch (b) {
            case '\r':
                came += QLatin1String("\\r");
                break;
            case '\n':
                came += QLatin1String("\\n");
                break;
            case '\t':
                came += QLatin1String("\\t");
                break;
            case '\0':
                came += QLatin1String("\\0");
                break;
            case '\\':
                came += QLatin1String("\\\\");
                break;
            default:
                came += u < 0x20 || u == 0x7F
                            ? QStringLiteral("\\x") + QString::number(u, 16).rightJustified(2, u'0').toUpper()
                            : QString(code_page::fromAnsiByte(u));
            }
        }
    }
    const QString what = v.cameCount > 0
                             ? QStringLiteral("%1; came %2 bytes: %3").arg(v.why).arg(v.cameCount).arg(came)
                             : v.why;
    return QStringLiteral("expect fail: %1 at %2: expected %3 (%4): %5")
        .arg(sendName(v), v.stamp, v.expected != nullptr ? v.expected->pattern : QString(),
             QLatin1String(v.expected != nullptr ? matchKindName(v.expected->kind) : ""), what);
}

} // namespace sim::answers
