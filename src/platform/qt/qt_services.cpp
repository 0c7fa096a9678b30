#include "platform/qt/qt_services.h"

#include <chrono>

#include "platform/runtime_failure.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>
#include <QWindow>

#include <cstdio>

namespace sim::qt {
namespace {

bool isInput(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::HoverEnter:
    case QEvent::HoverMove:
        return true;
    default:
        return false;
    }
}

// Runs a dialog modal to the form's window, in a loop of its own. The form's events wait at the gate
// and the window takes no input, but the window can still be closed, which ends the program. Qt's
// own modality is not used for this: it would drop the window manager's close of a blocked window.
class ModalRun : public QObject {
public:
    ModalRun(QDialog& dialog, QWidget* window, EventGate& gate)
        : dialog_(dialog), window_(window != nullptr ? window->window() : nullptr), gate_(gate) {}

    // The dialog's result. Throws ApplicationQuit when the window was closed meanwhile, so that the
    // handler that asked goes no further.
    int exec() {
        gate_.enterModal();
        QCoreApplication::instance()->installEventFilter(this);
        QEventLoop loop;
        QObject::connect(&dialog_, &QDialog::finished, &loop, &QEventLoop::quit);
        dialog_.setWindowModality(Qt::NonModal);
        dialog_.show();
        dialog_.raise();
        dialog_.activateWindow();
        loop.exec(QEventLoop::DialogExec);
        dialog_.hide();
        QCoreApplication::instance()->removeEventFilter(this);
        gate_.leaveModal();
        if (gate_.quitting()) {
            throw ApplicationQuit();
        }
        if (window_ != nullptr) {
            window_->activateWindow();
        }
        return dialog_.result();
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (window_ == nullptr) {
            return false;
        }
        if (isInput(event->type()) && inWindow(watched)) {
            return true;
        }
        if (event->type() == QEvent::WindowActivate && watched == window_) {
            // The window was brought forward: the dialog goes in front of it again.
            QMetaObject::invokeMethod(
                &dialog_,
                [dialog = &dialog_] {
                    dialog->raise();
                    dialog->activateWindow();
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool inWindow(QObject* object) const {
        if (const auto* widget = qobject_cast<QWidget*>(object)) {
            return widget->window() == window_;
        }
        if (const auto* window = qobject_cast<QWindow*>(object)) {
            return window == window_->windowHandle();
        }
        return false;
    }

    QDialog& dialog_;
    QPointer<QWidget> window_;
    EventGate& gate_;
};

// A dialog that needs no loop of its own: the gate holds the form's events while it is up, as for one on
// the screen.
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
    QMessageBox box(iconFor(style), title.value_or(QCoreApplication::applicationName()), text,
                    QMessageBox::Ok, parent_);
    ModalRun(box, parent_, gate_).exec();
}

std::optional<QString> QtDialogs::showSave(const SaveDialogRequest& request) {
    QString selected;
    const QString filter = qtFilter(request.filter, request.filterIndex, &selected);
    // A path for the folder starts there with the file's name chosen, as the static dialog does.
    QFileDialog dialog(parent_, QString(), request.fileName, filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    if (!request.promptOverwrite) {
        dialog.setOption(QFileDialog::DontConfirmOverwrite);
    }
    if (!selected.isEmpty()) {
        dialog.selectNameFilter(selected);
    }
    if (ModalRun(dialog, parent_, gate_).exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    const QString chosen = dialog.selectedFiles().value(0);
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

const QDateTime& QtClock::local() const {
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    if (second != second_) {
        second_ = second;
        local_ = QDateTime::fromSecsSinceEpoch(second, Qt::LocalTime);
    }
    return local_;
}

QDate QtClock::localDate() const {
    return local().date();
}

QTime QtClock::localTime() const {
    return local().time();
}

int QtClock::systemMilliseconds() const {
    return QDateTime::currentDateTimeUtc().time().msec();
}

qint64 QtClock::monotonicMicroseconds() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
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
