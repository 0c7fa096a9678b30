#include "support/sim_platform.h"

#include "panel/texts.h"
#include "platform/ipv4.h"
#include "platform/scoped_flag.h"
#include "platform/tick_schedule.h"

#include <QDir>

#include <algorithm>

namespace sim::test {

// ---- Scheduler ----

Scheduler::Key Scheduler::at(Ms at, std::function<void()> fn) {
    const Key key{std::max(at, now_), seq_++};
    queue_.emplace(key, std::move(fn));
    return key;
}

bool Scheduler::runOneDue() {
    if (queue_.empty() || queue_.begin()->first.at > now_) {
        return false;
    }
    auto node = queue_.extract(queue_.begin());
    node.mapped()();
    return true;
}

void Scheduler::pump() {
    if (quit_) {
        throw ApplicationQuit();
    }
    if (queue_.empty()) {
        throw StuckPump("the event pump was called with nothing that could ever happen");
    }
    const Ms next = queue_.begin()->first.at;
    if (next > horizon_) {
        throw StuckPump("a loop pumped past the virtual time horizon");
    }
    now_ = std::max(now_, next);
    while (runOneDue()) {
    }
    if (quit_) {
        throw ApplicationQuit();
    }
}

void Scheduler::pumpFor(int maxWaitMs) {
    const Ms limit = now_ + maxWaitMs;
    if (queue_.empty() || queue_.begin()->first.at > limit) {
        if (limit > horizon_) {
            throw StuckPump("a loop pumped past the virtual time horizon");
        }
        now_ = limit;
        return;
    }
    pump();
}

void Scheduler::runUntil(Ms until) {
    while (!quit_ && !queue_.empty() && queue_.begin()->first.at <= until) {
        now_ = std::max(now_, queue_.begin()->first.at);
        runOneDue();
    }
    now_ = std::max(now_, until);
}

namespace {

class SimTimer : public PlatformTimer {
public:
    SimTimer(Scheduler& scheduler, std::function<void()> onTick)
        : scheduler_(scheduler), onTick_(std::move(onTick)) {}
    ~SimTimer() override { stop(); }
    SimTimer(const SimTimer&) = delete;
    SimTimer& operator=(const SimTimer&) = delete;

    void start(int intervalMs) override {
        stop();
        interval_ = intervalMs;
        using std::chrono::milliseconds;
        const auto first =
            tick_schedule::restartDue(tickDue_, milliseconds(interval_), milliseconds(scheduler_.now()));
        arm(std::chrono::duration_cast<milliseconds>(first).count());
    }
    void stop() override {
        if (due_) {
            scheduler_.cancel(*due_);
            due_.reset();
        }
    }

private:
    // As the Qt timer: a tick comes an interval after the last one, and a restart from its own handler
    // counts from when that tick was due. A tick that comes late (a dialog held it) comes once, and the
    // next one an interval after it: late ticks are never caught up.
    void arm(Ms due) {
        due_ = scheduler_.at(due, [this, due] {
            if (tickDue_) {
                arm(scheduler_.now() + interval_); // the handler of the last tick still runs
                return;
            }
            arm(scheduler_.now() + interval_);
            const ScopedValue<tick_schedule::Time> handling(tickDue_, std::chrono::milliseconds(due));
            onTick_();
        });
    }
    Scheduler& scheduler_;
    std::function<void()> onTick_;
    int interval_ = 0;
    std::optional<Scheduler::Key> due_;          // the next tick
    std::optional<tick_schedule::Time> tickDue_; // while the handler of a tick runs
};

} // namespace

std::unique_ptr<PlatformTimer> Scheduler::createTimer(std::function<void()> onTick) {
    return std::make_unique<SimTimer>(*this, std::move(onTick));
}

// ---- network ----

Bytes bytesOf(const char* ascii) {
    return Bytes(ascii, ascii + std::char_traits<char>::length(ascii));
}

void DeviceLink::send(const Bytes& bytes) {
    if (socket_ == nullptr || closing_) {
        return;
    }
    SimSocket* socket = socket_;
    socket->network_.scheduler_.after(socket->network_.latency, [this, socket, bytes] {
        if (socket_ == socket) {
            socket->received(reinterpret_cast<const char*>(bytes.data()),
                             static_cast<qsizetype>(bytes.size()));
        }
    });
}

void DeviceLink::carry(const Bytes& bytes) {
    if (!reading_) {
        unread_.insert(unread_.end(), bytes.begin(), bytes.end());
        return;
    }
    network_.scheduler_.after(network_.latency, [self = shared_from_this(), bytes] {
        self->received_.insert(self->received_.end(), bytes.begin(), bytes.end());
        if (self->onReceive) {
            self->onReceive(bytes);
        }
    });
}

void DeviceLink::startReading() {
    reading_ = true;
    const Bytes waiting = std::exchange(unread_, {});
    if (!waiting.empty()) {
        carry(waiting);
    }
    if (socket_ != nullptr) {
        socket_->outboxDrained();
    }
}

void DeviceLink::end(bool reset) {
    if (socket_ == nullptr || closing_) {
        return;
    }
    closing_ = true;
    SimSocket* socket = socket_;
    // Behind the bytes already on their way.
    socket->network_.scheduler_.after(socket->network_.latency, [this, socket, reset] {
        if (socket_ == socket) {
            socket_ = nullptr;
            socket->device_.reset();
            reset ? socket->raiseError(socket_error::kConnectionReset) : socket->peerClosed();
        }
    });
}

std::unique_ptr<Socket> SimNetwork::createSocket(const QString& name) {
    return std::make_unique<SimSocket>(*this, name);
}

void SimNetwork::deviceListens(const QString& host, int port, Answer answer) {
    listeners_[{host, port}] = answer;
}

SimSocket* SimNetwork::socketNamed(const QString& name) const {
    const auto found = std::ranges::find(sockets_, name, &SimSocket::name);
    return found == sockets_.end() ? nullptr : *found;
}

std::shared_ptr<DeviceLink> SimNetwork::deviceConnects(int port) {
    for (SimSocket* s : sockets_) {
        if (s->state() == socket_state::kListening && s->localPort() == port) {
            auto link = std::make_shared<DeviceLink>(*this);
            links_.push_back(link);
            s->requestFrom(link);
            return link;
        }
    }
    return nullptr;
}

SimSocket::SimSocket(SimNetwork& network, QString name) : StreamSocket(std::move(name)), network_(network) {
    network_.sockets_.push_back(this);
}

SimSocket::~SimSocket() {
    events = {};
    if (device_) {
        device_->socket_ = nullptr;
    }
    std::erase(network_.sockets_, this);
}

void SimSocket::setProtocol(int protocol) {
    if (protocol != 0) {
        fail(socket_error::kInvalidArgumentFormat);
    }
}

void SimSocket::connect() {
    dropEndedLink();
    if (state() != socket_state::kClosed) {
        fail(socket_error::kWrongProtocolOrState);
    }
    if (!parseIPv4(remoteHost_)) {
        fail(socket_error::kHostNotFound);
    }
    if (remotePort_ <= 0 || remotePort_ > 65535) {
        fail(socket_error::kInvalidArgumentFormat);
    }
    network_.dialled_.push_back(remoteHost_ + QLatin1Char(':') + QString::number(remotePort_));
    setState(socket_state::kConnecting);
    const auto listener = network_.listeners_.find({remoteHost_, remotePort_});
    const Answer answer = listener == network_.listeners_.end() ? Answer::Refuse : listener->second;
    const unsigned attempt = attempt_;
    // A device that ignores the connect lets it time out as the system would, after 21 s.
    const Ms delay = answer == Answer::Ignore ? 21000 : network_.latency;
    network_.scheduler_.after(delay, [this, attempt, answer] {
        if (attempt != attempt_) {
            return;
        }
        if (answer == Answer::Refuse) {
            raiseError(socket_error::kConnectionRefused);
            return;
        }
        if (answer == Answer::Ignore) {
            if (state() == socket_state::kConnecting) {
                raiseError(socket_error::kTimedOut);
            }
            return;
        }
        auto device = std::make_shared<DeviceLink>(network_);
        network_.links_.push_back(device);
        link(device);
        if (tls() != nullptr) {
            setState(socket_state::kConnecting); // until the handshake has ended
            network_.scheduler_.after(network_.tls.handshakeMs, [this, attempt] { shakeHands(attempt); });
        } else if (network_.onLink) {
            network_.onLink(device);
        }
    });
}

void SimSocket::shakeHands(unsigned attempt) {
    if (attempt != attempt_ || !device_) {
        return;
    }
    const QString why = network_.tls.next();
    if (!why.isEmpty()) {
        std::exchange(device_, nullptr)->socket_ = nullptr;
        raiseError(socket_error::kTlsFailed, socket_error::tlsFailure(why));
        return;
    }
    tlsDescription_ = network_.tls.description;
    setState(socket_state::kConnected);
    if (network_.onLink) {
        network_.onLink(device_);
    }
}

void SimSocket::link(std::shared_ptr<DeviceLink> device, QString tlsDescription) {
    reset();
    device_ = std::move(device);
    device_->socket_ = this;
    tlsDescription_ = std::move(tlsDescription);
    setState(socket_state::kConnected);
}

void SimSocket::listen() {
    if (state() != socket_state::kClosed) {
        fail(socket_error::kWrongProtocolOrState);
    }
    if (localPort_ < 0 || localPort_ > 65535) {
        fail(socket_error::kInvalidArgumentFormat);
    }
    const bool taken =
        std::ranges::find(network_.occupied_, localPort_) != network_.occupied_.end() ||
        std::ranges::any_of(network_.sockets_, [this](const SimSocket* s) {
            return s != this && s->state() == socket_state::kListening && s->localPort_ == localPort_;
        });
    if (taken) {
        fail(socket_error::kAddressInUse);
    }
    if (localPort_ == 0) {
        localPort_ = 49152;
    }
    setState(socket_state::kListening);
    postEvent([] {}); // the next pump returns at once and its loop reads the new state
}

void SimSocket::requestFrom(std::shared_ptr<DeviceLink> link) {
    const std::int32_t id = nextRequest_++;
    requests_[id] = std::move(link);
    if (tls() == nullptr) {
        offer(id);
        return;
    }
    // The listener shakes hands with the client while it goes on listening.
    network_.scheduler_.after(network_.tls.handshakeMs, [this, id] {
        const QString why = network_.tls.next();
        if (state() != socket_state::kListening || !why.isEmpty()) {
            requests_.at(id)->closing_ = true;
            requests_.erase(id);
            postEvent([this, why] {
                if (!why.isEmpty() && events.clientDropped) {
                    events.clientDropped(socket_error::kTlsFailed, socket_error::tlsFailure(why), name());
                }
            });
            return;
        }
        requestTls_[id] = network_.tls.description;
        offer(id);
    });
}

void SimSocket::offer(std::int32_t id) {
    // Not dropped by a Close: the handler closes the listen before it accepts.
    postEvent([this, id] {
        if (state() == socket_state::kListening && events.connectionRequest) {
            events.connectionRequest(id);
        }
        requests_.erase(id); // a request that was not accepted is turned away
        requestTls_.erase(id);
    });
}

void SimSocket::accept(std::int32_t requestId) {
    if (state() != socket_state::kClosed) {
        fail(socket_error::kWrongProtocolOrState);
    }
    auto request = requests_.find(requestId);
    if (request == requests_.end()) {
        fail(socket_error::kInvalidArgument);
    }
    auto device = request->second;
    requests_.erase(request);
    link(device, requestTls_[requestId]);
    postEvent([] {});
}

void SimSocket::transmit(const Bytes& data) {
    sent.emplace_back(static_cast<int>(network_.scheduler_.now()), data);
    if (device_) {
        device_->carry(data);
    }
}

void SimSocket::close() {
    ++attempt_;
    if (auto device = std::exchange(device_, nullptr)) {
        device->socket_ = nullptr;
    }
    const bool changed = state() != socket_state::kClosed;
    setState(socket_state::kClosed);
    tlsDescription_.clear();
    reset();
    if (changed) {
        postEvent([] {});
    }
}

// ---- dialogs, settings, folders, browser ----

void SimDialogs::messageBox(const QString& text, int style, const std::optional<QString>& title) {
    shown.push_back({text, style, title.value_or(QLatin1String(texts::kAppTitle)), scheduler_.now()});
    scheduler_.advance(answerAfter);
}

std::optional<QString> SimDialogs::showSave(const SaveDialogRequest& request) {
    saveRequests.push_back(request);
    scheduler_.advance(answerAfter);
    if (saveAnswers.empty()) {
        return std::nullopt;
    }
    const bool chosen = saveAnswers.front().has_value();
    const QString path = saveAnswers.front().value_or(QString());
    saveAnswers.pop_front();
    if (!chosen) {
        return std::nullopt;
    }
    return path;
}

QString MemorySettings::read(const QString& app, const QString& section, const QString& key,
                             const QString& fallback) {
    auto it = values.find(app + QLatin1Char('/') + section + QLatin1Char('/') + key);
    return it == values.end() ? fallback : it->second;
}

void MemorySettings::write(const QString& app, const QString& section, const QString& key,
                           const QString& value) {
    values[app + QLatin1Char('/') + section + QLatin1Char('/') + key] = value;
    ++writes;
}

TempFolders::TempFolders()
    : program_(QDir::toNativeSeparators(root_.path() + QStringLiteral("/program"))),
      working_(QDir::toNativeSeparators(root_.path() + QStringLiteral("/work"))) {
    QDir().mkpath(program_);
    QDir().mkpath(working_);
}

bool SimBrowser::openUrl(const QString& address) {
    if (failWith) {
        throw *failWith;
    }
    opened.push_back(address);
    return true;
}

} // namespace sim::test
