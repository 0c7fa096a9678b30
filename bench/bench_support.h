#pragma once

// What the benchmarks share: the simulator listening on the Qt platform with its settings and folders
// in a temporary place, blocking clients on 127.0.0.1 that measure an echo, socat as the plain echo to
// compare with, and the process's own processor time and memory.

#include "app/frm_simulator.h"
#include "platform/qt/qt_platform.h"
#include "support/sim_platform.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <functional>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sim::bench {

// Processor time this process has used, user and system, in milliseconds.
inline double cpuMs() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1000.0 + static_cast<double>(t.tv_usec) / 1000.0;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

// Processor time of the calling thread, in milliseconds: what the simulator itself costs when the
// clients run on threads of their own.
inline double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1000.0 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Resident memory of this process, KiB.
inline long rssKb() {
    std::ifstream status("/proc/self/status");
    std::string key;
    long value = 0;
    while (status >> key) {
        if (key == "VmRSS:") {
            status >> value;
            return value;
        }
        status.ignore(4096, '\n');
    }
    return 0;
}

// A port of 127.0.0.1 that nothing listens on at this moment.
inline int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// A blocking connection to 127.0.0.1:port with no delay on small writes, or -1. The server may need a
// moment to listen: a refused connect is tried again for up to two seconds. Reads and writes give up
// after `ioTimeoutS` seconds so that a stalled server cannot hang the benchmark.
inline int connectLoopback(int port, int ioTimeoutS = 20) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    for (int attempt = 0; attempt < 200; ++attempt) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            const int on = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            const timeval limit{ioTimeoutS, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
            return fd;
        }
        ::close(fd);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

constexpr int kMessage = 64;

// One message of kMessage bytes at a time, each waited for. Round trips in microseconds, written into
// `out`, which is sized beforehand so that the measurements do not show as memory growth; it is cut
// to the round trips that were made.
inline void roundTrips(int port, std::vector<double>& out) {
    const int fd = connectLoopback(port);
    std::size_t done = 0;
    if (fd >= 0) {
        char message[kMessage];
        char back[kMessage];
        for (std::size_t i = 0; i < out.size(); ++i) {
            std::fill(std::begin(message), std::end(message), static_cast<char>('A' + i % 26));
            const auto start = std::chrono::steady_clock::now();
            if (::send(fd, message, sizeof message, 0) != kMessage) {
                break;
            }
            int got = 0;
            while (got < kMessage) {
                const ssize_t n = ::recv(fd, back + got, sizeof back - static_cast<size_t>(got), 0);
                if (n <= 0) {
                    break;
                }
                got += static_cast<int>(n);
            }
            if (got < kMessage) {
                break;
            }
            out[done++] =
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
        }
        ::close(fd);
    }
    out.resize(done);
}

inline double percentile(std::vector<double> v, double p) {
    if (v.empty()) {
        return 0;
    }
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(p * static_cast<double>(v.size() - 1))];
}

// The byte at position i of a flood: every value in turn, so that the hexadecimal form meets its
// one-letter bytes and the echo can be checked byte for byte.
inline char floodByte(std::uint64_t i) {
    return static_cast<char>(static_cast<std::uint8_t>(i * 7 + i / 256));
}

struct Flood {
    std::uint64_t echoed = 0; // bytes that came back, in order and unchanged
    double seconds = 0;
    bool exact = false;     // every byte came back as it was sent
    double serverCpuMs = 0; // processor time of the echo's own thread, where it is known
    double mbPerSecond() const { return seconds > 0 ? static_cast<double>(echoed) / seconds / 1e6 : 0; }
};

// Sends `total` bytes to 127.0.0.1:port from one thread while this one reads the echo. Ends when all
// came back, at a mismatch, or when the peer stalls for 20 s.
inline Flood flood(int port, std::uint64_t total) {
    Flood result;
    const int fd = connectLoopback(port);
    if (fd < 0) {
        return result;
    }
    const auto start = std::chrono::steady_clock::now();
    std::thread writer([fd, total] {
        std::vector<char> chunk(64 * 1024);
        std::uint64_t sent = 0;
        while (sent < total) {
            const std::size_t n =
                static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), total - sent));
            for (std::size_t i = 0; i < n; ++i) {
                chunk[i] = floodByte(sent + i);
            }
            std::size_t off = 0;
            while (off < n) {
                const ssize_t w = ::send(fd, chunk.data() + off, n - off, MSG_NOSIGNAL);
                if (w <= 0) {
                    return;
                }
                off += static_cast<std::size_t>(w);
            }
            sent += n;
        }
    });
    std::vector<char> buffer(64 * 1024);
    bool exact = true;
    while (result.echoed < total && exact) {
        const ssize_t n = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (n <= 0) {
            break;
        }
        for (ssize_t i = 0; i < n && exact; ++i) {
            exact = buffer[static_cast<std::size_t>(i)] ==
                    floodByte(result.echoed + static_cast<std::uint64_t>(i));
        }
        result.echoed += static_cast<std::uint64_t>(n);
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.exact = exact && result.echoed == total;
    ::shutdown(fd, SHUT_RDWR); // a writer still blocked gives up
    writer.join();
    ::close(fd);
    return result;
}

// socat as a plain echo server on 127.0.0.1, for as long as the object lives. Its blocks are kept to the
// size a pipe takes in one piece: with larger ones a flood that fills the pipe both ways can leave socat
// blocked in a write to its own pipe, which it alone would read.
class SocatEcho {
public:
    SocatEcho() {
        socat_.start(QStringLiteral("socat"),
                     {QStringLiteral("-b"), QStringLiteral("4096"),
                      QStringLiteral("TCP-LISTEN:%1,bind=127.0.0.1,reuseaddr").arg(port),
                      QStringLiteral("PIPE")});
        started_ = socat_.waitForStarted(3000);
    }
    ~SocatEcho() {
        socat_.kill();
        socat_.waitForFinished(3000);
    }
    SocatEcho(const SocatEcho&) = delete;
    SocatEcho& operator=(const SocatEcho&) = delete;
    bool started() const { return started_; }
    const int port = freePort();

private:
    QProcess socat_;
    bool started_ = false;
};

// The four log levels, by the option that selects each.
struct Level {
    const char* option;
    const char* name;
};
inline constexpr Level kLevels[] = {
    {"opt_None", "None"}, {"opt_List", "List"}, {"opt_File", "File"}, {"Opt_List_File", "List + File"}};

// The level a command line names ("None", "List", "File", "List+File"), or nothing.
inline const Level* levelNamed(const char* text) {
    std::string wanted(text);
    std::erase(wanted, ' ');
    for (const Level& level : kLevels) {
        std::string name(level.name);
        std::erase(name, ' ');
        if (name == wanted) {
            return &level;
        }
    }
    return nullptr;
}

// The simulator on the Qt platform, listening as the device's server and echoing what arrives. Its
// settings stay in memory and its folders (the named log, the daily log) in a temporary folder.
struct Simulator {
    sim::qt::QtPlatform qt;
    sim::test::MemorySettings settings;
    sim::test::TempFolders folders;
    sim::FrmSimulator form{sim::Platform{qt.pump, qt.timers, qt.network, qt.dialogs, settings, qt.clock,
                                         folders, qt.browser, qt.files}};
    sim::Panel& p = form.panel();
    int port = freePort();

    // `level` names one of the four log level options; without it the design's List stays.
    explicit Simulator(const char* level = nullptr, bool hex = false) {
        form.load();
        form.op().click(p.opt_Client);
        p.txt_Port.setText(QString::number(port));
        if (level != nullptr) {
            form.op().click(*static_cast<sim::OptionButton*>(p.find(level)));
        }
        if (hex) {
            form.op().click(p.opt_HexA);
        }
    }

    // Listens until `done` says so, asked every pollMs; returns when listening has ended.
    void listenUntil(const std::function<bool()>& done, int pollMs = 20) {
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (done()) {
                form.op().click(p.cmd_End);
            }
        });
        poll.start(pollMs);
        form.op().click(p.Cmd_Start);
    }

    // Runs `client` on a thread of its own once the simulator listens, and listens until it is done.
    void serve(const std::function<void(int port)>& client, int pollMs = 20) {
        std::atomic<bool> finished{false};
        std::thread thread;
        listenUntil(
            [&] {
                if (!thread.joinable() && p.Server_Socket.state() == sim::socket_state::kListening) {
                    thread = std::thread([&] {
                        client(port);
                        finished = true;
                    });
                }
                return finished.load();
            },
            pollMs);
        if (thread.joinable()) {
            thread.join();
        }
    }
};

} // namespace sim::bench
