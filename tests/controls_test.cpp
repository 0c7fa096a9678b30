#include "support/sim_form.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(TextBox, ChangeRunsOnlyWhenTheTextChangesAndTheSelectionStaysInsideTheText) {
    SimForm f(false);
    TextBox& box = f.p.txt_Data_Input;
    int changes = 0;
    box.Change = [&] { ++changes; };
    box.setText(QStringLiteral("AB"));
    box.setText(QStringLiteral("AB"));
    box.setSelStart(1);
    box.setSelText(QString()); // an empty selection replaced by nothing
    EXPECT_EQ(changes, 1);
    box.setSelLength(1);
    EXPECT_EQ(box.selText(), QStringLiteral("B"));
    box.setSelText(QStringLiteral("xy"));
    EXPECT_EQ(box.text(), QStringLiteral("Axy"));
    EXPECT_EQ(box.selStart(), 3);
    EXPECT_EQ(changes, 2);
    box.setSelStart(9);
    EXPECT_EQ(box.selStart(), 3);
    box.setSelStart(1);
    box.setSelLength(99);
    EXPECT_EQ(box.selLength(), 2);
    EXPECT_THROW(box.setSelStart(-1), RuntimeFailure);
    // A box has no character limit: a selection beyond 32767 is read where it is.
    box.setText(QString(40000, u'a') + QStringLiteral("XYZ"));
    box.setSelStart(40000);
    box.setSelLength(3);
    EXPECT_EQ(box.selText(), QStringLiteral("XYZ"));
}

TEST(OptionAndCheckBox, AnOptionClearsItsGroupAndEitherClicksOnlyWhenItsValueChanges) {
    SimForm f(false);
    QStringList clicks;
    for (OptionButton* o : {&f.p.opt_Send_Only, &f.p.opt_Send_recv, &f.p.opt_List, &f.p.opt_None}) {
        o->Click = [&clicks, o] { clicks << o->name(); };
    }
    f.p.chkMode.Click = [&] { clicks << QString::number(f.p.chkMode.value()); };
    f.p.opt_Send_Only.setValue(true);
    f.p.opt_Send_Only.setValue(true);
    EXPECT_FALSE(f.p.opt_Send_recv.value());
    EXPECT_TRUE(f.p.opt_Ascii.value()) << "another group of the same outer frame keeps its choice";
    // The operator's click on the selected option changes nothing either.
    EXPECT_TRUE(f.op.click(f.p.opt_List));
    f.op.click(f.p.opt_None);
    f.op.click(f.p.opt_List);
    EXPECT_FALSE(f.p.opt_None.value());
    // The check box clicks on every change, the operator's and the program's.
    f.op.click(f.p.chkMode);
    f.p.chkMode.setValue(1);
    f.p.chkMode.setValue(0);
    f.op.click(f.p.chkMode);
    EXPECT_EQ(clicks, QStringLiteral("opt_Send_Only opt_None opt_List 1 0 1").split(u' '));
    EXPECT_THROW(f.p.chkMode.setValue(3), RuntimeFailure);
}

TEST(Frame, ADisabledFrameBlocksTheOperatorAtAnyDepthButNotTheProgram) {
    SimForm f(false);
    int clicks = 0;
    f.p.opt_Receive_Only.Click = [&] { ++clicks; };
    f.p.Frame2.setEnabled(false);
    EXPECT_FALSE(f.op.click(f.p.opt_Receive_Only)); // Frame2 > Frame5 > option
    EXPECT_FALSE(f.p.opt_Receive_Only.value());
    EXPECT_TRUE(f.p.opt_Receive_Only.enabled()) << "the option keeps its own Enabled";
    f.p.opt_Receive_Only.setValue(true);
    EXPECT_EQ(clicks, 1);
    f.p.Frame2.setEnabled(true);
    f.op.click(f.p.opt_Send_Only);
    EXPECT_TRUE(f.p.opt_Send_Only.value());

    // chkMode lies over Frame10 but belongs to fraBack: disabling Frame10 leaves it usable.
    EXPECT_FALSE(f.p.Frame10.enabled());
    EXPECT_TRUE(f.p.chkMode.takesInput());
    f.keys.type(f.p.txtStep(0), QStringLiteral("41"));
    EXPECT_EQ(f.p.txtStep(0).text(), QString()) << "a box in a disabled frame takes no typing";
    EXPECT_THROW(f.p.txtStep(0).setFocus(), RuntimeFailure);
}

// Box 0's character handler turns x into y, and cancels a dot and moves the focus to box 1.
TEST(FocusAndKeys, AMoveRunsLostFocusThenGotFocusAndAHandlerMayChangeOrCancelACharacter) {
    SimForm f(false);
    QStringList events;
    for (int i = 0; i < 2; ++i) {
        TextBox* box = &f.p.txt_Destination_IP(i);
        box->GotFocus = [&events, box] { events << QStringLiteral("got ") + box->name(); };
        box->LostFocus = [&events, box] { events << QStringLiteral("lost ") + box->name(); };
        box->KeyUp = [&events, box](Int16&, Int16) { events << QStringLiteral("up ") + box->name(); };
    }
    f.p.txt_Destination_IP(0).KeyPress = [&](Int16& key) {
        key = key == 'x' ? Int16('y') : key;
        if (key == '.') {
            f.p.txt_Destination_IP(1).setFocus();
            key = 0;
        }
    };
    f.keys.type(f.p.txt_Destination_IP(0), QStringLiteral("x."));
    f.p.txt_Destination_IP(1).setFocus(); // where it is already: no events
    EXPECT_EQ(f.p.txt_Destination_IP(0).text(), QStringLiteral("y"));
    EXPECT_EQ(events, (QStringList{"got txt_Destination_IP(0)", "up txt_Destination_IP(0)",
                                   "lost txt_Destination_IP(0)", "got txt_Destination_IP(1)",
                                   "up txt_Destination_IP(1)"}));
}
TEST(ListBox, RowsAndPiecesOfASharedTextComeAndGoWithTheSelectedRow) {
    SimForm f(false);
    ListBox& list = f.p.List1;
    QStringList told;
    list.rowAdded = [&](const QString& row) { told << row; };
    const QString shared = QStringLiteral(" abc def");
    list.addItem(QStringLiteral("gone"));
    list.addItem(QStringLiteral("head"));
    list.addPiece(shared, 0, 4);
    list.addPiece(shared, 4, 4);
    list.addPiece(shared, 8, 0);
    list.setListIndex(2);
    list.removeItem(0);
    EXPECT_EQ(list.listIndex(), 1);
    EXPECT_EQ(list.rows(), (QStringList{QStringLiteral("head"), QStringLiteral(" abc"),
                                        QStringLiteral(" def"), QString()}));
    EXPECT_EQ(told, QStringList{QStringLiteral("gone")} + list.rows())
        << "whoever copies the list gets each row";
    EXPECT_THROW(list.setListIndex(4), RuntimeFailure);
    list.setListIndex(2);
    list.removeOldest(2);
    EXPECT_EQ(list.rows(), (QStringList{QStringLiteral(" def"), QString()}));
    EXPECT_EQ(list.listIndex(), 0);
    list.removeOldest(1);
    EXPECT_EQ(list.listIndex(), -1) << "the selected row went";
    EXPECT_THROW(list.removeOldest(2), RuntimeFailure);
    list.setListIndex(0);
    list.removeItem(0);
    EXPECT_EQ(list.listIndex(), -1);
    list.addItem(QStringLiteral("last"));
    list.setListIndex(0);
    list.clear();
    EXPECT_EQ(list.listCount(), 0);
    EXPECT_EQ(list.listIndex(), -1);
}

TEST(Timer, TicksOnlyWhileEnabledWithAnIntervalAndANewIntervalStartsTheWaitOver) {
    SimForm f(false);
    Timer& timer = f.p.Timer2; // Interval 0, disabled
    std::vector<Ms> ticks;
    timer.Tick = [&] { ticks.push_back(f.sim.scheduler.now()); };
    timer.setEnabled(true);
    f.sim.scheduler.runFor(5000);
    timer.setInterval(100);
    timer.setEnabled(false);
    f.sim.scheduler.runFor(5000);
    EXPECT_TRUE(ticks.empty());
    timer.setInterval(1000);
    timer.setEnabled(true);
    f.sim.scheduler.runUntil(10700);
    timer.setInterval(1000); // the same value still restarts
    f.sim.scheduler.runUntil(12500);
    EXPECT_EQ(ticks, (std::vector<Ms>{11700}));
}

} // namespace
} // namespace sim::test
