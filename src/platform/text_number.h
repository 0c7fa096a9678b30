#pragma once

#include <QString>

#include <optional>

namespace sim {

// A decimal number typed by the operator, blanks around it allowed; nothing for anything else.
std::optional<double> parseNumber(const QString& text);

// A whole number as a 32-bit conversion makes it: rounded half to even, or nothing when the text is no
// number or out of range.
std::optional<long> toLong(const QString& text);

} // namespace sim
