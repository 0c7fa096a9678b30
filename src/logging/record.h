#pragma once

#include "platform/seam.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <vector>

namespace sim {

// Who moved a record's payload: the simulator sent it, or received it. The values are those the
// records have always been told by.
enum class Direction : std::int16_t { Sent = 0, Received = 1 };

// The time stamp of a line: local time and the system clock's milliseconds, read apart.
struct Stamp {
    std::array<char, 8> time{}; // HH:MM:SS
    std::array<char, 3> ms{};   // 000..999
};

Stamp readStamp(const Clock& clock);
Stamp makeStamp(int hour, int minute, int second, int milliseconds);

// "[" time "." ms followed by the tail, for a status line.
QString statusText(const Stamp& stamp, const char* tail);

// How a traffic record looks. Every piece of a record is text of the single-byte code page, so a record
// is built as the bytes the files receive and turned into characters only for the list's rows.
// `spaced` is the hexadecimal file-only form with blanks inside the brackets.
namespace record {

void appendHead(QByteArray& out, const Stamp& stamp, int len, Direction direction, bool spaced);
void appendFailureLine(QByteArray& out, const Stamp& stamp, Direction direction, bool spaced);
// The rows of a record in the list, in three parts: the head row with the first piece of 60 characters,
// the rows of the further pieces as one text that they share (and where each row lies in it), and the
// closing row. The row position is 16-bit: a payload text past its reach ends the rows early.
QString headRow(QByteArrayView head, QByteArrayView payload, bool ascii);
struct PieceText {
    struct Row {
        qsizetype from;
        qsizetype size;
    };
    QString text;
    std::vector<Row> rows;
};
PieceText pieceText(QByteArrayView payload, bool ascii);
QString closingRow(bool ascii);

// The payload text of the last record and the rows of its further pieces: in ASCII form each byte stands
// for its own character; in hexadecimal form each byte is a blank and its digits, two digits, or one
// letter for 0x0A to 0x0F. The same bytes shown again
// in the same form (an echo, a repeated send) share them instead of being rendered anew. A record for
// the list alone needs only the start of a long text: the rows end where their 16-bit position does.
class PayloadText {
public:
    enum class Extent { Whole, ListRows };
    const QByteArray& render(const Bytes& data, int len, bool ascii, Extent extent = Extent::Whole);
    const PieceText& pieces();

private:
    QByteArray bytes_;
    bool ascii_ = false;
    bool rendered_ = false;
    bool whole_ = false;
    QByteArray text_;
    PieceText pieces_;
    bool haveRows_ = false;
};

} // namespace record
} // namespace sim
