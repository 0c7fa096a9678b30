#include "codec/codec.h"

#include "platform/code_page.h"
#include "platform/int16.h"
#include "platform/runtime_failure.h"
#include "platform/text_number.h"

namespace sim {
namespace {

// Counts and positions of the conversion are 16-bit.
int checkedLength(const QString& text) {
    if (!Int16::fits(text.size())) {
        throw RuntimeFailure(failure::kOverflow);
    }
    return static_cast<int>(text.size());
}

void sizeTo(Bytes& payload, int count) {
    if (count <= 0) {
        throw RuntimeFailure(failure::kSubscriptOutOfRange);
    }
    payload.assign(static_cast<std::size_t>(count), 0);
}

int hexDigit(QChar c) {
    const int value = hexDigitValue(c);
    if (value < 0) {
        throw RuntimeFailure(failure::kTypeMismatch);
    }
    return value;
}

} // namespace

void Str2Ary(Bytes& payload, const QString& text) {
    const int n = checkedLength(text);
    sizeTo(payload, n);
    for (int i = 0; i < n; ++i) {
        const int code = code_page::ansiCode(text.at(i));
        if (code < 0 || code > 255) {
            throw RuntimeFailure(failure::kInvalidProcedureCall);
        }
        payload[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(code);
    }
}

void Hex2Ary(Bytes& payload, const QString& text) {
    const int pairs = checkedLength(text) / 2;
    sizeTo(payload, pairs);
    for (qsizetype i = 0; i < pairs; ++i) {
        const int high = hexDigit(text.at(2 * i));
        const int low = hexDigit(text.at(2 * i + 1));
        payload[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(high * 16 + low);
    }
}

void convertByFormat(bool ascii, bool hex, Bytes& payload, const QString& text) {
    if (ascii) {
        Str2Ary(payload, text);
    } else if (hex) {
        Hex2Ary(payload, text);
    } else {
        throw RuntimeFailure(failure::kInvalidProcedureCall);
    }
}

} // namespace sim
