// One contract, two sockets: the simulated one the scenario tests use and the real one over loopback.

#include "mixed_platform.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <numeric>

#include <sys/socket.h>

namespace sim::test {
namespace {

// The simulated network; the device's end of a link is its DeviceLink.
struct SimHarness {
    static constexpr const char* kName = "Simulated";
    Scheduler scheduler;
    SimNetwork network{scheduler};
    std::shared_ptr<DeviceLink> seen; // the device's last link the test has seen

    // Runs everything a minute of virtual time brings, then looks.
    template <class Cond> bool waitFor(Cond cond) {
        scheduler.runFor(60'000);
        return cond();
    }
    int deviceListens() {
        network.deviceListens(QStringLiteral("127.0.0.1"), 4100);
        return 4100;
    }
    // The next link the device accepts.
    std::shared_ptr<DeviceLink> acceptedPeer() {
        if (!waitFor([this] { return network.lastLink() != seen; })) {
            return nullptr;
        }
        return seen = network.lastLink();
    }
    std::shared_ptr<DeviceLink> dial(int port) { return seen = network.deviceConnects(port); }
};

// The device's end of a real link, with what DeviceLink offers.
class QtPeer {
public:
    explicit QtPeer(QTcpSocket* socket) : socket_(socket) {}
    void send(const Bytes& bytes) {
        socket_->write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
    }
    void close() { socket_->disconnectFromHost(); }
    void reset() {
        const linger hard{1, 0};
        ::setsockopt(static_cast<int>(socket_->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard,
                     sizeof hard);
        socket_->abort();
    }
    // Everything the simulator sent so far.
    const Bytes& received() {
        const QByteArray b = socket_->readAll();
        received_.insert(received_.end(), b.begin(), b.end());
        return received_;
    }
    bool open() const { return socket_->state() == QAbstractSocket::ConnectedState; }

private:
    std::unique_ptr<QTcpSocket> socket_; // its connection goes with the peer
    Bytes received_;
};

// The system's sockets over 127.0.0.1, on ports the system picks.
struct QtHarness {
    static constexpr const char* kName = "Loopback";
    qt::EventGate gate;
    qt::QtEventPump pump{gate};
    qt::QtNetwork network{gate};
    QTcpServer server;

    template <class Cond> bool waitFor(Cond cond) { return pumpUntil(pump, cond); }
    int deviceListens() {
        server.listen(QHostAddress::LocalHost, 0);
        return server.serverPort();
    }
    std::shared_ptr<QtPeer> acceptedPeer() {
        if (!waitFor([this] { return server.hasPendingConnections(); })) {
            return nullptr;
        }
        return std::make_shared<QtPeer>(server.nextPendingConnection());
    }
    std::shared_ptr<QtPeer> dial(int port) {
        auto* socket = new QTcpSocket(&server);
        socket->connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
        if (!waitFor([socket] { return socket->state() == QAbstractSocket::ConnectedState; })) {
            return nullptr;
        }
        return std::make_shared<QtPeer>(socket);
    }
};

template <class H> class SocketContract : public ::testing::Test {
protected:
    H h;
    std::unique_ptr<Socket> socket = h.network.createSocket(QStringLiteral("Client_Socket"));
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

using Harnesses = ::testing::Types<SimHarness, QtHarness>;
struct HarnessNames {
    template <class T> static std::string GetName(int) { return T::kName; }
};
TYPED_TEST_SUITE(SocketContract, Harnesses, HarnessNames);

// Listening, a socket accepts a request on itself once closed; a port it holds cannot be taken by another
// socket, a reset is an error, and once closed it listens on its port again at once. As a client it dials
// literal addresses only and sends nothing without a link; after a refused dial it dials afresh. On a link,
// arrivals come in at most 32,767 bytes with nothing lost, the peer's close only after its last bytes, no
// second dial on a live link but a fresh one once the peer has closed, and a Close the peer sees.
TYPED_TEST(SocketContract, CarriesBytesBothWaysAsAListenerAndAsAClientAndFailsWithTheSystemsNumbers) {
    TypeParam& h = this->h;
    Socket& s = *this->socket;
    s.setLocalPort(0);
    s.listen();
    EXPECT_EQ(s.state(), socket_state::kListening);
    const int port = s.localPort();
    const auto other = h.network.createSocket(QStringLiteral("Server_Socket"));
    other->setLocalPort(port);
    EXPECT_EQ(this->failure([&] { other->listen(); }), 10048) << "the port is taken";
    EXPECT_EQ(other->state(), socket_state::kClosed);
    int requests = 0;
    s.events.connectionRequest = [&](std::int32_t id) {
        ++requests;
        s.close();
        s.accept(id);
    };
    auto peer = h.dial(port);
    ASSERT_NE(peer, nullptr);
    ASSERT_TRUE(h.waitFor([&] { return s.state() == socket_state::kConnected; }));
    EXPECT_EQ(requests, 1);
    peer->send(bytesOf("ab"));
    ASSERT_TRUE(h.waitFor([&] { return this->got.size() == 2; }));
    s.sendData(bytesOf("cd"));
    ASSERT_TRUE(h.waitFor([&] { return peer->received().size() == 2; }));
    peer->reset();
    ASSERT_TRUE(h.waitFor([&] { return !this->errors.empty(); }));
    EXPECT_EQ(this->errors, std::vector<int>{10054});
    EXPECT_NE(s.state(), socket_state::kConnected);
    s.close();
    s.setLocalPort(port);
    s.listen();
    EXPECT_EQ(s.state(), socket_state::kListening);
    s.close();

    for (const char* host : {"localhost", "device.example", "127.1", ""}) {
        s.setRemoteHost(QString::fromLatin1(host));
        s.setRemotePort(4000);
        EXPECT_EQ(this->failure([&] { s.connect(); }), 11001) << "a name is never looked up: " << host;
        EXPECT_EQ(s.state(), socket_state::kClosed);
    }
    EXPECT_EQ(this->failure([&] { s.sendData(bytesOf("x")); }), 40006) << "sent without a link";
    s.setRemoteHost(QStringLiteral("127.0.0.1"));
    s.setRemotePort(port); // where nothing listens any more
    s.connect();
    ASSERT_TRUE(h.waitFor([&] { return this->errors.size() == 2; }));
    EXPECT_EQ(this->errors, (std::vector<int>{10054, 10061}));
    EXPECT_NE(s.state(), socket_state::kConnected);

    s.setRemotePort(h.deviceListens());
    s.connect();
    auto first = h.acceptedPeer();
    ASSERT_NE(first, nullptr);
    ASSERT_TRUE(h.waitFor([&] { return s.state() == socket_state::kConnected; }));
    s.sendData(bytesOf("HELLO"));
    ASSERT_TRUE(h.waitFor([&] { return first->received().size() == 5; }));
    EXPECT_EQ(this->failure([&] { s.connect(); }), 40006) << "dialled again on a live link";
    Bytes big(100'000);
    std::iota(big.begin(), big.end(), std::uint8_t{0});
    this->got.clear();
    first->send(big);
    first->close();
    ASSERT_TRUE(h.waitFor([&] { return this->closes == 1; }));
    EXPECT_EQ(this->got, big);
    EXPECT_GE(this->arrivals.size(), 4U);
    EXPECT_LE(std::ranges::max(this->arrivals), 32767);
    EXPECT_EQ(s.state(), socket_state::kClosing);

    s.connect();
    auto second = h.acceptedPeer();
    ASSERT_NE(second, nullptr);
    ASSERT_TRUE(h.waitFor([&] { return s.state() == socket_state::kConnected; }));
    s.sendData(bytesOf("again"));
    ASSERT_TRUE(h.waitFor([&] { return second->received().size() == 5; }));
    EXPECT_EQ(second->received(), bytesOf("again"));
    EXPECT_EQ(first->received(), bytesOf("HELLO"));
    s.close();
    ASSERT_TRUE(h.waitFor([&] { return !second->open(); })) << "the peer sees the link end";
    EXPECT_EQ(this->closes, 1);
    EXPECT_EQ(this->errors.size(), 2U);
}

} // namespace
} // namespace sim::test
