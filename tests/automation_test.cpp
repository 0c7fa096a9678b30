// The built program run as a test pipeline runs it: headless, from a profile, over 127.0.0.1 only, with
// a home, settings, data and working folder of its own, and a copy of the program in a folder of its
// own so that its error reports stay there too.

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString gProgram; // the copy every test runs

int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

class Program : public ::testing::Test {
protected:
    QTemporaryDir root;
    QProcess process;
    QByteArray out;
    QByteArray err;

    void SetUp() override {
        QDir dir(root.path());
        for (const char* sub : {"home", "config", "data", "cache", "runtime", "work"}) {
            dir.mkpath(QLatin1String(sub));
        }
        QFile::setPermissions(dir.filePath(QStringLiteral("runtime")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
            env.remove(QLatin1String(name)); // no display at all
        }
        env.insert(QStringLiteral("HOME"), dir.filePath(QStringLiteral("home")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), dir.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), dir.filePath(QStringLiteral("cache")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.filePath(QStringLiteral("runtime")));
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(dir.filePath(QStringLiteral("work")));
    }

    void TearDown() override {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }

    QString profile(const QStringList& lines) {
        const QString path = root.filePath(QStringLiteral("run.ini"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write((lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
        return path;
    }

    static QStringList destination(int port) {
        return {QStringLiteral("txt_Destination_IP(0)=127"), QStringLiteral("txt_Destination_IP(1)=0"),
                QStringLiteral("txt_Destination_IP(2)=0"), QStringLiteral("txt_Destination_IP(3)=1"),
                QStringLiteral("txt_Destination_Port=%1").arg(port)};
    }

    void start(const QStringList& arguments) {
        process.start(gProgram, arguments);
        ASSERT_TRUE(process.waitForStarted(5000)) << process.errorString().toStdString();
    }

    // Reads standard output until it holds `text`; false when the program ended or 5 s passed first.
    bool outputShows(const char* text) {
        QElapsedTimer clock;
        clock.start();
        while (!out.contains(text) && clock.elapsed() < 5000) {
            process.waitForReadyRead(200);
            out += process.readAllStandardOutput();
            if (process.state() == QProcess::NotRunning) {
                break;
            }
        }
        return out.contains(text);
    }

    // The exit status once the program has ended by itself, or -1.
    int finish(int limitMs = 10000) {
        if (!process.waitForFinished(limitMs) || process.exitStatus() != QProcess::NormalExit) {
            return -1;
        }
        out += process.readAllStandardOutput();
        err += process.readAllStandardError();
        return process.exitCode();
    }
};

TEST_F(Program, AnEchoServerForTwoSecondsAnswersAClientAndExitsWithZero) {
    const int port = freePort();
    QElapsedTimer clock;
    clock.start();
    start({QStringLiteral("--headless"), QStringLiteral("--profile"),
           profile({QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=%1").arg(port)}),
           QStringLiteral("--start"), QStringLiteral("--duration"), QStringLiteral("2")});
    ASSERT_TRUE(outputShows("] : Listen..")) << out.toStdString();

    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    ASSERT_TRUE(client.waitForConnected(3000));
    client.write("hello");
    QByteArray echoed;
    while (echoed.size() < 5 && client.waitForReadyRead(3000)) {
        echoed += client.readAll();
    }
    EXPECT_EQ(echoed, QByteArray("hello"));
    client.disconnectFromHost();

    EXPECT_EQ(finish(), 0) << err.toStdString();
    EXPECT_GE(clock.elapsed(), 2000);
    EXPECT_LT(clock.elapsed(), 8000);
    const QStringList rows = QString::fromUtf8(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Connected")).size(), 1);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Recv [5 byte] :  hello")).size(), 1);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Send [5 byte] :  hello")).size(), 1);
    ASSERT_FALSE(rows.isEmpty());
    EXPECT_TRUE(rows.last().endsWith(QStringLiteral("] : Server Closed"))) << out.toStdString();
    EXPECT_TRUE(err.isEmpty()) << err.toStdString();
}

TEST_F(Program, ADialToAPortWhereNothingListensExitsWithOne) {
    start({QStringLiteral("--headless"), QStringLiteral("--profile"), profile(destination(freePort())),
           QStringLiteral("--start"), QStringLiteral("--duration"), QStringLiteral("1.5")});
    EXPECT_EQ(finish(), 1);
    EXPECT_TRUE(out.contains("] : Connection Fail\n")) << out.toStdString();
    EXPECT_TRUE(err.contains("Error: E........\n")) << err.toStdString();
}

TEST_F(Program, ARepeatRunOfTwentySendsAtTenMillisecondsDeliversExactlyTheirBytes) {
    QTcpServer peer;
    ASSERT_TRUE(peer.listen(QHostAddress::LocalHost, 0));
    start({QStringLiteral("--headless"), QStringLiteral("--profile"),
           profile(destination(peer.serverPort()) +
                   QStringList{QStringLiteral("opt_Send_Only=true"), QStringLiteral("opt_Repeat=true"),
                               QStringLiteral("com_Timegap=0.01"), QStringLiteral("com_Count=20"),
                               QStringLiteral("txt_Data_Input=ping")}),
           QStringLiteral("--start"), QStringLiteral("--duration"), QStringLiteral("1.5")});
    ASSERT_TRUE(peer.waitForNewConnection(5000));
    QTcpSocket* link = peer.nextPendingConnection();
    QByteArray received;
    // Everything the program sends, up to its close.
    while (link->state() == QAbstractSocket::ConnectedState && link->waitForReadyRead(5000)) {
        received += link->readAll();
    }
    received += link->readAll();
    EXPECT_EQ(received, QByteArray("ping").repeated(20));
    EXPECT_EQ(finish(), 0) << err.toStdString();
    EXPECT_EQ(QString::fromUtf8(out).count(QStringLiteral("] : Send [4 byte] :  ping\n")), 20);
    EXPECT_TRUE(out.endsWith("] : Client Disconnected\n")) << out.toStdString();
}

TEST_F(Program, ABadProfileExitsWithTwoAndNeitherDialsNorListens) {
    QTcpServer peer;
    ASSERT_TRUE(peer.listen(QHostAddress::LocalHost, 0));
    const QString path = profile(destination(peer.serverPort()) << QStringLiteral("opt_HexA=maybe"));
    start({QStringLiteral("--headless"), QStringLiteral("--profile"), path, QStringLiteral("--start"),
           QStringLiteral("--duration"), QStringLiteral("1")});
    EXPECT_EQ(finish(), 2);
    EXPECT_EQ(
        QString::fromUtf8(err),
        QStringLiteral("traffic_simulator: %1:6: opt_HexA: 'maybe' is no value of an option; use true or "
                       "false\n")
            .arg(path));
    EXPECT_TRUE(out.isEmpty()) << "no line of a listen or a dial";
    EXPECT_FALSE(peer.waitForNewConnection(100));
}

TEST_F(Program, SigtermEndsAListenAsCloseDoesAndExitsWithZero) {
    start({QStringLiteral("--headless"), QStringLiteral("--profile"),
           profile({QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=%1").arg(freePort())}),
           QStringLiteral("--start")});
    ASSERT_TRUE(outputShows("] : Listen..")) << out.toStdString();
    process.terminate();
    EXPECT_EQ(finish(5000), 0);
    EXPECT_TRUE(out.endsWith("] : Server Closed\n")) << out.toStdString();
}

// The built program writes its log files on a thread of their own: once it has ended, both hold every
// record of the echo, whole.
TEST_F(Program, SigtermLeavesEveryRecordOfAnEchoInBothLogFiles) {
    const int port = freePort();
    const QString named = root.filePath(QStringLiteral("logs/echo.dat"));
    start({QStringLiteral("--headless"), QStringLiteral("--quiet"), QStringLiteral("--profile"),
           profile({QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=%1").arg(port),
                    QStringLiteral("Opt_List_File=true"), QStringLiteral("opt_HexA=true"),
                    QStringLiteral("txt_Logfile=%1").arg(named)}),
           QStringLiteral("--start")});
    QTcpSocket client;
    // Nothing is printed: the client tries until the program listens, or ends.
    for (int attempt = 0; attempt < 250 && client.state() != QAbstractSocket::ConnectedState; ++attempt) {
        client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
        if (!client.waitForConnected(1000) && process.waitForFinished(20)) {
            break;
        }
    }
    ASSERT_EQ(client.state(), QAbstractSocket::ConnectedState);
    const QByteArray flood(4 << 20, '\x5A');
    client.write(flood);
    qsizetype echoed = 0;
    while (echoed < flood.size() && client.waitForReadyRead(5000)) {
        echoed += client.readAll().size();
    }
    ASSERT_EQ(echoed, flood.size());
    process.terminate();
    ASSERT_EQ(finish(), 0) << err.toStdString();

    const auto bytesRecorded = [](const QByteArray& log, const char* direction) {
        const QRegularExpression head(
            QStringLiteral("\\] : %1 \\[(\\d+) byte\\] :  ").arg(QLatin1String(direction)));
        qsizetype total = 0;
        for (auto match = head.globalMatch(QString::fromLatin1(log)); match.hasNext();) {
            total += match.next().captured(1).toLongLong();
        }
        return total;
    };
    QFile namedLog(named);
    ASSERT_TRUE(namedLog.open(QIODevice::ReadOnly));
    const QByteArray namedText = namedLog.readAll();
    const QDir daily(root.filePath(QStringLiteral("work/log")));
    const QStringList days = daily.entryList({QStringLiteral("STAT_*.log")});
    ASSERT_FALSE(days.isEmpty());
    QByteArray dailyText;
    for (const QString& day : days) {
        QFile file(daily.filePath(day));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        dailyText += file.readAll();
    }
    EXPECT_EQ(bytesRecorded(namedText, "Recv"), flood.size());
    EXPECT_EQ(bytesRecorded(namedText, "Send"), flood.size());
    EXPECT_EQ(dailyText, namedText);
    EXPECT_TRUE(namedText.endsWith(" 5A\r\n"));
}

TEST_F(Program, APrintedProfileNeedsNoDisplayAndLoadsBackToTheSamePanel) {
    start({QStringLiteral("--print-profile")});
    ASSERT_EQ(finish(), 0) << err.toStdString();
    const QByteArray printed = out;
    EXPECT_TRUE(printed.contains("\nopt_Server=true\n"));
    EXPECT_TRUE(printed.contains("\ntxt_Destination_IP(0)=100\n"));
    EXPECT_TRUE(printed.contains("\ntxt_Destination_Port=4000\n"));
    EXPECT_TRUE(QFile::exists(root.filePath(QStringLiteral("config/TK7300_SIMUL/Simulator.conf"))))
        << "the settings of the test's own folder were read and saved";

    QFile file(root.filePath(QStringLiteral("printed.ini")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(printed);
    file.close();
    out.clear();
    start({QStringLiteral("--profile"), file.fileName(), QStringLiteral("--print-profile")});
    ASSERT_EQ(finish(), 0) << err.toStdString();
    EXPECT_EQ(out, printed);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    QTemporaryDir bin;
    gProgram = bin.filePath(QStringLiteral("traffic_simulator"));
    if (!::testing::GTEST_FLAG(list_tests) && !QFile::copy(QStringLiteral(SIM_PROGRAM), gProgram)) {
        return 1;
    }
    return RUN_ALL_TESTS();
}
