#pragma once

#include "platform/seam.h"

#include <QByteArray>

#include <functional>

namespace sim {

// What every stream socket shares, whatever carries its bytes: the state, the arrivals of at most
// kMaxArrival bytes each with the rest in further events, a peer's close reported only once every byte
// before it was handed over, events of an old link dropped after a Close, and a Connect that dials
// afresh after a link has ended.
class StreamSocket : public Socket {
public:
    explicit StreamSocket(QString name) : name_(std::move(name)) {}

    int state() const override { return state_; }
    void getData(Bytes& data) override;

    const QString& name() const { return name_; }

protected:
    // Runs the event at the next pump, in order with the socket's other events.
    virtual void postEvent(std::function<void()> event) = 0;
    // The inbox shrank: a carrier that paused reading may go on.
    virtual void inboxDrained() {}

    [[noreturn]] void fail(int number) const;
    // Posts an event that is dropped if the socket is closed before it runs.
    void post(std::function<void()> event);
    void setState(int state) { state_ = state; }
    void received(const char* data, qsizetype size);
    void peerClosed();
    void raiseError(int number);
    // Forgets the link: its bytes and its pending events.
    void reset();
    const QByteArray& inbox() const { return inbox_; }
    // Before a Connect: a link the peer closed, or one that failed, is closed so a new one can start.
    void dropEndedLink();

private:
    void queueArrival();
    void deliverArrival();
    void queueClose();

    QString name_;
    int state_ = socket_state::kClosed;
    unsigned generation_ = 0;
    QByteArray inbox_;
    bool arrivalQueued_ = false;
    bool peerClosed_ = false;
    bool closeQueued_ = false;
};

} // namespace sim
