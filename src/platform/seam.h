#pragma once

#include "tls/tls_session.h"

// The platform seam: every outside thing the simulator touches, as small interfaces that a test can
// mix. The Qt platform implements them for real; tests/support has a simulated one.

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QTime>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sim {

using Bytes = std::vector<std::uint8_t>;

// ---- event pump and timers ----

class EventPump {
public:
    virtual ~EventPump() = default;
    // Runs the events that are pending and returns; waits for the next one when none is. Throws
    // ApplicationQuit once the window has been closed.
    virtual void pump() = 0;
    // The same, but waits no longer than maxWaitMs for an event to come.
    virtual void pumpFor(int maxWaitMs) = 0;
    // Runs the event at a later pump, behind those already pending, as an event of its own.
    virtual void post(std::function<void()> event) = 0;
    // Asks every loop that pumps to unwind and the event loop to end.
    virtual void requestQuit() = 0;
    virtual bool quitRequested() const = 0;
};

class PlatformTimer {
public:
    virtual ~PlatformTimer() = default;
    // (Re)starts a periodic wait of intervalMs; a running wait starts over.
    virtual void start(int intervalMs) = 0;
    virtual void stop() = 0;
};

class TimerFactory {
public:
    virtual ~TimerFactory() = default;
    virtual std::unique_ptr<PlatformTimer> createTimer(std::function<void()> onTick) = 0;
};

// ---- sockets ----

namespace socket_state {
inline constexpr int kClosed = 0;
inline constexpr int kOpen = 1;
inline constexpr int kListening = 2;
inline constexpr int kConnectionPending = 3;
inline constexpr int kResolvingHost = 4;
inline constexpr int kHostResolved = 5;
inline constexpr int kConnecting = 6;
inline constexpr int kConnected = 7;
inline constexpr int kClosing = 8;
inline constexpr int kError = 9;
} // namespace socket_state

// The error numbers of stream sockets as operators know them.
namespace socket_error {
inline constexpr int kPermissionDenied = 10013;
inline constexpr int kInvalidArgument = 10022;
inline constexpr int kAddressInUse = 10048;
inline constexpr int kAddressNotAvailable = 10049;
inline constexpr int kNetworkUnreachable = 10051;
inline constexpr int kConnectionAborted = 10053;
inline constexpr int kConnectionReset = 10054;
inline constexpr int kNoBufferSpace = 10055;
inline constexpr int kNotConnected = 10057;
inline constexpr int kTimedOut = 10060;
inline constexpr int kConnectionRefused = 10061;
inline constexpr int kHostUnreachable = 10065;
inline constexpr int kHostNotFound = 11001;
inline constexpr int kWrongProtocolOrState = 40006; // a call the socket's state does not allow
inline constexpr int kTlsFailed = 40100; // our own: a TLS handshake or record failed; the text says why
inline constexpr int kInvalidArgumentFormat = 40014;
inline constexpr int kInvalidOperation = 40020;

// The description that goes with a number.
QString description(int number);
// The description of a kTlsFailed error: "TLS failed: " and the TLS library's reason.
QString tlsFailure(const QString& reason);
} // namespace socket_error

// Largest number of bytes one DataArrival reports; the rest follows in further events.
inline constexpr int kMaxArrival = 32767;

// Events of a stream socket; a socket with no handler for an event drops it.
struct SocketEvents {
    std::function<void(std::int32_t bytesTotal)> dataArrival;
    std::function<void(std::int32_t requestId)> connectionRequest;
    std::function<void()> close; // the peer closed
    std::function<void(int number, const QString& description, const QString& source)> error;
    // No event of the socket's own: told at once, from inside the call that did it, whenever a link
    // begins or ends (a close, a connect, an accept).
    std::function<void()> linkChanged;
    // A listening socket dropped a client before it became a request (its TLS handshake failed); the
    // socket goes on listening. (number, description, source), as an error's.
    std::function<void(int, const QString&, const QString&)> clientDropped;
};

// A stream socket with an event interface. Calls that cannot be done raise RuntimeFailure with a
// socket error number; events arrive only while the event pump runs.
class Socket {
public:
    virtual ~Socket() = default;

    virtual QString localIP() const = 0;
    virtual void setProtocol(int protocol) = 0; // 0: TCP
    virtual void setRemoteHost(const QString& host) = 0;
    virtual void setRemotePort(std::int32_t port) = 0;
    virtual void setLocalPort(std::int32_t port) = 0;
    virtual std::int32_t localPort() const = 0; // the port actually bound, once listening

    // Returns at once; State reaches 7 later or an Error event follows. A link that has ended (the peer
    // closed it, or it failed) is dropped first, so a Connect after a device hung up dials afresh.
    virtual void connect() = 0;
    virtual void listen() = 0;
    virtual void accept(std::int32_t requestId) = 0;
    // Fails, sending nothing, when the bytes would pass what the socket may hold unsent.
    virtual void sendData(const Bytes& data) = 0;
    // The answer to what the link sent: never refused for what waits unsent.
    virtual void sendAnswer(const Bytes& data) = 0;
    virtual void getData(Bytes& data) = 0; // takes the bytes of the current arrival
    virtual void close() = 0;
    virtual int state() const = 0;
    // Changes whenever a link begins or ends, so what was kept for one link can tell it is gone.
    virtual unsigned linkNumber() const = 0;
    // TLS on the links to come (nullptr: plain). A dialled link is connected, and a listener raises a
    // connection request, only once the handshake has ended well.
    virtual void setTls(std::shared_ptr<const tls::Context> context) = 0;
    // The TLS of the link, for its status line ("TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device until
    // 2027-01-31"), or empty for a plain link.
    virtual QString tlsDescription() const = 0;

    SocketEvents events;
};

class Network {
public:
    virtual ~Network() = default;
    // The name is the Source of the socket's errors.
    virtual std::unique_ptr<Socket> createSocket(const QString& name) = 0;
};

// ---- dialogs ----

namespace msg_style {
inline constexpr int kPlain = 0;
inline constexpr int kCritical = 16;
inline constexpr int kExclamation = 48;
inline constexpr int kInformation = 64;
} // namespace msg_style

struct SaveDialogRequest {
    QString fileName; // the path shown first
    QString filter;   // "Description|*.ext" pairs
    int filterIndex = 1;
    bool promptOverwrite = true;
};

// Modal dialogs with an OK button. While one is open no handler of the form runs.
class Dialogs {
public:
    virtual ~Dialogs() = default;
    // A title of std::nullopt gives the application's title.
    virtual void messageBox(const QString& text, int style, const std::optional<QString>& title) = 0;
    // The chosen path, or nothing on Cancel.
    virtual std::optional<QString> showSave(const SaveDialogRequest& request) = 0;
};

// ---- settings, clock, folders, browser ----

class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    virtual QString read(const QString& app, const QString& section, const QString& key,
                         const QString& fallback) = 0;
    virtual void write(const QString& app, const QString& section, const QString& key,
                       const QString& value) = 0;
};

class Clock {
public:
    virtual ~Clock() = default;
    virtual QDate localDate() const = 0;
    virtual QTime localTime() const = 0;        // whole seconds are what callers read of it
    virtual int systemMilliseconds() const = 0; // 0..999 of the system time, read apart from the local time
    // A clock that only goes forward, for the time between two moments of the run (reply times).
    virtual qint64 monotonicMicroseconds() const = 0;
};

class Folders {
public:
    virtual ~Folders() = default;
    virtual QString programFolder() const = 0;
    virtual QString workingFolder() const = 0;
};

// Appends text to files, for the logs: each file is opened in append mode, written and closed again, so
// no file stays open between two writes. The order of what is handed over is the order in each file.
class OutputFile;
class FileAppender {
public:
    // How a missing folder is made before the text is tried once more: the whole path, or its last
    // level only (the folders above it must be there).
    enum class MakeFolder { WholePath, LastLevel };
    virtual ~FileAppender() = default;
    // `file` is a path in the system's file name encoding, `folder` the folder that holds it, `bytes`
    // the whole text with its line ends. A file that cannot be written loses the text, and nothing
    // is reported.
    virtual void append(const QByteArray& file, const QString& folder, MakeFolder how, QByteArray bytes) = 0;
    // Writes `bytes` to an output the run keeps open, in order with the texts appended.
    virtual void write(OutputFile& output, QByteArray bytes) = 0;
    // Returns once everything handed over so far has been written (or lost).
    virtual void flush() = 0;
};

class Browser {
public:
    virtual ~Browser() = default;
    // Hands a web address to the system's default handler; the answer is not relied on.
    virtual bool openUrl(const QString& address) = 0;
};

// What the form is given of the platform. Each part may come from another implementation.
struct Platform {
    EventPump& pump;
    TimerFactory& timers;
    Network& network;
    Dialogs& dialogs;
    SettingsStore& settings;
    Clock& clock;
    Folders& folders;
    Browser& browser;
    FileAppender& files;
};

} // namespace sim
