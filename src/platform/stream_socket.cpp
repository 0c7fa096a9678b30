#include "platform/stream_socket.h"

#include "platform/runtime_failure.h"

namespace sim {

void StreamSocket::fail(int number) const {
    throw RuntimeFailure(number, socket_error::description(number), name_);
}

void StreamSocket::post(std::function<void()> event) {
    postEvent([this, generation = generation_, event = std::move(event)] {
        if (generation == generation_) {
            event();
        }
    });
}

void StreamSocket::received(const char* data, qsizetype size) {
    inbox_.append(data, size);
    queueArrival();
}

void StreamSocket::peerClosed() {
    peerClosed_ = true;
    outboxDrained(); // the carrier may have dropped what waited for a peer that is gone
    if (inbox_.isEmpty() && !arrivalQueued_) {
        queueClose();
    }
}

void StreamSocket::raiseError(int number, const QString& description) {
    state_ = socket_state::kError;
    post([this, number, text = description.isEmpty() ? socket_error::description(number) : description] {
        if (events.error) {
            events.error(number, text, name_);
        }
    });
}

void StreamSocket::reset() {
    ++generation_;
    if (events.linkChanged) {
        events.linkChanged();
    }
    inbox_.clear();
    arrivalQueued_ = false;
    arrivalsHeld_ = false;
    peerClosed_ = false;
    closeQueued_ = false;
}

void StreamSocket::sendData(const Bytes& data) {
    send(data, true);
}

void StreamSocket::sendAnswer(const Bytes& data) {
    send(data, false);
}

void StreamSocket::send(const Bytes& data, bool bounded) {
    if (state_ != socket_state::kConnected) {
        fail(socket_error::kWrongProtocolOrState);
    }
    if (bounded && unsent() + static_cast<qsizetype>(data.size()) > kOutboxLimit) {
        fail(socket_error::kNoBufferSpace);
    }
    transmit(data);
}

void StreamSocket::outboxDrained() {
    if (arrivalsHeld_ && !outboxFull()) {
        arrivalsHeld_ = false;
        queueArrival();
    }
}

void StreamSocket::dropEndedLink() {
    if (state_ == socket_state::kClosing || state_ == socket_state::kError) {
        close();
    }
}

void StreamSocket::getData(Bytes& data) {
    const qsizetype n = std::min<qsizetype>(inbox_.size(), kMaxArrival);
    // As bytes of the same type, so the copy is one block move rather than a loop over each byte.
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(inbox_.constData());
    data.assign(bytes, bytes + n);
    inbox_.remove(0, n);
    if (n > 0) {
        inboxDrained();
    }
}

void StreamSocket::queueArrival() {
    if (!arrivalQueued_) {
        arrivalQueued_ = true;
        post([this] { deliverArrival(); });
    }
}

void StreamSocket::deliverArrival() {
    arrivalQueued_ = false;
    const qsizetype before = inbox_.size();
    if (before > 0 && outboxFull()) {
        arrivalsHeld_ = true; // until outboxDrained
        return;
    }
    const unsigned generation = generation_;
    if (before > 0 && events.dataArrival) {
        events.dataArrival(static_cast<std::int32_t>(std::min<qsizetype>(before, kMaxArrival)));
    }
    if (generation != generation_) {
        return; // the handler closed the socket
    }
    if (!inbox_.isEmpty() && inbox_.size() < before) {
        queueArrival(); // the rest of a large arrival, in further events
    } else if (inbox_.isEmpty() && peerClosed_) {
        queueClose();
    }
}

void StreamSocket::queueClose() {
    if (closeQueued_) {
        return;
    }
    closeQueued_ = true;
    state_ = socket_state::kClosing;
    post([this] {
        if (events.close) {
            events.close();
        }
    });
}

} // namespace sim
