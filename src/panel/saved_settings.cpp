#include "panel/saved_settings.h"

#include "panel/texts.h"

namespace sim {

QString SavedSettings::read(const char* key, const char* fallback) {
    return store_.read(QLatin1String(texts::kSettingsApp), QLatin1String(texts::kAppTitle),
                       QLatin1String(key), QLatin1String(fallback));
}

void SavedSettings::write(const char* key, const QString& value) {
    store_.write(QLatin1String(texts::kSettingsApp), QLatin1String(texts::kAppTitle), QLatin1String(key),
                 value);
}

void SavedSettings::readAtStart() {
    const QStringList pieces = read(texts::kAddressKey, texts::kDefaultAddress).split(QLatin1Char('.'));
    // Pieces past the fourth are not looked at. A value of fewer pieces, which only something outside
    // the program can store, fills the boxes it reaches and leaves the others as they are.
    const int filled = static_cast<int>(std::min<qsizetype>(pieces.size(), 4));
    for (int i = 0; i < filled; ++i) {
        panel_.txt_Destination_IP(i).setText(pieces.at(i));
    }
    panel_.txt_Destination_Port.setText(read(texts::kPortKey, texts::kDefaultPort));
}

void SavedSettings::txt_Destination_IP_Change(int /*index*/) {
    QString address;
    for (int i = 0; i < 4; ++i) {
        address += panel_.txt_Destination_IP(i).text() + QLatin1Char('.');
    }
    write(texts::kAddressKey, address);
}

void SavedSettings::txt_Destination_Port_Change() {
    write(texts::kPortKey, panel_.txt_Destination_Port.text());
}

void SavedSettings::Label11_Click() {
    try {
        browser_.openUrl(panel_.Label11.caption()); // a refusal to open is not reported
    } catch (const RuntimeFailure& failure) {
        dialogs_.messageBox(failure.description(), msg_style::kCritical,
                            QString::fromLatin1(texts::kErrorTitle));
    }
}

} // namespace sim
