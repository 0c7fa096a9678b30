#include "platform/file_append.h"
#include "platform/file_appenders.h"
#include "support/files.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace sim::test {
namespace {

using MakeFolder = FileAppender::MakeFolder;

QByteArray line(int i, qsizetype size = 40) {
    QByteArray text = QByteArray::number(i).rightJustified(8, '0');
    text.append(QByteArray(size - text.size() - 2, static_cast<char>('a' + i % 26)));
    return text + "\r\n";
}

template <class Appender> class FileAppenders : public ::testing::Test {};
using Appenders = ::testing::Types<DirectAppender, AppendQueue>;
TYPED_TEST_SUITE(FileAppenders, Appenders);

TYPED_TEST(FileAppenders, KeepEachFilesLinesInOrderMakeItsMissingFolderTheWayAskedAndWriteAllBeforeTheyEnd) {
    QTemporaryDir dir;
    std::optional<TypeParam> files(std::in_place);
    // The named log may lie folders deep; the daily log's folder is made one level deep, and only that,
    // and made again when it was removed between two lines.
    const auto append = [&](const char* file, MakeFolder how, const QByteArray& text) {
        const QString path = dir.filePath(QLatin1String(file));
        files->append(file_append::nativeName(path), QFileInfo(path).path(), how, text);
    };
    QByteArray expected;
    for (int i = 0; i < 300; ++i) {
        const QByteArray text = line(i, i % 7 == 0 ? 70'000 : 40);
        append("Log/a/b/named.dat", MakeFolder::WholePath, text);
        append("log/STAT.log", MakeFolder::LastLevel, text);
        append("log/other.log", MakeFolder::LastLevel, line(i + 1)); // another file of the same folder
        append("gone/log/STAT.log", MakeFolder::LastLevel, text);
        expected += text;
    }
    files->flush();
    EXPECT_EQ(fileBytes(dir.filePath(QStringLiteral("Log/a/b/named.dat"))), expected);
    EXPECT_EQ(fileBytes(dir.filePath(QStringLiteral("log/STAT.log"))), expected);
    EXPECT_EQ(fileBytes(dir.filePath(QStringLiteral("log/other.log"))).left(80), line(1) + line(2));
    EXPECT_FALSE(QDir(dir.filePath(QStringLiteral("gone"))).exists()) << "one level is made, not two";
    ASSERT_TRUE(QDir(dir.filePath(QStringLiteral("log"))).removeRecursively());
    expected.clear();
    // A new appender ends while it writes a long text and lines wait behind it.
    files.emplace();
    append("log/long.log", MakeFolder::LastLevel, QByteArray(32 << 20, 'x'));
    for (int i = 0; i < 100; ++i) {
        append("log/STAT.log", MakeFolder::LastLevel, line(i));
        expected += line(i);
    }
    files.reset();
    EXPECT_EQ(fileBytes(dir.filePath(QStringLiteral("log/STAT.log"))), expected);
}

// A reader that is slower than the lines: the queue fills, the one who hands lines over waits for room,
// and every byte still arrives once and in order. The file is a pipe.
TEST(AppendQueue, HoldsTheLoggingThreadWhileFullAndLosesNothing) {
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("slow.log"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    constexpr qsizetype kWaitingLimit = qsizetype{8} << 20; // what may wait before the logging thread does
    QByteArray expected;
    for (int i = 0; expected.size() < 5 * kWaitingLimit; ++i) {
        expected += line(i, 100'000);
    }

    AppendQueue files;
    std::atomic<qsizetype> readSoFar = 0;
    qsizetype mostAhead = 0; // how far the lines handed over ran ahead of those read
    std::thread logging([&] {
        for (qsizetype at = 0; at < expected.size(); at += 100'000) {
            files.append(QFile::encodeName(fifo), dir.path(), MakeFolder::LastLevel,
                         expected.mid(at, 100'000));
            mostAhead = std::max(mostAhead, at + 100'000 - readSoFar.load());
        }
        files.flush();
    });
    // Held open for writing too, the pipe never has a writer's end without a reader (no SIGPIPE when the
    // writer opens it again just as a reader would close it), and a read waits for bytes, not for an end.
    const int fd = ::open(QFile::encodeName(fifo).constData(), O_RDWR);
    ASSERT_GE(fd, 0);
    QByteArray read;
    char buffer[65536];
    while (read.size() < expected.size()) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        ASSERT_GT(n, 0);
        read.append(buffer, n);
        readSoFar = read.size();
    }
    logging.join();
    ::close(fd);
    // What waits, what the writer has taken and not yet written, and what the pipe holds.
    EXPECT_LE(mostAhead, 2 * kWaitingLimit + (qsizetype{1} << 20));
    EXPECT_EQ(read.size(), expected.size());
    EXPECT_TRUE(read == expected) << "every line once, in order";
}

} // namespace
} // namespace sim::test
