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

private:
    const QDateTime& local() const;
    mutable qint64 second_ = -1; // the UTC second the local time below belongs to
    mutable QDateTime local_;
};

// The program's folder is the executable's while it can be written to; a program installed read-only
// uses the per-user application data folder. The working folder is the process's current one.
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
