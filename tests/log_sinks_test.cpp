#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The status lines among the list's rows, traffic records left out.
QStringList statusRows(const QStringList& rows) {
    return rows.filter(QRegularExpression(QStringLiteral("^\\[[^]]*\\] : [A-Za-z .]+$")));
}

// The lines of a log file, each of which must end in CR LF.
QStringList fileLines(const QString& path) {
    return QString::fromLatin1(fileBytes(path)).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
}

TEST(StatusLines, OnlyTheDialsAndTheDataArrivalsReachTheFilesAndOnlyAtListPlusFile) {
    for (const char* level : {"opt_None", "opt_List", "opt_File", "Opt_List_File"}) {
        SCOPED_TRACE(level);
        DeviceAsServer f(Answer::Ignore);
        f.op.click(*static_cast<OptionButton*>(f.p.find(level)));
        f.op.click(f.p.Cmd_Start); // the dial fails, and so does the watcher's look a second later
        f.sim.scheduler.runUntil(2500);
        // Then the simulator listens, a device comes and goes.
        f.op.click(f.p.opt_Client);
        f.p.txt_Port.setText(QStringLiteral("5000"));
        std::shared_ptr<DeviceLink> client;
        f.sim.scheduler.at(2600, [&] { client = f.deviceDials(5000); });
        f.sim.scheduler.at(2800, [&] { client->close(); });
        f.sim.scheduler.at(3500, [&] { f.op.click(f.p.cmd_End); });
        f.op.click(f.p.Cmd_Start);
        // It dials again, and with Connect && Close hangs up on the device's first data.
        f.op.click(f.p.opt_Server);
        f.op.click(f.p.Opt_Cnn2);
        f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
        f.p.txt_Data_Input.setText(QStringLiteral("req"));
        f.op.click(f.p.cmd_CSend);
        f.device()->send("ack");
        f.clickAt(6000, f.p.cmd_End);
        const QStringList dial{QStringLiteral("[10:00:00.000] : Connection Fail"),
                               QStringLiteral("[10:00:02.000] : Connection Fail")};
        const QStringList linked{QStringLiteral("[10:00:03.500] : Connection Success"),
                                 QStringLiteral("[10:00:03.502] : Client Disconnected"),
                                 // the watcher, armed once the listen had ended, sees the link gone
                                 QStringLiteral("[10:00:04.500] : Connection Fail")};
        const QStringList listen{
            QStringLiteral("[10:00:02.500] : Listen.."), QStringLiteral("[10:00:02.600] : Client Connected"),
            QStringLiteral("[10:00:02.801] : Client Disconnected"),
            QStringLiteral("[10:00:02.801] : Listen.."), QStringLiteral("[10:00:03.500] : Server Closed")};
        EXPECT_EQ(statusRows(f.rows()),
                  dial + listen + linked +
                      QStringList(QStringLiteral("[10:00:06.000] : Client Disconnected")))
            << "the list has them all at every level";
        const QStringList files = f.p.Opt_List_File.value() ? dial + linked : QStringList();
        EXPECT_EQ(statusRows(fileLines(f.namedLogPath())), files);
        EXPECT_EQ(statusRows(fileLines(f.dailyLogPath())), files);
    }
}

TEST(LogFiles, GoOnWhenTheOperatorClearsTheListAndRemovesOrBlocksTheFilesDuringALink) {
    DeviceAsServer f;
    f.op.click(f.p.Opt_List_File);
    const QString named = f.sim.folders.programFolder() + QStringLiteral("/logs/bench/run.log");
    f.p.txt_Logfile.setText(named);
    f.op.click(f.p.Cmd_Start);
    f.device()->send("a");
    f.sim.scheduler.runFor(10);
    f.op.click(f.p.cmd_Log);
    EXPECT_TRUE(f.rows().isEmpty());
    ASSERT_TRUE(fileBytes(named).endsWith("[10:00:00.002] : Send [1 byte] : a\r\n"))
        << "Log Clear keeps the files";
    // The operator clears old logs: both folders go, the named log's from two levels up.
    ASSERT_TRUE(QDir(f.sim.folders.programFolder() + QStringLiteral("/logs")).removeRecursively());
    ASSERT_TRUE(QDir(f.sim.folders.workingFolder() + QStringLiteral("/log")).removeRecursively());
    f.device()->send("b");
    f.sim.scheduler.runFor(10);
    const QByteArray b = "[10:00:00.012] : Recv [1 byte] : b\r\n[10:00:00.012] : Send [1 byte] : b\r\n";
    EXPECT_EQ(fileBytes(named), b);
    EXPECT_EQ(fileBytes(f.dailyLogPath()), b);
    EXPECT_EQ(f.rows().first(), QStringLiteral("[10:00:00.012] : Recv [1 byte] :  b")) << "after Log Clear";
    // The daily log's folder and the error reports' turn into files: a report is lost in both.
    QDir(f.sim.folders.workingFolder() + QStringLiteral("/log")).removeRecursively();
    writeFile(f.sim.folders.workingFolder() + QStringLiteral("/log"), {});
    writeFile(f.sim.folders.programFolder() + QStringLiteral("/Err_Log"), {});
    f.device()->reset();
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.rows().last(),
              QStringLiteral("10:00:00Client Socket Error : Referance Err_Log File ....... "));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("E........")});
}

TEST(ErrorReports, GoToTheDaysFileAndTheDailyLogAtLevelNoneAndOnlyTheClientsShowABox) {
    DeviceAsServer f;
    f.sim.scheduler.setStart(QDateTime(QDate(2026, 11, 22), QTime(23, 59, 59, 0)));
    f.op.click(f.p.opt_None);
    const auto error = [&f](const char* socket, int number, Ms answerAfter) {
        f.sim.dialogs.answerAfter = answerAfter;
        f.sim.network.socketNamed(QLatin1String(socket))->injectError(number);
        f.sim.scheduler.runFor(10);
    };
    error("Server_Socket", 10048, 0);
    error("Client_Socket", 10053, 300);
    error("Client_Socket", 10054, 700); // the box is open across midnight: the report follows the answer
    EXPECT_EQ(f.sim.dialogs.shown.size(), 2U);
    const QString errLog = f.sim.folders.programFolder() + QStringLiteral("/Err_Log/");
    const QString dailyLog = f.sim.folders.workingFolder() + QStringLiteral("/log/STAT_");
    const QByteArray before = fileBytes(errLog + QStringLiteral("20261122.txt"));
    const QByteArray after = fileBytes(errLog + QStringLiteral("20261123.txt"));
    EXPECT_EQ(
        before,
        QByteArray("Err Title : Server Socket Error\r\nErr Time : 2026/11/22 23:59:59\r\n"
                   "Err Number : 10048\r\nErr Desc : Address in use\r\nErr Source : Server_Socket\r\n\r\n"
                   "Err Title : Client Socket Error\r\nErr Time : 2026/11/22 23:59:59\r\n"
                   "Err Number : 10053\r\nErr Desc : Connection is aborted due to timeout or other "
                   "failure\r\nErr Source : Client_Socket\r\n\r\n"));
    EXPECT_EQ(after, QByteArray("Err Title : Client Socket Error\r\nErr Time : 2026/11/23 00:00:00\r\n"
                                "Err Number : 10054\r\nErr Desc : The connection is reset by remote side\r\n"
                                "Err Source : Client_Socket\r\n\r\n"));
    EXPECT_EQ(fileBytes(dailyLog + QStringLiteral("20261122.log")), before);
    EXPECT_EQ(fileBytes(dailyLog + QStringLiteral("20261123.log")), after);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("23:59:59Server Socket Error : Referance Err_Log File ....... "),
                           QStringLiteral("23:59:59Client Socket Error : Referance Err_Log File ....... "),
                           QStringLiteral("00:00:00Client Socket Error : Referance Err_Log File ....... ")}));
}

} // namespace
} // namespace sim::test
