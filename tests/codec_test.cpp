#include "codec/codec.h"

#include "platform/runtime_failure.h"
#include "support/printing.h"

#include <gtest/gtest.h>

namespace sim {
namespace {

struct CodecCase {
    bool hex;
    QString text;
    Bytes bytes; // empty: the conversion fails
};

class Codec : public ::testing::TestWithParam<CodecCase> {};

TEST_P(Codec, TurnsTextIntoBytesOrFails) {
    const auto& c = GetParam();
    Bytes payload{9, 9, 9};
    const auto convert = [&] { c.hex ? Hex2Ary(payload, c.text) : Str2Ary(payload, c.text); };
    if (c.bytes.empty()) {
        EXPECT_THROW(convert(), RuntimeFailure);
    } else {
        convert();
        EXPECT_EQ(payload, c.bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Codec,
    ::testing::Values(
        CodecCase{false, QStringLiteral("A"), {65}}, CodecCase{true, QStringLiteral("41"), {65}},
        CodecCase{true, QStringLiteral("4a"), {74}}, CodecCase{true, QStringLiteral("4A"), {74}},
        CodecCase{true, QStringLiteral("00FF"), {0, 255}},
        // An odd last character is never read, whatever it is.
        CodecCase{true, QStringLiteral("414"), {65}}, CodecCase{true, QStringLiteral("4142X"), {65, 66}},
        CodecCase{true, QStringLiteral("410A00FF"), {0x41, 0x0A, 0x00, 0xFF}},
        // Pairs by position: a blank is no separator.
        CodecCase{true, QStringLiteral("41 42"), {}}, CodecCase{true, QStringLiteral("4"), {}},
        CodecCase{true, QStringLiteral("0x"), {}}, CodecCase{true, QString(), {}},
        CodecCase{false, QStringLiteral("  "), {32, 32}},
        CodecCase{false, QStringLiteral("&H41"), {38, 72, 52, 49}},
        CodecCase{false, QStringLiteral("\u20AC\u00E9"), {0x80, 0xE9}},
        CodecCase{false, QStringLiteral("a\u4E2D"), {}}, CodecCase{false, QString(), {}}));

TEST(Codec, ConvertsUpTo32767CharactersAndNoMore) {
    Bytes payload;
    Str2Ary(payload, QString(32767, QLatin1Char('x')));
    EXPECT_EQ(payload.size(), 32767U);
    EXPECT_THROW(Str2Ary(payload, QString(32768, QLatin1Char('x'))), RuntimeFailure);
    Hex2Ary(payload, QString(32767, QLatin1Char('7')));
    EXPECT_EQ(payload.size(), 16383U);
    EXPECT_THROW(Hex2Ary(payload, QString(32768, QLatin1Char('7'))), RuntimeFailure);
}

} // namespace
} // namespace sim
