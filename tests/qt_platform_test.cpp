// The services of the Qt platform below the form: timers, the sockets' bound, the machine's address, the
// clock, the folders and the dialogs of a run without a window.

#include "mixed_platform.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include <arpa/inet.h>
#include <ifaddrs.h>

namespace sim::test {
namespace {

TEST(QtPlatform, ATimerRestartedAndStoppedFromItsOwnTicksTicksOnlyAsOftenAsItWasStarted) {
    qt::QtPlatform platform;
    int ticks = 0;
    const std::unique_ptr<PlatformTimer> timer = platform.timers.createTimer([&] {
        if (++ticks < 5) {
            timer->start(5 * ticks);
        } else {
            timer->start(5);
            timer->stop(); // armed and stopped in one handler: nothing more comes
        }
    });
    QElapsedTimer clock;
    clock.start();
    timer->start(1);
    ASSERT_TRUE(pumpUntil(platform.pump, [&] { return ticks == 5; }));
    EXPECT_GE(clock.elapsed(), 1 + 5 + 10 + 15 + 20) << "each restart waited its own interval";
    pumpUntil(
        platform.pump, [] { return false; }, 60); // long enough for two more ticks
    EXPECT_EQ(ticks, 5);
}

// The machine's IPv4 addresses but loopback, as the system lists them; 127.0.0.1 on a machine with none.
std::set<QString> addressesToShow() {
    std::set<QString> own;
    ifaddrs* list = nullptr;
    EXPECT_EQ(getifaddrs(&list), 0);
    for (const ifaddrs* i = list; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr != nullptr && i->ifa_addr->sa_family == AF_INET) {
            const in_addr address = reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr;
            if (ntohl(address.s_addr) >> 24 != 127) {
                own.insert(QString::fromLatin1(inet_ntoa(address)));
            }
        }
    }
    freeifaddrs(list);
    return own.empty() ? std::set<QString>{QStringLiteral("127.0.0.1")} : own;
}

// The form on the real platform shows one of the machine's own addresses. A device on 127.0.0.1 that pours
// without reading: the form's socket stops reading once it holds 4 MiB unsent, so TCP slows the device
// instead of the simulator's memory growing, and nothing is lost.
TEST(QtForm, ShowsTheMachinesAddressAndSlowsADeviceThatReadsNothingWithoutLosingAnEcho) {
    QTcpServer device;
    device.listen(QHostAddress::LocalHost, 0);
    MixedPlatform mixed;
    FrmSimulator form{mixed.platform()};
    form.load();
    Panel& p = form.panel();
    EXPECT_TRUE(addressesToShow().contains(p.txt_Simulator_IP.text()))
        << p.txt_Simulator_IP.text().toStdString();

    pointAtLoopback(p, device.serverPort());
    form.op().click(p.opt_None); // the flood is echoed unrecorded
    form.op().click(p.Cmd_Start);
    ASSERT_TRUE(pumpUntil(mixed.pump, [&] { return device.hasPendingConnections(); }));
    // The device pours more than every buffer on the way can hold, and reads nothing meanwhile.
    QTcpSocket& link = *device.nextPendingConnection();
    link.setReadBufferSize(4096); // Qt takes no more than this from the system while not reading
    QByteArray pour(qsizetype{48} << 20, Qt::Uninitialized);
    std::mt19937 random(7); // every byte value and pair, CR LF among them
    std::ranges::generate(pour, [&] { return static_cast<char>(random()); });
    link.write(pour);
    // The pour has stalled once the system took none of it for two spells in a row, so that a moment the
    // test process was not scheduled is no stall.
    int quietSpells = 0;
    qint64 left = -1;
    QTimer spell;
    QObject::connect(&spell, &QTimer::timeout, [&] {
        const bool moved = link.flush() || link.bytesToWrite() != left;
        left = link.bytesToWrite();
        quietSpells = moved ? 0 : quietSpells + 1;
    });
    spell.start(300);
    ASSERT_TRUE(pumpUntil(mixed.pump, [&] { return quietSpells == 2; }));
    EXPECT_GT(left, 0) << "the simulator stopped reading";

    QByteArray got;
    QObject::connect(&link, &QTcpSocket::readyRead, [&] { got += link.readAll(); });
    link.setReadBufferSize(0);
    got += link.readAll();
    ASSERT_TRUE(pumpUntil(mixed.pump, [&] { return got.size() >= pour.size(); }));
    EXPECT_TRUE(got == pour) << "every byte echoed, in order";
}

TEST(QtPlatform, TheClockTellsTheLocalDateAndTimeOfTheSystemToTheSecond) {
    const qt::QtClock clock;
    const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000);
    const QDateTime told(clock.localDate(), clock.localTime());
    const QDateTime after = QDateTime::currentDateTime();
    EXPECT_TRUE(before <= told && told <= after) << told.toString().toStdString();
    EXPECT_EQ(told.time().msec(), 0) << "whole seconds";
    const int ms = clock.systemMilliseconds();
    EXPECT_TRUE(ms >= 0 && ms <= 999) << ms;
}

// Where a program lying in one folder and started in another keeps its files: in those folders, unless
// it is installed, cannot write there, or was started in the home folder (from the menu).
TEST(QtFolders, AreTheProgramsAndTheStartingFolderUnlessNoPlaceForFiles) {
    const QString appId = QStringLiteral("example.tarnix.TrafficSimulator");
    QTemporaryDir root;
    const auto path = [&](const char* relative) { return root.path() + u'/' + QLatin1String(relative); };
    for (const char* folder : {"build/src", "usr/bin", "usr/share/applications", "local/bin",
                               "local/share/applications", "home/project"}) {
        QDir().mkpath(path(folder));
    }
    // Its own desktop entry makes a program an installed one; another program's does not.
    ASSERT_TRUE(QFile(path("usr/share/applications/") + appId + QStringLiteral(".desktop"))
                    .open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile(path("local/share/applications/org.other.Tool.desktop")).open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile::link(path("home"), path("home-link")));
    // Where the program lies and where it was started; its program folder and working folder.
    const char* const cases[][4] = {
        {"build/src", "build/src", "build/src", "build/src"}, // a build tree or an unpacked archive
        {"usr/bin", "home/project", "data", "home/project"},  // installed; a folder under home was chosen
        {"local/bin", "home", "local/bin", "data"},           // started from the menu
        {"missing/bin", "home/", "data", "data"},             // a folder it cannot write to
        {"build/src", "home-link", "build/src", "data"},      // the home folder by another name
        {"build/src", "missing", "build/src", "data"},
    };
    for (const auto& [executable, current, program, working] : cases) {
        SCOPED_TRACE(std::string(executable) + " " + current);
        const qt::FolderPlaces places{path(executable), path(current), path("home"), path("data"), appId};
        EXPECT_EQ(qt::programFolderOf(places), path(program));
        EXPECT_EQ(qt::workingFolderOf(places), path(working));
    }
    // Not started in the home folder, it works where it was started.
    EXPECT_EQ(qt::QtFolders().workingFolder(), QDir::toNativeSeparators(QDir::currentPath()));
}

TEST(RunWithoutAWindow, AMessageBoxIsPrintedAndAnsweredAtOnceAndTheSaveDialogIsCancelled) {
    qt::EventGate gate;
    qt::HeadlessDialogs dialogs(gate);
    ::testing::internal::CaptureStderr();
    dialogs.messageBox(QStringLiteral("IP Address Value Cross Limit"), msg_style::kPlain, std::nullopt);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Simulator: IP Address Value Cross Limit\n");
    EXPECT_EQ(dialogs.showSave({}), std::nullopt);
    EXPECT_FALSE(gate.modal());
}

} // namespace
} // namespace sim::test
