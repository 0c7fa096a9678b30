// Whole exchanges with a device on 127.0.0.1, on the Qt event loop and the system's sockets. Every wait
// ends by itself within seconds.

#include "mixed_platform.h"
#include "support/files.h"

#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <random>

namespace sim::test {
namespace {

// A device that listens on a port the system picks, keeps every link it accepts with what arrived on
// it, and answers each piece it receives with what `reply` makes of it.
class Device : public QObject {
public:
    explicit Device(std::function<QByteArray(const QByteArray&)> reply = {}) : reply_(std::move(reply)) {
        server_.listen(QHostAddress::LocalHost, 0);
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                links.push_back(s);
                received.emplace_back();
                connect(s, &QTcpSocket::readyRead, this, [this, s, i = links.size() - 1] {
                    const QByteArray piece = s->readAll();
                    received[i] += piece;
                    if (reply_) {
                        s->write(reply_(piece));
                    }
                });
                connect(s, &QTcpSocket::disconnected, this, [this] { ++closes; });
            }
        });
    }
    int port() const { return server_.serverPort(); }
    std::vector<QTcpSocket*> links;
    std::vector<QByteArray> received;
    int closes = 0;

private:
    QTcpServer server_;
    std::function<QByteArray(const QByteArray&)> reply_;
};

// The form on the Qt platform, its destination the device.
struct Loopback : MixedForm {
    explicit Loopback(const Device& device) { pointAtLoopback(p, device.port()); }
    bool waitFor(const std::function<bool()>& cond, int limitMs = 5000) {
        return pumpUntil(mixed.pump, cond, limitMs);
    }
    QStringList rows() const { return p.List1.rows(); }
};

TEST(LoopbackExchange, SendsAsciiAndHexToAnEchoingDeviceAndLogsEveryLineByteForByte) {
    Device device([](const QByteArray& piece) { return piece; });
    Loopback f(device);
    f.op.click(f.p.Opt_List_File);
    f.op.click(f.p.opt_Receive_Only); // the device echoes; the simulator only records
    const char* payloads[] = {"HELLO", "410A00FF"};
    for (int round = 1; round <= 2; ++round) {
        if (round == 2) {
            f.op.click(f.p.opt_HexA);
        }
        f.op.click(f.p.Cmd_Start);
        ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
        f.keys.type(f.p.txt_Data_Input, QString::fromLatin1(payloads[round - 1]));
        f.op.click(f.p.Cmd_Send);
        ASSERT_TRUE(f.waitFor([&] { return f.rows().filter(QStringLiteral("Recv")).size() == round; }));
        f.op.click(f.p.cmd_End);
        ASSERT_TRUE(f.waitFor([&] { return device.closes == round; })) << "the device sees the link end";
    }
    EXPECT_EQ(device.received, (std::vector<QByteArray>{"HELLO", QByteArray::fromHex("410A00FF")}));

    const QStringList rows = f.rows();
    // The stamps are the system's time of day: the rows are compared without them.
    QStringList unstamped = rows;
    unstamped.replaceInStrings(QRegularExpression(QStringLiteral("^\\[\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\]")),
                               QStringLiteral("[stamp]"));
    EXPECT_EQ(unstamped,
              (QStringList{"[stamp] : Connection Success", "[stamp] : Send [5 byte] :  HELLO", " ",
                           "[stamp] : Recv [5 byte] :  HELLO", " ", "[stamp] : Client Disconnected",
                           "[stamp] : Connection Success", "[stamp] : Send [4 byte] :  41 A 00 FF", "",
                           "[stamp] : Recv [4 byte] :  41 A 00 FF", "", "[stamp] : Client Disconnected"}));
    // The files hold Connection Success and the records' heads with the list's stamps, an ASCII text
    // behind a single blank.
    const auto line = [&](int row, const char* rest) {
        return rows[row].left(14).toLatin1() + rest + "\r\n";
    };
    const QByteArray expected = line(0, " : Connection Success") + line(1, " : Send [5 byte] : HELLO") +
                                line(3, " : Recv [5 byte] : HELLO") + line(6, " : Connection Success") +
                                line(7, " : Send [4 byte] :  41 A 00 FF") +
                                line(9, " : Recv [4 byte] :  41 A 00 FF");
    f.mixed.files.flush(); // the lines reach the files on a thread of their own
    EXPECT_EQ(fileBytes(f.p.txt_Logfile.text()), expected);
    EXPECT_EQ(fileBytes(f.mixed.folders.workingFolder() + QStringLiteral("/log/STAT_") +
                        QDate::currentDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".log")),
              expected);
}

TEST(LoopbackListen, ServesAClientThatLeavesAndComesBackAtOnce) {
    MixedForm f;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const auto port = probe.serverPort();
    probe.close();
    f.op.click(f.p.opt_Client);
    f.p.txt_Port.setText(QString::number(port));
    QTimer driver;
    driver.start(5);
    // Whatever happens, listening ends within five seconds.
    QTimer::singleShot(5000, &driver, [&] { f.op.click(f.p.cmd_End); });
    QTcpSocket client;
    QByteArray got;
    int round = 0;
    QObject::connect(&client, &QTcpSocket::readyRead, [&] { got += client.readAll(); });
    QObject::connect(&client, &QTcpSocket::connected,
                     [&] { client.write(QByteArray("round") + QByteArray::number(++round)); });
    // A refused connect, while the simulator has not listened again yet, is tried once more.
    QObject::connect(&client, &QTcpSocket::errorOccurred, [&](QAbstractSocket::SocketError e) {
        if (e == QAbstractSocket::ConnectionRefusedError) {
            client.abort();
            client.connectToHost(QHostAddress::LocalHost, port);
        }
    });
    QElapsedTimer sincePress;
    qint64 listeningAfter = -1;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        if (listeningAfter < 0 && f.p.List1.listCount() > 0) {
            listeningAfter = sincePress.elapsed();
        }
        if (round == 0 && f.p.Server_Socket.state() == socket_state::kListening &&
            client.state() == QAbstractSocket::UnconnectedState) {
            client.connectToHost(QHostAddress::LocalHost, port);
        } else if (round == 1 && got == "round1") {
            client.disconnectFromHost();
            client.connectToHost(QHostAddress::LocalHost, port); // at once
        } else if (round == 2 && got == "round1round2") {
            f.op.click(f.p.cmd_End);
        }
    });
    sincePress.start();
    f.op.click(f.p.Cmd_Start); // returns when listening has ended
    EXPECT_EQ(got, QByteArray("round1round2"));
    EXPECT_GE(listeningAfter, 0);
    EXPECT_LT(listeningAfter, 500) << "a listen that succeeds is reported at once, not at the wait's tick";
    const QStringList rows = f.p.List1.rows();
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Connected")).size(), 2);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Disconnected")).size(), 1);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Listen..")).size(), 2);
    EXPECT_TRUE(rows.last().endsWith(QStringLiteral("] : Server Closed")));
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
}

TEST(LoopbackBackpressure, ADeviceThatReadsNothingGetsEveryEchoAndTheOperatorsSendFailsMeanwhile) {
    Device device;
    Loopback f(device);
    f.op.click(f.p.opt_None); // the flood is echoed unrecorded; the operator's send is recorded
    f.op.click(f.p.Cmd_Start);
    ASSERT_TRUE(f.waitFor([&] { return device.links.size() == 1; }));
    // The device pours more than every buffer on the way can hold, and reads nothing meanwhile.
    QTcpSocket& link = *device.links[0];
    QObject::disconnect(&link, &QTcpSocket::readyRead, &device, nullptr);
    link.setReadBufferSize(4096); // Qt takes no more than this from the system while not reading
    QByteArray pour(qsizetype{48} << 20, Qt::Uninitialized);
    std::mt19937 random(7);
    for (char& b : pour) {
        b = static_cast<char>(random());
    }
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
    ASSERT_TRUE(f.waitFor([&] { return quietSpells == 2; }, 20000));
    spell.stop();
    EXPECT_GT(left, 0) << "the simulator stopped reading";
    f.op.click(f.p.opt_List); // the level stays live during a link
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("PING"));
    f.op.click(f.p.Cmd_Send);
    EXPECT_TRUE(f.rows().last().endsWith(QStringLiteral("] : Send Fail")));
    f.op.click(f.p.opt_None);

    QByteArray got;
    QObject::connect(&link, &QTcpSocket::readyRead, [&] { got += link.readAll(); });
    link.setReadBufferSize(0);
    got += link.readAll();
    ASSERT_TRUE(f.waitFor([&] { return got.size() >= pour.size(); }, 20000));
    EXPECT_TRUE(got == pour) << "every byte echoed, in order, and no PING among them";
    f.op.click(f.p.opt_List);
    f.op.click(f.p.Cmd_Send); // room again once the device has read
    ASSERT_TRUE(f.waitFor([&] { return got.size() == pour.size() + 4; }));
    EXPECT_TRUE(got.endsWith("PING"));
    EXPECT_TRUE(f.rows()
                    .filter(QStringLiteral("] : Send "))
                    .last()
                    .endsWith(QStringLiteral("] : Send [4 byte] :  PING")));
}

} // namespace
} // namespace sim::test
