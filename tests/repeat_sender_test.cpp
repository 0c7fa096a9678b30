#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(RepeatRun, ACountedRunFallsQuietAtItsCountOrAtTheSixteenBitLimitCloseEndsItAndConnectAndCloseRedials) {
    RepeatRun f("2", " 3 ", "HELLO"); // blanks around a count are no part of it
    f.clickAt(500, f.p.Cmd_Start);
    f.runUntil(8000);
    EXPECT_EQ(f.rows(),
              (QStringList{"[10:00:00.500] : Connection Success", "[10:00:02.500] : Send [5 byte] :  HELLO",
                           " ", "[10:00:04.500] : Send [5 byte] :  HELLO", " ",
                           "[10:00:06.500] : Send [5 byte] :  HELLO", " "}))
        << "counted out is quiet: no line ends the run";
    EXPECT_TRUE(f.p.Timer1.running()) << "the timer goes on ticking, with no effect";
    EXPECT_EQ(f.p.iRepeatNo, 3);
    EXPECT_EQ(f.unlocked(), "Cmd_Send cmd_End");
    f.clickAt(8000, f.p.cmd_End);
    EXPECT_FALSE(f.p.client_status.running());
    EXPECT_FALSE(f.p.Timer1.running());
    EXPECT_EQ(f.p.iRepeatNo, 0);
    // The next run counts past sixteen bits: at the limit each tick fails, silently.
    f.op.edited(f.p.com_Count, "40000");
    f.clickAt(9000, f.p.Cmd_Start);
    f.p.iRepeatNo = 32766;
    f.runUntil(20'000);
    EXPECT_EQ(f.sendTimes(), (Times{2500, 4500, 6500, 11000})) << "one more send, then the count overflows";
    EXPECT_EQ(f.p.iRepeatNo, 32767);
    EXPECT_TRUE(f.p.Timer1.running());
    EXPECT_TRUE(f.rows().filter("Connection Fail").isEmpty()) << "the watcher stays silent after a close";
    // Under Connect && Close each echo ends the link; the redial uses a tick and sets the count back,
    // so one send goes every second tick until Close.
    f.sim.network.onLink = [](std::shared_ptr<DeviceLink> link) {
        link->onReceive = [device = link.get()](const Bytes& bytes) { device->send(bytes); };
    };
    f.setUp({"cmd_End", "com_Timegap=1", "com_Count=2", "Opt_Cnn2", "cmd_CSend"});
    f.runUntil(28'500);
    EXPECT_EQ(f.sendTimes(), (Times{2500, 4500, 6500, 11000, 20000, 22000, 24000, 26000, 28000}));
    EXPECT_EQ(f.sim.network.dialled().size(), 7U);
    EXPECT_TRUE(f.p.Timer1.running());
    EXPECT_EQ(f.unlocked(), "cmd_End") << "no Send under Connect && Close";
}

TEST(RepeatRun, TheGapAndTheCountAsTypedGiveTheSendsOfTheFirstTenSeconds) {
    const struct {
        const char *gap, *count;
        QStringList shown;
        std::size_t sends;
        Times ends; // the first and the last send
        int counted;
    } cases[] = {
        {"0.1", "Endless", {}, 100, {100, 10'000}, 0},
        {" 2.5 ", "Endless", {}, 4, {2500, 10'000}, 0},
        // Whole milliseconds, a half going to the even neighbour; so does a fractional count.
        {"0.0125", "4", {}, 4, {12, 48}, 4},
        {"1", "2.5", {}, 2, {1000, 2000}, 2},
        {"1", "3.5", {}, 4, {1000, 4000}, 4},
        {"1", "0", {}, 0, {}, 0},
        {"0", "5", {}, 0, {}, 0},
        // A gap or a count that is no usable number arms nothing and says so; the link is up all the same.
        {"-1", "5", {"Input Timegap [Timegap 48]"}, 0, {}, 0},
        {"70", "5", {"Input Timegap [Timegap 48]"}, 0, {}, 0},
        {"\t2", "5", {"Input Timegap [Timegap 48]"}, 0, {}, 0},
        {"1", "  ", {"Input Count [Count 48]"}, 0, {}, 0},
        {"1", "endless", {"Input Count [Count 48]"}, 0, {}, 0},
        {"1", "5x", {"Input Count [Count 48]"}, 0, {}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.gap) + " / " + c.count);
        RepeatRun f(c.gap, c.count);
        f.op.click(f.p.Cmd_Start);
        f.runUntil(10'000);
        const Times sends = f.sendTimes();
        EXPECT_EQ(sends.size(), c.sends);
        EXPECT_EQ((sends.empty() ? Times{} : Times{sends.front(), sends.back()}), c.ends);
        EXPECT_EQ(f.p.iRepeatNo, c.counted);
        EXPECT_EQ(f.shown(), c.shown);
        EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    }
}

TEST(RepeatRun, EachTickReadsThePayloadAnewAndATextThatFailsUsesUpItsTickSilently) {
    RepeatRun f("1", "5", "aa");
    f.op.click(f.p.Cmd_Start);
    f.at(1500, [&f] { f.keys.type(f.p.txt_Data_Input, QStringLiteral("b")); }); // the box stays live
    f.at(2500, [&f] { f.p.txt_Data_Input.setText(QString()); });
    f.at(4500, [&f] { f.p.txt_Data_Input.setText(QStringLiteral("c")); });
    f.runUntil(10'000);
    EXPECT_EQ(f.device()->received(), bytesOf("aaaabc"));
    EXPECT_EQ(f.sendTimes(), (Times{1000, 2000, 5000}));
    EXPECT_EQ(f.p.iRepeatNo, 5) << "the two ticks with no text counted";
    EXPECT_TRUE(f.rows().filter("Send Fail").isEmpty()) << "a failed tick has no record";

    // An odd hexadecimal text sends its even part, without the message a press of Send brings.
    RepeatRun hex("1", "2", "");
    hex.op.click(hex.p.opt_HexA);
    hex.keys.type(hex.p.txt_Data_Input, QStringLiteral("414"));
    hex.op.click(hex.p.Cmd_Start);
    hex.runUntil(3000);
    EXPECT_EQ(hex.device()->received(), (Bytes{0x41, 0x41}));
    EXPECT_TRUE(hex.shown().isEmpty());
    EXPECT_EQ(hex.rows().at(1), "[10:00:01.000] : Send [1 byte] :  41");
}

TEST(RepeatRun, ALinkLostIsDialledAgainAtTheNextTickOnceThatTickHasItsPayloadAndCount) {
    // The device closes the link at 1.5 s and the program sets the boxes; the watcher reports the loss.
    const struct {
        Answer redial;
        const char *data, *count;
        Times sends;
        const char* redialled; // the row of the redial, if any
        QStringList shown;
        const char* unlocked;
        bool ticking;
    } cases[] = {
        // The count starts anew.
        {Answer::Accept, "x", "2", {1000, 3000, 4000}, "Success", {}, "Cmd_Send cmd_End", true},
        {Answer::Ignore, "x", "2", {1000}, "Fail", {}, "Frame1 Frame2 Frame10 chkMode Cmd_Start", false},
        // The payload is built before the link is looked at; a refused check leaves the panel locked.
        {Answer::Accept, "", "2", {1000}, nullptr, {}, "Cmd_Send cmd_End", true},
        {Answer::Accept, "x", "", {1000}, nullptr, {"Input Count [Count 48]"}, "Cmd_Send cmd_End", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.data) + " / " + c.count);
        RepeatRun f("1", "2", "x");
        f.op.click(f.p.Cmd_Start);
        f.runUntil(1500);
        f.sim.network.deviceListens("127.0.0.1", 4000, c.redial);
        f.device()->close();
        f.p.txt_Data_Input.setText(c.data);
        f.p.com_Count.setText(c.count); // written by the program: the operator cannot reach the box now
        f.runUntil(10'000);
        EXPECT_EQ(f.sendTimes(), c.sends);
        QStringList connections{"[10:00:00.000] : Connection Success", "[10:00:02.000] : Connection Fail"};
        if (c.redialled != nullptr) {
            connections << QStringLiteral("[10:00:02.000] : Connection ") + c.redialled;
        }
        EXPECT_EQ(f.rows().filter("] : Connection "), connections);
        EXPECT_EQ(f.shown(), c.shown);
        EXPECT_EQ(f.unlocked(), c.unlocked);
        EXPECT_EQ(f.p.Timer1.running(), c.ticking);
    }
}

struct ProgramRun : RepeatRun {
    explicit ProgramRun(const Steps& steps, const Steps& gaps = {}) : RepeatRun("1", "Endless", "") {
        op.click(p.chkMode);
        for (int i = 0; i < static_cast<int>(steps.size()); ++i) {
            p.txtStep(i).setText(steps[i]);
        }
        for (int i = 0; i < static_cast<int>(gaps.size()); ++i) {
            op.edited(p.txtTimeGap(i), gaps[i]);
        }
    }
};

TEST(ProgramRun, StartConnectsOfItsOwnAndEndClosesTheLinkWhileItsTicksGoOn) {
    ProgramRun f({"a", "b", "c"}, {"500", "500"});
    // Start does nothing with the device as client (no listening form), and says a missing destination.
    f.setUp({"opt_Client", "cmdSendStart", "opt_Server", "txt_Destination_Port=", "cmdSendStart",
             "txt_Destination_Port=4000"});
    // A device that does not answer gets one second; a failed connect shows nothing, the caption stays.
    f.sim.network.deviceListens("127.0.0.1", 4000, Answer::Ignore);
    f.op.click(f.p.cmdSendStart);
    EXPECT_EQ(f.sim.scheduler.now(), 1000);
    EXPECT_EQ(f.shown(), QStringList{"Input Destination Port [Error 16]"});
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "the first two starts dialled nothing";
    f.sim.network.deviceListens("127.0.0.1", 4000);
    f.clickAt(1200, f.p.cmdSendStart);
    EXPECT_EQ(f.rows(), QStringList{"[10:00:01.200] : Client Connected"});
    EXPECT_EQ(f.unlocked(), "Frame1 Frame2 Frame10 chkMode") << "nothing locked";
    f.clickAt(2500, f.p.cmdSendStart);
    EXPECT_EQ(f.p.cmdSendStart.caption(), "Start");
    EXPECT_EQ(f.rows().last(), "[10:00:02.500] : Client Closed");
    f.runUntil(6000);
    EXPECT_EQ(f.sendTimes(), (Times{2200}));
    EXPECT_TRUE(f.p.Timer2.running()) << "End leaves Timer2 alone";
    EXPECT_EQ(f.p.iStepNo, 1) << "the same step waits for a link";

    // The next run dials anew; a tick of the old run during its wait is undone by the new start.
    f.sim.network.latency = 700;
    f.clickAt(6100, f.p.cmdSendStart);
    EXPECT_EQ(f.sim.scheduler.now(), 6800);
    f.runUntil(10'000);
    EXPECT_EQ(f.sendTimes(), (Times{2200, 7800, 8300, 8800}));
    EXPECT_EQ(f.device()->received(), bytesOf("abc"));
    EXPECT_EQ(f.p.cmdSendStart.caption(), "End") << "the end of a run gives no sign";
    EXPECT_EQ(f.p.iStepNo, 0);
}

TEST(ProgramRun, EachStepGoesTheGapTypedBeforeItAfterThePreviousOneUntilAStepOrAGapFails) {
    // Nothing is locked during a run: the role and the form are read at each tick, unticking the mode
    // stops nothing, and a link that ends is not dialled again.
    const auto clientForAWhile = [](ProgramRun& f) {
        f.at(1200, [&f] {
            f.op.click(f.p.chkMode);
            EXPECT_FALSE(f.op.click(f.p.cmdSendStart)) << "a button in a disabled frame takes no click";
            f.op.click(f.p.opt_Client); // step 2 looks for a client on the listening socket
        });
        f.at(3000, [&f] { f.op.click(f.p.opt_Server); });
    };
    const auto hexAfterStart = [](ProgramRun& f) { f.at(500, [&f] { f.op.click(f.p.opt_HexA); }); };
    const auto hangUp = [](ProgramRun& f) { f.at(1100, [&f] { f.device()->close(); }); };
    const struct {
        Steps steps, gaps;
        Times sends;
        QStringList gapsShown;
        int timer2 = -1; // its interval while enabled, -1 once the run has ended
        int step = 0;
        void (*during)(ProgramRun&) = nullptr;
    } cases[] = {
        {{"A", "BB", "CCC", "DDDD"}, {}, {1000, 2000, 3000, 4000}, {"1000", "1000", "1000"}},
        {{"1", "2", "3", "4"}, {"10", " 20 ", "30"}, {1000, 1010, 1030, 1060}, {"10", " 20 ", "30"}},
        // An empty step ends the run; the steps behind it are not sent, and no gap is filled in there.
        {{"one", "two", "", "four"}, {"500", "700"}, {1000, 1500}, {"500", "700", ""}},
        {{"", "two"}, {}, {}, {"", "", ""}},
        {{"   ", "two"}, {}, {}, {"", "", ""}},
        // A gap beyond sixteen bits or no number ends the run after the step before it; zero rests.
        {{"a", "b"}, {"30000"}, {1000, 31000}, {"30000", "1000", ""}},
        {{"a", "b"}, {"40000"}, {1000}, {"40000", "", ""}},
        {{"a", "b"}, {"-5"}, {1000}, {"-5", "", ""}},
        {{"a", "b"}, {"1s"}, {1000}, {"1s", "", ""}},
        {{"a", "b"}, {"0"}, {1000}, {"0", "", ""}, 0, 1},
        // Hexadecimal chosen after the start, the step boxes keeping their text: an odd digit is dropped
        // silently, a lone digit ends the run.
        {{"414", "4", "4243"}, {}, {1000}, {"1000", "", ""}, -1, 0, hexAfterStart},
        {{"a", "b", "c"}, {"500", "500"}, {1000, 3000, 3500}, {"500", "500", "1000"}, -1, 0, clientForAWhile},
        {{"a", "b"}, {"400"}, {1000}, {"400", "", ""}, 400, 1, hangUp},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.steps.front());
        ProgramRun f(c.steps, c.gaps);
        f.op.click(f.p.cmdSendStart);
        if (c.during != nullptr) {
            c.during(f);
        }
        f.runUntil(40'000);
        EXPECT_EQ(f.sendTimes(), c.sends);
        EXPECT_EQ(f.rows().size(), 1 + 2 * c.sends.size()) << "each send is recorded, and no report made";
        EXPECT_EQ((QStringList{f.p.txtTimeGap(0).text(), f.p.txtTimeGap(1).text(), f.p.txtTimeGap(2).text()}),
                  c.gapsShown)
            << "the default gap is written where the operator sees it";
        EXPECT_EQ(f.p.Timer2.enabled() ? f.p.Timer2.interval() : -1, c.timer2);
        EXPECT_EQ(f.p.iStepNo, c.step);
        EXPECT_TRUE(f.shown().isEmpty()) << "the failure path shows nothing";
        EXPECT_EQ(f.sim.network.dialled().size(), 1U);
    }
}

} // namespace
} // namespace sim::test
