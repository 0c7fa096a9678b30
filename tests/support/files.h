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

} // namespace sim::test
