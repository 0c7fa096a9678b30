#include "app/frm_simulator.h"

namespace sim {

FrmSimulator::FrmSimulator(const Platform& platform)
    : platform_(platform), panel_(platform.timers, platform.network, platform.dialogs),
      operator_(panel_, platform.pump),
      settings_(panel_, platform.settings, platform.dialogs, platform.browser),
      lifecycle_(panel_, settings_, platform.clock, platform.folders) {
    wire();
}

void FrmSimulator::wire() {
    Panel& p = panel_;
    p.unhandledFailure = [this](const RuntimeFailure& failure) {
        platform_.dialogs.messageBox(failure.description(), msg_style::kCritical, std::nullopt);
    };
    p.frmSimulator.Resize = [this] { lifecycle_.Form_Resize(); };
    for (int i = 0; i < 4; ++i) {
        p.txt_Destination_IP(i).Change = [this, i] { settings_.txt_Destination_IP_Change(i); };
    }
    p.txt_Destination_Port.Change = [this] { settings_.txt_Destination_Port_Change(); };
    p.Label11.Click = [this] { settings_.Label11_Click(); };
}

void FrmSimulator::load() {
    panel_.dispatch([this] { lifecycle_.Form_Load(); });
    panel_.dispatch([this] { lifecycle_.Form_Resize(); });
}

} // namespace sim
