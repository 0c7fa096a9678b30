#pragma once

#include "panel/form_lifecycle.h"
#include "panel/operator.h"
#include "panel/panel.h"
#include "panel/saved_settings.h"
#include "platform/seam.h"

namespace sim {

// The composition root of the form: builds the panel on a platform, the subsystems that handle its
// events, and wires each control's events to its handler.
class FrmSimulator {
public:
    explicit FrmSimulator(const Platform& platform);

    // Form_Load, then the first Resize of the window being shown.
    void load();

    Panel& panel() { return panel_; }
    Operator& op() { return operator_; }

private:
    void wire();
    Platform platform_;
    Panel panel_;
    Operator operator_;
    SavedSettings settings_;
    FormLifecycle lifecycle_;
};

} // namespace sim
