// A profile gives the panel an operator gets by making the same settings in the window.

#include "app/profile.h"
#include "mixed_platform.h"
#include "support/panel_state.h"
#include "view/panel_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// One operator step in the window: a click on an option or the check box, or a text typed into a box.
struct Step {
    const char* control;
    int index = -1;
    const char* text = nullptr; // typed over the box's text; a click when null
};

struct Case {
    QStringList profile;
    std::vector<Step> operatorSteps;
};

// Two forms on one platform, so that both start from the same settings and folders: one set by an
// operator through the real widgets, one by the profile.
struct Forms {
    MixedPlatform mixed;
    FrmSimulator byHand{mixed.platform()};
    FrmSimulator byProfile{mixed.platform()};
    view::PanelView view{byHand.panel(), byHand.op()};
    Forms() {
        byHand.load();
        byProfile.load();
        view.show();
        QApplication::setActiveWindow(&view);
    }

    void perform(const Step& step) {
        Control* control = byHand.panel().find(step.control, step.index);
        ASSERT_NE(control, nullptr) << step.control;
        QWidget* widget = view.widgetFor(*control);
        if (step.text == nullptr) {
            QTest::mouseClick(widget, Qt::LeftButton);
            return;
        }
        const QString text = QString::fromUtf8(step.text);
        if (auto* combo = qobject_cast<QComboBox*>(widget)) {
            QTest::mouseClick(combo->lineEdit(), Qt::LeftButton);
            QTest::keyClick(combo->lineEdit(), Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(combo->lineEdit(), text);
            return;
        }
        auto* edit = qobject_cast<QLineEdit*>(widget);
        ASSERT_NE(edit, nullptr) << step.control;
        QTest::mouseClick(edit, Qt::LeftButton);
        // Everything selected with keys that make no character, so that no filter stands in the way.
        QTest::keyClick(edit, Qt::Key_End);
        QTest::keyClick(edit, Qt::Key_Home, Qt::ShiftModifier);
        QTest::keyClicks(edit, text);
    }
};

TEST(ProfileInTheWindow, AProfileAndTheSameSettingsMadeByAnOperatorGiveTheSamePanel) {
    const std::vector<Case> cases = {
        // The device is the server: a repeat run of a hexadecimal payload, logged to a file too.
        {{QStringLiteral("txt_Destination_IP(0)=127"), QStringLiteral("txt_Destination_IP(1)=0"),
          QStringLiteral("txt_Destination_IP(2)=0"), QStringLiteral("txt_Destination_IP(3)=1"),
          QStringLiteral("txt_Destination_Port=4001"), QStringLiteral("opt_HexA=true"),
          QStringLiteral("opt_Send_Only=true"), QStringLiteral("opt_Repeat=true"),
          QStringLiteral("com_Timegap=0.5"), QStringLiteral("com_Count=20"),
          QStringLiteral("txt_Data_Input=0A0b"), QStringLiteral("Opt_List_File=true"),
          QStringLiteral("txt_Logfile=run.log")},
         {{"txt_Destination_IP", 0, "127"},
          {"txt_Destination_IP", 1, "0"},
          {"txt_Destination_IP", 2, "0"},
          {"txt_Destination_IP", 3, "1"},
          {"txt_Destination_Port", -1, "4001"},
          {"opt_HexA"},
          {"opt_Send_Only"},
          {"opt_Repeat"},
          {"com_Timegap", -1, "0.5"},
          {"com_Count", -1, "20"},
          {"txt_Data_Input", -1, "0A0b"},
          {"Opt_List_File"},
          {"txt_Logfile", -1, "run.log"}}},
        // The device is the client: an answer typed in, no records.
        {{QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=5000"),
          QStringLiteral("opt_Send_input=true"), QStringLiteral("txt_Data_Input=OK"),
          QStringLiteral("opt_None=true")},
         {{"opt_Client"},
          {"txt_Port", -1, "5000"},
          {"opt_Send_input"},
          {"txt_Data_Input", -1, "OK"},
          {"opt_None"}}},
        // A program of two steps, with the connection closed after each exchange.
        {{QStringLiteral("opt_Send_Only=true"), QStringLiteral("chkMode=true"),
          QStringLiteral("txtStep(0)=one"), QStringLiteral("txtTimeGap(0)=200"),
          QStringLiteral("txtStep(1)=two"), QStringLiteral("Opt_Cnn2=true")},
         {{"opt_Send_Only"},
          {"chkMode"},
          {"txtStep", 0, "one"},
          {"txtTimeGap", 0, "200"},
          {"txtStep", 1, "two"},
          {"Opt_Cnn2"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.profile.join(QLatin1Char(' ')).toStdString());
        Forms f;
        for (const Step& step : c.operatorSteps) {
            f.perform(step);
        }
        QString error;
        const auto profile =
            Profile::parse(c.profile.join(QLatin1Char('\n')), QStringLiteral("run.ini"), &error);
        ASSERT_TRUE(profile) << error.toStdString();
        ASSERT_EQ(profile->applyTo(f.byProfile.panel()), std::nullopt);
        EXPECT_EQ(panelState(f.byProfile.panel()), panelState(f.byHand.panel()));
        EXPECT_EQ(Profile::print(f.byProfile.panel()), Profile::print(f.byHand.panel()));
    }
}

} // namespace
} // namespace sim::test
