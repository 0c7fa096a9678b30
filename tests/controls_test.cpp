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
}

TEST(TextBox, SelectionAndEditsReachPastSixteenBits) {
    // A box has no character limit: positions beyond 32767 neither overflow nor edit the wrong place.
    SimForm f;
    TextBox& box = f.p.txt_Data_Input;
    box.setText(QString(40000, u'a') + QStringLiteral("XYZ"));
    box.setSelStart(40000);
    box.setSelLength(3);
    EXPECT_EQ(box.selText(), QStringLiteral("XYZ"));
    f.op.focus(box);
    f.op.select(box, 35000, 5001);
    f.keys.press(u'B');
    EXPECT_EQ(box.text(), QString(35000, u'a') + QStringLiteral("BYZ"));
    EXPECT_EQ(box.selStart(), 35001);
    EXPECT_EQ(f.p.Label9.caption(), QStringLiteral("35003"));
    EXPECT_TRUE(f.sim.dialogs.shown.empty()) << "no Overflow";
}

TEST(OptionButton, SelectingOneClearsItsGroupAndClicksOnlyOnChange) {
    SimForm f(false);
    std::vector<QString> clicks;
    for (OptionButton* o : {&f.p.opt_Send_Only, &f.p.opt_Send_recv, &f.p.opt_List, &f.p.opt_None}) {
        o->Click = [&clicks, o] { clicks.push_back(o->name()); };
    }
    f.p.opt_Send_Only.setValue(true);
    f.p.opt_Send_Only.setValue(true);
    EXPECT_FALSE(f.p.opt_Send_recv.value());
    EXPECT_TRUE(f.p.opt_Ascii.value()) << "another group of the same outer frame keeps its choice";
    // The operator's click on the selected option changes nothing either.
    EXPECT_TRUE(f.op.click(f.p.opt_List));
    f.op.click(f.p.opt_None);
    f.op.click(f.p.opt_List);
    EXPECT_FALSE(f.p.opt_None.value());
    EXPECT_EQ(clicks, (std::vector<QString>{QStringLiteral("opt_Send_Only"), QStringLiteral("opt_None"),
                                            QStringLiteral("opt_List")}));
}

TEST(CheckBox, ClickRunsOnEveryChangeOfValue) {
    SimForm f(false);
    std::vector<int> seen;
    f.p.chkMode.Click = [&] { seen.push_back(f.p.chkMode.value()); };
    f.op.click(f.p.chkMode);
    f.p.chkMode.setValue(1);
    f.p.chkMode.setValue(0);
    f.op.click(f.p.chkMode);
    EXPECT_EQ(seen, (std::vector<int>{1, 0, 1}));
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

TEST(Focus, MovesWithLostFocusThenGotFocusAndAMoveAskedForInLostFocusWins) {
    SimForm f(false);
    std::vector<QString> events;
    for (TextBox* box : {&f.p.txt_Destination_IP(0), &f.p.txt_Destination_IP(1)}) {
        box->GotFocus = [&events, box] { events.push_back(QStringLiteral("got ") + box->name()); };
        box->LostFocus = [&events, box] { events.push_back(QStringLiteral("lost ") + box->name()); };
    }
    f.op.focus(f.p.txt_Destination_IP(0));
    f.p.txt_Destination_IP(1).setFocus();
    f.p.txt_Destination_IP(1).setFocus();
    EXPECT_EQ(events, (std::vector<QString>{QStringLiteral("got txt_Destination_IP(0)"),
                                            QStringLiteral("lost txt_Destination_IP(0)"),
                                            QStringLiteral("got txt_Destination_IP(1)")}));

    // The redirect wins, and the click that caused it still lands.
    int clicks = 0;
    f.p.txt_Destination_IP(1).LostFocus = [&] { f.p.txt_Destination_Port.setFocus(); };
    f.p.cmd_Log.Click = [&] { ++clicks; };
    f.op.click(f.p.cmd_Log);
    EXPECT_EQ(f.p.focused(), &f.p.txt_Destination_Port);
    EXPECT_EQ(clicks, 1);
}

TEST(Keyboard, AHandlerMayChangeOrCancelACharacterAndTheReleaseGoesToTheBoxWithTheFocus) {
    SimForm f(false);
    std::vector<int> releasedIn;
    for (int i = 0; i < 2; ++i) {
        f.p.txt_Destination_IP(i).KeyUp = [&releasedIn, i](Int16&, Int16) { releasedIn.push_back(i); };
    }
    // The character handler of box 0 turns x into y, and cancels a dot and moves the focus on.
    std::vector<int> codes;
    f.p.txt_Destination_IP(0).KeyPress = [&](Int16& key) {
        codes.push_back(key);
        key = key == 'x' ? Int16('y') : key;
        if (key == '.') {
            f.p.txt_Destination_IP(1).setFocus();
            key = 0;
        }
    };
    f.keys.type(f.p.txt_Destination_IP(0), QStringLiteral("x."));
    EXPECT_EQ(releasedIn, (std::vector<int>{0, 1}));
    EXPECT_EQ(f.p.txt_Destination_IP(0).text(), QStringLiteral("y"));
    f.keys.type(f.p.txt_Destination_IP(0), QStringLiteral("\u4E2D"));
    ASSERT_EQ(codes.size(), 3U);
    EXPECT_LT(codes[2], 0);
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
