// A peer whose receive path is stuck, against the simulator listening as an echo server: a client on
// 127.0.0.1 pours 256 MiB and reads nothing for the first 6 s, then reads while it goes on pouring.
// For each log level (None, then List and List + File with the window on the offscreen platform; the
// log files go to a temporary folder) it prints:
//   - what the client got the system to take in the first 6 s (the simulator stopped reading);
//   - the peak growth of the resident memory over the run (target under 64 MiB);
//   - whether every byte came back, in order, and how long the echo took once the client read;
//   - how fast the window answers: a second thread posts a queued call to the event loop every 10 ms
//     and measures the time until it has run (target: each within 50 ms).
// Everything stays on 127.0.0.1; the settings and folders are temporary.

#include "app/frm_simulator.h"
#include "platform/qt/qt_platform.h"
#include "support/sim_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kTotal = std::uint64_t{256} << 20;
constexpr auto kStuckFor = std::chrono::seconds(6);
constexpr auto kGiveUpAfter = std::chrono::seconds(180);

// The byte at offset i of the stream: a shift or a loss anywhere changes what follows.
std::uint8_t streamByte(std::uint64_t i) {
    return static_cast<std::uint8_t>(i + (i >> 8) * 131 + (i >> 16) * 7);
}

long statusKb(const char* key) {
    std::ifstream status("/proc/self/status");
    std::string name;
    long value = 0;
    while (status >> name) {
        if (name == key) {
            status >> value;
            return value;
        }
        status.ignore(4096, '\n');
    }
    return 0;
}

// Starts a new peak of the resident memory from what is resident now.
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

struct ClientResult {
    bool connected = false;
    std::uint64_t takenWhileStuck = 0; // what the system took in the first 6 s
    std::uint64_t echoed = 0;
    std::uint64_t firstMismatch = kTotal; // kTotal: none
    double drainSeconds = 0;              // from the first read to the last byte back
};

// The stuck peer: non-blocking, one poll for both directions, reading only after kStuckFor.
void stuckClient(int port, ClientResult& r) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int fd = -1;
    for (int attempt = 0; attempt < 200 && fd < 0; ++attempt) {
        fd = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            ::close(fd);
            fd = -1;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    if (fd < 0) {
        return;
    }
    r.connected = true;
    ::fcntl(fd, F_SETFL, O_NONBLOCK);
    std::vector<std::uint8_t> out(65536);
    std::vector<std::uint8_t> in(262144);
    std::uint64_t sent = 0;
    const auto start = Clock::now();
    Clock::time_point readFrom{};
    bool reading = false;
    while (r.echoed < kTotal && Clock::now() - start < kGiveUpAfter) {
        if (!reading && Clock::now() - start >= kStuckFor) {
            reading = true;
            r.takenWhileStuck = sent;
            readFrom = Clock::now();
        }
        pollfd p{fd, static_cast<short>((sent < kTotal ? POLLOUT : 0) | (reading ? POLLIN : 0)), 0};
        if (::poll(&p, 1, 50) <= 0) {
            continue;
        }
        if ((p.revents & POLLOUT) != 0) {
            const std::size_t n =
                static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), kTotal - sent));
            for (std::size_t i = 0; i < n; ++i) {
                out[i] = streamByte(sent + i);
            }
            const ssize_t w = ::send(fd, out.data(), n, MSG_NOSIGNAL);
            if (w > 0) {
                sent += static_cast<std::uint64_t>(w);
            }
        }
        if ((p.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            const ssize_t got = ::recv(fd, in.data(), in.size(), 0);
            if (got <= 0) {
                break;
            }
            for (ssize_t i = 0; i < got && r.firstMismatch == kTotal; ++i) {
                if (in[static_cast<std::size_t>(i)] != streamByte(r.echoed + static_cast<std::uint64_t>(i))) {
                    r.firstMismatch = r.echoed + static_cast<std::uint64_t>(i);
                }
            }
            r.echoed += static_cast<std::uint64_t>(got);
        }
    }
    r.drainSeconds = std::chrono::duration<double>(Clock::now() - readFrom).count();
    ::close(fd);
}

// Posts a call to the event loop every 10 ms and times how long it waits there.
class LoopProbe {
public:
    explicit LoopProbe(QObject& context) : context_(context) { samples_.reserve(100000); }
    void run(const std::atomic<bool>& stop) {
        while (!stop) {
            const auto posted = Clock::now();
            {
                std::lock_guard lock(mutex_);
                answered_ = false;
            }
            QMetaObject::invokeMethod(
                &context_,
                [this] {
                    std::lock_guard lock(mutex_);
                    answeredAt_ = Clock::now();
                    answered_ = true;
                    cv_.notify_one();
                },
                Qt::QueuedConnection);
            std::unique_lock lock(mutex_);
            if (cv_.wait_for(lock, std::chrono::seconds(10), [this] { return answered_; })) {
                samples_.push_back(std::chrono::duration<double, std::milli>(answeredAt_ - posted).count());
            } else {
                samples_.push_back(10000.0);
            }
            lock.unlock();
            rss_ = std::max(rss_, statusKb("VmRSS:"));
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    std::vector<double> samples() const { return samples_; }
    long maxRssKb() const { return rss_; }

private:
    QObject& context_;
    std::mutex mutex_;
    std::condition_variable cv_;
    bool answered_ = false;
    Clock::time_point answeredAt_;
    std::vector<double> samples_;
    long rss_ = 0;
};

double percentile(std::vector<double> v, double p) {
    if (v.empty()) {
        return 0;
    }
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(p * static_cast<double>(v.size() - 1))];
}

void run(const char* level, const char* shown, bool withWindow) {
    sim::qt::QtPlatform qt;
    sim::test::MemorySettings settings; // the operator's own settings stay untouched
    sim::test::TempFolders folders;
    sim::FrmSimulator form{sim::Platform{qt.pump, qt.timers, qt.network, qt.dialogs, settings, qt.clock,
                                         folders, qt.browser, qt.files}};
    sim::Panel& p = form.panel();
    form.load();
    form.op().click(p.opt_Client);
    const int port = freePort();
    p.txt_Port.setText(QString::number(port));
    form.op().click(*p.find(level)); // the echo action is the one chosen at start-up
    std::unique_ptr<sim::view::PanelView> view;
    if (withWindow) {
        view = std::make_unique<sim::view::PanelView>(p, form.op());
        view->show();
    }

    QObject context;
    LoopProbe probe(context);
    ClientResult result;
    std::atomic<bool> finished{false};
    std::atomic<bool> stopProbe{false};
    std::thread client;
    std::thread prober;
    long before = 0;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!client.joinable() && p.Server_Socket.state() == sim::socket_state::kListening) {
            resetPeak();
            before = statusKb("VmRSS:");
            prober = std::thread([&] { probe.run(stopProbe); });
            client = std::thread([&] {
                stuckClient(port, result);
                finished = true;
            });
        }
        if (finished) {
            form.op().click(p.cmd_End);
        }
    });
    poll.start(20);
    form.op().click(p.Cmd_Start); // returns when listening has ended
    client.join();
    stopProbe = true;
    prober.join();
    const long peak = std::max(statusKb("VmHWM:"), probe.maxRssKb());

    const std::vector<double> pings = probe.samples();
    const auto late = std::count_if(pings.begin(), pings.end(), [](double ms) { return ms > 50.0; });
    std::printf("stuck peer, level %s%s:\n", shown, withWindow ? " with the window" : "");
    if (!result.connected) {
        std::printf("  the client could not connect\n");
        return;
    }
    std::printf("  taken by the system in the first 6 s without reading: %.1f MiB of 256\n",
                static_cast<double>(result.takenWhileStuck) / (1 << 20));
    std::printf("  echoed back: %.1f MiB, %s; %.2f s from the first read (%.0f MB/s)\n",
                static_cast<double>(result.echoed) / (1 << 20),
                result.echoed == kTotal && result.firstMismatch == kTotal ? "every byte in order"
                                                                          : "NOT every byte in order",
                result.drainSeconds, static_cast<double>(kTotal) / 1e6 / std::max(result.drainSeconds, 1e-9));
    std::printf(
        "  resident memory: %.1f MiB at the start, peak %.1f MiB: growth %.1f MiB (target under 64)\n",
        static_cast<double>(before) / 1024, static_cast<double>(peak) / 1024,
        static_cast<double>(peak - before) / 1024);
    std::printf("  event loop probe: %zu calls, median %.2f ms, p99 %.2f ms, max %.2f ms, over 50 ms: %td "
                "(target 0)\n",
                pings.size(), percentile(pings, 0.5), percentile(pings, 0.99), percentile(pings, 1.0), late);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // "none", "list" or "listfile" runs one level alone (for a profile of it).
    const std::string only = argc > 1 ? argv[1] : "";
    const struct {
        const char* name;
        const char* option;
        const char* shown;
        bool withWindow;
    } levels[] = {{"none", "opt_None", "None", false},
                  {"list", "opt_List", "List", true},
                  {"listfile", "Opt_List_File", "List + File", true}};
    for (const auto& level : levels) {
        if (only.empty() || only == level.name) {
            run(level.option, level.shown, level.withWindow);
        }
    }
    return 0;
}
