// Runs without an operator on the simulated platform: the start press, the end after the duration, the
// close once the start button's handler has returned, and the verdict.

#include "app/automated_run.h"
#include "app/profile.h"
#include "app/run_outputs.h"
#include "support/files.h"
#include "support/sim_form.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <map>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The form as the program builds it for a run: its message boxes told to the verdict, its rows printed.
struct Unattended {
    SimPlatform sim;
    RunVerdict verdict;
    WatchedDialogs dialogs{sim.dialogs, verdict};
    FrmSimulator form{{sim.scheduler, sim.scheduler, sim.network, dialogs, sim.settings, sim.scheduler,
                       sim.folders, sim.browser, sim.files}};
    Panel& p = form.panel();
    QStringList printed;
    QStringList notes; // what standard error gets
    std::unique_ptr<RunOutputs> outputs;
    std::unique_ptr<AutomatedRun> run;

    // The destination is the device on 127.0.0.1:4000; the profile's lines are separated by blanks.
    Unattended(const QString& profile, AutomatedRun::Plan plan, RunOutputs::Files files = {}) {
        form.load();
        pointAtLoopback(p, 4000);
        sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
        QString error;
        const auto parsed =
            Profile::parse(QString(profile).replace(u' ', u'\n'), QStringLiteral("run.ini"), &error);
        EXPECT_TRUE(parsed) << error.toStdString();
        EXPECT_EQ(parsed->applyTo(form), std::nullopt);
        const auto note = [this](const QString& line) { notes << line; };
        outputs = std::make_unique<RunOutputs>(form, sim.platform(), std::move(files), note);
        EXPECT_EQ(outputs->open(), std::nullopt);
        outputs->hearBoxes(dialogs);
        run = std::make_unique<AutomatedRun>(
            form, sim.scheduler, sim.scheduler, verdict, plan,
            AutomatedRun::Output{
                [this](const QString& row) { printed << row; }, note,
                [this](const JudgedSends::Verdict& v, const QString& line) { outputs->judged(v, line); }});
    }
    // The run's exit status once its outputs are written.
    int finish() {
        const auto* judge = form.judged().judge();
        return outputs->finish(verdict.exitStatus(), verdict.why(),
                               judge != nullptr && judge->sends() > 0 ? judge->summary() : QString());
    }
    // Runs until the program closes (ended at once, as by a signal at start-up), or fails a minute on.
    void go(bool endAtOnce = false) {
        run->begin();
        if (endAtOnce) {
            run->end();
        }
        sim.scheduler.runUntil(60000);
        EXPECT_TRUE(sim.scheduler.quitRequested()) << "the run did not close the program";
    }
};

// The report as its reader sees it: "testsuite TESTS FAILURES", then each case as "NAME TIME", " failed"
// behind those that failed.
QStringList reportOf(const QByteArray& xml) {
    QXmlStreamReader reader(xml);
    QStringList out;
    while (!reader.atEnd()) {
        const auto attr = [&](const char* key) { return reader.attributes().value(key).toString(); };
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"testsuite") {
            out << "testsuite " + attr("tests") + ' ' + attr("failures");
        } else if (reader.isStartElement() && reader.name() == u"testcase") {
            out << attr("name") + ' ' + attr("time");
        } else if (reader.isStartElement() && reader.name() == u"failure") {
            out.back() += " failed";
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return out;
}

// Each kind of run is started by its own button and ended as the operator would end it; it fails by what
// its log tells as it writes it, or by a message box. The device listens on 127.0.0.1:4000, or dials the
// listening simulator at 0.5 s, sends AB and closes at 1 s.
TEST(AutomatedRun, EachRunEndsAsTheOperatorWouldAndFailsByWhatItsLogOrABoxTellsAtEveryLevel) {
    const QString typed = "opt_Client=true txt_Port=5000 opt_Send_input=true ";
    const struct {
        int durationMs;
        int status;
        const char* received; // by the device
        int rows;
        const char* lastRow;
        QString profile;
        bool endAtOnce = false;
    } cases[] = {
        // The lost link the listening side reports a second after its Close is no failure of the run.
        {2000, 0, "AB", 9, "[10:00:02.000] : Server Closed", "opt_Client=true txt_Port=5000"},
        // No port to listen on: the message box alone fails the run.
        {500, 1, "", 0, "", "opt_Client=true"},
        // Close cannot be pressed in program mode: the program's own button ends it.
        {3000, 0, "onetwo", 6, "[10:00:03.000] : Client Closed",
         "opt_Send_Only=true chkMode=true txtStep(0)=one txtTimeGap(0)=100 txtStep(1)=two"},
        {2000, 0, "hi", 4, "[10:00:02.000] : Client Disconnected",
         "Opt_Cnn2=true opt_Receive_Only=true txt_Data_Input=hi"},
        // Ended mid-dial, it waits for the outcome: a failure before the Close, timed when the dial began.
        {300, 1, "", 1, "[10:00:00.000] : Connection Fail", ""},
        // Ended before the start, it presses nothing, even without a duration.
        {0, 0, "", 0, "", "", true},
        // The typed answer is empty: it fails, and fails the run at every level that records it.
        {2000, 0, "", 5, "[10:00:02.000] : Server Closed", typed + "opt_None=true"},
        {2000, 1, "", 8, "[10:00:02.000] : Server Closed", typed + "opt_List=true"},
        {2000, 1, "", 5, "[10:00:02.000] : Server Closed", typed + "opt_File=true"},
        {2000, 1, "", 8, "[10:00:02.000] : Server Closed", typed + "Opt_List_File=true"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.profile.toStdString());
        Unattended f(c.profile, {true, c.durationMs > 0 ? std::optional(c.durationMs) : std::nullopt});
        if (c.profile.isEmpty()) {
            f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, Answer::Ignore);
        }
        f.sim.scheduler.at(500, [&] {
            if (auto device = f.sim.network.deviceConnects(5000)) {
                f.sim.scheduler.at(600, [device] { device->send("AB"); });
                f.sim.scheduler.at(1000, [device] { device->close(); });
            }
        });
        f.go(c.endAtOnce);
        const auto device = f.sim.network.lastLink();
        EXPECT_EQ(device ? device->received() : Bytes(), bytesOf(c.received));
        EXPECT_EQ(f.p.List1.rows().size(), c.rows);
        EXPECT_EQ(f.p.List1.rows().value(c.rows - 1), QString::fromUtf8(c.lastRow));
        EXPECT_EQ(f.printed, f.p.List1.rows()) << "every row is printed as it is added";
        EXPECT_EQ(f.verdict.exitStatus(), c.status);
    }
    RunVerdict closed;
    closed.ending();
    closed.failure(QStringLiteral("Connection Fail"));
    EXPECT_EQ(closed.exitStatus(), 0) << "what comes after the Close does not count";
}

TEST(AutomatedRun, AStartHandlerThatDoesNotReturnIsCutShortAfterTheGrace) {
    Unattended f("", {true, 1000});
    Ms quitAt = -1;
    f.p.Cmd_Start.Click = [&] {
        try {
            for (;;) {
                f.sim.scheduler.pump();
            }
        } catch (const ApplicationQuit&) {
            quitAt = f.sim.scheduler.now();
            throw;
        }
    };
    f.go();
    EXPECT_EQ(quitAt, 6000) << "five seconds of grace after the end";
}

// A repeat run that sends every 10 ms to a device that answers 25 ms later, so three sends wait at once.
// The device cuts one reply in two, glues two together, answers one too late (the next send takes that
// reply) and one wrong. Each failure is told on standard error and fails the run; the records carry every
// reply time, exact on virtual time, and the report a case a send.
TEST(JudgedRun, PipelinedSendsAreJudgedInOrderAndTheRecordsAndReportHearEveryVerdict) {
    const QTemporaryDir folder;
    const QString records = folder.filePath("records.jsonl"), report = folder.filePath("report.xml");
    Unattended f("opt_Send_Only=true com_Timegap=0.01 com_Count=8 txt_Data_Input=PING expect.when=+PONG "
                 "expect.within=40 opt_None=true",
                 {true, 1000}, {records, report, QStringLiteral("pings")});
    f.sim.network.latency = 0;
    // Each send's replies, ms after it: none to 3 (glued to 4's) nor to 6 (5's, 45 ms late, comes in its
    // time).
    const std::map<int, std::vector<std::pair<Ms, const char*>>> replies = {
        {1, {{25, "+PONG"}}},      {2, {{25, "+PO"}, {27, "NG"}}},
        {4, {{25, "+PONG+PONG"}}}, {5, {{45, "+PONG"}}},
        {7, {{26, "-ERR"}}},       {8, {{25, "+PONG"}}}};
    int n = 0;
    f.sim.scheduler.at(1, [&] {
        f.sim.network.lastLink()->onReceive = [&](const Bytes&) {
            auto device = f.sim.network.lastLink();
            const auto it = replies.find(++n);
            for (const auto& [after, text] : it != replies.end() ? it->second : decltype(it->second){}) {
                f.sim.scheduler.at(f.sim.scheduler.now() + after,
                                   [device, text = text] { device->send(text); });
            }
        };
    });
    f.go();
    EXPECT_EQ(f.verdict.exitStatus(), 1);
    EXPECT_EQ(f.finish(), 1);
    EXPECT_EQ(
        f.notes,
        (QStringList{"expect fail: send 5 at 10:00:00.050: expected +PONG (exact): nothing came within 40 ms",
                     "expect fail: send 7 at 10:00:00.070: expected +PONG (exact): what came cannot match; "
                     "came 4 bytes: -ERR"}));
    EXPECT_EQ(
        f.form.judged().judge()->summary(),
        "summary: 8 sends, 6 replies, 6 expectations passed, 2 failed; reply time ms: min 25.000, median "
        "25.008, 99th percentile 35.000, max 35.000")
        << "percentiles within 0.1%";
    // At level None the list has no record; the records hear everything all the same.
    EXPECT_EQ(f.p.List1.rows().filter("byte]").size(), 0);
    QStringList heard;
    for (const QByteArray& line : fileBytes(records).split('\n')) {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (line.isEmpty() || o.value("kind") == "send") {
            continue;
        }
        heard << QStringLiteral("%1 %2 %3 %4 %5")
                     .arg(o.value("time").toString().mid(17, 6), o.value("kind").toString(),
                          o.value("text").toString())
                     .arg(o.value("reply_us").toInt(-1))
                     .arg(o.value("expect").toString() + o.value("why").toString());
    }
    EXPECT_EQ(heard, (QStringList{"00.000 status Connection Success -1 ", "00.035 recv +PONG 25000 pass",
                                  "00.045 recv +PO -1 ", "00.047 recv NG 27000 pass",
                                  "00.065 recv +PONG+PONG 35000 pass",
                                  "00.090 status Expect Fail -1 failnothing came within 40 ms",
                                  "00.095 recv +PONG 35000 pass", "00.096 recv -ERR -1 ",
                                  "00.096 status Expect Fail -1 failwhat came cannot match",
                                  "00.105 recv +PONG 25000 pass", "01.000 status Client Disconnected -1 "}));
    EXPECT_EQ(reportOf(fileBytes(report)),
              (QStringList{"testsuite 8 2", "send 1 0.025000", "send 2 0.027000", "send 3 0.035000",
                           "send 4 0.025000", "send 5 0.000000 failed", "send 6 0.035000",
                           "send 7 0.000000 failed", "send 8 0.025000"}));
}

// A device that never answers fails the run even though every send is within its time when the duration
// ends it: the end waits up to expect.within for the replies to the sends made before it.
TEST(JudgedRun, TheEndWaitsForTheRepliesDueSoASilentDeviceFails) {
    Unattended f("opt_Send_Only=true com_Timegap=0.1 txt_Data_Input=PING expect.when=+PONG expect.within=300",
                 {true, 1000});
    Ms closedAt = -1;
    f.p.cmd_End.Click = [&, click = f.p.cmd_End.Click] { closedAt = f.sim.scheduler.now(), click(); };
    f.go();
    EXPECT_EQ(f.verdict.exitStatus(), 1);
    EXPECT_GE(closedAt, 1201);
    EXPECT_LE(closedAt, 1201 + AutomatedRun::kRetryMs)
        << "the last send before the end, at 0.901, had 300 ms";
    EXPECT_EQ(f.notes.filter("nothing came within 300 ms").size(), 9) << f.notes.join('\n').toStdString();
    EXPECT_TRUE(f.form.judged().judge()->summary().contains(
        " 0 expectations passed, 9 failed, 3 cut off by the end;"))
        << f.form.judged().judge()->summary().toStdString();
}

// The outputs only listen: a run asked for them shows and logs what the same run shows and logs without
// them. One that cannot be opened stops the run before it begins; one whose write fails is told once and
// fails the run, which goes on to its end.
TEST(JudgedRun, OutputsChangeNothingTheRunLogsAndAFailingOneFailsTheRunOnly) {
    const QTemporaryDir folder;
    QStringList rows;
    QByteArray logged;
    for (const bool outputs : {false, true}) {
        SCOPED_TRACE(outputs);
        const QString log = folder.filePath(outputs ? "with.dat" : "without.dat");
        RunOutputs::Files files;
        if (outputs) {
            files = {QStringLiteral("/dev/full"), folder.filePath("report.xml"), QStringLiteral("run")};
        }
        Unattended f("opt_Send_Only=true com_Timegap=0.1 com_Count=3 txt_Data_Input=hi Opt_List_File=true "
                     "txt_Logfile=" +
                         log,
                     {true, 1000}, files);
        f.sim.network.latency = 0;
        f.sim.scheduler.at(150, [&] { f.sim.network.lastLink()->send("yo"); });
        f.go();
        EXPECT_EQ(f.verdict.exitStatus(), 0);
        EXPECT_EQ(f.finish(), outputs ? 1 : 0);
        const QStringList told{"--records /dev/full: a write failed (No space left on device); nothing more "
                               "is written to it"};
        EXPECT_EQ(f.notes, outputs ? told : QStringList());
        if (!outputs) {
            rows = f.printed;
            logged = fileBytes(log);
            EXPECT_EQ(f.form.judged().judge(), nullptr) << "nothing is judged";
        } else {
            EXPECT_EQ(f.printed, rows);
            EXPECT_EQ(fileBytes(log), logged);
            EXPECT_TRUE(
                fileBytes(folder.filePath("report.xml")).contains(R"(<testcase classname="run" name="run")"));
        }
    }
    EXPECT_EQ(rows.filter("byte]").size(), 4) << "three sends and an arrival";
    SimPlatform sim;
    FrmSimulator form(sim.platform());
    for (const auto& [records, report] :
         {std::pair{folder.path() + "/no/such/folder", QString()}, std::pair{QString(), folder.path()}}) {
        RunOutputs outputs(form, sim.platform(), {records, report, "run"}, [](const QString&) {});
        const auto wrong = outputs.open();
        ASSERT_TRUE(wrong);
        EXPECT_TRUE(wrong->startsWith((records.isEmpty() ? "--report " + report : "--records " + records) +
                                      ": cannot be written: "))
            << wrong->toStdString();
    }
}

// However long the run and whatever its bytes: the first thousand judged sends, then up to a thousand
// failed ones, then one case that counts the rest; well-formed and under 2 MB.
TEST(JudgedRun, TheReportListsAThousandSendsAThousandFailuresAndCountsTheRest) {
    JunitReport report(QString(300, u'&'), QDateTime(QDate(2026, 11, 26), QTime(10, 0)));
    QString worst = QStringLiteral("expect fail: ]]> <&'") + QString(600, u'"'); // escaped six times over
    for (char16_t c = 0; worst.size() < 4000; c = static_cast<char16_t>(c * 7 + 1)) {
        worst += QChar(c); // controls, surrogates, U+FFFE: what XML cannot carry
    }
    for (int n = 1; n <= 5000; ++n) { // send 3 fails, and every odd one after 1000
        JudgedSends::Verdict v;
        v.send = n;
        v.passed = n != 3 && (n <= 1000 || n % 2 == 0);
        v.replyUs = 1500;
        report.judged(v, v.passed ? QString() : worst);
    }
    const QByteArray xml = report.xml({1, {}, QStringLiteral("summary: 5000 sends"), 6.5});
    EXPECT_LT(xml.size(), 2'000'000);
    const QStringList cases = reportOf(xml);
    EXPECT_EQ(cases.size(), 2002);
    EXPECT_EQ(cases.value(0), "testsuite 2001 1002");
    EXPECT_EQ(cases.filter(" failed").size(), 1002);
    EXPECT_EQ(cases.value(1001), "send 1001 0.001500 failed");
    EXPECT_EQ(cases.value(2000), "send 2999 0.001500 failed");
    EXPECT_EQ(cases.value(2001), "3000 other sends 0.000000 failed")
        << "the passed ones up to 2999, and all from 3000 on";
}

TEST(AutomatedRun, ARowIsPrintedOnOneLine) {
    EXPECT_EQ(printableRow(QStringLiteral("[x] : Recv [4 byte] :  a\r\n\x7f")),
              QStringLiteral("[x] : Recv [4 byte] :  a\u240D\u240A\u2421"));
    EXPECT_EQ(printableRow(QStringLiteral("caf\u00E9 \u20AC")), QStringLiteral("caf\u00E9 \u20AC"));
}

} // namespace
} // namespace sim::test
