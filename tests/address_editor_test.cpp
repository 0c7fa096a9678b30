#include "support/sim_form.h"

#include "panel/address_rules.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <array>

namespace sim::test {
namespace {

using Boxes = std::array<const char*, 4>;

const QRegularExpression kMarks(QStringLiteral("[][|]"));

// The message boxes as "text / title / style".
constexpr char kLimit[] = "IP Address Value Cross Limit / Simulator / 0";
constexpr char kFormat[] = " Please Check your IP Address Format / IP Address Error / 64";

// The loaded form with the four boxes holding what a test puts there. In a box, "|" marks the caret and
// "[...]" the selection of the box that holds the focus.
struct Editor : SimForm {
    explicit Editor(const Boxes& marked) {
        for (int i = 0; i < 4; ++i) {
            const QString text = QString::fromLatin1(marked.at(static_cast<std::size_t>(i)));
            box(i).setText(QString(text).remove(kMarks));
            const int start = static_cast<int>(text.indexOf(text.contains(u'[') ? u'[' : u'|'));
            if (start >= 0) {
                op.focus(box(i));
                op.select(box(i), start, std::max(0, static_cast<int>(text.indexOf(u']')) - start - 1));
            }
        }
    }
    TextBox& box(int i) { return p.txt_Destination_IP(i); }
    // The boxes as the operator sees them, marked as above; "port" behind them when the port box has the
    // focus.
    QStringList seen() {
        QStringList out;
        for (int i = 0; i < 4; ++i) {
            QString text = box(i).text();
            if (p.focused() == &box(i)) {
                const int start = box(i).selStart();
                const int length = box(i).selLength();
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
    QString shown() {
        QStringList out;
        for (const auto& d : sim.dialogs.shown) {
            out << QStringLiteral("%1 / %2 / %3").arg(d.text, d.title).arg(d.style);
        }
        return out.join(QStringLiteral("; "));
    }
};

// Keys into the box with the focus: each character pressed and released, but "+x" presses x alone,
// "^x" releases x alone, ">" is a click into the data box, "#" a click on Log Clear after a link locked
// the boxes, and "!n" checks the address against the rules, naming box n.
struct Case {
    Boxes before;
    const char16_t* keys;
    QStringList after;
    const char* shown = "";
};

void check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(QStringList({c.before.begin(), c.before.end()}).join(u' ').toStdString() + " keys " +
                     QString::fromUtf16(c.keys).toStdString());
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
                f.op.keyUp(Keyboard::keyCodeFor(QChar(*++k)));
            } else {
                f.keys.key(QChar(*k));
            }
        }
        EXPECT_EQ(f.seen(), c.after);
        EXPECT_EQ(f.shown(), QLatin1String(c.shown));
        EXPECT_EQ(f.sim.settings.values[QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS")],
                  c.after.mid(0, 4).join(u'.').remove(kMarks) + u'.')
            << "every change of a box is saved at once";
    }
}

TEST(AddressTyping, DigitsEnterAndMoveOnAtThreeCharactersADotMovesOnAndOtherCharactersAreRefused) {
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
    });
}

TEST(AddressBackspace, AtABoxWorthZeroItWalksBackAndStillErasesTheBoxItWasTypedIn) {
    check({
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
        // Neighbours that pass.
        {{"224", "0", "0", "3"}, u"!3", {"224", "0", "0", "3"}},
        {{"224", "0", "0", "12"}, u"!3", {"224", "0", "0", "12"}},
        {{"224", "0", "1", "9"}, u"!3", {"224", "0", "1", "9"}},
        {{"224", "0", "1", "19"}, u"!3", {"224", "0", "1", "19"}},
        {{"255", "255", "255", "254"}, u"!3", {"255", "255", "255", "254"}},
        // Text, not numbers: leading zeros make another address.
        {{"00", "0", "0", "0"}, u"!3", {"00", "0", "0", "0"}},
        {{"224", "0", "0", "07"}, u"!3", {"224", "0", "0", "07"}},
        // Empty boxes: an address with nothing behind its last dot.
        {{"224", "0", "0", ""}, u"!3", {"224", "0", "0", ""}},
    });
}

} // namespace
} // namespace sim::test
