#include "support/panel_state.h"
#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(DialOut, AStartConnectsFailsOrIsRefusedAndTheWatcherReportsALinkThatIsNotUpOnce) {
    // The operator sets the panel up and presses the button of the last step at 250 ms; the device takes
    // 900 ms to answer a connect, the operator 300 ms to answer a box.
    struct Case {
        Steps setUp;
        Ms returned;
        const char* enabled;
        QStringList rows; // at 5 s
        QStringList shown{};
        QByteArray report{};
        Answer answer = Answer::Accept;
    };
    const char* const unlocked = "Frame1 Frame2 Frame10 chkMode Cmd_Start";
    const QStringList watcher{"[10:00:01.550] : Connection Fail"};
    const Case cases[] = {
        {Steps{"Cmd_Start"}, 1150, "Cmd_Send cmd_End", QStringList{"[10:00:00.250] : Connection Success"}},
        {Steps{"Cmd_Start"}, 1250, unlocked,
         QStringList{"[10:00:00.250] : Connection Fail", "[10:00:02.250] : Connection Fail"}, QStringList(),
         QByteArray(), Answer::Ignore},
        {Steps{"Cmd_Start"}, 1450, unlocked,
         QStringList{"10:00:01Client Socket Error : Referance Err_Log File ....... ",
                     "[10:00:00.250] : Connection Fail", "[10:00:02.450] : Connection Fail"},
         QStringList{"E........ [Error 16]"},
         "Err Title : Client Socket Error\r\nErr Time : 2026/11/22 10:00:01\r\nErr Number : 10061\r\n"
         "Err Desc : Connection is forcefully rejected\r\nErr Source : Client_Socket\r\n\r\n",
         Answer::Refuse},
        // A start refused by a check waits only for the operator; the watcher it armed still reports.
        {Steps{"txt_Destination_Port=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Destination Port [Error 16]"}},
        {Steps{"txt_Destination_IP(0)=", "txt_Destination_IP(1)=", "txt_Destination_IP(2)=",
               "txt_Destination_IP(3)=", "Cmd_Start"},
         550, unlocked, watcher, QStringList{"Input Destination IP [Error 16]"}},
        {Steps{"txt_Destination_Port=40x", "Cmd_Start"}, 250, unlocked,
         QStringList{"[10:00:00.250] : Connection Fail", "[10:00:01.250] : Connection Fail"}},
        // The sending actions check the gap, the count and the data, in that order; blanks are no empty text.
        {Steps{"opt_Send_Only", "com_Timegap=", "com_Count=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Timegap [Timegap 48]"}},
        {Steps{"opt_Send_input", "com_Count=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Count [Count 48]"}},
        {Steps{"opt_Send_Only", "opt_OneTime",
               "com_Timegap=  ", "com_Count= ", "txt_Data_Input=   ", "Cmd_Start"},
         1150, "Cmd_Send cmd_End", QStringList{"[10:00:00.250] : Connection Success"}},
        {Steps{"opt_Client", "txt_Port=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Port No [Error 16]"}},
        // Connect && Send checks as Connect does, then as Send does; only Connect arms the watcher.
        {Steps{"Opt_Cnn2", "opt_Send_Only", "cmd_CSend"}, 850, "Frame1 Frame2 Frame10 chkMode", QStringList{},
         QStringList{"input Send Data [Send Data 48]", "Please Input Data [SEND FAIL 48]"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.setUp.front());
        DeviceAsServer f(c.answer);
        f.sim.network.latency = 900;
        f.sim.dialogs.answerAfter = 300;
        f.runUntil(250);
        f.setUp(c.setUp);
        EXPECT_EQ(f.sim.scheduler.now(), c.returned);
        EXPECT_EQ(f.unlocked(), c.enabled);
        EXPECT_EQ(f.shown(), c.shown);
        EXPECT_EQ(f.p.List1.listIndex(), f.rows().size() - 1);
        f.runUntil(5000);
        EXPECT_EQ(f.rows(), c.rows);
        EXPECT_EQ(fileBytes(f.sim.folders.programFolder() + "/Err_Log/20261122.txt"), c.report);
        EXPECT_EQ(fileBytes(f.dailyLogPath()), c.report)
            << "a report is copied to the daily log, at List too";
    }
}

TEST(Exchange, TheDeviceGetsTheAnswerTheActionOfTheMomentMakesOrTheTextSentInItsForm) {
    // During the link the program sets the options (the operator cannot reach them), then the device
    // sends "ping" or the operator presses Send.
    struct Case {
        const char *options, *input;
        bool press;
        const char* received; // by the device
        QStringList rows;     // after Connection Success
        QStringList shown = {};
        int state = socket_state::kConnected;
    };
    const QString recv = "[10:00:00.002] : Recv [4 byte] :  ping";
    const char* const hex = "opt_Receive_Only opt_HexA";
    const Case cases[] = {
        {"opt_Send_recv", "", false, "ping",
         QStringList{recv, " ", "[10:00:00.002] : Send [4 byte] :  ping", " "}},
        {"opt_Send_input", "pong", false, "pong",
         QStringList{recv, " ", "[10:00:00.002] : Send [4 byte] :  pong", " "}},
        {"opt_Send_Only", "pong", false, "", QStringList{recv, " "}},
        {"opt_Receive_Only", "pong", false, "", QStringList{recv, " "}},
        // An answer that cannot be built sends nothing and brings no box.
        {"opt_Send_input", "", false, "", QStringList{recv, " ", "[10:00:00.002] : Send Fail"}},
        // Connect && Close ends the link on the first data, after the answer; the panel stays locked.
        {"Opt_Cnn2", "", false, "ping",
         QStringList{recv, " ", "[10:00:00.002] : Send [4 byte] :  ping", " ",
                     "[10:00:00.002] : Client Disconnected"},
         QStringList{}, socket_state::kClosed},
        // Only spaces are blanks: a tab is a payload like any other, sent with the spaces around it.
        {"opt_Receive_Only", " \t ", true, " \t ",
         QStringList{"[10:00:00.001] : Send [3 byte] :   \t ", " "}},
        {hex, "   ", true, "", QStringList{}, QStringList{"Please Input Data [SEND FAIL 48]"}},
        // An odd count of digits is invalid, and its even part goes; a lone digit or a text that reached
        // the box other than by typing sends nothing.
        {hex, "414", true, "A", QStringList{"[10:00:00.001] : Send [1 byte] :  41", ""},
         QStringList{"Invalid Data [Error 16]"}},
        {hex, "7", true, "", QStringList{}, QStringList{"Invalid Data [Error 16]"}},
        {hex, "zz", true, "", QStringList{}, QStringList{"Invalid Data [Error 16]"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.options) + " " + c.input);
        DeviceAsServer f;
        f.op.click(f.p.Cmd_Start);
        for (const QString& name : QString::fromLatin1(c.options).split(u' ')) {
            static_cast<OptionButton*>(f.p.find(name.toStdString()))->setValue(true);
        }
        f.p.txt_Data_Input.setText(QString::fromLatin1(c.input));
        if (c.press) {
            f.op.click(f.p.Cmd_Send);
        } else {
            f.device()->send("ping");
        }
        f.sim.scheduler.runFor(10);
        EXPECT_EQ(f.device()->received(), bytesOf(c.received));
        EXPECT_EQ(f.rows().mid(1), c.rows);
        EXPECT_EQ(f.shown(), c.shown);
        EXPECT_EQ(f.p.Client_Socket.state(), c.state);
    }
}

TEST(PanelReset, UnlocksWhatALinkLockedAndTouchesNothingElse) {
    // The log file box comes back at the levels that write the named file.
    for (const char* level : {"opt_File", "opt_List", "opt_None"}) {
        SCOPED_TRACE(level);
        DeviceAsServer f;
        f.setUp({level, "Cmd_Start"}); // a link: the panel is locked
        // What the reset must leave alone is set against it.
        f.p.Timer2.setEnabled(true);
        f.p.cmd_CSend.setEnabled(true);
        f.p.Label7.setEnabled(false);
        f.p.iRepeatNo = 3;
        f.p.iStepNo = 2;
        f.p.bFailShown = 1;
        f.form.link().PanelReset();
        EXPECT_EQ(f.unlocked(), std::string(level) == "opt_File"
                                    ? "Frame1 Frame2 txt_Logfile Frame10 chkMode Cmd_Start"
                                    : "Frame1 Frame2 Frame10 chkMode Cmd_Start");
        const QString timersAndOthers = "-Timer1 +client_status +Timer2 +cmd_CSend -Label7";
        EXPECT_EQ(factsOf(f.p, timersAndOthers), timersAndOthers);
        EXPECT_EQ((std::vector<int>{f.p.iRepeatNo, f.p.iStepNo, f.p.bFailShown, f.p.Client_Socket.state()}),
                  (std::vector<int>{3, 2, 1, socket_state::kConnected}));
    }
}

TEST(ConnectTick, CountsUpTo10001AndThenStartsAgainFromZero) {
    SimForm f;
    f.p.iConnectTick = 9999;
    f.p.TmrConnect.setInterval(1000); // enabled by design; idle only while its interval is 0
    f.sim.scheduler.runUntil(3000);   // 10000, 10001, then 0
    EXPECT_EQ(f.p.iConnectTick, 0);
}

TEST(ConnectWaits, PressesDuringAWaitRunInTheirOrderOnceNoWaitRunsAndAPressHeldInsideALaterWaitWaitsAgain) {
    DeviceAsServer f;
    f.sim.network.latency = 400;
    f.setUp({"Opt_Cnn2", "opt_Receive_Only", "txt_Data_Input=a"});
    f.at(100, [&f] { f.op.click(f.p.cmd_CSend); });
    f.at(200, [&f] { f.setUp({"txt_Data_Input=b", "cmd_CSend"}); });
    f.op.click(f.p.cmd_CSend);
    f.runUntil(5000);
    EXPECT_EQ(f.rows().filter("Connection Success"),
              (QStringList{"[10:00:00.000] : Connection Success", "[10:00:00.400] : Connection Success",
                           "[10:00:00.800] : Connection Success"}));
}

TEST(ConnectWaits, AHeldPressOfAButtonThatCannotBePressedAnyMoreIsDropped) {
    DeviceAsServer f(Answer::Ignore);
    f.setUp({"Opt_Cnn2", "Opt_Cnn1", "txt_Data_Input=hi"}); // Connect's click offers Send with no link
    f.at(500, [&f] { EXPECT_TRUE(f.op.click(f.p.Cmd_Send)); });
    f.op.click(f.p.Cmd_Start); // fails, and the reset turns Cmd_Send off
    f.runUntil(1500);
    EXPECT_EQ(f.sim.network.dialled().size(), 1U);
}

TEST(ConnectWaits, AfterTheDeviceHungUpSendDialsAgainOnceAndARepeatTickDuringItsWaitIsDroppedUncounted) {
    RepeatRun f("1", "3", "x");
    f.sim.scheduler.setHorizon(60'000);
    f.op.click(f.p.Cmd_Start);
    const auto first = f.device();
    f.at(1100, [first] { first->close(); });
    f.runUntil(1250);
    EXPECT_EQ(f.unlocked(), "Cmd_Send cmd_End") << "locked until Close";
    f.sim.network.latency = 800;
    f.clickAt(1300, f.p.Cmd_Send); // dials again: the device accepts at 2100
    EXPECT_EQ(f.p.iRepeatNo, 0) << "the tick at 2000 came during the wait and was dropped before it counted";
    ASSERT_NE(f.device(), first);
    // Only Connect clears the watcher's flag, so a second loss goes unreported.
    f.at(6000, [&f] { f.device()->close(); });
    f.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (Times{1000, 2100, 3100, 4100, 5100}));
    EXPECT_EQ(f.rows().filter("] : Connection "),
              (QStringList{"[10:00:00.000] : Connection Success", "[10:00:02.000] : Connection Fail",
                           "[10:00:01.300] : Connection Success"}))
        << "the watcher saw the link down during the wait; the new link's line bears the time it began";
}

struct DeviceAsClient : DeviceAsServer {
    std::shared_ptr<DeviceLink> client;
    DeviceAsClient() { setUp({"opt_Client", "txt_Port=5000"}); }
    void connectAt(Ms when) {
        at(when, [this] {
            client = sim.network.deviceConnects(5000);
            if (!client) {
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
    // The listening role shows the listen port and greys the destination and the repeat row.
    const QString listening = "+txt_Port#FFFFFF -txt_Destination_IP(0)#C0C0C0 -txt_Destination_IP(3)#C0C0C0 "
                              "-com_Timegap#C0C0C0 opt_OneTime=1 -Label5 -com_Count";
    EXPECT_EQ(factsOf(f.p, listening), listening);
    // Send Only opens the repeat row whatever the role, but not its labels, which Client's OneTime closed.
    f.setUp({"opt_Send_Only"});
    EXPECT_EQ(factsOf(f.p, "-Label5 +opt_Repeat +com_Timegap"), "-Label5 +opt_Repeat +com_Timegap");
    f.setUp({"opt_Send_recv", "Opt_List_File"});
    std::shared_ptr<DeviceLink> second;
    f.connectAt(100);
    f.at(200, [&] {
        f.client->send("AB");
        EXPECT_EQ(f.sim.network.deviceConnects(5000), nullptr) << "nothing listens while a client is served";
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
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.unlocked(), "Frame1 Frame2 txt_Logfile Frame10 chkMode Cmd_Start");
    // Close armed the watcher on the way out of Listen: one line a second later, then silence.
    f.runUntil(4000);
    EXPECT_EQ(f.rows().mid(16), QStringList{"[10:00:02.000] : Connection Fail"});
    EXPECT_EQ(fileBytes(f.p.txt_Logfile.text()),
              "[10:00:00.201] : Recv [2 byte] : AB\r\n[10:00:00.201] : Send [2 byte] : AB\r\n"
              "[10:00:00.701] : Recv [1 byte] : ?\r\n[10:00:00.701] : Send Fail\r\n"
              "[10:00:02.000] : Connection Fail\r\n")
        << "of the listening side's own lines none is filed";
    // Back to dialling out: the destination and the repeat row again, the listen port greyed.
    const int writes = f.sim.settings.writes;
    f.op.click(f.p.opt_Server);
    const QString dialling =
        "-txt_Port#C0C0C0 +txt_Destination_IP(0)#FFFFFF +opt_Repeat=1 +com_Timegap +com_Count#FFFFFF +Label6";
    EXPECT_EQ(factsOf(f.p, dialling), dialling);
    EXPECT_EQ(f.p.Cmd_Start.caption(), "Connect");
    EXPECT_EQ(f.sim.settings.writes, writes) << "a role change saves nothing";
}

TEST(Listen, ATakenPortIsRetriedWithoutEndBoundedInTheListAndCloseStillStops) {
    DeviceAsClient f;
    f.sim.network.occupy(5000);
    f.sim.scheduler.setHorizon(200'000); // a Close that is not offered fails the test
    f.listenUntil(120'000);
    EXPECT_EQ(f.rows().size(), 2002) << "2001 after the last trim, and Close's line, which trims nothing";
    EXPECT_EQ(f.rows().filter("] : Listen Fail").size(), 2001);
    EXPECT_EQ(f.rows().last(), "[10:02:00.000] : Server Closed");
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

} // namespace
} // namespace sim::test
