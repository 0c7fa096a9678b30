#include "platform/qt/qt_services.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>

#include <cstdio>

namespace sim::qt {
namespace {

// Holds the form's events back for as long as a dialog is open.
class ModalScope {
public:
    explicit ModalScope(EventGate& gate) : gate_(gate) { gate_.enterModal(); }
    ~ModalScope() { gate_.leaveModal(); }
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;

private:
    EventGate& gate_;
};

QMessageBox::Icon iconFor(int style) {
    switch (style & 0x70) {
    case msg_style::kCritical:
        return QMessageBox::Critical;
    case 32:
        return QMessageBox::Question;
    case msg_style::kExclamation:
        return QMessageBox::Warning;
    case msg_style::kInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// "Text Files (*.log)|*.log" becomes "Text Files (*.log)".
QString qtFilter(const QString& filter, int index, QString* selected) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList names;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        names << parts.at(i);
    }
    if (index >= 1 && index <= names.size()) {
        *selected = names.at(index - 1);
    } else if (!names.isEmpty()) {
        *selected = names.first();
    }
    return names.join(QStringLiteral(";;"));
}

} // namespace

void QtDialogs::messageBox(const QString& text, int style, const std::optional<QString>& title) {
    ModalScope scope(gate_);
    QMessageBox box(iconFor(style), title.value_or(QCoreApplication::applicationName()), text,
                    QMessageBox::Ok, parent_);
    box.exec();
}

std::optional<QString> QtDialogs::showSave(const SaveDialogRequest& request) {
    ModalScope scope(gate_);
    QString selected;
    const QString filter = qtFilter(request.filter, request.filterIndex, &selected);
    QFileDialog::Options options;
    if (!request.promptOverwrite) {
        options |= QFileDialog::DontConfirmOverwrite;
    }
    const QString chosen =
        QFileDialog::getSaveFileName(parent_, QString(), request.fileName, filter, &selected, options);
    if (chosen.isEmpty()) {
        return std::nullopt;
    }
    return QDir::toNativeSeparators(chosen);
}

void HeadlessDialogs::messageBox(const QString& text, int /*style*/, const std::optional<QString>& title) {
    const ModalScope scope(gate_);
    const QString line =
        title.value_or(QCoreApplication::applicationName()) + QStringLiteral(": ") + text + QLatin1Char('\n');
    std::fputs(line.toUtf8().constData(), stderr);
    std::fflush(stderr);
}

std::optional<QString> HeadlessDialogs::showSave(const SaveDialogRequest& /*request*/) {
    const ModalScope scope(gate_);
    return std::nullopt;
}

QString QtSettingsStore::read(const QString& app, const QString& section, const QString& key,
                              const QString& fallback) {
    QSettings store(app, section);
    return store.value(key, fallback).toString();
}

void QtSettingsStore::write(const QString& app, const QString& section, const QString& key,
                            const QString& value) {
    QSettings store(app, section);
    store.setValue(key, value);
    store.sync();
}

QDate QtClock::localDate() const {
    return QDate::currentDate();
}

QTime QtClock::localTime() const {
    return QTime::currentTime();
}

int QtClock::systemMilliseconds() const {
    return QDateTime::currentDateTimeUtc().time().msec();
}

namespace {

bool sameFolder(const QString& a, const QString& b) {
    const QString canonical = QFileInfo(a).canonicalFilePath();
    return !canonical.isEmpty() && canonical == QFileInfo(b).canonicalFilePath();
}

bool writableFolder(const QString& folder) {
    const QFileInfo info(folder);
    return info.isDir() && info.isWritable();
}

FolderPlaces placesNow() {
    return {QCoreApplication::applicationDirPath(), QDir::currentPath(), QDir::homePath(),
            QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation),
            QGuiApplication::desktopFileName()};
}

QString usable(const QString& folder, const FolderPlaces& places) {
    if (folder == places.appData) {
        QDir().mkpath(folder);
    }
    return QDir::toNativeSeparators(folder);
}

} // namespace

QString programFolderOf(const FolderPlaces& places) {
    const bool installed = !places.appId.isEmpty() &&
                           QFileInfo::exists(places.executable + QStringLiteral("/../share/applications/") +
                                             places.appId + QStringLiteral(".desktop"));
    return writableFolder(places.executable) && !installed ? places.executable : places.appData;
}

QString workingFolderOf(const FolderPlaces& places) {
    const bool home = sameFolder(places.current, places.home);
    return writableFolder(places.current) && !home ? places.current : places.appData;
}

QString QtFolders::programFolder() const {
    const FolderPlaces places = placesNow();
    return usable(programFolderOf(places), places);
}

QString QtFolders::workingFolder() const {
    const FolderPlaces places = placesNow();
    return usable(workingFolderOf(places), places);
}

bool QtBrowser::openUrl(const QString& address) {
    return QDesktopServices::openUrl(QUrl::fromUserInput(address));
}

} // namespace sim::qt
