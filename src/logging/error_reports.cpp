#include "logging/error_reports.h"

#include "panel/texts.h"

#include <QDir>

namespace sim {

void ErrorReports::FolderMake(const QString& path) {
    if (!QDir(path).exists()) {
        QDir().mkdir(path);
    }
}

void ErrorReports::Client_Socket_Error(int number, const QString& description, const QString& source) {
    dialogs_.messageBox(QLatin1String(texts::kSocketErrorBox), msg_style::kCritical,
                        QLatin1String(texts::kErrorTitle));
    report(texts::kClientSocketErrorTitle, texts::kClientSocketErrorRow, number, description, source);
    panel_.Client_Socket.close();
}

void ErrorReports::Server_Socket_Error(int number, const QString& description, const QString& source) {
    report(texts::kServerSocketErrorTitle, texts::kServerSocketErrorRow, number, description, source);
    panel_.Server_Socket.close();
}

void ErrorReports::Server_Socket_ClientDropped(int number, const QString& description,
                                               const QString& source) {
    report(texts::kServerSocketErrorTitle, texts::kServerSocketErrorRow, number, description, source);
}

void ErrorReports::report(const char* title, const char* row, int number, const QString& description,
                          const QString& source) {
    const QString crlf = QStringLiteral("\r\n");
    const QString when = clock_.localDate().toString(QStringLiteral("yyyy/MM/dd")) + QLatin1Char(' ') +
                         clock_.localTime().toString(QStringLiteral("HH:mm:ss"));
    const QString text = QLatin1String(title) + crlf + QStringLiteral("Err Time : ") + when + crlf +
                         QStringLiteral("Err Number : ") + QString::number(number) + crlf +
                         QStringLiteral("Err Desc : ") + description + crlf +
                         QStringLiteral("Err Source : ") + source + crlf;
    const QString folder = folders_.programFolder() + QStringLiteral("/Err_Log");
    FolderMake(folder);
    log_.appendLine(folder, clock_.localDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".txt"),
                    text);
    log_.WriteLog(text);
    log_.addReportRow(clock_.localTime().toString(QStringLiteral("HH:mm:ss")) + QLatin1String(row));
    if (reported) {
        reported(number, description);
    }
}

} // namespace sim
