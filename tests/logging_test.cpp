#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

const Bytes kHello = bytesOf("HELLO");

struct Logged : DeviceAsServer {
    Logged() { sim.scheduler.setStart(QDateTime(QDate(2026, 11, 22), QTime(9, 15, 2, 7))); }
    void level(OptionButton& option) { op.click(option); }
    QByteArray named() const { return fileBytes(namedLogPath()); }
    QByteArray daily() const { return fileBytes(dailyLogPath()); }
};

QString repeated(char c, int n) {
    return QString(n, QLatin1Char(c));
}

// A record of the payload, or of a failure where there is none: the rows the list gets and the line both
// files get (none where empty), by level and data format.
struct RecordCase {
    const char* level;
    bool hex;
    Direction direction;
    std::optional<Bytes> payload;
    QStringList rows;
    QByteArray fileLine;
};

TEST(Records, GoWhereTheLevelSaysInTheFormOfTheFormatCutInRowsOfSixtyCharacters) {
    const QString send = QStringLiteral("[09:15:02.007] : Send [%1 byte] : ");
    const QString recv = QStringLiteral("[09:15:02.007] : Recv [%1 byte] : ");
    const Bytes hex{0x41, 0x0A, 0x00, 0xFF};
    const RecordCase cases[] = {
        {"opt_None", false, Direction::Sent, kHello, {}, {}},
        {"opt_List", false, Direction::Sent, kHello, {send.arg(5) + " HELLO", " "}, {}},
        {"opt_File", false, Direction::Sent, kHello, {}, "[09:15:02.007] : Send [5 byte] : HELLO"},
        {"Opt_List_File",
         false,
         Direction::Sent,
         kHello,
         {send.arg(5) + " HELLO", " "},
         "[09:15:02.007] : Send [5 byte] : HELLO"},
        {"opt_List", true, Direction::Received, hex, {recv.arg(4) + " 41 A 00 FF", ""}, {}},
        {"opt_File", true, Direction::Received, hex, {}, "[ 09:15:02.007 ] : Recv [ 4 byte ] :  41 A 00 FF"},
        {"Opt_List_File",
         true,
         Direction::Received,
         hex,
         {recv.arg(4) + " 41 A 00 FF", ""},
         "[09:15:02.007] : Recv [4 byte] :  41 A 00 FF"},
        // Every byte through the code page in the list; the files keep the bytes, line breaks included.
        {"Opt_List_File",
         false,
         Direction::Received,
         Bytes{0x80, 0x0D, 0x0A, 0x00, 0xE9},
         {recv.arg(5) + QStringLiteral(" \u20AC\r\n") + QChar(0) + QChar(0xE9), " "},
         QByteArray("[09:15:02.007] : Recv [5 byte] : ") + QByteArray("\x80\r\n\0\xE9", 5)},
        // One-letter bytes keep one letter; the others have two digits.
        {"opt_List",
         true,
         Direction::Sent,
         Bytes{0x00, 0x09, 0x0A, 0x0D, 0x0F, 0x10, 0x1E, 0xFF},
         {send.arg(8) + " 00 09 A D F 10 1E FF", ""},
         {}},
        {"opt_List", false, Direction::Sent, Bytes{}, {send.arg(0) + " ", " "}, {}},
        {"opt_List",
         false,
         Direction::Sent,
         Bytes(130, 'x'),
         {send.arg(130) + " " + repeated('x', 60), " " + repeated('x', 60), " " + repeated('x', 10), " "},
         {}},
        // A text that ends on a row's edge has an empty last piece before the closing row.
        {"opt_List",
         false,
         Direction::Sent,
         Bytes(60, 'x'),
         {send.arg(60) + " " + repeated('x', 60), " ", " "},
         {}},
        {"opt_List",
         true,
         Direction::Sent,
         Bytes(20, 0x11),
         {send.arg(20) + QString(" 11").repeated(20), "", ""},
         {}},
        {"opt_List",
         true,
         Direction::Sent,
         Bytes(25, 0x11),
         {send.arg(25) + QString(" 11").repeated(20), QString(" 11").repeated(5), ""},
         {}},
        {"opt_List", false, Direction::Sent, std::nullopt, {"[09:15:02.007] : Send Fail"}, {}},
        {"opt_List", true, Direction::Received, std::nullopt, {"[09:15:02.007] : Receive Fail"}, {}},
        {"opt_File", true, Direction::Sent, std::nullopt, {}, "[ 09:15:02.007 ] : Send Fail"},
        {"opt_File", true, Direction::Received, std::nullopt, {}, "[ 09:15:02.007 ] : Received Fail"},
        {"opt_None", false, Direction::Received, std::nullopt, {}, {}},
    };
    for (const RecordCase& c : cases) {
        SCOPED_TRACE(c.rows.join(QLatin1Char('|')).toStdString() + " " + c.fileLine.toStdString());
        Logged f;
        f.level(*static_cast<OptionButton*>(f.p.find(c.level)));
        if (c.hex) {
            f.op.click(f.p.opt_HexA);
        }
        ASSERT_TRUE(f.form.log().Logfile_chk());
        if (c.payload) {
            f.form.log().TrafficLog(*c.payload, c.direction);
        } else {
            f.form.log().TrafficLogFailure(c.direction);
        }
        EXPECT_EQ(f.rows(), c.rows);
        const QByteArray expected = c.fileLine.isEmpty() ? QByteArray() : c.fileLine + "\r\n";
        EXPECT_EQ(f.named(), expected);
        EXPECT_EQ(f.daily(), expected);
    }
}

TEST(StatusLines, ReachTheFilesOnlyAtListPlusFile) {
    Logged f;
    f.level(f.p.opt_File);
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(f.named(), QByteArray()) << "checked and created, but no status line at File";
    f.op.click(f.p.cmd_End);
    f.level(f.p.Opt_List_File);
    f.op.click(f.p.Cmd_Start);
    f.op.click(f.p.cmd_End);
    const QByteArray line = "[09:15:02.008] : Connection Success\r\n";
    EXPECT_EQ(f.named(), line);
    EXPECT_EQ(f.daily(), line) << "Close's line stays in the list";
    EXPECT_EQ(f.rows().size(), 4);
}

TEST(ListUpkeep, TheListKeeps2001RowsAndTrimsOneAtATime) {
    Logged f;
    for (int i = 0; i < 2001; ++i) {
        f.p.List1.addItem(QString::number(i));
    }
    f.form.log().ListTrim();
    EXPECT_EQ(f.p.List1.listCount(), 2001);
    f.p.List1.addItem(QStringLiteral("new"));
    f.p.List1.addItem(QStringLiteral("newer"));
    f.form.log().ListTrim();
    EXPECT_EQ(f.p.List1.listCount(), 2002) << "one row per call";
    f.form.log().ListTrim();
    f.form.log().ListBottom();
    EXPECT_EQ(f.p.List1.listCount(), 2001);
    EXPECT_EQ(f.p.List1.rows().front(), QStringLiteral("2"));
    EXPECT_EQ(f.p.List1.listIndex(), 2000);
}

TEST(ListUpkeep, ARecordOfManyRowsTrimsOneOldRowForEachOfItsRowsPastTheLimit) {
    // 600 bytes: the head row with the first 60, ten further rows (the last one empty, where the text
    // ends on a row's edge) and the closing row: 12 rows.
    const Bytes payload(600, 'x');
    struct Case {
        int before;
        int count;
        const char* front;
    } cases[] = {
        {1990, 2001, "1"},  // 11 rows fit; each of the last one takes the oldest row with it
        {2002, 2001, "13"}, // over the limit already (a closing line trims nothing): one out per row,
                            // then the record's last trim
        {100, 112, "0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        Logged f;
        f.level(f.p.opt_List);
        for (int i = 0; i < c.before; ++i) {
            f.p.List1.addItem(QString::number(i));
        }
        int added = c.before;
        f.p.List1.rowAdded = [&added](const QString&) { ++added; };
        f.form.log().TrafficLog(payload, 600, Direction::Sent);
        EXPECT_EQ(f.p.List1.listCount(), c.count);
        EXPECT_EQ(f.p.List1.rows().front(), QLatin1String(c.front));
        EXPECT_EQ(f.p.List1.listIndex(), c.count - 1);
        EXPECT_TRUE(f.p.List1.rows().back().isEmpty() || f.p.List1.rows().back() == QStringLiteral(" "));
        EXPECT_EQ(added, c.before + 12);
    }
}

TEST(ListUpkeep, ALongRecordShowsTheSameRowsWhetherOrNotItGoesToTheFilesToo) {
    // Every byte value in turn, so the hexadecimal form mixes one- and two-digit bytes; and one-letter
    // bytes alone, the shortest text a byte has.
    Bytes mixed(40'000);
    for (std::size_t i = 0; i < mixed.size(); ++i) {
        mixed[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    Bytes letters(40'000, 0x0A);
    for (const Bytes* payload : {&mixed, &letters}) {
        for (const bool ascii : {true, false}) {
            SCOPED_TRACE(ascii ? "ASCII" : "hex");
            QStringList rows[2];
            for (const int withFiles : {0, 1}) {
                Logged f;
                f.level(withFiles != 0 ? f.p.Opt_List_File : f.p.opt_List);
                if (!ascii) {
                    f.op.click(f.p.opt_HexA);
                }
                ASSERT_TRUE(f.form.log().Logfile_chk());
                f.form.log().TrafficLog(*payload, 40'000, Direction::Received);
                // The same bytes sent back, as an echo does, then to the list alone.
                f.form.log().TrafficLog(*payload, 40'000, Direction::Sent);
                rows[withFiles] = f.rows();
                if (withFiles != 0) {
                    EXPECT_GT(f.named().size(), ascii ? 80'000 : 160'000) << "the files hold the whole text";
                }
            }
            // Per record 547 pieces of 60 characters, the head row's first, then the closing row.
            EXPECT_EQ(rows[0].size(), 2 * 548) << "the rows end where their position passes 16 bits";
            EXPECT_EQ(rows[0], rows[1]);
        }
    }
}

TEST(ListUpkeep, LogClearEmptiesTheListButNoFile) {
    Logged f;
    f.level(f.p.Opt_List_File);
    f.op.click(f.p.Cmd_Start);
    f.op.click(f.p.cmd_Log);
    EXPECT_EQ(f.p.List1.listCount(), 0);
    EXPECT_FALSE(f.named().isEmpty());
    f.device()->send("x");
    f.sim.scheduler.runFor(10);
    EXPECT_TRUE(f.rows().first().startsWith(QStringLiteral("[09:15:02.009] : Recv")));
}

TEST(DailyLog, StartsANewFileAtLocalMidnight) {
    Logged f;
    f.sim.scheduler.setStart(QDateTime(QDate(2026, 11, 22), QTime(23, 59, 59, 900)));
    f.level(f.p.opt_File);
    f.form.log().TrafficLog(kHello, 5, Direction::Sent);
    const QString before = f.dailyLogPath();
    f.sim.scheduler.advance(200);
    f.form.log().TrafficLog(kHello, 5, Direction::Received);
    EXPECT_NE(f.dailyLogPath(), before);
    EXPECT_EQ(fileBytes(before), QByteArray("[23:59:59.900] : Send [5 byte] : HELLO\r\n"));
    EXPECT_EQ(f.daily(), QByteArray("[00:00:00.100] : Recv [5 byte] : HELLO\r\n"));
    EXPECT_TRUE(f.dailyLogPath().endsWith(QStringLiteral("/log/STAT_20261123.log")));
}

TEST(LogfileCheck, MakesTheFoldersAndAnEmptyFileAndKeepsAnExistingOne) {
    Logged f;
    f.level(f.p.opt_File);
    const QString deep = f.sim.folders.programFolder() + QStringLiteral("/a/b/c/run.log");
    f.p.txt_Logfile.setText(deep);
    EXPECT_TRUE(f.form.log().Logfile_chk());
    EXPECT_TRUE(QFile::exists(deep));
    {
        QFile file(deep);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("kept\r\n");
    }
    EXPECT_TRUE(f.form.log().Logfile_chk());
    f.form.log().TrafficLog(kHello, 5, Direction::Sent);
    EXPECT_EQ(fileBytes(deep), QByteArray("kept\r\n[09:15:02.007] : Send [5 byte] : HELLO\r\n"));
}

TEST(LogfileCheck, APathThatCannotBeUsedIsRefusedBeforeALinkStarts) {
    for (const char* bad : {"", "/", "folder-not-file"}) {
        Logged f;
        f.level(f.p.Opt_List_File);
        QDir(f.sim.folders.workingFolder()).mkdir(QStringLiteral("folder-not-file"));
        f.p.txt_Logfile.setText(QString::fromLatin1(bad));
        f.op.click(f.p.Cmd_Start);
        ASSERT_EQ(f.shownTexts(), std::vector<QString>{QStringLiteral("Invalid Pass")}) << bad;
        EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("LogFile"));
        EXPECT_EQ(f.sim.dialogs.shown[0].style, 16);
        EXPECT_TRUE(f.sim.network.dialled().empty());
    }
    // At List the path is not looked at.
    Logged f;
    f.p.txt_Logfile.setText(QStringLiteral("/"));
    f.op.click(f.p.Cmd_Start);
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    EXPECT_EQ(f.sim.network.dialled().size(), 1U);
}

TEST(LogFiles, AFailedWriteLosesTheLineThereOnlyAndNeverStopsTheProgram) {
    Logged f;
    f.level(f.p.Opt_List_File);
    f.op.click(f.p.Cmd_Start);
    // The named file turns into a folder and the daily log's folder into a file.
    QFile::remove(f.namedLogPath());
    QDir().mkpath(f.namedLogPath());
    f.device()->send("a");
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.rows().size(), 5) << "success, the received record and its echo";
    EXPECT_TRUE(
        f.daily().endsWith("[09:15:02.009] : Recv [1 byte] : a\r\n[09:15:02.009] : Send [1 byte] : a\r\n"));
    QDir(f.sim.folders.workingFolder() + QStringLiteral("/log")).removeRecursively();
    QFile(f.sim.folders.workingFolder() + QStringLiteral("/log")).open(QIODevice::WriteOnly);
    QFile(f.sim.folders.programFolder() + QStringLiteral("/Err_Log")).open(QIODevice::WriteOnly);
    f.device()->reset();
    f.sim.scheduler.runFor(10);
    EXPECT_TRUE(
        f.rows().last().endsWith(QStringLiteral("Client Socket Error : Referance Err_Log File ....... ")));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_TRUE(f.shownTexts() == std::vector<QString>{QStringLiteral("E........")});
}

TEST(ErrorReports, BothSocketsShareTheDaysFileAndTheServerShowsNoBox) {
    Logged f;
    f.level(f.p.opt_None);
    auto* server = f.sim.network.socketNamed(QStringLiteral("Server_Socket"));
    auto* client = f.sim.network.socketNamed(QStringLiteral("Client_Socket"));
    server->injectError(10048);
    f.sim.scheduler.runFor(1);
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    client->injectError(10053);
    f.sim.scheduler.runFor(1);
    const QByteArray file =
        fileBytes(f.sim.folders.programFolder() + QStringLiteral("/Err_Log/20261122.txt"));
    EXPECT_TRUE(file.startsWith(
        "Err Title : Server Socket Error\r\nErr Time : 2026/11/22 09:15:02\r\nErr Number : 10048\r\n"
        "Err Desc : Address in use\r\nErr Source : Server_Socket\r\n\r\nErr Title : Client Socket "
        "Error\r\n"));
    EXPECT_EQ(f.daily(), file);
    EXPECT_EQ(f.rows(),
              (QStringList{QStringLiteral("09:15:02Server Socket Error : Referance Err_Log File ....... "),
                           QStringLiteral("09:15:02Client Socket Error : Referance Err_Log File ....... ")}));
}

TEST(LogFileChoice, TheDialogPicksAndEmptiesAFileAndCancelLeavesAll) {
    Logged f;
    f.level(f.p.opt_File);
    const QString chosen = f.sim.folders.workingFolder() + QStringLiteral("/picked.log");
    {
        QFile file(chosen);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("old");
    }
    const QString before = f.p.txt_Logfile.text();
    f.op.click(f.p.cmd_browser);
    EXPECT_EQ(f.p.txt_Logfile.text(), before) << "Cancel";
    ASSERT_EQ(f.sim.dialogs.saveRequests.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.saveRequests[0].filter, QStringLiteral("Text Files (*.log)|*.log"));
    EXPECT_TRUE(f.sim.dialogs.saveRequests[0].promptOverwrite);
    f.sim.dialogs.saveAnswers.push_back(chosen);
    f.op.click(f.p.cmd_browser);
    EXPECT_EQ(f.p.txt_Logfile.text(), chosen);
    EXPECT_EQ(fileBytes(chosen), QByteArray());
}

} // namespace
} // namespace sim::test
