#include "answers/expectations.h"

#include <gtest/gtest.h>

namespace sim::answers {
namespace {

Expectation expecting(MatchKind kind, const char* when) {
    QString error;
    auto rule = Rule::make(Format::Ascii, kind, QString::fromLatin1(when), QString(), &error);
    EXPECT_TRUE(rule) << error.toStdString();
    return {*rule, QString::fromLatin1(when), kind};
}

// Each event is "send" (a step: "send 2"), "arrive TEXT", "due", "end" of the link or "cut" by the run's
// end, at a time in ms; the verdicts it gives read "#N pass 12ms" or "#N fail why [came]". A send without
// an expectation passes with the first arrival after it and takes none of its bytes.
TEST(ExpectationJudge, MatchesRepliesToSendsInOrderOnTheStream) {
    struct Event {
        qint64 ms;
        const char* what;
    };
    struct Case {
        const char* name;
        std::vector<Event> events;
        QStringList verdicts;
        bool expectEverySend = true; // or only the sends of steps 0 and 2
        QString summary = {};
    };
    const Case cases[] = {
        {"pipelined: two sends before the first reply, the replies cut and glued",
         {{0, "send"}, {5, "send"}, {20, "arrive +PO"}, {22, "arrive NG\r\n+PONG\r\n"}},
         {"#1 pass 22ms", "#2 pass 17ms"}},
        {"a wrong reply fails its send only",
         {{0, "send"}, {1, "send"}, {10, "arrive -ERR\r\n"}, {11, "arrive +PONG\r\n"}},
         {"#1 fail what came cannot match [-ERR\r\n]", "#2 pass 10ms"}},
        {"a late reply fails one send and not the next",
         {{0, "send"}, {900, "send"}, {1000, "due"}, {1100, "arrive +PONG\r\n"}},
         {"#1 fail nothing came within 1000 ms []", "#2 pass 200ms"}},
        {"what arrives with no send waiting is not judged; a part match that stops waiting fails at the "
         "deadline",
         {{0, "arrive junk"}, {10, "send"}, {20, "arrive +PO"}, {1010, "due"}},
         {"#1 fail no whole match came within 1000 ms [+PO]"}},
        {"program steps with their own expectations, one falling back",
         {{0, "send 0"},
          {10, "arrive A1"},
          {20, "send 1"},
          {30, "arrive +PONG\r\n"},
          {40, "send 2"},
          {41, "arrive xB"}},
         {"#1 pass 10ms", "#2 pass 10ms", "#3 pass 1ms"}},
        {"the link ends with sends waiting",
         {{0, "send"}, {1, "send"}, {5, "end"}},
         {"#1 fail the link ended []", "#2 fail the link ended []"}},
        {"sends without an expectation take no bytes",
         {{0, "send 1"}, {5, "send 2"}, {6, "send 1"}, {10, "arrive A\r\nB\r\n"}},
         {"#1 pass 10ms", "#2 pass 5ms", "#3 pass 4ms"},
         false},
        {"the run's end cuts off the sends still in their time: neither passed nor failed, only counted",
         {{0, "send"}, {10, "send"}, {20, "arrive +PONG\r\n"}, {25, "cut"}},
         {"#1 pass 20ms"},
         true,
         "summary: 2 sends, 1 replies, 1 expectations passed, 0 failed, 1 cut off by the end; reply time ms: "
         "min 20.000, median 20.000, 99th percentile 20.000, max 20.000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectationJudge judge(c.expectEverySend ? std::optional(expecting(MatchKind::Exact, "+PONG\\r\\n"))
                                                 : std::nullopt,
                               {expecting(MatchKind::Starts, "A"), std::nullopt,
                                expecting(MatchKind::Contains, "B"), std::nullopt},
                               1000);
        QStringList verdicts;
        for (const Event& e : c.events) {
            const QString what = QString::fromLatin1(e.what);
            const qint64 at = e.ms * 1000;
            std::vector<ExpectationJudge::Verdict> got;
            if (what.startsWith("send")) {
                judge.sent(at, what.size() > 5 ? what.mid(5).toInt() : -1);
            } else if (what.startsWith("arrive ")) {
                got = judge.arrived(at, what.mid(7).toLatin1());
            } else if (what == "cut") {
                judge.cutOff();
                EXPECT_EQ(judge.nextDeadline(), std::nullopt);
            } else {
                got = what == "due" ? judge.due(at) : judge.linkEnded();
            }
            for (const auto& v : got) {
                verdicts << (v.passed ? QStringLiteral("#%1 pass %2ms").arg(v.send).arg(*v.replyUs / 1000)
                                      : QStringLiteral("#%1 fail %2 [%3]")
                                            .arg(v.send)
                                            .arg(v.why, QString::fromLatin1(v.came)));
            }
        }
        EXPECT_EQ(verdicts, c.verdicts);
        EXPECT_TRUE(c.summary.isEmpty() || judge.summary() == c.summary) << judge.summary().toStdString();
    }
}

// What came is shown as a pattern would be written, so it can be copied into one.
TEST(ExpectationJudge, AFailureShowsWhatCameInTheDataFormat) {
    const Expectation expected = expecting(MatchKind::Exact, "A");
    ExpectationJudge::Verdict v;
    v.send = 2;
    v.step = 1;
    v.stamp = "10:00:00.000";
    v.expected = &expected;
    v.came = QByteArray("\x1b\\\x80\t\0x", 6);
    v.cameCount = 70;
    v.why = "what came cannot match";
    const QString head =
        "expect fail: send 2 (step 1) at 10:00:00.000: expected A (exact): what came cannot match; "
        "came 70 bytes: ";
    EXPECT_EQ(describeFailure(v, Format::Ascii), head + QString::fromUtf16(u"\\x1B\\\\\u20AC\\t\\0x"));
    EXPECT_EQ(describeFailure(v, Format::Hex), head + "1B 5C 80 09 00 78");
}

TEST(ReplyTimes, KeepsPercentilesWithinAThousandthInBoundedMemory) {
    ReplyTimes times;
    for (qint64 us = 1; us <= 1'000'000; ++us) {
        times.add(us);
    }
    EXPECT_EQ(times.count(), 1'000'000);
    EXPECT_EQ(times.min(), 1);
    EXPECT_EQ(times.max(), 1'000'000);
    for (const double p : {1.0, 50.0, 99.0}) {
        const double exact = p * 10'000;
        EXPECT_NEAR(static_cast<double>(times.percentile(p)), exact, exact * 0.001) << p;
    }
    EXPECT_EQ(times.percentile(100), 1'000'000);
}

} // namespace
} // namespace sim::answers
