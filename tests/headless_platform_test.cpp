// What a run without a window needs of the Qt platform: dialogs nobody answers, and the stop signals.

#include "app/stop_signals.h"
#include "mixed_platform.h"
#include "platform/qt/qt_services.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <csignal>

namespace sim::test {
namespace {

TEST(HeadlessDialogs, AMessageBoxIsAnsweredAtOnceAndPrintedAsTitleAndText) {
    const QString name = QCoreApplication::applicationName();
    QCoreApplication::setApplicationName(QStringLiteral("Simulator"));
    qt::EventGate gate;
    qt::HeadlessDialogs dialogs(gate);
    bool ran = false;
    gate.post([&] { ran = true; });
    ::testing::internal::CaptureStderr();
    dialogs.messageBox(QStringLiteral("Input Port No"), msg_style::kCritical, QStringLiteral("Error"));
    dialogs.messageBox(QStringLiteral("IP Address Value Cross Limit"), msg_style::kPlain, std::nullopt);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Error: Input Port No\nSimulator: IP Address Value Cross Limit\n");
    EXPECT_EQ(dialogs.showSave({}), std::nullopt) << "the Save dialog is cancelled";
    EXPECT_FALSE(ran) << "no event of the form ran while a box was open";
    EXPECT_FALSE(gate.modal());
    QCoreApplication::setApplicationName(name);
}

TEST(StopSignals, SigintAndSigtermReachTheLoopAndTheOldHandlingComesBack) {
    struct sigaction before {};
    sigaction(SIGTERM, nullptr, &before);
    {
        int stops = 0;
        const StopSignals stop([&] { ++stops; });
        std::raise(SIGTERM);
        qt::EventGate gate;
        qt::QtEventPump pump(gate);
        EXPECT_TRUE(pumpUntil(
            pump, [&] { return stops == 1; }, 5000));
        std::raise(SIGINT);
        EXPECT_TRUE(pumpUntil(
            pump, [&] { return stops == 2; }, 5000));
    }
    struct sigaction after {};
    sigaction(SIGTERM, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}

} // namespace
} // namespace sim::test
