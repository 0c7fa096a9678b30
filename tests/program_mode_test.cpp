#include "support/repeat_run.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// Program Mode ticked and the steps typed, on the dial-out side.
struct ProgramRun : RepeatRun {
    explicit ProgramRun(std::initializer_list<const char*> steps,
                        std::initializer_list<const char*> gaps = {})
        : RepeatRun("1", "Endless", "") {
        op.click(p.chkMode);
        int i = 0;
        for (const char* step : steps) {
            p.txtStep(i++).setText(QString::fromLatin1(step));
        }
        i = 0;
        for (const char* gap : gaps) {
            op.edited(p.txtTimeGap(i++), QString::fromLatin1(gap));
        }
    }
    void start(Ms at = 0) { clickAt(at, p.cmdSendStart); }
};

TEST(ProgramRun, FourStepsWithNoGapsTypedGoOutASecondApartAndTheGapsShowTheirDefault) {
    ProgramRun f({"A", "BB", "CCC", "DDDD"});
    f.start(200);
    EXPECT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("End"));
    f.sim.scheduler.runUntil(20'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1200, 2200, 3200, 4200}));
    EXPECT_EQ(f.device()->received(), bytesOf("ABBCCCDDDD"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(f.p.txtTimeGap(i).text(), QStringLiteral("1000")) << "where the operator sees it";
    }
    EXPECT_EQ(f.rows().first(), QStringLiteral("[10:00:00.200] : Client Connected"));
    EXPECT_EQ(f.rows().at(1), QStringLiteral("[10:00:01.200] : Send [1 byte] :  A"));
    EXPECT_FALSE(f.p.Timer2.running());
    EXPECT_EQ(f.p.iStepNo, 0);
    EXPECT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("End")) << "the end of a run gives no sign";
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    // A connect of its own: nothing locked, no watcher, no repeat run.
    EXPECT_TRUE(f.p.Frame1.enabled());
    EXPECT_TRUE(f.p.Frame2.enabled());
    EXPECT_FALSE(f.p.client_status.running());
    EXPECT_FALSE(f.p.Timer1.running());
}

TEST(ProgramRun, EachStepWaitsTheGapTypedAfterThePreviousOne) {
    ProgramRun f({"1", "2", "3", "4"}, {"100", " 200 ", "300"});
    f.start();
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 1100, 1300, 1600}));
}

TEST(ProgramRun, AnEmptyStepEndsTheRunAndTheStepsBehindItAreNotSent) {
    ProgramRun f({"one", "two", "", "four"}, {"500", "700"});
    f.start();
    f.sim.scheduler.runUntil(1600);
    EXPECT_TRUE(f.p.Timer2.running());
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 1500}));
    EXPECT_FALSE(f.p.Timer2.running()) << "ended by the tick for step 3, at 2200";
    EXPECT_EQ(f.p.txtTimeGap(2).text(), QString()) << "no gap is filled in behind the end";

    for (const char* first : {"", "   "}) {
        ProgramRun g({first, "two"});
        g.start();
        g.sim.scheduler.runUntil(5000);
        EXPECT_TRUE(g.sendTimes().empty()) << '"' << first << '"';
        EXPECT_EQ(g.p.cmdSendStart.caption(), QStringLiteral("End"));
        EXPECT_EQ(g.p.Client_Socket.state(), socket_state::kConnected);
    }
}

TEST(ProgramRun, AGapBeyondSixteenBitsOrNoNumberEndsTheRunAfterTheStepBeforeIt) {
    const struct {
        const char* gap;
        std::vector<Ms> sends;
    } cases[] = {{"30000", {1000, 31000}}, {"40000", {1000}}, {"-5", {1000}}, {"1s", {1000}}};
    for (const auto& c : cases) {
        ProgramRun f({"a", "b"}, {c.gap});
        f.start();
        f.sim.scheduler.runUntil(40'000);
        EXPECT_EQ(f.sendTimes(), c.sends) << c.gap;
        EXPECT_EQ(f.rows().filter(QStringLiteral("Send [1 byte]")).size(), 1 + (c.sends.size() > 1 ? 1 : 0))
            << "the step before a bad gap is recorded";
        EXPECT_FALSE(f.p.Timer2.running()) << c.gap;
        EXPECT_TRUE(f.sim.dialogs.shown.empty()) << "the failure path shows nothing";
    }
}

TEST(ProgramRun, AGapOfZeroLeavesTheRunRestingOnItsNextStep) {
    ProgramRun f({"a", "b"}, {"0"});
    f.start();
    f.sim.scheduler.runUntil(60'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000}));
    EXPECT_EQ(f.p.Timer2.interval(), 0);
    EXPECT_TRUE(f.p.Timer2.enabled());
    EXPECT_EQ(f.p.iStepNo, 1);
}

TEST(ProgramRun, HexStepsDropAnOddDigitSilentlyAndALoneDigitEndsTheRun) {
    ProgramRun f({"414", "4", "4243"});
    f.op.click(f.p.opt_HexA); // the step boxes keep their text
    f.start();
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.device()->received(), (Bytes{0x41}));
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    EXPECT_FALSE(f.p.Timer2.running());

    // A step typed in the other form is converted by the form of the tick.
    ProgramRun g({"41"});
    g.start();
    g.sim.scheduler.runUntil(500);
    g.p.Frame2.setEnabled(true);
    g.op.click(g.p.opt_HexA);
    g.sim.scheduler.runUntil(2000);
    EXPECT_EQ(g.device()->received(), (Bytes{0x41}));
}

TEST(ProgramRun, WithTheDeviceAsClientStartDoesNothing) {
    ProgramRun f({"a"});
    f.op.click(f.p.opt_Client);
    f.start();
    f.sim.scheduler.runUntil(5000);
    EXPECT_TRUE(f.sim.network.dialled().empty());
    EXPECT_TRUE(f.rows().isEmpty());
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    EXPECT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("Start"));
}

TEST(ProgramRun, AMissingDestinationIsSaidAndAFailedConnectShowsNothing) {
    ProgramRun f({"a"});
    f.p.txt_Destination_Port.setText(QString());
    f.start();
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Destination Port")});
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("Error"));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, 16);

    ProgramRun g({"a"});
    g.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, Answer::Ignore);
    g.start();
    EXPECT_EQ(g.sim.scheduler.now(), 1000) << "one second for the device to accept";
    EXPECT_EQ(g.p.cmdSendStart.caption(), QStringLiteral("Start"));
    EXPECT_TRUE(g.rows().isEmpty());
    EXPECT_TRUE(g.sim.dialogs.shown.empty());
    EXPECT_FALSE(g.p.Timer2.running());
}

TEST(ProgramRun, EndClosesTheLinkAndTheTicksOfARunStillGoingFindNone) {
    ProgramRun f({"a", "b", "c"}, {"500", "500"});
    f.start();
    f.sim.scheduler.runUntil(1200);
    f.clickAt(1300, f.p.cmdSendStart);
    EXPECT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("Start"));
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:01.300] : Client Closed"));
    EXPECT_FALSE(f.device()->open());
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000}));
    EXPECT_TRUE(f.p.Timer2.running()) << "End leaves Timer2 alone";
    EXPECT_EQ(f.p.iStepNo, 1) << "the same step waits for a link";

    // The next run dials anew; a tick of the old run during its wait is undone by the new start.
    f.sim.network.latency = 700;
    f.clickAt(5100, f.p.cmdSendStart);
    EXPECT_EQ(f.sim.scheduler.now(), 5800);
    f.sim.scheduler.runUntil(9000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 6800, 7300, 7800}));
    EXPECT_EQ(f.device()->received(), bytesOf("abc"));
}

TEST(ProgramRun, ALinkLostDuringARunIsNotDialledAgainAndTheStepWaits) {
    ProgramRun f({"a", "b"}, {"400"});
    f.start();
    f.sim.scheduler.runUntil(1100);
    f.device()->close();
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000}));
    EXPECT_EQ(f.sim.network.dialled().size(), 1U);
    EXPECT_TRUE(f.p.Timer2.running());
    EXPECT_EQ(f.p.iStepNo, 1);
    EXPECT_EQ(f.rows().size(), 3) << "no report from program mode";
}

TEST(ProgramRun, ConnectAndCloseStallsTheRunAtItsNextStep) {
    ProgramRun f({"a", "b", "c"}, {"500", "500"});
    f.deviceEchoes();
    f.op.click(f.p.Opt_Cnn2);
    f.start();
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000}));
    EXPECT_EQ(f.rows().filter(QStringLiteral("Client Disconnected")).size(), 1);
    EXPECT_TRUE(f.p.Timer2.running());
}

TEST(ProgramRun, TheRoleAndFormAreReadAtEachTick) {
    ProgramRun f({"a", "b"}, {"500"});
    f.start();
    f.sim.scheduler.runUntil(1200);
    f.op.click(f.p.opt_Client); // nothing is locked during a program run
    f.sim.scheduler.runUntil(3000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000})) << "step 2 looks for a client on the listening socket";
    f.op.click(f.p.opt_Server);
    f.sim.scheduler.runUntil(3600);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 3500}));
}

TEST(ProgramRun, UntickingProgramModeStopsNothing) {
    ProgramRun f({"a", "b"}, {"500"});
    f.start();
    f.sim.scheduler.runUntil(1200);
    f.op.click(f.p.chkMode);
    EXPECT_FALSE(f.p.Frame10.enabled());
    EXPECT_FALSE(f.op.click(f.p.cmdSendStart)) << "a button in a disabled frame takes no click";
    f.sim.scheduler.runUntil(3000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 1500}));
}

} // namespace
} // namespace sim::test
