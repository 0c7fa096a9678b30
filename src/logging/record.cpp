#include "logging/record.h"

#include "platform/code_page.h"
#include "platform/int16.h"

namespace sim {

Stamp readStamp(const Clock& clock) {
    const QString time = clock.localTime().toString(QStringLiteral("HH:mm:ss"));
    return {time, QStringLiteral("%1").arg(clock.systemMilliseconds(), 3, 10, QLatin1Char('0'))};
}

QString statusText(const Stamp& stamp, const char* tail) {
    return QLatin1Char('[') + stamp.time + QLatin1Char('.') + stamp.ms + QLatin1String(tail);
}

namespace record {
namespace {

constexpr int kRowWidth = 60;

} // namespace

QString asciiPayload(const Bytes& data, int len) {
    QString text;
    text.reserve(len);
    for (int i = 0; i < len; ++i) {
        text.append(code_page::fromAnsiByte(data[static_cast<std::size_t>(i)]));
    }
    return text;
}

QString hexDigits(std::uint8_t byte) {
    // Two places for a number of one decimal digit; a letter digit stays alone.
    const QString plain = QString::number(byte, 16).toUpper();
    return byte < 10 ? plain.rightJustified(2, QLatin1Char('0')) : plain;
}

QString hexPayload(const Bytes& data, int len) {
    QString text;
    text.reserve(static_cast<qsizetype>(len) * 3);
    for (int i = 0; i < len; ++i) {
        text.append(QLatin1Char(' '));
        text.append(hexDigits(data[static_cast<std::size_t>(i)]));
    }
    return text;
}

QString head(const Stamp& stamp, int len, int direction, bool spaced) {
    const QString verb = direction == 0 ? QStringLiteral("Send") : QStringLiteral("Recv");
    if (spaced) {
        return QStringLiteral("[ %1.%2 ] : %3 [ %4 byte ] : ").arg(stamp.time, stamp.ms, verb).arg(len);
    }
    return QStringLiteral("[%1.%2] : %3 [%4 byte] : ").arg(stamp.time, stamp.ms, verb).arg(len);
}

QString failureLine(const Stamp& stamp, int direction, bool spaced) {
    if (spaced) {
        return QStringLiteral("[ %1.%2 ] : %3")
            .arg(stamp.time, stamp.ms,
                 direction == 0 ? QStringLiteral("Send Fail") : QStringLiteral("Received Fail"));
    }
    return QStringLiteral("[%1.%2] : %3")
        .arg(stamp.time, stamp.ms,
             direction == 0 ? QStringLiteral("Send Fail") : QStringLiteral("Receive Fail"));
}

QStringList listRows(const QString& head, const QString& payload, bool ascii) {
    QStringList rows;
    const qsizetype rowCount = payload.size() / kRowWidth;
    Int16 position = 1;
    try {
        for (qsizetype row = 0; row <= rowCount; ++row) {
            const QString piece = payload.mid(position - 1, kRowWidth);
            const QString lead = ascii ? QStringLiteral(" ") : QString();
            rows << (row == 0 ? head + lead + piece : lead + piece);
            position += kRowWidth;
        }
    } catch (const RuntimeFailure&) {
        // The row position has run past 16 bits: the rest of the text stays out of the list.
    }
    rows << (ascii ? QStringLiteral(" ") : QString());
    return rows;
}

} // namespace record
} // namespace sim
