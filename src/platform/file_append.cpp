#include "platform/file_append.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <vector>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>
#endif

namespace sim::file_append {

Result withQFile(const QByteArray& path, std::span<const QByteArrayView> pieces) {
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        return QFileInfo(file.fileName()).absoluteDir().exists() ? Result::Failed : Result::NoFolder;
    }
    // Unbuffered, each call is a write of its own: the pieces are joined first.
    QByteArray bytes;
    for (const QByteArrayView piece : pieces) {
        bytes.append(piece);
    }
    const bool written = file.write(bytes) == bytes.size();
    file.close();
    return written && file.error() == QFileDevice::NoError ? Result::Written : Result::Failed;
}

#ifdef Q_OS_UNIX
namespace {

// Writes the pieces with as few calls as the system takes them in, following a partial write on.
bool writeGathered(int fd, std::vector<iovec>& pieces) {
    std::size_t first = 0;
    while (first < pieces.size()) {
        const int count = static_cast<int>(std::min<std::size_t>(pieces.size() - first, IOV_MAX));
        const ssize_t n = ::writev(fd, pieces.data() + first, count);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        // Past what was written: whole pieces, then into the one it stopped in.
        auto left = static_cast<std::size_t>(n);
        while (first < pieces.size() && left >= pieces[first].iov_len) {
            left -= pieces[first].iov_len;
            ++first;
        }
        if (left > 0) {
            pieces[first].iov_base = static_cast<char*>(pieces[first].iov_base) + left;
            pieces[first].iov_len -= left;
        }
    }
    return true;
}

bool writeAll(int fd, std::span<const QByteArrayView> pieces) {
    std::vector<iovec> call;
    qsizetype size = 0;
    for (const QByteArrayView piece : pieces) {
        if (size > 0 && size + piece.size() > kMostInOneCall) {
            if (!writeGathered(fd, call)) {
                return false;
            }
            call.clear();
            size = 0;
        }
        if (!piece.isEmpty()) {
            call.push_back({const_cast<char*>(piece.data()), static_cast<std::size_t>(piece.size())});
            size += piece.size();
        }
    }
    return writeGathered(fd, call);
}

} // namespace

Result withSystemCalls(const QByteArray& path, std::span<const QByteArrayView> pieces) {
    int fd = -1;
    do {
        fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return errno == ENOENT ? Result::NoFolder : Result::Failed;
    }
    const bool written = writeAll(fd, pieces);
    // A close that fails may have lost what was written; it is not tried again.
    const bool closed = ::close(fd) == 0;
    return written && closed ? Result::Written : Result::Failed;
}
#endif

Result append(const QByteArray& path, std::span<const QByteArrayView> pieces) {
#ifdef Q_OS_UNIX
    return withSystemCalls(path, pieces);
#else
    return withQFile(path, pieces);
#endif
}

} // namespace sim::file_append
