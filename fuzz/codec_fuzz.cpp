// Fuzzes the typed-text conversions: the payload codec (ASCII and hexadecimal forms), the code page,
// the hexadecimal rendering of a record and the text-to-number conversions. Nothing may crash or raise
// anything but the defined run-time failure, and every conversion that succeeds must come back to
// where it started. The first input byte picks the case; the rest is its material.

#include "codec/codec.h"
#include "logging/record.h"
#include "platform/code_page.h"
#include "platform/runtime_failure.h"
#include "platform/text_number.h"

#include <QByteArray>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

using sim::Bytes;

void check(bool holds) {
    if (!holds) {
        std::abort(); // a broken round trip is a finding, like a crash
    }
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Any bytes are the text of themselves in the code page, and Str2Ary brings them back.
void asciiFromBytes(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString text = sim::code_page::fromAnsi(bytes);
    check(sim::code_page::toAnsi(text) == bytes);
    Bytes payload;
    try {
        sim::Str2Ary(payload, text);
    } catch (const sim::RuntimeFailure&) {
        check(size == 0 || size > 32767); // only an empty or too long text fails
        return;
    }
    check(payload == Bytes(data, data + size));
    sim::record::PayloadText record;
    check(record.render(payload, static_cast<int>(payload.size()), true) == bytes);
}

// Any UTF-16 text: Str2Ary fails, or gives bytes whose text is the text typed.
void asciiFromText(const std::uint8_t* data, std::size_t size) {
    QString text(static_cast<qsizetype>(size / 2), Qt::Uninitialized);
    std::memcpy(text.data(), data, size / 2 * 2);
    Bytes payload;
    try {
        sim::Str2Ary(payload, text);
    } catch (const sim::RuntimeFailure&) {
        return;
    }
    const QByteArray bytes(reinterpret_cast<const char*>(payload.data()),
                           static_cast<qsizetype>(payload.size()));
    check(sim::code_page::fromAnsi(bytes) == text);
}

// Any Latin-1 text as hexadecimal input: Hex2Ary fails, or reads each pair as its value; the record's
// rendering of the bytes reads back to the same bytes and shows the pairs' digits, one-letter bytes alone.
void hexFromText(const std::uint8_t* data, std::size_t size) {
    const QByteArray typed(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    Bytes payload;
    try {
        sim::Hex2Ary(payload, QString::fromLatin1(typed));
    } catch (const sim::RuntimeFailure&) {
        return;
    }
    check(payload.size() == size / 2);
    sim::record::PayloadText text;
    const QByteArray& rendered = text.render(payload, static_cast<int>(payload.size()), false);
    qsizetype at = 0;
    for (std::size_t i = 0; i < payload.size(); ++i) {
        const int high = hexValue(typed[static_cast<qsizetype>(2 * i)]);
        const int low = hexValue(typed[static_cast<qsizetype>(2 * i + 1)]);
        check(high >= 0 && low >= 0 && payload[i] == high * 16 + low);
        check(rendered.at(at++) == ' ');
        int value = 0;
        int digits = 0;
        while (at < rendered.size() && rendered.at(at) != ' ') {
            value = value * 16 + hexValue(rendered.at(at++));
            ++digits;
        }
        check(value == payload[i]);
        check(digits == (payload[i] >= 0x0A && payload[i] <= 0x0F ? 1 : 2));
        check(digits == 1 || QByteArray(typed.constData() + 2 * i, 2).toUpper() ==
                                 QByteArray(rendered.constData() + at - 2, 2));
    }
    check(at == rendered.size());
}

// Any text as a number: the whole-number conversion is the decimal one rounded half to even, and a
// whole number written out reads back as itself.
void numbers(const std::uint8_t* data, std::size_t size) {
    const QString text =
        QString::fromLatin1(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto number = sim::parseNumber(text);
    const auto whole = sim::toLong(text);
    if (whole) {
        check(number.has_value() && std::nearbyint(*number) == static_cast<double>(*whole));
    }
    if (number) {
        check(std::isfinite(*number));
    }
    if (size >= 4) {
        std::int32_t n = 0;
        std::memcpy(&n, data, sizeof n);
        check(sim::toLong(QString::number(n)) == n);
        check(sim::toLong(QStringLiteral("  %1 ").arg(n)) == n);
        check(sim::parseNumber(QString::number(n)) == static_cast<double>(n));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t* rest = data + 1;
    const std::size_t restSize = size - 1;
    switch (data[0] % 4) {
    case 0:
        asciiFromBytes(rest, restSize);
        break;
    case 1:
        asciiFromText(rest, restSize);
        break;
    case 2:
        hexFromText(rest, restSize);
        break;
    default:
        numbers(rest, restSize);
        break;
    }
    return 0;
}
