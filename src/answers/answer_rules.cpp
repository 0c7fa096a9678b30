#include "answers/answer_rules.h"

#include "platform/code_page.h"
#include "platform/text_number.h"

#include <utility>

namespace sim::answers {

namespace {
constexpr const char* kMatchKindNames[] = {"exact", "starts", "contains", "regex"};
} // namespace

const char* matchKindName(MatchKind kind) {
    return kMatchKindNames[static_cast<int>(kind)];
}

std::optional<MatchKind> matchKindNamed(QStringView name) {
    for (const char* const& known : kMatchKindNames) {
        if (name == QLatin1String(known)) {
            return static_cast<MatchKind>(&known - kMatchKindNames);
        }
    }
    return std::nullopt;
}
namespace {

// A partial match of a regex over this many bytes is tried again only once the bytes have grown by a
// sixteenth, or an arrival brings as many bytes: trying at every arrival would cost the square of the
// message's length when it comes a few bytes at a time.
constexpr qsizetype kShortMessage = 1024;

// The bytes as a hexadecimal regex reads them: two upper-case digits a byte.
QString hexDigits(const QByteArray& bytes) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    QString out(bytes.size() * 2, Qt::Uninitialized);
    QChar* at = out.data();
    for (const char b : bytes) {
        const auto u = static_cast<unsigned char>(b);
        *at++ = QChar(kDigits[u >> 4]);
        *at++ = QChar(kDigits[u & 15]);
    }
    return out;
}

// A text of the data format read into literal parts and group numbers: ASCII with the escapes \r \n \t
// \0 \\ and \xHH, or hexadecimal digits with blanks between them. `\1` to `\9` name groups where
// `groups` allows them.
bool readText(Format format, const QString& text, bool groups, QByteArray& literal, std::vector<int>* groupAt,
              std::vector<QByteArray>* parts, QString* error) {
    const auto fail = [&](const QString& why) {
        *error = why;
        return false;
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\\') {
            const QChar next = i + 1 < text.size() ? text[i + 1] : QChar();
            if (next >= u'1' && next <= u'9' && groups) {
                parts->push_back(std::exchange(literal, {}));
                groupAt->push_back(next.unicode() - '0');
                ++i;
                continue;
            }
            if (format == Format::Hex) {
                return fail(
                    QStringLiteral("'\\%1' (character %2) is no group of the pattern").arg(next).arg(i + 1));
            }
            static constexpr std::pair<char16_t, char> kEscapes[] = {
                {u'r', '\r'}, {u'n', '\n'}, {u't', '\t'}, {u'0', '\0'}, {u'\\', '\\'}};
            bool known = false;
            for (const auto& [name, byte] : kEscapes) {
                if (next == name) {
                    literal.append(byte);
                    known = true;
                }
            }
            if (!known && next == u'x' && i + 3 < text.size() && hexDigitValue(text[i + 2]) >= 0 &&
                hexDigitValue(text[i + 3]) >= 0) {
                literal.append(
                    static_cast<char>(hexDigitValue(text[i + 2]) * 16 + hexDigitValue(text[i + 3])));
                i += 2;
                known = true;
            }
            if (!known) {
                return fail(
                    QStringLiteral("'\\%1' (character %2) is no escape; use \\r \\n \\t \\0 \\\\ or \\xHH")
                        .arg(next)
                        .arg(i + 1));
            }
            ++i;
        } else if (format == Format::Hex) {
            if (c == u' ') {
                continue;
            }
            if (hexDigitValue(c) < 0) {
                return fail(QStringLiteral("'%1' (character %2) is no hexadecimal digit").arg(c).arg(i + 1));
            }
            literal.append(static_cast<char>(c.toUpper().unicode()));
        } else {
            const int code = code_page::ansiCode(c);
            if (code < 0) {
                return fail(QStringLiteral("'%1' (character %2) is not in the code page").arg(c).arg(i + 1));
            }
            literal.append(static_cast<char>(code));
        }
    }
    parts->push_back(literal);
    return true;
}

// An ASCII regex runs over the bytes read through the code page: \xHH stands for the character of that
// byte, and everything else is the regex's own.
QString asciiRegex(const QString& pattern) {
    QString out;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'\\' && i + 3 < pattern.size() && pattern[i + 1] == u'x' &&
            hexDigitValue(pattern[i + 2]) >= 0 && hexDigitValue(pattern[i + 3]) >= 0) {
            const auto byte =
                static_cast<std::uint8_t>(hexDigitValue(pattern[i + 2]) * 16 + hexDigitValue(pattern[i + 3]));
            // In PCRE's own form: a NUL escaped as \0 would read the digits after it as octal.
            out += QStringLiteral("\\x{%1}").arg(code_page::fromAnsiByte(byte).unicode(), 0, 16);
            i += 3;
        } else if (pattern[i] == u'\\' && i + 1 < pattern.size()) {
            out += pattern.mid(i, 2);
            ++i;
        } else {
            out += pattern[i];
        }
    }
    return out;
}

// The longest proper end of each beginning of the pattern that also begins it (the failure links of a
// Knuth-Morris-Pratt search), so that the ends of the waiting bytes that begin a `contains` pattern are
// found without comparing each again.
std::vector<qsizetype> bordersOf(const QByteArray& pattern) {
    std::vector<qsizetype> border(pattern.size(), 0);
    for (qsizetype i = 1, k = 0; i < pattern.size(); ++i) {
        while (k > 0 && pattern[i] != pattern[k]) {
            k = border[k - 1];
        }
        k += pattern[i] == pattern[k] ? 1 : 0;
        border[i] = k;
    }
    return border;
}

// A try of a regex gives up past this many steps of its own and counts as no match, so that no pattern
// can hold the panel's thread for long on any bytes.
constexpr const char* kRegexLimit = "(*LIMIT_MATCH=200000)";

} // namespace

std::optional<Rule> Rule::make(Format format, MatchKind kind, const QString& when, const QString& send,
                               QString* error, bool* inReply) {
    bool replyWrong = false;
    if (inReply == nullptr) {
        inReply = &replyWrong;
    }
    *inReply = false;
    Rule rule;
    rule.format_ = format;
    rule.kind_ = kind;
    if (when.isEmpty()) {
        *error = QStringLiteral("the pattern is empty");
        return std::nullopt;
    }
    int groups = 0;
    if (kind == MatchKind::Regex) {
        // Hexadecimal digits match in either case, and blanks in the pattern only set its bytes apart.
        const QRegularExpression::PatternOptions options =
            format == Format::Hex
                ? QRegularExpression::CaseInsensitiveOption | QRegularExpression::ExtendedPatternSyntaxOption
                : QRegularExpression::NoPatternOption;
        rule.regex_ = QRegularExpression(
            QLatin1String(kRegexLimit) + (format == Format::Hex ? when : asciiRegex(when)), options);
        if (!rule.regex_.isValid()) {
            *error = QStringLiteral("the pattern does not compile: %1").arg(rule.regex_.errorString());
            return std::nullopt;
        }
        groups = rule.regex_.captureCount();
    } else {
        std::vector<int> none;
        std::vector<QByteArray> parts;
        QByteArray literal;
        if (!readText(format, when, false, literal, &none, &parts, error)) {
            return std::nullopt;
        }
        rule.literal_ = parts.front();
        if (format == Format::Hex) {
            if (rule.literal_.size() % 2 != 0) {
                *error = QStringLiteral("the pattern has an odd number of hexadecimal digits");
                return std::nullopt;
            }
            rule.literal_ = QByteArray::fromHex(rule.literal_);
        }
        if (rule.literal_.isEmpty()) {
            *error = QStringLiteral("the pattern is empty");
            return std::nullopt;
        }
        rule.border_ = bordersOf(rule.literal_);
    }
    *inReply = true;
    std::vector<int> groupAt;
    std::vector<QByteArray> parts;
    QByteArray literal;
    if (!readText(format, send, kind == MatchKind::Regex, literal, &groupAt, &parts, error)) {
        return std::nullopt;
    }
    qsizetype digits = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const int group = i < groupAt.size() ? groupAt[i] : 0;
        if (group > groups) {
            *error =
                QStringLiteral("the reply names group %1, and the pattern has %2").arg(group).arg(groups);
            return std::nullopt;
        }
        rule.reply_.push_back({parts[i], group});
        digits += parts[i].size();
    }
    if (format == Format::Hex && groupAt.empty() && digits % 2 != 0) {
        *error = QStringLiteral("the reply has an odd number of hexadecimal digits");
        return std::nullopt;
    }
    return rule;
}

std::optional<QByteArray> Rule::replyFor(const QRegularExpressionMatch& match) const {
    QByteArray out;
    for (const Piece& piece : reply_) {
        out += piece.literal;
        if (piece.group > 0) {
            const QString caught = match.captured(piece.group);
            out += format_ == Format::Hex ? caught.toLatin1().toUpper() : code_page::toAnsi(caught);
        }
    }
    if (format_ == Format::Ascii) {
        return out;
    }
    if (out.size() % 2 != 0) {
        return std::nullopt;
    }
    return QByteArray::fromHex(out);
}

Rule::Try Rule::tryOn(Pass& pass, Pass::Seen& seen) const {
    const QByteArrayView rest = QByteArrayView(pass.all).sliced(pass.from);
    switch (kind_) {
    case MatchKind::Exact:
    case MatchKind::Starts:
        if (rest.startsWith(literal_)) {
            return {Outcome::Whole, 0, kind_ == MatchKind::Exact ? literal_.size() : rest.size(),
                    replyFor({})};
        }
        return {QByteArrayView(literal_).startsWith(rest) ? Outcome::Partial : Outcome::None, 0, 0,
                std::nullopt};
    case MatchKind::Contains:
        // Where the pattern is next found only moves on as the pass does, and what waits ends the same.
        if (seen.found == -2 || (seen.found >= 0 && seen.found < pass.from)) {
            seen.found = pass.all.indexOf(literal_, pass.from);
        }
        if (seen.found >= 0) {
            return {Outcome::Whole, seen.found - pass.from, rest.size(), replyFor({})};
        }
        if (seen.tail < 0) {
            seen.tail = 0;
            for (qsizetype i = std::max<qsizetype>(0, pass.all.size() - literal_.size()); i < pass.all.size();
                 ++i) {
                while (seen.tail > 0 &&
                       (seen.tail == literal_.size() || pass.all[i] != literal_[seen.tail])) {
                    seen.tail = border_[seen.tail - 1];
                }
                seen.tail += pass.all[i] == literal_[seen.tail] ? 1 : 0;
            }
            seen.tail = seen.tail == literal_.size() ? border_[seen.tail - 1] : seen.tail;
        }
        for (qsizetype n = seen.tail; n > 0; n = border_[n - 1]) {
            if (n <= rest.size()) {
                return {Outcome::Partial, 0, 0, std::nullopt};
            }
        }
        return {};
    case MatchKind::Regex:
        break;
    }
    const bool hex = format_ == Format::Hex;
    if (pass.text.isNull()) {
        pass.text = hex ? hexDigits(pass.all) : code_page::fromAnsi(pass.all);
    }
    const QStringView subject = QStringView(pass.text).sliced(hex ? 2 * pass.from : pass.from);
    // The text is ours, one whole character a byte, so PCRE need not check it all again at every try.
    const QRegularExpressionMatch m = regex_.match(subject, 0, QRegularExpression::PartialPreferCompleteMatch,
                                                   QRegularExpression::AnchorAtOffsetMatchOption |
                                                       QRegularExpression::DontCheckSubjectStringMatchOption);
    if (m.hasMatch()) {
        const qsizetype end = m.capturedEnd(0);
        // A match of nothing takes nothing, and one that ends inside a byte is none.
        if (end == 0 || (hex && end % 2 != 0)) {
            return {};
        }
        return {Outcome::Whole, 0, hex ? end / 2 : end, replyFor(m)};
    }
    return {m.hasPartialMatch() ? Outcome::Partial : Outcome::None, 0, 0, std::nullopt};
}

AnswerStream::Outcome AnswerStream::feed(QByteArrayView arrival) {
    Outcome out;
    waiting_.append(arrival);
    fedSinceTry_ += arrival.size();
    if (waiting_.size() > kMostWaiting) {
        const qsizetype excess = waiting_.size() - kMostWaiting;
        out.actions.push_back({Action::Kind::Otherwise, waiting_.left(excess)});
        waiting_.remove(0, excess);
        out.overflow = !std::exchange(overflowed_, true);
    }
    if (fedSinceTry_ >= tryAfter_ || arrival.size() >= kShortMessage) {
        decide(out.actions, false);
    }
    return out;
}

std::vector<AnswerStream::Action> AnswerStream::expire() {
    std::vector<Action> out;
    decide(out, true);
    return out;
}

void AnswerStream::clear() {
    waiting_.clear();
    fedSinceTry_ = tryAfter_ = 0;
    overflowed_ = false;
}

// The first rule in order that matches wholly or in part decides; bytes no rule can take get the
// panel's own answer, together. The decided bytes leave at the end of the pass, all at once.
void AnswerStream::decide(std::vector<Action>& out, bool last) {
    Rule::Pass pass(waiting_, rules_.size());
    fedSinceTry_ = tryAfter_ = 0;
    while (pass.from < waiting_.size()) {
        const QByteArrayView rest = QByteArrayView(waiting_).sliced(pass.from);
        std::optional<Rule::Try> decided;
        int rule = 0;
        for (std::size_t i = 0; i < rules_.size() && !decided; ++i) {
            const Rule::Try t = rules_[i].tryOn(pass, pass.seen[i]);
            if (t.outcome != Rule::Outcome::None) {
                decided = t;
                rule = static_cast<int>(i) + 1;
            }
            // A long regex waiting in part is tried again once what waits has grown by a sixteenth.
            if (t.outcome == Rule::Outcome::Partial && rules_[i].isRegex() && rest.size() >= kShortMessage) {
                tryAfter_ = rest.size() / 16;
            }
        }
        if (decided && decided->outcome == Rule::Outcome::Partial && !last) {
            break;
        }
        if (!decided || decided->outcome == Rule::Outcome::Partial) {
            out.push_back({Action::Kind::Otherwise, rest.toByteArray()});
            pass.from = waiting_.size();
            break;
        }
        // A `contains` rule matches further on: the bytes before its match were no message of its, and
        // get their answer first.
        if (decided->skipped > 0) {
            out.push_back({Action::Kind::Otherwise, rest.first(decided->skipped).toByteArray()});
        }
        out.push_back(decided->reply ? Action{Action::Kind::Reply, *decided->reply, rule}
                                     : Action{Action::Kind::FailedReply, {}, rule});
        pass.from += decided->taken;
    }
    waiting_.remove(0, pass.from);
    if (waiting_.isEmpty()) {
        tryAfter_ = 0;
    }
}

} // namespace sim::answers
