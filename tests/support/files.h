#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

namespace sim::test {

// The whole content of a file, or nothing when it cannot be read.
inline QByteArray fileBytes(const QString& path) {
    QFile f(QDir::fromNativeSeparators(path));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// A file of the operator's, or one that stands where a folder should.
inline void writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    f.write(bytes);
}

} // namespace sim::test
