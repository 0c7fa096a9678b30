#include "logging/record.h"
#include "support/printing.h"

#include <gtest/gtest.h>

namespace sim::record {
namespace {

const Stamp kAt = makeStamp(9, 15, 2, 7);

QByteArray head(const Stamp& stamp, int len, int direction, bool spaced) {
    QByteArray out;
    appendHead(out, stamp, len, static_cast<Direction>(direction), spaced);
    return out;
}

QByteArray asciiPayload(const Bytes& data, int len) {
    QByteArray out;
    appendAsciiPayload(out, data, len);
    return out;
}

QByteArray hexPayload(const Bytes& data, int len) {
    QByteArray out;
    appendHexPayload(out, data, len);
    return out;
}

QByteArray failureLine(const Stamp& stamp, int direction, bool spaced) {
    QByteArray out;
    appendFailureLine(out, stamp, static_cast<Direction>(direction), spaced);
    return out;
}

TEST(Record, AsciiHeadAndRowsOfTheWorkedExample) {
    const Bytes hello{'H', 'E', 'L', 'L', 'O'};
    const QByteArray h = head(kAt, 5, 0, false);
    EXPECT_EQ(h + asciiPayload(hello, 5), QByteArray("[09:15:02.007] : Send [5 byte] : HELLO"));
    EXPECT_EQ(listRows(h, asciiPayload(hello, 5), true),
              (QStringList{QStringLiteral("[09:15:02.007] : Send [5 byte] :  HELLO"), QStringLiteral(" ")}));
}

TEST(Record, AsciiRowsShowEveryByteThroughTheCodePageAndTheFileKeepsTheByte) {
    const Bytes data{0x80, 0x0D, 0x0A, 0x00, 0xE9};
    const QByteArray payload = asciiPayload(data, 5);
    EXPECT_EQ(payload, QByteArray("\x80\r\n\0\xE9", 5));
    EXPECT_EQ(listRows(QByteArrayView(), payload, true).first(),
              QStringLiteral(" \u20AC\r\n") + QChar(0) + QChar(0xE9));
}

TEST(Record, HexHeadRowsAndTheSpacedFileForm) {
    const Bytes data{0x41, 0x0A, 0x00, 0xFF};
    const QByteArray payload = hexPayload(data, 4);
    EXPECT_EQ(head(kAt, 4, 1, false) + payload, QByteArray("[09:15:02.007] : Recv [4 byte] :  41 A 00 FF"));
    EXPECT_EQ(head(kAt, 4, 1, true) + payload,
              QByteArray("[ 09:15:02.007 ] : Recv [ 4 byte ] :  41 A 00 FF"));
    EXPECT_EQ(listRows(head(kAt, 4, 1, false), payload, false),
              (QStringList{QStringLiteral("[09:15:02.007] : Recv [4 byte] :  41 A 00 FF"), QString()}));
    EXPECT_EQ(head(kAt, 32767, 0, false), QByteArray("[09:15:02.007] : Send [32767 byte] : "));
}

TEST(Record, FailureLines) {
    EXPECT_EQ(failureLine(kAt, 0, false), QByteArray("[09:15:02.007] : Send Fail"));
    EXPECT_EQ(failureLine(kAt, 1, false), QByteArray("[09:15:02.007] : Receive Fail"));
    EXPECT_EQ(failureLine(kAt, 0, true), QByteArray("[ 09:15:02.007 ] : Send Fail"));
    EXPECT_EQ(failureLine(kAt, 1, true), QByteArray("[ 09:15:02.007 ] : Received Fail"));
}

TEST(Record, HexDigitsKeepOneLetterBytesAlone) {
    const std::pair<std::uint8_t, const char*> cases[] = {{0x00, "00"}, {0x09, "09"}, {0x0A, "A"},
                                                          {0x0D, "D"},  {0x0F, "F"},  {0x10, "10"},
                                                          {0x1E, "1E"}, {0xFF, "FF"}};
    for (const auto& [byte, digits] : cases) {
        EXPECT_EQ(hexDigits(byte), digits) << int(byte);
    }
    Bytes all(256);
    for (int b = 0; b < 256; ++b) {
        all[static_cast<std::size_t>(b)] = static_cast<std::uint8_t>(b);
    }
    EXPECT_EQ(hexPayload(all, 256).size(), 256 * 3 - 6) << "six bytes of one letter";
}

TEST(Record, TheStampHasTwoDigitFieldsAndThreeDigitMilliseconds) {
    EXPECT_EQ(statusText(makeStamp(0, 0, 0, 0), "] : Listen.."), QStringLiteral("[00:00:00.000] : Listen.."));
    EXPECT_EQ(statusText(makeStamp(23, 59, 59, 999), "]"), QStringLiteral("[23:59:59.999]"));
    EXPECT_EQ(statusText(makeStamp(10, 5, 7, 40), "]"), QStringLiteral("[10:05:07.040]"));
}

TEST(Record, RowsAreCutEverySixtyCharacters) {
    const QByteArray h = head(kAt, 0, 0, false);
    const QString hText = QString::fromLatin1(h);
    EXPECT_EQ(listRows(h, QByteArrayView(), true),
              (QStringList{hText + QLatin1Char(' '), QStringLiteral(" ")}));
    QByteArray text;
    for (int i = 0; i < 130; ++i) {
        text.append(static_cast<char>('a' + i % 26));
    }
    const QString chars = QString::fromLatin1(text);
    const QStringList rows = listRows(h, text, true);
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[0], hText + QLatin1Char(' ') + chars.left(60));
    EXPECT_EQ(rows[1], QLatin1Char(' ') + chars.mid(60, 60));
    EXPECT_EQ(rows[2], QLatin1Char(' ') + chars.mid(120));
    EXPECT_EQ(rows[3], QStringLiteral(" "));
    // Exactly sixty: an empty last piece, then the closing row.
    EXPECT_EQ(listRows(h, text.left(60), true), (QStringList{hText + QLatin1Char(' ') + chars.left(60),
                                                             QStringLiteral(" "), QStringLiteral(" ")}));
    EXPECT_EQ(listRows(h, QByteArray(60, 'x'), false).mid(1), (QStringList{QString(), QString()}));
    // Twenty-five two-digit bytes: 75 characters in two rows, then the empty closing row.
    const QStringList hex = listRows(h, QByteArray(75, '1'), false);
    EXPECT_EQ(hex.size(), 3);
    EXPECT_EQ(hex[1].size(), 15);
}

TEST(Record, ALongRecordEndsItsRowsWhereTheRowPositionStops) {
    const QByteArray payload(40'000, 'z');
    const QStringList rows = listRows("h", payload, true);
    // Rows reach as far as the 16-bit position: 547 pieces of 60 characters, then the closing row.
    EXPECT_EQ(rows.size(), 548);
    EXPECT_EQ(rows.at(546), QLatin1Char(' ') + QString(60, QLatin1Char('z')));
    EXPECT_EQ(rows.last(), QStringLiteral(" "));
}

} // namespace
} // namespace sim::record
