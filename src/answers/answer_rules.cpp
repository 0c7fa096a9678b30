#include "answers/answer_rules.h"

#include "platform/code_page.h"

#include <utility>

namespace sim::answers {
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

int hexDigit(QChar c) {
    const char16_t u = c.unicode();
    return u >= '0' && u <= '9'   ? u - '0'
           : u >= 'a' && u <= 'f' ? u - 'a' + 10
           : u >= 'A' && u <= 'F' ? u - 'A' + 10
                                  : -1;
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
            if (!known && next == u'x' && i + 3 < text.size() && hexDigit(text[i + 2]) >= 0 &&
                hexDigit(text[i + 3]) >= 0) {
                literal.append(static_cast<char>(hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3])));
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
            if (hexDigit(c) < 0) {
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
            hexDigit(pattern[i + 2]) >= 0 && hexDigit(pattern[i + 3]) >= 0) {
            const auto byte =
                static_cast<std::uint8_t>(hexDigit(pattern[i + 2]) * 16 + hexDigit(pattern[i + 3]));
            out += QRegularExpression::escape(QString(code_page::fromAnsiByte(byte)));
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

bool endsInStartOf(const QByteArray& waiting, const QByteArray& pattern) {
    for (qsizetype n = std::min(waiting.size(), pattern.size() - 1); n > 0; --n) {
        if (waiting.endsWith(QByteArrayView(pattern).first(n))) {
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<Rule> Rule::make(Format format, MatchKind kind, const QString& when, const QString& send,
                               QString* error, bool* inReply) {
    bool replyWrong = false;
    auto rule = makeRule(format, kind, when, send, error, replyWrong);
    if (inReply != nullptr) {
        *inReply = replyWrong;
    }
    return rule;
}

std::optional<Rule> Rule::makeRule(Format format, MatchKind kind, const QString& when, const QString& send,
                                   QString* error, bool& inReply) {
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
        rule.regex_ = QRegularExpression(format == Format::Hex ? when : asciiRegex(when), options);
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
    }
    inReply = true;
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

Rule::Try Rule::tryOn(const QByteArray& waiting, QString& subject) const {
    switch (kind_) {
    case MatchKind::Exact:
    case MatchKind::Starts:
        if (waiting.startsWith(literal_)) {
            return {Outcome::Whole, 0, kind_ == MatchKind::Exact ? literal_.size() : waiting.size(),
                    replyFor({})};
        }
        return {literal_.startsWith(waiting) ? Outcome::Partial : Outcome::None, 0, 0, std::nullopt};
    case MatchKind::Contains:
        if (const qsizetype at = waiting.indexOf(literal_); at >= 0) {
            return {Outcome::Whole, at, waiting.size(), replyFor({})};
        }
        return {endsInStartOf(waiting, literal_) ? Outcome::Partial : Outcome::None, 0, 0, std::nullopt};
    case MatchKind::Regex:
        break;
    }
    const bool hex = format_ == Format::Hex;
    if (subject.isEmpty()) {
        subject = hex ? hexDigits(waiting) : code_page::fromAnsi(waiting);
    }
    const QRegularExpressionMatch m = regex_.match(subject, 0, QRegularExpression::PartialPreferCompleteMatch,
                                                   QRegularExpression::AnchorAtOffsetMatchOption);
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
    if (waiting_.size() > kMostWaiting) {
        const qsizetype excess = waiting_.size() - kMostWaiting;
        out.actions.push_back({Action::Kind::Otherwise, waiting_.left(excess)});
        waiting_.remove(0, excess);
        out.overflow = !std::exchange(overflowed_, true);
        nextTry_ = 0;
    }
    if (waiting_.size() >= nextTry_ || arrival.size() >= kShortMessage) {
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
    nextTry_ = 0;
    overflowed_ = false;
}

// The first rule in order that matches wholly or in part decides; bytes no rule can take get the
// panel's own answer, together.
void AnswerStream::decide(std::vector<Action>& out, bool last) {
    while (!waiting_.isEmpty()) {
        bool taken = false;
        QString subject;
        for (const Rule& rule : rules_) {
            const Rule::Try t = rule.tryOn(waiting_, subject);
            if (t.outcome == Rule::Outcome::Partial) {
                if (last) {
                    break;
                }
                const bool longRegex = rule.isRegex() && waiting_.size() >= kShortMessage;
                nextTry_ = longRegex ? waiting_.size() + waiting_.size() / 16 : 0;
                return;
            }
            if (t.outcome == Rule::Outcome::Whole) {
                // A `contains` rule matches further on: the bytes before its match were no message of
                // its, and get their answer first.
                if (t.skipped > 0) {
                    out.push_back({Action::Kind::Otherwise, waiting_.left(t.skipped)});
                }
                out.push_back(t.reply ? Action{Action::Kind::Reply, *t.reply}
                                      : Action{Action::Kind::FailedReply, {}});
                waiting_.remove(0, t.taken);
                taken = true;
                break;
            }
        }
        if (!taken) {
            out.push_back({Action::Kind::Otherwise, std::exchange(waiting_, {})});
        }
    }
    nextTry_ = 0;
}

} // namespace sim::answers
