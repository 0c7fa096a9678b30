#include "logging/log_book.h"

#include "panel/texts.h"
#include "platform/code_page.h"
#include "platform/file_append.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <string_view>

namespace sim {

namespace {

// The rows the list keeps: ListTrim takes the oldest out while ListCount - 1 is over 2000.
constexpr int kListRows = 2001;
// Room for a record's head: the stamp, the direction, the byte count and the brackets around them.
constexpr qsizetype kHeadRoom = 64;

QByteArray withLineEnd(const QString& line) {
    QByteArray bytes = code_page::toAnsi(line);
    bytes.append("\r\n");
    return bytes;
}

} // namespace

void LogBook::appendLine(const QString& folder, const QString& file, const QString& line) {
    files_.append(file_append::nativeName(folder + QLatin1Char('/') + file), folder,
                  FileAppender::MakeFolder::LastLevel, withLineEnd(line));
}

void LogBook::statusLine(const Stamp& stamp, const char* tail, Filed filed) {
    addStatus(stamp, tail, filed);
    ListTrim();
    ListBottom();
}

void LogBook::addStatus(const Stamp& stamp, const char* tail, Filed filed) {
    // "] : Listen.." is heard as "Listen..".
    const std::string_view text(tail);
    const QString said =
        QString::fromLatin1(text.substr(std::min(text.find_first_not_of("] :"), text.size())));
    hear(Heard::Kind::Status, {}, said);
    const QString line = statusText(stamp, tail);
    panel_.List1.addItem(line);
    if (filed == Filed::AtListPlusFile && panel_.Opt_List_File.value()) {
        writeFiles(withLineEnd(line));
    }
    if (text == texts::kConnectionFail) {
        tell(Failure::ConnectionFail, said);
    } else if (text == texts::kExpectFail) {
        tell(Failure::ExpectFail, said);
    } else if (text == texts::kListenFail) {
        tell(Failure::ListenFail, said);
    }
}

void LogBook::addReportRow(const QString& row) {
    hear(Heard::Kind::Error, {}, row);
    panel_.List1.addItem(row);
    ListTrim();
    ListBottom();
    tell(Failure::ErrorReport, row);
}

void LogBook::ListTrim() {
    if (panel_.List1.listCount() > kListRows) {
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
    writeDaily(withLineEnd(line));
}

QString LogBook::resolve(const QString& path) const {
    const QString own = QDir::fromNativeSeparators(path);
    return QDir::isAbsolutePath(own) ? own : QDir(folders_.workingFolder()).filePath(own);
}

void LogBook::writeFiles(const QByteArray& line) {
    writeNamed(line);
    writeDaily(line);
}

void LogBook::writeNamed(const QByteArray& line) {
    // The path is worked out again only when the box or, for a relative path, the working folder changed.
    const QString& text = panel_.txt_Logfile.text();
    if (named_.native.isEmpty() || named_.key != text ||
        (named_.relative && named_.base != folders_.workingFolder())) {
        const QString path = resolve(text);
        named_.key = text;
        named_.relative = !QDir::isAbsolutePath(QDir::fromNativeSeparators(text));
        named_.base = named_.relative ? folders_.workingFolder() : QString();
        named_.folder = QFileInfo(path).absolutePath();
        named_.native = file_append::nativeName(path);
    }
    // A folder that was removed while the program runs is made again, at any depth.
    files_.append(named_.native, named_.folder, FileAppender::MakeFolder::WholePath, line);
}

void LogBook::writeDaily(const QByteArray& line) {
    // The date is read at each write, so the first line after midnight starts the next day's file.
    const QDate today = clock_.localDate();
    const QString working = folders_.workingFolder();
    if (daily_.native.isEmpty() || daily_.date != today || daily_.base != working) {
        daily_.date = today;
        daily_.base = working;
        daily_.folder = working + QStringLiteral("/log");
        daily_.native =
            file_append::nativeName(daily_.folder + QStringLiteral("/STAT_") +
                                    today.toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".log"));
    }
    // The daily log never reports: a folder that cannot be made or a file that cannot be written loses
    // the line. Its folder is made one level deep.
    files_.append(daily_.native, daily_.folder, FileAppender::MakeFolder::LastLevel, line);
}

bool LogBook::Logfile_chk() {
    if (!panel_.opt_File.value() && !panel_.Opt_List_File.value()) {
        return true;
    }
    flushFiles(); // the file is looked at as the lines before it left it
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

void LogBook::addRows(const QString& first, const record::PieceText* pieces, const QString* last) {
    // Row by row a record adds, trims and scrolls to the bottom, and trims once more at the end. The
    // screen hears of the whole record once, and nothing sees the list between the rows, so the trims
    // and the scroll are done together: each row taken while more than kListRows are held takes the
    // oldest row out, which leaves the same rows and the same index as one at a time.
    ListBox& list = panel_.List1;
    const ListBox::Batch batch(list);
    const int before = list.listCount();
    list.addItem(first);
    int added = 1;
    if (pieces != nullptr) {
        for (const record::PieceText::Row& row : pieces->rows) {
            list.addPiece(pieces->text, row.from, row.size);
        }
        added += static_cast<int>(pieces->rows.size());
    }
    if (last != nullptr) {
        list.addItem(*last);
        ++added;
    }
    list.removeOldest(std::clamp(before + added - kListRows, 0, added));
    ListBottom();
    ListTrim();
}

void LogBook::TrafficLogFailure(Direction direction) {
    const QString said =
        direction == Direction::Sent ? QStringLiteral("Send Fail") : QStringLiteral("Receive Fail");
    hear(Heard::Kind::Error, {}, said);
    if (panel_.opt_None.value()) {
        return;
    }
    const bool toList = panel_.opt_List.value() || panel_.Opt_List_File.value();
    const bool spaced = !panel_.opt_Ascii.value() && !toList; // the hexadecimal file-only form
    QByteArray line;
    record::appendFailureLine(line, stamp(), direction, spaced);
    const qsizetype size = line.size();
    if (panel_.opt_File.value() || panel_.Opt_List_File.value()) {
        line.append("\r\n");
        writeFiles(line);
    }
    if (toList) {
        addRows(code_page::fromAnsi(QByteArrayView(line).first(size)), nullptr, nullptr);
    }
    tell(direction == Direction::Sent ? Failure::SendFail : Failure::ReceiveFail, said);
}

void LogBook::TrafficLog(const Bytes& data, int len, Direction direction) {
    record(data, len, direction, 0);
}

void LogBook::TrafficLogOfRule(const Bytes& data, int rule) {
    record(data, static_cast<int>(data.size()), Direction::Sent, rule);
}

void LogBook::record(const Bytes& data, int len, Direction direction, int rule) {
    if (heard) {
        hear(direction == Direction::Sent ? Heard::Kind::Sent : Heard::Kind::Received,
             QByteArrayView(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size())),
             {}, rule);
    }
    if (panel_.opt_None.value()) {
        return;
    }
    const bool ascii = panel_.opt_Ascii.value();
    const bool toList = panel_.opt_List.value() || panel_.Opt_List_File.value();
    const bool toFiles = panel_.opt_File.value() || panel_.Opt_List_File.value();
    const bool spaced = !ascii && !toList; // the hexadecimal file-only form
    const Stamp now = stamp();
    // The line is built anew for each record: the file writer may still hold the one before.
    QByteArray line;
    const QByteArray& payload =
        shown_.render(data, len, ascii,
                      toFiles ? record::PayloadText::Extent::Whole : record::PayloadText::Extent::ListRows);
    line.reserve(kHeadRoom + (toFiles ? payload.size() + 2 : 0));
    record::appendHead(line, now, len, direction, spaced);
    const qsizetype headSize = line.size();
    if (toFiles) {
        line.append(payload);
        line.append("\r\n");
        writeFiles(line);
    }
    if (toList) {
        static const QString closingAscii = record::closingRow(true);
        static const QString closingHex = record::closingRow(false);
        addRows(record::headRow(QByteArrayView(line).first(headSize), payload, ascii), &shown_.pieces(),
                ascii ? &closingAscii : &closingHex);
    }
}

} // namespace sim
