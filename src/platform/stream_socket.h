#pragma once

#include "platform/seam.h"

#include <QByteArray>

#include <functional>

namespace sim {

// What every stream socket shares, whatever carries its bytes: the state, the arrivals of at most
// kMaxArrival bytes each with the rest in further events, a peer's close reported only once every byte
// before it was handed over, events of an old link dropped after a Close, a Connect that dials afresh
// after a link has ended, and the bound on what a socket holds unsent.
class StreamSocket : public Socket {
public:
    // The most a socket holds unsent. A peer that sends without reading (a device whose receive path
    // is stuck) must not make the simulator's memory grow with what it sends: while this much waits,
    // no arrival is handed over and the carrier stops reading, so the bytes stay with the system and
    // TCP's own flow control slows the peer down.
    static constexpr qsizetype kOutboxLimit = qsizetype{4} * 1024 * 1024;

    explicit StreamSocket(QString name) : name_(std::move(name)) {}

    int state() const override { return state_; }
    void getData(Bytes& data) override;
    // Sends of the operator and of the timers that would pass kOutboxLimit fail with 10055 and send
    // nothing: the repeat tick ends without a record and tries again at its next tick, a manual send
    // is recorded as failed.
    void sendData(const Bytes& data) final;
    // An answer is never refused: refusing it would lose an echo. It can take the outbox past the bound
    // by one arrival's answers at most, since no further arrival comes until the outbox is below the
    // bound again.
    void sendAnswer(const Bytes& data) final;
    unsigned linkNumber() const final { return generation_; }
    void setTls(std::shared_ptr<const tls::Context> context) override { tls_ = std::move(context); }
    QString tlsDescription() const override { return {}; }

    const QString& name() const { return name_; }

protected:
    // Runs the event at the next pump, in order with the socket's other events.
    virtual void postEvent(std::function<void()> event) = 0;
    // The inbox shrank: a carrier that paused reading may go on.
    virtual void inboxDrained() {}
    // Takes bytes to send on the connected link, once the state and the bound were checked.
    virtual void transmit(const Bytes& data) = 0;
    // Bytes taken by transmit that the carrier has not yet passed on.
    virtual qsizetype unsent() const = 0;

    [[noreturn]] void fail(int number) const;
    // Posts an event that is dropped if the socket is closed before it runs.
    void post(std::function<void()> event);
    void setState(int state) { state_ = state; }
    void received(const char* data, qsizetype size);
    void peerClosed();
    // The error event; `description` in place of the number's own text (a TLS failure's reason).
    void raiseError(int number, const QString& description = {});
    const tls::Context* tls() const { return tls_.get(); }
    // Forgets the link: its bytes and its pending events.
    void reset();
    const QByteArray& inbox() const { return inbox_; }
    // The carrier reads nothing more from the peer while this holds.
    bool outboxFull() const { return unsent() >= kOutboxLimit; }
    // The carrier passed bytes on: arrivals held back for a full outbox go on.
    void outboxDrained();
    // Before a Connect: a link the peer closed, or one that failed, is closed so a new one can start.
    void dropEndedLink();

private:
    void queueArrival();
    void deliverArrival();
    void queueClose();
    void send(const Bytes& data, bool bounded);

    QString name_;
    int state_ = socket_state::kClosed;
    unsigned generation_ = 0;
    QByteArray inbox_;
    bool arrivalQueued_ = false;
    bool arrivalsHeld_ = false; // for a full outbox
    bool peerClosed_ = false;
    bool closeQueued_ = false;
    std::shared_ptr<const tls::Context> tls_;
};

} // namespace sim
