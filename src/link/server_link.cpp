#include "link/server_link.h"

#include "panel/texts.h"
#include "platform/scoped_flag.h"
#include "platform/text_number.h"

namespace sim {

Started ServerLink::listen() {
    Panel& p = panel_;
    if (p.txt_Port.text().isEmpty()) {
        dialogs_.messageBox(QLatin1String(texts::kInputPortNo), msg_style::kCritical,
                            QLatin1String(texts::kErrorTitle));
        return Started::Refused;
    }
    const ScopedFlag looping(looping_);
    // Each pass reads what it needs after the events: the first listen starts at once, and after a
    // failed one the next attempt comes at the next event or after a short pause, so a port that stays
    // taken is retried without end but without burning the processor.
    for (;;) {
        if (p.bUserClose != 0) {
            return Started::ListeningEnded;
        }
        bool retrying = false;
        if (p.Server_Socket.state() == socket_state::kClosed) {
            ListenStart();
            retrying = p.Server_Socket.state() == socket_state::kClosed;
        }
        if (retrying) {
            pump_.pumpFor(kRetryPauseMs);
        } else {
            pump_.pump();
        }
    }
}

void ServerLink::ListenStart() {
    Panel& p = panel_;
    const Stamp now = log_.stamp();
    if (ServerListen() == Listened::Listening) {
        log_.addStatus(now, texts::kListening, Filed::No);
        log_.ListTrim();
        p.Frame1.setEnabled(false);
        p.Frame2.setEnabled(false);
        p.txt_Logfile.setEnabled(false);
        p.Cmd_Start.setEnabled(false);
        p.Cmd_Send.setEnabled(true);
        p.cmd_End.setEnabled(true);
        log_.ListBottom();
        return;
    }
    log_.statusLine(now, texts::kListenFail, Filed::No);
    // However the attempts began, Close stays offered so that the operator can always stop them.
    p.cmd_End.setEnabled(true);
}

Listened ServerLink::ServerListen() {
    Panel& p = panel_;
    try {
        p.Server_Socket.setProtocol(0);
        const auto port = toLong(p.txt_Port.text());
        if (!port) {
            return Listened::Failed;
        }
        p.Server_Socket.setLocalPort(static_cast<std::int32_t>(*port));
        p.Server_Socket.listen();
    } catch (const RuntimeFailure&) {
        return Listened::Failed;
    }
    return link_.waits().waitFor(p.Server_Socket, socket_state::kListening) ? Listened::Listening
                                                                            : Listened::Failed;
}

void ServerLink::Server_Socket_ConnectionRequest(std::int32_t requestId) {
    Panel& p = panel_;
    if (p.Server_Socket.state() == socket_state::kClosed) {
        return;
    }
    p.Server_Socket.close();
    try {
        p.Server_Socket.accept(requestId);
    } catch (const RuntimeFailure&) {
        return; // the request is lost; the loop finds the socket closed and listens again
    }
    const Stamp connected = log_.stamp();
    log_.statusLine(connected, texts::kClientConnected, Filed::No);
    if (const QString tls = p.Server_Socket.tlsDescription(); !tls.isEmpty()) {
        log_.statusLine(connected, ("] : TLS " + tls.toLatin1()).constData(), Filed::No);
    }
}

void ServerLink::Server_Socket_Close() {
    log_.statusLine(log_.stamp(), texts::kClientDisconnected, Filed::No);
    panel_.Server_Socket.close();
    link_.PanelReset();
}

void ServerLink::Server_Socket_DataArrival(std::int32_t bytesTotal) {
    Panel& p = panel_;
    const Int16 count = bytesTotal;
    if (count == 0) {
        return;
    }
    Bytes received;
    try {
        p.Server_Socket.getData(received);
    } catch (const RuntimeFailure&) {
        log_.TrafficLogFailure(Direction::Received);
        return;
    }
    link_.logArrival(p.Server_Socket, received, count);
    if (p.opt_Client.value()) {
        link_.answer(p.Server_Socket, received, count);
    }
}

} // namespace sim
