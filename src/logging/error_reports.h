#pragma once

#include <functional>

#include "logging/log_book.h"

namespace sim {

// Reports of socket errors: a day file under Err_Log in the program's folder, the daily log, a row in
// the list; then the socket is closed. A folder or file that cannot be written loses the report there
// and the rest goes on.
class ErrorReports {
public:
    ErrorReports(Panel& panel, LogBook& log, Clock& clock, Folders& folders, Dialogs& dialogs)
        : panel_(panel), log_(log), clock_(clock), folders_(folders), dialogs_(dialogs) {}

    void Client_Socket_Error(int number, const QString& description, const QString& source);
    void Server_Socket_Error(int number, const QString& description, const QString& source);
    // A client the listening socket dropped before it became a request (a failed TLS handshake): reported
    // as the socket's errors are, and the socket goes on listening.
    void Server_Socket_ClientDropped(int number, const QString& description, const QString& source);
    static void FolderMake(const QString& path);

    // Told of each report as it is written: its number and description.
    std::function<void(int number, const QString& description)> reported;

private:
    void report(const char* title, const char* row, int number, const QString& description,
                const QString& source);
    Panel& panel_;
    LogBook& log_;
    Clock& clock_;
    Folders& folders_;
    Dialogs& dialogs_;
};

} // namespace sim
