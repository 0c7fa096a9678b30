#include "support/repeat_run.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// A press that would dial out while a connect wait runs is held back until no wait runs, then runs as
// an event of its own; a repeat tick that comes during a wait is dropped. Before this, the inner
// connect waited for the outer wait, which could only end after the inner one: the form hung.

TEST(ConnectWaits, ConnectSendPressedAgainDuringItsWaitRunsAfterTheFirstPressHasEnded) {
    DeviceAsServer f(Answer::Ignore);
    f.sim.scheduler.setHorizon(60'000);
    f.op.click(f.p.Opt_Cnn2);
    f.p.txt_Data_Input.setText(QStringLiteral("hi"));
    f.sim.scheduler.at(500, [&f] { f.op.click(f.p.cmd_CSend); });
    f.sim.scheduler.at(2500, [&f] { f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000); });
    f.op.click(f.p.cmd_CSend);
    EXPECT_EQ(f.sim.scheduler.now(), 2000) << "the first press dialled twice and returned";
    EXPECT_EQ(f.rows(), (QStringList{QStringLiteral("[10:00:00.000] : Connection Fail"),
                                     QStringLiteral("[10:00:01.000] : Connection Fail")}));
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.000] : Connection Fail"),
                           QStringLiteral("[10:00:01.000] : Connection Fail"),
                           QStringLiteral("[10:00:02.000] : Connection Fail"),
                           QStringLiteral("[10:00:03.000] : Connection Success"),
                           QStringLiteral("[10:00:03.001] : Send [2 byte] :  hi"), QStringLiteral(" ")}))
        << "the second press ran as its own event once the first was over";
    EXPECT_EQ(f.device()->received(), bytesOf("hi"));
    EXPECT_EQ(f.sim.network.dialled().size(), 4U);
}

TEST(ConnectWaits, SendPressedDuringARepeatReconnectSendsOnceTheReconnectIsDone) {
    RepeatRun f("1", "5", "x");
    f.sim.scheduler.setHorizon(60'000);
    f.sim.network.onLink = [&f](std::shared_ptr<DeviceLink> link) {
        if (f.sim.network.dialled().size() == 1) {
            link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes&) {
                weak.lock()->close();
            };
        }
    };
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1500);
    f.sim.network.latency = 600; // the device now takes 600 ms to accept
    f.sim.scheduler.at(2300, [&f] { f.op.click(f.p.Cmd_Send); });
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 2600, 3600, 4600, 5600, 6600, 7600}))
        << "the press sends when the reconnect of the tick at 2000 is done; five counted sends follow";
    EXPECT_EQ(f.p.iRepeatNo, 5) << "the press was not counted";
    EXPECT_EQ(f.sim.network.dialled().size(), 2U);
}

TEST(ConnectWaits, ARepeatTickDuringTheRedialOfSendIsDroppedUncounted) {
    RepeatRun f("1", "3", "x");
    f.sim.scheduler.setHorizon(60'000);
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1100);
    f.device()->reset(); // the link dies; its error closes the socket
    f.sim.scheduler.runUntil(1250);
    ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    f.sim.network.latency = 800;
    f.clickAt(1300, f.p.Cmd_Send); // dials again: the device accepts at 2100
    EXPECT_EQ(f.sim.scheduler.now(), 2100);
    EXPECT_EQ(f.p.iRepeatNo, 0) << "the tick at 2000 came during the wait and was dropped before it counted";
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sim.network.dialled().size(), 2U) << "no second reconnect on top of the first";
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 2100, 3100, 4100, 5100}));
    EXPECT_EQ(f.rows().filter(QStringLiteral("Connection Success")).size(), 2);
}

TEST(ConnectWaits, AHeldPressOfAButtonThatCannotBePressedAnyMoreIsDropped) {
    DeviceAsServer f(Answer::Ignore);
    f.op.click(f.p.Opt_Cnn1); // offers Send with no link
    f.p.txt_Data_Input.setText(QStringLiteral("hi"));
    f.sim.scheduler.at(500, [&f] { f.op.click(f.p.Cmd_Send); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_FALSE(f.p.Cmd_Send.enabled()) << "the failed connect reset the panel";
    f.sim.scheduler.runUntil(1500);
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "the held Send found its button off and did nothing";
}

TEST(ConnectWaits, APressDuringAWaitThatIsItselfInsideALaterWaitWaitsForThatOneToo) {
    // Two presses held by one wait: the first starts a wait of its own, inside which the second is
    // held again; both run, in the order of the clicks.
    DeviceAsServer f;
    f.sim.network.latency = 400;
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.opt_Receive_Only);
    f.p.txt_Data_Input.setText(QStringLiteral("a"));
    f.sim.scheduler.at(100, [&f] { f.op.click(f.p.cmd_CSend); });
    f.sim.scheduler.at(200, [&f] {
        f.p.txt_Data_Input.setText(QStringLiteral("b"));
        f.op.click(f.p.cmd_CSend);
    });
    f.op.click(f.p.cmd_CSend);
    f.sim.scheduler.runUntil(5000);
    std::vector<Ms> connects;
    for (const QString& row : f.rows().filter(QStringLiteral("Connection Success"))) {
        connects.push_back(row.mid(7, 2).toInt() * 1000 + row.mid(10, 3).toInt());
    }
    EXPECT_EQ(connects, (std::vector<Ms>{0, 400, 800}));
    EXPECT_EQ(f.sim.network.dialled().size(), 3U);
}

} // namespace
} // namespace sim::test
