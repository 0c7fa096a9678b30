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
// first write that fails is told once, and nothing is written to it after.
class OutputFile {
public:
    static constexpr char kStandardOutput[] = "-";

    // The open file, or nullptr with the system's reason in `error`.
    static std::unique_ptr<OutputFile> open(const QString& path, QString* error);

    const QString& path() const { return path_; }
    bool failed() const { return failed_.load(); }
    // Told of the first write that failed, with the system's reason, on the thread that wrote.
    std::function<void(const QString& reason)> onFailure;

    // The pieces, in order; nothing once a write has failed.
    void write(std::span<const QByteArrayView> pieces);

private:
    explicit OutputFile(QString path) : path_(std::move(path)) {}
    QString path_;
    QFile file_;
    std::atomic<bool> failed_{false};
};

} // namespace sim
