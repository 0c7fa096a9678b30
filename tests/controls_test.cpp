#include "support/sim_form.h"

#include <gtest/gtest.h>

#include <set>

namespace sim::test {
namespace {

TEST(ControlTable, HoldsEveryControlOnceWithItsHolder) {
    SimForm f(false);
    int visible = 0;
    int timers = 0;
    std::set<QString> names;
    for (const Control* c : f.p.controls()) {
        EXPECT_TRUE(names.insert(c->name()).second) << c->name().toStdString();
        if (c->kind() == Kind::Timer) {
            ++timers;
        } else if (c->kind() != Kind::SaveDialog) {
            ++visible;
            if (c->design().holder != "form") {
                ASSERT_NE(c->holder(), nullptr) << c->name().toStdString();
                EXPECT_EQ(c->holder()->kind(), Kind::Frame);
            }
        }
    }
    EXPECT_EQ(visible, 84);
    EXPECT_EQ(timers, 4);
    EXPECT_EQ(f.p.find("txtTimeGap", 2)->holder(), &f.p.Frame10);
    EXPECT_EQ(f.p.chkMode.holder(), &f.p.fraBack);
}

TEST(ControlTable, EachOptionGroupStartsWithExactlyOneSelected) {
    SimForm f(false);
    std::map<const Control*, int> selected;
    for (const Control* c : f.p.controls()) {
        if (c->kind() == Kind::OptionButton) {
            selected[c->holder()] += static_cast<const OptionButton*>(c)->value() ? 1 : 0;
        }
    }
    EXPECT_EQ(selected.size(), 6U);
    for (const auto& [holder, count] : selected) {
        EXPECT_EQ(count, 1) << holder->name().toStdString();
    }
}

TEST(ControlTable, ComboBoxesCarryTheirFixedEntries) {
    SimForm f(false);
    EXPECT_EQ(f.p.com_Timegap.entries().size(), 15);
    EXPECT_EQ(f.p.com_Timegap.entries().last(), QStringLiteral("15"));
    EXPECT_EQ(f.p.com_Count.entries().size(), 51);
    EXPECT_EQ(f.p.com_Count.entries().first(), QStringLiteral("Endless"));
    const QStringList gaps = f.p.txtTimeGap(1).entries();
    EXPECT_EQ(gaps.size(), 39);
    EXPECT_EQ(gaps.at(8), QStringLiteral("900"));
    EXPECT_EQ(gaps.at(9), QStringLiteral("1000"));
    EXPECT_EQ(gaps.last(), QStringLiteral("30000"));
}

TEST(TextBox, ChangeRunsOnlyWhenTheTextChanges) {
    SimForm f(false);
    int changes = 0;
    f.p.txt_Data_Input.Change = [&] { ++changes; };
    f.p.txt_Data_Input.setText(QStringLiteral("AB"));
    f.p.txt_Data_Input.setText(QStringLiteral("AB"));
    EXPECT_EQ(changes, 1);
    f.p.txt_Data_Input.setSelStart(1);
    f.p.txt_Data_Input.setSelText(QString());
    EXPECT_EQ(changes, 1) << "an empty selection replaced by nothing changes nothing";
    f.p.txt_Data_Input.setSelLength(1);
    EXPECT_EQ(f.p.txt_Data_Input.selText(), QStringLiteral("B"));
    f.p.txt_Data_Input.setSelText(QStringLiteral("xy"));
    EXPECT_EQ(f.p.txt_Data_Input.text(), QStringLiteral("Axy"));
    EXPECT_EQ(f.p.txt_Data_Input.selStart(), 3);
    EXPECT_EQ(changes, 2);
}

TEST(TextBox, SelectionIsClampedToTheText) {
    SimForm f(false);
    TextBox& box = f.p.txtStep(0);
    box.setText(QStringLiteral("12345"));
    box.setSelStart(9);
    EXPECT_EQ(box.selStart(), 5);
    box.setSelStart(1);
    box.setSelLength(99);
    EXPECT_EQ(box.selLength(), 4);
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
    for (OptionButton* o :
         {&f.p.opt_Receive_Only, &f.p.opt_Send_Only, &f.p.opt_Send_recv, &f.p.opt_Send_input}) {
        o->Click = [&clicks, o] { clicks.push_back(o->name()); };
    }
    f.p.opt_Send_Only.setValue(true);
    EXPECT_TRUE(f.p.opt_Send_Only.value());
    EXPECT_FALSE(f.p.opt_Send_recv.value());
    f.p.opt_Send_Only.setValue(true);
    EXPECT_EQ(clicks, std::vector<QString>{QStringLiteral("opt_Send_Only")});
    // Other groups, even in the same outer frame, keep their choice.
    EXPECT_TRUE(f.p.opt_Ascii.value());
    EXPECT_TRUE(f.p.opt_Repeat.value());
}

TEST(OptionButton, TheOperatorClickingTheSelectedOptionRunsNoClick) {
    SimForm f(false);
    int clicks = 0;
    f.p.opt_List.Click = [&] { ++clicks; };
    EXPECT_TRUE(f.op.click(f.p.opt_List));
    EXPECT_EQ(clicks, 0);
    f.op.click(f.p.opt_None);
    f.op.click(f.p.opt_List);
    EXPECT_EQ(clicks, 1);
    EXPECT_FALSE(f.p.opt_None.value());
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

TEST(Focus, MovesWithLostFocusThenGotFocus) {
    SimForm f(false);
    std::vector<QString> events;
    for (int i = 0; i < 4; ++i) {
        TextBox& box = f.p.txt_Destination_IP(i);
        box.GotFocus = [&events, &box] { events.push_back(QStringLiteral("got ") + box.name()); };
        box.LostFocus = [&events, &box] { events.push_back(QStringLiteral("lost ") + box.name()); };
    }
    f.op.focus(f.p.txt_Destination_IP(0));
    f.p.txt_Destination_IP(1).setFocus();
    f.p.txt_Destination_IP(1).setFocus();
    EXPECT_EQ(events, (std::vector<QString>{QStringLiteral("got txt_Destination_IP(0)"),
                                            QStringLiteral("lost txt_Destination_IP(0)"),
                                            QStringLiteral("got txt_Destination_IP(1)")}));
}

TEST(Focus, AMoveAskedForInLostFocusWinsAndTheClickStillLands) {
    SimForm f(false);
    int sends = 0;
    f.p.txt_Destination_IP(3).LostFocus = [&] { f.p.txt_Destination_Port.setFocus(); };
    f.p.cmd_Log.Click = [&] { ++sends; };
    f.op.focus(f.p.txt_Destination_IP(3));
    f.op.click(f.p.cmd_Log);
    EXPECT_EQ(f.p.focused(), &f.p.txt_Destination_Port);
    EXPECT_EQ(sends, 1);
}

TEST(Keyboard, ACancelledCharacterNeverReachesTheBox) {
    SimForm f(false);
    TextBox& box = f.p.txt_Data_Input;
    box.KeyPress = [](Int16& key) {
        if (key < '0' || key > '9') {
            key = 0;
        }
    };
    f.keys.type(box, QStringLiteral("1a2.b3"));
    EXPECT_EQ(box.text(), QStringLiteral("123"));
    // A handler may also turn a character into another.
    box.KeyPress = [](Int16& key) {
        if (key >= 'a' && key <= 'z') {
            key = key - 32;
        }
    };
    f.keys.type(box, QStringLiteral("x"));
    EXPECT_EQ(box.text(), QStringLiteral("123X"));
}

TEST(Keyboard, BackspaceReplacesTheSelectionOrTheCharacterBeforeTheCaret) {
    SimForm f(false);
    TextBox& box = f.p.txt_Data_Input;
    f.keys.type(box, QStringLiteral("abcd"));
    f.keys.press(QChar(u'\b'));
    EXPECT_EQ(box.text(), QStringLiteral("abc"));
    f.op.select(box, 0, 2);
    f.keys.press(QChar(u'Z'));
    EXPECT_EQ(box.text(), QStringLiteral("Zc"));
}

TEST(Keyboard, TheReleaseGoesToTheBoxThatHoldsTheFocus) {
    SimForm f(false);
    std::vector<int> releasedIn;
    for (int i = 0; i < 4; ++i) {
        f.p.txt_Destination_IP(i).KeyUp = [&releasedIn, i](Int16&, Int16) { releasedIn.push_back(i); };
    }
    // The character handler of box 0 moves the focus on a dot.
    f.p.txt_Destination_IP(0).KeyPress = [&](Int16& key) {
        if (key == '.') {
            f.p.txt_Destination_IP(1).setFocus();
            key = 0;
        }
    };
    f.keys.type(f.p.txt_Destination_IP(0), QStringLiteral("1."));
    EXPECT_EQ(releasedIn, (std::vector<int>{0, 1}));
    EXPECT_EQ(f.p.txt_Destination_IP(0).text(), QStringLiteral("1"));
}

TEST(Keyboard, ACharacterOutsideTheCodePageComesWithANegativeCode) {
    SimForm f(false);
    int seen = 0;
    f.p.txt_Data_Input.KeyPress = [&](Int16& key) { seen = key; };
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("\u4E2D"));
    EXPECT_LT(seen, 0);
}

TEST(ListBox, RowsAndTheSelectedRowFollowAddRemoveAndClear) {
    SimForm f(false);
    ListBox& list = f.p.List1;
    list.addItem(QStringLiteral("a"));
    list.addItem(QStringLiteral("b"));
    list.addItem(QStringLiteral("c"));
    list.setListIndex(2);
    list.removeItem(0);
    EXPECT_EQ(list.listCount(), 2);
    EXPECT_EQ(list.listIndex(), 1);
    EXPECT_EQ(list.rows().front(), QStringLiteral("b"));
    EXPECT_THROW(list.setListIndex(2), RuntimeFailure);
    list.clear();
    EXPECT_EQ(list.listCount(), 0);
    EXPECT_EQ(list.listIndex(), -1);
}

TEST(ListBox, PiecesOfASharedTextAreRowsLikeAnyOtherAndTheOldestGoTogether) {
    SimForm f(false);
    ListBox& list = f.p.List1;
    QStringList told;
    list.rowAdded = [&](const QString& row) { told << row; };
    const QString shared = QStringLiteral(" abc def");
    list.addItem(QStringLiteral("head"));
    list.addPiece(shared, 0, 4);
    list.addPiece(shared, 4, 4);
    list.addPiece(shared, 8, 0);
    EXPECT_EQ(list.rows(), (QStringList{QStringLiteral("head"), QStringLiteral(" abc"),
                                        QStringLiteral(" def"), QString()}));
    EXPECT_EQ(told, list.rows()) << "whoever copies the list gets the text of each row";
    list.setListIndex(3);
    list.removeOldest(2);
    EXPECT_EQ(list.rows(), (QStringList{QStringLiteral(" def"), QString()}));
    EXPECT_EQ(list.listIndex(), 1);
    list.setListIndex(0);
    list.removeOldest(1);
    EXPECT_EQ(list.listIndex(), -1) << "the selected row went";
    EXPECT_THROW(list.removeOldest(2), RuntimeFailure);
}

// ---- timers ----

struct TimerCase : ::testing::Test {
    SimForm f{false};
    Timer& timer = f.p.Timer2; // design: Interval 0, disabled
    std::vector<Ms> ticks;
    void SetUp() override {
        timer.Tick = [this] { ticks.push_back(f.sim.scheduler.now()); };
    }
};

TEST_F(TimerCase, NeverTicksAtIntervalZeroOrWhileDisabled) {
    timer.setEnabled(true);
    f.sim.scheduler.runFor(5000);
    timer.setInterval(100);
    timer.setEnabled(false);
    f.sim.scheduler.runFor(5000);
    EXPECT_TRUE(ticks.empty());
}

TEST_F(TimerCase, ANewIntervalStartsTheWaitOver) {
    timer.setInterval(1000);
    timer.setEnabled(true);
    f.sim.scheduler.runUntil(700);
    timer.setInterval(1000); // the same value still restarts
    f.sim.scheduler.runUntil(2500);
    EXPECT_EQ(ticks, (std::vector<Ms>{1700}));
}

TEST_F(TimerCase, NeverTicksIntoItsOwnRunningHandler) {
    int depth = 0;
    int deepest = 0;
    timer.Tick = [&] {
        ticks.push_back(f.sim.scheduler.now());
        ++depth;
        deepest = std::max(deepest, depth);
        // The handler pumps for 350 ms, as the waits do.
        const Ms until = f.sim.scheduler.now() + 350;
        f.sim.scheduler.at(until, [] {});
        while (f.sim.scheduler.now() < until) {
            f.sim.scheduler.pump();
        }
        --depth;
    };
    timer.setInterval(100);
    timer.setEnabled(true);
    f.sim.scheduler.runUntil(1000);
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(ticks, (std::vector<Ms>{100, 500, 900}));
}

} // namespace
} // namespace sim::test
