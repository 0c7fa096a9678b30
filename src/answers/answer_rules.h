#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QRegularExpression>
#include <QString>

#include <optional>
#include <vector>

namespace sim::answers {

// The panel's data format, in which a rule's pattern and reply are written.
enum class Format { Ascii, Hex };
enum class MatchKind { Exact, Starts, Contains, Regex };
// A kind of match by the name profiles give it (exact, starts, contains, regex), and back.
const char* matchKindName(MatchKind kind);
std::optional<MatchKind> matchKindNamed(QStringView name);

// One rule: what it looks for at the start of the bytes that wait for an answer, and what it sends.
class Rule {
public:
    // The rule the texts make, or nothing and why in `error`; `inReply` tells whether the reply is wrong
    // rather than the pattern.
    static std::optional<Rule> make(Format format, MatchKind kind, const QString& when, const QString& send,
                                    QString* error, bool* inReply = nullptr);

    enum class Outcome { None, Partial, Whole };
    struct Try {
        Outcome outcome = Outcome::None;
        qsizetype skipped = 0;           // a whole `contains` match: the bytes before it, unmatched
        qsizetype taken = 0;             // a whole match: the bytes it takes from the start
        std::optional<QByteArray> reply; // a whole match: its reply, or nothing if it cannot be built
    };
    // One pass of the rules over the bytes that wait, from `from` on: what the tries share, so that a
    // pass over many messages reads the bytes about once.
    struct Pass {
        explicit Pass(const QByteArray& bytes, std::size_t rules) : all(bytes), seen(rules) {}
        const QByteArray& all;
        qsizetype from = 0; // the bytes before it are decided
        QString text;       // what a regex reads of `all`, built by the first regex rule that needs it
        struct Seen {
            qsizetype found = -2; // a `contains` pattern's next place at or after `from`; -1 none, -2 unknown
            qsizetype tail = -1;  // the longest end of `all` that begins the pattern; -1 unknown
        };
        std::vector<Seen> seen; // one a rule
    };
    Try tryOn(Pass& pass, Pass::Seen& seen) const;
    // A try on these bytes alone.
    Try tryOn(const QByteArray& waiting) const {
        Pass pass(waiting, 1);
        return tryOn(pass, pass.seen.front());
    }
    bool isRegex() const { return kind_ == MatchKind::Regex; }

private:
    // A reply is literal parts and the groups of the pattern between them.
    struct Piece {
        QByteArray literal; // bytes (ASCII) or hexadecimal digits (Hex)
        int group = 0;      // 1 to 9: what that group caught
    };
    std::optional<QByteArray> replyFor(const QRegularExpressionMatch& match) const;

    Format format_ = Format::Ascii;
    MatchKind kind_ = MatchKind::Exact;
    QByteArray literal_;
    std::vector<qsizetype> border_; // `contains`: the longest proper end of each beginning of the pattern
                                    // that also begins it
    QRegularExpression regex_;
    std::vector<Piece> reply_;
};

// The bytes of a link that no rule has taken yet, and the rules tried on them.
class AnswerStream {
public:
    static constexpr qsizetype kMostWaiting = 64 * 1024;

    struct Action {
        enum class Kind { Reply, Otherwise, FailedReply } kind;
        QByteArray bytes; // the reply, or the bytes the panel's own answer is for
        int rule = 0;     // the rule that made a reply, from 1
    };
    struct Outcome {
        std::vector<Action> actions;
        bool overflow = false; // the first time on this link that bytes had to be let go unmatched
    };

    explicit AnswerStream(const std::vector<Rule>& rules) : rules_(rules) {}

    // An arrival: the answers it brings, in order.
    Outcome feed(QByteArrayView arrival);
    // The wait for the rest of a message ran out: one last try, then what still waits goes unmatched.
    std::vector<Action> expire();
    // The link ended: what waits is dropped unanswered.
    void clear();
    // A partial match holds bytes: the caller runs the wait.
    bool holding() const { return !waiting_.isEmpty(); }

private:
    void decide(std::vector<Action>& out, bool last);

    const std::vector<Rule>& rules_;
    QByteArray waiting_;
    qsizetype fedSinceTry_ = 0; // a long partial match is tried again once this many bytes came
    qsizetype tryAfter_ = 0;
    bool overflowed_ = false;
};

// The rules of a run and what becomes of the bytes none of them takes.
struct AnswerSettings {
    std::vector<Rule> rules;    // none: the panel answers as it always has
    bool otherwisePanel = true; // bytes no rule takes get the panel's own answer, or none
    int waitMs = 50;            // for the rest of a message that has begun to match
};

} // namespace sim::answers
