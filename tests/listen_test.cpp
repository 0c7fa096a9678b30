#include "support/panel_state.h"
#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The form set to listen on port 5000 for a device that is the client.
struct DeviceAsClient : DeviceAsServer {
    std::shared_ptr<DeviceLink> client;
    DeviceAsClient() { setUp({"opt_Client", "txt_Port=5000"}); }
    void connectAt(Ms when) {
        at(when, [this] {
            if (!(client = sim.network.deviceConnects(5000))) {
                throw std::logic_error("nothing listens on the port the device dials");
            }
        });
    }
    // Scripts the operator's Close, then presses Listen; returns when listening has ended.
    void listenUntil(Ms close) {
        at(close, [this] { op.click(p.cmd_End); });
        op.click(p.Cmd_Start);
    }
};

TEST(Listen, ServesOneClientAtATimeAndListensAgainAfterEachEndUntilClose) {
    DeviceAsClient f;
    f.setUp({"Opt_List_File"});
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
    EXPECT_EQ(f.unlocked(), "Frame1 Frame2 txt_Logfile Frame10 chkMode Cmd_Start");
    // Close armed the watcher on the way out of Listen: one line a second later, then silence.
    f.runUntil(4000);
    EXPECT_EQ(f.rows().mid(16), QStringList{"[10:00:02.000] : Connection Fail"});
    EXPECT_EQ(fileBytes(f.namedLogPath()),
              "[10:00:00.201] : Recv [2 byte] : AB\r\n[10:00:00.201] : Send [2 byte] : AB\r\n"
              "[10:00:00.701] : Recv [1 byte] : ?\r\n[10:00:00.701] : Send Fail\r\n"
              "[10:00:02.000] : Connection Fail\r\n")
        << "of the listening side's own lines none is filed";
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

// A device whose receive path is stuck sends and reads nothing: what waits unsent for it stays within
// 4 MiB, an echo is never lost, a send of the operator's past that fails and says so.
TEST(Backpressure, AStuckDevicesEchoesWaitWithinTheBoundUnlostAndAllItSentIsRecordedWhenItHangsUp) {
    DeviceAsClient f; // the simulator listens on 5000 and echoes
    // The bytes of the records as they reach the list, by direction, and the failed sends: old rows go as
    // a long payload fills many.
    std::map<QString, qsizetype> recorded;
    f.p.List1.rowAdded = [&recorded](const QString& row) {
        static const QRegularExpression head(
            QStringLiteral("\\] : (Recv|Send) \\[(\\d+) byte\\]|\\] : (Send Fail)$"));
        const auto m = head.match(row);
        recorded[m.captured(1) + m.captured(3)] += m.hasCaptured(2) ? m.captured(2).toLongLong() : 1;
    };
    f.p.txt_Data_Input.setText("PING");
    Bytes burst(9 << 19); // 4.5 MiB, more than the simulator may hold unsent
    for (std::size_t i = 0; i < burst.size(); ++i) {
        burst[i] = static_cast<std::uint8_t>((i * 31 + i / 4093) % 251);
    }
    f.connectAt(100);
    f.at(200, [&] {
        f.client->stopReading();
        f.client->send(burst);
    });
    f.at(1000, [&] {
        // Reading has stopped at the bound: every echo made so far waits, none was refused.
        EXPECT_GE(f.client->unread(), qsizetype{4} << 20);
        EXPECT_LE(f.client->unread(), (qsizetype{4} << 20) + 32767) << "at most one answer past the bound";
        EXPECT_EQ(recorded["Recv"], f.client->unread()) << "everything taken in was answered";
        // The form still answers the operator: a manual send past the bound fails and says so.
        f.op.click(f.p.Cmd_Send);
        EXPECT_EQ(f.rows().last(), "[10:00:01.000] : Send Fail");
    });
    f.at(1500, [&] { f.client->startReading(); });
    f.at(2500, [&] { f.op.click(f.p.Cmd_Send); });
    // Stuck again, the device sends as much once more and hangs up.
    f.at(3000, [&] {
        f.client->stopReading();
        f.client->send(burst);
    });
    f.at(4000, [&] { f.client->close(); });
    f.listenUntil(5000);

    Bytes expected = burst;
    expected.insert(expected.end(), {'P', 'I', 'N', 'G'});
    EXPECT_TRUE(f.client->received() == expected) << "every byte echoed, in order, then the later send";
    const auto total = static_cast<qsizetype>(2 * burst.size());
    EXPECT_EQ(recorded["Recv"], total) << "all it sent, also what it sent before it hung up";
    EXPECT_EQ(recorded["Send"], total + 4) << "every arrival echoed, and the PING";
    EXPECT_EQ(recorded["Send Fail"], 1);
    EXPECT_EQ(f.rows().filter("Disconnected"), QStringList{"[10:00:04.001] : Client Disconnected"});
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
