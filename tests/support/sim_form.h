#pragma once

#include "app/frm_simulator.h"
#include "app/profile.h"
#include "support/keyboard.h"
#include "support/sim_platform.h"

#include <gtest/gtest.h>

namespace sim::test {

// Types 127.0.0.1 and the port into the destination boxes, so that a dial reaches nothing but this
// machine (or the simulated device there): the panel's default address must never be dialled.
inline void pointAtLoopback(Panel& p, int port) {
    const char* octets[] = {"127", "0", "0", "1"};
    for (int i = 0; i < 4; ++i) {
        p.txt_Destination_IP(i).setText(QString::fromLatin1(octets[i]));
    }
    p.txt_Destination_Port.setText(QString::number(port));
}

// The whole form on the simulated platform, loaded as the window would show it.
struct SimForm {
    SimPlatform sim;
    FrmSimulator form{sim.platform()};
    Panel& p = form.panel();
    Operator& op = form.op();
    Keyboard keys{p, op};

    explicit SimForm(bool load = true) {
        if (load) {
            form.load();
        }
    }
};

// Applies a profile of these lines as the program does; a printed profile loads back and prints the same.
inline void applyProfile(SimForm& f, const QStringList& lines) {
    QString error;
    const auto profile = Profile::parse(lines.join(u'\n'), QStringLiteral("run.ini"), &error);
    ASSERT_TRUE(profile) << error.toStdString();
    ASSERT_EQ(profile->applyTo(f.form), std::nullopt);
    const QString printed = Profile::print(f.p, &*profile);
    SimForm again;
    const auto reloaded = Profile::parse(printed, QStringLiteral("printed.ini"), &error);
    ASSERT_TRUE(reloaded && !reloaded->applyTo(again.form));
    EXPECT_EQ(Profile::print(again.p, &*reloaded), printed);
}

} // namespace sim::test
