#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// ---- connect ----

TEST(DialOut, ConnectReportsSuccessWithTheStampOfTheClickAndLocksThePanel) {
    DeviceAsServer f;
    f.sim.network.latency = 900; // the device takes nearly the whole second to accept
    f.clickAt(250, f.p.Cmd_Start);
    EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:00.250] : Connection Success")});
    EXPECT_EQ(f.sim.scheduler.now(), 1150);
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    for (const Control* off : std::initializer_list<const Control*>{
             &f.p.Frame1, &f.p.Frame2, &f.p.txt_Logfile, &f.p.Frame10, &f.p.chkMode, &f.p.Cmd_Start}) {
        EXPECT_FALSE(off->enabled()) << off->name().toStdString();
    }
    EXPECT_TRUE(f.p.Cmd_Send.enabled());
    EXPECT_TRUE(f.p.cmd_End.enabled());
    EXPECT_TRUE(f.p.client_status.running());
    EXPECT_EQ(f.p.bFailShown, 0);
    EXPECT_EQ(f.p.List1.listIndex(), 0);
    EXPECT_EQ(f.sim.network.dialled(), std::vector<QString>{QStringLiteral("127.0.0.1:4000")});
}

TEST(DialOut, ADeviceThatNeverAnswersFailsAfterOneTickThenTheWatcherReportsOnce) {
    DeviceAsServer f(Answer::Ignore);
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.sim.scheduler.now(), 1000);
    EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:00.000] : Connection Fail")});
    EXPECT_TRUE(f.p.Cmd_Start.enabled()) << "the panel is unlocked";
    EXPECT_TRUE(f.p.Frame1.enabled());
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.rows(), (QStringList{QStringLiteral("[10:00:00.000] : Connection Fail"),
                                     QStringLiteral("[10:00:02.000] : Connection Fail")}));
    EXPECT_EQ(f.p.bFailShown, 1);
}

TEST(DialOut, ARefusedConnectGetsAnErrorReportAndTheWaitRunsOut) {
    DeviceAsServer f(Answer::Refuse);
    f.sim.dialogs.answerAfter = 300;
    f.op.click(f.p.Cmd_Start);
    ASSERT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("E........")});
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("Error"));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, 16);
    // The report row follows the operator's answer; the wait still runs to its tick.
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("10:00:00Client Socket Error : Referance Err_Log File ....... "),
                           QStringLiteral("[10:00:00.000] : Connection Fail")}));
    const QByteArray report =
        fileBytes(f.sim.folders.programFolder() + QStringLiteral("/Err_Log/20261122.txt"));
    EXPECT_EQ(
        report,
        QByteArray(
            "Err Title : Client Socket Error\r\nErr Time : 2026/11/22 10:00:00\r\nErr Number : 10061\r\n"
            "Err Desc : Connection is forcefully rejected\r\nErr Source : Client_Socket\r\n\r\n"));
    EXPECT_EQ(fileBytes(f.dailyLogPath()), report)
        << "the report is copied to the daily log, at level List too";
}

TEST(DialOut, ARefusedCheckShowsItsMessageAndTheWatcherStillReportsASecondLater) {
    DeviceAsServer f;
    f.p.txt_Destination_Port.setText(QString());
    f.op.click(f.p.Cmd_Start);
    ASSERT_EQ(f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.shown[0].text, QStringLiteral("Input Destination Port"));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, 16);
    EXPECT_TRUE(f.p.Cmd_Start.enabled());
    f.sim.scheduler.runUntil(1500);
    EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:01.000] : Connection Fail")});

    DeviceAsServer g;
    for (int i = 0; i < 4; ++i) {
        g.p.txt_Destination_IP(i).setText(QString());
    }
    g.op.click(g.p.Cmd_Start);
    EXPECT_EQ(g.shownTexts(), std::vector<QString>{QStringLiteral("Input Destination IP")});
    EXPECT_TRUE(g.sim.network.dialled().empty());
}

TEST(DialOut, SendParametersAreCheckedInOrderForTheSendingActions) {
    DeviceAsServer f;
    f.op.click(f.p.opt_Send_Only);
    f.p.com_Count.setText(QString());
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Count")});
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("Count"));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, 48);
    f.p.com_Count.setListIndex(0);
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.shownTexts().back(), QStringLiteral("input Send Data"));
    EXPECT_TRUE(f.sim.network.dialled().empty());
}

TEST(DialOut, ARepeatRunIsArmedOnConnectFromTheTimeGap) {
    DeviceAsServer f;
    f.op.click(f.p.opt_Send_Only);
    f.p.txt_Data_Input.setText(QStringLiteral("x"));
    f.p.com_Timegap.setText(QStringLiteral(" 2.5 "));
    f.op.click(f.p.Cmd_Start);
    EXPECT_TRUE(f.p.Timer1.running());
    EXPECT_EQ(f.p.Timer1.interval(), 2500);
    EXPECT_TRUE(f.p.Cmd_Send.enabled());
    EXPECT_TRUE(f.device()->received().empty()) << "nothing is sent when the run is armed";
}

TEST(DialOut, ATimeGapThatIsNoUsableNumberArmsNothingAndSaysSo) {
    // Only blanks may stand around the number: a tab makes it no number.
    for (const char* gap : {"abc", "-1", "70", "\t2"}) {
        DeviceAsServer f;
        f.op.click(f.p.opt_Send_Only);
        f.p.txt_Data_Input.setText(QStringLiteral("x"));
        f.p.com_Timegap.setText(QString::fromLatin1(gap));
        f.op.click(f.p.Cmd_Start);
        EXPECT_FALSE(f.p.Timer1.running()) << gap;
        EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Timegap")}) << gap;
        EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:00.000] : Connection Success")})
            << "the link is up all the same";
    }
}

TEST(DialOut, APortThatIsNoNumberFailsWithoutDialling) {
    DeviceAsServer f;
    f.p.txt_Destination_Port.setText(QStringLiteral("40x"));
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:00.000] : Connection Fail")});
    EXPECT_EQ(f.sim.scheduler.now(), 0) << "a connect that cannot start does not wait";
    EXPECT_TRUE(f.sim.network.dialled().empty());
}

// ---- what the device sends ----

struct Exchange : DeviceAsServer {
    Exchange() { op.click(p.Cmd_Start); }
    void deviceSends(const char* text) {
        device()->send(text);
        sim.scheduler.runFor(10);
    }
};

TEST(DeviceSends, EachActionAnswersAsItSays) {
    struct Case {
        const char* action;
        const char* input;
        const char* answered;
        int records;
    };
    const Case cases[] = {{"opt_Send_recv", "", "ping", 2},
                          {"opt_Send_input", "pong", "pong", 2},
                          {"opt_Send_Only", "pong", "", 1},
                          {"opt_Receive_Only", "pong", "", 1}};
    for (const Case& c : cases) {
        DeviceAsServer f;
        f.op.click(*f.p.find(c.action));
        f.p.txt_Data_Input.setText(QString::fromLatin1(c.input));
        f.op.click(f.p.Cmd_Start);
        f.device()->send("ping");
        f.sim.scheduler.runFor(10);
        EXPECT_EQ(f.device()->received(), bytesOf(c.answered));
        EXPECT_EQ(f.rows().filter(QStringLiteral(" byte] : ")).size(), c.records);
        EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    }
}

TEST(DeviceSends, TheEchoIsRecordedWithTheSameCountAfterTheReceivedRecord) {
    Exchange f;
    f.deviceSends("ABC");
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.000] : Connection Success"),
                           QStringLiteral("[10:00:00.002] : Recv [3 byte] :  ABC"), QStringLiteral(" "),
                           QStringLiteral("[10:00:00.002] : Send [3 byte] :  ABC"), QStringLiteral(" ")}));
    EXPECT_EQ(f.p.List1.listIndex(), 4);
}

TEST(DeviceSends, AnAnswerThatCannotBeBuiltSendsNothingAndIsRecordedAsASendFailure) {
    Exchange f;
    f.p.Frame2.setEnabled(true);
    f.p.opt_Send_input.setValue(true);
    f.p.txt_Data_Input.setText(QString());
    f.deviceSends("Q");
    EXPECT_TRUE(f.device()->received().empty());
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:00.002] : Send Fail"));
    EXPECT_TRUE(f.sim.dialogs.shown.empty()) << "an answer failure brings no box";
}

TEST(DeviceSends, ConnectAndCloseEndsTheLinkOnTheFirstDataAfterTheAnswer) {
    Exchange f;
    f.op.click(f.p.Opt_Cnn2); // live during the link
    f.deviceSends("one");
    EXPECT_EQ(f.device()->received(), bytesOf("one"));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:00.002] : Client Disconnected"));
    EXPECT_FALSE(f.p.Frame1.enabled()) << "the panel stays locked";
    // Close afterwards (offered again by Connect) adds a second line and unlocks.
    f.op.click(f.p.Opt_Cnn1);
    f.op.click(f.p.cmd_End);
    EXPECT_EQ(f.rows().filter(QStringLiteral("Client Disconnected")).size(), 2);
    EXPECT_TRUE(f.p.Frame1.enabled());
}

// ---- manual send ----

TEST(ManualSend, SendsOnTheOpenLinkAndRecordsIt) {
    Exchange f;
    f.op.click(f.p.opt_Receive_Only);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral(" HELLO "));
    f.op.click(f.p.Cmd_Send);
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.device()->received(), bytesOf(" HELLO "));
    EXPECT_EQ(f.rows().at(1), QStringLiteral("[10:00:00.001] : Send [7 byte] :   HELLO "));
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "no reconnect";
}

TEST(ManualSend, AnOddHexTextBringsInvalidDataThenSendsTheEvenPart) {
    DeviceAsServer f;
    f.op.click(f.p.opt_HexA);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("414"));
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(500);
    f.op.click(f.p.Cmd_Send);
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Invalid Data")});
    EXPECT_EQ(f.device()->received(), (Bytes{0x41}));
    EXPECT_EQ(f.rows().at(1), QStringLiteral("[10:00:00.500] : Send [1 byte] :  41"));
}

TEST(ManualSend, ABlankTextOrOneDigitSendsNothing) {
    DeviceAsServer f;
    f.op.click(f.p.opt_HexA);
    f.op.click(f.p.Cmd_Start);
    f.p.txt_Data_Input.setText(QStringLiteral("   "));
    f.op.click(f.p.Cmd_Send);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Please Input Data")});
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("SEND FAIL"));
    f.p.txt_Data_Input.setText(QString());
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("7"));
    f.op.click(f.p.Cmd_Send);
    EXPECT_EQ(f.shownTexts().size(), 2U) << "one Invalid Data for a lone digit";
    // Text that reached the box other than by typing: the conversion fails, nothing is sent.
    f.p.txt_Data_Input.setText(QStringLiteral("zz"));
    f.op.click(f.p.Cmd_Send);
    EXPECT_EQ(f.shownTexts().back(), QStringLiteral("Invalid Data"));
    f.sim.scheduler.runFor(10);
    EXPECT_TRUE(f.device()->received().empty());
}

TEST(ManualSend, OnlySpacesCountAsBlanksOfAnEmptyText) {
    // A tab, a line break or a non-breaking space is a payload like any other character.
    const std::vector<std::pair<const char16_t*, Bytes>> cases = {
        {u"\t", {0x09}}, {u"\r\n", {0x0D, 0x0A}}, {u"\u00A0", {0xA0}}};
    for (const auto& [text, bytes] : cases) {
        Exchange f;
        f.op.click(f.p.opt_Receive_Only);
        f.p.txt_Data_Input.setText(QString::fromUtf16(text));
        f.op.click(f.p.Cmd_Send);
        f.sim.scheduler.runFor(10);
        EXPECT_TRUE(f.shownTexts().empty());
        EXPECT_EQ(f.device()->received(), bytes);
    }
}

TEST(ManualSend, WithNoLinkItDialsOnceAndSendsIfThatWorked) {
    DeviceAsServer f;
    f.p.txt_Data_Input.setText(QStringLiteral("hi"));
    f.p.Cmd_Send.setEnabled(true);
    f.op.click(f.p.Cmd_Send);
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.device()->received(), bytesOf("hi"));
    EXPECT_EQ(f.rows().first(), QStringLiteral("[10:00:00.000] : Connection Success"));
}

TEST(ManualSend, AfterTheDeviceHungUpSendDialsAgainAndSends) {
    DeviceAsServer f;
    f.op.click(f.p.opt_Receive_Only);
    f.p.txt_Data_Input.setText(QStringLiteral("again"));
    f.op.click(f.p.Cmd_Start);
    const auto first = f.device();
    f.sim.scheduler.runUntil(1500);
    first->close();
    f.sim.scheduler.runUntil(2500);
    ASSERT_EQ(f.rows().last(), QStringLiteral("[10:00:02.001] : Connection Fail"));
    f.clickAt(3000, f.p.Cmd_Send);
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.sim.network.dialled().size(), 2U);
    ASSERT_NE(f.device(), first);
    EXPECT_EQ(f.device()->received(), bytesOf("again"));
    EXPECT_TRUE(first->received().empty());
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.000] : Connection Success"),
                           QStringLiteral("[10:00:02.001] : Connection Fail"),
                           QStringLiteral("[10:00:03.000] : Connection Success"),
                           QStringLiteral("[10:00:03.001] : Send [5 byte] :  again"), QStringLiteral(" ")}));
    // Only Connect clears the watcher's flag, so a second loss goes unreported.
    f.device()->close();
    f.sim.scheduler.runFor(3000);
    EXPECT_EQ(f.rows().size(), 5);
}

TEST(ManualSend, ConnectSendReceiveCloseIsOneExchange) {
    DeviceAsServer f;
    f.sim.network.onLink = [](std::shared_ptr<DeviceLink> link) {
        link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes&) {
            weak.lock()->send("ack");
        };
    };
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.opt_Receive_Only);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("req"));
    f.op.click(f.p.cmd_CSend);
    f.sim.scheduler.runFor(50);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.000] : Connection Success"),
                           QStringLiteral("[10:00:00.001] : Send [3 byte] :  req"), QStringLiteral(" "),
                           QStringLiteral("[10:00:00.003] : Recv [3 byte] :  ack"), QStringLiteral(" "),
                           QStringLiteral("[10:00:00.003] : Client Disconnected")}));
    EXPECT_FALSE(f.p.Cmd_Send.enabled());
    EXPECT_TRUE(f.p.cmd_End.enabled());
    EXPECT_FALSE(f.p.client_status.running()) << "only Connect arms the watcher";
}

TEST(ManualSend, ConnectSendWithAnEmptyTextAndSendOnlyRefusesTwice) {
    DeviceAsServer f;
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.opt_Send_Only);
    f.op.click(f.p.cmd_CSend);
    EXPECT_EQ(f.shownTexts(),
              (std::vector<QString>{QStringLiteral("input Send Data"), QStringLiteral("Please Input Data")}));
    EXPECT_TRUE(f.sim.network.dialled().empty());
}

// ---- close ----

TEST(Close, EndsTheLinkReportsAndUnlocks) {
    Exchange f;
    f.clickAt(3000, f.p.cmd_End);
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:03.000] : Client Disconnected"));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_FALSE(f.device()->open());
    EXPECT_FALSE(f.p.client_status.running());
    EXPECT_TRUE(f.p.Cmd_Start.enabled());
    EXPECT_FALSE(f.p.Cmd_Send.enabled());
    EXPECT_FALSE(f.p.cmd_End.enabled());
    f.sim.scheduler.runFor(5000);
    EXPECT_EQ(f.rows().size(), 2) << "the watcher stays silent after a close";
}

TEST(Close, ALinkLostAfterSuccessIsReportedOnceByTheWatcher) {
    Exchange f;
    f.sim.scheduler.runUntil(1500);
    f.device()->close();
    f.sim.scheduler.runUntil(4000);
    EXPECT_EQ(f.rows(), (QStringList{QStringLiteral("[10:00:00.000] : Connection Success"),
                                     QStringLiteral("[10:00:02.001] : Connection Fail")}));
    EXPECT_FALSE(f.p.Frame1.enabled()) << "still locked until Close";
}

} // namespace
} // namespace sim::test
