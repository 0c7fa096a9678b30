#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The form set to listen on port 5000 for a device that is the client.
struct DeviceAsClient : DeviceAsServer {
    DeviceAsClient() {
        op.click(p.opt_Client);
        p.txt_Port.setText(QStringLiteral("5000"));
    }
    // Scripts the operator's Close at `at`, then presses Listen; returns when listening has ended.
    void listenUntil(Ms at) {
        sim.scheduler.at(at, [this] { op.click(p.cmd_End); });
        op.click(p.Cmd_Start);
    }
    std::shared_ptr<DeviceLink> client;
    void connectAt(Ms at) {
        sim.scheduler.at(at, [this] { client = sim.network.deviceConnects(5000); });
    }
};

TEST(Listen, ServesAClientAndListensAgainWhenItLeaves) {
    DeviceAsClient f;
    f.connectAt(100);
    f.sim.scheduler.at(200, [&] { f.client->send("AB"); });
    f.sim.scheduler.at(300, [&] { f.client->close(); });
    f.sim.scheduler.at(250, [&] {
        EXPECT_FALSE(f.p.Frame1.enabled()) << "locked while listening";
        EXPECT_TRUE(f.p.cmd_End.enabled());
        EXPECT_FALSE(f.p.Cmd_Start.enabled());
    });
    f.listenUntil(1000);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.000] : Listen.."),
                           QStringLiteral("[10:00:00.100] : Client Connected"),
                           QStringLiteral("[10:00:00.201] : Recv [2 byte] :  AB"), QStringLiteral(" "),
                           QStringLiteral("[10:00:00.201] : Send [2 byte] :  AB"), QStringLiteral(" "),
                           QStringLiteral("[10:00:00.301] : Client Disconnected"),
                           QStringLiteral("[10:00:00.301] : Listen.."),
                           QStringLiteral("[10:00:01.000] : Server Closed")}));
    EXPECT_EQ(f.client->received(), bytesOf("AB"));
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_TRUE(f.p.Frame1.enabled());
    // Close armed the watcher on the way out of Listen: one line a second later, then silence.
    f.sim.scheduler.runUntil(4000);
    EXPECT_EQ(f.rows().mid(9), QStringList{QStringLiteral("[10:00:02.000] : Connection Fail")});
}

TEST(Listen, ASecondClientGetsNoServiceUntilTheFirstHasGone) {
    DeviceAsClient f;
    std::shared_ptr<DeviceLink> second;
    f.connectAt(100);
    f.sim.scheduler.at(200, [&] { second = f.sim.network.deviceConnects(5000); });
    f.sim.scheduler.at(300, [&] {
        EXPECT_EQ(second, nullptr) << "nothing listens while a client is served";
        f.client->close();
    });
    f.sim.scheduler.at(400, [&] { second = f.sim.network.deviceConnects(5000); });
    f.listenUntil(1000);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(f.rows().filter(QStringLiteral("Client Connected")).size(), 2);
    EXPECT_EQ(f.rows().at(4), QStringLiteral("[10:00:00.400] : Client Connected"));
}

TEST(Listen, ATakenPortIsRetriedWithoutEndBoundedInTheListAndCloseStillStops) {
    DeviceAsClient f;
    f.sim.network.occupy(5000);
    f.listenUntil(120'000);
    const QStringList rows = f.rows();
    EXPECT_EQ(rows.size(), 2002) << "2001 after the last trim, and Close's line, which trims nothing";
    EXPECT_EQ(rows.filter(QStringLiteral("] : Listen Fail")).size(), 2001);
    EXPECT_EQ(rows.last(), QStringLiteral("[10:02:00.000] : Server Closed"));
    EXPECT_TRUE(f.sim.dialogs.shown.empty()) << "no message box for a failed listen";
}

TEST(Listen, AnEmptyPortBoxIsRefusedWithoutListening) {
    DeviceAsClient f;
    f.p.txt_Port.setText(QString());
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Port No")});
    EXPECT_TRUE(f.p.Cmd_Start.enabled()) << "unlocked again";
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
}

TEST(Listen, AStartPressedWhileListeningIsIgnored) {
    DeviceAsClient f;
    f.sim.scheduler.at(100, [&] {
        f.op.click(f.p.Opt_Cnn1); // offers Listen again while the loop runs
        f.op.click(f.p.Cmd_Start);
        f.op.click(f.p.Opt_Cnn2);
        f.op.click(f.p.cmd_CSend);
        f.op.click(f.p.Opt_Cnn1);
    });
    f.listenUntil(500);
    EXPECT_EQ(f.rows(), (QStringList{QStringLiteral("[10:00:00.000] : Listen.."),
                                     QStringLiteral("[10:00:00.500] : Server Closed")}));
}

TEST(Listen, ClosingTheWindowEndsTheLoop) {
    DeviceAsClient f;
    f.connectAt(100);
    f.sim.scheduler.at(200, [&] { f.op.closeWindow(); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.sim.scheduler.now(), 200);
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_FALSE(f.client->open());
}

TEST(Listen, ABurstLargerThanOneArrivalIsEchoedWhole) {
    DeviceAsClient f;
    Bytes burst(100'000);
    for (std::size_t i = 0; i < burst.size(); ++i) {
        burst[i] = static_cast<std::uint8_t>(i % 251);
    }
    f.connectAt(100);
    f.sim.scheduler.at(200, [&] { f.client->send(burst); });
    f.listenUntil(1000);
    EXPECT_EQ(f.client->received(), burst);
    // One echo per arrival, each of at most 32767 bytes.
    std::vector<std::size_t> echoes;
    for (const auto& [at, bytes] : f.sim.network.socketNamed(QStringLiteral("Server_Socket"))->sent) {
        echoes.push_back(bytes.size());
    }
    EXPECT_EQ(echoes, (std::vector<std::size_t>{32767, 32767, 32767, 1699}));
}

TEST(Listen, AnswersThatCannotBeMadeAreRecordedAsSendFailures) {
    DeviceAsClient f;
    f.op.click(f.p.opt_Send_input); // with an empty data box
    f.connectAt(100);
    f.sim.scheduler.at(200, [&] { f.client->send("?"); });
    f.listenUntil(1000);
    EXPECT_TRUE(f.client->received().empty());
    EXPECT_TRUE(f.rows().contains(QStringLiteral("[10:00:00.201] : Send Fail")));
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
}

TEST(Listen, ALostRequestOrASocketErrorBringsANewListen) {
    DeviceAsClient f;
    f.sim.scheduler.at(100, [&] { f.p.Server_Socket.events.connectionRequest(9999); });
    f.sim.scheduler.at(
        200, [&] { f.sim.network.socketNamed(QStringLiteral("Server_Socket"))->injectError(10053); });
    f.listenUntil(1000);
    EXPECT_EQ(
        f.rows(),
        (QStringList{QStringLiteral("[10:00:00.000] : Listen.."), QStringLiteral("[10:00:00.100] : Listen.."),
                     QStringLiteral("10:00:00Server Socket Error : Referance Err_Log File ....... "),
                     QStringLiteral("[10:00:00.200] : Listen.."),
                     QStringLiteral("[10:00:01.000] : Server Closed")}));
}

// ---- role ----

TEST(Role, ClientSwitchesThePanelToTheListenPort) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_Client);
    EXPECT_EQ(p.Cmd_Start.caption(), QStringLiteral("Listen"));
    EXPECT_TRUE(p.txt_Port.enabled());
    EXPECT_EQ(p.txt_Port.backColor(), 0xFFFFFFU);
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(p.txt_Destination_IP(i).enabled());
        EXPECT_EQ(p.txt_Destination_IP(i).backColor(), 0xC0C0C0U);
        EXPECT_EQ(p.txt_Destination_IP(i).text().isEmpty(), false) << "texts are kept";
    }
    EXPECT_EQ(p.com_Timegap.backColor(), 0xC0C0C0U) << "the fixed grey, not the system colour";
    EXPECT_TRUE(p.opt_OneTime.value());
    EXPECT_FALSE(p.Label5.enabled()) << "OneTime's handler ran";
    EXPECT_FALSE(p.com_Count.enabled());
}

TEST(Role, ServerAfterClientLeavesTheRepeatRowOpenAndWhite) {
    SimForm f;
    Panel& p = f.p;
    const int writes = f.sim.settings.writes;
    f.op.click(p.opt_Client);
    f.op.click(p.opt_Server);
    EXPECT_EQ(p.Cmd_Start.caption(), QStringLiteral("Connect"));
    EXPECT_TRUE(p.opt_Repeat.value());
    EXPECT_TRUE(p.opt_Repeat.enabled());
    EXPECT_TRUE(p.com_Timegap.enabled());
    EXPECT_EQ(p.com_Count.backColor(), 0xFFFFFFU);
    EXPECT_TRUE(p.Label6.enabled()) << "Repeat's handler ran";
    EXPECT_FALSE(p.txt_Port.enabled());
    EXPECT_EQ(p.txt_Port.backColor(), 0xC0C0C0U);
    EXPECT_TRUE(p.opt_Send_recv.value()) << "the role does not look at the action";
    EXPECT_EQ(f.sim.settings.writes, writes) << "a role change saves nothing";
}

TEST(Role, AnOptionAlreadySelectedRunsNoChainAndSendOnlyStillOpensTheRow) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_Send_Only);
    f.op.click(p.opt_OneTime); // labels off
    f.op.click(p.opt_Client);  // OneTime already chosen: no handler, labels unchanged
    EXPECT_FALSE(p.Label5.enabled());
    f.op.click(p.opt_Receive_Only);
    f.op.click(p.opt_Send_Only);
    EXPECT_TRUE(p.opt_Repeat.enabled()) << "the action handler does not look at the role";
    EXPECT_TRUE(p.com_Timegap.enabled());
}

} // namespace
} // namespace sim::test
