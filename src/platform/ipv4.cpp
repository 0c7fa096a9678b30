#include "platform/ipv4.h"

#include <QStringList>

namespace sim {

std::optional<std::uint32_t> parseIPv4(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 4) {
        return std::nullopt;
    }
    std::uint32_t address = 0;
    for (const QString& part : parts) {
        if (part.isEmpty() || part.size() > 3) {
            return std::nullopt;
        }
        for (QChar c : part) {
            if (c < QLatin1Char('0') || c > QLatin1Char('9')) {
                return std::nullopt;
            }
        }
        const uint octet = part.toUInt();
        if (octet > 255) {
            return std::nullopt;
        }
        address = (address << 8) | octet;
    }
    return address;
}

} // namespace sim
