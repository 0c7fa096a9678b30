#include "platform/file_appenders.h"

#include "platform/file_append.h"
#include "platform/output_file.h"

#include <QDir>

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace sim {
namespace {

// A folder removed while the program runs is made again, and the text tried once more; a file that
// cannot be written loses the text.
void appendOrMakeFolder(const QByteArray& file, const QString& folder, FileAppender::MakeFolder how,
                        std::span<const QByteArrayView> pieces) {
    if (file_append::append(file, pieces) == file_append::Result::NoFolder) {
        const bool made =
            how == FileAppender::MakeFolder::WholePath ? QDir().mkpath(folder) : QDir().mkdir(folder);
        if (made) {
            file_append::append(file, pieces);
        }
    }
}

} // namespace

void DirectAppender::append(const QByteArray& file, const QString& folder, MakeFolder how, QByteArray bytes) {
    const QByteArrayView piece(bytes);
    appendOrMakeFolder(file, folder, how, std::span(&piece, 1));
}

void DirectAppender::write(OutputFile& output, QByteArray bytes) {
    const QByteArrayView piece(bytes);
    output.write(std::span(&piece, 1));
}

AppendQueue::AppendQueue() : thread_([this] { run(); }) {}

AppendQueue::~AppendQueue() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void AppendQueue::append(const QByteArray& file, const QString& folder, MakeFolder how, QByteArray bytes) {
    push({file, folder, how, std::move(bytes)});
}

void AppendQueue::write(OutputFile& output, QByteArray bytes) {
    push({{}, {}, MakeFolder::LastLevel, std::move(bytes), &output});
}

void AppendQueue::push(Text text) {
    std::unique_lock lock(mutex_);
    if (text.output != nullptr && waitingBytes_ > 0 && waitingBytes_ + text.bytes.size() > kWaitingLimit) {
        // A run's output never holds the panel: one that cannot keep up ends instead.
        lock.unlock();
        text.output->fail(QStringLiteral("more than %1 MiB waited to be written").arg(kWaitingLimit >> 20));
        return;
    }
    // A text larger than the limit still goes, alone, once the queue has emptied before it.
    written_.wait(lock,
                  [&] { return waitingBytes_ == 0 || waitingBytes_ + text.bytes.size() <= kWaitingLimit; });
    waitingBytes_ += text.bytes.size();
    waiting_.push_back(std::move(text));
    lock.unlock();
    wake_.notify_one();
}

void AppendQueue::flush() {
    std::unique_lock lock(mutex_);
    written_.wait(lock, [&] { return waiting_.empty() && !writing_; });
}

void AppendQueue::run() {
    std::vector<Text> texts;
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return !waiting_.empty() || ending_; });
        if (waiting_.empty()) {
            return; // ending, with everything written
        }
        texts.swap(waiting_);
        waitingBytes_ = 0;
        writing_ = true;
        lock.unlock();
        written_.notify_all(); // room for the next texts while these are written
        writeTexts(texts);
        texts.clear();
        lock.lock();
        writing_ = false;
        written_.notify_all();
    }
}

void AppendQueue::writeTexts(const std::vector<Text>& texts) {
    // Each file once, with its texts in the order they came, the files in the order of their first text.
    // A few files at most take turns (the named log, the daily log, the run's outputs), so they are looked up
    // in a list.
    struct File {
        const Text* first;
        std::vector<QByteArrayView> pieces;
    };
    std::vector<File> files;
    for (const Text& text : texts) {
        auto file = std::find_if(files.begin(), files.end(), [&](const File& f) {
            return f.first->output == text.output && f.first->file == text.file;
        });
        if (file == files.end()) {
            files.push_back({&text, {}});
            file = std::prev(files.end());
        }
        file->pieces.emplace_back(text.bytes);
    }
    for (const File& file : files) {
        if (file.first->output != nullptr) {
            file.first->output->write(file.pieces);
            continue;
        }
        appendOrMakeFolder(file.first->file, file.first->folder, file.first->how, file.pieces);
    }
}

} // namespace sim
