#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(DialOut, AStartConnectsFailsOrIsRefusedAndTheWatcherReportsALinkThatIsNotUpOnce) {
    // The operator sets the panel up and presses the button of the last step at 250 ms; the device takes
    // 900 ms to answer a connect, the operator 300 ms to answer a box.
    struct Case {
        Answer answer;
        Steps setUp;
        Ms returned;
        const char* enabled;
        QStringList rows; // at 5 s
        QStringList shown{};
        QByteArray report{};
    };
    const char* const unlocked = "Frame1 Frame2 Frame10 chkMode Cmd_Start";
    const QStringList watcher{"[10:00:01.550] : Connection Fail"};
    const Steps start{"Cmd_Start"};
    const Case cases[] = {
        {Answer::Accept, start, 1150, "Cmd_Send cmd_End", QStringList{"[10:00:00.250] : Connection Success"}},
        {Answer::Ignore, start, 1250, unlocked,
         QStringList{"[10:00:00.250] : Connection Fail", "[10:00:02.250] : Connection Fail"}},
        {Answer::Refuse, start, 1450, unlocked,
         QStringList{"10:00:01Client Socket Error : Referance Err_Log File ....... ",
                     "[10:00:00.250] : Connection Fail", "[10:00:02.450] : Connection Fail"},
         QStringList{"E........ [Error 16]"},
         "Err Title : Client Socket Error\r\nErr Time : 2026/11/22 10:00:01\r\nErr Number : 10061\r\n"
         "Err Desc : Connection is forcefully rejected\r\nErr Source : Client_Socket\r\n\r\n"},
        // A start refused by a check waits only for the operator; the watcher it armed still reports.
        {Answer::Accept, Steps{"txt_Destination_Port=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Destination Port [Error 16]"}},
        {Answer::Accept,
         Steps{"txt_Destination_IP(0)=", "txt_Destination_IP(1)=", "txt_Destination_IP(2)=",
               "txt_Destination_IP(3)=", "Cmd_Start"},
         550, unlocked, watcher, QStringList{"Input Destination IP [Error 16]"}},
        {Answer::Accept, Steps{"txt_Destination_Port=40x", "Cmd_Start"}, 250, unlocked,
         QStringList{"[10:00:00.250] : Connection Fail", "[10:00:01.250] : Connection Fail"}},
        // The sending actions check the gap, the count and the data, in that order; blanks are no empty text.
        {Answer::Accept, Steps{"opt_Send_Only", "com_Timegap=", "com_Count=", "Cmd_Start"}, 550, unlocked,
         watcher, QStringList{"Input Timegap [Timegap 48]"}},
        {Answer::Accept, Steps{"opt_Send_input", "com_Count=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Count [Count 48]"}},
        {Answer::Accept,
         Steps{"opt_Send_Only", "opt_OneTime",
               "com_Timegap=  ", "com_Count= ", "txt_Data_Input=   ", "Cmd_Start"},
         1150, "Cmd_Send cmd_End", QStringList{"[10:00:00.250] : Connection Success"}},
        {Answer::Accept, Steps{"opt_Client", "txt_Port=", "Cmd_Start"}, 550, unlocked, watcher,
         QStringList{"Input Port No [Error 16]"}},
        // Connect && Send checks as Connect does, then as Send does; only Connect arms the watcher.
        {Answer::Accept, Steps{"Opt_Cnn2", "opt_Send_Only", "cmd_CSend"}, 850,
         "Frame1 Frame2 Frame10 chkMode", QStringList{},
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
        EXPECT_FALSE(f.p.Frame1.enabled()) << "the panel stays locked";
        EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "no reconnect";
    }
}

TEST(PanelReset, UnlocksWhatALinkLockedAndTouchesNothingElse) {
    // The log file box comes back at the levels that write the named file.
    for (const char* level : {"opt_File", "opt_List", "opt_None"}) {
        SCOPED_TRACE(level);
        DeviceAsServer f;
        Panel& p = f.p;
        f.setUp({level, "Cmd_Start"}); // a link: the panel is locked
        // What the reset must leave alone is set against it.
        p.Timer2.setEnabled(true);
        p.cmd_CSend.setEnabled(true);
        p.Label7.setEnabled(false);
        p.iRepeatNo = 3;
        p.iStepNo = 2;
        p.bFailShown = 1;
        f.form.link().PanelReset();
        EXPECT_EQ(f.unlocked(), std::string(level) == "opt_File"
                                    ? "Frame1 Frame2 txt_Logfile Frame10 chkMode Cmd_Start"
                                    : "Frame1 Frame2 Frame10 chkMode Cmd_Start");
        EXPECT_EQ(f.enabledOf({&p.Timer1, &p.client_status, &p.Timer2, &p.cmd_CSend, &p.Label7}),
                  "client_status Timer2 cmd_CSend");
        EXPECT_EQ(p.Client_Socket.state(), socket_state::kConnected);
        EXPECT_EQ((std::vector<int>{p.iRepeatNo, p.iStepNo, p.bFailShown}), (std::vector<int>{3, 2, 1}));
    }
}

TEST(ConnectTick, CountsUpTo10001AndThenStartsAgainFromZero) {
    SimForm f;
    f.p.iConnectTick = 9999;
    f.p.TmrConnect.setInterval(1000); // enabled by design; idle only while its interval is 0
    std::vector<int> seen;
    for (Ms at : {1000, 2000, 3000, 4000}) {
        f.sim.scheduler.runUntil(at);
        seen.push_back(f.p.iConnectTick);
    }
    EXPECT_EQ(seen, (std::vector<int>{10000, 10001, 0, 1}));
}

// A press that would dial out while a connect wait runs is held back until no wait runs, then runs as
// an event of its own; a repeat tick that comes during a wait is dropped. Before this, the inner
// connect waited for the outer wait, which could only end after the inner one: the form hung.

TEST(ConnectWaits, PressesDuringAWaitRunInTheirOrderOnceNoWaitRunsAndAPressHeldInsideALaterWaitWaitsAgain) {
    // Two presses held by one wait: the first starts a wait of its own, inside which the second is
    // held again.
    DeviceAsServer f;
    f.sim.network.latency = 400;
    f.setUp({"Opt_Cnn2", "opt_Receive_Only", "txt_Data_Input=a"});
    f.at(100, [&f] { f.op.click(f.p.cmd_CSend); });
    f.at(200, [&f] { f.setUp({"txt_Data_Input=b", "cmd_CSend"}); });
    f.op.click(f.p.cmd_CSend);
    EXPECT_EQ(f.sim.scheduler.now(), 400) << "the first press returned before the held ones ran";
    f.runUntil(5000);
    EXPECT_EQ(f.rows().filter("Connection Success"),
              (QStringList{"[10:00:00.000] : Connection Success", "[10:00:00.400] : Connection Success",
                           "[10:00:00.800] : Connection Success"}));
    EXPECT_EQ(f.sim.network.dialled().size(), 3U);
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
    f.runUntil(1100);
    first->close();
    f.runUntil(1250);
    EXPECT_EQ(f.unlocked(), "Cmd_Send cmd_End") << "locked until Close";
    f.sim.network.latency = 800;
    f.clickAt(1300, f.p.Cmd_Send); // dials again: the device accepts at 2100
    EXPECT_EQ(f.p.iRepeatNo, 0) << "the tick at 2000 came during the wait and was dropped before it counted";
    ASSERT_NE(f.device(), first);
    f.runUntil(10'000);
    EXPECT_EQ(f.sim.network.dialled().size(), 2U) << "no second reconnect on top of the first";
    EXPECT_EQ(f.sendTimes(), (Times{1000, 2100, 3100, 4100, 5100}));
    EXPECT_EQ(f.device()->received(), bytesOf("xxxx"));
    EXPECT_EQ(f.rows().filter("] : Connection "),
              (QStringList{"[10:00:00.000] : Connection Success", "[10:00:02.000] : Connection Fail",
                           "[10:00:01.300] : Connection Success"}))
        << "the watcher saw the link down during the wait; the new link's line bears the time it began";
    // Only Connect clears the watcher's flag, so a second loss goes unreported.
    const int rows = f.rows().size();
    f.device()->close();
    f.runUntil(13'000);
    EXPECT_EQ(f.rows().size(), rows);
}

} // namespace
} // namespace sim::test
