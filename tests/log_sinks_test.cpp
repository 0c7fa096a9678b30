#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The status lines a log file holds, its traffic records left out.
QStringList statusLines(const QByteArray& file) {
    QStringList lines;
    for (const QByteArray& line : file.split('\n')) {
        if (!line.isEmpty() && !line.contains(" byte")) {
            lines << QString::fromLatin1(line.chopped(1)); // without the CR
        }
    }
    return lines;
}

// The named log file and the daily log: which status lines each received.
struct Sinks {
    QStringList named;
    QStringList daily;
};

Sinks sinksOf(const DeviceAsServer& f) {
    return {statusLines(fileBytes(f.namedLogPath())), statusLines(fileBytes(f.dailyLogPath()))};
}

class StatusLineSinks : public ::testing::TestWithParam<const char*> {
protected:
    bool files() const { return std::string(GetParam()) == "Opt_List_File"; }
    void setLevel(DeviceAsServer& f) const { f.op.click(*static_cast<OptionButton*>(f.p.find(GetParam()))); }
    // What both files hold when the level writes status lines at all.
    QStringList onlyAtListPlusFile(const QStringList& lines) const { return files() ? lines : QStringList(); }
};

TEST_P(StatusLineSinks, ConnectionFailOfTheDialAndOfTheWatcherReachTheFilesAtListPlusFileOnly) {
    DeviceAsServer f(Answer::Ignore);
    setLevel(f);
    f.op.click(f.p.Cmd_Start);
    f.sim.scheduler.runUntil(2500);
    const QStringList both{QStringLiteral("[10:00:00.000] : Connection Fail"),
                           QStringLiteral("[10:00:02.000] : Connection Fail")};
    EXPECT_EQ(f.rows(), both) << "the list has them at every level";
    const Sinks sinks = sinksOf(f);
    EXPECT_EQ(sinks.named, onlyAtListPlusFile(both));
    EXPECT_EQ(sinks.daily, onlyAtListPlusFile(both));
}

TEST_P(StatusLineSinks, ClientDisconnectedOfTheDataArrivalIsFiledButThatOfCloseNever) {
    DeviceAsServer f;
    f.sim.network.onLink = [](std::shared_ptr<DeviceLink> link) {
        link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes&) {
            weak.lock()->send("ack");
        };
    };
    setLevel(f);
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.opt_Receive_Only);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("req"));
    f.op.click(f.p.cmd_CSend);
    f.clickAt(5000, f.p.cmd_End);
    ASSERT_EQ(f.rows().filter(QStringLiteral("Client Disconnected")),
              (QStringList{QStringLiteral("[10:00:00.003] : Client Disconnected"),
                           QStringLiteral("[10:00:05.000] : Client Disconnected")}));
    const QStringList filed{QStringLiteral("[10:00:00.000] : Connection Success"),
                            QStringLiteral("[10:00:00.003] : Client Disconnected")};
    const Sinks sinks = sinksOf(f);
    EXPECT_EQ(sinks.named, onlyAtListPlusFile(filed));
    EXPECT_EQ(sinks.daily, onlyAtListPlusFile(filed));
}

TEST_P(StatusLineSinks, ClientDisconnectedOfTheListeningSideIsNeverFiled) {
    DeviceAsServer f;
    setLevel(f);
    f.op.click(f.p.opt_Client);
    f.p.txt_Port.setText(QStringLiteral("5000"));
    std::shared_ptr<DeviceLink> client;
    f.sim.scheduler.at(100, [&] { client = f.sim.network.deviceConnects(5000); });
    f.sim.scheduler.at(300, [&] { client->close(); });
    f.sim.scheduler.at(1000, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.rows().filter(QStringLiteral("Client Disconnected")),
              QStringList{QStringLiteral("[10:00:00.301] : Client Disconnected")});
    const Sinks sinks = sinksOf(f);
    EXPECT_EQ(sinks.named, QStringList());
    EXPECT_EQ(sinks.daily, QStringList());
}

INSTANTIATE_TEST_SUITE_P(Levels, StatusLineSinks,
                         ::testing::Values("opt_None", "opt_List", "opt_File", "Opt_List_File"),
                         [](const auto& info) { return std::string(info.param); });

TEST(LogFolders, BothLogsMakeTheirFolderAgainWhenItIsRemovedWhileALinkRuns) {
    DeviceAsServer f;
    f.op.click(f.p.Opt_List_File);
    const QString named = f.sim.folders.programFolder() + QStringLiteral("/logs/bench/run.log");
    f.p.txt_Logfile.setText(named);
    f.op.click(f.p.Cmd_Start);
    f.device()->send("a");
    f.sim.scheduler.runFor(10);
    ASSERT_TRUE(fileBytes(named).endsWith(" : Send [1 byte] : a\r\n"));
    // The operator clears old logs: both folders go, the named log's from two levels up.
    ASSERT_TRUE(QDir(f.sim.folders.programFolder() + QStringLiteral("/logs")).removeRecursively());
    ASSERT_TRUE(QDir(f.sim.folders.workingFolder() + QStringLiteral("/log")).removeRecursively());
    f.device()->send("b");
    f.sim.scheduler.runFor(10);
    const QByteArray lines = "[10:00:00.012] : Recv [1 byte] : b\r\n[10:00:00.012] : Send [1 byte] : b\r\n";
    EXPECT_EQ(fileBytes(named), lines);
    EXPECT_EQ(fileBytes(f.dailyLogPath()), lines);
    EXPECT_EQ(f.rows().size(), 9) << "the list is not touched by any of this";
}

TEST(ErrorReports, AReportAfterMidnightGoesToTheNewDaysFilesWithTheTimeOfTheOperatorsAnswer) {
    DeviceAsServer f;
    f.sim.scheduler.setStart(QDateTime(QDate(2026, 11, 22), QTime(23, 59, 59, 0)));
    f.op.click(f.p.opt_None);
    f.sim.network.socketNamed(QStringLiteral("Server_Socket"))->injectError(10048);
    f.sim.scheduler.runFor(500);
    // The client's error box is open across midnight: the report is read after the operator's answer.
    f.sim.dialogs.answerAfter = 700;
    f.sim.network.socketNamed(QStringLiteral("Client_Socket"))->injectError(10053);
    f.sim.scheduler.runFor(10);
    const QString errLog = f.sim.folders.programFolder() + QStringLiteral("/Err_Log/");
    const QString dailyLog = f.sim.folders.workingFolder() + QStringLiteral("/log/STAT_");
    const QByteArray before = fileBytes(errLog + QStringLiteral("20261122.txt"));
    const QByteArray after = fileBytes(errLog + QStringLiteral("20261123.txt"));
    EXPECT_TRUE(before.startsWith("Err Title : Server Socket Error\r\nErr Time : 2026/11/22 23:59:59\r\n"));
    EXPECT_FALSE(before.contains("Client")) << before.toStdString();
    EXPECT_TRUE(after.startsWith("Err Title : Client Socket Error\r\nErr Time : 2026/11/23 00:00:00\r\n"
                                 "Err Number : 10053\r\nErr Desc : "));
    EXPECT_TRUE(after.endsWith("\r\nErr Source : Client_Socket\r\n\r\n"));
    EXPECT_EQ(fileBytes(dailyLog + QStringLiteral("20261122.log")), before);
    EXPECT_EQ(fileBytes(dailyLog + QStringLiteral("20261123.log")), after);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("23:59:59Server Socket Error : Referance Err_Log File ....... "),
                           QStringLiteral("00:00:00Client Socket Error : Referance Err_Log File ....... ")}));
}

} // namespace
} // namespace sim::test
