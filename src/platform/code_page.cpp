#include "platform/code_page.h"

#include "platform/int16.h"

#include <array>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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
    const auto* from = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const qsizetype n = bytes.size();
    qsizetype i = 0;
#if defined(__SSE2__)
    // Sixteen bytes at a time, widened as Latin-1; then the bytes 0x80..0x9F among them, where the code
    // page has characters of its own, one by one.
    const __m128i zero = _mm_setzero_si128();
    const __m128i topBits = _mm_set1_epi8(static_cast<char>(0xE0));
    const __m128i highControl = _mm_set1_epi8(static_cast<char>(0x80));
    for (; i + 16 <= n; i += 16) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(chunk, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 8), _mm_unpackhi_epi8(chunk, zero));
        for (auto high = static_cast<unsigned>(
                 _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(chunk, topBits), highControl)));
             high != 0; high &= high - 1) {
            const auto at = i + std::countr_zero(high);
            out[at] = QChar(kHighControls[from[at] - 0x80]);
        }
    }
#endif
    for (; i < n; ++i) {
        out[i] = QChar(kCharOf[from[i]]);
    }
    return out + n;
}

} // namespace sim::code_page
