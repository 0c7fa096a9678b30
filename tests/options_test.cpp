#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(ActionOptions, SendOnlyOpensTheRepeatRowAndTheOthersCloseIt) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_Send_Only);
    for (const Control* on : std::initializer_list<const Control*>{
             &p.opt_Repeat, &p.opt_OneTime, &p.com_Timegap, &p.com_Count, &p.chkMode}) {
        EXPECT_TRUE(on->enabled()) << on->name().toStdString();
    }
    EXPECT_EQ(p.com_Timegap.backColor(), 0xFFFFFFU);
    EXPECT_EQ(p.com_Count.backColor(), 0xFFFFFFU);
    for (const char* other : {"opt_Receive_Only", "opt_Send_input", "opt_Send_recv"}) {
        f.op.click(p.opt_Send_Only);
        f.op.click(*p.find(other));
        EXPECT_FALSE(p.opt_Repeat.enabled()) << other;
        EXPECT_FALSE(p.com_Count.enabled()) << other;
        EXPECT_FALSE(p.chkMode.enabled()) << other;
        EXPECT_EQ(p.com_Count.backColor(), 0x8000000FU) << other;
    }
}

TEST(ActionOptions, RepeatAndOneTimeSwitchTheCombosWithoutTouchingTheirColour) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_Send_Only);
    f.op.click(p.opt_OneTime);
    EXPECT_FALSE(p.com_Timegap.enabled());
    EXPECT_FALSE(p.Label5.enabled());
    EXPECT_EQ(p.com_Timegap.backColor(), 0xFFFFFFU);
    // Send Only opens the combos even with OneTime chosen; their labels stay off.
    f.op.click(p.opt_Receive_Only);
    f.op.click(p.opt_Send_Only);
    EXPECT_TRUE(p.com_Timegap.enabled());
    EXPECT_FALSE(p.Label6.enabled());
    f.op.click(p.opt_Repeat);
    EXPECT_TRUE(p.Label5.enabled());
}

TEST(ActionOptions, LeavingProgramModeThroughAnActionEndsWithRepeatEnabled) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_Send_Only);
    f.op.click(p.chkMode);
    EXPECT_TRUE(p.opt_OneTime.value());
    EXPECT_FALSE(p.opt_Repeat.enabled());
    EXPECT_TRUE(p.Frame10.enabled());
    EXPECT_FALSE(p.txt_Data_Input.enabled());
    f.op.click(p.opt_Send_recv);
    EXPECT_EQ(p.chkMode.value(), 0);
    EXPECT_FALSE(p.chkMode.enabled());
    EXPECT_TRUE(p.opt_Repeat.enabled()) << "the program mode handler ran after the action disabled it";
    EXPECT_FALSE(p.Frame10.enabled());
    EXPECT_TRUE(p.Cmd_Send.enabled()) << "unticking enables Send and Close with no link";
    EXPECT_TRUE(p.cmd_End.enabled());
}

TEST(ConnectionStyle, EachStyleSetsTheFourButtons) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.Opt_Cnn2);
    EXPECT_FALSE(p.Cmd_Start.enabled());
    EXPECT_FALSE(p.Cmd_Send.enabled());
    EXPECT_FALSE(p.cmd_End.enabled());
    EXPECT_TRUE(p.cmd_CSend.enabled());
    f.op.click(p.Opt_Cnn1);
    EXPECT_TRUE(p.Cmd_Start.enabled());
    EXPECT_TRUE(p.Cmd_Send.enabled()) << "also with no link";
    EXPECT_TRUE(p.cmd_End.enabled());
    EXPECT_FALSE(p.cmd_CSend.enabled());
}

TEST(DataFormat, AChangeEmptiesTheDataFieldButNotTheSteps) {
    SimForm f;
    Panel& p = f.p;
    f.keys.type(p.txt_Data_Input, QStringLiteral("abc"));
    p.txtStep(1).setText(QStringLiteral("hello"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("3"));
    f.op.click(p.opt_HexA);
    EXPECT_EQ(p.txt_Data_Input.text(), QString());
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("0"));
    EXPECT_EQ(p.txtStep(1).text(), QStringLiteral("hello"));
    EXPECT_EQ(p.lvlcnt_Byte(1).caption(), QStringLiteral("5")) << "counted in the form of its last change";
    p.txtStep(1).setText(QStringLiteral("hello!"));
    EXPECT_EQ(p.lvlcnt_Byte(1).caption(), QStringLiteral("3"));
}

TEST(DataInput, TheHexFilterAdmitsDigitsAndBackspaceOnlyAndTheCounterHalves) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_HexA);
    f.keys.type(p.txt_Data_Input, QStringLiteral("4g1 .A\u00E9f0"));
    EXPECT_EQ(p.txt_Data_Input.text(), QStringLiteral("41Af0"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("2"));
    f.keys.press(QChar(u'\b'));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("2"));
    f.keys.press(QChar(u'\b'));
    EXPECT_EQ(p.txt_Data_Input.text(), QStringLiteral("41A"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("1"));
}

TEST(DataInput, TheAsciiFilterRefusesOnlyCharactersOutsideTheCodePage) {
    SimForm f;
    Panel& p = f.p;
    f.keys.type(p.txt_Data_Input, QStringLiteral("a \u4E2Db\u00E9"));
    EXPECT_EQ(p.txt_Data_Input.text(), QStringLiteral("a b\u00E9"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("4"));
    EXPECT_EQ(p.focused(), &p.txt_Data_Input);
}

TEST(LogLevel, TheFileRowFollowsTheLevelClickedLast) {
    SimForm f;
    Panel& p = f.p;
    f.op.click(p.opt_File);
    EXPECT_TRUE(p.Label7.enabled());
    EXPECT_TRUE(p.txt_Logfile.enabled());
    EXPECT_TRUE(p.cmd_browser.enabled());
    f.op.click(p.opt_None);
    EXPECT_FALSE(p.txt_Logfile.enabled());
    f.op.click(p.Opt_List_File);
    EXPECT_TRUE(p.cmd_browser.enabled());
}

} // namespace
} // namespace sim::test
