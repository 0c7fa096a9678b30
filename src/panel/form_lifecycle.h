#pragma once

#include "panel/panel.h"
#include "panel/saved_settings.h"

namespace sim {

// The form's own events: the start-up that builds the panel, and the resize that keeps it one size.
class FormLifecycle {
public:
    FormLifecycle(Panel& panel, SavedSettings& settings, Clock& clock, Folders& folders)
        : panel_(panel), settings_(settings), clock_(clock), folders_(folders) {}

    void Form_Load();
    void Form_Resize();

    static constexpr int kWidth = 11085;
    static constexpr int kHeightKept = 11040;
    static constexpr int kHeight = 11265;

private:
    Panel& panel_;
    SavedSettings& settings_;
    Clock& clock_;
    Folders& folders_;
};

} // namespace sim
