// Fuzzes answers by rule: one to four rules made from texts the input gives, then a stream of arrivals
// cut where the input says, with the wait running out and the link ending among them.
//
// Every answer the stream gives is explained by a replay beside it: the rules tried in order, through
// `Rule::tryOn`, on the bytes the replay holds, as the user's documentation describes (the first rule
// that matches wholly or in part decides). So the bytes handed to the panel's answer are always the
// oldest that wait, in order and never empty; a reply is that of the deciding rule, and one that cannot
// be built carries no bytes; the bytes fed are those handed on, those taken by replies, those dropped
// when the link ended and those that still wait, to the byte; at most 64 KiB waits, the oldest going
// first and the overflow told once a link; and after the wait runs out nothing waits. A rule written
// from known bytes must be made, must match those bytes and give its reply, and must match their start
// in part; a rule refused blames the text that is wrong.

#include "answers/answer_rules.h"
#include "platform/code_page.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace sim::answers;
using Action = AnswerStream::Action;

// ANSWERS_FUZZ_SHOW=1 prints what an input does, to read a finding by: texts as UTF-8 and bytes, both
// with a backslash doubled and anything else but printable ASCII as \xHH.
const bool kShow = std::getenv("ANSWERS_FUZZ_SHOW") != nullptr;

QByteArray shown(const QByteArray& bytes) {
    QByteArray out;
    for (const char b : bytes) {
        const auto u = static_cast<std::uint8_t>(b);
        if (u == '\\') {
            out += "\\\\";
        } else if (u >= 0x20 && u < 0x7F) {
            out += b;
        } else {
            out += "\\x" + QByteArray::number(u, 16).rightJustified(2, '0');
        }
    }
    return out;
}

void show(const char* what, const QByteArray& detail) {
    if (kShow) {
        std::fprintf(stderr, "%s %s\n", what, detail.constData());
    }
}

void check(bool holds) {
    if (!holds) {
        std::abort(); // a broken invariant is a finding, like a crash
    }
}

// Pieces that texts are built from, so that a fair share of the rules are made and match the bytes
// of a narrow stream.
constexpr std::array<std::string_view, 18> kAsciiRegexPieces = {
    "(.)", ".*", "A", "\\x41", "[^\\r\\n]*", "..",    "\\r\\n",    "B",   "(A|B)",
    "+",   "?",  "1", "\\x00", "(\\w+)",     "\\x81", "[AB]{2,3}", "\\b", "(?:AB)*"};
constexpr std::array<std::string_view, 16> kHexRegexPieces = {
    "(..)", "(.)",     "..",          "41",   "42", "0D 0A", "(....)", " ",
    ".*",   "(?:..)*", "[0-9A-F]{2}", "0(.)", "00", "4.",    "a",      "+"};
constexpr std::array<std::string_view, 12> kAsciiPieces = {"A",   "B",    "\\r", "\\n",   "\\x41", "\\x00",
                                                           "\\0", "\\\\", "1",   "\\x81", "\\1",   "\\t"};
constexpr std::array<std::string_view, 10> kHexPieces = {"41", "42", "0D",  "0A",  "00",
                                                         " ",  "4",  "\\1", "\\2", "81"};

// The bytes of a narrow stream: few enough for patterns to meet them often.
constexpr std::array<char, 8> kNarrow = {'A', 'B', '\r', '\n', '1', '\0', '\x81', 'x'};

// At most this much is fed for one input, in at most this many steps, and no new arrival comes once the
// rules have looked at this many bytes (a try counts as 1 KiB at least): the fuzzer's second is then
// for one arrival, which must never come near it.
constexpr qsizetype kMostFed = 256 * 1024;
constexpr int kMostSteps = 64;
constexpr qint64 kMostLookedAt = qint64{32} * 1024 * 1024;
// The longest arrival: a socket event's most.
constexpr int kMostArrival = 32767;

QByteArray narrowed(QByteArray bytes, bool narrow) {
    if (narrow) {
        for (char& b : bytes) {
            b = kNarrow[static_cast<std::uint8_t>(b) % kNarrow.size()];
        }
    }
    return bytes;
}

// The text that stands for `bytes` in the data format, each byte written one of the ways it may be.
// In a regex (ASCII), anything but a letter, a digit or a character above 0x9F is written \xHH, the
// escape of its own.
QString written(FuzzedDataProvider& in, Format format, bool regex, const QByteArray& bytes) {
    static constexpr std::array<std::pair<char, std::string_view>, 5> kNamed = {
        {{'\r', "\\r"}, {'\n', "\\n"}, {'\t', "\\t"}, {'\0', "\\0"}, {'\\', "\\\\"}}};
    QString out;
    for (const char c : bytes) {
        const auto b = static_cast<std::uint8_t>(c);
        const int way = in.ConsumeIntegralInRange(0, 2);
        QString pair = QStringLiteral("%1").arg(b, 2, 16, QChar(u'0'));
        pair = in.ConsumeBool() ? pair.toLower() : pair.toUpper();
        if (format == Format::Hex) {
            out += pair;
            if (in.ConsumeBool()) {
                out += u' ';
            }
            continue;
        }
        const bool alnum = (b >= '0' && b <= '9') || (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z');
        const auto named =
            std::find_if(kNamed.begin(), kNamed.end(), [c](const auto& n) { return n.first == c; });
        if (way == 0 && (regex ? alnum || b >= 0xA0 : b != '\\')) {
            out += sim::code_page::fromAnsiByte(b);
        } else if (way == 1 && !regex && named != kNamed.end()) {
            out += QString::fromLatin1(named->second.data(), static_cast<qsizetype>(named->second.size()));
        } else {
            out += QStringLiteral("\\x") + pair;
        }
    }
    return out;
}

// A text of pieces and single characters.
template <std::size_t N>
QString pieced(FuzzedDataProvider& in, const std::array<std::string_view, N>& pieces) {
    QString out;
    const int count = in.ConsumeIntegralInRange(0, 8);
    for (int i = 0; i < count; ++i) {
        const std::size_t at = in.ConsumeIntegralInRange<std::size_t>(0, N + 1);
        if (at < N) {
            out += QString::fromLatin1(pieces[at].data(), static_cast<qsizetype>(pieces[at].size()));
        } else {
            out += QChar(in.ConsumeIntegral<std::uint8_t>());
        }
    }
    return out;
}

// Any text at all, bytes read as UTF-8 or as Latin-1.
QString anyText(FuzzedDataProvider& in) {
    const std::string raw = in.ConsumeRandomLengthString(64);
    return in.ConsumeBool() ? QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()))
                            : QString::fromLatin1(raw.data(), static_cast<qsizetype>(raw.size()));
}

struct Text {
    QString text;
    std::optional<QByteArray> bytes; // written from known bytes: what it stands for
};

Text textOf(FuzzedDataProvider& in, Format format, MatchKind kind, bool reply, bool narrow) {
    const bool regex = kind == MatchKind::Regex;
    switch (in.ConsumeIntegralInRange(0, 2)) {
    case 0: {
        const std::string raw = in.ConsumeBytesAsString(in.ConsumeIntegralInRange(reply ? 0 : 1, 6));
        const QByteArray bytes = narrowed(QByteArray(raw.data(), static_cast<qsizetype>(raw.size())), narrow);
        if (bytes.isEmpty() && !reply) {
            return {};
        }
        const QString text = written(in, format, regex && !reply, bytes);
        return {text, bytes};
    }
    case 1:
        if (format == Format::Hex) {
            return {regex && !reply ? pieced(in, kHexRegexPieces) : pieced(in, kHexPieces), std::nullopt};
        }
        return {regex && !reply ? pieced(in, kAsciiRegexPieces) : pieced(in, kAsciiPieces), std::nullopt};
    default:
        return {anyText(in), std::nullopt};
    }
}

// The rules' own checks on a rule written from known bytes.
void checkKnown(const Rule& rule, MatchKind kind, const QByteArray& literal,
                const std::optional<QByteArray>& reply) {
    const Rule::Try whole = rule.tryOn(literal);
    check(whole.outcome == Rule::Outcome::Whole && whole.skipped == 0 && whole.taken == literal.size());
    if (reply) {
        check(whole.reply == *reply);
    }
    if (literal.size() > 1) {
        // The start of a message is a message begun, whatever the kind.
        check(rule.tryOn(literal.first(literal.size() - 1)).outcome == Rule::Outcome::Partial);
    }
    if (!literal.startsWith('\x7F')) {
        // A byte before the message: `contains` leaves it to the panel and takes the rest, no other kind
        // looks further on.
        const Rule::Try later = rule.tryOn(QByteArray(1, '\x7F') + literal);
        check(kind == MatchKind::Contains ? later.outcome == Rule::Outcome::Whole && later.skipped == 1 &&
                                                later.taken == literal.size() + 1
                                          : later.outcome == Rule::Outcome::None);
    }
}

// The stream as the documentation tells it, on the same rules.
class Replay {
public:
    explicit Replay(const std::vector<Rule>& rules) : rules_(rules) {}

    // The bytes the rules have looked at so far, about as many as the stream's own tries.
    qint64 lookedAt() const { return lookedAt_; }

    void feed(AnswerStream& stream, const QByteArray& arrival) {
        show("feed", shown(arrival));
        const AnswerStream::Outcome got = stream.feed(arrival);
        showActions(got.actions);
        if (got.overflow) {
            show("  overflow", {});
        }
        fed_ += arrival.size();
        fedSinceTry_ += arrival.size();
        buffer_ += arrival;
        std::size_t at = 0;
        if (waiting().size() > AnswerStream::kMostWaiting) {
            const qsizetype excess = waiting().size() - AnswerStream::kMostWaiting;
            handedOn(got.actions, at, excess);
            check(got.overflow == !overflowed_);
            overflowed_ = true;
        } else {
            check(!got.overflow);
        }
        if (fedSinceTry_ >= tryAfter_ || arrival.size() >= 1024) {
            decide(got.actions, at, false);
        }
        check(at == got.actions.size());
        settled(stream);
    }

    void expire(AnswerStream& stream) {
        show("expire", {});
        const std::vector<Action> got = stream.expire();
        showActions(got);
        std::size_t at = 0;
        decide(got, at, true);
        check(at == got.size());
        check(lost_ || (waiting().isEmpty() && !stream.holding()));
        settled(stream);
    }

    void clear(AnswerStream& stream) {
        show("clear", {});
        stream.clear();
        dropped_ += waiting().size();
        buffer_.clear();
        start_ = 0;
        fedSinceTry_ = tryAfter_ = 0;
        overflowed_ = false;
        check(!stream.holding());
        settled(stream);
    }

private:
    static void showActions(const std::vector<Action>& actions) {
        static constexpr const char* kKinds[] = {"  reply", "  otherwise", "  failed reply"};
        for (const Action& a : actions) {
            show(kKinds[static_cast<int>(a.kind)], shown(a.bytes));
        }
    }

    // The next action hands the oldest `n` waiting bytes to the panel's answer.
    void handedOn(const std::vector<Action>& actions, std::size_t& at, qsizetype n) {
        check(n > 0 && at < actions.size());
        const Action& a = actions[at++];
        check(a.kind == Action::Kind::Otherwise && a.bytes == waiting().first(n));
        handed_ += n;
        drop(n);
    }

    // What waits, without a copy.
    QByteArray waiting() const {
        return QByteArray::fromRawData(buffer_.constData() + start_, buffer_.size() - start_);
    }

    void drop(qsizetype n) {
        start_ += n;
        if (start_ == buffer_.size() || start_ > 4096) {
            buffer_.remove(0, start_);
            start_ = 0;
        }
    }

    // The first rule that matches wholly or in part decides; with `last`, a part match waits no more. A
    // regex's part match over 1 KiB is tried again only once a sixteenth as many bytes came, or an
    // arrival of 1 KiB.
    void decide(const std::vector<Action>& actions, std::size_t& at, bool last) {
        fedSinceTry_ = tryAfter_ = 0;
        while (!waiting().isEmpty()) {
            // The replay tries every rule on all that waits for each message: past its budget it stops
            // following the stream, and the run stops stepping.
            if (lookedAt_ > kMostLookedAt) {
                lost_ = true;
                at = actions.size();
                return;
            }
            const QByteArray now = waiting();
            std::optional<Rule::Try> first;
            bool regex = false;
            for (const Rule& rule : rules_) {
                lookedAt_ += std::max<qint64>(now.size(), 1024);
                Rule::Try t = rule.tryOn(now);
                check(t.outcome == Rule::Outcome::Whole || (t.taken == 0 && t.skipped == 0 && !t.reply));
                if (t.outcome != Rule::Outcome::None) {
                    first = std::move(t);
                    regex = rule.isRegex();
                    break;
                }
            }
            if (first && first->outcome == Rule::Outcome::Partial && !last) {
                tryAfter_ = regex && now.size() >= 1024 ? now.size() / 16 : 0;
                return;
            }
            if (!first || first->outcome == Rule::Outcome::Partial) {
                handedOn(actions, at, now.size());
                continue;
            }
            const Rule::Try& t = *first;
            check(t.skipped >= 0 && t.taken > t.skipped && t.taken <= now.size());
            if (t.skipped > 0) {
                handedOn(actions, at, t.skipped);
            }
            check(at < actions.size());
            const Action& a = actions[at++];
            if (t.reply) {
                check(a.kind == Action::Kind::Reply && a.bytes == *t.reply);
            } else {
                check(a.kind == Action::Kind::FailedReply && a.bytes.isEmpty());
            }
            taken_ += t.taken - t.skipped;
            drop(t.taken - t.skipped);
        }
        tryAfter_ = 0;
    }

    void settled(const AnswerStream& stream) const {
        if (lost_) {
            return;
        }
        check(waiting().size() <= AnswerStream::kMostWaiting);
        check(stream.holding() == !waiting().isEmpty());
        check(fed_ == handed_ + taken_ + dropped_ + waiting().size());
    }

    const std::vector<Rule>& rules_;
    QByteArray buffer_; // what waits, from start_ on
    qsizetype start_ = 0;
    qsizetype fedSinceTry_ = 0;
    qsizetype tryAfter_ = 0;
    bool overflowed_ = false;
    bool lost_ = false;
    qsizetype fed_ = 0;
    qsizetype handed_ = 0;  // to the panel's answer
    qsizetype taken_ = 0;   // by replies, built or not
    qsizetype dropped_ = 0; // when the link ended
    qint64 lookedAt_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const Format format = in.ConsumeBool() ? Format::Hex : Format::Ascii;
    const bool narrow = in.ConsumeBool();
    std::vector<Rule> rules;
    const int count = in.ConsumeIntegralInRange(1, 4);
    for (int i = 0; i < count; ++i) {
        const auto kind = static_cast<MatchKind>(in.ConsumeIntegralInRange(0, 3));
        const Text when = textOf(in, format, kind, false, narrow);
        const Text send = textOf(in, format, kind, true, narrow);
        QString error;
        bool inReply = false;
        std::optional<Rule> rule = Rule::make(format, kind, when.text, send.text, &error, &inReply);
        show(format == Format::Hex ? "hex rule, kind" : "ascii rule, kind",
             QByteArray::number(static_cast<int>(kind)) + " when '" + shown(when.text.toUtf8()) + "' send '" +
                 shown(send.text.toUtf8()) + "': " + (rule ? QByteArray("made") : error.toUtf8()));
        if (!rule) {
            // Texts written from bytes are valid, and a refusal blames the other text.
            check(!error.isEmpty() && !(when.bytes && send.bytes));
            check(!when.bytes || inReply);
            check(!send.bytes || !inReply);
            continue;
        }
        check(rule->isRegex() == (kind == MatchKind::Regex));
        if (when.bytes) {
            checkKnown(*rule, kind, *when.bytes, send.bytes);
        }
        rules.push_back(std::move(*rule));
    }

    AnswerStream stream(rules);
    Replay replay(rules);
    qsizetype fed = 0;
    for (int step = 0;
         step < kMostSteps && in.remaining_bytes() > 0 && fed < kMostFed && replay.lookedAt() < kMostLookedAt;
         ++step) {
        switch (in.ConsumeIntegralInRange(0, 7)) {
        case 0:
            replay.expire(stream);
            break;
        case 1:
            replay.clear(stream);
            break;
        case 2: {
            // A burst of long arrivals, a short run of bytes over and over: a count of them, or as many as
            // it takes to fill what may wait while a message has begun.
            const std::string unit = in.ConsumeRandomLengthString(64);
            const int length = in.ConsumeIntegralInRange(1, kMostArrival);
            const bool toTheBrim = in.ConsumeBool();
            const int count =
                toTheBrim ? AnswerStream::kMostWaiting / length + 2 : in.ConsumeIntegralInRange(1, 8);
            QByteArray arrival;
            while (!unit.empty() && arrival.size() < length) {
                arrival.append(unit.data(), static_cast<qsizetype>(unit.size()));
            }
            arrival = narrowed(arrival.left(length), narrow);
            for (int i = 0; i < count && fed < kMostFed && replay.lookedAt() < kMostLookedAt; ++i) {
                fed += arrival.size();
                replay.feed(stream, arrival);
                if (toTheBrim && !stream.holding()) {
                    break;
                }
            }
            break;
        }
        default: {
            const std::string raw = in.ConsumeBytesAsString(in.ConsumeIntegralInRange(0, 64));
            const QByteArray arrival =
                narrowed(QByteArray(raw.data(), static_cast<qsizetype>(raw.size())), narrow);
            fed += arrival.size();
            replay.feed(stream, arrival);
            break;
        }
        }
    }
    replay.expire(stream);
    return 0;
}
