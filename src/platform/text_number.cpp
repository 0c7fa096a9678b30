#include "platform/text_number.h"

#include <QLocale>

#include <cmath>
#include <cstdint>
#include <limits>

namespace sim {

std::optional<double> parseNumber(const QString& text) {
    bool ok = false;
    const double value = QLocale::c().toDouble(text.trimmed(), &ok);
    if (!ok || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<long> toLong(const QString& text) {
    const auto value = parseNumber(text);
    if (!value) {
        return std::nullopt;
    }
    const double rounded = std::nearbyint(*value); // the default rounding mode: half to even
    if (rounded < std::numeric_limits<std::int32_t>::min() ||
        rounded > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<long>(rounded);
}

Int16 toInt16(const QString& text) {
    const auto value = parseNumber(text);
    if (!value) {
        throw RuntimeFailure(failure::kTypeMismatch, QStringLiteral("Type mismatch"));
    }
    const double rounded = std::nearbyint(*value);
    if (rounded < Int16::kMin || rounded > Int16::kMax) {
        throw RuntimeFailure(failure::kOverflow, QStringLiteral("Overflow"));
    }
    return Int16(static_cast<long long>(rounded));
}

QString trimBlanks(const QString& text) {
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && text.at(from) == QLatin1Char(' ')) {
        ++from;
    }
    while (to > from && text.at(to - 1) == QLatin1Char(' ')) {
        --to;
    }
    return text.mid(from, to - from);
}

} // namespace sim
