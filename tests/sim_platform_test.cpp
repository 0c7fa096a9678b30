#include "platform/tick_schedule.h"
#include "support/sim_form.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(Scheduler, APumpWithNothingDueMovesTheClockToTheNextEvent) {
    Scheduler s;
    std::vector<Ms> ran;
    s.at(250, [&] { ran.push_back(s.now()); });
    s.at(100, [&] { ran.push_back(s.now()); });
    s.pump();
    EXPECT_EQ(ran, (std::vector<Ms>{100}));
    s.pump();
    EXPECT_EQ(ran, (std::vector<Ms>{100, 250}));
}

TEST(Scheduler, ALoopThatCouldNeverEndFailsInsteadOfHanging) {
    Scheduler s;
    EXPECT_THROW(s.pump(), StuckPump);
    s.setHorizon(60'000);
    auto timer = s.createTimer([] {});
    timer->start(1000);
    EXPECT_THROW(
        for (;;) { s.pump(); }, StuckPump);
}

TEST(TickSchedule, ATickKeepsItsPhaseUnlessItIsAWholeIntervalLateAndARestartCountsFromAPromptTick) {
    using std::chrono::milliseconds;
    using tick_schedule::nextDue;
    using tick_schedule::restartDue;
    // Taken 3 ms late, the next still comes on the grid; taken after the next was due, one interval on.
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(103)), milliseconds(200));
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(200)), milliseconds(300));
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(450)), milliseconds(550));
    // A program step that sent for 2 ms restarts from its tick; one that waited a second, from now.
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(1002)), milliseconds(1200));
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(2000)), milliseconds(2200));
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(1006)), milliseconds(1206));
    EXPECT_EQ(restartDue(std::nullopt, milliseconds(200), milliseconds(1002)), milliseconds(1202));
    // A gap shorter than the handler took comes at once, not in the past.
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(1), milliseconds(1004)), milliseconds(1004));
}

TEST(Scheduler, ATimerRestartedFromItsOwnTickCountsFromTheTickUnlessTheHandlerWaited) {
    Scheduler s;
    std::vector<Ms> ticks;
    std::unique_ptr<PlatformTimer> timer;
    timer = s.createTimer([&] {
        ticks.push_back(s.now());
        // The first handler takes 3 ms, the second waits 40 ms, as a connect wait would.
        s.advance(ticks.size() == 1 ? 3 : 40);
        timer->start(100);
    });
    timer->start(100);
    s.runUntil(400);
    EXPECT_EQ(ticks, (std::vector<Ms>{100, 200, 340}));
}

TEST(Scheduler, TheClockReadsLocalTimeAndMillisecondsApart) {
    Scheduler s(QDateTime(QDate(2026, 11, 22), QTime(23, 59, 59, 500)));
    s.advance(740);
    EXPECT_EQ(s.localDate(), QDate(2026, 11, 23));
    EXPECT_EQ(s.localTime().toString(QStringLiteral("HH:mm:ss")), QStringLiteral("00:00:00"));
    EXPECT_EQ(s.systemMilliseconds(), 240);
}

TEST(ScriptedOperator, AHandlerThatPumpsSeesTheClicksScriptedForLater) {
    SimForm f;
    bool stop = false;
    std::vector<Ms> lines;
    // A handler that only returns after a later click, as the listening loop does.
    f.p.Cmd_Start.Click = [&] {
        while (!stop) {
            f.sim.scheduler.pump();
        }
        lines.push_back(f.sim.scheduler.now());
    };
    f.p.cmd_Log.Click = [&] { stop = true; };
    f.sim.scheduler.at(3000, [&] { f.op.click(f.p.cmd_Log); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(lines, (std::vector<Ms>{3000}));
}

TEST(ScriptedOperator, ClosingTheWindowEndsALoopThatPumpsAndClosesBothSockets) {
    SimForm f;
    f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
    f.p.Client_Socket.setRemoteHost(QStringLiteral("127.0.0.1"));
    f.p.Client_Socket.setRemotePort(4000);
    f.p.Client_Socket.connect();
    f.p.Server_Socket.setLocalPort(5000);
    f.p.Server_Socket.listen();
    int passes = 0;
    bool returned = false;
    f.p.Cmd_Start.Click = [&] {
        for (;;) {
            f.sim.scheduler.pump();
            ++passes;
        }
        returned = true;
    };
    f.sim.scheduler.at(2000, [&] { f.op.closeWindow(); });
    f.sim.scheduler.setHorizon(10'000);
    auto timer = f.sim.scheduler.createTimer([] {});
    timer->start(100);
    f.op.click(f.p.Cmd_Start);
    EXPECT_FALSE(returned);
    EXPECT_GT(passes, 0);
    EXPECT_TRUE(f.sim.scheduler.quitRequested());
    EXPECT_EQ(f.p.Client_Socket.state(), 0);
    EXPECT_EQ(f.p.Server_Socket.state(), 0);
    EXPECT_EQ(f.sim.scheduler.now(), 2000);
}

TEST(ScriptedDialogs, RecordWhatWasShownAndTakeTheOperatorsTime) {
    SimPlatform sim;
    sim.dialogs.answerAfter = 4000;
    sim.dialogs.messageBox(QStringLiteral("E........"), 16, QStringLiteral("Error"));
    sim.dialogs.messageBox(QStringLiteral("plain"), 0, std::nullopt);
    ASSERT_EQ(sim.dialogs.shown.size(), 2U);
    EXPECT_EQ(sim.dialogs.shown[1].title, QStringLiteral("Simulator"));
    EXPECT_EQ(sim.dialogs.shown[1].at, 4000);
    EXPECT_EQ(sim.scheduler.now(), 8000);
    sim.dialogs.saveAnswers.push_back(QStringLiteral("/tmp/x.log"));
    EXPECT_EQ(sim.dialogs.showSave({}), QStringLiteral("/tmp/x.log"));
    EXPECT_EQ(sim.dialogs.showSave({}), std::nullopt) << "no answer left: Cancel";
}

TEST(ScriptedDialogs, TheSaveDialogSeesTheFormsProperties) {
    SimForm f;
    SaveDialog& dlg = f.p.ComDlg;
    dlg.CancelError = true;
    dlg.Flags = 2;
    dlg.Filter = QStringLiteral("Text Files (*.log)|*.log");
    EXPECT_THROW(dlg.ShowSave(), RuntimeFailure);
    f.sim.dialogs.saveAnswers.push_back(QStringLiteral("/tmp/a.log"));
    dlg.ShowSave();
    EXPECT_EQ(dlg.FileName, QStringLiteral("/tmp/a.log"));
    EXPECT_TRUE(f.sim.dialogs.saveRequests.back().promptOverwrite);
}

} // namespace
} // namespace sim::test
