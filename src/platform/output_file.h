#pragma once

#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <span>

namespace sim {

// A file that a run writes as it goes and keeps open to its end, or standard output (named "-"). It is
// opened, created or emptied, before the run begins; its writes happen on the log files' writer. The
// first write that fails is told once, and nothing is written to it after. A pipe whose reader takes
// nothing for kStallMs fails it too, so a stalled reader holds the writer (and the log files behind it)
// that long at most.
class OutputFile {
public:
    static constexpr char kStandardOutput[] = "-";
    static constexpr int kStallMs = 5000;

    // The open file, or nullptr with the system's reason in `error`.
    static std::unique_ptr<OutputFile> open(const QString& path, QString* error);

    const QString& path() const { return path_; }
    bool failed() const { return failed_.load(); }
    // Told of the first write that failed, with the system's reason, on the thread that wrote.
    std::function<void(const QString& reason)> onFailure;

    // The pieces, in order; nothing once a write has failed.
    void write(std::span<const QByteArrayView> pieces);
    // Ends the output for `reason`, told once.
    void fail(const QString& reason);

private:
    explicit OutputFile(QString path) : path_(std::move(path)) {}
    bool put(QByteArrayView bytes);
    QString path_;
    QFile file_;
    bool pipe_ = false; // or a socket: a reader that may stall
    std::atomic<bool> failed_{false};
};

} // namespace sim
