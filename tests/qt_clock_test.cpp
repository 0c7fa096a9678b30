#include "platform/qt/qt_services.h"

#include <QDateTime>

#include <ctime>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// A zone nine hours ahead of UTC for the life of a test, so that local time cannot pass for UTC.
class AheadOfUtc {
public:
    AheadOfUtc() : saved_(qgetenv("TZ")), had_(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", "TEST-9");
        tzset();
    }
    ~AheadOfUtc() {
        if (had_) {
            qputenv("TZ", saved_);
        } else {
            qunsetenv("TZ");
        }
        tzset();
    }
    AheadOfUtc(const AheadOfUtc&) = delete;
    AheadOfUtc& operator=(const AheadOfUtc&) = delete;

private:
    QByteArray saved_;
    bool had_;
};

TEST(QtClock, TellsTheLocalDateAndTimeOfTheSystemToTheSecond) {
    const AheadOfUtc zone;
    ASSERT_EQ(QDateTime::currentDateTime().offsetFromUtc(), 9 * 3600);
    const qt::QtClock clock;
    for (int reading = 0; reading < 3; ++reading) {
        const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000);
        const QDateTime told(clock.localDate(), clock.localTime());
        const QDateTime after = QDateTime::currentDateTime();
        EXPECT_LE(before, told);
        EXPECT_LE(told, after);
        EXPECT_EQ(told.time().msec(), 0) << "whole seconds";
        const int ms = clock.systemMilliseconds();
        EXPECT_TRUE(ms >= 0 && ms <= 999) << ms;
    }
}

} // namespace
} // namespace sim::test
