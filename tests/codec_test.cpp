#include "codec/codec.h"

#include "platform/runtime_failure.h"

#include <gtest/gtest.h>

namespace sim {
namespace {

// The payload made of a text, in hexadecimal, or "fails".
QByteArray payloadOf(bool hex, const QString& text) {
    Bytes payload{9, 9, 9};
    try {
        hex ? Hex2Ary(payload, text) : Str2Ary(payload, text);
    } catch (const RuntimeFailure&) {
        return "fails";
    }
    return QByteArray(reinterpret_cast<const char*>(payload.data()), static_cast<qsizetype>(payload.size()))
        .toHex(' ')
        .toUpper();
}

TEST(Codec, TurnsTextIntoBytesOrFails) {
    const auto hex = [](const char16_t* text) { return payloadOf(true, QString::fromUtf16(text)); };
    const auto ascii = [](const char16_t* text) { return payloadOf(false, QString::fromUtf16(text)); };
    EXPECT_EQ(hex(u"41"), "41");
    EXPECT_EQ(hex(u"4a4A0A00FFfF09aA"), "4A 4A 0A 00 FF FF 09 AA");
    for (const char16_t* neighbour : {u"G0", u"g0", u":0", u"/0", u"@0", u"`0"}) {
        EXPECT_EQ(hex(neighbour), "fails") << QString::fromUtf16(neighbour).toStdString();
    }
    // An odd last character is never read, whatever it is; the pairs go by position, a blank is none.
    EXPECT_EQ(hex(u"414"), "41");
    EXPECT_EQ(hex(u"4142X"), "41 42");
    EXPECT_EQ(hex(u"41 42"), "fails");
    EXPECT_EQ(hex(u"4"), "fails");
    EXPECT_EQ(hex(u"0x"), "fails");
    EXPECT_EQ(hex(u""), "fails");
    EXPECT_EQ(ascii(u"  &H41"), "20 20 26 48 34 31");
    EXPECT_EQ(ascii(u"\u20AC\u00E9"), "80 E9");
    EXPECT_EQ(ascii(u"a\u4E2D"), "fails");
    EXPECT_EQ(ascii(u""), "fails");
    // Up to 32767 characters and no more.
    EXPECT_EQ(payloadOf(false, QString(32767, u'x')), QByteArray(32767, 'x').toHex(' ').toUpper());
    EXPECT_EQ(payloadOf(false, QString(32768, u'x')), "fails");
    EXPECT_EQ(payloadOf(true, QString(32767, u'7')), QByteArray(16383, 0x77).toHex(' ').toUpper());
    EXPECT_EQ(payloadOf(true, QString(32768, u'7')), "fails");
}

} // namespace
} // namespace sim
