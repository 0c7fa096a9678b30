#pragma once

#include "panel/controls.h"
#include "platform/seam.h"

#include <array>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace sim {

// Members of a control array share a name; the handler is told the index.
template <class T, int N> class ControlArray {
public:
    explicit ControlArray(std::array<T*, N> members) : members_(members) {}
    T& operator()(int index) const { return *members_.at(static_cast<std::size_t>(index)); }
    static constexpr int size() { return N; }

private:
    std::array<T*, N> members_;
};

// The form frmSimulator as data: every control with its design state, the two sockets, the five form
// fields and the focus. The controls are built from the control table; the view is built from the same
// table, and the handlers see nothing but what is here.
class Panel {
public:
    Panel(TimerFactory& timers, Network& network, Dialogs& dialogs);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    // Every control in table order.
    const std::vector<Control*>& controls() const { return view_; }
    Control* find(std::string_view name, int index = -1) const;

    Control* focused() const { return focused_; }
    // Moves the focus: LostFocus of the control that had it, then GotFocus of the new one. A move asked
    // for inside LostFocus replaces the target.
    void moveFocus(Control* target);

    // Runs an event that enters the form from outside (operator, timer, socket). A run-time failure that
    // no handler trapped is reported and the program goes on; a closed window unwinds quietly.
    void dispatch(const std::function<void()>& event);
    std::function<void(const RuntimeFailure&)> unhandledFailure;

    // Called with each change of a control's state; the Size of the form comes with a null control.
    std::function<void(Control*, Prop)> observer;
    void notify(Control* control, Prop prop) {
        if (observer) {
            observer(control, prop);
        }
    }

private:
    template <class T> T& find(std::string_view name) const;
    template <class T, int N> std::array<T*, N> members(std::string_view name) const;

    std::vector<std::unique_ptr<Control>> owned_;
    std::vector<Control*> view_;
    std::unique_ptr<Socket> clientSocket_;
    std::unique_ptr<Socket> serverSocket_;
    Control* focused_ = nullptr;
    bool movingFocus_ = false;
    Control* focusTarget_ = nullptr;

public:
    Form frmSimulator;

    // Controls, by the names the handlers use; a caption in quotes is the one the operator sees.
    Frame& fraBack;    // the back panel, top half: Frame1, Frame2, chkMode, Frame10, Frame7, Frame8
    ListBox& List1;    // the log list, bottom half
    Frame& Frame4;     // the foot strip
    Label& Label11;    // the maker's web address, a link
    CheckBox& chkMode; // "Program Mode": lies over Frame10's blank caption but belongs to fraBack
    Frame& Frame8;     // " [ Data Input ] ": the payload, the connection style and the buttons
    Frame& Frame7;     // " [ Log Level ] ": the level options and the log file row
    Frame& Frame2;     // "[ Action ]": holds Frame3, Frame5 and Frame6
    Frame& Frame1;     // " [ Tarnix ] ": the device's role and both ends' addresses
    Frame& Frame10;    // the four steps of program mode, under a caption of blanks
    ControlArray<TextBox, 4> txtStep;            // the payloads of program steps 1 to 4
    ControlArray<ComboBox, 3> txtTimeGap;        // the gaps in ms after steps 1 to 3
    Button& cmdSendStart;                        // "Start", or "End" while a program runs
    ControlArray<Label, 7> Label12;              // the step titles, then the "Time Gap" titles
    ControlArray<Label, 4> Label13;              // "bytes", beside each step's count
    ControlArray<Label, 4> lvlcnt_Byte;          // the byte count of each step
    ControlArray<Label, 4> Label14;              // "(ms)" beside the gaps
    ControlArray<TextBox, 4> txt_Destination_IP; // the four parts of the device's address
    TextBox& txt_Destination_Port;               // the device's port, dialled when it is the server
    TextBox& txt_Simulator_IP;                   // this machine's address, read-only
    TextBox& txt_Port;                           // the port to listen on when the device is the client
    OptionButton& opt_Client;       // "Client": the device is the client, so the simulator listens
    OptionButton& opt_Server;       // "Server": the device is the server, so the simulator dials out
    Label& Label4;                  // "Port No", of the device
    Label& Label3;                  // "Destination IP"
    Label& Label2;                  // "Port No", to listen on
    Label& Label1;                  // "Simulator IP"
    Frame& Frame6;                  // borderless: the repeat options, the gap and the count
    Frame& Frame5;                  // borderless: the four actions
    Frame& Frame3;                  // borderless: the data format
    OptionButton& opt_Ascii;        // "ASCII": one byte a character
    OptionButton& opt_HexA;         // "HexA": one byte a pair of hexadecimal digits
    OptionButton& opt_Receive_Only; // "Receive Only": records what arrives, answers nothing
    OptionButton& opt_Send_Only;    // "Send Input Data && Receive": sends the payload, answers nothing
    OptionButton& opt_Send_recv;    // "Receive && Send Receive Data": answers with the bytes that came
    OptionButton& opt_Send_input;   // "Receive && Send Input Data": answers with the payload
    OptionButton& opt_Repeat;       // "Repeat": a send every time gap, up to the count
    OptionButton& opt_OneTime;      // "OneTime"
    ComboBox& com_Timegap;          // the repeat's time gap in seconds
    ComboBox& com_Count;            // the repeat's count, or "Endless"
    Label& Label6;                  // "Count"
    Label& Label5;                  // "Time gap"
    Label& Label15;                 // blank
    Label& Label16;                 // "(sec)"
    OptionButton& opt_None;         // "None": no traffic records
    OptionButton& opt_List;         // "List": records in the list
    OptionButton& opt_File;         // "File": records in the two log files
    OptionButton& Opt_List_File;    // "List + File": both, and the link's main status lines in the files
    TextBox& txt_Logfile;           // the named log file
    Button& cmd_browser;            // "...": picks the named log file
    Label& Label7;                  // "Logfile"
    TextBox& txt_Data_Input;        // the payload, as ASCII or hexadecimal text
    Button& Cmd_Send;               // "Send OneTime"
    Label& Label10;                 // "bytes"
    Label& Label9;                  // the payload's byte count
    Button& Cmd_Start;              // "Connect" or "Listen", by role: starts a link
    Button& cmd_End;                // "Close": ends the link or the listening
    Button& cmd_Log;                // "Log Clear": empties the list
    Button& cmd_CSend;              // "Connect && Send && Recv && Close": one exchange
    OptionButton& Opt_Cnn1;         // "Connect": the link stays until Close
    OptionButton& Opt_Cnn2;         // "Connect && Close": a link for one exchange
    Timer& client_status;           // each second: reports once that an outgoing link was lost
    Timer& TmrConnect;              // one tick of a second ends the connect and listen waits
    Timer& Timer1;                  // the repeat sender's sends, one a time gap
    Timer& Timer2;                  // program mode's steps: a second, then the gaps
    SaveDialog& ComDlg;             // the Save dialog of the named log file

    Socket& Client_Socket; // dials the device when it is the server
    Socket& Server_Socket; // listens for the device, and then carries the link, when it is the client

    // The five form fields.
    Int16 iRepeatNo;    // sends of the running repeat
    Int16 iStepNo;      // the program step due
    Int16 iConnectTick; // ticks of TmrConnect in the running wait
    Int16 bUserClose;   // Close was pressed: the listening loop ends
    Int16 bFailShown;   // the lost link was reported, or is not to be
};

} // namespace sim
