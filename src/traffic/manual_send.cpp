#include "traffic/manual_send.h"

#include "codec/codec.h"
#include "panel/texts.h"
#include "platform/text_number.h"

namespace sim {

void ManualSend::Cmd_Send_Click() {
    Panel& p = panel_;
    const QString text = p.txt_Data_Input.text();
    if (trimBlanks(text).isEmpty()) {
        dialogs_.messageBox(QLatin1String(texts::kPleaseInputData), msg_style::kExclamation,
                            QLatin1String(texts::kSendFailTitle));
        return;
    }
    const bool oddHex = p.opt_HexA.value() && text.size() % 2 != 0;
    const auto invalidData = [this] {
        dialogs_.messageBox(QLatin1String(texts::kInvalidData), msg_style::kCritical,
                            QLatin1String(texts::kErrorTitle));
    };
    if (oddHex) {
        invalidData();
    }
    if (p.opt_Server.value() && p.Client_Socket.state() != socket_state::kConnected) {
        if (link_.ConnectStart() != Started::Attempted) {
            return;
        }
    }
    Bytes payload;
    try {
        convertByFormat(p.opt_Ascii.value(), p.opt_HexA.value(), payload, p.txt_Data_Input.text());
    } catch (const RuntimeFailure&) {
        // Text the form cannot carry (put there other than by typing) or a lone digit: nothing is sent.
        if (!oddHex || p.txt_Data_Input.text().size() != 1) {
            invalidData();
        }
        return;
    }
    Socket* socket = p.Server_Socket.state() == socket_state::kConnected   ? &p.Server_Socket
                     : p.Client_Socket.state() == socket_state::kConnected ? &p.Client_Socket
                                                                           : nullptr;
    if (socket == nullptr) {
        return;
    }
    try {
        socket->sendData(payload);
    } catch (const RuntimeFailure&) {
        log_.TrafficLogFailure(Direction::Sent);
        return;
    }
    link_.tellSent(*socket, -1);
    log_.TrafficLog(payload, Direction::Sent);
}

void ManualSend::cmd_CSend_Click() {
    if (link_.startLink()) {
        Cmd_Send_Click();
    }
}

} // namespace sim
