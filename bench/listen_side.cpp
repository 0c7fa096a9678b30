// The listening side under load, side by side with socat as a plain echo server:
//   idle       processor share of a simulator that listens with no client for 5 s;
//   latency    20,000 round trips of 64 bytes, "Receive && Send Receive Data" at log level None,
//              median and 99th percentile against socat;
//   logging    the same at log level List with the window on the offscreen platform: round trips per
//              second, resident memory at the start and the end, the longest stall of the event loop.
// Everything stays on 127.0.0.1.

#include "app/frm_simulator.h"
#include "bench_support.h"
#include "platform/qt/qt_platform.h"
#include "support/sim_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QProcess>
#include <QTcpServer>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

int kRoundTrips = 20000; // a first argument sets another count
constexpr int kMessage = 64;

long rssKb() {
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

int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// A blocking client on 127.0.0.1: one message at a time, each waited for. Round trips in microseconds,
// written into `out`, which is sized beforehand so that the measurements do not show as memory growth.
void roundTrips(int port, std::vector<double>& out) {
    const int count = static_cast<int>(out.size());
    std::size_t done = 0;
    int fd = -1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    for (int attempt = 0; attempt < 200; ++attempt) { // the server may need a moment to listen
        fd = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            break;
        }
        ::close(fd);
        fd = -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (fd < 0) {
        out.clear();
        return;
    }
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    char message[kMessage];
    char back[kMessage];
    for (int i = 0; i < count; ++i) {
        std::fill(std::begin(message), std::end(message), static_cast<char>('A' + i % 26));
        const auto start = std::chrono::steady_clock::now();
        if (::send(fd, message, sizeof message, 0) != kMessage) {
            break;
        }
        int got = 0;
        while (got < kMessage) {
            const ssize_t n = ::recv(fd, back + got, sizeof back - static_cast<size_t>(got), 0);
            if (n <= 0) {
                ::close(fd);
                out.resize(done);
                return;
            }
            got += static_cast<int>(n);
        }
        out[done++] =
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    }
    ::close(fd);
    out.resize(done);
}

double percentile(std::vector<double> v, double p) {
    if (v.empty()) {
        return 0;
    }
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(p * static_cast<double>(v.size() - 1))];
}

// The simulator on the Qt platform, listening as the device's server.
struct Simulator {
    sim::qt::QtPlatform qt;
    sim::test::MemorySettings settings; // the operator's own settings stay untouched
    sim::test::TempFolders folders;
    sim::FrmSimulator form{
        sim::Platform{qt.pump, qt.timers, qt.network, qt.dialogs, settings, qt.clock, folders, qt.browser}};
    sim::Panel& p = form.panel();
    int port = freePort();

    explicit Simulator(sim::OptionButton* level = nullptr) {
        form.load();
        form.op().click(p.opt_Client);
        p.txt_Port.setText(QString::number(port));
        if (level != nullptr) {
            form.op().click(*level);
        }
    }
    // Listens until `done` says so; returns when listening has ended.
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
};

struct Measured {
    std::vector<double> trips;
    double seconds = 0;
    std::vector<long> rss; // resident memory once a second while the client runs, KiB
};

Measured echoThroughSimulator(Simulator& s, Measured m = Measured{}) {
    if (m.trips.empty()) {
        m.trips.assign(static_cast<std::size_t>(kRoundTrips), 0.0);
    }
    std::atomic<bool> finished{false};
    std::thread client;
    const auto start = std::chrono::steady_clock::now();
    auto nextSample = start;
    s.listenUntil([&] {
        if (std::chrono::steady_clock::now() >= nextSample) {
            m.rss.push_back(rssKb());
            nextSample += std::chrono::seconds(1);
        }
        if (!client.joinable() && s.p.Server_Socket.state() == sim::socket_state::kListening) {
            client = std::thread([&] {
                roundTrips(s.port, m.trips);
                finished = true;
            });
        }
        return finished.load();
    });
    client.join();
    m.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return m;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc > 1) {
        kRoundTrips = std::max(1, std::atoi(argv[1]));
    }

    // idle
    double idleShare = 0;
    {
        Simulator s;
        QElapsedTimer wall;
        double cpu = 0;
        s.listenUntil(
            [&] {
                if (!wall.isValid() && s.p.Server_Socket.state() == sim::socket_state::kListening) {
                    wall.start();
                    cpu = sim::bench::cpuMs();
                }
                return wall.isValid() && wall.elapsed() >= 5000;
            },
            250); // the benchmark's own look at the clock wakes the loop four times a second
        idleShare = 100.0 * (sim::bench::cpuMs() - cpu) / static_cast<double>(wall.elapsed());
        std::printf("idle: listening 5 s with no client: %.2f%% of a core (target below 1%%)\n", idleShare);
    }

    // latency against socat
    Simulator plain(nullptr);
    plain.form.op().click(plain.p.opt_None);
    const Measured simulator = echoThroughSimulator(plain);
    const int socatPort = freePort();
    QProcess socat;
    socat.start(QStringLiteral("socat"),
                {QStringLiteral("TCP-LISTEN:%1,reuseaddr").arg(socatPort), QStringLiteral("PIPE")});
    std::vector<double> reference;
    if (socat.waitForStarted(3000)) {
        reference.assign(static_cast<std::size_t>(kRoundTrips), 0.0);
        roundTrips(socatPort, reference);
        socat.kill();
        socat.waitForFinished(3000);
    }
    const double simMedian = percentile(simulator.trips, 0.5);
    const double refMedian = percentile(reference, 0.5);
    std::printf("latency: %zu round trips of %d bytes at level None\n", simulator.trips.size(), kMessage);
    std::printf("  simulator  median %7.1f us   p99 %7.1f us\n", simMedian,
                percentile(simulator.trips, 0.99));
    std::printf("  socat      median %7.1f us   p99 %7.1f us   (%zu round trips)\n", refMedian,
                percentile(reference, 0.99), reference.size());
    if (refMedian > 0) {
        std::printf("  ratio      median %.2fx   p99 %.2fx   (target: median within 1.5x)\n",
                    simMedian / refMedian, percentile(simulator.trips, 0.99) / percentile(reference, 0.99));
    }

    // with logging and the window
    Simulator logged(nullptr);
    logged.form.op().click(logged.p.opt_List);
    sim::view::PanelView view(logged.p, logged.form.op());
    view.show();
    QElapsedTimer beat;
    qint64 longestStall = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, [&] {
        if (beat.isValid()) {
            longestStall = std::max(longestStall, beat.elapsed() - 10);
        }
        beat.restart();
    });
    heartbeat.start(10);
    Measured sized;
    sized.trips.assign(static_cast<std::size_t>(kRoundTrips), 0.0);
    sized.rss.reserve(4096);
    const long rssBefore = rssKb();
    const Measured withList = echoThroughSimulator(logged, std::move(sized));
    const long rssAfter = rssKb();
    std::printf("logging: level List with the window: %.0f round trips/s (%zu in %.2f s), median %.1f us\n",
                static_cast<double>(withList.trips.size()) / withList.seconds, withList.trips.size(),
                withList.seconds, percentile(withList.trips, 0.5));
    std::printf("  list rows %d, resident memory %ld KiB at the start, %ld KiB at the end, longest "
                "event-loop stall %lld ms\n",
                static_cast<int>(logged.p.List1.listCount()), rssBefore, rssAfter,
                static_cast<long long>(longestStall));
    std::printf("  resident memory each second (KiB):");
    for (long kb : withList.rss) {
        std::printf(" %ld", kb);
    }
    std::printf("\n");
    return 0;
}
