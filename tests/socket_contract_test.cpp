// One contract, two sockets: the simulated one the scenario tests use and the real one over loopback.

#include "platform/qt/qt_event_loop.h"
#include "platform/qt/qt_network.h"
#include "support/sim_platform.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <gtest/gtest.h>

#include <sys/socket.h>

namespace sim::test {
namespace {

// The device's end of a link.
class Peer {
public:
    virtual ~Peer() = default;
    virtual void send(const Bytes& bytes) = 0;
    virtual void close() = 0;
    virtual void reset() = 0;
    virtual const Bytes& received() = 0;
    // A peer whose receive path is stuck, and its recovery.
    virtual void stopReading() = 0;
    virtual void startReading() = 0;
};

Bytes pattern(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>((i * 7 + i / 256 + seed) % 251);
    }
    return bytes;
}

// ---- simulated ----

class SimPeer : public Peer {
public:
    explicit SimPeer(std::shared_ptr<DeviceLink> link) : link_(std::move(link)) {}
    void send(const Bytes& bytes) override { link_->send(bytes); }
    void close() override { link_->close(); }
    void reset() override { link_->reset(); }
    const Bytes& received() override { return link_->received(); }
    void stopReading() override { link_->stopReading(); }
    void startReading() override { link_->startReading(); }

private:
    std::shared_ptr<DeviceLink> link_;
};

class SimHarness {
public:
    static constexpr bool kReal = false;
    Network& network() { return sim_.network; }
    template <class Cond> bool waitFor(Cond cond) {
        sim_.scheduler.setHorizon(sim_.scheduler.now() + 60'000);
        try {
            while (!cond()) {
                sim_.scheduler.pump();
            }
        } catch (const StuckPump&) {
            return false;
        }
        return true;
    }
    int deviceListens() {
        sim_.network.deviceListens(QStringLiteral("127.0.0.1"), 4100);
        return 4100;
    }
    int deadPort() { return 4101; }
    // The next link the device accepts.
    std::shared_ptr<Peer> acceptedPeer() {
        if (!waitFor([this] { return sim_.network.lastLink() != accepted_; })) {
            return nullptr;
        }
        accepted_ = sim_.network.lastLink();
        return std::make_shared<SimPeer>(accepted_);
    }
    std::shared_ptr<Peer> dial(int port) {
        auto link = sim_.network.deviceConnects(port);
        return link ? std::make_shared<SimPeer>(link) : nullptr;
    }
    void occupy(int port) { sim_.network.occupy(port); }

private:
    SimPlatform sim_;
    std::shared_ptr<DeviceLink> accepted_;
};

// ---- real, over 127.0.0.1 ----

class QtPeer : public Peer {
public:
    explicit QtPeer(QTcpSocket* socket) : socket_(socket) {
        QObject::connect(socket_, &QTcpSocket::readyRead, [this] {
            if (reading_) {
                take();
            }
        });
    }
    void send(const Bytes& bytes) override {
        socket_->write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
    }
    void close() override { socket_->disconnectFromHost(); }
    void reset() override {
        const linger hard{1, 0};
        ::setsockopt(static_cast<int>(socket_->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard,
                     sizeof hard);
        socket_->abort();
    }
    const Bytes& received() override { return received_; }
    // Qt stops taking bytes from the system once its small buffer is full.
    void stopReading() override {
        reading_ = false;
        socket_->setReadBufferSize(4096);
    }
    void startReading() override {
        reading_ = true;
        socket_->setReadBufferSize(0);
        take();
    }

private:
    void take() {
        const QByteArray b = socket_->readAll();
        received_.insert(received_.end(), b.begin(), b.end());
    }
    QTcpSocket* socket_;
    Bytes received_;
    bool reading_ = true;
};

class QtHarness {
public:
    static constexpr bool kReal = true;
    QtHarness() { wake_.start(20); } // waits re-check their condition at least this often
    Network& network() { return network_; }
    template <class Cond> bool waitFor(Cond cond) {
        QElapsedTimer clock;
        clock.start();
        while (!cond()) {
            if (clock.elapsed() > 5000) {
                return false;
            }
            pump_.pump();
        }
        return true;
    }
    int deviceListens() {
        server_.listen(QHostAddress::LocalHost, 0);
        return server_.serverPort();
    }
    int deadPort() {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const int port = probe.serverPort();
        probe.close();
        return port;
    }
    std::shared_ptr<Peer> acceptedPeer() {
        if (!waitFor([this] { return server_.hasPendingConnections(); })) {
            return nullptr;
        }
        return std::make_shared<QtPeer>(server_.nextPendingConnection());
    }
    std::shared_ptr<Peer> dial(int port) {
        auto* socket = new QTcpSocket(&server_);
        socket->connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
        if (!waitFor([socket] { return socket->state() == QAbstractSocket::ConnectedState; })) {
            return nullptr;
        }
        return std::make_shared<QtPeer>(socket);
    }
    void occupy(int port) { blocker_.listen(QHostAddress::Any, static_cast<quint16>(port)); }

private:
    qt::EventGate gate_;
    qt::QtEventPump pump_{gate_};
    qt::QtNetwork network_{gate_};
    QTcpServer server_;
    QTcpServer blocker_;
    QTimer wake_;
};

// ---- the contract ----

template <class H> class SocketContract : public ::testing::Test {
protected:
    H h;
    std::unique_ptr<Socket> socket = h.network().createSocket(QStringLiteral("Client_Socket"));
    std::vector<int> arrivals;
    Bytes got;
    std::vector<int> errors;
    int closes = 0;

    void SetUp() override {
        socket->events.dataArrival = [this](std::int32_t n) {
            arrivals.push_back(n);
            Bytes chunk;
            socket->getData(chunk);
            got.insert(got.end(), chunk.begin(), chunk.end());
        };
        socket->events.error = [this](int number, const QString&, const QString& source) {
            errors.push_back(number);
            EXPECT_EQ(source, QStringLiteral("Client_Socket"));
        };
        socket->events.close = [this] { ++closes; };
    }

    std::shared_ptr<Peer> connected() {
        const int port = h.deviceListens();
        socket->setProtocol(0);
        socket->setRemoteHost(QStringLiteral("127.0.0.1"));
        socket->setRemotePort(port);
        socket->connect();
        auto peer = h.acceptedPeer();
        EXPECT_TRUE(h.waitFor([this] { return socket->state() == socket_state::kConnected; }));
        return peer;
    }
};

using Harnesses = ::testing::Types<SimHarness, QtHarness>;
struct HarnessNames {
    template <class T> static std::string GetName(int) { return T::kReal ? "Loopback" : "Simulated"; }
};
TYPED_TEST_SUITE(SocketContract, Harnesses, HarnessNames);

TYPED_TEST(SocketContract, ConnectsAndCarriesBytesBothWays) {
    auto peer = this->connected();
    ASSERT_NE(peer, nullptr);
    this->socket->sendData(bytesOf("HELLO"));
    ASSERT_TRUE(this->h.waitFor([&] { return peer->received().size() == 5; }));
    EXPECT_EQ(peer->received(), bytesOf("HELLO"));
    peer->send(bytesOf("WORLD"));
    ASSERT_TRUE(this->h.waitFor([&] { return this->got.size() == 5; }));
    EXPECT_EQ(this->got, bytesOf("WORLD"));
    EXPECT_TRUE(this->errors.empty());
}

TYPED_TEST(SocketContract, ARefusedConnectIsError10061) {
    this->socket->setRemoteHost(QStringLiteral("127.0.0.1"));
    this->socket->setRemotePort(this->h.deadPort());
    this->socket->connect();
    ASSERT_TRUE(this->h.waitFor([&] { return !this->errors.empty(); }));
    EXPECT_EQ(this->errors, std::vector<int>{socket_error::kConnectionRefused});
    EXPECT_NE(this->socket->state(), socket_state::kConnected);
    this->socket->close();
    EXPECT_EQ(this->socket->state(), socket_state::kClosed);
}

TYPED_TEST(SocketContract, ANameIsNeverLookedUpButFailsAtOnce) {
    for (const char* host : {"localhost", "device.example", "127.1", ""}) {
        this->socket->setRemoteHost(QString::fromLatin1(host));
        this->socket->setRemotePort(4000);
        try {
            this->socket->connect();
            ADD_FAILURE() << host << " was dialled";
        } catch (const RuntimeFailure& failure) {
            EXPECT_EQ(failure.number(), socket_error::kHostNotFound);
        }
        EXPECT_EQ(this->socket->state(), socket_state::kClosed);
    }
}

TYPED_TEST(SocketContract, ListensAndAcceptsARequestOnTheSameSocketAfterClose) {
    this->socket->setLocalPort(0);
    this->socket->listen();
    EXPECT_EQ(this->socket->state(), socket_state::kListening);
    int requests = 0;
    this->socket->events.connectionRequest = [&](std::int32_t id) {
        ++requests;
        this->socket->close();
        this->socket->accept(id);
    };
    auto peer = this->h.dial(this->socket->localPort());
    ASSERT_NE(peer, nullptr);
    ASSERT_TRUE(this->h.waitFor([&] { return this->socket->state() == socket_state::kConnected; }));
    EXPECT_EQ(requests, 1);
    peer->send(bytesOf("ab"));
    ASSERT_TRUE(this->h.waitFor([&] { return this->got.size() == 2; }));
    this->socket->sendData(bytesOf("cd"));
    ASSERT_TRUE(this->h.waitFor([&] { return peer->received().size() == 2; }));
}

TYPED_TEST(SocketContract, AListenOnAPortInUseFailsWith10048) {
    const int port = this->h.deadPort();
    this->h.occupy(port);
    this->socket->setLocalPort(port);
    try {
        this->socket->listen();
        ADD_FAILURE() << "listened on a port in use";
    } catch (const RuntimeFailure& failure) {
        EXPECT_EQ(failure.number(), socket_error::kAddressInUse);
    }
    EXPECT_EQ(this->socket->state(), socket_state::kClosed);
}

TYPED_TEST(SocketContract, ALargeArrivalComesInEventsOfAtMost32767BytesWithNothingLost) {
    auto peer = this->connected();
    ASSERT_NE(peer, nullptr);
    Bytes big(100'000);
    for (std::size_t i = 0; i < big.size(); ++i) {
        big[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    peer->send(big);
    ASSERT_TRUE(this->h.waitFor([&] { return this->got.size() >= big.size(); }));
    EXPECT_EQ(this->got, big);
    EXPECT_GE(this->arrivals.size(), 4U);
    for (int n : this->arrivals) {
        EXPECT_LE(n, kMaxArrival);
    }
}

TYPED_TEST(SocketContract, APeersCloseComesAfterItsLastBytes) {
    auto peer = this->connected();
    ASSERT_NE(peer, nullptr);
    peer->send(bytesOf("bye"));
    peer->close();
    ASSERT_TRUE(this->h.waitFor([&] { return this->closes == 1; }));
    EXPECT_EQ(this->got, bytesOf("bye"));
    EXPECT_NE(this->socket->state(), socket_state::kConnected);
    EXPECT_TRUE(this->errors.empty());
}

TYPED_TEST(SocketContract, AResetIsError10054) {
    auto peer = this->connected();
    ASSERT_NE(peer, nullptr);
    peer->reset();
    ASSERT_TRUE(this->h.waitFor([&] { return !this->errors.empty(); }));
    EXPECT_EQ(this->errors, std::vector<int>{socket_error::kConnectionReset});
    EXPECT_NE(this->socket->state(), socket_state::kConnected);
}

TYPED_TEST(SocketContract, AConnectAfterThePeerClosedDialsAfreshButNotOnALiveLink) {
    auto first = this->connected();
    ASSERT_NE(first, nullptr);
    try {
        this->socket->connect();
        ADD_FAILURE() << "dialled again on a live link";
    } catch (const RuntimeFailure& failure) {
        EXPECT_EQ(failure.number(), socket_error::kWrongProtocolOrState);
    }
    first->close();
    ASSERT_TRUE(this->h.waitFor([&] { return this->closes == 1; }));
    EXPECT_EQ(this->socket->state(), socket_state::kClosing);
    this->socket->connect();
    auto second = this->h.acceptedPeer();
    ASSERT_NE(second, nullptr);
    ASSERT_TRUE(this->h.waitFor([&] { return this->socket->state() == socket_state::kConnected; }));
    this->socket->sendData(bytesOf("again"));
    ASSERT_TRUE(this->h.waitFor([&] { return second->received().size() == 5; }));
    EXPECT_EQ(second->received(), bytesOf("again"));
    EXPECT_TRUE(first->received().empty());
    EXPECT_EQ(this->closes, 1);
}

// What a repeat tick relies on: past 4 MiB unsent a send fails with a socket error and sends nothing,
// and sends go out again once the peer reads.
TYPED_TEST(SocketContract, ASendPastFourMebibytesUnsentFailsWith10055AndSendsNothing) {
    auto peer = this->connected();
    ASSERT_NE(peer, nullptr);
    peer->stopReading();
    // The system's buffers take their share first, then the socket holds what waits.
    Bytes accepted;
    int failed = 0;
    for (unsigned i = 0; i < 1024 && failed == 0; ++i) { // 64 MiB at most
        const Bytes chunk = pattern(65536, i);
        try {
            this->socket->sendData(chunk);
            accepted.insert(accepted.end(), chunk.begin(), chunk.end());
        } catch (const RuntimeFailure& failure) {
            failed = failure.number();
            EXPECT_EQ(failure.description(), QStringLiteral("No buffer space is available"));
        }
    }
    EXPECT_EQ(failed, socket_error::kNoBufferSpace);
    EXPECT_GE(accepted.size(), std::size_t{4} << 20);
    EXPECT_EQ(this->socket->state(), socket_state::kConnected);
    peer->startReading();
    ASSERT_TRUE(this->h.waitFor([&] { return peer->received().size() >= accepted.size(); }));
    this->socket->sendData(bytesOf("tail"));
    accepted.insert(accepted.end(), {'t', 'a', 'i', 'l'});
    ASSERT_TRUE(this->h.waitFor([&] { return peer->received().size() >= accepted.size(); }));
    EXPECT_TRUE(peer->received() == accepted) << "in order, and nothing of the refused send";
    EXPECT_TRUE(this->errors.empty());
}

TYPED_TEST(SocketContract, SendingWithoutALinkFailsAndCloseIsHarmless) {
    this->socket->close();
    try {
        this->socket->sendData(bytesOf("x"));
        ADD_FAILURE() << "sent without a link";
    } catch (const RuntimeFailure& failure) {
        EXPECT_EQ(failure.number(), socket_error::kWrongProtocolOrState);
    }
    this->socket->close();
    EXPECT_EQ(this->socket->state(), socket_state::kClosed);
}

} // namespace
} // namespace sim::test
