// One append to a log file, as the simulator makes it for each line (open in append mode, one write,
// close), through QFile unbuffered and through the plain system calls, for a short line and a long
// one. The files lie in a temporary folder.
//
//   bench_file_append [count]    appends per case, 20,000 unless given

#include "platform/file_append.h"

#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

using Append = std::function<sim::file_append::Result(const QByteArray&, QByteArrayView)>;

double microsecondsEach(const Append& append, const QByteArray& path, const QByteArray& line, int count) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        if (append(path, line) != sim::file_append::Result::Written) {
            return -1;
        }
    }
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() /
           count;
}

} // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20000;
    QTemporaryDir dir;
    const QByteArray folder = sim::file_append::nativeName(dir.path() + QStringLiteral("/program/Log"));
    if (!dir.isValid() || !QDir().mkpath(QString::fromUtf8(folder))) {
        std::fprintf(stderr, "no temporary folder\n");
        return 2;
    }
    const struct {
        const char* name;
        Append append;
    } ways[] = {{"QFile, unbuffered",
                 [](const QByteArray& path, QByteArrayView line) {
                     return sim::file_append::withQFile(path, {&line, 1});
                 }},
                {"open, write, close", [](const QByteArray& path, QByteArrayView line) {
                     return sim::file_append::withSystemCalls(path, {&line, 1});
                 }}};
    std::printf("appends to a log file, %d per case (microseconds each, lower is better)\n", count);
    for (const qsizetype size : {100, 32 * 1024}) {
        QByteArray line(size - 2, 'x');
        line.append("\r\n");
        for (int round = 0; round < 2; ++round) { // the second round shows a warm cache
            for (const auto& way : ways) {
                const QByteArray path = folder + "/" + QByteArray(way.name).left(5) + ".log";
                QFile::remove(QString::fromUtf8(path));
                std::printf("  %-20s line of %6lld bytes   %7.2f us\n", way.name,
                            static_cast<long long>(size),
                            microsecondsEach(way.append, path, line, size > 1000 ? count / 10 : count));
            }
        }
    }
    return 0;
}
