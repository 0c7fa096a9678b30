#include "platform/output_file.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

namespace sim {
namespace {

constexpr qsizetype kChunk = qsizetype{64} * 1024;

} // namespace

std::unique_ptr<OutputFile> OutputFile::open(const QString& path, QString* error) {
    std::unique_ptr<OutputFile> out(new OutputFile(path));
    bool opened = false;
    if (path == QLatin1String(kStandardOutput)) {
        // The descriptor, not the C stream: each write goes out at once.
        opened = out->file_.open(fileno(stdout), QIODevice::WriteOnly | QIODevice::Unbuffered,
                                 QFileDevice::DontCloseHandle);
    } else {
        out->file_.setFileName(path);
        opened = out->file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered);
    }
    if (!opened) {
        *error = out->file_.errorString();
        return nullptr;
    }
    struct stat info {};
    out->pipe_ =
        ::fstat(out->file_.handle(), &info) == 0 && (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode));
    return out;
}

void OutputFile::fail(const QString& reason) {
    if (!failed_.exchange(true) && onFailure) {
        onFailure(reason);
    }
}

bool OutputFile::put(QByteArrayView bytes) {
    const int fd = file_.handle();
    while (!bytes.isEmpty()) {
        qsizetype most = bytes.size();
        if (pipe_) {
            // A write of PIPE_BUF bytes at most does not block once the pipe says it has room.
            pollfd ready{fd, POLLOUT, 0};
            int seen = 0;
            do {
                seen = ::poll(&ready, 1, kStallMs);
            } while (seen < 0 && errno == EINTR);
            if (seen == 0) {
                fail(QStringLiteral("the reader took nothing for %1 s").arg(kStallMs / 1000));
                return false;
            }
            most = std::min<qsizetype>(most, PIPE_BUF);
        }
        const ssize_t written = ::write(fd, bytes.data(), static_cast<std::size_t>(most));
        if (written < 0 && errno != EINTR) {
            fail(qt_error_string(errno));
            return false;
        }
        bytes = bytes.sliced(std::max<qsizetype>(written, 0));
    }
    return true;
}

void OutputFile::write(std::span<const QByteArrayView> pieces) {
    if (failed_.load()) {
        return;
    }
    // Small pieces (lines) go together, a few at a time.
    QByteArray chunk;
    for (const QByteArrayView piece : pieces) {
        if (chunk.size() + piece.size() > kChunk && !put(std::exchange(chunk, {}))) {
            return;
        }
        if (piece.size() >= kChunk) {
            if (!put(piece)) {
                return;
            }
            continue;
        }
        chunk.append(piece);
    }
    put(chunk);
}

} // namespace sim
