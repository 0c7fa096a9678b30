// Runs without an operator on the simulated platform: the start press, the end after the duration, the
// close once the start button's handler has returned, and the verdict.

#include "app/automated_run.h"
#include "app/profile.h"
#include "support/sim_form.h"

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
    std::unique_ptr<AutomatedRun> run;

    // The destination is the device on 127.0.0.1:4000; the profile's lines are separated by blanks.
    Unattended(const char* profile, AutomatedRun::Plan plan) {
        form.load();
        pointAtLoopback(p, 4000);
        sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
        QString error;
        const auto parsed = Profile::parse(QString::fromLatin1(profile).replace(u' ', u'\n'),
                                           QStringLiteral("run.ini"), &error);
        EXPECT_TRUE(parsed) << error.toStdString();
        EXPECT_EQ(parsed->applyTo(p), std::nullopt);
        run = std::make_unique<AutomatedRun>(
            form, sim.scheduler, sim.scheduler, verdict, plan,
            AutomatedRun::Output{[this](const QString& row) { printed << row; }, [](const QString&) {}, {}});
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

// Each kind of run is started by its own button and ended as the operator would end it; it fails by what
// its log tells as it writes it, or by a message box. The device listens on 127.0.0.1:4000, or dials the
// listening simulator at 0.5 s, sends AB and closes at 1 s.
TEST(AutomatedRun, EachRunEndsAsTheOperatorWouldAndFailsByWhatItsLogOrABoxTellsAtEveryLevel) {
    const struct {
        int durationMs;
        int status;
        const char* received; // by the device
        int rows;
        const char* lastRow;
        const char* profile;
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
        {2000, 0, "", 5, "[10:00:02.000] : Server Closed",
         "opt_Client=true txt_Port=5000 opt_Send_input=true opt_None=true"},
        {2000, 1, "", 8, "[10:00:02.000] : Server Closed",
         "opt_Client=true txt_Port=5000 opt_Send_input=true opt_List=true"},
        {2000, 1, "", 5, "[10:00:02.000] : Server Closed",
         "opt_Client=true txt_Port=5000 opt_Send_input=true opt_File=true"},
        {2000, 1, "", 8, "[10:00:02.000] : Server Closed",
         "opt_Client=true txt_Port=5000 opt_Send_input=true Opt_List_File=true"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.profile);
        Unattended f(c.profile, {true, c.durationMs > 0 ? std::optional(c.durationMs) : std::nullopt});
        if (*c.profile == 0) {
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

TEST(AutomatedRun, ARowIsPrintedOnOneLine) {
    EXPECT_EQ(printableRow(QStringLiteral("[x] : Recv [4 byte] :  a\r\n\x7f")),
              QStringLiteral("[x] : Recv [4 byte] :  a\u240D\u240A\u2421"));
    EXPECT_EQ(printableRow(QStringLiteral("caf\u00E9 \u20AC")), QStringLiteral("caf\u00E9 \u20AC"));
}

} // namespace
} // namespace sim::test
