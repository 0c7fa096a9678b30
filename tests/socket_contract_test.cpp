// The contract every socket of the program keeps, held against the system's own sockets over loopback.

#include "mixed_platform.h"
#include "support/certificates.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <numeric>

#include <sys/socket.h>

namespace sim::test {
namespace {

// Our socket against a QTcpSocket, the device's end, over 127.0.0.1 on ports the system picks.
class SocketContract : public ::testing::Test {
protected:
    qt::EventGate gate;
    qt::QtEventPump pump{gate};
    qt::QtNetwork network{gate};
    QTcpServer device;
    std::unique_ptr<Socket> socket = network.createSocket(QStringLiteral("Client_Socket"));
    QByteArray got;
    std::vector<int> errors;
    int closes = 0;

    void SetUp() override {
        socket->events.dataArrival = [this](std::int32_t) {
            Bytes chunk;
            socket->getData(chunk);
            got.append(reinterpret_cast<const char*>(chunk.data()), static_cast<qsizetype>(chunk.size()));
        };
        socket->events.error = [this](int number, const QString&, const QString& source) {
            errors.push_back(number);
            EXPECT_EQ(source, QStringLiteral("Client_Socket"));
        };
        socket->events.close = [this] { ++closes; };
    }
    template <class Cond> bool waitFor(Cond cond) { return pumpUntil(pump, cond); }
    // The next link the device accepts, once our socket holds it too.
    QTcpSocket* accepted() {
        const bool linked = waitFor(
            [this] { return device.hasPendingConnections() && socket->state() == socket_state::kConnected; });
        return linked ? device.nextPendingConnection() : nullptr;
    }
    // The number a call fails with, or 0 when it does not fail.
    static int failure(const std::function<void()>& call) {
        try {
            call();
        } catch (const RuntimeFailure& failure) {
            return failure.number();
        }
        return 0;
    }
};

// Listening, a socket accepts a request on itself once closed; a port it holds cannot be taken by another
// socket, a reset is an error, and once closed it listens on its port again at once. As a client it dials
// literal addresses only and sends nothing without a link; after a refused dial it dials afresh. On a link,
// nothing is lost, the peer's close comes only after its last bytes, no second dial on a live link but a
// fresh one once the peer has closed, and a Close the peer sees.
TEST_F(SocketContract, CarriesBytesBothWaysAsAListenerAndAsAClientAndFailsWithTheSystemsNumbers) {
    Socket& s = *socket;
    s.setLocalPort(0);
    s.listen();
    EXPECT_EQ(s.state(), socket_state::kListening);
    const int port = s.localPort();
    const auto other = network.createSocket(QStringLiteral("Server_Socket"));
    other->setLocalPort(port);
    EXPECT_EQ(failure([&] { other->listen(); }), 10048) << "the port is taken";
    EXPECT_EQ(other->state(), socket_state::kClosed);
    s.events.connectionRequest = [&](std::int32_t id) {
        s.close();
        s.accept(id);
    };
    QTcpSocket peer;
    peer.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    ASSERT_TRUE(waitFor([&] {
        return s.state() == socket_state::kConnected && peer.state() == QAbstractSocket::ConnectedState;
    }));
    const linger hard{1, 0}; // a reset rather than a close
    ::setsockopt(static_cast<int>(peer.socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    peer.abort();
    ASSERT_TRUE(waitFor([&] { return !errors.empty(); }));
    EXPECT_EQ(errors, std::vector<int>{10054});
    EXPECT_NE(s.state(), socket_state::kConnected);
    s.close();
    s.setLocalPort(port);
    s.listen(); // a 10048 here fails the test
    s.close();

    for (const char* host : {"localhost", "device.example", "127.1", ""}) {
        s.setRemoteHost(QString::fromLatin1(host));
        EXPECT_EQ(failure([&] { s.connect(); }), 11001) << "a name is never looked up: " << host;
    }
    EXPECT_EQ(failure([&] { s.sendData(bytesOf("x")); }), 40006) << "sent without a link";
    s.setRemoteHost(QStringLiteral("127.0.0.1"));
    s.setRemotePort(port); // where nothing listens any more
    s.connect();
    ASSERT_TRUE(waitFor([&] { return errors.size() == 2; }));
    EXPECT_EQ(errors, (std::vector<int>{10054, 10061}));

    device.listen(QHostAddress::LocalHost, 0);
    s.setRemotePort(device.serverPort());
    s.connect();
    QTcpSocket* first = accepted();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(failure([&] { s.connect(); }), 40006) << "dialled again on a live link";
    QByteArray big(100'000, 0);
    std::iota(big.begin(), big.end(), char{0});
    first->write(big);
    first->disconnectFromHost();
    ASSERT_TRUE(waitFor([&] { return closes == 1; }));
    EXPECT_EQ(got, big);
    EXPECT_EQ(s.state(), socket_state::kClosing);

    s.connect();
    QTcpSocket* second = accepted();
    ASSERT_NE(second, nullptr);
    s.sendData(bytesOf("again"));
    ASSERT_TRUE(waitFor([&] { return second->bytesAvailable() == 5; }));
    EXPECT_EQ(second->readAll(), "again");
    s.close();
    ASSERT_TRUE(waitFor([&] { return second->state() != QAbstractSocket::ConnectedState; }))
        << "the device sees the link end";
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(errors.size(), 2U);
}

// Two TLS sockets, over loopback: the dialling one checks the listener's certificate by its authority and
// the address, both carry bytes decrypted, and bytes left unsent at a Close still reach the other end,
// through the session, before its close_notify ends the link as a close.
TEST_F(SocketContract, TwoTlsSocketsCarryBytesBothWaysAndWhatACloseLeftUnsentBeforeCloseNotify) {
    const Certificates c;
    ASSERT_TRUE(c.made);
    QString why;
    const auto server = network.createSocket(QStringLiteral("Server_Socket"));
    Socket& l = *server;
    l.setTls(
        tls::Context::make({c.crt("device"), c.key("device"), {}, true, {}}, tls::Role::Listening, &why));
    l.events.connectionRequest = [&](std::int32_t id) {
        l.close();
        l.accept(id);
    };
    Bytes heard;
    l.events.dataArrival = [&](std::int32_t) { l.getData(heard); };
    l.setLocalPort(0);
    l.listen();
    Socket& s = *socket;
    s.setTls(tls::Context::make({{}, {}, c.crt("ca"), true, {}}, tls::Role::Dialling, &why));
    s.setRemoteHost(QStringLiteral("127.0.0.1"));
    s.setRemotePort(l.localPort());
    s.connect();
    ASSERT_TRUE(waitFor([&] { return s.state() == socket_state::kConnected; }));
    EXPECT_EQ(s.tlsDescription().section(" until ", 0, 0), "TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device");
    s.sendData(bytesOf("hello"));
    ASSERT_TRUE(waitFor([&] { return heard == bytesOf("hello"); }));
    EXPECT_EQ(l.tlsDescription(), QStringLiteral("TLSv1.3 TLS_AES_256_GCM_SHA384"));
    l.sendData(Bytes(4'000'000, 0x5A));
    l.close();
    ASSERT_TRUE(waitFor([&] { return closes == 1; }));
    EXPECT_TRUE(got == QByteArray(4'000'000, 0x5A)) << got.size() << " bytes came";
    EXPECT_TRUE(errors.empty());
}

} // namespace
} // namespace sim::test
