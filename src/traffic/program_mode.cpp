#include "traffic/program_mode.h"

#include "codec/codec.h"
#include "panel/texts.h"
#include "platform/text_number.h"

namespace sim {

void ProgramMode::cmdSendStart_Click() {
    Panel& p = panel_;
    if (p.cmdSendStart.caption() == QLatin1String(texts::kStartCaption)) {
        // Program mode has no listening form: with the device as client nothing happens.
        if (p.opt_Server.value()) {
            StepConnect();
        }
        return;
    }
    // Timer2 is left as it is: ticks of a run still going find no link and do nothing.
    p.Client_Socket.close();
    p.Server_Socket.close();
    p.cmdSendStart.setCaption(QLatin1String(texts::kStartCaption));
    log_.statusLine(log_.stamp(), texts::kClientClosed, Filed::No);
}

void ProgramMode::StepConnect() {
    Panel& p = panel_;
    if (link_.destinationMissing()) {
        return;
    }
    p.Client_Socket.close();
    if (p.chkMode.value() != 1) {
        return;
    }
    // A connect of its own: no log file check, no lock of the panel, no watcher, no repeat run. A
    // failure shows nothing; the caption staying "Start" is the sign.
    if (link_.ClientConnect() != Dialled::Connected) {
        return;
    }
    const Stamp connected = log_.stamp();
    log_.statusLine(connected, texts::kClientConnected, Filed::No);
    if (const QString tls = panel_.Client_Socket.tlsDescription(); !tls.isEmpty()) {
        log_.statusLine(connected, ("] : TLS " + tls.toLatin1()).constData(), Filed::No);
    }
    StepStart();
    p.cmdSendStart.setCaption(QLatin1String(texts::kEndCaption));
}

void ProgramMode::StepStart() {
    Panel& p = panel_;
    p.Timer2.setInterval(kFirstStepMs);
    p.Timer2.setEnabled(true);
    p.iStepNo = 0;
}

void ProgramMode::endRun() {
    panel_.Timer2.setEnabled(false);
    panel_.iStepNo = 0;
}

void ProgramMode::Timer2_Timer() {
    Panel& p = panel_;
    try {
        const int s = p.iStepNo;
        const QString text = p.txtStep(s).text();
        // An empty step ends the run; the steps behind it are not sent.
        if (trimBlanks(text).isEmpty()) {
            endRun();
            return;
        }
        Bytes payload;
        convertByFormat(p.opt_Ascii.value(), p.opt_HexA.value(), payload, text);
        Socket& socket = p.opt_Server.value() ? p.Client_Socket : p.Server_Socket;
        if (socket.state() != socket_state::kConnected) {
            return; // the same step again at the next tick, for as long as the link is down
        }
        socket.sendData(payload);
        link_.tellSent(socket, s);
        log_.TrafficLog(payload, Direction::Sent);
        if (s < 3) {
            ComboBox& gap = p.txtTimeGap(s);
            if (trimBlanks(gap.text()).isEmpty()) {
                gap.setText(QLatin1String(texts::kGapWhenEmpty)); // where the operator sees it
            }
            p.Timer2.setInterval(toInt16(gap.text()));
        }
        ++p.iStepNo;
        if (p.iStepNo > 3) {
            endRun();
        }
    } catch (const RuntimeFailure&) {
        endRun(); // silently: the steps behind are not sent
    }
}

} // namespace sim
