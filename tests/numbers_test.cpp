#include "platform/code_page.h"
#include "platform/int16.h"
#include "platform/ipv4.h"
#include "platform/text_number.h"

#include <gtest/gtest.h>

#include <limits>

namespace sim {
namespace {

TEST(Int16, HoldsBothLimitsAndFailsOneStepPastEitherWithoutWrapping) {
    Int16 top = 32766;
    Int16 bottom = -32767;
    ++top;
    --bottom;
    const std::function<void()> steps[] = {[&] { ++top; }, [&] { --bottom; }, [] { Int16{32768}; },
                                           [] { Int16{-32769}; }};
    for (const auto& step : steps) {
        try {
            step();
            ADD_FAILURE() << "no overflow";
        } catch (const RuntimeFailure& failure) {
            EXPECT_EQ(failure.number(), 6) << "Overflow";
        }
    }
    EXPECT_EQ(top, 32767);
    EXPECT_EQ(bottom, -32768);
}

TEST(CodePage, EveryByteIsItsCharacterWhereverItStandsAndOtherCharactersHaveNegativeCodes) {
    QByteArray all;
    for (int b = 0; b < 256; ++b) {
        all.append(static_cast<char>(b));
    }
    EXPECT_EQ(code_page::toAnsi(code_page::fromAnsi(all)), all);
    // Latin-1 letters, and the euro sign at every offset of a 40-byte text.
    for (int at = 0; at < 40; ++at) {
        QByteArray bytes;
        QString expected;
        for (int i = 0; i < 40; ++i) {
            const int b = i == at ? 0x80 : i % 2 == 0 ? 'A' + i % 26 : 0xA0 + i;
            bytes.append(static_cast<char>(b));
            expected.append(i == at ? QChar(u'\u20AC') : QChar(b));
        }
        EXPECT_EQ(code_page::fromAnsi(bytes), expected) << "euro sign at " << at;
    }
    // A character past what a 16-bit key code holds has a negative code a key code holds.
    const int code = code_page::ansiCode(QChar(u'\uAC00'));
    EXPECT_TRUE(code < 0 && code >= -32768) << code;
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

TEST(TextNumbers, ALeadingNumberIsWhatTheTextBeginsWithAndBlanksAreSpacesAlone) {
    // U+0661 is a digit of another script.
    const std::pair<const char16_t*, double> leading[] = {
        {u"0123", 123},  {u"300a", 300},    {u"1.5", 1.5},
        {u"1.5.2", 1.5}, {u"255.5", 255.5}, {u"", 0},
        {u"abc", 0},     {u".5", 0.5},      {u"5.", 5},
        {u"-5", -5},     {u"+7", 7},        {u"-", 0},
        {u"1e3", 1000},  {u"1E+2x", 100},   {u"1e", 1},
        {u"2e+", 2},     {u"000", 0},       {u"0001", 1},
        {u" 5", 0},      {u"\t5", 0},       {u"1 2", 1},
        {u"1e-999", 0},  {u"\u0661", 0},    {u"1e999", std::numeric_limits<double>::infinity()}};
    for (const auto& [text, value] : leading) {
        EXPECT_EQ(leadingNumber(QString::fromUtf16(text)), value) << QString::fromUtf16(text).toStdString();
    }
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
