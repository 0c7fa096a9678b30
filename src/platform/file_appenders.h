#pragma once

#include "platform/seam.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace sim {

// Writes each text at once, on the thread that hands it over.
class DirectAppender : public FileAppender {
public:
    void append(const QByteArray& file, const QString& folder, MakeFolder how, QByteArray bytes) override;
    void write(OutputFile& output, QByteArray bytes) override;
    void flush() override {}
};

// Writes on a thread of its own, so that the logging thread hands a line over and goes on. The texts
// waiting for the same file are written together, in their order, with one open, one close and writes
// of whole lines between them. Nothing handed over to a log file is dropped: a full queue holds the
// logging thread until there is room, and everything waiting is written before the queue ends. A text for
// a run's output that finds the queue full ends that output instead.
class AppendQueue : public FileAppender {
public:
    // What may wait, in bytes: beyond it `append` waits for the writer.
    static constexpr qsizetype kWaitingLimit = qsizetype{8} * 1024 * 1024;

    AppendQueue();
    ~AppendQueue() override;
    AppendQueue(const AppendQueue&) = delete;
    AppendQueue& operator=(const AppendQueue&) = delete;

    void append(const QByteArray& file, const QString& folder, MakeFolder how, QByteArray bytes) override;
    void write(OutputFile& output, QByteArray bytes) override;
    void flush() override;

private:
    struct Text {
        QByteArray file;
        QString folder;
        MakeFolder how;
        QByteArray bytes;
        OutputFile* output = nullptr; // instead of the file
    };
    void push(Text text);
    void run();
    static void writeTexts(const std::vector<Text>& texts);

    std::mutex mutex_;
    std::condition_variable wake_;    // texts to write, or the end
    std::condition_variable written_; // room in the queue, or everything written
    std::vector<Text> waiting_;
    qsizetype waitingBytes_ = 0;
    bool writing_ = false;
    bool ending_ = false;
    std::thread thread_; // last: it starts once everything above is made
};

} // namespace sim
