#include "support/panel_state.h"
#include "support/sim_form.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The operator clicks the named controls in turn on the loaded panel; then the facts hold (see factsOf).
TEST(Options, EachChoiceEnablesAndColoursTheControlsThatGoWithIt) {
    const struct {
        const char* clicks;
        const char* facts;
    } cases[] = {
        {"opt_Send_Only", "+opt_Repeat +opt_OneTime +com_Timegap#FFFFFF +com_Count#FFFFFF +chkMode"},
        {"opt_Send_Only opt_Receive_Only",
         "-opt_Repeat -opt_OneTime -com_Timegap#8000000F -com_Count#8000000F -chkMode"},
        {"opt_Send_Only opt_Send_input",
         "-opt_Repeat -opt_OneTime -com_Timegap#8000000F -com_Count#8000000F -chkMode"},
        {"opt_Send_Only opt_Send_recv",
         "-opt_Repeat -opt_OneTime -com_Timegap#8000000F -com_Count#8000000F -chkMode"},
        // OneTime closes the combos and their labels but leaves their colour; Send Only opens the combos
        // again, not the labels.
        {"opt_Send_Only opt_OneTime", "-com_Timegap#FFFFFF -com_Count -Label5 -Label6"},
        {"opt_Send_Only opt_OneTime opt_Receive_Only opt_Send_Only",
         "+com_Timegap +com_Count -Label5 -Label6"},
        {"opt_Send_Only opt_OneTime opt_Repeat", "+com_Timegap +com_Count +Label5 +Label6"},
        // Program mode; leaving it through an action ends with Repeat enabled, as unticking enables it after
        // the action disabled it, and with Send and Close enabled although there is no link.
        {"opt_Send_Only chkMode",
         "opt_OneTime=1 -opt_Repeat +Frame10 -txt_Data_Input -Cmd_Start -Cmd_Send -cmd_End"},
        {"opt_Send_Only chkMode opt_Send_recv",
         "-chkMode=0 +opt_Repeat -Frame10 +txt_Data_Input +Cmd_Send +cmd_End"},
        {"Opt_Cnn2", "-Cmd_Start -Cmd_Send -cmd_End +cmd_CSend"},
        {"Opt_Cnn2 Opt_Cnn1", "+Cmd_Start +Cmd_Send +cmd_End -cmd_CSend"},
        {"opt_File", "+Label7 +txt_Logfile +cmd_browser"},
        {"opt_File opt_None", "-Label7 -txt_Logfile -cmd_browser"},
        {"opt_File opt_List", "-Label7 -txt_Logfile -cmd_browser"},
        {"Opt_List_File", "+Label7 +txt_Logfile +cmd_browser"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.clicks);
        SimForm f;
        for (const QString& name : QString::fromLatin1(c.clicks).split(u' ')) {
            EXPECT_TRUE(f.op.click(*f.p.find(name.toStdString()))) << name.toStdString();
        }
        EXPECT_EQ(factsOf(f.p, QString::fromLatin1(c.facts)), QLatin1String(c.facts));
    }
}

TEST(DataInput, TheFilterOfTheChosenFormatRefusesCharactersAndTheCounterCountsBytes) {
    const struct {
        const char* format;
        const char16_t* typed;
        const char16_t* text;
        const char* count;
    } cases[] = {
        // Hexadecimal: digits, A to F and Backspace pass; two characters are a byte.
        {"opt_HexA", u"4g1 .A\u00E9f0\b\b", u"41A", "1"},
        {"opt_HexA", u"/:@G`g", u"", "0"},
        // ASCII: every character of the code page passes, each is a byte.
        {"opt_Ascii", u"a \u4E2Db\u00E9", u"a b\u00E9", "4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(QString::fromUtf16(c.typed).toStdString());
        SimForm f;
        f.op.click(*f.p.find(c.format));
        for (TextBox* box : {&f.p.txt_Data_Input, &f.p.txtStep(2)}) {
            f.p.chkMode.setValue(box == &f.p.txtStep(2) ? 1 : 0);
            f.keys.type(*box, QString::fromUtf16(c.typed));
            EXPECT_EQ(box->text(), QString::fromUtf16(c.text)) << box->name().toStdString();
            EXPECT_EQ(f.p.focused(), box);
        }
        EXPECT_EQ(f.p.Label9.caption(), QLatin1String(c.count));
        EXPECT_EQ(f.p.lvlcnt_Byte(2).caption(), QLatin1String(c.count));
    }
}

TEST(DataInput, AChangeOfFormatEmptiesTheDataFieldButNotTheSteps) {
    SimForm f;
    Panel& p = f.p;
    f.keys.type(p.txt_Data_Input, QStringLiteral("abc"));
    p.txtStep(1).setText(QStringLiteral("hello"));
    f.op.click(p.opt_HexA);
    EXPECT_EQ(p.txt_Data_Input.text(), QString());
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("0"));
    EXPECT_EQ(p.txtStep(1).text(), QStringLiteral("hello"));
    EXPECT_EQ(p.lvlcnt_Byte(1).caption(), QStringLiteral("5")) << "counted in the form of its last change";
    p.txtStep(1).setText(QStringLiteral("hello!"));
    EXPECT_EQ(p.lvlcnt_Byte(1).caption(), QStringLiteral("3"));
}

} // namespace
} // namespace sim::test
