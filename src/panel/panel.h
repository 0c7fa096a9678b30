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

    // Controls, by the names the handlers use.
    Frame& fraBack;
    ListBox& List1;
    Frame& Frame4;
    Label& Label11;
    CheckBox& chkMode;
    Frame& Frame8;
    Frame& Frame7;
    Frame& Frame2;
    Frame& Frame1;
    Frame& Frame10;
    ControlArray<TextBox, 4> txtStep;
    ControlArray<ComboBox, 3> txtTimeGap;
    Button& cmdSendStart;
    ControlArray<Label, 7> Label12;
    ControlArray<Label, 4> Label13;
    ControlArray<Label, 4> lvlcnt_Byte;
    ControlArray<Label, 4> Label14;
    ControlArray<TextBox, 4> txt_Destination_IP;
    TextBox& txt_Destination_Port;
    TextBox& txt_Simulator_IP;
    TextBox& txt_Port;
    OptionButton& opt_Client;
    OptionButton& opt_Server;
    Label& Label4;
    Label& Label3;
    Label& Label2;
    Label& Label1;
    Frame& Frame6;
    Frame& Frame5;
    Frame& Frame3;
    OptionButton& opt_Ascii;
    OptionButton& opt_HexA;
    OptionButton& opt_Receive_Only;
    OptionButton& opt_Send_Only;
    OptionButton& opt_Send_recv;
    OptionButton& opt_Send_input;
    OptionButton& opt_Repeat;
    OptionButton& opt_OneTime;
    ComboBox& com_Timegap;
    ComboBox& com_Count;
    Label& Label6;
    Label& Label5;
    Label& Label15;
    Label& Label16;
    OptionButton& opt_None;
    OptionButton& opt_List;
    OptionButton& opt_File;
    OptionButton& Opt_List_File;
    TextBox& txt_Logfile;
    Button& cmd_browser;
    Label& Label7;
    TextBox& txt_Data_Input;
    Button& Cmd_Send;
    Label& Label10;
    Label& Label9;
    Button& Cmd_Start;
    Button& cmd_End;
    Button& cmd_Log;
    Button& cmd_CSend;
    OptionButton& Opt_Cnn1;
    OptionButton& Opt_Cnn2;
    Timer& client_status;
    Timer& TmrConnect;
    Timer& Timer1;
    Timer& Timer2;
    SaveDialog& ComDlg;

    Socket& Client_Socket;
    Socket& Server_Socket;

    // The five form fields.
    Int16 iRepeatNo;
    Int16 iStepNo;
    Int16 iConnectTick;
    Int16 bUserClose;
    Int16 bFailShown;
};

} // namespace sim
