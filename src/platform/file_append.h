#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <span>

namespace sim::file_append {

enum class Result {
    Written,
    NoFolder, // the file's folder is missing: making it and trying once more may help
    Failed,
};

// Appends pieces of text (lines, whole) to the file at `path`, a name in the system's file name
// encoding: one open in append mode that creates a missing file, one close, and between them writes that
// each carry whole pieces up to kMostInOneCall bytes together (a longer piece goes alone). No file stays
// open between two appends, so operators may rotate and read the logs while the program runs. Larger
// writes would make the system take large blocks of memory for the file's cache, which on a virtual
// machine that has given its idle memory back costs several times the copy itself. Of the two ways
// below, the one that measured faster where both exist.
Result append(const QByteArray& path, std::span<const QByteArrayView> pieces);
inline constexpr qsizetype kMostInOneCall = qsizetype{64} * 1024;

// Through QFile, unbuffered: builds everywhere.
Result withQFile(const QByteArray& path, std::span<const QByteArrayView> pieces);
#ifdef Q_OS_UNIX
// Through open, write (writev for several pieces) and close.
Result withSystemCalls(const QByteArray& path, std::span<const QByteArrayView> pieces);
#endif

// The name of a path in the system's file name encoding.
inline QByteArray nativeName(const QString& path) {
    return QFile::encodeName(path);
}

} // namespace sim::file_append
