#pragma once

#include "platform/qt/qt_event_loop.h"
#include "platform/seam.h"

#include <QPointer>
#include <QWidget>

namespace sim::qt {

// Message boxes and the Save dialog. While one is open the gate holds every event of the form back.
class QtDialogs : public Dialogs {
public:
    explicit QtDialogs(EventGate& gate) : gate_(gate) {}
    void setParent(QWidget* window) { parent_ = window; }
    void messageBox(const QString& text, int style, const std::optional<QString>& title) override;
    std::optional<QString> showSave(const SaveDialogRequest& request) override;

private:
    EventGate& gate_;
    QPointer<QWidget> parent_;
};

// The dialogs of a run without a window, where nobody can answer them: each message box is answered with
// its default button at once and printed to standard error as "TITLE: TEXT"; the Save dialog is
// cancelled. The gate holds the form's events back meanwhile, as for a dialog on the screen.
class HeadlessDialogs : public Dialogs {
public:
    explicit HeadlessDialogs(EventGate& gate) : gate_(gate) {}
    void messageBox(const QString& text, int style, const std::optional<QString>& title) override;
    std::optional<QString> showSave(const SaveDialogRequest& request) override;

private:
    EventGate& gate_;
};

// The per-user store; each write reaches the disk before it returns, since nothing is saved at exit.
class QtSettingsStore : public SettingsStore {
public:
    QString read(const QString& app, const QString& section, const QString& key,
                 const QString& fallback) override;
    void write(const QString& app, const QString& section, const QString& key, const QString& value) override;
};

// Local time costs the system a look at the time zone's file; within one second of the system clock it
// cannot change (zones differ from UTC by whole minutes), so it is worked out once per second.
class QtClock : public Clock {
public:
    QDate localDate() const override;
    QTime localTime() const override;
    int systemMilliseconds() const override;
    qint64 monotonicMicroseconds() const override;

private:
    const QDateTime& local() const;
    mutable qint64 second_ = -1; // the UTC second the local time below belongs to
    mutable QDateTime local_;
};

// Where the program keeps its files, worked out from where it lies and where it was started. A folder
// that is no place for them gives way to the per-user application data folder.
struct FolderPlaces {
    QString executable; // the folder the executable lies in
    QString current;    // the working folder the program was started in
    QString home;
    QString appData; // the per-user application data folder
    QString appId;   // the installed program's desktop entry is <appId>.desktop
};
// The executable's folder while it can be written to and is not an installed program's (its desktop
// entry beside it under ../share/applications), else the application data folder.
QString programFolderOf(const FolderPlaces& places);
// The folder the program was started in, unless that is the home folder (where a start from the menu
// leaves it) or a folder it cannot write to: then the application data folder, so the daily log neither
// litters the home folder nor is lost.
QString workingFolderOf(const FolderPlaces& places);

class QtFolders : public Folders {
public:
    QString programFolder() const override;
    QString workingFolder() const override;
};

class QtBrowser : public Browser {
public:
    bool openUrl(const QString& address) override;
};

} // namespace sim::qt
