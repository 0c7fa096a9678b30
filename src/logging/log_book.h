#pragma once

#include "logging/record.h"
#include "panel/panel.h"

#include <functional>

namespace sim {

// Whether a status line also goes to the named log file and the daily log (at List + File only).
enum class Filed { No, AtListPlusFile };

// The failures the log tells of as it writes them: the two failing status lines, the failure form of a
// traffic record, and a socket error report.
enum class Failure { ConnectionFail, ListenFail, SendFail, ReceiveFail, ErrorReport, ExpectFail };

// A line of the log as it happens, told before the log level decides where it goes, so an output that
// keeps every line (the records) hears them at any level, None included.
struct Heard {
    enum class Kind { Received, Sent, Status, Error };
    Kind kind = Kind::Status;
    QByteArrayView payload; // of a traffic record
    QString text;           // a status line's tail, an error's text
    int rule = 0;           // the answer rule that made a send, from 1; 0 for none
};

// The list, the daily log and the named log file: status lines, traffic records and their upkeep.
// Calls no handler of the other subsystems.
class LogBook {
public:
    LogBook(Panel& panel, Clock& clock, Folders& folders, Dialogs& dialogs, FileAppender& files)
        : panel_(panel), clock_(clock), folders_(folders), dialogs_(dialogs), files_(files) {}

    Stamp stamp() const { return readStamp(clock_); }

    // The recipe of a status line: added to List1 (and filed, where `filed` says so and List + File is
    // on), then ListTrim and ListBottom.
    void statusLine(const Stamp& stamp, const char* tail, Filed filed);
    // The line alone, for the sites that trim or select otherwise, or later.
    void addStatus(const Stamp& stamp, const char* tail, Filed filed);
    // The row of a socket error report, which is no status line: added, trimmed, selected.
    void addReportRow(const QString& row);

    void ListTrim();
    void ListBottom();
    void cmd_Log_Click();

    // Appends a line to the daily log under the working folder; a failing step is skipped silently.
    void WriteLog(const QString& line);
    // Returns once every line so far has reached its file (or been lost there): the platform may write
    // the files on a thread of their own.
    void flushFiles() { files_.flush(); }
    // Appends a text, ended by CR LF, to a file of its own in `folder`; a missing folder is made one level
    // deep.
    void appendLine(const QString& folder, const QString& file, const QString& line);
    // Validates the named log file and prepares it: folders of any depth are made and a missing file is
    // created empty. "Invalid Pass" and false for a path that cannot be used.
    bool Logfile_chk();

    // The record of `len` bytes of a payload, by the log level and data format.
    void TrafficLog(const Bytes& data, int len, Direction direction);
    void TrafficLog(const Bytes& data, Direction direction) {
        TrafficLog(data, static_cast<int>(data.size()), direction);
    }
    // The record of a reply an answer rule made.
    void TrafficLogOfRule(const Bytes& data, int rule);
    // The failure form of a record: a send or a receive that did not happen.
    void TrafficLogFailure(Direction direction);

    // A path of the operator's, resolved against the working folder.
    QString resolve(const QString& path) const;

    // Told of each failure as it is written, with its text as the records hear it. At level None a failed
    // send or receive writes nothing and tells nothing.
    std::function<void(Failure, const QString& text)> failed;
    // Told of each line as it happens (see Heard).
    std::function<void(const Heard&)> heard;

private:
    // A path built once and used again while what it is built from stays the same.
    struct CachedPath {
        QString key;  // the box's text
        QString base; // the working folder it was resolved against
        bool relative = false;
        QDate date;
        QString folder;
        QByteArray native; // the file, in the system's file name encoding
    };
    // The rows of a line or a record: its first row, the rows of its further pieces, its closing row.
    void addRows(const QString& first, const record::PieceText* pieces, const QString* last);
    // A line, ended by CR LF and in the code page, to the named log and then the daily log. A failure
    // loses the line in that file only: the other file and the list still get it.
    void writeFiles(const QByteArray& line);
    void writeNamed(const QByteArray& line);
    void writeDaily(const QByteArray& line);
    void record(const Bytes& data, int len, Direction direction, int rule);
    void hear(Heard::Kind kind, QByteArrayView payload, QString text = {}, int rule = 0) {
        if (heard) {
            heard(Heard{kind, payload, std::move(text), rule});
        }
    }
    void tell(Failure failure, const QString& text) {
        if (failed) {
            failed(failure, text);
        }
    }
    Panel& panel_;
    Clock& clock_;
    Folders& folders_;
    Dialogs& dialogs_;
    FileAppender& files_;
    CachedPath named_;
    CachedPath daily_;
    record::PayloadText shown_;
};

} // namespace sim
