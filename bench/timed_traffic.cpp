// Timed traffic as the device sees it: a peer on 127.0.0.1, in a thread of its own, stamps each byte
// as it arrives.
//   repeat     1,000 sends with the gap typed as 0.01 (10 ms), level List + File, the window on the
//              offscreen platform: the mean period and the 99th percentile of |t(n+1) - t(n) - 10 ms|,
//              each the median of 5 runs; beside it the same figures for a plain sender, a precise
//              QTimer that sends one byte per tick.
//   fast       the gap typed as 0.001 (1 ms): the mean period achieved and the processor share.
//   program    steps of one byte with gaps of 100, 200 and 300 ms: each arrival against its offset
//              from the first, over 5 runs.
// A first argument sets another number of sends per repeat run.

#include "app/frm_simulator.h"
#include "bench_support.h"
#include "platform/qt/qt_platform.h"
#include "support/sim_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

int kSends = 1000;
constexpr int kRuns = 5;

double ms(Clock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

// Takes one connection on a port of its own and stamps every byte that arrives, until `expected`
// bytes are in or the link closes.
class Peer {
public:
    explicit Peer(int expected) : stamps_(static_cast<std::size_t>(expected)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 1);
        socklen_t length = sizeof address;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~Peer() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    int port() const { return port_; }
    int count() const { return count_.load(); }
    bool complete() const { return count() >= static_cast<int>(stamps_.size()); }
    // Read once complete() holds or the link has closed.
    const std::vector<Clock::time_point>& stamps() const { return stamps_; }

private:
    void run() {
        const int fd = ::accept(listener_, nullptr, nullptr);
        if (fd < 0) {
            return;
        }
        char buffer[4096];
        while (!complete()) {
            const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
            if (n <= 0) {
                break;
            }
            const auto now = Clock::now();
            for (ssize_t i = 0; i < n && !complete(); ++i) {
                stamps_[static_cast<std::size_t>(count())] = now;
                count_.fetch_add(1);
            }
        }
        ::close(fd);
    }
    int listener_ = -1;
    int port_ = 0;
    std::vector<Clock::time_point> stamps_;
    std::atomic<int> count_{0};
    std::thread thread_;
};

// Runs the Qt loop until the condition holds or the time is up.
bool runUntil(const std::function<bool()>& done, int limitMs) {
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (done()) {
            loop.quit();
        }
    });
    poll.start(20);
    QTimer::singleShot(limitMs, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

double percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[static_cast<std::size_t>(p * static_cast<double>(v.size() - 1))];
}

struct Periods {
    double mean = 0; // ms
    double p99 = 0;  // ms, of the deviation from the gap
    int sends = 0;
};

Periods periodsOf(const std::vector<Clock::time_point>& t, int count, double gapMs) {
    Periods out;
    out.sends = count;
    if (count < 2) {
        return out;
    }
    std::vector<double> deviation;
    deviation.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i + 1 < count; ++i) {
        deviation.push_back(
            std::abs(ms(t[static_cast<std::size_t>(i) + 1] - t[static_cast<std::size_t>(i)]) - gapMs));
    }
    out.mean = ms(t[static_cast<std::size_t>(count) - 1] - t[0]) / (count - 1);
    out.p99 = percentile(deviation, 0.99);
    return out;
}

// The simulator on the Qt platform with its window offscreen, dialling the peers as their client.
struct Simulator {
    sim::qt::QtPlatform qt;
    sim::test::MemorySettings settings; // the operator's own settings stay untouched
    sim::test::TempFolders folders;     // and its logs go to a temporary folder
    sim::FrmSimulator form{sim::Platform{qt.pump, qt.timers, qt.network, qt.dialogs, settings, qt.clock,
                                         folders, qt.browser, qt.files}};
    sim::Panel& p = form.panel();
    sim::Operator& op = form.op();
    sim::view::PanelView view{p, op};

    Simulator() {
        form.load();
        const char* octets[] = {"127", "0", "0", "1"};
        for (int i = 0; i < 4; ++i) {
            p.txt_Destination_IP(i).setText(QString::fromLatin1(octets[i]));
        }
        op.click(p.Opt_List_File);
        op.click(p.opt_Send_Only);
        p.txt_Data_Input.setText(QStringLiteral("x"));
        view.show();
    }
    void dial(const Peer& peer) { p.txt_Destination_Port.setText(QString::number(peer.port())); }
};

Periods repeatRun(Simulator& s, const char* gap, int sends, double* cpuShare = nullptr) {
    Peer peer(sends);
    s.dial(peer);
    s.op.edited(s.p.com_Timegap, QString::fromLatin1(gap));
    s.op.edited(s.p.com_Count, QString::number(sends));
    const double cpu = sim::bench::cpuMs();
    const auto start = Clock::now();
    s.op.click(s.p.Cmd_Start);
    runUntil([&] { return peer.complete(); }, sends * 20 + 5000);
    if (cpuShare != nullptr) {
        *cpuShare = 100.0 * (sim::bench::cpuMs() - cpu) / ms(Clock::now() - start);
    }
    s.op.click(s.p.cmd_End);
    return periodsOf(peer.stamps(), peer.count(), std::atof(gap) * 1000.0);
}

// A precise QTimer that writes one byte per tick on a plain socket.
Periods referenceRun(int gapMs, int sends) {
    Peer peer(sends);
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(peer.port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    int sent = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (sent < sends && ::send(fd, "x", 1, MSG_NOSIGNAL) == 1) {
            ++sent;
        }
    });
    timer.start(gapMs);
    runUntil([&] { return peer.complete(); }, sends * 20 + 5000);
    timer.stop();
    ::close(fd);
    return periodsOf(peer.stamps(), peer.count(), gapMs);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc > 1) {
        kSends = std::max(10, std::atoi(argv[1]));
    }
    Simulator s;

    std::vector<double> simMean, simP99, refMean, refP99;
    for (int run = 0; run < kRuns; ++run) {
        const Periods ours = repeatRun(s, "0.01", kSends);
        const Periods plain = referenceRun(10, kSends);
        std::printf("run %d: simulator %d sends, mean %.4f ms, p99 deviation %.3f ms | QTimer %d sends, "
                    "mean %.4f ms, p99 deviation %.3f ms\n",
                    run + 1, ours.sends, ours.mean, ours.p99, plain.sends, plain.mean, plain.p99);
        simMean.push_back(ours.mean);
        simP99.push_back(ours.p99);
        refMean.push_back(plain.mean);
        refP99.push_back(plain.p99);
    }
    const double mean = median(simMean);
    const double p99 = median(simP99);
    std::printf("repeat, gap 0.01 at List + File with the window, median of %d runs of %d sends:\n", kRuns,
                kSends);
    std::printf("  simulator    mean period %.4f ms (%+.2f%%)   p99 |period - 10 ms| %.3f ms\n", mean,
                (mean - 10.0) * 10.0, p99);
    std::printf("  plain QTimer mean period %.4f ms (%+.2f%%)   p99 |period - 10 ms| %.3f ms\n",
                median(refMean), (median(refMean) - 10.0) * 10.0, median(refP99));
    std::printf("  targets: mean within 1%% of 10 ms: %s; p99 under 2 ms: %s\n",
                std::abs(mean - 10.0) <= 0.1 ? "met" : "NOT met", p99 < 2.0 ? "met" : "NOT met");

    double share = 0;
    const Periods fast = repeatRun(s, "0.001", kSends, &share);
    std::printf("repeat, gap 0.001: %d sends, mean period %.4f ms, p99 |period - 1 ms| %.3f ms, "
                "processor %.1f%% of a core\n",
                fast.sends, fast.mean, fast.p99, share);

    // Program mode, one byte per step.
    s.op.click(s.p.chkMode);
    const char* steps[] = {"A", "B", "C", "D"};
    const char* gaps[] = {"100", "200", "300"};
    for (int i = 0; i < 4; ++i) {
        s.p.txtStep(i).setText(QString::fromLatin1(steps[i]));
    }
    for (int i = 0; i < 3; ++i) {
        s.op.edited(s.p.txtTimeGap(i), QString::fromLatin1(gaps[i]));
    }
    const double expected[] = {0, 100, 300, 600};
    double worst = 0;
    for (int run = 0; run < kRuns; ++run) {
        Peer peer(4);
        s.dial(peer);
        s.op.click(s.p.cmdSendStart);
        runUntil([&] { return peer.complete(); }, 5000);
        s.op.click(s.p.cmdSendStart);
        std::printf("program run %d: step offsets", run + 1);
        for (int i = 0; i < peer.count(); ++i) {
            const double offset = ms(peer.stamps()[static_cast<std::size_t>(i)] - peer.stamps()[0]);
            worst = std::max(worst, std::abs(offset - expected[i]));
            std::printf(" %.3f", offset);
        }
        std::printf(" ms (expected 0 100 300 600)\n");
    }
    std::printf("program, gaps 100 200 300: largest deviation from the expected offset %.3f ms "
                "(target within 2 ms): %s\n",
                worst, worst <= 2.0 ? "met" : "NOT met");
    return 0;
}
