#include "platform/qt/qt_network.h"

#include "platform/ipv4.h"
#include "platform/runtime_failure.h"

#include <QNetworkInterface>
#include <QTimer>

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sim::qt {
namespace {

namespace se = socket_error;

// Reads stop for a while once this much waits unread, so a handler that falls behind loses nothing.
constexpr qsizetype kInboxHigh = 1 << 20;
// Bytes taken from the system per wake-up, so one busy link cannot starve the rest of the form.
constexpr qsizetype kReadPerWake = qsizetype{256} * 1024;

int fromErrno(int err) {
    switch (err) {
    case ECONNREFUSED:
        return se::kConnectionRefused;
    case ECONNRESET:
    case EPIPE:
        return se::kConnectionReset;
    case ETIMEDOUT:
        return se::kTimedOut;
    case EADDRINUSE:
        return se::kAddressInUse;
    case EADDRNOTAVAIL:
        return se::kAddressNotAvailable;
    case ENETUNREACH:
        return se::kNetworkUnreachable;
    case EHOSTUNREACH:
        return se::kHostUnreachable;
    case EACCES:
    case EPERM:
        return se::kPermissionDenied;
    case EINVAL:
        return se::kInvalidArgument;
    default:
        return se::kConnectionAborted;
    }
}

sockaddr_in inetAddress(std::uint32_t host, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(host);
    return address;
}

int newStreamSocket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

// Bytes handed to SendData before a Close still go out, as they would from the system's own buffer:
// the closed link lingers until they are written or the peer stops taking them. A TLS link's bytes go
// through its session, which then says close_notify.
class Linger : public QObject {
public:
    Linger(int fd, QByteArray rest, std::unique_ptr<tls::Session> session)
        : fd_(fd), rest_(std::move(rest)), session_(std::move(session)),
          writable_(fd, QSocketNotifier::Write), readable_(fd, QSocketNotifier::Read) {
        readable_.setEnabled(false);
        QObject::connect(&writable_, &QSocketNotifier::activated, this, [this] { write(); });
        QObject::connect(&readable_, &QSocketNotifier::activated, this, [this] { write(); });
        QTimer::singleShot(kGiveUpMs, this, [this] { finish(); });
    }

private:
    static constexpr int kGiveUpMs = 5000;
    void write() {
        bool failed = false;
        if (session_) {
            tls::Session::Want want = tls::Session::Want::Nothing;
            rest_.remove(0, session_->write(rest_.constData(), rest_.size(), &want));
            if (want == tls::Session::Want::Nothing) {
                want = session_->flush();
            }
            failed = want == tls::Session::Want::Failed || want == tls::Session::Want::Closed;
            // The session may need the peer's records before it can write on (a key update).
            writable_.setEnabled(want != tls::Session::Want::Read);
            readable_.setEnabled(want == tls::Session::Want::Read);
        } else {
            const ssize_t n = ::send(fd_, rest_.constData(), static_cast<size_t>(rest_.size()), MSG_NOSIGNAL);
            rest_.remove(0, std::max<ssize_t>(n, 0));
            failed = n < 0 && errno != EAGAIN && errno != EWOULDBLOCK;
        }
        if ((rest_.isEmpty() && !(session_ && session_->unflushed())) || failed) {
            finish();
        }
    }
    void finish() {
        writable_.setEnabled(false);
        readable_.setEnabled(false);
        if (session_ && rest_.isEmpty()) {
            session_->shutdown();
        }
        session_.reset();
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
        deleteLater();
    }
    int fd_;
    QByteArray rest_;
    std::unique_ptr<tls::Session> session_;
    QSocketNotifier writable_;
    QSocketNotifier readable_;
};

} // namespace

QString localAddress() {
    for (const QHostAddress& address : QNetworkInterface::allAddresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol && !address.isLoopback()) {
            return address.toString();
        }
    }
    return QStringLiteral("127.0.0.1");
}

QtSocket::QtSocket(EventGate& gate, QString name) : StreamSocket(std::move(name)), gate_(gate) {}

QtSocket::~QtSocket() {
    events = {};
    close();
    heldSessions_.clear();
    for (int fd : heldRequests_) {
        ::close(fd);
    }
}

QString QtSocket::localIP() const {
    return localAddress();
}

void QtSocket::setProtocol(int protocol) {
    if (protocol != 0) {
        fail(se::kInvalidArgumentFormat);
    }
}

std::int32_t QtSocket::localPort() const {
    if (fd_ < 0) {
        return localPort_;
    }
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return localPort_;
    }
    return ntohs(address.sin_port);
}

void QtSocket::wake() {
    // An empty event: the next pump returns at once and its loop reads the new state.
    gate_.post([] {});
}

void QtSocket::failWith(int number, const QString& description) {
    dropNotifiers();
    raiseError(number, description);
}

void QtSocket::shakeHands() {
    switch (session_->handshake()) {
    case tls::Session::Want::Nothing:
        tlsDescription_ = session_->describe();
        setState(socket_state::kConnected);
        writeNotifier_->setEnabled(false);
        watch();
        wake();
        return;
    case tls::Session::Want::Read:
        readNotifier_->setEnabled(true);
        writeNotifier_->setEnabled(false);
        return;
    case tls::Session::Want::Write:
        readNotifier_->setEnabled(false);
        writeNotifier_->setEnabled(true);
        return;
    case tls::Session::Want::Closed:
    case tls::Session::Want::Failed:
        failWith(socket_error::kTlsFailed, socket_error::tlsFailure(session_->failure()));
        return;
    }
}

void QtSocket::connect() {
    dropEndedLink();
    if (state() != socket_state::kClosed) {
        fail(se::kWrongProtocolOrState);
    }
    const auto host = parseIPv4(remoteHost_);
    if (!host) {
        fail(se::kHostNotFound);
    }
    if (remotePort_ <= 0 || remotePort_ > 65535) {
        fail(se::kInvalidArgumentFormat);
    }
    const int fd = newStreamSocket();
    if (fd < 0) {
        fail(fromErrno(errno));
    }
    const sockaddr_in address = inetAddress(*host, static_cast<std::uint16_t>(remotePort_));
    const int rc = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int err = errno;
    adopt(fd, socket_state::kConnecting);
    if (rc == 0 && tls() != nullptr) {
        session_ = std::make_unique<tls::Session>(*tls(), fd_, remoteHost_);
        shakeHands();
    } else if (rc == 0) {
        setState(socket_state::kConnected);
        watch();
        wake();
    } else if (err == EINPROGRESS) {
        writeNotifier_->setEnabled(true);
    } else {
        failWith(fromErrno(err));
    }
}

void QtSocket::listen() {
    if (state() != socket_state::kClosed) {
        fail(se::kWrongProtocolOrState);
    }
    if (localPort_ < 0 || localPort_ > 65535) {
        fail(se::kInvalidArgumentFormat);
    }
    const int fd = newStreamSocket();
    if (fd < 0) {
        fail(fromErrno(errno));
    }
    // A port left in TIME_WAIT by the last client may be listened on again at once; a port that
    // another program listens on still fails.
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = inetAddress(INADDR_ANY, static_cast<std::uint16_t>(localPort_));
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(fd, SOMAXCONN) != 0) {
        const int err = errno;
        ::close(fd);
        fail(fromErrno(err));
    }
    adopt(fd, socket_state::kListening);
    QObject::connect(readNotifier_.get(), &QSocketNotifier::activated, [this] { onListenReady(); });
    readNotifier_->setEnabled(true);
    wake();
}

void QtSocket::accept(std::int32_t requestId) {
    if (state() != socket_state::kClosed) {
        fail(se::kWrongProtocolOrState);
    }
    auto held = heldRequests_.find(requestId);
    if (held == heldRequests_.end()) {
        fail(se::kInvalidArgument);
    }
    heldRequests_.erase(held);
    auto session = heldSessions_.extract(requestId);
    adopt(requestId, socket_state::kConnected);
    if (!session.empty()) {
        session_ = std::move(session.mapped());
        tlsDescription_ = session_->describe();
    }
    watch();
    wake();
}

void QtSocket::adopt(int fd, int state) {
    dropNotifiers();
    reset();
    fd_ = fd;
    readEnded_ = false;
    session_.reset();
    tlsDescription_.clear();
    setState(state);
    readNotifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    readNotifier_->setEnabled(false);
    writeNotifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Write);
    writeNotifier_->setEnabled(false);
    if (state != socket_state::kListening) {
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        QObject::connect(readNotifier_.get(), &QSocketNotifier::activated, [this] { onReadable(); });
        QObject::connect(writeNotifier_.get(), &QSocketNotifier::activated, [this] { onWritable(); });
    }
}

void QtSocket::watch() {
    if (readNotifier_ && state() != socket_state::kListening && !shakingHands()) {
        const bool reading = !readEnded_ && inbox().size() < kInboxHigh && !outboxFull();
        readNotifier_->setEnabled(reading);
        if (reading && session_ && session_->pending()) {
            post([this] { onReadable(); }); // decrypted already: the descriptor will not wake us for it
        }
    }
}

void QtSocket::onListenReady() {
    for (;;) {
        const int fd = ::accept4(fd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            return;
        }
        if (tls() != nullptr) {
            startHandshake(fd);
        } else {
            raiseRequest(fd);
        }
    }
}

void QtSocket::raiseRequest(int fd) {
    heldRequests_.insert(fd);
    // Not dropped by a Close: the handler closes the listen before it accepts.
    gate_.post([this, fd] {
        if (state() == socket_state::kListening && events.connectionRequest) {
            events.connectionRequest(fd);
        }
        // A request that was not accepted is turned away.
        if (heldRequests_.erase(fd) != 0) {
            heldSessions_.erase(fd);
            ::close(fd);
        }
    });
}

void QtSocket::startHandshake(int fd) {
    Handshake& h = handshakes_[fd];
    h.session = std::make_unique<tls::Session>(*tls(), fd);
    h.read = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    h.write = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Write);
    h.write->setEnabled(false);
    QObject::connect(h.read.get(), &QSocketNotifier::activated, [this, fd] { stepHandshake(fd); });
    QObject::connect(h.write.get(), &QSocketNotifier::activated, [this, fd] { stepHandshake(fd); });
    h.limit = std::make_unique<QTimer>();
    h.limit->setSingleShot(true);
    QObject::connect(h.limit.get(), &QTimer::timeout, [this, fd] {
        dropClient(fd, QStringLiteral("the client did not end its TLS handshake within a second"));
    });
    h.limit->start(1000);
    stepHandshake(fd);
}

void QtSocket::stepHandshake(int fd) {
    const auto it = handshakes_.find(fd);
    if (it == handshakes_.end()) {
        return;
    }
    Handshake& h = it->second;
    switch (h.session->handshake()) {
    case tls::Session::Want::Nothing:
        heldSessions_[fd] = endHandshake(it);
        raiseRequest(fd);
        return;
    case tls::Session::Want::Read:
        h.read->setEnabled(true);
        h.write->setEnabled(false);
        return;
    case tls::Session::Want::Write:
        h.read->setEnabled(false);
        h.write->setEnabled(true);
        return;
    case tls::Session::Want::Closed:
    case tls::Session::Want::Failed:
        dropClient(fd, h.session->failure());
        return;
    }
}

std::unique_ptr<tls::Session> QtSocket::endHandshake(std::map<int, Handshake>::iterator it) {
    auto gone = std::make_shared<Handshake>(std::move(it->second));
    handshakes_.erase(it);
    gone->read->setEnabled(false);
    gone->write->setEnabled(false);
    gone->limit->stop();
    gate_.post([gone] {});
    return std::move(gone->session);
}

void QtSocket::dropClient(int fd, QString why) {
    const auto it = handshakes_.find(fd);
    if (it == handshakes_.end()) {
        return;
    }
    endHandshake(it);
    gate_.post([fd] { ::close(fd); }); // after the notifiers on it have gone
    post([this, why = std::move(why)] {
        if (events.clientDropped) {
            events.clientDropped(socket_error::kTlsFailed, socket_error::tlsFailure(why), name());
        }
    });
}

void QtSocket::onWritable() {
    if (shakingHands()) {
        shakeHands();
        return;
    }
    if (state() == socket_state::kConnecting) {
        int err = 0;
        socklen_t length = sizeof err;
        ::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &err, &length);
        if (err != 0) {
            failWith(fromErrno(err));
            return;
        }
        if (tls() != nullptr) {
            session_ = std::make_unique<tls::Session>(*tls(), fd_, remoteHost_);
            shakeHands();
            return;
        }
        setState(socket_state::kConnected);
        writeNotifier_->setEnabled(false);
        watch();
        wake();
        return;
    }
    flushOutbox();
}

void QtSocket::flushOutbox() {
    const qsizetype before = outbox_.size();
    while (!outbox_.isEmpty() && session_) {
        tls::Session::Want want = tls::Session::Want::Nothing;
        const qsizetype n = session_->write(outbox_.constData(), outbox_.size(), &want);
        if (want == tls::Session::Want::Failed || want == tls::Session::Want::Closed) {
            outbox_.clear();
            failWith(socket_error::kTlsFailed, socket_error::tlsFailure(session_->failure()));
            return;
        }
        if (n == 0) {
            break; // the notifier says when it can go on
        }
        outbox_.remove(0, n);
    }
    if (session_ && session_->flush() == tls::Session::Want::Failed) {
        outbox_.clear();
        failWith(socket_error::kTlsFailed, socket_error::tlsFailure(session_->failure()));
        return;
    }
    while (!outbox_.isEmpty() && !session_) {
        const ssize_t n = ::send(fd_, outbox_.constData(), static_cast<size_t>(outbox_.size()), MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                break;
            }
            outbox_.clear();
            failWith(fromErrno(errno));
            return;
        }
        outbox_.remove(0, n);
    }
    if (writeNotifier_) {
        writeNotifier_->setEnabled(!outbox_.isEmpty() || (session_ && session_->unflushed()));
    }
    if (outbox_.size() < before) {
        outboxDrained();
    }
    watch();
}

void QtSocket::onReadable() {
    if (shakingHands()) {
        shakeHands();
        return;
    }
    char chunk[65536];
    qsizetype taken = 0;
    while (session_ && taken < kReadPerWake && inbox().size() < kInboxHigh) {
        tls::Session::Want want = tls::Session::Want::Nothing;
        const qsizetype n = session_->read(chunk, sizeof chunk, &want);
        if (n > 0) {
            received(chunk, n);
            taken += n;
            continue;
        }
        if (want == tls::Session::Want::Closed) {
            readEnded_ = true;
            watch();
            peerClosed();
            return;
        }
        if (want == tls::Session::Want::Failed) {
            failWith(socket_error::kTlsFailed, socket_error::tlsFailure(session_->failure()));
            return;
        }
        break;
    }
    while (!session_ && taken < kReadPerWake && inbox().size() < kInboxHigh) {
        const ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
        if (n > 0) {
            received(chunk, n);
            taken += n;
            continue;
        }
        if (n == 0) {
            readEnded_ = true;
            watch();
            peerClosed();
            return;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
            break;
        }
        failWith(fromErrno(errno));
        return;
    }
    watch();
}

void QtSocket::transmit(const Bytes& data) {
    outbox_.append(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
    flushOutbox();
}

void QtSocket::dropNotifiers() {
    readNotifier_.reset();
    writeNotifier_.reset();
}

void QtSocket::close() {
    dropNotifiers();
    for (auto& [fd, handshake] : handshakes_) {
        ::close(fd);
    }
    handshakes_.clear();
    const bool linked = state() == socket_state::kConnected || state() == socket_state::kClosing;
    const bool unsent = !outbox_.isEmpty() || (session_ && session_->unflushed());
    if (fd_ >= 0 && unsent && linked) {
        new Linger(fd_, outbox_, std::move(session_));
    } else if (fd_ >= 0) {
        if (session_) {
            session_->shutdown();
        }
        ::close(fd_);
    }
    session_.reset();
    fd_ = -1;
    const bool changed = state() != socket_state::kClosed;
    setState(socket_state::kClosed);
    reset();
    outbox_.clear();
    if (changed) {
        wake();
    }
}

} // namespace sim::qt
