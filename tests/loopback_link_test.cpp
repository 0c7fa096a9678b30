// A link that holds up on 127.0.0.1: a device that hangs up is dialled again.

#include "mixed_platform.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

QStringList rowsOf(const Panel& p) {
    return QStringList(p.List1.rows().begin(), p.List1.rows().end());
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
                connect(s, &QTcpSocket::readyRead, this,
                        [this, s, i = links.size() - 1] { received[i] += s->readAll(); });
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
    explicit Dialling(const Device& device) {
        const char* octets[] = {"127", "0", "0", "1"};
        for (int i = 0; i < 4; ++i) {
            p.txt_Destination_IP(i).setText(QString::fromLatin1(octets[i]));
        }
        p.txt_Destination_Port.setText(QString::number(device.port()));
    }
    bool waitFor(const std::function<bool()>& cond, int limitMs = 5000) {
        return pumpUntil(mixed.pump, cond, limitMs);
    }
};

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
