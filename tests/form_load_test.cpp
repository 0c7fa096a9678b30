#include "support/panel_state.h"
#include "support/sim_form.h"

#include <QDir>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

const QString kAddressKey = QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS");
const QString kPortKey = QStringLiteral("TK7300_SIMUL/Simulator/PORT");

TEST(FormLoad, BuildsTheStartingPanelWithADatedLogFileThatItDoesNotTouch) {
    SimForm f;
    Panel& p = f.p;
    const QString facts = QStringLiteral(
        "+Cmd_Start -Cmd_Send -cmd_End -cmd_CSend -Frame10 -opt_Repeat -opt_OneTime -com_Timegap -com_Count "
        "-Label7 -txt_Logfile -cmd_browser -txt_Port#C0C0C0 opt_Server=1 opt_Send_recv=1 opt_Ascii=1 "
        "opt_List=1 "
        "Opt_Cnn1=1");
    EXPECT_EQ(factsOf(p, facts), facts);
    EXPECT_EQ(p.txt_Simulator_IP.text(), QStringLiteral("192.0.2.10"));
    EXPECT_EQ(p.com_Timegap.text(), QStringLiteral("1"));
    EXPECT_EQ(p.com_Count.text(), QStringLiteral("Endless"));
    const QString folder = f.sim.folders.programFolder();
    EXPECT_EQ(p.txt_Logfile.text(), QDir::toNativeSeparators(folder + QStringLiteral("/Log/20261122.dat")));
    EXPECT_FALSE(QDir(folder + QStringLiteral("/Log")).exists());
}

TEST(FormLoad, FillsTheBoxesFromTheSavedAddressAndPortAndSavesThemBack) {
    const struct {
        const char* stored; // nullptr: nothing saved yet
        QStringList shown;
        const char* storedAfter;
    } cases[] = {
        {nullptr, {"100", "100", "100", "1"}, "100.100.100.1."},
        // As written by the program, with the dot at the end; read the same as without it.
        {"192.168.0.5.", {"192", "168", "0", "5"}, "192.168.0.5."},
        {"192.168.0.5", {"192", "168", "0", "5"}, "192.168.0.5."},
        // More than four pieces: the first four fill the boxes and the rest is dropped.
        {"10.1.2.3.4.5", {"10", "1", "2", "3"}, "10.1.2.3."},
        // An emptied box leaves two dots in a row; it comes back empty.
        {"10.1..3.", {"10", "1", "", "3"}, "10.1..3."},
        // Fewer than four pieces: the boxes it reaches are filled, the others stay empty.
        {"10.1", {"10", "1", "", ""}, "10.1..."},
        {"", {"", "", "", ""}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.stored == nullptr ? "nothing" : c.stored);
        SimForm f(false);
        if (c.stored != nullptr) {
            f.sim.settings.values[kAddressKey] = QString::fromLatin1(c.stored);
            f.sim.settings.values[kPortKey] = QStringLiteral("5000");
        }
        f.form.load();
        QStringList boxes;
        for (int i = 0; i < 4; ++i) {
            boxes << f.p.txt_Destination_IP(i).text();
        }
        EXPECT_EQ(boxes, c.shown);
        EXPECT_EQ(f.sim.settings.values[kAddressKey], QString::fromLatin1(c.storedAfter));
        EXPECT_EQ(f.p.txt_Destination_Port.text(), QLatin1String(c.stored == nullptr ? "4000" : "5000"));
        EXPECT_EQ(f.sim.settings.values[kPortKey], f.p.txt_Destination_Port.text());
        f.p.txt_Destination_Port.setText(QString());
        EXPECT_EQ(f.sim.settings.values[kPortKey], QString()) << "an emptied port box is saved too";
    }
}

TEST(FormResize, KeepsTheWindowOneSize) {
    SimForm f;
    Form& form = f.p.frmSimulator;
    const auto size = [&] { return std::pair(form.width(), form.height()); };
    EXPECT_EQ(size(), std::pair(11085, 11265)) << "as shown";
    form.setWidth(9000);
    form.setHeight(9000);
    EXPECT_EQ(size(), std::pair(11085, 11265));
    form.setWidth(12000);
    form.setHeight(11040);
    EXPECT_EQ(size(), std::pair(11085, 11040)) << "a height of exactly 11040 is kept";
}

// The maker link's failure to open is a critical error; a failure no handler trapped is shown the same
// way, and the program goes on.
TEST(Failures, TheMakerLinksAndOneNoHandlerTrappedAreShownAsCriticalErrors) {
    SimForm f;
    f.op.click(f.p.Label11);
    EXPECT_EQ(f.sim.browser.opened, std::vector<QString>{QStringLiteral("www.tarnix.example")});
    f.sim.browser.failWith = RuntimeFailure(53, QStringLiteral("File not found"));
    f.op.click(f.p.Label11);
    f.p.cmd_Log.Click = [] { throw RuntimeFailure(6, QStringLiteral("Overflow")); };
    f.op.click(f.p.cmd_Log);
    EXPECT_TRUE(f.op.click(f.p.opt_None));
    QStringList shown;
    for (const auto& d : f.sim.dialogs.shown) {
        shown << QStringLiteral("%1 / %2 / %3").arg(d.text, d.title).arg(d.style);
    }
    EXPECT_EQ(shown, (QStringList{"File not found / Error / 16", "Overflow / Simulator / 16"}));
}

} // namespace
} // namespace sim::test
