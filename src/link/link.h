#pragma once

#include "link/connect_waits.h"
#include "link/rule_answers.h"
#include "logging/log_book.h"
#include "panel/panel.h"

#include <optional>

namespace sim {

// What ConnectStart gives: 0 when a check refused and nothing was tried, 1 when a dial was made, whatever
// its outcome, and no value once the operator has ended listening. Every caller takes no value as 0.
enum class Started { Refused = 0, Attempted = 1, ListeningEnded };
// What ClientConnect gives: 1 when the socket connected within the wait, 0 when the wait ran out, 99
// when the connect could not start. A caller asks only whether it connected.
enum class Dialled { TimedOut = 0, Connected = 1, NotStarted = 99 };

// Starting and stopping a link, the connect wait, the watcher of an outgoing link and what the device
// sends on it.
class Link {
public:
    Link(Panel& panel, LogBook& log, EventPump& pump, TimerFactory& timers, Dialogs& dialogs)
        : panel_(panel), log_(log), dialogs_(dialogs), waits_(panel, pump),
          rules_(panel, log, timers,
                 [this](Socket& socket, const Bytes& bytes) { panelAnswer(socket, bytes, bytes.size()); }) {}

    ConnectWaits& waits() { return waits_; }
    RuleAnswers& rules() { return rules_; }

    // The listening branch of ConnectStart, taken when the device is the client: it runs until the
    // operator ends listening. Without it, listening ends at once.
    std::function<Started()> listeningBranch;
    // Told of each send the run makes (a manual send, a repeat tick, a program step; never an answer)
    // once its bytes were handed to `socket`; `step` is the program step, or -1.
    std::function<void(Socket& socket, int step)> sentByRun;
    // Told of each arrival on the socket that holds the link: `arriving` before its record is written,
    // `arrived` once it is (and before it is answered).
    std::function<void(Socket& socket, const Bytes& bytes)> arriving;
    std::function<void()> arrived;
    // The record of an arrival, between the two.
    void logArrival(Socket& socket, const Bytes& bytes, int count);
    void tellSent(Socket& socket, int step) {
        if (sentByRun) {
            sentByRun(socket, step);
        }
    }

    void Cmd_Start_Click();
    // The start that Connect and "Connect && Send && Recv && Close" share: both sockets closed, the
    // log file checked, ConnectStart, and the panel unlocked again when nothing was attempted. False
    // when the log file was refused.
    bool startLink();
    Started ConnectStart();
    Dialled ClientConnect();
    bool SendParam_chk();
    // The checks of the destination that open a dial-out: with all four address boxes or the port box
    // empty, its message, and true.
    bool destinationMissing();
    void PanelReset();
    void TmrConnect_Timer();
    void client_status_Timer();
    void Client_Socket_DataArrival(std::int32_t bytesTotal);
    void cmd_End_Click();

    // The answer to arrived bytes by the action option, on the socket they came from: by the rules when
    // there are any, else the panel's own. `closing`: the link closes once it is answered.
    void answer(Socket& socket, const Bytes& received, int count, bool closing = false);

private:
    void panelAnswer(Socket& socket, const Bytes& received, std::size_t count);
    void armRepeat();
    void message(const char* text, int style, const char* title);
    Panel& panel_;
    LogBook& log_;
    Dialogs& dialogs_;
    ConnectWaits waits_;
    RuleAnswers rules_;
};

// The limit of a counted repeat run, or nothing for a run without end (an empty box or "Endless"). The
// count is a whole number, a half going to the even neighbour; any other text raises the type-mismatch
// failure.
std::optional<long> repeatLimit(const QString& countText);

} // namespace sim
