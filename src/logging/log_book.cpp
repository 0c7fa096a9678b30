#include "logging/log_book.h"

#include "panel/texts.h"
#include "platform/code_page.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace sim {

bool appendLine(const QString& path, const QString& line) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        return false;
    }
    const QByteArray bytes = code_page::toAnsi(line) + QByteArrayLiteral("\r\n");
    const bool written = file.write(bytes) == bytes.size();
    file.close();
    return written && file.error() == QFileDevice::NoError;
}

void LogBook::addStatus(const Stamp& stamp, const char* tail, bool files) {
    const QString line = statusText(stamp, tail);
    panel_.List1.addItem(line);
    if (files && panel_.Opt_List_File.value()) {
        appendNamed(line);
        WriteLog(line);
    }
}

void LogBook::ListTrim() {
    if (panel_.List1.listCount() - 1 > 2000) {
        panel_.List1.removeItem(0);
    }
}

void LogBook::ListBottom() {
    panel_.List1.setListIndex(panel_.List1.listCount() - 1);
}

void LogBook::cmd_Log_Click() {
    panel_.List1.clear();
}

void LogBook::WriteLog(const QString& line) {
    const QString folder = folders_.workingFolder() + QStringLiteral("/log");
    QDir().mkdir(folder);
    const QString path = folder + QStringLiteral("/STAT_") +
                         clock_.localDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".log");
    appendLine(path, line); // the daily log never reports
}

QString LogBook::resolve(const QString& path) const {
    const QString own = QDir::fromNativeSeparators(path);
    return QDir::isAbsolutePath(own) ? own : QDir(folders_.workingFolder()).filePath(own);
}

void LogBook::appendNamed(const QString& line) {
    appendLine(resolve(panel_.txt_Logfile.text()), line);
}

bool LogBook::Logfile_chk() {
    if (!panel_.opt_File.value() && !panel_.Opt_List_File.value()) {
        return true;
    }
    const QString text = panel_.txt_Logfile.text();
    const QString path = resolve(text);
    const QFileInfo info(path);
    bool usable = !text.trimmed().isEmpty() && !QDir::fromNativeSeparators(text).endsWith(QLatin1Char('/')) &&
                  !info.isDir() && QDir().mkpath(info.absolutePath());
    if (usable && !info.exists()) {
        QFile file(path);
        usable = file.open(QIODevice::WriteOnly);
    } else if (usable) {
        usable = info.isFile() && info.isWritable();
    }
    if (!usable) {
        dialogs_.messageBox(QLatin1String(texts::kInvalidPass), msg_style::kCritical,
                            QLatin1String(texts::kLogFileTitle));
    }
    return usable;
}

void LogBook::addRows(const QStringList& rows) {
    for (qsizetype i = 0; i < rows.size(); ++i) {
        panel_.List1.addItem(rows.at(i));
        ListTrim();
        ListBottom();
    }
    ListTrim();
}

void LogBook::TrafficLog(const Bytes& data, int len, int direction) {
    if (panel_.opt_None.value()) {
        return;
    }
    const bool ascii = panel_.opt_Ascii.value();
    const bool toList = panel_.opt_List.value() || panel_.Opt_List_File.value();
    const bool toFiles = panel_.opt_File.value() || panel_.Opt_List_File.value();
    const bool spaced = !ascii && !toList; // the hexadecimal file-only form
    const Stamp now = stamp();
    if (len < 0) {
        const QString line = record::failureLine(now, direction, spaced);
        if (toFiles) {
            appendNamed(line);
            WriteLog(line);
        }
        if (toList) {
            addRows({line});
        }
        return;
    }
    const QString payload = ascii ? record::asciiPayload(data, len) : record::hexPayload(data, len);
    const QString head = record::head(now, len, direction, spaced);
    if (toFiles) {
        appendNamed(head + payload);
        WriteLog(head + payload);
    }
    if (toList) {
        addRows(record::listRows(head, payload, ascii));
    }
}

} // namespace sim
