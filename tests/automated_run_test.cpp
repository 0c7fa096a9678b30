// Runs without an operator on the simulated platform: the start press, the end after the duration, the
// close once the start button's handler has returned, and the verdict.

#include "app/automated_run.h"
#include "app/profile.h"
#include "support/sim_form.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

Platform withDialogs(const Platform& p, Dialogs& dialogs) {
    return {p.pump, p.timers, p.network, dialogs, p.settings, p.clock, p.folders, p.browser, p.files};
}

// The form as the program builds it for a run: its message boxes told to the verdict, its rows printed.
struct Unattended {
    SimPlatform sim;
    RunVerdict verdict;
    WatchedDialogs dialogs{sim.dialogs, verdict};
    FrmSimulator form{withDialogs(sim.platform(), dialogs)};
    Panel& p = form.panel();
    QStringList printed;
    std::unique_ptr<AutomatedRun> run;

    // The destination is the device that listens on 127.0.0.1:4000.
    explicit Unattended(const QStringList& profile, AutomatedRun::Plan plan) {
        form.load();
        pointAtLoopback(p, 4000);
        sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
        QString error;
        const auto parsed =
            Profile::parse(profile.join(QLatin1Char('\n')), QStringLiteral("run.ini"), &error);
        EXPECT_TRUE(parsed) << error.toStdString();
        EXPECT_EQ(parsed->applyTo(p), std::nullopt);
        run = std::make_unique<AutomatedRun>(
            form, sim.scheduler, sim.scheduler, verdict, plan,
            AutomatedRun::Output{[this](const QString& row) { printed << row; }, [](const QString&) {}});
    }
    // Runs until the program closes, or fails the test a minute on.
    void go() {
        run->begin();
        sim.scheduler.runUntil(60000);
        EXPECT_TRUE(sim.scheduler.quitRequested()) << "the run did not close the program";
    }
    QStringList rows() const { return p.List1.rows(); }
};

TEST(AutomatedRun, AListeningRunEndsWithCloseAndClosesOnceTheListenHandlerHasReturned) {
    Unattended f({QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=5000")}, {true, 2000});
    std::shared_ptr<DeviceLink> device;
    f.sim.scheduler.at(500, [&] { device = f.sim.network.deviceConnects(5000); });
    f.sim.scheduler.at(600, [&] { device->send("AB"); });
    f.sim.scheduler.at(1000, [&] { device->close(); });
    f.go();

    EXPECT_EQ(device->received(), bytesOf("AB"));
    const QStringList rows = f.rows();
    ASSERT_FALSE(rows.isEmpty());
    EXPECT_EQ(rows.first(), QStringLiteral("[10:00:00.000] : Listen.."));
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Disconnected")).size(), 1);
    EXPECT_EQ(rows.last(), QStringLiteral("[10:00:02.000] : Server Closed"));
    EXPECT_EQ(f.printed, rows) << "every row is printed as it is added";
    // Cmd_Start_Click ran its closing step after the loop: the watcher that reports the lost link a
    // second later is armed, and that report is no failure of the run.
    EXPECT_TRUE(f.p.client_status.running());
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.verdict.exitStatus(), 0);
}

TEST(AutomatedRun, AMessageBoxAloneFailsTheRun) {
    // No port to listen on; the run ends before the lost link would be reported a second later.
    Unattended f({QStringLiteral("opt_Client=true")}, {true, 500});
    f.go();
    ASSERT_EQ(f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.shown[0].text, QStringLiteral("Input Port No"));
    EXPECT_TRUE(f.rows().isEmpty());
    EXPECT_EQ(f.verdict.exitStatus(), 1);
}

TEST(AutomatedRun, AProgramRunIsStartedAndEndedByItsOwnButton) {
    Unattended f(QStringList{QStringLiteral("opt_Send_Only=true"), QStringLiteral("chkMode=true"),
                             QStringLiteral("txtStep(0)=one"), QStringLiteral("txtTimeGap(0)=100"),
                             QStringLiteral("txtStep(1)=two")},
                 {true, 3000});
    f.go();
    ASSERT_TRUE(f.sim.network.lastLink());
    EXPECT_EQ(f.sim.network.lastLink()->received(), bytesOf("onetwo"));
    EXPECT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("Start"));
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:03.000] : Client Closed"));
    EXPECT_TRUE(f.rows().filter(QStringLiteral("] : Client Disconnected")).isEmpty())
        << "Close cannot be pressed in program mode";
    EXPECT_EQ(f.verdict.exitStatus(), 0);
}

TEST(AutomatedRun, ConnectAndCloseIsStartedByItsOwnButton) {
    Unattended f(QStringList{QStringLiteral("Opt_Cnn2=true"), QStringLiteral("opt_Receive_Only=true"),
                             QStringLiteral("txt_Data_Input=hi")},
                 {true, 2000});
    f.sim.network.onLink = [](const std::shared_ptr<DeviceLink>& link) {
        link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes& bytes) {
            weak.lock()->send(bytes);
        };
    };
    f.go();
    ASSERT_TRUE(f.sim.network.lastLink());
    EXPECT_EQ(f.sim.network.lastLink()->received(), bytesOf("hi"));
    EXPECT_EQ(f.rows().filter(QStringLiteral("] : Recv [2 byte] :  hi")).size(), 1);
    EXPECT_EQ(f.verdict.exitStatus(), 0);
}

TEST(AutomatedRun, AnEndDuringAConnectWaitWaitsForItsOutcome) {
    Unattended f({}, {true, 300});
    f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, Answer::Ignore);
    f.go();
    // The wait ran its second (the line bears the time the attempt began); its failure came before the
    // Close, so it counts.
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:00.000] : Connection Fail"));
    EXPECT_EQ(f.verdict.exitStatus(), 1);
}

TEST(AutomatedRun, AnEndBeforeTheStartPressesNothing) {
    Unattended f({}, {true, std::nullopt});
    f.run->begin();
    f.run->end(); // a signal as the program comes up
    f.sim.scheduler.runUntil(5000);
    EXPECT_TRUE(f.sim.scheduler.quitRequested());
    EXPECT_TRUE(f.sim.network.dialled().empty());
    EXPECT_EQ(f.verdict.exitStatus(), 0);
}

TEST(AutomatedRun, AStartHandlerThatDoesNotReturnIsCutShortAfterTheGrace) {
    Unattended f({}, {true, 1000});
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

TEST(RunVerdict, AFailedAnswerFailsTheRunAtEveryLevelThatWritesItsRecord) {
    // The device sends while the typed answer is empty: the answer fails and is recorded, or not at None.
    const std::pair<const char*, int> levels[] = {
        {"opt_None", 0}, {"opt_List", 1}, {"opt_File", 1}, {"Opt_List_File", 1}};
    for (const auto& [level, status] : levels) {
        SCOPED_TRACE(level);
        Unattended f({QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=5000"),
                      QStringLiteral("opt_Send_input=true"), QLatin1String(level) + QStringLiteral("=true")},
                     {true, 1000});
        std::shared_ptr<DeviceLink> device;
        f.sim.scheduler.at(100, [&] { device = f.sim.network.deviceConnects(5000); });
        f.sim.scheduler.at(200, [&] { device->send("?"); });
        f.go();
        EXPECT_TRUE(device->received().empty());
        EXPECT_EQ(f.verdict.exitStatus(), status);
    }
    RunVerdict closed;
    closed.ending();
    closed.failure();
    EXPECT_EQ(closed.exitStatus(), 0) << "what comes after the Close does not count";
}

TEST(AutomatedRun, ARowIsPrintedOnOneLine) {
    EXPECT_EQ(printableRow(QStringLiteral("[x] : Recv [4 byte] :  a\r\n\x7f")),
              QStringLiteral("[x] : Recv [4 byte] :  a\u240D\u240A\u2421"));
    EXPECT_EQ(printableRow(QStringLiteral("caf\u00E9 \u20AC")), QStringLiteral("caf\u00E9 \u20AC"));
}

} // namespace
} // namespace sim::test
