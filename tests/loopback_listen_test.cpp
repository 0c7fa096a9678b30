// The simulator listening on 127.0.0.1 for a device that is the client, on the Qt platform.

#include "mixed_platform.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

struct Listening : MixedForm {
    int port = freePort();
    QTimer driver;
    Listening() {
        op.click(p.opt_Client);
        p.txt_Port.setText(QString::number(port));
        driver.start(5);
        // Whatever happens, listening ends within five seconds.
        QTimer::singleShot(5000, &driver, [this] { op.click(p.cmd_End); });
    }
    QStringList rows() const { return p.List1.rows(); }
};

TEST(LoopbackListen, ServesAClientThatLeavesAndComesBackAtOnce) {
    Listening f;
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
            client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(f.port));
        }
    });
    QElapsedTimer sincePress;
    qint64 listeningAfter = -1;
    QObject::connect(&f.driver, &QTimer::timeout, [&] {
        if (listeningAfter < 0 && f.p.List1.listCount() > 0) {
            listeningAfter = sincePress.elapsed();
        }
        if (round == 0 && f.p.Server_Socket.state() == socket_state::kListening &&
            client.state() == QAbstractSocket::UnconnectedState) {
            client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(f.port));
        } else if (round == 1 && got == "round1") {
            client.disconnectFromHost();
            client.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(f.port)); // at once
        } else if (round == 2 && got == "round1round2") {
            f.op.click(f.p.cmd_End);
        }
    });
    sincePress.start();
    f.op.click(f.p.Cmd_Start); // returns when listening has ended
    EXPECT_EQ(got, QByteArray("round1round2"));
    EXPECT_GE(listeningAfter, 0);
    EXPECT_LT(listeningAfter, 500) << "a listen that succeeds is reported at once, not at the wait's tick";
    const QStringList rows = f.rows();
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Connected")).size(), 2);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Client Disconnected")).size(), 1);
    EXPECT_EQ(rows.filter(QStringLiteral("] : Listen..")).size(), 2);
    EXPECT_TRUE(rows.last().endsWith(QStringLiteral("] : Server Closed")));
    EXPECT_EQ(f.p.Server_Socket.state(), socket_state::kClosed);
}

TEST(LoopbackListen, APortInUseGivesListenFailLinesAndTheOperatorCanStillStop) {
    Listening f;
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::Any, static_cast<quint16>(f.port)));
    QObject::connect(&f.driver, &QTimer::timeout, [&] {
        if (f.p.List1.listCount() >= 5 && f.p.cmd_End.takesInput()) {
            f.op.click(f.p.cmd_End);
        }
    });
    f.op.click(f.p.Cmd_Start);
    const QStringList rows = f.rows();
    EXPECT_GE(rows.filter(QStringLiteral("] : Listen Fail")).size(), 5);
    EXPECT_TRUE(rows.last().endsWith(QStringLiteral("] : Server Closed")));
    EXPECT_TRUE(f.p.Cmd_Start.enabled());
}

} // namespace
} // namespace sim::test
