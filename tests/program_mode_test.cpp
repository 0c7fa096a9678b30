#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// Program Mode ticked and the steps typed, on the dial-out side.
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
    void start(Ms at = 0) { clickAt(at, p.cmdSendStart); }
    QStringList gapsShown() const {
        return {p.txtTimeGap(0).text(), p.txtTimeGap(1).text(), p.txtTimeGap(2).text()};
    }
};

TEST(ProgramRun, StartConnectsOfItsOwnAndEndClosesTheLinkWhileItsTicksGoOn) {
    ProgramRun f({"a", "b", "c"}, {"500", "500"});
    // Start does nothing with the device as client (no listening form), and says a missing destination.
    f.setUp({"opt_Client", "cmdSendStart", "opt_Server", "txt_Destination_Port=", "cmdSendStart",
             "txt_Destination_Port=4000"});
    EXPECT_EQ(f.shown(), QStringList{"Input Destination Port [Error 16]"});
    EXPECT_TRUE(f.sim.network.dialled().empty());
    // A device that does not answer gets one second; a failed connect shows nothing, the caption stays.
    f.sim.network.deviceListens("127.0.0.1", 4000, Answer::Ignore);
    f.start();
    EXPECT_EQ(f.sim.scheduler.now(), 1000);
    EXPECT_EQ(f.p.cmdSendStart.caption(), "Start");
    EXPECT_EQ(f.shown().size(), 1);
    EXPECT_TRUE(f.rows().isEmpty());
    f.sim.network.deviceListens("127.0.0.1", 4000);
    f.start(1200);
    EXPECT_EQ(f.p.cmdSendStart.caption(), "End");
    EXPECT_EQ(f.rows(), QStringList{"[10:00:01.200] : Client Connected"});
    EXPECT_EQ(f.unlocked(), "Frame1 Frame2 Frame10 chkMode") << "nothing locked";
    f.clickAt(2500, f.p.cmdSendStart);
    EXPECT_EQ(f.p.cmdSendStart.caption(), "Start");
    EXPECT_EQ(f.rows().last(), "[10:00:02.500] : Client Closed");
    EXPECT_FALSE(f.device()->open());
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
        void (*during)(ProgramRun&);
        Times sends;
        QStringList gapsShown;
        int timer2; // its interval while enabled, -1 once the run has ended
        int step;
    } cases[] = {
        {{"A", "BB", "CCC", "DDDD"}, {}, nullptr, {1000, 2000, 3000, 4000}, {"1000", "1000", "1000"}, -1, 0},
        {{"1", "2", "3", "4"},
         {"10", " 20 ", "30"},
         nullptr,
         {1000, 1010, 1030, 1060},
         {"10", " 20 ", "30"},
         -1,
         0},
        // An empty step ends the run; the steps behind it are not sent, and no gap is filled in there.
        {{"one", "two", "", "four"}, {"500", "700"}, nullptr, {1000, 1500}, {"500", "700", ""}, -1, 0},
        {{"", "two"}, {}, nullptr, {}, {"", "", ""}, -1, 0},
        {{"   ", "two"}, {}, nullptr, {}, {"", "", ""}, -1, 0},
        // A gap beyond sixteen bits or no number ends the run after the step before it; zero rests.
        {{"a", "b"}, {"30000"}, nullptr, {1000, 31000}, {"30000", "1000", ""}, -1, 0},
        {{"a", "b"}, {"40000"}, nullptr, {1000}, {"40000", "", ""}, -1, 0},
        {{"a", "b"}, {"-5"}, nullptr, {1000}, {"-5", "", ""}, -1, 0},
        {{"a", "b"}, {"1s"}, nullptr, {1000}, {"1s", "", ""}, -1, 0},
        {{"a", "b"}, {"0"}, nullptr, {1000}, {"0", "", ""}, 0, 1},
        // Hexadecimal chosen after the start, the step boxes keeping their text: an odd digit is dropped
        // silently, a lone digit ends the run.
        {{"414", "4", "4243"}, {}, hexAfterStart, {1000}, {"1000", "", ""}, -1, 0},
        {{"a", "b", "c"}, {"500", "500"}, clientForAWhile, {1000, 3000, 3500}, {"500", "500", "1000"}, -1, 0},
        {{"a", "b"}, {"400"}, hangUp, {1000}, {"400", "", ""}, 400, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.steps.front());
        ProgramRun f(c.steps, c.gaps);
        f.start();
        if (c.during != nullptr) {
            c.during(f);
        }
        f.runUntil(40'000);
        EXPECT_EQ(f.sendTimes(), c.sends);
        EXPECT_EQ(f.rows().size(), 1 + 2 * c.sends.size()) << "each send is recorded, and no report made";
        EXPECT_EQ(f.gapsShown(), c.gapsShown) << "the default gap is written where the operator sees it";
        EXPECT_EQ(f.p.Timer2.enabled() ? f.p.Timer2.interval() : -1, c.timer2);
        EXPECT_EQ(f.p.iStepNo, c.step);
        EXPECT_TRUE(f.shown().isEmpty()) << "the failure path shows nothing";
        EXPECT_EQ(f.sim.network.dialled().size(), 1U);
    }
}

} // namespace
} // namespace sim::test
