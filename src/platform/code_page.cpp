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

} // namespace

int ansiCode(QChar c) {
    const char16_t u = c.unicode();
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == u) {
            return static_cast<int>(0x80 + i);
        }
    }
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) {
        return u;
    }
    return u > Int16::kMax ? Int16::kMin : -static_cast<int>(u);
}

QChar fromAnsiByte(std::uint8_t b) {
    if (b >= 0x80 && b < 0xA0) {
        return QChar(kHighControls[b - 0x80]);
    }
    return QChar(static_cast<char16_t>(b));
}

QByteArray toAnsi(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (QChar c : text) {
        const int code = ansiCode(c);
        out.append(code >= 0 ? static_cast<char>(code) : '?');
    }
    return out;
}

QString fromAnsi(const QByteArray& bytes) {
    QString out;
    out.reserve(bytes.size());
    for (char b : bytes) {
        out.append(fromAnsiByte(static_cast<std::uint8_t>(b)));
    }
    return out;
}

} // namespace sim::code_page
