#pragma once

// The simulated platform: a virtual clock that the timers and the pump follow, an in-memory network
// on which a test plays the device, scripted operator and device actions, scripted dialogs, and an
// in-memory settings store with folders in a temporary directory.

#include "platform/file_appenders.h"
#include "platform/runtime_failure.h"
#include "platform/seam.h"
#include "platform/stream_socket.h"
#include "support/printing.h"

#include <QDateTime>
#include <QTemporaryDir>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

namespace sim::test {

// A loop pumped with nothing that could ever happen: the test fails instead of hanging.
class StuckPump : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

using Ms = std::int64_t;

// Virtual time and everything that is due at a moment of it.
class Scheduler : public EventPump, public TimerFactory, public Clock {
public:
    explicit Scheduler(QDateTime start = QDateTime(QDate(2026, 11, 22), QTime(10, 0, 0)))
        : start_(std::move(start)) {}

    Ms now() const { return now_; }
    // Where virtual time 0 lies on the local clock.
    void setStart(const QDateTime& start) { start_ = start; }
    // An event's place in the queue: due time, then the order it was queued in.
    struct Key {
        Ms at;
        std::uint64_t seq;
        auto operator<=>(const Key&) const = default;
    };
    // Runs fn at the virtual time `at` (an operator's or the device's action, or a socket event).
    Key at(Ms at, std::function<void()> fn);
    void after(Ms delay, std::function<void()> fn) { at(now_ + delay, std::move(fn)); }

    // As the toolkit's loop would: runs everything due up to `until`, then sets the clock there.
    void runUntil(Ms until);
    void runFor(Ms span) { runUntil(now_ + span); }
    // Moves the clock without running anything (time an operator takes to answer a dialog).
    void advance(Ms span) { now_ += span; }
    // Pumps that pass this virtual time fail: a loop that never ends is a fault.
    void setHorizon(Ms horizon) { horizon_ = horizon; }

    // EventPump
    void pump() override;
    void pumpFor(int maxWaitMs) override;
    void post(std::function<void()> fn) override { at(now_, std::move(fn)); }
    void requestQuit() override { quit_ = true; }
    bool quitRequested() const override { return quit_; }
    // TimerFactory
    std::unique_ptr<PlatformTimer> createTimer(std::function<void()> onTick) override;
    // Clock
    QDate localDate() const override { return nowDateTime().date(); }
    QTime localTime() const override { return nowDateTime().time(); }
    int systemMilliseconds() const override { return nowDateTime().time().msec(); }
    qint64 monotonicMicroseconds() const override { return now_ * 1000; }
    QDateTime nowDateTime() const { return start_.addMSecs(now_); }

    // Takes an event back; one that has run is gone already.
    void cancel(const Key& key) { queue_.erase(key); }

private:
    bool runOneDue();
    QDateTime start_;
    Ms now_ = 0;
    Ms horizon_ = 7LL * 24 * 3600 * 1000;
    bool quit_ = false;
    std::uint64_t seq_ = 0;
    std::map<Key, std::function<void()>> queue_;
};

class SimSocket;
class SimNetwork;

Bytes bytesOf(const char* ascii);

// One end of a link as the device holds it.
class DeviceLink : public std::enable_shared_from_this<DeviceLink> {
public:
    explicit DeviceLink(SimNetwork& network) : network_(network) {}
    void send(const Bytes& bytes);
    void send(const char* ascii) { send(bytesOf(ascii)); }
    void close() { end(false); } // an orderly close
    void reset() { end(true); }  // the link is reset: the simulator sees error 10054
    bool open() const { return socket_ != nullptr && !closing_; }
    const Bytes& received() const { return received_; } // everything the simulator sent
    std::function<void(const Bytes&)> onReceive;        // the device's own answer, if any

    // A device whose receive path is stuck: what the simulator sends waits on its side, unsent, until
    // the device reads again.
    void stopReading() { reading_ = false; }
    void startReading();
    qsizetype unread() const { return static_cast<qsizetype>(unread_.size()); }

private:
    friend class SimSocket;
    friend class SimNetwork;
    void end(bool reset);
    // What the simulator sent reaches the device one latency later, or waits while it reads nothing.
    void carry(const Bytes& bytes);
    SimNetwork& network_;
    SimSocket* socket_ = nullptr;
    bool closing_ = false;
    bool reading_ = true;
    Bytes received_;
    Bytes unread_;
};

// How a device that listens answers a connect.
enum class Answer { Accept, Refuse, Ignore };

// TLS as the simulated network plays it: a socket given a context shakes hands for `handshakeMs` once
// its TCP link is up (dialling) or a client dialled it (listening). Each handshake takes the next of
// `outcomes`: an empty text ends well, any other fails it with that reason; none left ends well.
struct TlsDouble {
    Ms handshakeMs = 5;
    std::deque<QString> outcomes;
    QString description = QStringLiteral("TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device until 2027-01-31");
    int handshakes = 0; // how many were begun
    QString next() {
        ++handshakes;
        if (outcomes.empty()) {
            return {};
        }
        QString outcome = outcomes.front();
        outcomes.pop_front();
        return outcome;
    }
};

class SimNetwork : public Network {
public:
    explicit SimNetwork(Scheduler& scheduler) : scheduler_(scheduler) {}
    std::unique_ptr<Socket> createSocket(const QString& name) override;

    // The device listens at host:port; each accepted link is handed to onLink.
    void deviceListens(const QString& host, int port, Answer answer = Answer::Accept);
    std::function<void(std::shared_ptr<DeviceLink>)> onLink;
    // The device dials the simulator's listening port. Null when nothing listens there (refused).
    std::shared_ptr<DeviceLink> deviceConnects(int port);
    // The link the device holds most recently.
    std::shared_ptr<DeviceLink> lastLink() const { return links_.empty() ? nullptr : links_.back(); }
    SimSocket* socketNamed(const QString& name) const;
    // The time a packet takes from one end to the other.
    Ms latency = 1;
    QString localIP = QStringLiteral("192.0.2.10");
    const std::vector<QString>& dialled() const { return dialled_; } // every host:port dialled
    // Another program holds the port: listening on it fails with 10048.
    void occupy(int port) { occupied_.push_back(port); }
    TlsDouble tls;

private:
    friend class SimSocket;
    friend class DeviceLink;
    Scheduler& scheduler_;
    std::map<std::pair<QString, int>, Answer> listeners_;
    std::vector<SimSocket*> sockets_;
    std::vector<std::shared_ptr<DeviceLink>> links_;
    std::vector<QString> dialled_;
    std::vector<int> occupied_;
};

class SimSocket : public StreamSocket {
public:
    SimSocket(SimNetwork& network, QString name);
    ~SimSocket() override;
    QString localIP() const override { return network_.localIP; }
    void setProtocol(int protocol) override;
    void setRemoteHost(const QString& host) override { remoteHost_ = host; }
    void setRemotePort(std::int32_t port) override { remotePort_ = port; }
    void setLocalPort(std::int32_t port) override { localPort_ = port; }
    std::int32_t localPort() const override { return localPort_; }
    void connect() override;
    void listen() override;
    void accept(std::int32_t requestId) override;
    void close() override;
    QString tlsDescription() const override { return tlsDescription_; }

    // The test makes the socket raise an Error event.
    void injectError(int number) { raiseError(number); }
    std::vector<std::pair<int, Bytes>> sent; // each SendData, with the virtual time it was made

protected:
    void postEvent(std::function<void()> event) override { network_.scheduler_.post(std::move(event)); }
    void transmit(const Bytes& data) override;
    qsizetype unsent() const override { return device_ ? device_->unread() : 0; }

private:
    friend class DeviceLink;
    friend class SimNetwork;
    void requestFrom(std::shared_ptr<DeviceLink> link);
    void link(std::shared_ptr<DeviceLink> device, QString tlsDescription = {});
    // A dialled link's handshake: connected, or the error with the double's reason.
    void shakeHands(unsigned attempt);
    // A listener's client becomes a request once its handshake has ended well, or is dropped.
    void offer(std::int32_t id);
    SimNetwork& network_;
    QString remoteHost_;
    std::int32_t remotePort_ = 0;
    std::int32_t localPort_ = 0;
    std::shared_ptr<DeviceLink> device_;
    std::map<std::int32_t, std::shared_ptr<DeviceLink>> requests_;
    std::map<std::int32_t, QString> requestTls_; // the description of each request's handshake
    QString tlsDescription_;
    std::int32_t nextRequest_ = 1000;
    unsigned attempt_ = 0; // a connect still on its way is dropped by a Close
};

struct ShownDialog {
    QString text;
    int style = 0;
    QString title;
    Ms at = 0;
};

// Answers dialogs from a script and records what was shown. Nothing runs while one is open.
class SimDialogs : public Dialogs {
public:
    explicit SimDialogs(Scheduler& scheduler) : scheduler_(scheduler) {}
    void messageBox(const QString& text, int style, const std::optional<QString>& title) override;
    std::optional<QString> showSave(const SaveDialogRequest& request) override;

    std::vector<ShownDialog> shown;
    std::vector<SaveDialogRequest> saveRequests;
    std::deque<std::optional<QString>> saveAnswers; // empty: Cancel
    Ms answerAfter = 0;                             // how long the operator takes to answer

private:
    Scheduler& scheduler_;
};

class MemorySettings : public SettingsStore {
public:
    QString read(const QString& app, const QString& section, const QString& key,
                 const QString& fallback) override;
    void write(const QString& app, const QString& section, const QString& key, const QString& value) override;
    std::map<QString, QString> values; // "app/section/key"
    int writes = 0;
};

class TempFolders : public Folders {
public:
    TempFolders();
    QString programFolder() const override { return program_; }
    QString workingFolder() const override { return working_; }

private:
    QTemporaryDir root_;
    QString program_;
    QString working_;
};

class SimBrowser : public Browser {
public:
    bool openUrl(const QString& address) override;
    std::vector<QString> opened;
    std::optional<RuntimeFailure> failWith;
};

// Every part of the simulated platform, owned together.
struct SimPlatform {
    Scheduler scheduler;
    SimNetwork network{scheduler};
    SimDialogs dialogs{scheduler};
    MemorySettings settings;
    TempFolders folders;
    SimBrowser browser;
    DirectAppender files;
    Platform platform() {
        return {scheduler, scheduler, network, dialogs, settings, scheduler, folders, browser, files};
    }
};

} // namespace sim::test
