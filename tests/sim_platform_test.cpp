#include "platform/tick_schedule.h"
#include "support/sim_platform.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(Scheduler, ALoopThatCouldNeverEndFailsInsteadOfHanging) {
    Scheduler s;
    EXPECT_THROW(s.pump(), StuckPump);
    s.setHorizon(60'000);
    auto timer = s.createTimer([] {});
    timer->start(1000);
    EXPECT_THROW(
        for (;;) { s.pump(); }, StuckPump);
}

TEST(TickSchedule, ATickKeepsItsPhaseUnlessItIsAWholeIntervalLateAndARestartCountsFromAPromptTick) {
    using std::chrono::milliseconds;
    using tick_schedule::nextDue;
    using tick_schedule::restartDue;
    // Taken 3 ms late, the next still comes on the grid; taken after the next was due, one interval on.
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(103)), milliseconds(200));
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(200)), milliseconds(300));
    EXPECT_EQ(nextDue(milliseconds(100), milliseconds(100), milliseconds(450)), milliseconds(550));
    // A program step that sent for 2 ms restarts from its tick; one that waited a second, from now.
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(1002)), milliseconds(1200));
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(2000)), milliseconds(2200));
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(1005)), milliseconds(1200));
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(200), milliseconds(1006)), milliseconds(1206));
    EXPECT_EQ(restartDue(std::nullopt, milliseconds(200), milliseconds(1002)), milliseconds(1202));
    // A gap shorter than the handler took comes at once, not in the past.
    EXPECT_EQ(restartDue(milliseconds(1000), milliseconds(1), milliseconds(1004)), milliseconds(1004));
}

TEST(Scheduler, ATimerRestartedFromItsOwnTickCountsFromTheTickUnlessTheHandlerWaited) {
    Scheduler s;
    std::vector<Ms> ticks;
    std::unique_ptr<PlatformTimer> timer;
    timer = s.createTimer([&] {
        ticks.push_back(s.now());
        // The first handler takes 3 ms, the second waits 40 ms, as a connect wait would.
        s.advance(ticks.size() == 1 ? 3 : 40);
        timer->start(100);
    });
    timer->start(100);
    s.runUntil(400);
    EXPECT_EQ(ticks, (std::vector<Ms>{100, 200, 340}));
}

} // namespace
} // namespace sim::test
