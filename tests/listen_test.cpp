#include "support/panel_state.h"
#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The form set to listen on port 5000 for a device that is the client.
struct DeviceAsClient : DeviceAsServer {
    std::shared_ptr<DeviceLink> client;
    DeviceAsClient() { setUp({"opt_Client", "txt_Port=5000"}); }
    void connectAt(Ms when) {
        at(when, [this] { client = sim.network.deviceConnects(5000); });
    }
    // Scripts the operator's Close, then presses Listen; returns when listening has ended.
    void listenUntil(Ms close) {
        at(close, [this] { op.click(p.cmd_End); });
        op.click(p.Cmd_Start);
    }
};

TEST(Listen, ServesOneClientAtATimeAndListensAgainAfterEachEndUntilClose) {
    DeviceAsClient f;
    std::shared_ptr<DeviceLink> second;
    f.connectAt(100);
    f.at(200, [&] {
        f.client->send("AB");
        second = f.sim.network.deviceConnects(5000);
        EXPECT_EQ(second, nullptr) << "nothing listens while a client is served";
    });
    f.at(300, [&] { f.client->close(); });
    f.at(400, [&] {
        EXPECT_EQ(f.unlocked(), "Frame10 chkMode Cmd_Send cmd_End") << "locked again while listening again";
        f.p.Server_Socket.events.connectionRequest(9999); // a request that is lost
    });
    f.at(500, [&] { f.sim.network.socketNamed("Server_Socket")->injectError(10053); });
    f.at(600, [&] { second = f.sim.network.deviceConnects(5000); });
    f.at(700, [&] {
        ASSERT_NE(second, nullptr);
        f.p.opt_Send_input.setValue(true); // with an empty data box: the answer cannot be made
        second->send("?");
        // Connect && Send and Start pressed while listening are ignored.
        f.setUp({"Opt_Cnn2", "cmd_CSend", "Opt_Cnn1", "Cmd_Start"});
    });
    f.listenUntil(1000);
    EXPECT_EQ(f.rows(), (QStringList{"[10:00:00.000] : Listen..", "[10:00:00.100] : Client Connected",
                                     "[10:00:00.201] : Recv [2 byte] :  AB", " ",
                                     "[10:00:00.201] : Send [2 byte] :  AB", " ",
                                     "[10:00:00.301] : Client Disconnected", "[10:00:00.301] : Listen..",
                                     "[10:00:00.400] : Listen..",
                                     "10:00:00Server Socket Error : Referance Err_Log File ....... ",
                                     "[10:00:00.500] : Listen..", "[10:00:00.600] : Client Connected",
                                     "[10:00:00.701] : Recv [1 byte] :  ?", " ", "[10:00:00.701] : Send Fail",
                                     "[10:00:01.000] : Server Closed"}));
    EXPECT_EQ(f.client->received(), bytesOf("AB"));
    EXPECT_TRUE(second->received().empty());
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.unlocked(), "Frame1 Frame2 Frame10 chkMode Cmd_Start");
    // Close armed the watcher on the way out of Listen: one line a second later, then silence.
    f.runUntil(4000);
    EXPECT_EQ(f.rows().mid(16), QStringList{"[10:00:02.000] : Connection Fail"});
}

TEST(Listen, ATakenPortIsRetriedWithoutEndBoundedInTheListAndCloseStillStops) {
    DeviceAsClient f;
    f.sim.network.occupy(5000);
    f.sim.scheduler.setHorizon(200'000); // a Close that is not offered fails the test
    f.listenUntil(120'000);
    const QStringList rows = f.rows();
    EXPECT_EQ(rows.size(), 2002) << "2001 after the last trim, and Close's line, which trims nothing";
    EXPECT_EQ(rows.filter("] : Listen Fail").size(), 2001);
    EXPECT_EQ(rows.last(), "[10:02:00.000] : Server Closed");
    EXPECT_TRUE(f.shown().isEmpty()) << "no message box for a failed listen";
}

TEST(Listen, ClosingTheWindowEndsTheLoop) {
    DeviceAsClient f;
    f.connectAt(100);
    f.at(200, [&] { f.op.closeWindow(); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.sim.scheduler.now(), 200);
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_FALSE(f.client->open());
}

TEST(Role, SwitchesThePanelBetweenTheListenPortAndTheDestination) {
    // An option already selected runs no chain: Client after OneTime leaves the labels as they are, and
    // the action handler opens the repeat row whatever the role.
    const struct {
        const char* clicks;
        const char* caption;
        const char* facts;
    } cases[] = {
        {"opt_Client", "Listen",
         "+txt_Port#FFFFFF -txt_Destination_IP(0)#C0C0C0 -txt_Destination_IP(3)#C0C0C0 -com_Timegap#C0C0C0 "
         "opt_OneTime=1 -Label5 -com_Count"},
        {"opt_Client opt_Server", "Connect",
         "-txt_Port#C0C0C0 +txt_Destination_IP(0)#FFFFFF +opt_Repeat=1 +com_Timegap +com_Count#FFFFFF "
         "+Label6 "
         "opt_Send_recv=1"},
        {"opt_Send_Only opt_OneTime opt_Client opt_Receive_Only opt_Send_Only", "Listen",
         "-Label5 +opt_Repeat +com_Timegap"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.clicks);
        SimForm f;
        const int writes = f.sim.settings.writes;
        for (const QString& name : QString::fromLatin1(c.clicks).split(u' ')) {
            f.op.click(*f.p.find(name.toStdString()));
        }
        EXPECT_EQ(f.p.Cmd_Start.caption(), c.caption);
        EXPECT_EQ(factsOf(f.p, c.facts), c.facts);
        EXPECT_EQ(f.sim.settings.writes, writes) << "a role change saves nothing";
    }
}

} // namespace
} // namespace sim::test
