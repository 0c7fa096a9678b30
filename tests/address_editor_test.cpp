#include "support/sim_form.h"

#include "panel/address_rules.h"

#include <gtest/gtest.h>

#include <array>

namespace sim::test {
namespace {

const QString kAddressKey = QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS");
constexpr int kPort = 4; // where focusedBox() reports the port box

// The loaded form with the four boxes holding what a test puts there.
struct Editor : SimForm {
    explicit Editor(std::array<const char*, 4> octets = {"", "", "", ""}) {
        for (int i = 0; i < 4; ++i) {
            p.txt_Destination_IP(i).setText(QString::fromLatin1(octets.at(static_cast<std::size_t>(i))));
        }
    }
    TextBox& box(int i) { return p.txt_Destination_IP(i); }
    QStringList boxes() {
        QStringList out;
        for (int i = 0; i < 4; ++i) {
            out << box(i).text();
        }
        return out;
    }
    // The index of the address box that holds the focus, kPort for the port box, -1 for anything else.
    int focusedBox() {
        for (int i = 0; i < 4; ++i) {
            if (p.focused() == &box(i)) {
                return i;
            }
        }
        return p.focused() == &p.txt_Destination_Port ? kPort : -1;
    }
    QString saved() { return sim.settings.values[kAddressKey]; }
    // Puts the focus into box i with the caret behind its text, as a click behind the text leaves it.
    void caretAtEnd(int i) {
        op.focus(box(i));
        op.select(box(i), static_cast<int>(box(i).text().size()), 0);
    }
    void key(QChar ch) {
        keys.press(ch);
        op.keyUp(Keyboard::keyCodeFor(ch));
    }
    std::vector<QString> shown() {
        std::vector<QString> out;
        for (const auto& d : sim.dialogs.shown) {
            out.push_back(d.text);
        }
        return out;
    }
};

// ---- typing ----

TEST(AddressTyping, ADotAfterAThreeDigitOctetIsTakenByTheBoxAlreadyReached) {
    Editor f;
    f.keys.type(f.box(0), QStringLiteral("192.168"));
    EXPECT_EQ(f.boxes(), (QStringList{"192", "", "168", ""}));
    EXPECT_EQ(f.focusedBox(), 3) << "168 is three characters: its release moves on";

    // A dot into a box of exactly three characters passes on at its release.
    Editor g({"1", "2", "123", "4"});
    g.caretAtEnd(1);
    g.key(u'.');
    EXPECT_EQ(g.focusedBox(), 3);
    EXPECT_EQ(g.boxes(), (QStringList{"1", "2", "123", "4"}));
}

TEST(AddressTyping, TheDotInTheLastBoxIsRefusedAndMovesOnlyAtThreeCharacters) {
    Editor f({"1", "2", "3", "45"});
    f.caretAtEnd(3);
    f.key(u'.');
    EXPECT_EQ(f.box(3).text(), QStringLiteral("45"));
    EXPECT_EQ(f.focusedBox(), 3);

    Editor g({"1", "2", "3", "123"});
    g.caretAtEnd(3);
    g.key(u'.');
    EXPECT_EQ(g.box(3).text(), QStringLiteral("123"));
    EXPECT_EQ(g.focusedBox(), kPort);
}

TEST(AddressTyping, EveryCharacterButDigitsBackspaceAnd127IsRefusedAndKeepsTheSelection) {
    const std::vector<QChar> refused = {u'a',      u'Z', u' ', u'\r',     QChar(3), QChar(22),
                                        QChar(24), u'-', u'+', u'\u4E2D', u'\u00E9'};
    for (QChar ch : refused) {
        Editor f({"", "12", "", ""});
        f.op.focus(f.box(1)); // all of "12" selected
        f.key(ch);
        EXPECT_EQ(f.box(1).text(), QStringLiteral("12")) << int{ch.unicode()};
        EXPECT_EQ(f.box(1).selLength(), 2)
            << "a refused character leaves the selection; " << int{ch.unicode()};
        EXPECT_EQ(f.focusedBox(), 1) << int{ch.unicode()};
    }
}

TEST(AddressTyping, ADigitOrBackspaceFirstDeletesTheSelectionAndStillActs) {
    Editor f({"", "255", "", ""});
    f.op.focus(f.box(1));
    f.key(u'7');
    EXPECT_EQ(f.box(1).text(), QStringLiteral("7"));

    // Backspace with "23" of "1234" selected: the selection goes, then the Backspace takes the 1.
    f.box(1).setText(QStringLiteral("1234"));
    f.op.select(f.box(1), 1, 2);
    f.key(u'\b');
    EXPECT_EQ(f.box(1).text(), QStringLiteral("4"));
    // The character 127 (Ctrl+Backspace) alike: the selection, then the word before the caret.
    f.box(1).setText(QStringLiteral("1234"));
    f.op.select(f.box(1), 2, 1);
    f.keys.press(QChar(127));
    EXPECT_EQ(f.box(1).text(), QStringLiteral("4"));
    EXPECT_EQ(f.focusedBox(), 1) << "127 moves no focus at its press";
}

TEST(AddressTyping, AFourthDigitPressedBeforeTheThirdComesUpStaysAndDoesNotMoveOn) {
    Editor f;
    f.caretAtEnd(1);
    f.key(u'1');
    f.key(u'2');
    f.keys.press(u'3');
    f.keys.press(u'4');
    f.op.keyUp('3');
    f.op.keyUp('4');
    EXPECT_EQ(f.box(1).text(), QStringLiteral("1234"));
    EXPECT_EQ(f.focusedBox(), 1);
}

TEST(AddressTyping, TheReleaseOfAnyKeyAtLengthThreeMovesOnAndOfNoneAtTwoOrFour) {
    // Left arrow, Shift, Delete, a letter, Tab: the release handler does not look at the key.
    for (int code : {37, 16, 46, 65, 9}) {
        Editor f({"1", "123", "1", "1"});
        f.caretAtEnd(1);
        f.op.keyUp(code);
        EXPECT_EQ(f.focusedBox(), 2) << code;
    }
    for (const char* text : {"12", "1234"}) {
        Editor f({"1", text, "1", "1"});
        f.caretAtEnd(1);
        f.op.keyUp(37);
        EXPECT_EQ(f.focusedBox(), 1) << text;
    }
    Editor g({"1", "1", "1", "255"});
    g.caretAtEnd(3);
    g.op.keyUp(39);
    EXPECT_EQ(g.focusedBox(), kPort);
}

// ---- Backspace ----

TEST(AddressBackspace, AtAZeroBoxItWalksBackAndStillErasesTheBoxItWasTypedIn) {
    Editor f({"10", "20", "0", ""});
    f.caretAtEnd(2);
    f.key(u'\b');
    EXPECT_EQ(f.boxes(), (QStringList{"10", "20", "", ""}));
    EXPECT_EQ(f.focusedBox(), 1);
    EXPECT_EQ(f.box(1).selLength(), 2) << "the box walked into is selected";
}

TEST(AddressBackspace, OnePressWalksTwoBoxesWhenThePreviousIsWorthZeroToo) {
    Editor f({"10", "0", "0", ""});
    f.caretAtEnd(2);
    f.key(u'\b');
    EXPECT_EQ(f.boxes(), (QStringList{"10", "0", "", ""}));
    EXPECT_EQ(f.focusedBox(), 0);
}

TEST(AddressBackspace, IntoABoxOfThreeCharactersItComesBackAtRelease) {
    Editor f({"192", "", "", ""});
    f.caretAtEnd(1);
    f.key(u'\b');
    EXPECT_EQ(f.focusedBox(), 1);
    EXPECT_EQ(f.box(0).text(), QStringLiteral("192"));
}

TEST(AddressBackspace, LeavingThreeZerosWalksBackAndThenOnPastTheBox) {
    // 0001 is worth 1 at the press; the 000 left is worth 0 at the release, and three characters long.
    Editor f({"1", "2", "0001", ""});
    f.caretAtEnd(2);
    f.key(u'\b');
    EXPECT_EQ(f.box(2).text(), QStringLiteral("000"));
    EXPECT_EQ(f.focusedBox(), 3);
}

TEST(AddressBackspace, InTheLastBoxItEndsOnThePortBoxAndInTheFirstItStays) {
    Editor f({"1", "2", "3", "0"});
    f.caretAtEnd(3);
    f.key(u'\b');
    EXPECT_EQ(f.box(3).text(), QString());
    EXPECT_EQ(f.focusedBox(), kPort);

    Editor g({"0", "", "", ""});
    g.caretAtEnd(0);
    g.key(u'\b');
    EXPECT_EQ(g.box(0).text(), QString());
    EXPECT_EQ(g.focusedBox(), 0);
}

// ---- leaving a box ----

struct LeavingCase {
    int index;
    const char* text;
    const char* message; // nullptr: the box passes
    const char* title;
    int style;
};

class Leaving : public ::testing::TestWithParam<LeavingCase> {};

TEST_P(Leaving, EachBoxIsTestedAloneByTheNumberItsTextBeginsWith) {
    const LeavingCase& c = GetParam();
    Editor f({"1", "1", "1", "1"});
    f.box(c.index).setText(QString::fromLatin1(c.text));
    f.op.focus(f.box(c.index));
    f.op.focus(f.p.txt_Data_Input);
    if (c.message == nullptr) {
        EXPECT_TRUE(f.sim.dialogs.shown.empty());
        EXPECT_EQ(f.box(c.index).text(), QString::fromLatin1(c.text)) << "the text is never normalised";
        EXPECT_EQ(f.p.focused(), c.index == 3 ? static_cast<Control*>(&f.p.txt_Destination_Port)
                                              : static_cast<Control*>(&f.p.txt_Data_Input));
        return;
    }
    ASSERT_EQ(f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.shown[0].text, QString::fromLatin1(c.message));
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QString::fromLatin1(c.title));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, c.style);
    EXPECT_EQ(f.box(c.index).text(), QString());
    EXPECT_EQ(f.focusedBox(), c.index);
    QStringList pieces{"1", "1", "1", "1", ""};
    pieces[c.index] = QString();
    EXPECT_EQ(f.saved(), pieces.join(u'.')) << "the emptied box is saved at once";
}

constexpr char kLimit[] = "IP Address Value Cross Limit";
constexpr char kFormat[] = " Please Check your IP Address Format";

INSTANTIATE_TEST_SUITE_P(
    AddressLeaving, Leaving,
    ::testing::Values(
        LeavingCase{0, "223", nullptr, nullptr, 0}, LeavingCase{0, "224", kLimit, "Simulator", 0},
        LeavingCase{0, "300", kLimit, "Simulator", 0}, LeavingCase{0, "0123", nullptr, nullptr, 0},
        LeavingCase{1, "255", nullptr, nullptr, 0}, LeavingCase{1, "256", kFormat, "IP Address Error", 64},
        LeavingCase{1, "255.5", kFormat, "IP Address Error", 64},
        LeavingCase{1, "1000", kFormat, "IP Address Error", 64}, LeavingCase{1, "0123", nullptr, nullptr, 0},
        LeavingCase{2, "1.5", nullptr, nullptr, 0}, LeavingCase{2, "300a", kFormat, "IP Address Error", 64},
        LeavingCase{2, "abc", nullptr, nullptr, 0}, LeavingCase{2, "", nullptr, nullptr, 0},
        LeavingCase{3, "255", nullptr, nullptr, 0}, LeavingCase{3, "", nullptr, nullptr, 0},
        LeavingCase{3, "256", kFormat, "IP Address Error", 64}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST(AddressLeaving, TheTestRunsInTheMiddleOfAKeyAndTheFocusComesBackToTheEmptiedBox) {
    // A dot in a box out of range: the focus leaves, the test fails at once, and it comes back.
    // (Typing 300 into box 1 is a test of the window.)
    Editor g({"1", "999", "2", "3"});
    g.caretAtEnd(1);
    g.key(u'.');
    EXPECT_EQ(g.shown(), std::vector<QString>{QString::fromLatin1(kFormat)});
    EXPECT_EQ(g.boxes(), (QStringList{"1", "", "2", "3"}));
    EXPECT_EQ(g.focusedBox(), 1);

    // 224 in box 0 is over the first octet's limit; 223 passes on to box 1.
    Editor h;
    h.keys.type(h.box(0), QStringLiteral("224"));
    EXPECT_EQ(h.shown(), std::vector<QString>{QString::fromLatin1(kLimit)});
    EXPECT_EQ(h.focusedBox(), 0);
    h.keys.type(h.box(0), QStringLiteral("223"));
    EXPECT_EQ(h.focusedBox(), 1);
    EXPECT_EQ(h.shown().size(), 1U);
}

TEST(AddressLeaving, ABoxLockedByALinkIsStillTestedButTheFocusGoesWhereTheClickSentIt) {
    // A timer can start a link, and lock the boxes, while the focus sits in one of them.
    Editor f({"1", "2", "3", "4"});
    f.op.focus(f.box(3));
    f.p.Frame1.setEnabled(false);
    f.p.List1.addItem(QStringLiteral("row"));
    EXPECT_TRUE(f.op.click(f.p.cmd_Log));
    EXPECT_EQ(f.p.focused(), &f.p.cmd_Log);
    EXPECT_EQ(f.p.List1.listCount(), 0) << "the click lands";
    EXPECT_TRUE(f.sim.dialogs.shown.empty());

    Editor g({"1", "300", "3", "4"});
    g.op.focus(g.box(1));
    g.p.Frame1.setEnabled(false);
    g.op.click(g.p.cmd_Log);
    EXPECT_EQ(g.shown(), std::vector<QString>{QString::fromLatin1(kFormat)});
    EXPECT_EQ(g.box(1).text(), QString());
    EXPECT_EQ(g.p.focused(), &g.p.cmd_Log);
}

// ---- the list of addresses no device may have ----

struct RuleCase {
    std::array<const char*, 4> octets;
    const char* message; // nullptr: allowed
};

class Rules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(Rules, TheFourBoxesAreComparedAsTextWithTheList) {
    const RuleCase& c = GetParam();
    Editor f(c.octets);
    f.op.focus(f.p.txt_Data_Input);
    const QStringList before = f.boxes();
    const int writes = f.sim.settings.writes;
    AddressRules(f.sim.dialogs).Address_chk(f.p.txt_Destination_IP, 3);
    if (c.message == nullptr) {
        EXPECT_TRUE(f.sim.dialogs.shown.empty());
        EXPECT_EQ(f.boxes(), before);
        EXPECT_EQ(f.p.focused(), &f.p.txt_Data_Input);
        EXPECT_EQ(f.sim.settings.writes, writes);
        return;
    }
    ASSERT_EQ(f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(f.sim.dialogs.shown[0].text, QString::fromLatin1(c.message));
    EXPECT_EQ(f.sim.dialogs.shown[0].title, QStringLiteral("Address Error"));
    EXPECT_EQ(f.sim.dialogs.shown[0].style, 64);
    EXPECT_EQ(f.box(3).text(), QString());
}

constexpr char kBroadcast[] = "Invalid Address 225.225.225.225";
constexpr char kZero[] = "Invalid Address 0.0.0.0";
constexpr char kIana[] = "Invalid Address,This Asign for 'IANA'";
constexpr char kConferencing[] = "Invalid Address,This Asign for Conferencing";

INSTANTIATE_TEST_SUITE_P(
    AddressRules, Rules,
    ::testing::Values(RuleCase{{"255", "255", "255", "255"}, kBroadcast},
                      RuleCase{{"0", "0", "0", "0"}, kZero}, RuleCase{{"224", "0", "0", "0"}, kIana},
                      RuleCase{{"224", "0", "0", "2"}, kIana}, RuleCase{{"224", "0", "0", "4"}, kIana},
                      RuleCase{{"224", "0", "0", "11"}, kIana},
                      RuleCase{{"224", "0", "1", "7"}, kConferencing},
                      RuleCase{{"224", "0", "1", "10"}, kConferencing},
                      RuleCase{{"224", "0", "1", "18"}, kConferencing},
                      // Neighbours that pass.
                      RuleCase{{"224", "0", "0", "3"}, nullptr}, RuleCase{{"224", "0", "0", "12"}, nullptr},
                      RuleCase{{"224", "0", "1", "9"}, nullptr}, RuleCase{{"224", "0", "1", "19"}, nullptr},
                      RuleCase{{"255", "255", "255", "254"}, nullptr},
                      // Text, not numbers: leading zeros make another address.
                      RuleCase{{"010", "0", "0", "0"}, nullptr}, RuleCase{{"00", "0", "0", "0"}, nullptr},
                      RuleCase{{"224", "0", "0", "07"}, nullptr},
                      // Empty boxes: three dots, or an address with nothing behind its last dot.
                      RuleCase{{"", "", "", ""}, nullptr}, RuleCase{{"224", "0", "0", ""}, nullptr}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST(AddressRules, AMatchSelectsFocusesAndEmptiesOnlyTheNamedBox) {
    Editor f({"0", "0", "0", "0"});
    f.op.focus(f.p.txt_Data_Input);
    AddressRules(f.sim.dialogs).Address_chk(f.p.txt_Destination_IP, 2);
    EXPECT_EQ(f.boxes(), (QStringList{"0", "0", "", "0"}));
    EXPECT_EQ(f.focusedBox(), 2);
    EXPECT_EQ(f.saved(), QStringLiteral("0.0..0."));
}

} // namespace
} // namespace sim::test
