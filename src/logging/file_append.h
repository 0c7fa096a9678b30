#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

namespace sim::file_append {

enum class Result {
    Written,
    NoFolder, // the file's folder is missing: making it and trying once more may help
    Failed,
};

// Appends the bytes to the file at `path` (a name in the system's file name encoding) with one open in
// append mode that creates a missing file, one write of all the bytes and one close: no file stays open
// between two lines, so operators may rotate and read the logs while the program runs. Of the two ways
// below, the one that measured faster where both exist.
Result append(const QByteArray& path, QByteArrayView bytes);

// Through QFile, unbuffered: builds everywhere.
Result withQFile(const QByteArray& path, QByteArrayView bytes);
#ifdef Q_OS_UNIX
// Through open, write and close.
Result withSystemCalls(const QByteArray& path, QByteArrayView bytes);
#endif

// The name of a path in the system's file name encoding.
inline QByteArray nativeName(const QString& path) {
    return QFile::encodeName(path);
}

} // namespace sim::file_append
