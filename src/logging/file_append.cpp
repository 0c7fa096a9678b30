#include "logging/file_append.h"

#include <QDir>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace sim::file_append {

Result withQFile(const QByteArray& path, QByteArrayView bytes) {
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        return QFileInfo(file.fileName()).absoluteDir().exists() ? Result::Failed : Result::NoFolder;
    }
    const bool written = file.write(bytes.data(), bytes.size()) == bytes.size();
    file.close();
    return written && file.error() == QFileDevice::NoError ? Result::Written : Result::Failed;
}

#ifdef Q_OS_UNIX
Result withSystemCalls(const QByteArray& path, QByteArrayView bytes) {
    int fd = -1;
    do {
        fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return errno == ENOENT ? Result::NoFolder : Result::Failed;
    }
    bool written = true;
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, static_cast<std::size_t>(bytes.size() - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            written = false;
            break;
        }
        done += n;
    }
    // A close that fails may have lost what was written; it is not tried again.
    const bool closed = ::close(fd) == 0;
    return written && closed ? Result::Written : Result::Failed;
}
#endif

Result append(const QByteArray& path, QByteArrayView bytes) {
#ifdef Q_OS_UNIX
    return withSystemCalls(path, bytes);
#else
    return withQFile(path, bytes);
#endif
}

} // namespace sim::file_append
