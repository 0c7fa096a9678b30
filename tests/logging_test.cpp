#include "support/scenario.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// A record of the payload, or of a failure where there is none: the rows the list gets and the line the
// files get, which at File alone has another form in hexadecimal.
struct RecordCase {
    bool hex;
    Direction direction;
    std::optional<QByteArray> payload;
    QStringList rows;
    QByteArray fileLine;
    QByteArray fileOnlyLine = {}; // where it differs
};

TEST(Records, GoWhereTheLevelSaysInTheFormOfTheFormatCutInRowsOfSixtyCharacters) {
    const QString send = QStringLiteral("[09:15:02.007] : Send [%1 byte] :  ");
    const auto sent = Direction::Sent;
    const auto xs = [](int n) { return QByteArray(n, 'x'); };
    const RecordCase cases[] = {
        {false, sent, "HELLO", QStringList{send.arg(5) + "HELLO", " "},
         "[09:15:02.007] : Send [5 byte] : HELLO"},
        // One-letter bytes keep one letter; the others have two digits.
        {true, Direction::Received, QByteArray("\x00\x09\x0A\x0D\x0F\x10\x1E\x41\xFF", 9),
         QStringList{"[09:15:02.007] : Recv [9 byte] :  00 09 A D F 10 1E 41 FF", ""},
         "[09:15:02.007] : Recv [9 byte] :  00 09 A D F 10 1E 41 FF",
         "[ 09:15:02.007 ] : Recv [ 9 byte ] :  00 09 A D F 10 1E 41 FF"},
        // Every byte through the code page in the list; the files keep the bytes, line breaks included.
        {false, sent, QByteArray("\x80\r\n\0\xE9", 5),
         QStringList{send.arg(5) + QStringLiteral("\u20AC\r\n") + QChar(0) + QChar(0xE9), " "},
         QByteArray("[09:15:02.007] : Send [5 byte] : \x80\r\n\0\xE9", 38)},
        {false, sent, "", QStringList{send.arg(0), " "}, "[09:15:02.007] : Send [0 byte] : "},
        {false, sent, xs(130), QStringList{send.arg(130) + xs(60), " " + xs(60), " " + xs(10), " "},
         "[09:15:02.007] : Send [130 byte] : " + xs(130)},
        // A text that ends on a row's edge has an empty last piece before the closing row.
        {false, sent, xs(60), QStringList{send.arg(60) + xs(60), " ", " "},
         "[09:15:02.007] : Send [60 byte] : " + xs(60)},
        {true, sent, QByteArray(25, 0x11),
         QStringList{send.arg(25) + QString(" 11").repeated(20).mid(1), QString(" 11").repeated(5), ""},
         "[09:15:02.007] : Send [25 byte] : " + QByteArray(" 11").repeated(25),
         "[ 09:15:02.007 ] : Send [ 25 byte ] : " + QByteArray(" 11").repeated(25)},
        {false, sent, std::nullopt, QStringList{"[09:15:02.007] : Send Fail"}, "[09:15:02.007] : Send Fail"},
        {true, Direction::Received, std::nullopt, QStringList{"[09:15:02.007] : Receive Fail"},
         "[09:15:02.007] : Receive Fail", "[ 09:15:02.007 ] : Received Fail"},
    };
    for (const RecordCase& c : cases) {
        SCOPED_TRACE(c.fileLine.toStdString());
        DeviceAsServer f;
        f.sim.scheduler.setStart(QDateTime(QDate(2026, 11, 22), QTime(9, 15, 2, 7)));
        f.setUp({c.hex ? "opt_HexA" : "opt_Ascii"});
        QStringList rows;
        QByteArray file;
        for (const QByteArray level : {"opt_None", "opt_List", "opt_File", "Opt_List_File"}) {
            SCOPED_TRACE(level.constData());
            f.setUp({level.constData()});
            if (c.payload) {
                f.form.log().TrafficLog(Bytes(c.payload->begin(), c.payload->end()), c.direction);
            } else {
                f.form.log().TrafficLogFailure(c.direction);
            }
            const bool toList = level.contains("List");
            rows += toList ? c.rows : QStringList();
            const bool fileOnly = !toList && !c.fileOnlyLine.isEmpty();
            file += level.contains("File") ? (fileOnly ? c.fileOnlyLine : c.fileLine) + "\r\n" : "";
            EXPECT_EQ(f.rows(), rows);
            EXPECT_EQ(fileBytes(f.p.txt_Logfile.text()), file);
            EXPECT_EQ(fileBytes(f.dailyLogPath()), file);
        }
    }
}

TEST(ListUpkeep, LongRecordsShowTheSameRowsWithOrWithoutTheFilesAndTheListKeeps2001) {
    // One-letter bytes, the shortest text a byte has, then every byte value in turn.
    Bytes payload(40'000, 0x0A);
    for (std::size_t i = 20'000; i < payload.size(); ++i) {
        payload[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    for (const char* format : {"opt_Ascii", "opt_HexA"}) {
        SCOPED_TRACE(format);
        DeviceAsServer f;
        f.setUp({format});
        // The bytes come in and go back, as an echo does; then again to the files too.
        f.form.log().TrafficLog(payload, Direction::Received);
        f.form.log().TrafficLog(payload, Direction::Sent);
        const QStringList rows = f.rows();
        // Per record 547 pieces of 60 characters, the head row's first, then the closing row.
        EXPECT_EQ(rows.size(), 2 * 548) << "the rows end where their position passes 16 bits";
        f.setUp({"Opt_List_File"});
        f.form.log().TrafficLog(payload, Direction::Received);
        f.form.log().TrafficLog(payload, Direction::Sent);
        EXPECT_EQ(f.rows(), rows.mid(2 * 548 + 2 * 548 - 2001) + rows)
            << "each row past 2001 takes the oldest";
        EXPECT_GT(fileBytes(f.p.txt_Logfile.text()).size(), 80'000) << "the files hold the whole text";
        // Rows added without a trim leave the list over its limit: a record takes one old row for each
        // of its own, then one more.
        f.p.List1.addItem(QStringLiteral("a"));
        f.p.List1.addItem(QStringLiteral("b"));
        f.p.List1.addItem(QStringLiteral("c"));
        f.form.log().TrafficLog(Bytes(600, 'x'), Direction::Sent);
        EXPECT_EQ(f.p.List1.listCount(), 2003);
        EXPECT_EQ(f.p.List1.listIndex(), 2002);
    }
}

TEST(LogFile, IsCheckedBeforeALinkStartsAndTheLinkGoesOnWhenItsFilesAreClearedRemovedOrBlocked) {
    DeviceAsServer f;
    const QString working = f.sim.folders.workingFolder() + QLatin1Char('/');
    f.setUp({"txt_Logfile=/", "Cmd_Start", "cmd_End"}); // at List the path is not looked at
    QDir(working).mkdir(QStringLiteral("folder-not-file"));
    f.setUp({"opt_File", "txt_Logfile=", "Cmd_Start", "txt_Logfile=/", "Cmd_Start",
             "txt_Logfile=folder-not-file", "Cmd_Start"});
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "no link started at File";
    EXPECT_EQ(f.shown(), QStringList(3, QStringLiteral("Invalid Pass [LogFile 16]")));
    // The dialog's Cancel leaves box and file alone; a file picked is emptied at once.
    const QString chosen = working + QStringLiteral("picked.log");
    writeFile(chosen, "old\r\n");
    f.op.click(f.p.cmd_browser);
    EXPECT_EQ(f.p.txt_Logfile.text(), QStringLiteral("folder-not-file"));
    EXPECT_EQ(fileBytes(chosen), QByteArray("old\r\n"));
    ASSERT_EQ(f.sim.dialogs.saveRequests.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.saveRequests[0].filter, QStringLiteral("Text Files (*.log)|*.log"));
    EXPECT_TRUE(f.sim.dialogs.saveRequests[0].promptOverwrite);
    f.sim.dialogs.saveAnswers.push_back(chosen);
    f.op.click(f.p.cmd_browser);
    EXPECT_EQ(f.p.txt_Logfile.text(), chosen);
    EXPECT_EQ(fileBytes(chosen), QByteArray());
    // A file that exists keeps what it holds when a link starts.
    writeFile(chosen, "kept\r\n");
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(fileBytes(chosen), QByteArray("kept\r\n"));
    // A relative path deep in folders that do not exist yet: they are made, with an empty file.
    f.setUp({"cmd_End", "txt_Logfile=a/b/c/run.log", "Cmd_Start", "cmd_End"});
    const QString named = working + QStringLiteral("a/b/c/run.log");
    ASSERT_TRUE(QFileInfo(named).isFile()) << "made, with its folders";
    f.runUntil(1000);
    f.setUp({"Opt_List_File", "Cmd_Start"});
    f.device()->send("a");
    f.sim.scheduler.runFor(10);
    f.op.click(f.p.cmd_Log);
    EXPECT_TRUE(fileBytes(named).endsWith("[10:00:01.002] : Send [1 byte] : a\r\n"))
        << "Log Clear keeps the files";
    // The operator clears old logs: both folders go, the named log's from three levels up.
    ASSERT_TRUE(QDir(working + QStringLiteral("a")).removeRecursively());
    ASSERT_TRUE(QDir(working + QStringLiteral("log")).removeRecursively());
    f.device()->send("b");
    f.sim.scheduler.runFor(10);
    const QByteArray b = "[10:00:01.012] : Recv [1 byte] : b\r\n[10:00:01.012] : Send [1 byte] : b\r\n";
    EXPECT_EQ(fileBytes(named), b);
    EXPECT_EQ(fileBytes(f.dailyLogPath()), b);
    EXPECT_EQ(f.rows().first(), "[10:00:01.012] : Recv [1 byte] :  b") << "after Log Clear";
    // The daily log's folder and the error reports' turn into files: a report is lost in both.
    QDir(working + QStringLiteral("log")).removeRecursively();
    writeFile(working + QStringLiteral("log"), {});
    writeFile(f.sim.folders.programFolder() + QStringLiteral("/Err_Log"), {});
    f.device()->reset();
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.rows().last(), "10:00:01Client Socket Error : Referance Err_Log File ....... ");
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
}

TEST(StatusLines, OnlyTheDialsAndTheDataArrivalsReachTheFilesAndOnlyAtListPlusFile) {
    // The status lines among rows or a file's lines, traffic records left out.
    const auto statusRows = [](const QStringList& rows) {
        return rows.filter(QRegularExpression("^\\[[^]]*\\] : [A-Za-z .]+$"));
    };
    for (const char* level : {"opt_None", "opt_List", "opt_File", "Opt_List_File"}) {
        SCOPED_TRACE(level);
        DeviceAsServer f(Answer::Ignore);
        f.setUp({level, "Cmd_Start"}); // the dial fails, and so does the watcher's look a second later
        f.runUntil(2500);
        // It dials again, and with Connect && Close hangs up on the device's first data.
        f.sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000);
        f.setUp({"Opt_Cnn2", "txt_Data_Input=req", "cmd_CSend"});
        f.device()->send("ack");
        f.clickAt(6000, f.p.cmd_End);
        const QStringList filed{"[10:00:00.000] : Connection Fail", "[10:00:02.000] : Connection Fail",
                                "[10:00:02.500] : Connection Success",
                                "[10:00:02.502] : Client Disconnected"};
        EXPECT_EQ(statusRows(f.rows()), filed + QStringList("[10:00:06.000] : Client Disconnected"))
            << "the list has them all at every level";
        const QStringList files = f.p.Opt_List_File.value() ? filed : QStringList();
        // Each line of a file must end in CR LF.
        EXPECT_EQ(statusRows(QString::fromLatin1(fileBytes(f.p.txt_Logfile.text())).split("\r\n")), files);
        EXPECT_EQ(statusRows(QString::fromLatin1(fileBytes(f.dailyLogPath())).split("\r\n")), files);
    }
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
    EXPECT_EQ(fileBytes(f.dailyLogPath()), before);
    EXPECT_EQ(fileBytes(f.sim.folders.workingFolder() + QStringLiteral("/log/STAT_20261123.log")), after);
    EXPECT_EQ(f.rows().last(), "00:00:00Client Socket Error : Referance Err_Log File ....... ")
        << "the row too bears the time of the answer";
}

} // namespace
} // namespace sim::test
