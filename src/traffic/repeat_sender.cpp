#include "traffic/repeat_sender.h"

#include "codec/codec.h"

namespace sim {

void RepeatSender::Timer1_Timer() {
    Panel& p = panel_;
    if (link_.waits().running()) {
        // A connect is under way (this run's own reconnect, or a re-dial of Cmd_Send): the tick is
        // dropped before it counts, and no second reconnect starts on top of the first.
        return;
    }
    try {
        // The count is used up before the send, so a tick that fails further on counts too.
        if (const auto limit = repeatLimit(p.com_Count.text())) {
            if (p.iRepeatNo >= *limit) {
                return;
            }
            ++p.iRepeatNo;
        }
        Bytes payload;
        convertByFormat(p.opt_Ascii.value(), p.opt_HexA.value(), payload, p.txt_Data_Input.text());
        if (p.Client_Socket.state() == socket_state::kConnected) {
            p.Client_Socket.sendData(payload);
            link_.tellSent(p.Client_Socket, -1);
            log_.TrafficLog(payload, Direction::Sent);
            return;
        }
        p.Client_Socket.close();
        link_.ConnectStart();
    } catch (const RuntimeFailure&) {
        // Any failure ends the tick silently; Timer1 goes on and the next tick tries again.
    }
}

} // namespace sim
