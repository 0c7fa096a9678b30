// Links that hold up on 127.0.0.1: a peer that sends without reading, and a device that hangs up.

#include "mixed_platform.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace sim::test {
namespace {

constexpr qsizetype kPour = qsizetype{48} << 20; // more than every buffer on the way can hold

QByteArray pattern(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 31 + i / 4093) % 251);
    }
    return bytes;
}

QStringList rowsOf(const Panel& p) {
    return p.List1.rows();
}

// A peer's end that pours a pattern without reading what comes back, until the pour has stalled (the
// other side has stopped reading), and then reads everything. A stall is two quiet spells in a row with
// nothing the system would take in between, so a moment the test process was not scheduled is none.
class Pourer : public QObject {
public:
    explicit Pourer(QTcpSocket& socket) : socket_(socket), all_(pattern(kPour)) {
        socket_.setReadBufferSize(4096); // Qt takes no more than this from the system while not reading
        stall_.setSingleShot(true);
        stall_.setInterval(300);
        connect(&socket_, &QTcpSocket::bytesWritten, this, [this] { pour(); });
        connect(&socket_, &QTcpSocket::readyRead, this, [this] {
            if (stalled()) {
                got += socket_.readAll();
            }
        });
        connect(&stall_, &QTimer::timeout, this, [this] {
            if (!quiet_ || socket_.flush()) {
                quiet_ = true;
                stall_.start();
                return;
            }
            handedAtStall = poured_ - socket_.bytesToWrite();
            if (onStall) {
                onStall();
            }
            socket_.setReadBufferSize(0);
            got += socket_.readAll();
        });
    }
    void pour() {
        while (poured_ < all_.size() && socket_.bytesToWrite() < (1 << 20)) {
            const qsizetype n = std::min<qsizetype>(65536, all_.size() - poured_);
            socket_.write(all_.constData() + poured_, n);
            poured_ += n;
        }
        if (!stalled()) {
            quiet_ = false;
            stall_.start();
        }
    }
    bool stalled() const { return handedAtStall >= 0; }
    bool done() const { return got.size() >= all_.size(); }
    const QByteArray& all() const { return all_; }

    qsizetype handedAtStall = -1; // what the system had taken when the pour stalled
    QByteArray got;
    std::function<void()> onStall;

private:
    QTcpSocket& socket_;
    QByteArray all_;
    qsizetype poured_ = 0;
    QTimer stall_;
    bool quiet_ = false;
};

TEST(LoopbackBackpressure, AClientThatPoursWithoutReadingIsSlowedAndGetsEveryByteBackInOrder) {
    MixedForm f;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const auto port = probe.serverPort();
    probe.close();
    f.op.click(f.p.opt_Client);
    f.op.click(f.p.opt_None);
    f.p.txt_Port.setText(QString::number(port));
    QTcpSocket client;
    Pourer pourer(client);
    QObject::connect(&client, &QTcpSocket::connected, &pourer, [&] { pourer.pour(); });
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        if (f.p.Server_Socket.state() == socket_state::kListening &&
            client.state() == QAbstractSocket::UnconnectedState) {
            client.connectToHost(QHostAddress::LocalHost, port);
        }
        if (pourer.done()) {
            f.op.click(f.p.cmd_End);
        }
    });
    driver.start(5);
    QTimer::singleShot(20000, &driver, [&] { f.op.click(f.p.cmd_End); }); // a hang fails, not waits
    f.op.click(f.p.Cmd_Start);                                            // returns when listening has ended
    ASSERT_TRUE(pourer.stalled());
    EXPECT_LT(pourer.handedAtStall, kPour) << "the simulator stopped reading";
    EXPECT_EQ(pourer.got.size(), kPour);
    EXPECT_TRUE(pourer.got == pourer.all()) << "every byte echoed, in order";
}

// A device on 127.0.0.1 that keeps every link it accepts and what arrived on each.
class Device : public QObject {
public:
    Device() {
        server_.listen(QHostAddress::LocalHost, 0);
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                links.push_back(s);
                received.emplace_back();
                connect(s, &QTcpSocket::readyRead, this, [this, s, i = links.size() - 1] {
                    if (!s->property("pours").toBool()) {
                        received[i] += s->readAll();
                    }
                });
            }
        });
    }
    int port() const { return server_.serverPort(); }
    std::vector<QTcpSocket*> links;
    std::vector<QByteArray> received;

private:
    QTcpServer server_;
};

struct Dialling : MixedForm {
    explicit Dialling(const Device& device) { pointAtLoopback(p, device.port()); }
    bool waitFor(const std::function<bool()>& cond, int limitMs = 5000) {
        return pumpUntil(mixed.pump, cond, limitMs);
    }
};

TEST(LoopbackBackpressure, ADeviceThatReadsNothingGetsEveryEchoAndTheOperatorsSendFailsMeanwhile) {
    Device device;
    Dialling f(device);
    f.op.click(f.p.opt_None); // the flood is echoed unrecorded; the operator's send is recorded
    f.op.click(f.p.Cmd_Start);
    ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    ASSERT_TRUE(f.waitFor([&] { return device.links.size() == 1; }));
    QTcpSocket& link = *device.links[0];
    link.setProperty("pours", true);
    Pourer pourer(link);
    bool failedWhileStuck = false;
    pourer.onStall = [&] {
        f.op.click(f.p.opt_List); // the level stays live during a link
        f.keys.type(f.p.txt_Data_Input, QStringLiteral("PING"));
        f.op.click(f.p.Cmd_Send);
        failedWhileStuck = rowsOf(f.p).last().endsWith(QStringLiteral("] : Send Fail"));
        f.op.click(f.p.opt_None);
    };
    pourer.pour();
    ASSERT_TRUE(f.waitFor([&] { return pourer.done(); }, 20000));
    EXPECT_LT(pourer.handedAtStall, kPour) << "the simulator stopped reading";
    EXPECT_TRUE(failedWhileStuck);
    EXPECT_TRUE(pourer.got == pourer.all()) << "every byte echoed, in order, and no PING among them";
    f.op.click(f.p.opt_List);
    f.op.click(f.p.Cmd_Send); // room again once the device has read
    ASSERT_TRUE(f.waitFor([&] { return pourer.got.size() == kPour + 4; }));
    EXPECT_TRUE(pourer.got.endsWith("PING"));
    EXPECT_TRUE(rowsOf(f.p)
                    .filter(QStringLiteral("] : Send "))
                    .last()
                    .endsWith(QStringLiteral("] : Send [4 byte] :  PING")));
}

TEST(LoopbackRedial, SendDialsAgainAfterTheDeviceHungUp) {
    Device device;
    Dialling f(device);
    f.op.click(f.p.opt_Receive_Only);
    f.p.txt_Data_Input.setText(QStringLiteral("again"));
    f.op.click(f.p.Cmd_Start);
    ASSERT_TRUE(f.waitFor([&] { return device.links.size() == 1; }));
    device.links[0]->disconnectFromHost();
    // The watcher reports the lost link within its second.
    ASSERT_TRUE(
        f.waitFor([&] { return rowsOf(f.p).last().endsWith(QStringLiteral("] : Connection Fail")); }, 3000));
    f.op.click(f.p.Cmd_Send);
    ASSERT_TRUE(f.waitFor([&] { return device.received.size() == 2 && device.received[1].size() == 5; }));
    EXPECT_EQ(device.received[1], QByteArray("again"));
    EXPECT_TRUE(device.received[0].isEmpty());
    const QStringList rows = rowsOf(f.p);
    ASSERT_EQ(rows.size(), 5) << rows.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(rows[0].endsWith(QStringLiteral("] : Connection Success")));
    EXPECT_TRUE(rows[1].endsWith(QStringLiteral("] : Connection Fail")));
    EXPECT_TRUE(rows[2].endsWith(QStringLiteral("] : Connection Success")));
    EXPECT_TRUE(rows[3].endsWith(QStringLiteral("] : Send [5 byte] :  again")));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
}

} // namespace
} // namespace sim::test
