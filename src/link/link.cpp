#include "link/link.h"

#include "codec/codec.h"
#include "panel/texts.h"
#include "platform/text_number.h"

#include <cmath>

namespace sim {

void Link::message(const char* text, int style, const char* title) {
    dialogs_.messageBox(QLatin1String(text), style, QLatin1String(title));
}

bool Link::startLink() {
    Panel& p = panel_;
    p.Client_Socket.close();
    p.Server_Socket.close();
    p.bUserClose = 0;
    if (!log_.Logfile_chk()) {
        return false;
    }
    if (ConnectStart() != Started::Attempted) {
        PanelReset();
    }
    return true;
}

void Link::Cmd_Start_Click() {
    Panel& p = panel_;
    if (!startLink()) {
        return;
    }
    if (p.Opt_Cnn1.value()) {
        p.bFailShown = 0;
        p.client_status.setEnabled(true);
    } else {
        p.bFailShown = 1;
        p.client_status.setEnabled(false);
    }
}

Started Link::ConnectStart() {
    Panel& p = panel_;
    p.Cmd_Start.setEnabled(false);
    const Stamp started = log_.stamp();
    if (!p.opt_Server.value()) {
        return listeningBranch ? listeningBranch() : Started::ListeningEnded;
    }
    if (destinationMissing()) {
        return Started::Refused;
    }
    if ((p.opt_Send_Only.value() || p.opt_Send_input.value()) && !SendParam_chk()) {
        return Started::Refused;
    }
    if (ClientConnect() == Dialled::Connected) {
        if (p.opt_Repeat.value() && p.opt_Send_Only.value()) {
            armRepeat();
        }
        log_.addStatus(started, texts::kConnectionSuccess, Filed::AtListPlusFile);
        if (const QString tls = p.Client_Socket.tlsDescription(); !tls.isEmpty()) {
            log_.addStatus(started, ("] : TLS " + tls.toLatin1()).constData(), Filed::AtListPlusFile);
            log_.ListTrim(); // one trim a line, or each TLS link would leave the list a row longer
        }
        log_.ListTrim();
        p.Frame1.setEnabled(false);
        p.Frame2.setEnabled(false);
        p.txt_Logfile.setEnabled(false);
        p.Frame10.setEnabled(false);
        p.chkMode.setEnabled(false);
        p.Cmd_Send.setEnabled(!p.Opt_Cnn2.value());
        p.cmd_End.setEnabled(true);
        log_.ListBottom();
        return Started::Attempted;
    }
    log_.addStatus(started, texts::kConnectionFail, Filed::AtListPlusFile);
    log_.ListTrim();
    p.Client_Socket.close();
    PanelReset();
    log_.ListBottom();
    return Started::Attempted;
}

bool Link::destinationMissing() {
    Panel& p = panel_;
    bool anyAddress = false;
    for (int i = 0; i < 4; ++i) {
        anyAddress = anyAddress || !p.txt_Destination_IP(i).text().isEmpty();
    }
    if (!anyAddress) {
        message(texts::kInputDestinationIP, msg_style::kCritical, texts::kErrorTitle);
        return true;
    }
    if (p.txt_Destination_Port.text().isEmpty()) {
        message(texts::kInputDestinationPort, msg_style::kCritical, texts::kErrorTitle);
        return true;
    }
    return false;
}

void Link::armRepeat() {
    Panel& p = panel_;
    p.iRepeatNo = 0;
    // Seconds in single precision, to whole milliseconds with a half going to the even neighbour. A
    // gap that is no number, negative or beyond the timer's reach arms nothing, and says so; so does
    // a count that is no number: a run never starts silently wrong.
    const auto seconds = parseNumber(p.com_Timegap.text());
    const float ms = seconds ? static_cast<float>(*seconds) * 1000.0F : -1.0F;
    const float rounded = std::nearbyint(ms);
    if (!seconds || !(rounded >= 0.0F && rounded <= 65535.0F)) {
        message(texts::kInputTimegap, msg_style::kExclamation, texts::kTimegapTitle);
        return;
    }
    try {
        repeatLimit(p.com_Count.text());
    } catch (const RuntimeFailure&) {
        message(texts::kInputCount, msg_style::kExclamation, texts::kCountTitle);
        return;
    }
    p.Timer1.setInterval(static_cast<int>(rounded));
    p.Timer1.setEnabled(true);
}

std::optional<long> repeatLimit(const QString& countText) {
    if (countText.isEmpty() || countText == QLatin1String(texts::kEndless)) {
        return std::nullopt;
    }
    const auto limit = toLong(countText);
    if (!limit) {
        throw RuntimeFailure(failure::kTypeMismatch);
    }
    return limit;
}

Dialled Link::ClientConnect() {
    Panel& p = panel_;
    if (waits_.running()) {
        // Dial-outs are held back while a wait runs (ConnectWaits); should one slip through, it fails
        // at once rather than wait inside a wait that can only end after it.
        return Dialled::NotStarted;
    }
    try {
        p.Client_Socket.setProtocol(0);
        QStringList parts;
        for (int i = 0; i < 4; ++i) {
            parts << p.txt_Destination_IP(i).text();
        }
        p.Client_Socket.setRemoteHost(parts.join(QLatin1Char('.')));
        const auto port = toLong(p.txt_Destination_Port.text());
        if (!port) {
            return Dialled::NotStarted; // a port that is no number
        }
        p.Client_Socket.setRemotePort(static_cast<std::int32_t>(*port));
        p.Client_Socket.connect();
    } catch (const RuntimeFailure&) {
        return Dialled::NotStarted;
    }
    return waits_.waitFor(p.Client_Socket, socket_state::kConnected) ? Dialled::Connected : Dialled::TimedOut;
}

bool Link::SendParam_chk() {
    Panel& p = panel_;
    const struct {
        const QString& text;
        const char* message;
        const char* title;
    } inputs[] = {{p.com_Timegap.text(), texts::kInputTimegap, texts::kTimegapTitle},
                  {p.com_Count.text(), texts::kInputCount, texts::kCountTitle},
                  {p.txt_Data_Input.text(), texts::kInputSendData, texts::kSendDataTitle}};
    for (const auto& input : inputs) {
        if (input.text.isEmpty()) {
            message(input.message, msg_style::kExclamation, input.title);
            p.Timer1.setEnabled(false);
            return false;
        }
    }
    return true;
}

void Link::PanelReset() {
    Panel& p = panel_;
    p.Frame1.setEnabled(true);
    p.Frame2.setEnabled(true);
    if (!p.opt_List.value() && !p.opt_None.value()) {
        p.txt_Logfile.setEnabled(true);
    }
    p.Frame10.setEnabled(true);
    p.chkMode.setEnabled(true);
    p.Cmd_Start.setEnabled(!p.Opt_Cnn2.value());
    p.Timer1.setEnabled(false);
    p.Cmd_Send.setEnabled(false);
    p.cmd_End.setEnabled(false);
}

void Link::TmrConnect_Timer() {
    Panel& p = panel_;
    if (p.iConnectTick > 10000) {
        p.iConnectTick = 0;
    } else {
        ++p.iConnectTick;
    }
}

void Link::client_status_Timer() {
    Panel& p = panel_;
    const Stamp now = log_.stamp();
    if (p.Client_Socket.state() != socket_state::kConnected && p.bFailShown == 0) {
        log_.addStatus(now, texts::kConnectionFail, Filed::AtListPlusFile);
        p.bFailShown = 1;
    }
}

void Link::Client_Socket_DataArrival(std::int32_t bytesTotal) {
    Panel& p = panel_;
    const Int16 count = bytesTotal;
    Bytes received;
    p.Client_Socket.getData(received);
    logArrival(p.Client_Socket, received, count);
    if (p.opt_Server.value()) {
        answer(p.Client_Socket, received, count, p.Opt_Cnn2.value());
    }
    const Stamp now = log_.stamp();
    if (!p.Opt_Cnn2.value()) {
        return;
    }
    p.Client_Socket.close();
    log_.statusLine(now, texts::kClientDisconnected, Filed::AtListPlusFile);
}

void Link::logArrival(Socket& socket, const Bytes& bytes, int count) {
    if (arriving) {
        arriving(socket, bytes);
    }
    log_.TrafficLog(bytes, count, Direction::Received);
    if (arrived) {
        arrived();
    }
}

void Link::answer(Socket& socket, const Bytes& received, int count, bool closing) {
    Panel& p = panel_;
    if (!p.opt_Send_recv.value() && !p.opt_Send_input.value()) {
        return;
    }
    if (rules_.on()) {
        rules_.arrival(socket, received, closing);
    } else {
        panelAnswer(socket, received, static_cast<std::size_t>(count));
    }
}

void Link::panelAnswer(Socket& socket, const Bytes& received, std::size_t count) {
    Panel& p = panel_;
    // A reply that cannot be built or sent is recorded in the failure form and nothing goes out.
    try {
        if (p.opt_Send_recv.value()) {
            socket.sendAnswer(received);
            log_.TrafficLog(received, static_cast<int>(count), Direction::Sent);
        } else if (p.opt_Send_input.value()) {
            Bytes reply;
            convertByFormat(p.opt_Ascii.value(), p.opt_HexA.value(), reply, p.txt_Data_Input.text());
            socket.sendAnswer(reply);
            log_.TrafficLog(reply, Direction::Sent);
        }
    } catch (const RuntimeFailure&) {
        log_.TrafficLogFailure(Direction::Sent);
    }
}

void Link::cmd_End_Click() {
    Panel& p = panel_;
    p.client_status.setEnabled(false);
    p.bFailShown = 1;
    const Stamp now = log_.stamp();
    if (p.opt_Server.value()) {
        p.Client_Socket.close();
        log_.addStatus(now, texts::kClientDisconnected, Filed::No);
        log_.ListBottom();
    } else if (p.opt_Client.value()) {
        p.Server_Socket.close();
        log_.addStatus(now, texts::kServerClosed, Filed::No);
        log_.ListBottom();
        p.bUserClose = 1;
    }
    log_.ListBottom(); // once more, whatever the role, as Close asks
    p.Timer1.setEnabled(false);
    p.iRepeatNo = 0;
    PanelReset();
}

} // namespace sim
