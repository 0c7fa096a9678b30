// The TLS link beside the plain one, in one run, with the simulator at log level None and its window
// shown on the offscreen platform:
//   flood       256 MiB echoed by the simulator listening, read back while sent and checked byte for
//               byte, plain and over TLS (target: TLS at least 0.40x plain);
//   round trips 20,000 messages of 64 bytes, one at a time, plain and over TLS (target: at least 0.70x);
//   handshakes  500 cycles of connect, TLS 1.3 handshake and close, once with the device dialling the
//               simulator (which echoes one message each time) and once with the simulator dialling
//               the device; the resident memory after cycle 50 stays within 4 MiB of what it was then.
// The flood and the round trips run five times each way, plain and TLS in turn, and the best of each
// way is compared: on a shared machine the best run is the least disturbed one.
// The device is this program's own client or server on a thread of its own, with OpenSSL directly, and
// the same code drives the plain link and the TLS one. Certificates are made with openssl for the run.
// Everything stays on 127.0.0.1; the settings and folders are temporary.
//
//   bench_tls [flood|trips|handshakes [plain|tls|listening|dialling]]
//     one part alone, and within it one side (for a profiler)

#include "bench_support.h"
#include "support/certificates.h"
#include "tls/tls_session.h"
#include "view/panel_view.h"

#include <QApplication>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <numeric>
#include <poll.h>
#include <pthread.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kFloodBytes = std::uint64_t{256} << 20;
constexpr std::size_t kRoundTrips = 20000;
constexpr int kRepeats = 5; // runs of each side of the flood and of the round trips
constexpr int kCycles = 500;
constexpr int kSettledAfter = 50; // cycles before the memory is taken as settled
constexpr long kGrowthLimitKb = 4 * 1024;
constexpr auto kStall = std::chrono::seconds(20); // a link that moves nothing this long has failed
constexpr auto kCyclesWithin = std::chrono::seconds(120);

// The flood's bytes repeat every 64 KiB: twice that, so that any block of up to 64 KiB starting at any
// offset is one piece.
constexpr std::size_t kPeriod = 65536;
const std::vector<char>& floodPattern() {
    static const std::vector<char> pattern = [] {
        std::vector<char> p(2 * kPeriod);
        for (std::size_t i = 0; i < p.size(); ++i) {
            p[i] = sim::bench::floodByte(i);
        }
        return p;
    }();
    return pattern;
}

// Milliseconds left until `deadline`, for poll.
int msLeft(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60000));
}

// Processor time of both ends while the bytes move, read from the device's thread: the simulator's
// thread (the one that runs the event loop) by its clock, the device's own by its.
class Cpu {
public:
    Cpu() { pthread_getcpuclockid(pthread_self(), &simulator_); }
    void start() {
        simulatorStart_ = ms(simulator_);
        deviceStart_ = ms(CLOCK_THREAD_CPUTIME_ID);
    }
    void stop() {
        simulatorMs = ms(simulator_) - simulatorStart_;
        deviceMs = ms(CLOCK_THREAD_CPUTIME_ID) - deviceStart_;
    }
    double simulatorMs = 0;
    double deviceMs = 0;

private:
    static double ms(clockid_t clock) {
        timespec t{};
        clock_gettime(clock, &t);
        return static_cast<double>(t.tv_sec) * 1000.0 + static_cast<double>(t.tv_nsec) / 1e6;
    }
    clockid_t simulator_{};
    double simulatorStart_ = 0;
    double deviceStart_ = 0;
};

// A connection to 127.0.0.1:port, non-blocking once made, or -1. The simulator listens again only once
// its last client is gone: a refused connect is tried again shortly, for up to two seconds.
int dial(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto giveUp = Clock::now() + std::chrono::seconds(2);
    while (Clock::now() < giveUp) {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            const int on = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
            return fd;
        }
        ::close(fd);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return -1;
}

// One end of a link over a non-blocking descriptor, plain or through a TLS session, which it owns.
class Wire {
public:
    Wire(int fd, SSL* ssl) : fd_(fd), ssl_(ssl) {
        if (ssl_ != nullptr) {
            SSL_set_fd(ssl_, fd_);
        }
    }
    ~Wire() {
        if (ssl_ != nullptr) {
            SSL_free(ssl_);
        }
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    bool linked() const { return fd_ >= 0; }
    SSL* ssl() const { return ssl_; }

    // Bytes moved; 0 when the descriptor must first be ready for `*wait` (POLLIN or POLLOUT); -1 when the
    // link has ended or failed. A write that waited is given the same bytes again.
    long write(const char* data, std::size_t size, short* wait) {
        if (ssl_ != nullptr) {
            return settle(SSL_write(ssl_, data, static_cast<int>(size)), wait);
        }
        const ssize_t n = ::send(fd_, data, size, MSG_NOSIGNAL);
        return n >= 0 ? n : plainWait(POLLOUT, wait);
    }
    long read(char* data, std::size_t size, short* wait) {
        if (ssl_ != nullptr) {
            return settle(SSL_read(ssl_, data, static_cast<int>(size)), wait);
        }
        const ssize_t n = ::recv(fd_, data, size, 0);
        return n > 0 ? n : n == 0 ? -1 : plainWait(POLLIN, wait);
    }
    // Whether the descriptor became ready for `events` before `deadline`.
    bool ready(short events, Clock::time_point deadline) const {
        pollfd p{fd_, events, 0};
        return ::poll(&p, 1, msLeft(deadline)) > 0;
    }

    // Moves `size` bytes through `step` (write or read), waiting as the link asks, until `deadline`.
    template <typename Step> bool whole(Step step, std::size_t size, Clock::time_point deadline) {
        std::size_t done = 0;
        while (done < size) {
            short wait = 0;
            const long n = step(done, &wait);
            if (n < 0 || (n == 0 && !ready(wait, deadline))) {
                return false;
            }
            done += static_cast<std::size_t>(n);
        }
        return true;
    }
    bool sendAll(const char* data, std::size_t size, Clock::time_point deadline) {
        return whole([&](std::size_t at, short* w) { return write(data + at, size - at, w); }, size,
                     deadline);
    }
    bool recvAll(char* data, std::size_t size, Clock::time_point deadline) {
        return whole([&](std::size_t at, short* w) { return read(data + at, size - at, w); }, size, deadline);
    }

    // The handshake of a TLS session in whichever role it was set up for; a plain link has none.
    bool handshake(Clock::time_point deadline) {
        while (linked() && ssl_ != nullptr) {
            short wait = 0;
            const long n = settle(SSL_do_handshake(ssl_), &wait);
            if (n > 0) {
                return true;
            }
            if (n < 0 || !ready(wait, deadline)) {
                return false;
            }
        }
        return linked();
    }

    // Says close_notify and waits for the peer's close, which ends the link both ways.
    bool closeBoth(Clock::time_point deadline) {
        if (ssl_ != nullptr) {
            SSL_shutdown(ssl_);
        } else {
            ::shutdown(fd_, SHUT_WR);
        }
        return drain(deadline);
    }
    // Reads until the peer closes, then says close_notify back.
    bool awaitClose(Clock::time_point deadline) {
        const bool closed = drain(deadline);
        if (ssl_ != nullptr) {
            SSL_shutdown(ssl_);
        }
        return closed;
    }

private:
    long settle(int result, short* wait) {
        if (result > 0) {
            return result;
        }
        switch (SSL_get_error(ssl_, result)) {
        case SSL_ERROR_WANT_READ:
            *wait = POLLIN;
            return 0;
        case SSL_ERROR_WANT_WRITE:
            *wait = POLLOUT;
            return 0;
        default:
            ERR_clear_error();
            return -1;
        }
    }
    static long plainWait(short events, short* wait) {
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            return -1;
        }
        *wait = events;
        return 0;
    }
    bool drain(Clock::time_point deadline) {
        char rest[4096];
        for (;;) {
            short wait = 0;
            const long n = read(rest, sizeof rest, &wait);
            if (n < 0) {
                return true;
            }
            if (n == 0 && !ready(wait, deadline)) {
                return false;
            }
        }
    }
    int fd_;
    SSL* ssl_;
};

// What the device uses: the certificates of the run and its own OpenSSL contexts, as client and server.
struct Device {
    sim::test::Certificates certs;
    SSL_CTX* client = nullptr; // checks the simulator's certificate by the authority and 127.0.0.1
    SSL_CTX* server = nullptr; // shows the device's certificate, keeps no sessions and gives no tickets
    std::shared_ptr<const sim::tls::Context> listening; // the simulator's, as a profile makes them
    std::shared_ptr<const sim::tls::Context> dialling;
    QString why;

    Device() {
        if (!certs.made) {
            why = QStringLiteral("openssl could not make the certificates");
            return;
        }
        const auto file = [](const QString& path) { return QFile::encodeName(path); };
        client = SSL_CTX_new(TLS_client_method());
        SSL_CTX_load_verify_locations(client, file(certs.crt("ca")).constData(), nullptr);
        SSL_CTX_set_verify(client, SSL_VERIFY_PEER, nullptr);
        server = SSL_CTX_new(TLS_server_method());
        SSL_CTX_use_certificate_chain_file(server, file(certs.crt("device")).constData());
        SSL_CTX_use_PrivateKey_file(server, file(certs.key("device")).constData(), SSL_FILETYPE_PEM);
        SSL_CTX_set_session_cache_mode(server, SSL_SESS_CACHE_OFF);
        SSL_CTX_set_num_tickets(server, 0);
        for (SSL_CTX* ctx : {client, server}) {
            SSL_CTX_set_min_proto_version(ctx, TLS1_3_VERSION);
            // Several records per read, as the plain device takes 64 KiB per read: the device's own
            // costs stay small beside the simulator's.
            SSL_CTX_set_read_ahead(ctx, 1);
            SSL_CTX_set_default_read_buffer_len(ctx, kPeriod);
            SSL_CTX_set_mode(ctx, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
        }
        listening = sim::tls::Context::make({certs.crt("device"), certs.key("device"), {}, true, {}},
                                            sim::tls::Role::Listening, &why);
        dialling =
            sim::tls::Context::make({{}, {}, certs.crt("ca"), true, {}}, sim::tls::Role::Dialling, &why);
    }
    ~Device() {
        SSL_CTX_free(client);
        SSL_CTX_free(server);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    bool ready() const { return listening && dialling; }

    // A session of the device dialling the simulator, or none for a plain link.
    SSL* clientSession(bool tls) const {
        if (!tls) {
            return nullptr;
        }
        SSL* ssl = SSL_new(client);
        SSL_set_connect_state(ssl);
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl), "127.0.0.1");
        return ssl;
    }
};

// The simulator listening as bench_flood has it, at log level None with the window shown, over TLS
// when `tls` is given.
struct Listener {
    sim::bench::Simulator s{"opt_None"};
    sim::view::PanelView view{s.p, s.form.op()};
    explicit Listener(std::shared_ptr<const sim::tls::Context> tls) {
        s.p.Server_Socket.setTls(std::move(tls));
        view.show();
    }
};

// --- flood -------------------------------------------------------------------------------------------

struct Flooded {
    sim::bench::Flood flood;
    Cpu cpu;
};

// Sends kFloodBytes and reads the echo from one thread, as either end of the link allows, checking
// every byte. The time runs from the end of the handshake to the last byte back.
void flood(int port, SSL* ssl, Flooded& out) {
    sim::bench::Flood& result = out.flood;
    Wire wire(dial(port), ssl);
    auto deadline = Clock::now() + kStall;
    if (!wire.handshake(deadline)) {
        return;
    }
    const std::vector<char>& pattern = floodPattern();
    std::vector<char> buffer(kPeriod);
    std::uint64_t sent = 0;
    bool exact = true;
    out.cpu.start();
    const auto start = Clock::now();
    while (result.echoed < kFloodBytes && exact) {
        short writeWait = 0;
        short readWait = 0;
        long wrote = 0;
        if (sent < kFloodBytes) {
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(kPeriod, kFloodBytes - sent));
            wrote = wire.write(pattern.data() + sent % kPeriod, size, &writeWait);
            sent += static_cast<std::uint64_t>(std::max(wrote, 0L));
        }
        const long got = wire.read(buffer.data(), buffer.size(), &readWait);
        if (wrote < 0 || got < 0) {
            break;
        }
        if (got > 0) {
            exact = std::memcmp(buffer.data(), pattern.data() + result.echoed % kPeriod,
                                static_cast<std::size_t>(got)) == 0;
            result.echoed += static_cast<std::uint64_t>(got);
        }
        if (wrote > 0 || got > 0) {
            deadline = Clock::now() + kStall;
        } else if (!wire.ready(static_cast<short>(writeWait | readWait), deadline)) {
            break;
        }
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    out.cpu.stop();
    result.exact = exact && result.echoed == kFloodBytes;
}

Flooded floodThroughSimulator(const Device& device, bool tls) {
    Listener l(tls ? device.listening : nullptr);
    Flooded result;
    l.s.serve([&](int port) { flood(port, device.clientSession(tls), result); });
    return result;
}

void printFlood(const char* what, const Flooded& flooded) {
    const sim::bench::Flood& f = flooded.flood;
    const auto perMiB = [&](double ms) {
        return f.echoed > 0 ? ms / static_cast<double>(f.echoed) * 1024 * 1024 : 0.0;
    };
    std::printf("  %-10s %8.1f MB/s   ms CPU/MiB: simulator %5.2f, device %5.2f", what, f.mbPerSecond(),
                perMiB(flooded.cpu.simulatorMs), perMiB(flooded.cpu.deviceMs));
    if (!f.exact) {
        std::printf("   (the echo was not complete and exact: %llu bytes came back)",
                    static_cast<unsigned long long>(f.echoed));
    }
    std::printf("\n");
}

// --- round trips -------------------------------------------------------------------------------------

struct Trips {
    std::vector<double> us; // each round trip, microseconds
    Cpu cpu;
    double perSecond() const {
        const double total = std::accumulate(us.begin(), us.end(), 0.0);
        return total > 0 ? static_cast<double>(us.size()) / total * 1e6 : 0;
    }
};

// One message of 64 bytes at a time, each echo waited for and checked; `out` is sized beforehand and
// cut to the round trips that were made.
void roundTrips(int port, SSL* ssl, Trips& run) {
    std::vector<double>& out = run.us;
    Wire wire(dial(port), ssl);
    std::size_t done = 0;
    if (wire.handshake(Clock::now() + kStall)) {
        run.cpu.start();
        char message[sim::bench::kMessage];
        char back[sim::bench::kMessage];
        for (; done < out.size(); ++done) {
            std::fill(std::begin(message), std::end(message), static_cast<char>('A' + done % 26));
            const auto start = Clock::now();
            const auto deadline = start + kStall;
            if (!wire.sendAll(message, sizeof message, deadline) ||
                !wire.recvAll(back, sizeof back, deadline) || std::memcmp(message, back, sizeof back) != 0) {
                break;
            }
            out[done] = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
        }
        run.cpu.stop();
    }
    out.resize(done);
}

Trips tripsThroughSimulator(const Device& device, bool tls) {
    Listener l(tls ? device.listening : nullptr);
    Trips run;
    run.us.assign(kRoundTrips, 0.0);
    l.s.serve([&](int port) { roundTrips(port, device.clientSession(tls), run); });
    return run;
}

void printTrips(const char* what, const Trips& run) {
    const auto each = [&](double ms) {
        return run.us.empty() ? 0.0 : ms * 1000.0 / static_cast<double>(run.us.size());
    };
    std::printf(
        "  %-10s %8.0f round trips/s   median %6.1f us   p99 %6.1f us   us CPU each: simulator %5.1f, "
        "device %5.1f%s\n",
        what, run.perSecond(), sim::bench::percentile(run.us, 0.5), sim::bench::percentile(run.us, 0.99),
        each(run.cpu.simulatorMs), each(run.cpu.deviceMs),
        run.us.size() == kRoundTrips ? "" : "   (ended early)");
}

// --- handshakes --------------------------------------------------------------------------------------

struct Cycles {
    int made = 0;          // cycles that ended well
    double seconds = 0;    // their time, without the looks at the memory
    std::vector<long> rss; // resident memory after each, KiB
    QString protocol;      // as the simulator's status line names it, or the device's session
    int listRows = 0;      // the list's rows after the cycles
    long settled() const { return rss.size() > kSettledAfter ? rss[kSettledAfter - 1] : 0; }
    long largestAfter() const {
        return rss.size() > kSettledAfter ? *std::max_element(rss.begin() + kSettledAfter, rss.end()) : 0;
    }
    long growth() const { return largestAfter() - settled(); }
    double perSecond() const { return seconds > 0 ? made / seconds : 0; }
    bool met() const { return made == kCycles && growth() <= kGrowthLimitKb; }
};

// The list filled past the 2001 rows it keeps, as after a long run, so that its filling up to there does
// not read as the link's memory. The rows it still gains (a line that no trim follows, as Close's) are
// counted in the figures.
constexpr int kListFilled = 2100;
void fillList(sim::Panel& p) {
    for (int i = 0; i < kListFilled; ++i) {
        p.List1.addItem(QStringLiteral("[2024/01/01 00:00:00.000] : Client Connected"));
    }
}

// The device dials the simulator kCycles times: connect, TLS 1.3 handshake, one message echoed (so the
// simulator did accept the link), close_notify, and the simulator's close.
Cycles deviceDials(const Device& device) {
    Listener l(device.listening);
    fillList(l.s.p);
    Cycles c;
    c.rss.reserve(kCycles);
    l.s.serve([&](int port) {
        const auto giveUp = Clock::now() + kCyclesWithin;
        Clock::duration spent{};
        for (int i = 0; i < kCycles && Clock::now() < giveUp; ++i) {
            const auto start = Clock::now();
            const auto deadline = start + std::chrono::seconds(5);
            Wire wire(dial(port), device.clientSession(true));
            char message[sim::bench::kMessage];
            std::fill(std::begin(message), std::end(message), static_cast<char>('a' + i % 26));
            char back[sim::bench::kMessage] = {};
            if (!wire.handshake(deadline) || SSL_version(wire.ssl()) != TLS1_3_VERSION ||
                !wire.sendAll(message, sizeof message, deadline) ||
                !wire.recvAll(back, sizeof back, deadline) || std::memcmp(message, back, sizeof back) != 0 ||
                !wire.closeBoth(deadline)) {
                break;
            }
            spent += Clock::now() - start;
            if (i == 0) {
                c.protocol = QString::fromLatin1(SSL_get_version(wire.ssl())) + QLatin1Char(' ') +
                             QString::fromLatin1(SSL_CIPHER_get_name(SSL_get_current_cipher(wire.ssl())));
            }
            ++c.made;
            c.rss.push_back(sim::bench::rssKb());
        }
        c.seconds = std::chrono::duration<double>(spent).count();
    });
    c.listRows = l.s.p.List1.listCount();
    return c;
}

// The simulator dials the device kCycles times: Connect, which ends once the handshake has, then Close.
// The device accepts, handshakes and reads until the simulator's close_notify.
Cycles simulatorDials(const Device& device) {
    sim::bench::Simulator s("opt_None");
    sim::Panel& p = s.p;
    sim::view::PanelView view(p, s.form.op());
    const char* octets[] = {"127", "0", "0", "1"};
    for (int i = 0; i < 4; ++i) {
        p.txt_Destination_IP(i).setText(QString::fromLatin1(octets[i]));
    }
    const int listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listenFd, 16) != 0 ||
        ::getsockname(listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(listenFd);
        return {};
    }
    p.txt_Destination_Port.setText(QString::number(ntohs(address.sin_port)));
    s.form.op().click(p.opt_Server);
    p.Client_Socket.setTls(device.dialling);
    view.show();
    fillList(p);

    std::atomic<bool> stop{false};
    std::thread deviceThread([&] {
        for (int i = 0; i < kCycles && !stop; ++i) {
            const auto deadline = Clock::now() + std::chrono::seconds(5);
            pollfd incoming{listenFd, POLLIN, 0};
            if (::poll(&incoming, 1, msLeft(deadline)) <= 0) {
                return;
            }
            const int fd = ::accept4(listenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (fd < 0) {
                return;
            }
            SSL* ssl = SSL_new(device.server);
            SSL_set_accept_state(ssl);
            Wire wire(fd, ssl);
            if (wire.handshake(deadline)) {
                wire.awaitClose(deadline);
            }
        }
    });

    Cycles c;
    c.rss.reserve(kCycles);
    const auto giveUp = Clock::now() + kCyclesWithin;
    Clock::duration spent{};
    for (int i = 0; i < kCycles && Clock::now() < giveUp; ++i) {
        const auto start = Clock::now();
        s.form.op().click(p.Cmd_Start);
        const bool connected = p.Client_Socket.state() == sim::socket_state::kConnected;
        const QString tls = p.Client_Socket.tlsDescription();
        s.form.op().click(p.cmd_End);
        spent += Clock::now() - start;
        if (!connected || !tls.startsWith(QLatin1String("TLSv1.3 "))) {
            break;
        }
        if (i == 0) {
            c.protocol = tls.section(QLatin1Char(' '), 0, 1);
        }
        ++c.made;
        c.rss.push_back(sim::bench::rssKb());
    }
    c.seconds = std::chrono::duration<double>(spent).count();
    c.listRows = p.List1.listCount();
    stop = true;
    ::shutdown(listenFd, SHUT_RDWR); // a device still waiting for a client gives up
    deviceThread.join();
    ::close(listenFd);
    return c;
}

void printCycles(const char* what, const Cycles& c) {
    std::printf("  %s: %.0f handshakes/s, %d of %d cycles, %s\n", what, c.perSecond(), c.made, kCycles,
                c.protocol.toLatin1().constData());
    std::printf(
        "    resident at cycle %d: %ld KiB, largest after: %ld KiB, growth %+ld KiB (target <= %ld KiB) "
        "%s\n",
        kSettledAfter, c.settled(), c.largestAfter(), c.growth(), kGrowthLimitKb, c.met() ? "PASS" : "FAIL");
    std::printf("    list rows: %d before the cycles, %d after\n", kListFilled, c.listRows);
}

// --- the run -----------------------------------------------------------------------------------------

bool wanted(const char* arg, const char* name) {
    return arg == nullptr || std::strcmp(arg, name) == 0;
}

// Measures the wanted sides kRepeats times, plain and TLS in turn so that a busy moment of the machine
// falls on both, prints each run and holds the best of each side to the target. `rate` is 0 for a run
// that did not carry every byte back as sent, which fails the target.
template <typename Run>
bool compare(const char* what, double target, const char* side, const std::function<Run(bool)>& measure,
             const std::function<double(const Run&)>& rate,
             const std::function<void(const char*, const Run&)>& print) {
    double best[2] = {0, 0};
    bool sound = true;
    for (int i = 0; i < kRepeats; ++i) {
        for (const bool tls : {false, true}) {
            if (wanted(side, tls ? "tls" : "plain")) {
                const Run run = measure(tls);
                print(tls ? "TLS" : "plain", run);
                sound = sound && rate(run) > 0;
                best[tls] = std::max(best[tls], rate(run));
            }
        }
    }
    if (side != nullptr) {
        return sound;
    }
    const double ratio = sound && best[0] > 0 ? best[1] / best[0] : 0;
    const bool met = ratio >= target;
    std::printf("  %s: TLS %.2fx plain, best against best (target >= %.2f) %s\n", what, ratio, target,
                met ? "PASS" : "FAIL");
    return met;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const char* part = argc > 1 ? argv[1] : nullptr;
    const char* side = argc > 2 ? argv[2] : nullptr;
    if (part != nullptr && !wanted(part, "flood") && !wanted(part, "trips") && !wanted(part, "handshakes")) {
        std::fprintf(stderr, "no part %s: flood, trips or handshakes\n", part);
        return 2;
    }
    const Device device;
    if (!device.ready()) {
        std::fprintf(stderr, "no TLS for the run: %s\n", device.why.toLocal8Bit().constData());
        return 2;
    }
    std::printf("the simulator's link plain and over TLS on 127.0.0.1, at log level None, window shown\n");
    bool met = true;

    if (wanted(part, "flood")) {
        std::printf("flood: %llu MiB echoed, read back while sent (MB = 10^6 bytes), best of %d\n",
                    static_cast<unsigned long long>(kFloodBytes >> 20), kRepeats);
        met = compare<Flooded>(
                  "flood", 0.4, side, [&](bool tls) { return floodThroughSimulator(device, tls); },
                  [](const Flooded& f) { return f.flood.exact ? f.flood.mbPerSecond() : 0; }, printFlood) &&
              met;
    }

    if (wanted(part, "trips")) {
        std::printf("round trips: %zu of %d bytes, one at a time, best of %d\n", kRoundTrips,
                    sim::bench::kMessage, kRepeats);
        met =
            compare<Trips>(
                "round trips", 0.7, side, [&](bool tls) { return tripsThroughSimulator(device, tls); },
                [](const Trips& t) { return t.us.size() == kRoundTrips ? t.perSecond() : 0; }, printTrips) &&
            met;
    }

    if (wanted(part, "handshakes")) {
        std::printf("handshakes: %d cycles of connect, TLS 1.3 handshake and close\n", kCycles);
        if (wanted(side, "listening")) {
            const Cycles c = deviceDials(device);
            printCycles("the device dials, one echo each", c);
            met = c.met() && met;
        }
        if (wanted(side, "dialling")) {
            const Cycles c = simulatorDials(device);
            printCycles("the simulator dials", c);
            met = c.met() && met;
        }
    }
    return met ? 0 : 1;
}
