#include "panel/address_rules.h"

#include "panel/texts.h"

namespace sim {
namespace {

// Equal as text, whatever the case; the octets are not read as numbers, so 010.0.0.0 is no 10.0.0.0.
bool same(const QString& address, const QString& listed) {
    return QString::compare(address, listed, Qt::CaseInsensitive) == 0;
}

// The message for the address, or nothing when the list does not hold it. The first match decides.
const char* refusal(const QString& address) {
    if (same(address, QLatin1String(texts::kBroadcastAddress))) {
        return texts::kInvalidBroadcast;
    }
    if (same(address, QLatin1String(texts::kUnspecifiedAddress))) {
        return texts::kInvalidUnspecified;
    }
    for (int i = 0; i <= 11; ++i) {
        // 224.0.0.3 is left free.
        if (i != 3 && same(address, QLatin1String(texts::kIanaBlock) + QString::number(i))) {
            return texts::kInvalidIana;
        }
    }
    for (int i = 10; i <= 18; ++i) {
        if (same(address, QLatin1String(texts::kConferencingBlock) + QString::number(i)) ||
            same(address, QLatin1String(texts::kConferencingAddress))) {
            return texts::kInvalidConferencing;
        }
    }
    return nullptr;
}

} // namespace

void AddressRules::Address_chk(const AddressBoxes& obj, int index) {
    const QString address = obj(0).text() + QLatin1Char('.') + obj(1).text() + QLatin1Char('.') +
                            obj(2).text() + QLatin1Char('.') + obj(3).text();
    const char* message = refusal(address);
    if (message == nullptr) {
        return;
    }
    dialogs_.messageBox(QLatin1String(message), msg_style::kInformation,
                        QLatin1String(texts::kAddressErrorTitle));
    txt_check(obj, index);
    obj(index).setText(QString());
}

} // namespace sim
