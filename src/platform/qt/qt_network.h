#pragma once

#include "platform/qt/qt_event_loop.h"
#include "platform/seam.h"
#include "platform/stream_socket.h"

#include <QByteArray>
#include <QSocketNotifier>
#include <QTimer>

#include <map>

#include <memory>
#include <set>

namespace sim::qt {

// A stream socket on the system's own socket calls, watched by the Qt event loop. Only a literal IPv4
// address is dialled: there is no name lookup. Errors carry the numbers operators know from Windows
// Sockets. Every call that changes the state posts an event, and so does a failure found later, so
// the next pump returns at once.
class QtSocket : public StreamSocket {
public:
    QtSocket(EventGate& gate, QString name);
    ~QtSocket() override;
    QtSocket(const QtSocket&) = delete;
    QtSocket& operator=(const QtSocket&) = delete;

    QString localIP() const override;
    void setProtocol(int protocol) override;
    void setRemoteHost(const QString& host) override { remoteHost_ = host; }
    void setRemotePort(std::int32_t port) override { remotePort_ = port; }
    void setLocalPort(std::int32_t port) override { localPort_ = port; }
    std::int32_t localPort() const override;

    QString tlsDescription() const override { return tlsDescription_; }

    void connect() override;
    void listen() override;
    void accept(std::int32_t requestId) override;
    void close() override;

protected:
    void postEvent(std::function<void()> event) override { gate_.post(std::move(event)); }
    void inboxDrained() override { watch(); }
    void transmit(const Bytes& data) override;
    qsizetype unsent() const override { return outbox_.size(); }

private:
    void wake();
    void failWith(int number, const QString& description = {});
    // Drives the handshake of a dialled TLS link on; the link is connected once it has ended well.
    void shakeHands();
    bool shakingHands() const { return session_ && state() == socket_state::kConnecting; }
    void adopt(int fd, int state);
    void watch();
    void onReadable();
    void onWritable();
    void onListenReady();
    void flushOutbox();
    void dropNotifiers();

    EventGate& gate_;
    int fd_ = -1;
    QString remoteHost_;
    std::int32_t remotePort_ = 0;
    std::int32_t localPort_ = 0;
    std::unique_ptr<QSocketNotifier> readNotifier_;
    std::unique_ptr<QSocketNotifier> writeNotifier_;
    QByteArray outbox_;
    bool readEnded_ = false;
    std::set<int> heldRequests_; // accepted by the system, waiting for Accept
    // A client's TLS handshake, run while the socket goes on listening; a request is raised only once it
    // has ended well, and one that fails or takes longer than a second is dropped with its reason.
    struct Handshake {
        std::unique_ptr<tls::Session> session;
        std::unique_ptr<QSocketNotifier> read, write;
        std::unique_ptr<QTimer> limit;
    };
    void startHandshake(int fd);
    void stepHandshake(int fd);
    // `why` is taken by value: it may be the failure text of the session this ends.
    void dropClient(int fd, QString why);
    // Ends a client's handshake and returns its session; its notifiers and timer go at a later event,
    // since this may run inside one of them.
    std::unique_ptr<tls::Session> endHandshake(std::map<int, Handshake>::iterator it);
    void raiseRequest(int fd);
    std::map<int, Handshake> handshakes_;
    std::map<int, std::unique_ptr<tls::Session>> heldSessions_; // of held requests
    std::unique_ptr<tls::Session> session_;                     // a TLS link's
    QString tlsDescription_;
};

class QtNetwork : public Network {
public:
    explicit QtNetwork(EventGate& gate) : gate_(gate) {}
    std::unique_ptr<Socket> createSocket(const QString& name) override {
        return std::make_unique<QtSocket>(gate_, name);
    }

private:
    EventGate& gate_;
};

// The machine's own IPv4 address, from its interfaces; loopback when it has no other.
QString localAddress();

} // namespace sim::qt
