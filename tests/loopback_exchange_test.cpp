// Whole exchanges with a device on 127.0.0.1, on the Qt event loop and the system's sockets.

#include "loopback_device.h"
#include "support/files.h"

#include <QDir>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <random>

namespace sim::test {
namespace {

TEST(LoopbackExchange, SendsAsciiAndHexToAnEchoingDeviceAndLogsEveryLineByteForByte) {
    Device device([](const QByteArray& piece) { return piece; });
    Loopback f(device);
    f.op.click(f.p.Opt_List_File);
    f.op.click(f.p.opt_Receive_Only); // the device echoes; the simulator only records
    f.op.click(f.p.Cmd_Start);
    ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("HELLO"));
    f.op.click(f.p.Cmd_Send);
    ASSERT_TRUE(f.waitFor([&] { return f.rows().filter(QStringLiteral("Recv")).size() == 1; }));
    f.op.click(f.p.cmd_End);

    f.op.click(f.p.opt_HexA);
    f.op.click(f.p.Cmd_Start);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("410A00FF"));
    f.op.click(f.p.Cmd_Send);
    ASSERT_TRUE(f.waitFor([&] { return f.rows().filter(QStringLiteral("Recv")).size() == 2; }));
    EXPECT_EQ(device.received, QByteArray("HELLO") + QByteArray::fromHex("410A00FF"));

    const QStringList rows = f.rows();
    ASSERT_EQ(rows.size(), 11) << rows.join(QLatin1Char('\n')).toStdString();
    const QRegularExpression stamp(QStringLiteral("^\\[\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\] : "));
    EXPECT_TRUE(rows[1].contains(
        QRegularExpression(stamp.pattern() + QStringLiteral("Send \\[5 byte\\] :  HELLO$"))));
    EXPECT_TRUE(rows[3].endsWith(QStringLiteral("] : Recv [5 byte] :  HELLO")));
    EXPECT_TRUE(rows[7].endsWith(QStringLiteral("] : Send [4 byte] :  41 A 00 FF")));
    EXPECT_TRUE(rows[9].endsWith(QStringLiteral("] : Recv [4 byte] :  41 A 00 FF")));
    const QByteArray expected = Loopback::asFileLine(rows[0], false) + Loopback::asFileLine(rows[1], true) +
                                Loopback::asFileLine(rows[3], true) + Loopback::asFileLine(rows[6], false) +
                                Loopback::asFileLine(rows[7], false) + Loopback::asFileLine(rows[9], false);
    EXPECT_TRUE(rows[5].endsWith(QStringLiteral("] : Client Disconnected")))
        << "Close's line stays in the list";
    f.mixed.files.flush(); // the lines reach the files on a thread of their own
    EXPECT_EQ(fileBytes(f.p.txt_Logfile.text()), expected);
    EXPECT_EQ(fileBytes(f.dailyLog()), expected);
}

TEST(LoopbackExchange, TheDevicesBytesComeBackUnchanged) {
    Device device;
    Loopback f(device);
    f.op.click(f.p.Cmd_Start);
    ASSERT_TRUE(f.waitFor([&] { return device.link() != nullptr; }));
    const QByteArray bytes = QByteArray::fromHex("00FF0D0A41");
    device.link()->write(bytes);
    ASSERT_TRUE(f.waitFor([&] { return device.received.size() == bytes.size(); }));
    EXPECT_EQ(device.received, bytes);
}

TEST(LoopbackExchange, ConnectAndCloseEndsTheLinkAfterTheFirstAnswer) {
    Device device([](const QByteArray&) { return QByteArray("ack"); });
    Loopback f(device);
    f.op.click(f.p.Opt_Cnn2);
    f.op.click(f.p.opt_Receive_Only);
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("req"));
    f.op.click(f.p.cmd_CSend);
    ASSERT_TRUE(f.waitFor([&] { return device.closes == 1; }));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kClosed);
    EXPECT_TRUE(f.rows().last().endsWith(QStringLiteral("] : Client Disconnected")));
    EXPECT_EQ(f.rows().filter(QStringLiteral("Recv [3 byte] :  ack")).size(), 1);
}

TEST(LoopbackExchange, AnUnreachablePortFailsWithAnErrorReport) {
    Device device;
    Loopback f(device);
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    f.p.txt_Destination_Port.setText(QString::number(probe.serverPort()));
    probe.close();
    f.op.click(f.p.Cmd_Start);
    EXPECT_TRUE(f.rows().last().endsWith(QStringLiteral("] : Connection Fail")));
    EXPECT_TRUE(
        f.rows().first().endsWith(QStringLiteral("Client Socket Error : Referance Err_Log File ....... ")));
    ASSERT_EQ(f.mixed.dialogs.shown.size(), 1U);
    f.mixed.files.flush();
    const QByteArray report =
        fileBytes(f.mixed.folders.programFolder() + QStringLiteral("/Err_Log/") +
                  QDate::currentDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".txt"));
    EXPECT_TRUE(report.contains("Err Number : 10061\r\nErr Desc : Connection is forcefully rejected\r\nErr "
                                "Source : Client_Socket\r\n\r\n"));
}

// The device sends 1 MiB in pieces of random size to a simulator that echoes.
void echoOneMebibyte(bool list) {
    Device device;
    Loopback f(device);
    f.op.click(list ? f.p.opt_List : f.p.opt_None);
    long recorded = 0;
    const QRegularExpression head(QStringLiteral("^\\[[0-9:.]+\\] : (Recv|Send) \\[(\\d+) byte\\]"));
    f.p.observer = [&](Control* c, Prop prop) {
        // The rows of a record reach the screen together, ending in its closing row; its head is the
        // last head above that.
        const auto& rows = f.p.List1.rows();
        if (c != &f.p.List1 || prop != Prop::Rows || rows.empty() || rows.back() != QStringLiteral(" ")) {
            return;
        }
        for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
            const auto match = head.match(*row);
            if (match.hasMatch()) {
                recorded += match.captured(1) == QStringLiteral("Recv") ? match.captured(2).toLong() : 0;
                break;
            }
        }
    };
    f.op.click(f.p.Cmd_Start);
    ASSERT_TRUE(f.waitFor([&] { return device.link() != nullptr; }));
    QByteArray sent;
    std::mt19937 random(42);
    while (sent.size() < (1 << 20)) {
        const int size = std::min<int>(std::uniform_int_distribution<int>(1, 9000)(random),
                                       (1 << 20) - static_cast<int>(sent.size()));
        QByteArray piece(size, Qt::Uninitialized);
        for (char& b : piece) {
            b = static_cast<char>(random());
        }
        device.link()->write(piece);
        sent.append(piece);
    }
    ASSERT_TRUE(f.waitFor([&] { return device.received.size() >= sent.size(); }, 20000));
    EXPECT_TRUE(device.received == sent) << "the echo equals what was sent";
    if (list) {
        EXPECT_EQ(recorded, 1 << 20);
        EXPECT_LE(f.p.List1.listCount(), 2001);
    }
    f.p.observer = nullptr;
}

TEST(LoopbackExchange, NothingIsLostEchoingOneMebibyteAtLevelNone) {
    echoOneMebibyte(false);
}

TEST(LoopbackExchange, NothingIsLostEchoingOneMebibyteAtLevelList) {
    echoOneMebibyte(true);
}

} // namespace
} // namespace sim::test
