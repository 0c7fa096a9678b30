#include "mixed_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// Closes the message box that is open once `afterMs` have passed.
void answerMessageBoxAfter(int afterMs, QElapsedTimer& clock, qint64& closedAt) {
    QTimer::singleShot(afterMs, [&clock, &closedAt] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(w); box != nullptr && box->isVisible()) {
                closedAt = clock.elapsed();
                box->accept();
            }
        }
    });
}

TEST(QtPlatform, AMessageBoxHoldsSocketEventsAndMergesTimerTicksUntilItCloses) {
    qt::QtPlatform platform;
    QTcpServer device;
    ASSERT_TRUE(device.listen(QHostAddress::LocalHost, 0));
    auto socket = platform.network.createSocket(QStringLiteral("Client_Socket"));
    socket->setRemoteHost(QStringLiteral("127.0.0.1"));
    socket->setRemotePort(device.serverPort());
    socket->connect();
    ASSERT_TRUE(pumpUntil(platform.pump, [&] {
        return socket->state() == socket_state::kConnected && device.hasPendingConnections();
    }));
    QTcpSocket* peer = device.nextPendingConnection();

    QElapsedTimer clock;
    clock.start();
    std::vector<qint64> arrivals;
    std::vector<qint64> ticks;
    socket->events.dataArrival = [&](std::int32_t) {
        Bytes b;
        socket->getData(b);
        arrivals.push_back(clock.elapsed());
    };
    auto timer = platform.timers.createTimer([&] { ticks.push_back(clock.elapsed()); });
    timer->start(70);

    qint64 closedAt = -1;
    QTimer::singleShot(50, [peer] { peer->write("late"); });
    answerMessageBoxAfter(400, clock, closedAt);
    platform.dialogs.messageBox(QStringLiteral("E........"), msg_style::kCritical, QStringLiteral("Error"));
    const qint64 returnedAt = clock.elapsed();
    EXPECT_TRUE(arrivals.empty()) << "no handler runs while the box is open";
    EXPECT_TRUE(ticks.empty());

    ASSERT_TRUE(pumpUntil(platform.pump, [&] { return !arrivals.empty() && ticks.size() >= 2; }));
    timer->stop();
    EXPECT_GE(closedAt, 400);
    EXPECT_GE(arrivals.front(), returnedAt);
    // The ticks of the 400 ms merged into one that comes at once, and the timer counts its next
    // interval from there instead of keeping the phase it had (that tick would have come at 420).
    EXPECT_LT(ticks.front() - returnedAt, 25);
    EXPECT_GE(ticks.at(1) - ticks.front(), 65);
}

TEST(QtPlatform, ATimerRestartedAndStoppedFromItsOwnTicksTicksOnlyAsOftenAsItWasStarted) {
    qt::QtPlatform platform;
    int ticks = 0;
    std::unique_ptr<PlatformTimer> timer;
    timer = platform.timers.createTimer([&] {
        if (++ticks < 5) {
            timer->start(5 * ticks);
        } else {
            timer->start(5);
            timer->stop(); // armed and stopped in one handler: nothing more comes
        }
    });
    timer->start(1);
    ASSERT_TRUE(pumpUntil(platform.pump, [&] { return ticks == 5; }));
    bool later = false;
    QTimer::singleShot(60, [&] { later = true; });
    ASSERT_TRUE(pumpUntil(platform.pump, [&] { return later; }));
    EXPECT_EQ(ticks, 5);
}

TEST(QtPlatform, ClosingTheWindowEndsALoopThatPumpsAndClosesBothSockets) {
    MixedForm f;
    QTcpServer device;
    ASSERT_TRUE(device.listen(QHostAddress::LocalHost, 0));
    f.p.Client_Socket.setRemoteHost(QStringLiteral("127.0.0.1"));
    f.p.Client_Socket.setRemotePort(device.serverPort());
    f.p.Client_Socket.connect();
    f.p.Server_Socket.setLocalPort(0);
    f.p.Server_Socket.listen();

    view::PanelView view(f.p, f.op);
    view.show();
    int passes = 0;
    bool loopEnded = true;
    // A handler that pumps until the window is closed, as the listening loop does.
    f.p.Cmd_Start.Click = [&] {
        loopEnded = false;
        for (;;) {
            f.mixed.pump.pump();
            ++passes;
        }
    };
    QTimer::singleShot(0, [&] { f.op.click(f.p.Cmd_Start); });
    QTimer::singleShot(300, [&] { view.close(); });
    QTimer guard;
    guard.start(50);
    QElapsedTimer clock;
    clock.start();
    const int rc = QApplication::exec();
    EXPECT_EQ(rc, 0);
    EXPECT_LT(clock.elapsed(), 3000);
    EXPECT_FALSE(loopEnded) << "the loop never returned normally: it was unwound";
    EXPECT_GT(passes, 0);
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
    EXPECT_TRUE(f.mixed.pump.quitRequested());
}

TEST(QtPlatform, SettingsReachTheStoreAtOnce) {
    qt::QtSettingsStore store;
    store.write(QStringLiteral("TK7300_SIMUL"), QStringLiteral("Simulator"), QStringLiteral("PORT"),
                QStringLiteral("4711"));
    QSettings fresh(QStringLiteral("TK7300_SIMUL"), QStringLiteral("Simulator"));
    EXPECT_EQ(fresh.value(QStringLiteral("PORT")).toString(), QStringLiteral("4711"));
    EXPECT_TRUE(fresh.fileName().startsWith(QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME"))))
        << "tests keep off the real store";
    EXPECT_EQ(store.read(QStringLiteral("TK7300_SIMUL"), QStringLiteral("Simulator"),
                         QStringLiteral("ADDRESS"), QStringLiteral("d")),
              QStringLiteral("d"));
}

TEST(QtPlatform, TheLocalAddressComesFromTheInterfaces) {
    const QString address = qt::localAddress();
    EXPECT_EQ(address.split(QLatin1Char('.')).size(), 4);
}

} // namespace
} // namespace sim::test
