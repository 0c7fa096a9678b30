#pragma once

#include "link/judged_sends.h"
#include "link/link.h"
#include "link/server_link.h"
#include "logging/error_reports.h"
#include "logging/log_book.h"
#include "logging/log_level.h"
#include "panel/address_editor.h"
#include "panel/form_lifecycle.h"
#include "panel/operator.h"
#include "panel/options.h"
#include "panel/panel.h"
#include "panel/role.h"
#include "panel/saved_settings.h"
#include "platform/seam.h"
#include "traffic/manual_send.h"
#include "traffic/program_mode.h"
#include "traffic/repeat_sender.h"

namespace sim {

// The composition root of the form: builds the panel on a platform, the subsystems that handle its
// events, and wires each control's events to its handler.
class FrmSimulator {
public:
    explicit FrmSimulator(const Platform& platform);
    ~FrmSimulator();
    FrmSimulator(const FrmSimulator&) = delete;
    FrmSimulator& operator=(const FrmSimulator&) = delete;

    // Form_Load, then the first Resize of the window being shown.
    void load();

    Panel& panel() { return panel_; }
    Operator& op() { return operator_; }
    Link& link() { return link_; }
    JudgedSends& judged() { return judged_; }
    LogBook& log() { return log_; }
    ErrorReports& errors() { return errors_; }

private:
    void wire();
    void wireSockets();
    // The Click of a button that starts a dial-out: held back while a connect or listen wait runs.
    std::function<void()> dialOut(Button& button, std::function<void()> handler);
    Platform platform_;
    Panel panel_;
    Operator operator_;
    SavedSettings settings_;
    FormLifecycle lifecycle_;
    LogBook log_;
    ErrorReports errors_;
    LogLevel level_;
    Options options_;
    Link link_;
    JudgedSends judged_;
    ServerLink server_;
    Role role_;
    AddressEditor addressEditor_;
    ManualSend manualSend_;
    RepeatSender repeat_;
    ProgramMode program_;
};

} // namespace sim
