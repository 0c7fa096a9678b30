#include "platform/text_number.h"

#include <QLocale>

#include <cmath>
#include <cstdint>
#include <limits>

namespace sim {

std::optional<double> parseNumber(const QString& text) {
    const QString number = trimBlanks(text);
    // The conversion would also pass over tabs and line breaks around the number; only blanks may be.
    if (number.isEmpty() || number.front().isSpace() || number.back().isSpace()) {
        return std::nullopt;
    }
    bool ok = false;
    const double value = QLocale::c().toDouble(number, &ok);
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
        throw RuntimeFailure(failure::kTypeMismatch);
    }
    const double rounded = std::nearbyint(*value);
    if (rounded < Int16::kMin || rounded > Int16::kMax) {
        throw RuntimeFailure(failure::kOverflow);
    }
    return Int16(static_cast<long long>(rounded));
}

double leadingNumber(const QString& text) {
    const auto digitAt = [&text](qsizetype i) {
        return i < text.size() && text.at(i) >= u'0' && text.at(i) <= u'9';
    };
    qsizetype end = 0;
    if (end < text.size() && (text.at(end) == u'+' || text.at(end) == u'-')) {
        ++end;
    }
    qsizetype digits = 0;
    while (digitAt(end)) {
        ++end;
        ++digits;
    }
    if (end < text.size() && text.at(end) == u'.') {
        qsizetype fraction = end + 1;
        while (digitAt(fraction)) {
            ++fraction;
            ++digits;
        }
        end = fraction;
    }
    if (digits == 0) {
        return 0.0;
    }
    // An exponent counts only when digits follow its letter and sign.
    if (end < text.size() && (text.at(end) == u'e' || text.at(end) == u'E')) {
        qsizetype exponent = end + 1;
        if (exponent < text.size() && (text.at(exponent) == u'+' || text.at(exponent) == u'-')) {
            ++exponent;
        }
        if (digitAt(exponent)) {
            while (digitAt(exponent)) {
                ++exponent;
            }
            end = exponent;
        }
    }
    // Every character up to `end` is an ASCII digit, sign, point or exponent letter. A number too large
    // for a double is infinite, one too small is 0.
    bool ok = false;
    const double value = QLocale::c().toDouble(text.left(end), &ok);
    return ok || std::isinf(value) ? value : 0.0;
}

QString trimBlanks(const QString& text) {
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && text.at(from) == u' ') {
        ++from;
    }
    while (to > from && text.at(to - 1) == u' ') {
        --to;
    }
    return text.mid(from, to - from);
}

int hexDigitValue(QChar c) {
    const char16_t u = c.unicode();
    return u >= u'0' && u <= u'9'   ? u - u'0'
           : u >= u'a' && u <= u'f' ? u - u'a' + 10
           : u >= u'A' && u <= u'F' ? u - u'A' + 10
                                    : -1;
}

} // namespace sim
