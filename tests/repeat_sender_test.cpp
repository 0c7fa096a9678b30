#include "support/repeat_run.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

std::vector<Ms> every(Ms first, Ms step, int count) {
    std::vector<Ms> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(first + step * i);
    }
    return times;
}

// ---- the timeline of a run ----

TEST(RepeatRun, ACountOfThreeSendsAtTwoFourAndSixSecondsThenFallsQuiet) {
    RepeatRun f("2", "3", "HELLO");
    f.clickAt(500, f.p.Cmd_Start);
    f.sim.scheduler.runUntil(20'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{2500, 4500, 6500}));
    EXPECT_EQ(f.device()->received(), bytesOf("HELLOHELLOHELLO"));
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("[10:00:00.500] : Connection Success"),
                           QStringLiteral("[10:00:02.500] : Send [5 byte] :  HELLO"), QStringLiteral(" "),
                           QStringLiteral("[10:00:04.500] : Send [5 byte] :  HELLO"), QStringLiteral(" "),
                           QStringLiteral("[10:00:06.500] : Send [5 byte] :  HELLO"), QStringLiteral(" ")}))
        << "counted out is quiet: no line ends the run";
    EXPECT_TRUE(f.p.Timer1.running()) << "the timer goes on ticking, with no effect";
    EXPECT_EQ(f.p.iRepeatNo, 3);
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    EXPECT_TRUE(f.p.Cmd_Send.enabled());
}

TEST(RepeatRun, ACountGivesExactlyThatManySendsAndEndlessNeverCounts) {
    for (int count : {1, 10, 50}) {
        RepeatRun f("0.1", QByteArray::number(count).constData());
        f.op.click(f.p.Cmd_Start);
        f.sim.scheduler.runUntil(10'000);
        EXPECT_EQ(f.sendTimes(), every(100, 100, count)) << count;
    }
    RepeatRun endless("0.1", "Endless");
    endless.op.click(endless.p.Cmd_Start);
    endless.sim.scheduler.runUntil(30'000);
    EXPECT_EQ(endless.sendTimes().size(), 300U);
    EXPECT_EQ(endless.p.iRepeatNo, 0) << "an endless run counts nothing";
}

TEST(RepeatRun, NoSendsForACountOfZeroOrAGapOfZero) {
    RepeatRun zeroCount("1", "0");
    zeroCount.op.click(zeroCount.p.Cmd_Start);
    zeroCount.sim.scheduler.runUntil(5000);
    EXPECT_TRUE(zeroCount.sendTimes().empty());

    RepeatRun zeroGap("0", "5");
    zeroGap.op.click(zeroGap.p.Cmd_Start);
    EXPECT_EQ(zeroGap.p.Timer1.interval(), 0);
    zeroGap.sim.scheduler.runUntil(5000);
    EXPECT_TRUE(zeroGap.sendTimes().empty());
    EXPECT_EQ(zeroGap.p.Client_Socket.state(), socket_state::kConnected) << "the link just stays up";
}

TEST(RepeatRun, TheGapIsRoundedToWholeMillisecondsAndKeptToTheMillisecond) {
    RepeatRun f("0.0125", "4");
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.p.Timer1.interval(), 12) << "12.5 ms goes to the even neighbour";
    f.sim.scheduler.runUntil(1000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{12, 24, 36, 48}));
}

// ---- what a tick reads ----

TEST(RepeatRun, EachTickReadsThePayloadAnewAndATextThatFailsUsesUpItsTick) {
    RepeatRun f("1", "5", "aa");
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1500);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("b")); // the data box stays live during a run
    f.sim.scheduler.runUntil(2500);
    f.p.txt_Data_Input.setText(QString());
    f.sim.scheduler.runUntil(4500);
    f.p.txt_Data_Input.setText(QStringLiteral("c"));
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.device()->received(), bytesOf("aaaabc"));
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 2000, 5000}));
    EXPECT_EQ(f.p.iRepeatNo, 5) << "the two ticks with no text counted";
    EXPECT_TRUE(f.sim.dialogs.shown.empty()) << "a failing tick says nothing";
}

TEST(RepeatRun, AnOddHexTextSendsItsEvenPartWithoutAMessage) {
    RepeatRun f("1", "2", "");
    f.op.click(f.p.opt_HexA);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("414"));
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(3000);
    EXPECT_EQ(f.device()->received(), (Bytes{0x41, 0x41}));
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    EXPECT_EQ(f.rows().at(1), QStringLiteral("[10:00:01.000] : Send [1 byte] :  41"));
}

TEST(RepeatRun, ACounterAtItsSixteenBitLimitEndsEveryTickThere) {
    RepeatRun f("1", "40000");
    f.op.click(f.p.Cmd_Start);
    f.p.iRepeatNo = 32766;
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000})) << "one more send, then the count overflows";
    EXPECT_EQ(f.p.iRepeatNo, 32767);
    EXPECT_TRUE(f.p.Timer1.running());
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
}

// ---- the count as typed ----

TEST(RepeatRun, AFractionalCountGoesToTheEvenNeighbour) {
    const struct {
        const char* count;
        std::size_t sends;
    } cases[] = {{"2.5", 2}, {"3.5", 4}, {" 3 ", 3}, {"2.6", 3}};
    for (const auto& c : cases) {
        RepeatRun f("1", c.count);
        f.op.click(f.p.Cmd_Start);
        f.sim.scheduler.runUntil(10'000);
        EXPECT_EQ(f.sendTimes().size(), c.sends) << c.count;
    }
}

TEST(RepeatRun, ACountThatIsNoNumberArmsNothingAndSaysSo) {
    for (const char* count : {"abc", "  ", "endless", "5x"}) {
        RepeatRun f("1", count);
        f.op.click(f.p.Cmd_Start);
        EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Count")}) << count;
        EXPECT_EQ(f.sim.dialogs.shown.at(0).title, QStringLiteral("Count"));
        EXPECT_EQ(f.sim.dialogs.shown.at(0).style, 48);
        EXPECT_FALSE(f.p.Timer1.running()) << count;
        f.sim.scheduler.runUntil(5000);
        EXPECT_TRUE(f.sendTimes().empty()) << count;
        EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected) << "the link is up all the same";
    }
}

// ---- a link lost during a run ----

TEST(RepeatRun, ALinkLostAtTheThirdTickIsDialledAgainAndTheCountStartsAnew) {
    RepeatRun f("1", "5", "x");
    f.sim.network.onLink = [&f](std::shared_ptr<DeviceLink> link) {
        if (f.sim.network.dialled().size() == 1) {
            // The first link dies after its second payload.
            link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes&) {
                auto l = weak.lock();
                if (l->received().size() == 2) {
                    l->close();
                }
            };
        }
    };
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(20'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 2000, 4000, 5000, 6000, 7000, 8000}))
        << "two before the loss, the reconnect uses the third tick, then five more";
    EXPECT_EQ(f.sim.network.dialled().size(), 2U);
    EXPECT_EQ(f.rows().filter(QStringLiteral("Connection Success")),
              (QStringList{QStringLiteral("[10:00:00.000] : Connection Success"),
                           QStringLiteral("[10:00:03.000] : Connection Success")}));
}

TEST(RepeatRun, AReconnectThatFailsEndsTheRun) {
    RepeatRun f("1", "Endless", "x");
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1500);
    f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, Answer::Ignore);
    f.device()->close();
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000}));
    EXPECT_EQ(f.rows().filter(QStringLiteral("] : Connection Fail")).first(),
              QStringLiteral("[10:00:02.000] : Connection Fail"));
    EXPECT_FALSE(f.p.Timer1.running()) << "the panel was reset";
    EXPECT_TRUE(f.p.Frame1.enabled());
    EXPECT_EQ(f.sim.network.dialled().size(), 2U) << "one attempt, no more";
}

TEST(RepeatRun, AnEmptiedTextFailsEachTickBeforeAnyReconnect) {
    RepeatRun f("1", "Endless", "x");
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1500);
    f.device()->close();
    f.p.txt_Data_Input.setText(QString());
    f.sim.scheduler.runUntil(5500);
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "the payload is built before the link is looked at";
    EXPECT_TRUE(f.p.Timer1.running());
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("y"));
    f.sim.scheduler.runUntil(7500);
    EXPECT_EQ(f.sim.network.dialled().size(), 2U);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 7000})) << "reconnected at 6000";
}

TEST(RepeatRun, AReconnectRefusedByACheckLeavesThePanelLocked) {
    RepeatRun f("1", "Endless", "x");
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(1500);
    f.device()->close();
    f.p.com_Count.setText(QString()); // written by the program: the operator cannot reach the box now
    f.sim.scheduler.runUntil(2500);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Input Count")});
    EXPECT_FALSE(f.p.Timer1.running()) << "the send parameter check stops the run";
    EXPECT_FALSE(f.p.Frame1.enabled()) << "no reset follows a refused check";
    EXPECT_TRUE(f.p.cmd_End.enabled());
    EXPECT_EQ(f.sim.network.dialled().size(), 1U);
}

TEST(RepeatRun, CloseStopsTheRunAndTheNextRunCountsFromZero) {
    RepeatRun f("1", "3", "x");
    f.op.click(f.p.Cmd_Start);
    f.clickAt(2500, f.p.cmd_End);
    EXPECT_FALSE(f.p.Timer1.running());
    EXPECT_EQ(f.p.iRepeatNo, 0);
    f.clickAt(3000, f.p.Cmd_Start);
    f.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{1000, 2000, 4000, 5000, 6000}));
}

TEST(RepeatRun, ConnectAndCloseRedialsAfterEachAnswer) {
    // A count of 1 ends after its one send.
    RepeatRun once("1", "1", "q");
    once.deviceEchoes();
    once.op.click(once.p.Opt_Cnn2);
    once.op.click(once.p.cmd_CSend);
    once.sim.scheduler.runUntil(10'000);
    EXPECT_EQ(once.sendTimes().size(), 2U) << "the press's own send and the run's one send";
    EXPECT_EQ(once.sim.network.dialled().size(), 2U);

    // With a count of 2 the reconnect sets the counter back first: one send every second tick.
    RepeatRun f("1", "2", "q");
    f.deviceEchoes();
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.cmd_CSend);
    f.sim.scheduler.runUntil(8500);
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{0, 2000, 4000, 6000, 8000}));
    EXPECT_EQ(f.sim.network.dialled().size(), 5U);
    EXPECT_TRUE(f.p.Timer1.running()) << "the run goes on until Close";
}

TEST(RepeatRun, AFailedAppendToTheNamedLogLosesThatLineThereOnly) {
    RepeatRun f("1", "2", "x");
    f.op.click(f.p.Opt_List_File);
    f.op.click(f.p.Cmd_Start);
    // The operator deletes the named log and puts a folder of that name in its place.
    const QString named = f.namedLogPath();
    QFile::remove(named);
    QDir().mkpath(named);
    f.sim.scheduler.runUntil(5000);
    EXPECT_EQ(f.sendTimes().size(), 2U) << "the ticks went on";
    EXPECT_EQ(f.rows().filter(QStringLiteral("Send [1 byte]")).size(), 2);
    EXPECT_EQ(fileBytes(f.dailyLogPath()).count("Send [1 byte]"), 2);
}

TEST(RepeatRun, ATickThatWouldPassTheSendBoundEndsWithoutARecordAndTheNextTriesAgain) {
    // The longest payload, every 10 ms, to a device that reads nothing: 128 of them fit in the 4 MiB
    // that a socket holds unsent, the 129th would pass it.
    RepeatRun f("0.01", "Endless", "");
    f.p.txt_Data_Input.setText(QString(32767, QLatin1Char('z')));
    f.op.click(f.p.Cmd_Start);
    f.device()->stopReading();
    f.sim.scheduler.runUntil(2005);
    EXPECT_EQ(f.sendTimes().size(), 128U) << "the ticks from 1290 on failed";
    EXPECT_TRUE(f.rows().filter(QStringLiteral("Send Fail")).isEmpty()) << "a failed tick has no record";
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    f.device()->startReading();
    f.sim.scheduler.runUntil(2035);
    EXPECT_EQ(f.sendTimes(128), (std::vector<Ms>{2010, 2020, 2030}))
        << "the run goes on once the device reads";
}

// ---- the timer ----

TEST(RepeatRun, ATickHeldUpByADialogComesOnceAndTheNextOneAGapLater) {
    RepeatRun f("0.1", "Endless", "x");
    f.op.click(f.p.Cmd_Start);
    f.sim.dialogs.answerAfter = 350;
    // A message box that the operator takes 350 ms to answer, opened at 150 ms.
    f.sim.scheduler.at(150, [&f] { f.p.dispatch([&f] { f.p.Label11.Click(); }); });
    f.sim.browser.failWith = RuntimeFailure(5, QStringLiteral("no browser"));
    f.sim.scheduler.runUntil(800);
    ASSERT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("no browser")});
    EXPECT_EQ(f.sendTimes(), (std::vector<Ms>{100, 500, 600, 700, 800}))
        << "the ticks due at 200, 300 and 400 come as one, and the gap counts from there";
}

} // namespace
} // namespace sim::test
