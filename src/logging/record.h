#pragma once

#include "platform/seam.h"

#include <QString>
#include <QStringList>

namespace sim {

// The time stamp of a line: local time and the system clock's milliseconds, read apart.
struct Stamp {
    QString time; // HH:MM:SS
    QString ms;   // 000..999
};

Stamp readStamp(const Clock& clock);

// "[" time "." ms followed by the tail, for a status line.
QString statusText(const Stamp& stamp, const char* tail);

// How a traffic record looks. `spaced` is the hexadecimal file-only form with blanks inside the brackets.
namespace record {

QString asciiPayload(const Bytes& data, int len);
QString hexPayload(const Bytes& data, int len);
// A byte's digits: two digits, or one letter for 0x0A to 0x0F.
QString hexDigits(std::uint8_t byte);
QString head(const Stamp& stamp, int len, int direction, bool spaced);
QString failureLine(const Stamp& stamp, int direction, bool spaced);
// The rows of a record in the list: the head row, pieces of 60 characters, and the closing row. The
// row position is 16-bit: a payload text past its reach ends the rows early, before the closing row.
QStringList listRows(const QString& head, const QString& payload, bool ascii);

} // namespace record
} // namespace sim
