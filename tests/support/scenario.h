#pragma once

#include "support/files.h"
#include "support/sim_form.h"

#include <QDir>

namespace sim::test {

// The form pointed at a device on 127.0.0.1:4000 of the simulated network.
struct DeviceAsServer : SimForm {
    explicit DeviceAsServer(Answer answer = Answer::Accept) {
        sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, answer);
        pointAtLoopback(p, 4000);
    }

    std::shared_ptr<DeviceLink> device() const { return sim.network.lastLink(); }
    QStringList rows() const { return p.List1.rows(); }
    std::vector<QString> shownTexts() const {
        std::vector<QString> out;
        for (const auto& d : sim.dialogs.shown) {
            out.push_back(d.text);
        }
        return out;
    }
    QString dailyLogPath() const {
        return sim.folders.workingFolder() + QStringLiteral("/log/STAT_") +
               sim.scheduler.localDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".log");
    }
    QString namedLogPath() const { return QDir::fromNativeSeparators(p.txt_Logfile.text()); }
    // Clicks at the virtual time `at` and runs the events up to it.
    void clickAt(Ms at, Control& control) {
        sim.scheduler.runUntil(at);
        op.click(control);
    }
};

} // namespace sim::test
