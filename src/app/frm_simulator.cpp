#include "app/frm_simulator.h"

namespace sim {

FrmSimulator::FrmSimulator(const Platform& platform)
    : platform_(platform), panel_(platform.timers, platform.network, platform.dialogs),
      operator_(panel_, platform.pump),
      settings_(panel_, platform.settings, platform.dialogs, platform.browser),
      lifecycle_(panel_, settings_, platform.clock, platform.folders),
      log_(panel_, platform.clock, platform.folders, platform.dialogs, platform.files),
      errors_(panel_, log_, platform.clock, platform.folders, platform.dialogs), level_(panel_, log_),
      options_(panel_), link_(panel_, log_, platform.pump, platform.timers, platform.dialogs),
      judged_(panel_, log_, platform.clock, platform.timers),
      server_(panel_, log_, link_, platform.pump, platform.dialogs), role_(panel_),
      addressEditor_(panel_, platform.dialogs), manualSend_(panel_, log_, link_, platform.dialogs),
      repeat_(panel_, log_, link_), program_(panel_, log_, link_) {
    wire();
    wireSockets();
}

void FrmSimulator::wire() {
    Panel& p = panel_;
    p.unhandledFailure = [this](const RuntimeFailure& failure) {
        platform_.dialogs.messageBox(failure.description(), msg_style::kCritical, std::nullopt);
    };
    p.frmSimulator.Resize = [this] { lifecycle_.Form_Resize(); };
    // The address editor: the four boxes share their handlers, told the index.
    for (int i = 0; i < 4; ++i) {
        TextBox& box = p.txt_Destination_IP(i);
        box.Change = [this, i] { settings_.txt_Destination_IP_Change(i); };
        box.KeyPress = [this, i](Int16& key) { addressEditor_.txt_Destination_IP_KeyPress(i, key); };
        box.KeyUp = [this, i](Int16& key, Int16 shift) {
            addressEditor_.txt_Destination_IP_KeyUp(i, key, shift);
        };
        box.GotFocus = [this, i] { addressEditor_.txt_Destination_IP_GotFocus(i); };
        box.LostFocus = [this, i] { addressEditor_.txt_Destination_IP_LostFocus(i); };
    }
    p.txt_Destination_Port.Change = [this] { settings_.txt_Destination_Port_Change(); };
    p.Label11.Click = [this] { settings_.Label11_Click(); };

    // Logging
    p.cmd_Log.Click = [this] { log_.cmd_Log_Click(); };
    p.opt_None.Click = [this] { level_.LogfileOff(); };
    p.opt_List.Click = [this] { level_.LogfileOff(); };
    p.opt_File.Click = [this] { level_.LogfileOn(); };
    p.Opt_List_File.Click = [this] { level_.LogfileOn(); };
    p.cmd_browser.Click = [this] { level_.cmd_browser_Click(); };

    // Options and data input
    p.opt_Send_Only.Click = [this] { options_.opt_Send_Only_Click(); };
    p.opt_Receive_Only.Click = [this] { options_.opt_Receive_Only_Click(); };
    p.opt_Send_input.Click = [this] { options_.opt_Send_input_Click(); };
    p.opt_Send_recv.Click = [this] { options_.opt_Send_recv_Click(); };
    p.opt_Repeat.Click = [this] { options_.opt_Repeat_Click(); };
    p.opt_OneTime.Click = [this] { options_.opt_OneTime_Click(); };
    p.opt_Ascii.Click = [this] { options_.opt_Ascii_Click(); };
    p.opt_HexA.Click = [this] { options_.opt_HexA_Click(); };
    p.Opt_Cnn1.Click = [this] { options_.Opt_Cnn1_Click(); };
    p.Opt_Cnn2.Click = [this] { options_.Opt_Cnn2_Click(); };
    p.chkMode.Click = [this] { options_.chkMode_Click(); };
    p.txt_Data_Input.Change = [this] { options_.txt_Data_Input_Change(); };
    p.txt_Data_Input.KeyPress = [this](Int16& key) { options_.txt_Data_Input_KeyPress(key); };
    for (int i = 0; i < 4; ++i) {
        p.txtStep(i).Change = [this, i] { options_.txtStep_Change(i); };
        p.txtStep(i).KeyPress = [this, i](Int16& key) { options_.txtStep_KeyPress(i, key); };
    }

    // Role
    p.opt_Client.Click = [this] { role_.opt_Client_Click(); };
    p.opt_Server.Click = [this] { role_.opt_Server_Click(); };

    // Link and the senders. A start pressed while the simulator listens would only begin a second
    // listening loop inside the first: it is ignored, and the running loop goes on.
    link_.listeningBranch = [this] { return server_.listen(); };
    link_.sentByRun = [this](Socket& socket, int step) { judged_.sent(socket, step); };
    link_.arriving = [this](Socket& socket, const Bytes& bytes) { judged_.arriving(socket, bytes); };
    link_.arrived = [this] { judged_.arrived(); };
    p.Cmd_Start.Click = dialOut(p.Cmd_Start, [this] {
        if (!server_.listening()) {
            link_.Cmd_Start_Click();
        }
    });
    p.cmd_End.Click = [this] { link_.cmd_End_Click(); };
    p.TmrConnect.Tick = [this] { link_.TmrConnect_Timer(); };
    p.client_status.Tick = [this] { link_.client_status_Timer(); };
    p.Cmd_Send.Click = dialOut(p.Cmd_Send, [this] { manualSend_.Cmd_Send_Click(); });
    p.cmd_CSend.Click = dialOut(p.cmd_CSend, [this] {
        if (!server_.listening()) {
            manualSend_.cmd_CSend_Click();
        }
    });
    p.Timer1.Tick = [this] { repeat_.Timer1_Timer(); };
    p.cmdSendStart.Click = dialOut(p.cmdSendStart, [this] { program_.cmdSendStart_Click(); });
    p.Timer2.Tick = [this] { program_.Timer2_Timer(); };
}

std::function<void()> FrmSimulator::dialOut(Button& button, std::function<void()> handler) {
    return [this, &button, handler = std::move(handler)] { link_.waits().dialOut(button, handler); };
}

FrmSimulator::~FrmSimulator() {
    // The sockets outlive the handlers: a close while they go must tell nobody.
    panel_.Client_Socket.events.linkChanged = nullptr;
    panel_.Server_Socket.events.linkChanged = nullptr;
}

void FrmSimulator::wireSockets() {
    Panel& p = panel_;
    // Sends still waiting for their replies fail the moment their link ends.
    for (Socket* socket : {&p.Client_Socket, &p.Server_Socket}) {
        socket->events.linkChanged = [this, socket] { judged_.linkChanged(*socket); };
    }
    // Socket events enter the form like any other event.
    p.Client_Socket.events.dataArrival = [this](std::int32_t n) {
        panel_.dispatch([this, n] { link_.Client_Socket_DataArrival(n); });
    };
    p.Client_Socket.events.error = [this](int number, const QString& description, const QString& source) {
        panel_.dispatch([&] { errors_.Client_Socket_Error(number, description, source); });
    };
    p.Server_Socket.events.clientDropped = [this](int number, const QString& description,
                                                  const QString& source) {
        panel_.dispatch([&] { errors_.Server_Socket_ClientDropped(number, description, source); });
    };
    p.Server_Socket.events.error = [this](int number, const QString& description, const QString& source) {
        panel_.dispatch([&] { errors_.Server_Socket_Error(number, description, source); });
    };
    p.Server_Socket.events.connectionRequest = [this](std::int32_t id) {
        panel_.dispatch([this, id] { server_.Server_Socket_ConnectionRequest(id); });
    };
    p.Server_Socket.events.close = [this] { panel_.dispatch([this] { server_.Server_Socket_Close(); }); };
    // The dialling side has no handler for the device's close; only what waits for a reply hears it.
    p.Client_Socket.events.close = [this] {
        panel_.dispatch([this] { judged_.peerClosed(panel_.Client_Socket); });
    };
    p.Server_Socket.events.dataArrival = [this](std::int32_t n) {
        panel_.dispatch([this, n] { server_.Server_Socket_DataArrival(n); });
    };
}

void FrmSimulator::load() {
    panel_.dispatch([this] { lifecycle_.Form_Load(); });
    panel_.dispatch([this] { lifecycle_.Form_Resize(); });
}

} // namespace sim
