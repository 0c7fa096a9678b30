#include "support/panel_state.h"
#include "support/sim_form.h"

#include "panel/address_rules.h"

#include <QDir>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

const QString kAddressKey = QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS");
const QString kPortKey = QStringLiteral("TK7300_SIMUL/Simulator/PORT");

// The message boxes shown, each as "text / title / style".
QString shown(const SimForm& f) {
    QStringList out;
    for (const auto& d : f.sim.dialogs.shown) {
        out << QStringLiteral("%1 / %2 / %3").arg(d.text, d.title).arg(d.style);
    }
    return out.join(QStringLiteral("; "));
}

const QRegularExpression kMarks(QStringLiteral("[][|]"));

// The four address boxes as the operator sees them: in the box that holds the focus "|" marks the caret
// and "[...]" the selection; "port" behind them when the port box has the focus.
QStringList seen(const Panel& p) {
    QStringList out;
    for (int i = 0; i < 4; ++i) {
        const TextBox& box = p.txt_Destination_IP(i);
        QString text = box.text();
        if (p.focused() == &box) {
            const int start = box.selStart();
            const int length = box.selLength();
            text = length == 0 ? text.insert(start, u'|')
                               : text.insert(start + length, u']').insert(start, u'[');
        }
        out << text;
    }
    if (p.focused() == &p.txt_Destination_Port) {
        out << QStringLiteral("port");
    }
    return out;
}

// The boxes are filled from the saved address and port and saved back; the log file is named for the day
// but not made.
TEST(FormLoad, FillsTheBoxesFromTheSavedAddressAndPortAndNamesTheDaysLogFile) {
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
        EXPECT_EQ(seen(f.p), c.shown);
        EXPECT_EQ(f.sim.settings.values[kAddressKey], QString::fromLatin1(c.storedAfter));
        EXPECT_EQ(f.p.txt_Destination_Port.text(), QLatin1String(c.stored == nullptr ? "4000" : "5000"));
        EXPECT_EQ(f.sim.settings.values[kPortKey], f.p.txt_Destination_Port.text());
        f.p.txt_Destination_Port.setText(QString());
        EXPECT_EQ(f.sim.settings.values[kPortKey], QString()) << "an emptied port box is saved too";
        const QString log = f.sim.folders.programFolder() + QStringLiteral("/Log");
        EXPECT_EQ(f.p.txt_Logfile.text(), QDir::toNativeSeparators(log + QStringLiteral("/20261122.dat")));
        EXPECT_FALSE(QDir(log).exists());
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
    EXPECT_EQ(shown(f), QStringLiteral("File not found / Error / 16; Overflow / Simulator / 16"));
}

// The operator clicks the named controls in turn on the loaded panel; then the facts hold (see factsOf).
TEST(Options, EachChoiceEnablesAndColoursTheControlsThatGoWithIt) {
    constexpr char kNoRepeat[] =
        "-opt_Repeat -opt_OneTime -com_Timegap#8000000F -com_Count#8000000F -chkMode";
    const struct {
        const char* clicks;
        const char* facts;
    } cases[] = {
        // No choice yet: the panel as the form's load leaves it.
        {"",
         "+Cmd_Start -Cmd_Send -cmd_End -cmd_CSend -Frame10 -opt_Repeat -opt_OneTime -com_Timegap -com_Count "
         "-Label7 -txt_Logfile -cmd_browser -txt_Port#C0C0C0 opt_Server=1 opt_Send_recv=1 opt_Ascii=1 "
         "opt_List=1 Opt_Cnn1=1"},
        {"opt_Send_Only", "+opt_Repeat +opt_OneTime +com_Timegap#FFFFFF +com_Count#FFFFFF +chkMode"},
        {"opt_Send_Only opt_Receive_Only", kNoRepeat},
        {"opt_Send_Only opt_Send_input", kNoRepeat},
        {"opt_Send_Only opt_Send_recv", kNoRepeat},
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
        for (const QString& name : QString::fromLatin1(c.clicks).split(u' ', Qt::SkipEmptyParts)) {
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
        }
        EXPECT_EQ(f.p.Label9.caption(), QLatin1String(c.count));
        EXPECT_EQ(f.p.lvlcnt_Byte(2).caption(), QLatin1String(c.count));
    }
}

// Either way a change of format empties the data box, and leaves the steps and their counts as they are.
TEST(DataInput, AChangeOfFormatEmptiesTheDataBoxButNotTheSteps) {
    SimForm f;
    f.p.txtStep(1).setText(QStringLiteral("hello"));
    for (OptionButton* format : {&f.p.opt_HexA, &f.p.opt_Ascii}) {
        f.keys.type(f.p.txt_Data_Input, QStringLiteral("41"));
        f.op.click(*format);
        EXPECT_EQ(f.p.txt_Data_Input.text(), QString()) << format->name().toStdString();
    }
    EXPECT_EQ(f.p.txtStep(1).text(), QStringLiteral("hello"));
    EXPECT_EQ(f.p.lvlcnt_Byte(1).caption(), QStringLiteral("5")) << "counted in the form of its last change";
}

TEST(TextBox, ChangeRunsOnlyWhenTheTextChangesAndTheSelectionStaysInsideTheText) {
    SimForm f(false);
    TextBox& box = f.p.txt_Data_Input;
    int changes = 0;
    box.Change = [&] { ++changes; };
    box.setText(QStringLiteral("AB"));
    box.setText(QStringLiteral("AB"));
    box.setSelStart(1);
    box.setSelText(QString()); // an empty selection replaced by nothing
    box.setSelLength(1);
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
    box.setSelLength(2);
    EXPECT_EQ(box.selText(), QStringLiteral("XY"));
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
    // The operator's click on the selected option changes nothing either.
    EXPECT_TRUE(f.op.click(f.p.opt_List));
    f.op.click(f.p.opt_None);
    f.op.click(f.p.opt_List);
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
    timer.setInterval(1000);
    timer.setEnabled(true);
    f.sim.scheduler.runUntil(10700);
    timer.setInterval(1000); // the same value still restarts
    f.sim.scheduler.runUntil(12500);
    EXPECT_EQ(ticks, (std::vector<Ms>{11700}));
}

constexpr char kLimit[] = "IP Address Value Cross Limit / Simulator / 0";
constexpr char kFormat[] = " Please Check your IP Address Format / IP Address Error / 64";

// The loaded form with the four boxes holding what a test puts there, marked as seen() has them.
struct Editor : SimForm {
    explicit Editor(const QStringList& marked) {
        for (int i = 0; i < 4; ++i) {
            TextBox& box = p.txt_Destination_IP(i);
            box.setText(QString(marked[i]).remove(kMarks));
            const int start = static_cast<int>(marked[i].indexOf(marked[i].contains(u'[') ? u'[' : u'|'));
            if (start >= 0) {
                op.focus(box);
                op.select(box, start, std::max(0, static_cast<int>(marked[i].indexOf(u']')) - start - 1));
            }
        }
    }
};

// Keys into the box with the focus: each character pressed and released, but "+x" presses x alone,
// "^x" releases x alone, ">" is a click into the data box, "#" a click on Log Clear after a link locked
// the boxes, and "!n" checks the address against the rules, naming box n.
struct Case {
    QStringList before;
    const char16_t* keys;
    QStringList after;
    const char* shown = "";
};

void check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before.join(u' ').toStdString() + " keys " + QString::fromUtf16(c.keys).toStdString());
        Editor f(c.before);
        for (const char16_t* k = c.keys; *k != 0; ++k) {
            if (*k == u'>') {
                f.op.focus(f.p.txt_Data_Input);
            } else if (*k == u'#') {
                // A timer can start a link, and lock the boxes, while the focus sits in one of them.
                f.p.Frame1.setEnabled(false);
                f.p.List1.addItem(QStringLiteral("row"));
                EXPECT_TRUE(f.op.click(f.p.cmd_Log));
                EXPECT_EQ(f.p.focused(), &f.p.cmd_Log);
                EXPECT_EQ(f.p.List1.listCount(), 0) << "the click lands";
            } else if (*k == u'!') {
                AddressRules(f.sim.dialogs).Address_chk(f.p.txt_Destination_IP, *++k - u'0');
            } else if (*k == u'+') {
                f.keys.press(QChar(*++k));
            } else if (*k == u'^') {
                f.keys.release(QChar(*++k));
            } else {
                f.keys.key(QChar(*k));
            }
        }
        EXPECT_EQ(seen(f.p), c.after);
        EXPECT_EQ(shown(f), QLatin1String(c.shown));
        EXPECT_EQ(f.sim.settings.values[kAddressKey], c.after.mid(0, 4).join(u'.').remove(kMarks) + u'.')
            << "every change of a box is saved at once";
    }
}

TEST(AddressTyping, DigitsEnterAndMoveOnAtThreeCharactersADotMovesOnBackspaceWalksBackOthersAreRefused) {
    check({
        // A dot after a three-digit octet is taken by the box already reached.
        {{"|", "", "", ""}, u"192.168", {"192", "", "168", "|"}},
        {{"1", "2|", "123", "4"}, u".", {"1", "2", "123", "[4]"}},
        // In the last box the dot is refused and only a release at three characters moves on.
        {{"1", "2", "3", "45|"}, u".", {"1", "2", "3", "45|"}},
        {{"1", "2", "3", "123|"}, u".", {"1", "2", "3", "123", "port"}},
        // Whatever the key, its release moves on at exactly three characters.
        {{"1", "123|", "1", "1"}, u"^A", {"1", "123", "[1]", "1"}},
        {{"1", "12|", "1", "1"}, u"^A", {"1", "12|", "1", "1"}},
        {{"1", "1234|", "1", "1"}, u"^A", {"1", "1234|", "1", "1"}},
        // A fourth digit pressed before the third comes up stays, and nothing moves on.
        {{"", "|", "", ""}, u"12+3+4^3^4", {"", "1234|", "", ""}},
        {{"", "[12]", "", ""}, u"aZ \r\x03\x16\x18-/:\u4E2D\u00E9", {"", "[12]", "", ""}},
        // A digit, Backspace or 127 deletes the selection and still acts.
        {{"", "[255]", "", ""}, u"7", {"", "7|", "", ""}},
        {{"", "12[3]4", "", ""}, u"+\x7f", {"", "|4", "", ""}},
        // Backspace at a box worth 0 walks back, and still erases in the box it was typed in.
        {{"10", "20", "0|", ""}, u"\b", {"10", "[20]", "", ""}},
        {{"192", "|", "", ""}, u"\b", {"192", "|", "", ""}}, // back at the release from three characters
        // 0001 is worth 1 at the press; the 000 left is worth 0 at the release, and three characters long.
        {{"1", "2", "0001|", ""}, u"\b", {"1", "2", "000", "|"}},
        {{"1", "2", "3", "0|"}, u"\b", {"1", "2", "3", "", "port"}},
        {{"0|", "", "", ""}, u"\b", {"|", "", "", ""}},
    });
}

TEST(AddressLeaving, EachBoxIsTestedAloneByTheNumberItsTextBeginsWithAndAFailureEmptiesIt) {
    check({
        {{"223|", "1", "1", "1"}, u">", {"223", "1", "1", "1"}},
        {{"224|", "1", "1", "1"}, u">", {"|", "1", "1", "1"}, kLimit},
        {{"300|", "1", "1", "1"}, u">", {"|", "1", "1", "1"}, kLimit},
        {{"0123|", "1", "1", "1"}, u">", {"0123", "1", "1", "1"}},
        {{"1", "255|", "1", "1"}, u">", {"1", "255", "1", "1"}},
        {{"1", "256|", "1", "1"}, u">", {"1", "|", "1", "1"}, kFormat},
        {{"1", "255.5|", "1", "1"}, u">", {"1", "|", "1", "1"}, kFormat},
        {{"1", "1000|", "1", "1"}, u">", {"1", "|", "1", "1"}, kFormat},
        {{"1", "1", "1.5|", "1"}, u">", {"1", "1", "1.5", "1"}},
        {{"1", "1", "300a|", "1"}, u">", {"1", "1", "|", "1"}, kFormat},
        {{"1", "1", "abc|", "1"}, u">", {"1", "1", "abc", "1"}},
        {{"1", "1", "|", "1"}, u">", {"1", "1", "", "1"}},
        // Box 3 in range sends the focus to the port box, wherever it was headed.
        {{"1", "1", "1", "255|"}, u">", {"1", "1", "1", "255", "port"}},
        {{"1", "1", "1", "|"}, u">", {"1", "1", "1", "", "port"}},
        {{"1", "1", "1", "256|"}, u">", {"1", "1", "1", "|"}, kFormat},
        // The test runs in the middle of a key, and the focus comes back to the emptied box.
        {{"1", "999|", "2", "3"}, u".", {"1", "|", "2", "3"}, kFormat},
        {{"|", "", "", ""}, u"224", {"|", "", "", ""}, kLimit},
        // A box a link locked is still tested, but the focus goes where the click sent it.
        {{"1", "2", "3", "4|"}, u"#", {"1", "2", "3", "4"}},
        {{"1", "300|", "3", "4"}, u"#", {"1", "", "3", "4"}, kFormat},
    });
}

// The list of addresses no device may have: the four boxes are compared as text with it.
TEST(AddressRules, AMatchIsToldAndEmptiesOnlyTheNamedBox) {
    constexpr char kBroadcast[] = "Invalid Address 225.225.225.225 / Address Error / 64";
    constexpr char kZero[] = "Invalid Address 0.0.0.0 / Address Error / 64";
    constexpr char kIana[] = "Invalid Address,This Asign for 'IANA' / Address Error / 64";
    constexpr char kConferencing[] = "Invalid Address,This Asign for Conferencing / Address Error / 64";
    check({
        {{"255", "255", "255", "255"}, u"!3", {"255", "255", "255", "|"}, kBroadcast},
        {{"0", "0", "0", "0"}, u"!2", {"0", "0", "|", "0"}, kZero},
        {{"224", "0", "0", "0"}, u"!3", {"224", "0", "0", "|"}, kIana},
        {{"224", "0", "0", "2"}, u"!0", {"|", "0", "0", "2"}, kIana},
        {{"224", "0", "0", "4"}, u"!3", {"224", "0", "0", "|"}, kIana},
        {{"224", "0", "0", "11"}, u"!3", {"224", "0", "0", "|"}, kIana},
        {{"224", "0", "1", "7"}, u"!3", {"224", "0", "1", "|"}, kConferencing},
        {{"224", "0", "1", "10"}, u"!1", {"224", "|", "1", "10"}, kConferencing},
        {{"224", "0", "1", "18"}, u"!3", {"224", "0", "1", "|"}, kConferencing},
    });
    // Neighbours pass, and so do leading zeros (text, not numbers) and an empty box (nothing behind a dot).
    for (const char* address : {"224.0.0.3", "224.0.0.12", "224.0.1.9", "224.0.1.19", "255.255.255.254",
                                "00.0.0.0", "224.0.0.07", "224.0.0."}) {
        const QStringList boxes = QString::fromLatin1(address).split(u'.');
        check({{boxes, u"!3", boxes}});
    }
}

} // namespace
} // namespace sim::test
