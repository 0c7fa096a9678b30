#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// ---- PanelReset ----

struct ResetCase {
    const char* level;
    bool connectAndClose; // Opt_Cnn2 selected
    bool logfileBefore;
    bool logfileAfter;
    bool startAfter;
};

class PanelResetSteps : public ::testing::TestWithParam<ResetCase> {};

TEST_P(PanelResetSteps, UnlocksWhatALinkLockedAndTouchesNothingElse) {
    const ResetCase& c = GetParam();
    DeviceAsServer f;
    f.op.click(*static_cast<OptionButton*>(f.p.find(c.level)));
    f.op.click(f.p.Cmd_Start); // a link: the panel is locked
    ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    if (c.connectAndClose) {
        f.p.Opt_Cnn2.setValue(true);
    }
    // Everything the steps change is set against them, and what they must not touch is marked.
    f.p.txt_Logfile.setEnabled(c.logfileBefore);
    f.p.Cmd_Start.setEnabled(!c.startAfter);
    f.p.Timer1.setInterval(500);
    f.p.Timer1.setEnabled(true);
    f.p.Cmd_Send.setEnabled(true);
    f.p.cmd_End.setEnabled(true);
    f.p.Timer2.setInterval(700);
    f.p.Timer2.setEnabled(true);
    const bool cSend = !f.p.cmd_CSend.enabled();
    f.p.cmd_CSend.setEnabled(cSend);
    const bool browser = !f.p.cmd_browser.enabled();
    f.p.cmd_browser.setEnabled(browser);
    const bool label7 = !f.p.Label7.enabled();
    f.p.Label7.setEnabled(label7);
    f.p.iRepeatNo = 3;
    f.p.iStepNo = 2;
    f.p.bUserClose = 1;
    f.p.bFailShown = 1;

    f.form.link().PanelReset();

    // Steps 1 to 6.
    EXPECT_TRUE(f.p.Frame1.enabled());
    EXPECT_TRUE(f.p.Frame2.enabled());
    EXPECT_EQ(f.p.txt_Logfile.enabled(), c.logfileAfter);
    EXPECT_TRUE(f.p.Frame10.enabled());
    EXPECT_TRUE(f.p.chkMode.enabled());
    EXPECT_EQ(f.p.Cmd_Start.enabled(), c.startAfter);
    EXPECT_FALSE(f.p.Timer1.running());
    EXPECT_FALSE(f.p.Cmd_Send.enabled());
    EXPECT_FALSE(f.p.cmd_End.enabled());
    // And nothing more.
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    EXPECT_TRUE(f.p.client_status.running());
    EXPECT_TRUE(f.p.Timer2.running());
    EXPECT_EQ(f.p.cmd_CSend.enabled(), cSend);
    EXPECT_EQ(f.p.cmd_browser.enabled(), browser);
    EXPECT_EQ(f.p.Label7.enabled(), label7);
    EXPECT_EQ(f.p.iRepeatNo, 3);
    EXPECT_EQ(f.p.iStepNo, 2);
    EXPECT_EQ(f.p.bUserClose, 1);
    EXPECT_EQ(f.p.bFailShown, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PanelResetSteps,
    ::testing::Values(
        // txt_Logfile comes back only at File and List + File, and is never switched off here.
        ResetCase{"opt_File", false, false, true, true}, ResetCase{"Opt_List_File", false, false, true, true},
        ResetCase{"opt_List", false, false, false, true}, ResetCase{"opt_None", false, false, false, true},
        ResetCase{"opt_List", false, true, true, true},
        // Connect && Close keeps Cmd_Start off.
        ResetCase{"opt_List", true, false, false, false}, ResetCase{"opt_File", true, false, true, false}),
    [](const auto& info) {
        return std::string(info.param.level) + (info.param.connectAndClose ? "ConnectAndClose" : "Connect") +
               (info.param.logfileBefore ? "LogfileOn" : "LogfileOff");
    });

// ---- SendParam_chk ----

TEST(SendParamCheck, ATextOfBlanksIsNotEmpty) {
    DeviceAsServer f;
    f.op.click(f.p.opt_Send_Only);
    f.op.click(f.p.opt_OneTime); // no repeat run to arm on connect
    f.p.com_Timegap.setText(QStringLiteral("  "));
    f.p.com_Count.setText(QStringLiteral(" "));
    f.p.txt_Data_Input.setText(QStringLiteral("   "));
    EXPECT_TRUE(f.form.link().SendParam_chk());
    f.op.click(f.p.Cmd_Start);
    EXPECT_TRUE(f.sim.dialogs.shown.empty());
    EXPECT_EQ(f.sim.network.dialled().size(), 1U) << "the check passed and the device was dialled";
    EXPECT_EQ(f.rows(), QStringList{QStringLiteral("[10:00:00.000] : Connection Success")});
    // Each input emptied in turn is refused, in the check's order, with Timer1 stopped.
    const std::pair<ComboBox*, const char*> refused[] = {{&f.p.com_Timegap, "Input Timegap"},
                                                         {&f.p.com_Count, "Input Count"}};
    for (const auto& [box, message] : refused) {
        f.p.Timer1.setInterval(1000);
        f.p.Timer1.setEnabled(true);
        box->setText(QString());
        EXPECT_FALSE(f.form.link().SendParam_chk());
        EXPECT_EQ(f.shownTexts().back(), QLatin1String(message));
        EXPECT_FALSE(f.p.Timer1.running());
        box->setText(QStringLiteral(" "));
    }
    f.p.txt_Data_Input.setText(QString());
    EXPECT_FALSE(f.form.link().SendParam_chk());
    EXPECT_EQ(f.shownTexts().back(), QStringLiteral("input Send Data"));
}

// ---- TmrConnect ----

TEST(ConnectTick, CountsUpTo10001AndThenStartsAgainFromZero) {
    DeviceAsServer f;
    f.p.iConnectTick = 9999;
    f.p.TmrConnect.setInterval(1000); // enabled by design; idle only while its interval is 0
    std::vector<int> seen;
    for (int tick = 1; tick <= 4; ++tick) {
        f.sim.scheduler.runUntil(tick * 1000);
        seen.push_back(f.p.iConnectTick);
    }
    EXPECT_EQ(seen, (std::vector<int>{10000, 10001, 0, 1}));
}

} // namespace
} // namespace sim::test
