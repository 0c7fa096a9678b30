#include "platform/code_page.h"
#include "platform/int16.h"
#include "platform/ipv4.h"
#include "platform/text_number.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace sim {
namespace {

bool overflows(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeFailure& failure) {
        return failure.number() == failure::kOverflow;
    }
    return false;
}

TEST(Int16, HoldsBothLimitsAndFailsOneStepPastEither) {
    Int16 top = Int16::kMax;
    Int16 bottom = Int16::kMin;
    EXPECT_EQ(top, 32767);
    EXPECT_EQ(bottom, -32768);
    EXPECT_TRUE(overflows([&] { ++top; }));
    EXPECT_TRUE(overflows([&] { --bottom; }));
    EXPECT_TRUE(overflows([] {
        Int16 x = 40000;
        (void)x;
    }));
    EXPECT_TRUE(overflows([] {
        Int16 x = -32769;
        (void)x;
    }));
    // A failed step leaves the value as it was: nothing wraps.
    EXPECT_EQ(top, 32767);
    EXPECT_EQ(bottom, -32768);
    Int16 n = 32766;
    ++n;
    EXPECT_EQ(n, 32767);
}

TEST(CodePage, EveryByteSurvivesTheRoundTrip) {
    QByteArray all;
    for (int b = 0; b < 256; ++b) {
        all.append(static_cast<char>(b));
    }
    EXPECT_EQ(code_page::toAnsi(code_page::fromAnsi(all)), all);
}

TEST(CodePage, ALongTextKeepsItsOrderAndTheCodePagesOwnCharactersWhereverTheyStand) {
    // Latin-1 letters, then the euro sign at every offset of a 40-byte text.
    for (int at = 0; at < 40; ++at) {
        QByteArray bytes(40, 'a');
        for (int i = 0; i < 40; ++i) {
            bytes[i] = static_cast<char>(i % 2 == 0 ? 'A' + i % 26 : 0xA0 + i);
        }
        bytes[at] = static_cast<char>(0x80);
        QString expected;
        for (const char b : bytes) {
            expected += b == static_cast<char>(0x80) ? QChar(u'\u20AC') : QChar(static_cast<std::uint8_t>(b));
        }
        EXPECT_EQ(code_page::fromAnsi(bytes), expected) << "euro sign at " << at;
    }
}

TEST(CodePage, CharactersOutsideTheCodePageHaveNegativeCodes) {
    EXPECT_EQ(code_page::ansiCode(QChar(u'A')), 65);
    EXPECT_EQ(code_page::ansiCode(QChar(u'\u20AC')), 0x80); // the euro sign
    EXPECT_EQ(code_page::ansiCode(QChar(u'\u00E9')), 0xE9);
    EXPECT_LT(code_page::ansiCode(QChar(u'\u4E2D')), 0);
    EXPECT_LT(code_page::ansiCode(QChar(u'\uAC00')), 0);
    EXPECT_EQ(code_page::toAnsi(QStringLiteral("a\u4E2Db")), QByteArray("a?b"));
}

TEST(LiteralAddress, OnlyFourDecimalPartsOfAtMost255AreAnAddress) {
    EXPECT_EQ(parseIPv4(QStringLiteral("127.0.0.1")), 0x7F000001U);
    EXPECT_EQ(parseIPv4(QStringLiteral("255.255.255.255")), 0xFFFFFFFFU);
    for (const char* bad : {"localhost", "127.1", "1.2.3.4.", "256.0.0.1", "1..2.3", "", "1.2.3.-4",
                            "1.2.3.4 ", "0x7f.0.0.1"}) {
        EXPECT_FALSE(parseIPv4(QString::fromLatin1(bad))) << bad;
    }
}

TEST(LeadingNumber, IsTheNumberTheTextBeginsWithAndZeroWithoutOne) {
    const std::vector<std::pair<const char*, double>> cases = {
        {"0123", 123}, {"300a", 300},  {"1.5", 1.5}, {"1.5.2", 1.5}, {"255.5", 255.5}, {"", 0},
        {"abc", 0},    {".5", 0.5},    {"5.", 5},    {"-5", -5},     {"+7", 7},        {"-", 0},
        {"1e3", 1000}, {"1E+2x", 100}, {"1e", 1},    {"2e+", 2},     {"000", 0},       {"0001", 1},
        {" 5", 0},     {"\t5", 0},     {"1 2", 1},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(leadingNumber(QString::fromLatin1(text)), value) << text;
    }
    EXPECT_EQ(leadingNumber(QStringLiteral("1e999")), std::numeric_limits<double>::infinity());
    EXPECT_EQ(leadingNumber(QStringLiteral("1e-999")), 0.0);
    EXPECT_EQ(leadingNumber(QStringLiteral("\u0661")), 0.0) << "digits of other scripts are no number here";
}

TEST(Blanks, AreSpacesAloneAroundTextAndNumbers) {
    EXPECT_EQ(trimBlanks(QStringLiteral("  a b  ")), QStringLiteral("a b"));
    EXPECT_EQ(trimBlanks(QStringLiteral(" \t\u00A0 ")), QStringLiteral("\t\u00A0"));
    EXPECT_EQ(trimBlanks(QStringLiteral("   ")), QString());
    EXPECT_EQ(parseNumber(QStringLiteral(" 2.5 ")), 2.5);
    for (const char16_t* text : {u"\t2", u"2\n", u"\u00A02", u""}) {
        EXPECT_FALSE(parseNumber(QString::fromUtf16(text))) << QString::fromUtf16(text).toStdString();
    }
}

} // namespace
} // namespace sim
