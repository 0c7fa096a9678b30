#include "logging/record.h"
#include "support/printing.h"

#include <gtest/gtest.h>

namespace sim::record {
namespace {

const Stamp kAt{QStringLiteral("09:15:02"), QStringLiteral("007")};

TEST(Record, AsciiHeadAndRowsOfTheWorkedExample) {
    const Bytes hello{'H', 'E', 'L', 'L', 'O'};
    const QString h = head(kAt, 5, 0, false);
    EXPECT_EQ(h + asciiPayload(hello, 5), QStringLiteral("[09:15:02.007] : Send [5 byte] : HELLO"));
    EXPECT_EQ(listRows(h, asciiPayload(hello, 5), true),
              (QStringList{QStringLiteral("[09:15:02.007] : Send [5 byte] :  HELLO"), QStringLiteral(" ")}));
}

TEST(Record, HexHeadRowsAndTheSpacedFileForm) {
    const Bytes data{0x41, 0x0A, 0x00, 0xFF};
    const QString payload = hexPayload(data, 4);
    EXPECT_EQ(head(kAt, 4, 1, false) + payload,
              QStringLiteral("[09:15:02.007] : Recv [4 byte] :  41 A 00 FF"));
    EXPECT_EQ(head(kAt, 4, 1, true) + payload,
              QStringLiteral("[ 09:15:02.007 ] : Recv [ 4 byte ] :  41 A 00 FF"));
    EXPECT_EQ(listRows(head(kAt, 4, 1, false), payload, false),
              (QStringList{QStringLiteral("[09:15:02.007] : Recv [4 byte] :  41 A 00 FF"), QString()}));
}

TEST(Record, FailureLines) {
    EXPECT_EQ(failureLine(kAt, 0, false), QStringLiteral("[09:15:02.007] : Send Fail"));
    EXPECT_EQ(failureLine(kAt, 1, false), QStringLiteral("[09:15:02.007] : Receive Fail"));
    EXPECT_EQ(failureLine(kAt, 0, true), QStringLiteral("[ 09:15:02.007 ] : Send Fail"));
    EXPECT_EQ(failureLine(kAt, 1, true), QStringLiteral("[ 09:15:02.007 ] : Received Fail"));
}

TEST(Record, HexDigitsKeepOneLetterBytesAlone) {
    EXPECT_EQ(hexDigits(0x00), QStringLiteral("00"));
    EXPECT_EQ(hexDigits(0x09), QStringLiteral("09"));
    EXPECT_EQ(hexDigits(0x0A), QStringLiteral("A"));
    EXPECT_EQ(hexDigits(0x0D), QStringLiteral("D"));
    EXPECT_EQ(hexDigits(0x0F), QStringLiteral("F"));
    EXPECT_EQ(hexDigits(0x10), QStringLiteral("10"));
    EXPECT_EQ(hexDigits(0x1E), QStringLiteral("1E"));
    EXPECT_EQ(hexDigits(0xFF), QStringLiteral("FF"));
}

TEST(Record, RowsAreCutEverySixtyCharacters) {
    const QString h = head(kAt, 0, 0, false);
    EXPECT_EQ(listRows(h, QString(), true), (QStringList{h + QLatin1Char(' '), QStringLiteral(" ")}));
    QString text;
    for (int i = 0; i < 130; ++i) {
        text.append(QChar(u'a' + i % 26));
    }
    const QStringList rows = listRows(h, text, true);
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[0], h + QLatin1Char(' ') + text.left(60));
    EXPECT_EQ(rows[1], QLatin1Char(' ') + text.mid(60, 60));
    EXPECT_EQ(rows[2], QLatin1Char(' ') + text.mid(120));
    EXPECT_EQ(rows[3], QStringLiteral(" "));
    // Exactly sixty: an empty last piece, then the closing row.
    EXPECT_EQ(listRows(h, text.left(60), true),
              (QStringList{h + QLatin1Char(' ') + text.left(60), QStringLiteral(" "), QStringLiteral(" ")}));
    EXPECT_EQ(listRows(h, QString(60, QLatin1Char('x')), false).mid(1), (QStringList{QString(), QString()}));
    // Twenty-five two-digit bytes: 75 characters in two rows, then the empty closing row.
    const QStringList hex = listRows(h, QString(75, QLatin1Char('1')), false);
    EXPECT_EQ(hex.size(), 3);
    EXPECT_EQ(hex[1].size(), 15);
}

TEST(Record, ALongRecordEndsItsRowsWhereTheRowPositionStops) {
    const QString payload(40'000, QLatin1Char('z'));
    const QStringList rows = listRows(QStringLiteral("h"), payload, true);
    // Rows reach as far as the 16-bit position: 547 pieces of 60 characters, then the closing row.
    EXPECT_EQ(rows.size(), 548);
    EXPECT_EQ(rows.last(), QStringLiteral(" "));
}

} // namespace
} // namespace sim::record
