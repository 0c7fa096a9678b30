#include "answers/answer_rules.h"

#include <gtest/gtest.h>

namespace sim::answers {
namespace {

// Bytes as a test reads them: printable ASCII as it is, the rest as \xHH.
QString shown(const QByteArray& bytes) {
    QString out;
    for (const char b : bytes) {
        const auto u = static_cast<unsigned char>(b);
        out += u >= 0x20 && u < 0x7F ? QString(QChar(u)) : QStringLiteral("\\x%1").arg(u, 2, 16, QChar(u'0'));
    }
    return out;
}

struct RuleText {
    MatchKind kind;
    const char* when;
    const char* send;
};

std::vector<Rule> rulesOf(Format format, const std::vector<RuleText>& texts) {
    std::vector<Rule> rules;
    for (const RuleText& t : texts) {
        QString error;
        auto rule = Rule::make(format, t.kind, QString::fromUtf8(t.when), QString::fromUtf8(t.send), &error);
        EXPECT_TRUE(rule) << t.when << ": " << error.toStdString();
        if (rule) {
            rules.push_back(std::move(*rule));
        }
    }
    return rules;
}

// Each step is an arrival, or "~" for the wait running out; after it, the answers it brought: "reply X",
// "panel X" (the panel's own answer for X), "fail" (a reply that could not be built), "overflow".
TEST(AnswerStream, TheFirstRuleThatMatchesWhollyOrInPartDecidesOnTheStreamAsTcpCutsIt) {
    using enum MatchKind;
    const std::vector<RuleText> line = {{Exact, "PING\\r\\n", "+PONG\\r\\n"},
                                        {Regex, "ECHO (\\w+)\\r\\n", "\\1\\r\\n"},
                                        {Starts, "GET", "OK"},
                                        {Contains, "ERR", "seen"}};
    struct Case {
        Format format;
        std::vector<RuleText> rules;
        std::vector<QByteArray> steps;
        QStringList answers; // one entry per step, answers joined by " | "
    };
    const Case cases[] = {
        {Format::Ascii,
         line,
         {"PING\r\nECHO hi\r\nxy"},
         {"reply +PONG\\x0d\\x0a | reply hi\\x0d\\x0a | panel xy"}},
        {Format::Ascii, line, {"PI", "~"}, {"", "panel PI"}},
        {Format::Ascii, line, {"PIX"}, {"panel PIX"}},
        {Format::Ascii, line, {"GET /a GET /b"}, {"reply OK"}},
        {Format::Ascii, line, {"G", "E", "T1"}, {"", "", "reply OK"}},
        {Format::Ascii, line, {"xxER", "R yy"}, {"", "panel xx | reply seen"}},
        // The exact rule's partial match holds back the contains rule behind it.
        {Format::Ascii, {{Exact, "ABC", "1"}, {Contains, "B", "2"}}, {"AB", "~"}, {"", "panel AB"}},
        // A regex over the code page's characters; \xHH is the character of that byte.
        {Format::Ascii, {{Regex, "\\x80(.)", "\\x80\\1\\0"}}, {"\x80z"}, {"reply \\x80z\\x00"}},
        {Format::Ascii, {{Regex, "x*", "never"}}, {"ab"}, {"panel ab"}},
        // A match that ends inside a byte is none; a reply of an odd number of digits cannot be built.
        {Format::Hex,
         {{Regex, "0", "00"}, {Regex, "(.)2", "\\1"}},
         {"\x01", "\x12"},
         {"panel \\x01", "fail"}},
        {Format::Hex, {{Exact, "0D 0a", "4F4B"}}, {"\r", "\n\r"}, {"", "reply OK"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rules.front().when);
        const std::vector<Rule> rules = rulesOf(c.format, c.rules);
        AnswerStream stream(rules);
        QStringList answers;
        for (const QByteArray& step : c.steps) {
            QStringList now;
            std::vector<AnswerStream::Action> actions;
            if (step == "~") {
                actions = stream.expire();
            } else {
                const auto fed = stream.feed(step);
                actions = fed.actions;
                if (fed.overflow) {
                    now << QStringLiteral("overflow");
                }
            }
            for (const auto& a : actions) {
                using enum AnswerStream::Action::Kind;
                now << (a.kind == Reply       ? "reply " + shown(a.bytes)
                        : a.kind == Otherwise ? "panel " + shown(a.bytes)
                                              : "fail");
            }
            answers << now.join(QStringLiteral(" | "));
        }
        EXPECT_EQ(answers, c.answers);
    }
}

// The link's stories show the bound at work; a link tells of it once.
TEST(AnswerStream, TellsOfTheFirstOverflowOfALinkOnly) {
    const std::vector<Rule> rules = rulesOf(Format::Ascii, {{MatchKind::Regex, "A.*B", "x"}});
    AnswerStream stream(rules);
    const QByteArray tooMuch = "A" + QByteArray(65536, '-');
    EXPECT_TRUE(stream.feed(tooMuch).overflow);
    EXPECT_FALSE(stream.feed(tooMuch).overflow);
    stream.clear();
    EXPECT_TRUE(stream.feed(tooMuch).overflow) << "a new link tells again";
}

TEST(Rule, ABadRuleSaysWhy) {
    const std::tuple<Format, MatchKind, const char*, const char*, const char*> cases[] = {
        {Format::Ascii, MatchKind::Exact, "", "x", "the pattern is empty"},
        {Format::Ascii, MatchKind::Exact, "a\\q", "x",
         "'\\q' (character 2) is no escape; use \\r \\n \\t \\0 \\\\ or \\xHH"},
        {Format::Ascii, MatchKind::Exact, "a", "\\1",
         "'\\1' (character 1) is no escape; use \\r \\n \\t \\0 \\\\ or \\xHH"},
        {Format::Ascii, MatchKind::Exact, "\u4E2D", "x", "'\u4E2D' (character 1) is not in the code page"},
        {Format::Hex, MatchKind::Exact, "0A0", "00", "the pattern has an odd number of hexadecimal digits"},
        {Format::Hex, MatchKind::Exact, "0A", "000", "the reply has an odd number of hexadecimal digits"},
    };
    for (const auto& [format, kind, when, send, why] : cases) {
        QString error;
        EXPECT_FALSE(Rule::make(format, kind, QString::fromUtf8(when), QString::fromUtf8(send), &error))
            << when;
        EXPECT_EQ(error, QString::fromUtf8(why)) << when;
    }
}

} // namespace
} // namespace sim::answers
