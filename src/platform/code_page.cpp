#include "platform/code_page.h"

#include "platform/int16.h"

#include <array>

namespace sim::code_page {
namespace {

// 0x80..0x9F; the rest of the code page equals Latin-1.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The character of every byte.
constexpr std::array<char16_t, 256> kCharOf = [] {
    std::array<char16_t, 256> table{};
    for (std::size_t b = 0; b < table.size(); ++b) {
        table[b] = b >= 0x80 && b < 0xA0 ? kHighControls[b - 0x80] : static_cast<char16_t>(b);
    }
    return table;
}();

} // namespace

int ansiCode(QChar c) {
    const char16_t u = c.unicode();
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) {
        return u;
    }
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == u) {
            return static_cast<int>(0x80 + i);
        }
    }
    return u > Int16::kMax ? Int16::kMin : -static_cast<int>(u);
}

QChar fromAnsiByte(std::uint8_t b) {
    return QChar(kCharOf[b]);
}

QByteArray toAnsi(QStringView text) {
    QByteArray out(text.size(), Qt::Uninitialized);
    char* at = out.data();
    for (QChar c : text) {
        const int code = ansiCode(c);
        *at++ = code >= 0 ? static_cast<char>(code) : '?';
    }
    return out;
}

QString fromAnsi(QByteArrayView bytes) {
    QString out(bytes.size(), Qt::Uninitialized);
    fromAnsi(bytes, out.data());
    return out;
}

QChar* fromAnsi(QByteArrayView bytes, QChar* out) {
    for (char b : bytes) {
        *out++ = QChar(kCharOf[static_cast<std::uint8_t>(b)]);
    }
    return out;
}

} // namespace sim::code_page
