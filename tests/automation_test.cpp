// The built program run as a test pipeline runs it: headless, from a profile, over 127.0.0.1 only, started
// in a home of its own, as a copy in a folder of its own for its error reports.

#include "support/files.h"
#include "support/headless.h"

#include <QTcpSocket>

#include <csignal>
#include <utility>

namespace {

using namespace sim::test;

// The lines of the block the README shows after <!-- KIND: NAME -->, a shell command or a profile.
QString readmeBlock(const char* kind, const char* name) {
    const QString text = QString::fromUtf8(fileBytes(QStringLiteral(SIM_README)));
    const QString marker =
        QStringLiteral("<!-- %1: %2 -->\n```").arg(QLatin1String(kind), QLatin1String(name));
    const qsizetype from = text.indexOf(marker);
    EXPECT_GE(from, 0) << name;
    return text.sliced(from + marker.size()).section(u'\n', 1).section(QLatin1String("\n```"), 0, 0);
}

class Program : public Headless {
protected:
    QTcpServer device;          // the device the test plays when the program dials
    QTcpSocket client;          // the test as the client when the program listens
    QTcpSocket* peer = nullptr; // whichever of them talks to the program

    // Starts the program on the README's example profile `name`, on a port of the test's and with
    // 127.0.0.1 in the address boxes, whatever the example has there; then connects `peer` to it.
    void startExample(const char* name) {
        const QStringList example = readmeBlock("example", name).split(u'\n');
        const bool listens = example.contains(QLatin1String("opt_Client=true"));
        ASSERT_TRUE(device.listen(QHostAddress::LocalHost, 0));
        const int port = listens ? freePort() : device.serverPort();
        QStringList profile = destination(port).mid(0, 4);
        for (const QString& line : example) {
            if (line.section(u'=', 0, 0).endsWith(QLatin1String("_Port"))) {
                profile << line.section(u'=', 0, 0) + u'=' + QString::number(port);
            } else if (!line.startsWith(QLatin1String("txt_Destination_IP("))) {
                profile << line;
            }
        }
        // Only ever 127.0.0.1: the example's own address must never be dialled.
        ASSERT_EQ(profile.filter(QLatin1String("_IP(")), destination(port).mid(0, 4));
        start(profile, {QStringLiteral("--start")});
        if (listens && shows(out, "] : Listen..")) { // it listens once it shows so
            client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
        }
        peer = listens ? &client : (device.waitForNewConnection(5000), device.nextPendingConnection());
        client.waitForConnected(5000);
        ASSERT_TRUE(peer && peer->state() == QAbstractSocket::ConnectedState);
        peer->setSocketOption(QAbstractSocket::LowDelayOption, 1); // a piece goes at once, not after an ack
    }

    // Rows of what is sent, each piece once the program has shown the one before as an arrival, and of the
    // reply that must come, within 5 s in all; then nothing more, and SIGTERM ends the program with 0.
    using Talk = std::vector<std::pair<QList<QByteArray>, QByteArray>>;
    void talk(const Talk& rows) {
        const QDeadlineTimer deadline(5000);
        qsizetype arrivals = 0;
        for (const auto& [said, reply] : rows) {
            for (const QByteArray& piece : said) {
                peer->write(piece);
                peer->waitForBytesWritten(1000);
                for (++arrivals; out.count("] : Recv [") < arrivals && process.waitForReadyRead(100);) {
                    out += process.readAllStandardOutput();
                }
            }
            QByteArray got; // and whatever more came
            while (got.size() < reply.size() && peer->waitForReadyRead(int(deadline.remainingTime()))) {
                got += peer->readAll();
            }
            ASSERT_EQ(got.toHex(' ').toStdString(), reply.toHex(' ').toStdString())
                << "after " << said.join().toHex(' ').data();
        }
        EXPECT_FALSE(deadline.hasExpired()) << "slower than 5 s in all";
        EXPECT_FALSE(peer->waitForReadyRead(200)) << peer->readAll().toHex(' ').data();
        process.terminate();
        EXPECT_EQ(finish(5000), 0);
        EXPECT_TRUE(err.isEmpty()) << err.toStdString();
    }
};

// A run ends at SIGTERM as the operator's Close ends it, and its log files, written on a thread of their own,
// hold every record once it has ended; a run with a duration ends by itself (below).
TEST_F(Program, AnEchoServerAnswersAClientLogsItAndSigtermEndsItAsCloseDoesWithZero) {
    const int port = freePort();
    const QString named = root.filePath(QStringLiteral("logs/echo.dat"));
    start({"opt_Client=true", QStringLiteral("txt_Port=%1").arg(port), "Opt_List_File=true",
           "txt_Logfile=" + named},
          {"--start"});
    ASSERT_TRUE(shows(out, "] : Listen..")) << out.toStdString();
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    ASSERT_TRUE(client.waitForConnected(3000));
    client.write("hello");
    QByteArray echoed; // read before the hang-up, which would otherwise be a reset
    while (echoed.size() < 5 && client.waitForReadyRead(3000)) {
        echoed += client.readAll();
    }
    EXPECT_EQ(echoed, QByteArray("hello"));
    client.disconnectFromHost();
    ASSERT_TRUE(shows(out, "] : Client Disconnected")) << out.toStdString();
    process.terminate();
    EXPECT_EQ(finish(5000), 0) << err.toStdString();
    EXPECT_EQ(out.count("] : Recv [5 byte] :  hello\n"), 1);
    EXPECT_TRUE(out.endsWith("] : Server Closed\n")) << out.toStdString();
    EXPECT_TRUE(err.isEmpty()) << err.toStdString();

    // Started in its home, the program keeps its daily log in its data folder.
    const QDir daily(root.filePath(QStringLiteral("home/.local/share/TK7300_SIMUL/Simulator/log")));
    const QStringList days = daily.entryList({QStringLiteral("STAT_*.log")});
    ASSERT_EQ(days.size(), 1);
    const QByteArray logged = fileBytes(named);
    EXPECT_EQ(fileBytes(daily.filePath(days[0])), logged);
    EXPECT_TRUE(logged.contains("] : Recv [5 byte] : hello\r\n[")) << logged.toStdString();
    EXPECT_TRUE(logged.endsWith("] : Send [5 byte] : hello\r\n")) << logged.toStdString();
}

TEST_F(Program, ARepeatRunOfTwentySendsAtTenMillisecondsSendsThemAllAndEndsAfterItsDuration) {
    QTcpServer peer;
    ASSERT_TRUE(peer.listen(QHostAddress::LocalHost, 0));
    start(destination(peer.serverPort()) + QStringList{"opt_Send_Only=true", "opt_Repeat=true",
                                                       "com_Timegap=0.01", "com_Count=20",
                                                       "txt_Data_Input=ping"},
          {"--start", "--duration=1.5"});
    EXPECT_EQ(finish(), 0) << err.toStdString();
    EXPECT_EQ(out.count("] : Send [4 byte] :  ping\n"), 20);
    EXPECT_TRUE(out.endsWith("] : Client Disconnected\n")) << out.toStdString();
}

// --print-profile needs no display and prints what the profile it is given sets; a bad profile ends a run
// with status 2 before it dials or listens, a failed one with 1 at SIGINT as at SIGTERM.
TEST_F(Program, APrintedProfileLoadsBackABadProfileExitsWithTwoAndAFailedRunWithOne) {
    start({}, {"--print-profile"});
    ASSERT_EQ(finish(), 0) << err.toStdString();
    const QByteArray printed = out;
    EXPECT_TRUE(printed.contains("\ntxt_Destination_IP(0)=100\n")) << printed.toStdString();
    EXPECT_TRUE(fileBytes(root.filePath(QStringLiteral("home/.config/TK7300_SIMUL/Simulator.conf")))
                    .contains("\nPORT=4000\n"))
        << "the settings of the test's own folder were read and saved";
    start(QString::fromUtf8(printed).split(u'\n'), {"--print-profile"});
    ASSERT_EQ(finish(), 0) << err.toStdString();
    EXPECT_EQ(out, printed);

    const QString path = start(destination(freePort()) << "opt_HexA=maybe", {"--start", "--duration=1"});
    EXPECT_EQ(finish(), 2);
    EXPECT_EQ(QString::fromUtf8(err),
              "traffic_simulator: " + path +
                  ":6: opt_HexA: 'maybe' is no value of an option; use true or false\n");
    EXPECT_TRUE(out.isEmpty()) << "no line of a listen or a dial";

    start(destination(freePort()), {"--start", "--quiet"});
    ASSERT_TRUE(shows(err, "Error: E........\n")) << err.toStdString();
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    EXPECT_EQ(finish(), 1);
    EXPECT_TRUE(out.isEmpty()) << "a quiet run prints no row";
}

// The README's examples of answers by rule, run as they are printed there (ports and addresses aside).
// Two hundred polls of a master: each reply carries its request's transaction and unit ids, whether the
// request came whole, in two writes or glued to the next one; other requests get exception 01.
TEST_F(Program, TheModbusExampleAnswersTwoHundredPollsEachWithItsOwnIds) {
    ASSERT_NO_FATAL_FAILURE(startExample("modbus"));
    const auto hex = [](auto... args) { return QByteArray::fromHex(QString::asprintf(args...).toLatin1()); };
    Talk polls;
    for (int i = 0; i < 200; ++i) {
        const int id = i * 257 + 1, unit = i * 37 % 256; // every byte of them changes
        const int function = i % 10 == 8 ? "\1\4\6\3"[i / 10 % 4] : 3;
        const int count = i % 40 == 38 ? 1 : 2; // a read of one register is refused too
        const QByteArray request = hex("%04x 0000 0006 %02x %02x %04x %04x", id, unit, function, i, count);
        const QByteArray reply = function == 3 && count == 2
                                     ? hex("%04x 0000 0007 %02x 03 04 002A 01F4", id, unit)
                                     : hex("%04x 0000 0003 %02x %02x 01", id, unit, 0x80 | function);
        if (i % 10 == 0 && i > 0) { // in one write with the one before
            polls.back().first.front() += request;
            polls.back().second += reply;
        } else { // some in two writes, cut anywhere
            const QByteArrayList cut{request.left(1 + i % 11), request.mid(1 + i % 11)};
            polls.push_back({i % 10 == 7 ? cut : QByteArrayList{request}, reply});
        }
    }
    talk(polls);
}

TEST_F(Program, TheLineExampleAnswersEachCommandInOrderHoweverItIsCutOrGlued) {
    ASSERT_NO_FATAL_FAILURE(startExample("lines"));
    talk({{{"PING\r\n"}, "+PONG\r\n"},
          {{"ECHO hello world\r\n"}, "hello world\r\n"},
          {{"FOO\r\n"}, "-ERR unknown command\r\n"},
          {{"PI", "NG\r", "\n"}, "+PONG\r\n"},
          {{"ECHO \r\nECHO hel", "lo\r\n"}, "\r\nhello\r\n"},
          {{"ECHO a\r\nPING\r\n"}, "a\r\n+PONG\r\n"},
          {{"FOO\r\nECHO b\r\n"}, "-ERR unknown command\r\nb\r\n"},
          {{"PINGPONG\r\n", "ping\r\n"}, "-ERR unknown command\r\n-ERR unknown command\r\n"}});
}

TEST_F(Program, TheStartsExampleDialsAndAnswersAStatusRequestAndEchoesTheRest) {
    ASSERT_NO_FATAL_FAILURE(startExample("starts"));
    using namespace Qt::Literals::StringLiterals;
    talk({{{"\x02\x10\xAA\xBB"_ba}, "\x02\x90\x00\x03"_ba},
          {{"\x05\x06"_ba}, "\x05\x06"_ba},
          {{"\x02"_ba, "\x10\xCC"_ba}, "\x02\x90\x00\x03"_ba}});
}

// A judged repeat run against a line server of the test's: twenty PINGs, each answered +PONG and ended
// after its duration, or one of them -ERR and ended by SIGTERM. The exit status, the line on standard error,
// the JUnit report as a CI system's reader reads it, and the records as jq reads them: every line parses, and
// their payloads are the link's own bytes.
TEST_F(Program, AJudgedRunPassesOrFailsByItsRepliesAndWritesAReportAndRecordsToolsRead) {
    const auto tool = [](const QString& program, const QStringList& arguments) {
        QProcess p;
        p.start(program, arguments);
        EXPECT_TRUE(p.waitForFinished(10000)) << program.toStdString();
        EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
        return QString::fromUtf8(p.readAllStandardOutput());
    };
    const QString junit = QStringLiteral("import sys\nfrom junitparser import JUnitXml\n"
                                         "for suite in JUnitXml.fromfile(sys.argv[1]):\n"
                                         "    print(suite.name, suite.tests, suite.failures)\n"
                                         "    for case in suite:\n"
                                         "        print(case.name, 'failed' if case.result else 'passed')\n");
    for (const int wrong : {0, 7}) {
        SCOPED_TRACE(wrong);
        QTcpServer server;
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        const QString report = root.filePath(QStringLiteral("report.xml"));
        const QString records = root.filePath(QStringLiteral("records.jsonl"));
        start(destination(server.serverPort()) +
                  QStringList{"opt_HexA=true", "opt_Send_Only=true", "com_Timegap=0.02", "com_Count=20",
                              "txt_Data_Input=50494E470D0A", "expect.when=2B504F4E470D0A"},
              {"--start", "--quiet", wrong ? "--quiet" : "--duration=1.2", "--report", report, "--records",
               records});
        ASSERT_TRUE(server.waitForNewConnection(5000));
        QTcpSocket* device = server.nextPendingConnection();
        QByteArray heard, said;
        bool ended = false;
        for (const QDeadlineTimer deadline(5000);
             !deadline.hasExpired() && device->state() == QAbstractSocket::ConnectedState;) {
            if (!device->waitForReadyRead(300) && wrong && said.count('\n') == 20 &&
                !std::exchange(ended, true)) {
                process.terminate(); // the last reply had 300 ms to be judged
            }
            heard += device->readAll();
            for (int line = said.count('\n') + 1; line <= heard.count('\n'); ++line) {
                const QByteArray reply = line == wrong ? "-ERR\r\n" : "+PONG\r\n";
                device->write(reply);
                said += reply;
            }
        }
        EXPECT_EQ(finish(), wrong ? 1 : 0) << err.toStdString();
        EXPECT_EQ(heard.count("PING\r\n"), 20);
        EXPECT_EQ(err.count("expect fail"), wrong ? 1 : 0) << err.toStdString();
        EXPECT_EQ(err.contains(": expected 2B504F4E470D0A (exact): what came cannot match; came 6 bytes: "
                               "2D 45 52 52 0D 0A\n"),
                  wrong != 0);
        EXPECT_EQ(err.contains("traffic_simulator: expect fail: send 7 at "), wrong != 0);
        EXPECT_TRUE(err.contains(wrong ? "summary: 20 sends, 19 replies, 19 expectations passed, 1 failed;"
                                       : "summary: 20 sends, 20 replies, 20 expectations passed, 0 failed;"))
            << err.toStdString();

        QStringList cases{QStringLiteral("run 20 %1").arg(wrong ? 1 : 0)};
        for (int i = 1; i <= 20; ++i) {
            cases << QStringLiteral("send %1 %2").arg(i).arg(i == wrong ? "failed" : "passed");
        }
        EXPECT_EQ(tool("/usr/bin/python3", {"-c", junit, report}).trimmed().split(u'\n'), cases);

        EXPECT_EQ(tool("jq", {"-s", "length", records}).toInt(), fileBytes(records).count('\n'))
            << "every line is one JSON object";
        EXPECT_EQ(tool("jq", {"-j", R"(select(.kind == "send") | .hex)", records}), heard.toHex());
        EXPECT_EQ(tool("jq", {"-j", R"(select(.kind == "recv") | .hex)", records}), said.toHex());
        EXPECT_EQ(
            tool("sh", {"-c", readmeBlock("command", "count-failures").replace("records.jsonl", records)})
                .toInt(),
            wrong ? 1 : 0);
    }
}

// Records to a reader that goes away (`--records - | head`), or that stops reading: the output ends with a
// line on standard error, the run goes on to its end and its log file holds every send.
TEST_F(Program, RecordsToAReaderThatGoesAwayOrStallsFailTheRunButNotItsLog) {
    // head goes away after two lines; sleep stalls the run once the pipe holds 64 KiB.
    const auto readers = {std::tuple{QStringList{"head", "-n2"}, "0.05", "Broken pipe"},
                          std::tuple{QStringList{"sleep", "20"}, "0.001", "the reader took nothing for 5 s"}};
    for (const auto& [command, gap, why] : readers) {
        SCOPED_TRACE(why);
        QTcpServer server;
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        const QString log = root.filePath(QStringLiteral("run.dat"));
        QFile::remove(log);
        QProcess reader;
        process.setStandardOutputProcess(&reader);
        reader.start(command.first(), command.mid(1));
        start(destination(server.serverPort()) +
                  QStringList{"opt_Send_Only=true", QStringLiteral("com_Timegap=%1").arg(gap),
                              "com_Count=3000", "txt_Data_Input=ping", "opt_File=true", "txt_Logfile=" + log},
              {"--start", "--duration=1", "--records", "-"});
        EXPECT_EQ(finish(), 1) << err.toStdString();
        reader.kill();
        reader.waitForFinished(1000);
        EXPECT_EQ(err.count('\n'), 2) << err.toStdString();
        EXPECT_TRUE(
            err.contains(QStringLiteral("traffic_simulator: --records -: a write failed (%1); nothing more "
                                        "is written to it\n")
                             .arg(why)
                             .toUtf8()))
            << err.toStdString();
        const int sends = err.mid(err.indexOf("summary: ")).split(' ').value(1).toInt();
        EXPECT_GT(sends, 9) << err.toStdString();
        EXPECT_EQ(fileBytes(log).count("] : Send [4 byte] : ping\r\n"), sends);
    }
}

} // namespace

int main(int argc, char** argv) {
    return runHeadless(argc, argv, QStringLiteral(SIM_PROGRAM));
}
