#pragma once

#include "platform/int16.h"

#include <QString>

#include <optional>

namespace sim {

// A decimal number typed by the operator, blanks around it allowed; nothing for anything else.
std::optional<double> parseNumber(const QString& text);

// A whole number as a 32-bit conversion makes it: rounded half to even, or nothing when the text is no
// number or out of range.
std::optional<long> toLong(const QString& text);

// The same as a 16-bit number: the type-mismatch failure for a text that is no number, the overflow
// failure for one out of range.
Int16 toInt16(const QString& text);

// The number that the start of the text spells: a sign, digits with a decimal point, an exponent,
// read up to the first character that cannot continue it. Text that does not begin with a number
// gives 0. "0123" is 123, "300a" is 300, "1.5.2" is 1.5.
double leadingNumber(const QString& text);

// The text without its leading and trailing blanks. A blank is the space character alone: tabs, line
// breaks and non-breaking spaces are kept.
QString trimBlanks(const QString& text);

// The value of a hexadecimal digit in either case, or -1 for any other character.
int hexDigitValue(QChar c);

} // namespace sim
