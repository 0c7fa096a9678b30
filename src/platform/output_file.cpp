#include "platform/output_file.h"

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
    return out;
}

void OutputFile::write(std::span<const QByteArrayView> pieces) {
    if (failed_.load()) {
        return;
    }
    // Small pieces (lines) go together, a few at a time.
    QByteArray chunk;
    const auto put = [this](QByteArrayView bytes) {
        if (bytes.isEmpty() || file_.write(bytes.data(), bytes.size()) == bytes.size()) {
            return true;
        }
        failed_.store(true);
        if (onFailure) {
            onFailure(file_.errorString());
        }
        return false;
    };
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
