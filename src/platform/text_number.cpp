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

} // namespace sim
