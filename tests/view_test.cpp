#include "mixed_platform.h"
#include "view/panel_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QTest>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

struct ViewCase : ::testing::Test {
    MixedForm f;
    view::PanelView view{f.p, f.op};
    void SetUp() override {
        view.show();
        QApplication::setActiveWindow(&view);
    }
    template <class W> W* widget(const Control& c) { return qobject_cast<W*>(view.widgetFor(c)); }
};

TEST_F(ViewCase, EveryControlSitsAtItsTwipsPosition) {
    int placed = 0;
    for (const Control* c : f.p.controls()) {
        QWidget* w = view.widgetFor(*c);
        if (c->kind() == Kind::Timer || c->kind() == Kind::SaveDialog) {
            EXPECT_EQ(w, nullptr);
            continue;
        }
        ASSERT_NE(w, nullptr) << c->name().toStdString();
        const Geometry& g = c->design().geometry;
        EXPECT_EQ(w->geometry(), QRect(g.left / 15, g.top / 15, g.width / 15, g.height / 15))
            << c->name().toStdString();
        ++placed;
    }
    EXPECT_EQ(placed, 84);
    EXPECT_EQ(view.size(), QSize(731, 724));
    EXPECT_EQ(view.windowTitle(), QStringLiteral("Tarnix Simulator Ver3.5.1 (2011/06/08)"));
}

TEST_F(ViewCase, CaptionsFontsColoursAndStatesFollowTheModel) {
    EXPECT_EQ(widget<QAbstractButton>(f.p.Cmd_Start)->text(), QStringLiteral("Connect"));
    EXPECT_EQ(view.widgetFor(f.p.Frame1)->accessibleName(), QStringLiteral(" [ Tarnix ] "));
    EXPECT_EQ(widget<QLabel>(f.p.Label11)->text(), f.p.Label11.caption());
    EXPECT_TRUE(view.widgetFor(f.p.Frame8)->font().bold());
    EXPECT_FALSE(widget<QLineEdit>(f.p.txt_Data_Input)->font().bold())
        << "a box in a bold frame keeps its regular font";
    EXPECT_EQ(widget<QLineEdit>(f.p.txt_Data_Input)->font().pixelSize(), 12);
    EXPECT_EQ(view.widgetFor(f.p.List1)->font().pixelSize(), 13);
    EXPECT_EQ(widget<QLineEdit>(f.p.txt_Port)->palette().color(QPalette::Base), QColor(0xC0, 0xC0, 0xC0));
    // The system button face is a colour of its own, not the fixed grey.
    EXPECT_EQ(view.widgetFor(f.p.com_Count)->palette().color(QPalette::Base),
              QApplication::palette().color(QPalette::Button));
    EXPECT_FALSE(view.widgetFor(f.p.Cmd_Send)->isEnabled());
    f.p.Cmd_Send.setEnabled(true);
    EXPECT_TRUE(view.widgetFor(f.p.Cmd_Send)->isEnabled());
    // A control in a disabled frame is shown disabled while it keeps its own Enabled.
    EXPECT_FALSE(view.widgetFor(f.p.cmdSendStart)->isEnabled());
    f.p.Frame10.setEnabled(true);
    EXPECT_TRUE(view.widgetFor(f.p.cmdSendStart)->isEnabled());
}

TEST_F(ViewCase, TypingIntoABoxWhoseHandlerCancelsLettersLeavesOnlyDigits) {
    f.p.txt_Data_Input.KeyPress = [](Int16& key) {
        if ((key < '0' || key > '9') && key != 8) {
            key = 0;
        }
    };
    auto* edit = widget<QLineEdit>(f.p.txt_Data_Input);
    edit->setFocus();
    QTest::keyClicks(edit, QStringLiteral("1a2b3c"));
    EXPECT_EQ(edit->text(), QStringLiteral("123"));
    EXPECT_EQ(f.p.txt_Data_Input.text(), QStringLiteral("123"));
    QTest::keyClick(edit, Qt::Key_Backspace);
    EXPECT_EQ(f.p.txt_Data_Input.text(), QStringLiteral("12"));
}

TEST_F(ViewCase, WhatTheHandlerChangesIsInTheWidgetBeforeTheKeyApplies) {
    // The handler empties the box before the character lands: only the new character remains.
    f.p.txt_Data_Input.setText(QStringLiteral("old"));
    f.p.txt_Data_Input.KeyPress = [&](Int16&) {
        f.p.txt_Data_Input.setSelStart(0);
        f.p.txt_Data_Input.setSelLength(3);
        f.p.txt_Data_Input.setSelText(QString());
    };
    auto* edit = widget<QLineEdit>(f.p.txt_Data_Input);
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_X);
    EXPECT_EQ(f.p.txt_Data_Input.text(), QStringLiteral("x"));
}

TEST_F(ViewCase, FocusSetByTheModelReachesTheWidgetAndTheReleaseFollowsIt) {
    f.p.txt_Destination_IP(2).setFocus();
    EXPECT_EQ(view.focusWidget(), view.widgetFor(f.p.txt_Destination_IP(2)));

    std::vector<int> releasedIn;
    for (int i = 0; i < 4; ++i) {
        f.p.txt_Destination_IP(i).KeyUp = [&releasedIn, i](Int16&, Int16) { releasedIn.push_back(i); };
    }
    f.p.txt_Destination_IP(0).KeyPress = [&](Int16& key) {
        if (key == '.') {
            f.p.txt_Destination_IP(1).setFocus();
            key = 0;
        }
    };
    QWidget* box0 = view.widgetFor(f.p.txt_Destination_IP(0));
    box0->setFocus();
    EXPECT_EQ(f.p.focused(), &f.p.txt_Destination_IP(0));
    QTest::keyPress(box0, Qt::Key_Period, Qt::NoModifier);
    // The toolkit may send the release to the box the key went down in; it reaches the focused one.
    QTest::keyRelease(box0, Qt::Key_Period, Qt::NoModifier);
    EXPECT_EQ(view.focusWidget(), view.widgetFor(f.p.txt_Destination_IP(1)));
    EXPECT_EQ(releasedIn, std::vector<int>{1});
    EXPECT_EQ(f.p.txt_Destination_IP(0).text(), QStringLiteral("100"));
}

TEST_F(ViewCase, AFocusRedirectOnLeavingABoxDoesNotSwallowTheClick) {
    int clicks = 0;
    f.p.cmd_Log.Click = [&] { ++clicks; };
    f.p.txt_Destination_IP(3).LostFocus = [&] { f.p.txt_Destination_Port.setFocus(); };
    view.widgetFor(f.p.txt_Destination_IP(3))->setFocus();
    QTest::mouseClick(view.widgetFor(f.p.cmd_Log), Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(f.p.focused(), &f.p.txt_Destination_Port);
    EXPECT_EQ(view.focusWidget(), view.widgetFor(f.p.txt_Destination_Port));
}

TEST_F(ViewCase, TabbingOntoAButtonMovesTheModelsFocus) {
    int lost = 0;
    f.p.txt_Data_Input.LostFocus = [&] { ++lost; };
    view.widgetFor(f.p.txt_Data_Input)->setFocus();
    QTest::keyClick(view.widgetFor(f.p.txt_Data_Input), Qt::Key_Tab);
    EXPECT_EQ(lost, 1);
    EXPECT_EQ(view.focusWidget(), view.widgetFor(*f.p.focused()));
}

TEST_F(ViewCase, ClickingAnOptionLeavesOneSelectedPerGroup) {
    QTest::mouseClick(view.widgetFor(f.p.opt_File), Qt::LeftButton);
    EXPECT_TRUE(f.p.opt_File.value());
    EXPECT_FALSE(widget<QAbstractButton>(f.p.opt_List)->isChecked());
    QTest::mouseClick(view.widgetFor(f.p.opt_File), Qt::LeftButton);
    EXPECT_TRUE(widget<QAbstractButton>(f.p.opt_File)->isChecked())
        << "a click on the selected option keeps it";
}

TEST_F(ViewCase, ABurstOfRowsReachesTheListInOneBatch) {
    for (int i = 0; i < 5000; ++i) {
        f.p.List1.addItem(QStringLiteral("row %1").arg(i));
    }
    f.p.List1.setListIndex(4999);
    auto* list = widget<QListView>(f.p.List1);
    EXPECT_EQ(list->model()->rowCount(), 0) << "rows wait for their batch";
    view.flushRows();
    EXPECT_EQ(list->model()->rowCount(), 5000);
    EXPECT_EQ(list->currentIndex().row(), 4999);
}

} // namespace
} // namespace sim::test
