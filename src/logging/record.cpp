#include "logging/record.h"

#include "platform/code_page.h"
#include "platform/int16.h"

#include <QTime>

#include <charconv>
#include <cstring>

namespace sim {
namespace {

void twoDigits(char* at, int value) {
    at[0] = static_cast<char>('0' + value / 10);
    at[1] = static_cast<char>('0' + value % 10);
}

void appendStamp(QByteArray& out, const Stamp& stamp) {
    out.append(stamp.time.data(), static_cast<qsizetype>(stamp.time.size()));
    out.append('.');
    out.append(stamp.ms.data(), static_cast<qsizetype>(stamp.ms.size()));
}

} // namespace

Stamp makeStamp(int hour, int minute, int second, int milliseconds) {
    Stamp stamp;
    twoDigits(&stamp.time[0], hour);
    stamp.time[2] = ':';
    twoDigits(&stamp.time[3], minute);
    stamp.time[5] = ':';
    twoDigits(&stamp.time[6], second);
    stamp.ms[0] = static_cast<char>('0' + milliseconds / 100);
    twoDigits(&stamp.ms[1], milliseconds % 100);
    return stamp;
}

Stamp readStamp(const Clock& clock) {
    const QTime time = clock.localTime();
    return makeStamp(time.hour(), time.minute(), time.second(), clock.systemMilliseconds());
}

QString statusText(const Stamp& stamp, const char* tail) {
    QByteArray line;
    line.append('[');
    appendStamp(line, stamp);
    line.append(tail);
    return QString::fromLatin1(line);
}

namespace record {
namespace {

constexpr qsizetype kRowWidth = 60;

// The text of every byte in the hexadecimal form: a blank and "00" to "09", "A" to "F" alone, then "10"
// to "FF"; padded to four characters, with the length that counts.
struct HexCell {
    std::array<char, 4> text;
    int size;
};
constexpr std::array<HexCell, 256> kHexCells = [] {
    std::array<HexCell, 256> table{};
    constexpr char digits[] = "0123456789ABCDEF";
    for (std::size_t b = 0; b < table.size(); ++b) {
        if (b >= 0x0A && b <= 0x0F) {
            table[b] = {{' ', digits[b], '\0', '\0'}, 2};
        } else {
            table[b] = {{' ', digits[b / 16], digits[b % 16], '\0'}, 3};
        }
    }
    return table;
}();

void appendAsciiPayload(QByteArray& out, const Bytes& data, int len) {
    // A byte is its own character in the code page, and every byte has one.
    out.append(reinterpret_cast<const char*>(data.data()), len);
}

void appendHexBytes(QByteArray& out, const std::uint8_t* bytes, qsizetype count) {
    const qsizetype start = out.size();
    // Each cell is copied whole, and the next one starts where its text ends.
    out.resize(start + count * 3 + 1);
    char* at = out.data() + start;
    for (qsizetype i = 0; i < count; ++i) {
        const HexCell& cell = kHexCells[bytes[i]];
        std::memcpy(at, cell.text.data(), cell.text.size());
        at += cell.size;
    }
    out.truncate(at - out.constData());
}

} // namespace

void appendHead(QByteArray& out, const Stamp& stamp, int len, Direction direction, bool spaced) {
    const char* verb = direction == Direction::Sent ? "Send" : "Recv";
    char count[12];
    const auto written = std::to_chars(std::begin(count), std::end(count), len);
    out.append(spaced ? "[ " : "[");
    appendStamp(out, stamp);
    out.append(spaced ? " ] : " : "] : ");
    out.append(verb);
    out.append(spaced ? " [ " : " [");
    out.append(count, written.ptr - count);
    out.append(spaced ? " byte ] : " : " byte] : ");
}

void appendFailureLine(QByteArray& out, const Stamp& stamp, Direction direction, bool spaced) {
    out.append(spaced ? "[ " : "[");
    appendStamp(out, stamp);
    out.append(spaced ? " ] : " : "] : ");
    if (direction == Direction::Sent) {
        out.append("Send Fail");
    } else {
        out.append(spaced ? "Received Fail" : "Receive Fail");
    }
}

namespace {

// The characters of a row: `first` (the head, in the head row), the blank of the ASCII form, a piece.
QString rowOf(QByteArrayView first, QByteArrayView piece, bool ascii) {
    QString text(first.size() + (ascii ? 1 : 0) + piece.size(), Qt::Uninitialized);
    QChar* at = code_page::fromAnsi(first, text.data());
    if (ascii) {
        *at++ = QLatin1Char(' ');
    }
    code_page::fromAnsi(piece, at);
    return text;
}

} // namespace

QString headRow(QByteArrayView head, QByteArrayView payload, bool ascii) {
    return rowOf(head, payload.first(std::min<qsizetype>(kRowWidth, payload.size())), ascii);
}

PieceText pieceText(QByteArrayView payload, bool ascii) {
    // The row position is 16-bit: it starts at 1 and grows by 60 after each row, and the growth past
    // 32767 ends the rows there. So row r (the head row being 0) starts at 1 + 60 r, and the last row is
    // the one after which the position cannot grow any more.
    constexpr qsizetype kLastRow = (Int16::kMax - 1) / kRowWidth;
    const qsizetype rowCount = std::min(payload.size() / kRowWidth, kLastRow);
    const qsizetype blank = ascii ? 1 : 0;
    PieceText pieces;
    pieces.rows.reserve(static_cast<std::size_t>(rowCount));
    pieces.text.resize(rowCount * (blank + kRowWidth));
    QChar* at = pieces.text.data();
    for (qsizetype r = 1; r <= rowCount; ++r) {
        const qsizetype from = std::min(r * kRowWidth, payload.size());
        const QByteArrayView piece = payload.sliced(from, std::min(kRowWidth, payload.size() - from));
        const qsizetype start = at - pieces.text.constData();
        if (ascii) {
            *at++ = QLatin1Char(' ');
        }
        at = code_page::fromAnsi(piece, at);
        pieces.rows.push_back({start, blank + piece.size()});
    }
    pieces.text.truncate(at - pieces.text.constData());
    return pieces;
}

QString closingRow(bool ascii) {
    return ascii ? QStringLiteral(" ") : QString();
}

const QByteArray& PayloadText::render(const Bytes& data, int len, bool ascii, Extent extent) {
    const QByteArrayView bytes(data.data(), len);
    const bool whole = extent == Extent::Whole;
    if (rendered_ && ascii == ascii_ && (whole_ || !whole) && bytes == bytes_) {
        return text_;
    }
    // The list's rows reach no further than Int16::kMax characters; two rows more leave the last of
    // them as they are in the whole text.
    constexpr qsizetype kListChars = Int16::kMax + 2 * kRowWidth;
    bytes_ = bytes.toByteArray();
    ascii_ = ascii;
    rendered_ = true;
    haveRows_ = false;
    pieces_ = {};
    text_.resize(0);
    int shown = len;
    if (ascii) {
        shown = whole ? len : static_cast<int>(std::min<qsizetype>(len, kListChars));
        appendAsciiPayload(text_, data, shown);
    } else if (whole) {
        appendHexBytes(text_, data.data(), len);
    } else {
        // A byte takes three characters, or two for the one-letter ones: render by the three until the
        // text reaches as far as the rows do.
        shown = 0;
        while (shown < len && text_.size() < kListChars) {
            const auto more =
                static_cast<int>(std::min<qsizetype>(len - shown, (kListChars - text_.size() + 2) / 3));
            appendHexBytes(text_, data.data() + shown, more);
            shown += more;
        }
    }
    whole_ = shown == len;
    return text_;
}

const PieceText& PayloadText::pieces() {
    if (!haveRows_) {
        pieces_ = pieceText(text_, ascii_);
        haveRows_ = true;
    }
    return pieces_;
}

} // namespace record
} // namespace sim
