#include "panel/panel.h"
#include "platform/scoped_flag.h"

#include <stdexcept>

namespace sim {
namespace {

std::unique_ptr<Control> makeControl(Panel& panel, const ControlDesign& design, TimerFactory& timers,
                                     Dialogs& dialogs) {
    switch (design.kind) {
    case Kind::Frame:
        return std::make_unique<Frame>(panel, design);
    case Kind::Label:
        return std::make_unique<Label>(panel, design);
    case Kind::TextBox:
        return std::make_unique<TextBox>(panel, design);
    case Kind::OptionButton:
        return std::make_unique<OptionButton>(panel, design);
    case Kind::CheckBox:
        return std::make_unique<CheckBox>(panel, design);
    case Kind::Button:
        return std::make_unique<Button>(panel, design);
    case Kind::ComboBox:
        return std::make_unique<ComboBox>(panel, design);
    case Kind::ListBox:
        return std::make_unique<ListBox>(panel, design);
    case Kind::Timer:
        return std::make_unique<Timer>(panel, design, timers);
    case Kind::SaveDialog:
        return std::make_unique<SaveDialog>(panel, design, dialogs);
    case Kind::Socket:
        break;
    }
    return nullptr;
}

std::vector<std::unique_ptr<Control>> buildControls(Panel& panel, TimerFactory& timers, Dialogs& dialogs) {
    std::vector<std::unique_ptr<Control>> controls;
    for (const ControlDesign& design : controlTable()) {
        if (auto control = makeControl(panel, design, timers, dialogs)) {
            controls.push_back(std::move(control));
        }
    }
    for (auto& control : controls) {
        for (auto& candidate : controls) {
            if (candidate->design().name == control->design().holder && candidate->design().index < 0) {
                control->setHolder(candidate.get());
            }
        }
    }
    return controls;
}

std::vector<Control*> pointers(const std::vector<std::unique_ptr<Control>>& owned) {
    std::vector<Control*> out;
    out.reserve(owned.size());
    for (const auto& c : owned) {
        out.push_back(c.get());
    }
    return out;
}

} // namespace

Control* Panel::find(std::string_view name, int index) const {
    for (Control* c : view_) {
        if (c->design().name == name && c->design().index == index) {
            return c;
        }
    }
    return nullptr;
}

template <class T> T& Panel::find(std::string_view name) const {
    auto* control = dynamic_cast<T*>(find(name, -1));
    if (control == nullptr) {
        throw std::logic_error("control table lacks " + std::string(name));
    }
    return *control;
}

template <class T, int N> std::array<T*, N> Panel::members(std::string_view name) const {
    std::array<T*, N> out{};
    for (int i = 0; i < N; ++i) {
        out.at(static_cast<std::size_t>(i)) = dynamic_cast<T*>(find(name, i));
        if (out.at(static_cast<std::size_t>(i)) == nullptr) {
            throw std::logic_error("control table lacks a member of " + std::string(name));
        }
    }
    return out;
}

Panel::Panel(TimerFactory& timers, Network& network, Dialogs& dialogs)
    : owned_(buildControls(*this, timers, dialogs)), view_(pointers(owned_)),
      clientSocket_(network.createSocket(QStringLiteral("Client_Socket"))),
      serverSocket_(network.createSocket(QStringLiteral("Server_Socket"))), frmSimulator(*this),
      fraBack(find<Frame>("fraBack")), List1(find<ListBox>("List1")), Frame4(find<Frame>("Frame4")),
      Label11(find<Label>("Label11")), chkMode(find<CheckBox>("chkMode")), Frame8(find<Frame>("Frame8")),
      Frame7(find<Frame>("Frame7")), Frame2(find<Frame>("Frame2")), Frame1(find<Frame>("Frame1")),
      Frame10(find<Frame>("Frame10")), txtStep(members<TextBox, 4>("txtStep")),
      txtTimeGap(members<ComboBox, 3>("txtTimeGap")), cmdSendStart(find<Button>("cmdSendStart")),
      Label12(members<Label, 7>("Label12")), Label13(members<Label, 4>("Label13")),
      lvlcnt_Byte(members<Label, 4>("lvlcnt_Byte")), Label14(members<Label, 4>("Label14")),
      txt_Destination_IP(members<TextBox, 4>("txt_Destination_IP")),
      txt_Destination_Port(find<TextBox>("txt_Destination_Port")),
      txt_Simulator_IP(find<TextBox>("txt_Simulator_IP")), txt_Port(find<TextBox>("txt_Port")),
      opt_Client(find<OptionButton>("opt_Client")), opt_Server(find<OptionButton>("opt_Server")),
      Label4(find<Label>("Label4")), Label3(find<Label>("Label3")), Label2(find<Label>("Label2")),
      Label1(find<Label>("Label1")), Frame6(find<Frame>("Frame6")), Frame5(find<Frame>("Frame5")),
      Frame3(find<Frame>("Frame3")), opt_Ascii(find<OptionButton>("opt_Ascii")),
      opt_HexA(find<OptionButton>("opt_HexA")), opt_Receive_Only(find<OptionButton>("opt_Receive_Only")),
      opt_Send_Only(find<OptionButton>("opt_Send_Only")), opt_Send_recv(find<OptionButton>("opt_Send_recv")),
      opt_Send_input(find<OptionButton>("opt_Send_input")), opt_Repeat(find<OptionButton>("opt_Repeat")),
      opt_OneTime(find<OptionButton>("opt_OneTime")), com_Timegap(find<ComboBox>("com_Timegap")),
      com_Count(find<ComboBox>("com_Count")), Label6(find<Label>("Label6")), Label5(find<Label>("Label5")),
      Label15(find<Label>("Label15")), Label16(find<Label>("Label16")),
      opt_None(find<OptionButton>("opt_None")), opt_List(find<OptionButton>("opt_List")),
      opt_File(find<OptionButton>("opt_File")), Opt_List_File(find<OptionButton>("Opt_List_File")),
      txt_Logfile(find<TextBox>("txt_Logfile")), cmd_browser(find<Button>("cmd_browser")),
      Label7(find<Label>("Label7")), txt_Data_Input(find<TextBox>("txt_Data_Input")),
      Cmd_Send(find<Button>("Cmd_Send")), Label10(find<Label>("Label10")), Label9(find<Label>("Label9")),
      Cmd_Start(find<Button>("Cmd_Start")), cmd_End(find<Button>("cmd_End")),
      cmd_Log(find<Button>("cmd_Log")), cmd_CSend(find<Button>("cmd_CSend")),
      Opt_Cnn1(find<OptionButton>("Opt_Cnn1")), Opt_Cnn2(find<OptionButton>("Opt_Cnn2")),
      client_status(find<Timer>("client_status")), TmrConnect(find<Timer>("TmrConnect")),
      Timer1(find<Timer>("Timer1")), Timer2(find<Timer>("Timer2")), ComDlg(find<SaveDialog>("ComDlg")),
      Client_Socket(*clientSocket_), Server_Socket(*serverSocket_) {}

Panel::~Panel() {
    // Handlers may refer to controls; nothing may run while the form is torn down.
    observer = nullptr;
    Client_Socket.events = {};
    Server_Socket.events = {};
}

void Panel::moveFocus(Control* target) {
    if (movingFocus_) {
        focusTarget_ = target;
        return;
    }
    if (target == focused_) {
        return;
    }
    Control* old = focused_;
    focusTarget_ = target;
    if (old != nullptr && old->LostFocus) {
        const ScopedFlag moving(movingFocus_);
        old->LostFocus();
    }
    focused_ = focusTarget_;
    notify(focused_, Prop::Focus);
    if (focused_ != old && focused_ != nullptr && focused_->GotFocus) {
        focused_->GotFocus();
    }
}

void Panel::dispatch(const std::function<void()>& event) {
    try {
        event();
    } catch (const RuntimeFailure& failure) {
        if (unhandledFailure) {
            try {
                unhandledFailure(failure);
            } catch (const ApplicationQuit&) {
            }
        }
    } catch (const ApplicationQuit&) {
        // The window is closing; the loop that entered this event ends too.
    }
}

} // namespace sim
