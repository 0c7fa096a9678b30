#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QChar>
#include <QString>
#include <QStringView>

#include <cstdint>

namespace sim::code_page {

// The single-byte code page that stands for the system's ANSI one: Windows-1252, both ways. Its five
// unassigned bytes map to the C1 controls of the same value, so every byte survives a round trip.

// The byte for a character, or a negative number for a character the code page does not have.
int ansiCode(QChar c);

// The character of a byte.
QChar fromAnsiByte(std::uint8_t b);

// Text in the code page; a character it does not have becomes '?'.
QByteArray toAnsi(QStringView text);
QString fromAnsi(QByteArrayView bytes);
// Writes the characters of the bytes from `out` on, which has room for them; gives the end.
QChar* fromAnsi(QByteArrayView bytes, QChar* out);

} // namespace sim::code_page
