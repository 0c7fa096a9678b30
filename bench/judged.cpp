// Judged runs of the built program, headless, dialling a peer on 127.0.0.1 that plays the device. The
// program runs as a copy in a temporary folder that is also its home, its settings and its working
// folder, so neither the operator's settings nor the source tree are touched.
//   reply   200 sends of PING CR LF, 100 ms apart at level None, each expected to get +PONG CR LF. The
//           peer holds each line about 20 ms and times each hold on its own monotonic clock. The
//           program's median reply time less the peer's median hold is what the link itself took: it
//           should be one loopback round trip (1,000 between two threads, median) within 0.3 ms.
//   memory  100,000 sends 1 ms apart, answered at once, with the report and the records written to files
//           (when the program offers those options): resident memory of the program sampled every
//           100 ms from the 10,000th send on (growth within 4 MiB), the report's size (under 2 MB), the
//           run's wall time and the records' line count.
// A first argument picks one of them (reply or memory); a second sets the memory run's sends. The whole
// benchmark has 240 s: past that it kills the program, says so and exits with 3. Exit 1: a target
// missed; 2: the benchmark could not run.

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <regex>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr auto kBudget = std::chrono::seconds(240);
const Clock::time_point gDeadline = Clock::now() + kBudget;
pid_t gChild = -1;    // the program while it runs, killed when the budget runs out
std::string gSandbox; // the temporary folder, removed also when the benchmark gives up

double ms(Clock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

[[noreturn]] void giveUp(const char* why, int status = 2) {
    std::fprintf(stderr, "bench_judged: %s\n", why);
    if (gChild > 0) {
        ::kill(gChild, SIGKILL);
        ::waitpid(gChild, nullptr, 0);
    }
    if (!gSandbox.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(gSandbox, ignored);
    }
    std::exit(status);
}

void checkBudget() {
    if (Clock::now() > gDeadline) {
        giveUp("the benchmark ran out of its 240 s: the program was killed", 3);
    }
}

// A listening socket on 127.0.0.1 and a port of its own.
int listenLoopback(int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(fd, 1) != 0 || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        giveUp("no listening socket on 127.0.0.1");
    }
    port = ntohs(address.sin_port);
    return fd;
}

void noDelay(int fd) {
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool sendAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
        if (n <= 0) {
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Waits until fd can be read, at most `limitMs`; false when the time ran out.
bool readable(int fd, int limitMs) {
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, limitMs) > 0;
}

// Reads exactly `size` bytes, each piece within 5 s; false when the link ended or went quiet first.
bool receiveAll(int fd, char* data, std::size_t size) {
    std::size_t got = 0;
    while (got < size && readable(fd, 5000)) {
        const ssize_t n = ::recv(fd, data + got, size - got, 0);
        if (n <= 0) {
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    return got == size;
}

constexpr char kPing[] = "PING\r\n";
constexpr char kPong[] = "+PONG\r\n";

// The device: takes one connection and answers each line with +PONG CR LF, after holding it `holdMs`
// from the read that completed it (0: at once, all the lines of one read in one write). Each hold is
// timed from that read to the write of the reply.
class Peer {
public:
    Peer(int holdMs, int expected) : hold_(std::chrono::milliseconds(holdMs)) {
        if (holdMs > 0) {
            holds_.resize(static_cast<std::size_t>(expected));
        }
        listener_ = listenLoopback(port_);
        thread_ = std::thread([this] { run(); });
    }
    ~Peer() {
        stop_ = true;
        thread_.join();
        ::close(listener_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    int port() const { return port_; }
    int lines() const { return lines_.load(); }
    int replies() const { return replies_.load(); }
    // When the first and the last line came.
    Clock::time_point first() const { return Clock::time_point(Clock::duration(first_.load())); }
    Clock::time_point last() const { return Clock::time_point(Clock::duration(last_.load())); }
    // The holds in ms, read once the run has ended.
    std::vector<double> holds() const {
        return {holds_.begin(), holds_.begin() + std::min<long>(replies(), static_cast<long>(holds_.size()))};
    }

private:
    void run() {
        while (!stop_ && !readable(listener_, 100)) {
        }
        if (stop_) {
            return;
        }
        const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            return;
        }
        noDelay(fd);
        std::vector<char> buffer(64 * 1024);
        std::string replies;
        while (!stop_) {
            if (!readable(fd, 100)) {
                continue;
            }
            const ssize_t n = ::recv(fd, buffer.data(), buffer.size(), 0);
            const auto read = Clock::now();
            if (n <= 0) {
                break;
            }
            const auto ends = std::count(buffer.begin(), buffer.begin() + n, '\n');
            if (ends == 0) {
                continue;
            }
            if (lines_ == 0) {
                first_ = read.time_since_epoch().count();
            }
            last_ = read.time_since_epoch().count();
            lines_ += static_cast<int>(ends);
            if (hold_.count() == 0) {
                replies.clear();
                for (long i = 0; i < ends; ++i) {
                    replies += kPong;
                }
                if (!sendAll(fd, replies.data(), replies.size())) {
                    break;
                }
                replies_ += static_cast<int>(ends);
                continue;
            }
            const auto due = read + hold_;
            const auto dueNs = std::chrono::duration_cast<std::chrono::nanoseconds>(due.time_since_epoch());
            const timespec until{static_cast<time_t>(dueNs.count() / 1'000'000'000),
                                 static_cast<long>(dueNs.count() % 1'000'000'000)};
            while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
            }
            for (long i = 0; i < ends; ++i) {
                const auto answered = Clock::now();
                if (!sendAll(fd, kPong, sizeof kPong - 1)) {
                    break;
                }
                if (static_cast<std::size_t>(replies_) < holds_.size()) {
                    holds_[static_cast<std::size_t>(replies_.load())] = ms(answered - read);
                }
                ++replies_;
            }
        }
        ::close(fd);
    }

    const std::chrono::milliseconds hold_;
    int listener_ = -1;
    int port_ = 0;
    std::vector<double> holds_; // sized beforehand: written by the peer's thread only
    std::atomic<int> lines_{0};
    std::atomic<int> replies_{0};
    std::atomic<Clock::rep> first_{0};
    std::atomic<Clock::rep> last_{0};
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// The median of `trips` round trips of PING CR LF answered +PONG CR LF between two threads of this
// process over 127.0.0.1, in ms, with both threads idle for `pauseMs` before each.
double loopbackRoundTrip(int trips, int pauseMs) {
    int port = 0;
    const int listener = listenLoopback(port);
    std::thread echo([listener, trips] {
        if (!readable(listener, 5000)) {
            return;
        }
        const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        noDelay(fd);
        char line[sizeof kPing - 1];
        for (int i = 0; i < trips; ++i) {
            if (!receiveAll(fd, line, sizeof line) || !sendAll(fd, kPong, sizeof kPong - 1)) {
                break;
            }
        }
        ::close(fd);
    });
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::vector<double> times;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        noDelay(fd);
        char back[sizeof kPong - 1];
        for (int i = 0; i < trips; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
            const auto start = Clock::now();
            if (!sendAll(fd, kPing, sizeof kPing - 1)) {
                break;
            }
            if (!receiveAll(fd, back, sizeof back)) {
                break;
            }
            times.push_back(ms(Clock::now() - start));
        }
    }
    ::close(fd);
    echo.join();
    ::close(listener);
    if (times.size() < static_cast<std::size_t>(trips)) {
        giveUp("the loopback round trips did not complete");
    }
    return median(times);
}

// A temporary folder holding the program's copy, its home and its working folder; removed at the end.
struct Sandbox {
    fs::path root;
    fs::path program;
    fs::path home;
    fs::path work;

    Sandbox() {
        std::string pattern = (fs::temp_directory_path() / "bench_judged.XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            giveUp("no temporary folder");
        }
        root = pattern;
        gSandbox = pattern;
        home = root / "home";
        work = root / "work";
        for (const fs::path& folder :
             {root / "bin", home, home / ".config", home / ".local" / "share", home / ".cache", work}) {
            fs::create_directories(folder);
        }
        fs::create_directory(home / ".runtime");
        fs::permissions(home / ".runtime", fs::perms::owner_all);
        // A copy of its own: the program keeps its error reports beside its executable.
        program = root / "bin" / "traffic_simulator";
        fs::copy_file(SIM_PROGRAM, program);
        fs::permissions(program, fs::perms::owner_all);
    }
    ~Sandbox() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // The environment of the program: no display, and a home of its own with its settings, data and cache
    // folders under it.
    std::vector<std::string> environment() const {
        const char* dropped[] = {"DISPLAY",        "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_CONFIG_HOME",
                                 "XDG_DATA_HOME",  "XDG_CACHE_HOME",  "XDG_RUNTIME_DIR", "HOME",
                                 "XDG_CONFIG_DIRS"};
        std::vector<std::string> env;
        for (char** e = environ; *e != nullptr; ++e) {
            const std::string entry(*e);
            const std::string name = entry.substr(0, entry.find('='));
            if (std::none_of(std::begin(dropped), std::end(dropped),
                             [&](const char* d) { return name == d; })) {
                env.push_back(entry);
            }
        }
        env.push_back("HOME=" + home.string());
        env.push_back("XDG_CONFIG_HOME=" + (home / ".config").string());
        env.push_back("XDG_DATA_HOME=" + (home / ".local" / "share").string());
        env.push_back("XDG_CACHE_HOME=" + (home / ".cache").string());
        env.push_back("XDG_RUNTIME_DIR=" + (home / ".runtime").string());
        return env;
    }
};

// The program started with these arguments in the sandbox, its standard output into a file and its
// standard error read through a pipe.
struct Child {
    pid_t pid = -1;
    int err = -1; // the read end of its standard error
    Clock::time_point started;
};

Child spawn(const Sandbox& box, const std::vector<std::string>& args, const fs::path& out) {
    std::vector<std::string> argv{box.program.string()};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> argvp;
    for (std::string& a : argv) {
        argvp.push_back(a.data());
    }
    argvp.push_back(nullptr);
    std::vector<std::string> env = box.environment();
    std::vector<char*> envp;
    for (std::string& e : env) {
        envp.push_back(e.data());
    }
    envp.push_back(nullptr);

    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0) {
        giveUp("no pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], 2);
    posix_spawn_file_actions_addchdir_np(&actions, box.work.c_str());
    Child child;
    child.started = Clock::now();
    const int failed = ::posix_spawn(&child.pid, argvp[0], &actions, nullptr, argvp.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    if (failed != 0) {
        giveUp("the program could not be started");
    }
    gChild = child.pid;
    child.err = pipe[0];
    return child;
}

// Reads the child's standard error and calls `tick` at least every 20 ms until the child has ended;
// returns what it printed there and its exit status (-1 when a signal ended it).
std::pair<std::string, int> watch(Child& child, const std::function<void()>& tick) {
    std::string err;
    bool open = true;
    int status = 0;
    bool ended = false;
    while (open || !ended) {
        checkBudget();
        if (open && readable(child.err, 20)) {
            char buffer[4096];
            const ssize_t n = ::read(child.err, buffer, sizeof buffer);
            if (n > 0) {
                err.append(buffer, static_cast<std::size_t>(n));
            } else {
                open = false;
            }
        } else if (!open) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        if (!ended && ::waitpid(child.pid, &status, WNOHANG) == child.pid) {
            ended = true;
            gChild = -1;
        }
        if (!ended) {
            tick();
        }
    }
    ::close(child.err);
    return {err, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

// Ends the run once the peer has answered `sends` lines and their replies had `graceMs` to be judged.
std::function<void()> endWhenAnswered(const Child& child, const Peer& peer, int sends, int graceMs) {
    return [&child, &peer, sends, graceMs, answeredAt = std::optional<Clock::time_point>(),
            signalled = false]() mutable {
        if (signalled || peer.replies() < sends) {
            return;
        }
        if (!answeredAt) {
            answeredAt = Clock::now();
        }
        if (Clock::now() - *answeredAt >= std::chrono::milliseconds(graceMs)) {
            ::kill(child.pid, SIGTERM);
            signalled = true;
        }
    };
}

struct Summary {
    std::string line;
    long sends = -1, replies = -1, passed = -1, failed = -1;
    double medianMs = -1;
};

// The program's summary line from what it printed on standard error.
Summary summaryOf(const std::string& err) {
    Summary s;
    static const std::regex form(
        R"(traffic_simulator: summary: (\d+) sends, (\d+) replies, (\d+) expectations )"
        R"(passed, (\d+) failed; reply time ms: min [0-9.]+, median ([0-9.]+))");
    std::smatch m;
    if (std::regex_search(err, m, form)) {
        const auto from = static_cast<std::size_t>(m.position(0));
        s.line = err.substr(from, err.find('\n', from) - from);
        s.sends = std::stol(m[1]);
        s.replies = std::stol(m[2]);
        s.passed = std::stol(m[3]);
        s.failed = std::stol(m[4]);
        s.medianMs = std::stod(m[5]);
    }
    return s;
}

// What standard error held besides the summary, at most a few lines of it.
void showOtherErrors(const std::string& err) {
    std::size_t shown = 0, from = 0, others = 0;
    while (from < err.size()) {
        const std::size_t end = std::min(err.find('\n', from), err.size());
        const std::string line = err.substr(from, end - from);
        if (line.find("summary:") == std::string::npos) {
            if (shown++ < 5) {
                std::printf("  stderr: %s\n", line.c_str());
            }
            ++others;
        }
        from = end + 1;
    }
    if (others > 5) {
        std::printf("  stderr: ... %zu lines in all\n", others);
    }
}

void writeProfile(const fs::path& path, const Sandbox& box, int port, const char* gap,
                  const std::string& count) {
    std::ofstream profile(path);
    profile << "opt_Server=true\n"
               "opt_HexA=true\n"
               "opt_Send_Only=true\n"
               "opt_Repeat=true\n"
               "opt_None=true\n"
               "txt_Destination_IP(0)=127\n"
               "txt_Destination_IP(1)=0\n"
               "txt_Destination_IP(2)=0\n"
               "txt_Destination_IP(3)=1\n"
            << "txt_Destination_Port=" << port << "\n"
            << "com_Timegap=" << gap << "\n"
            << "com_Count=" << count << "\n"
            << "txt_Logfile=" << (box.work / "judged.dat").string() << "\n"
            << "txt_Data_Input=50494E470D0A\n"       // PING CR LF
               "expect.when=2B 50 4F 4E 47 0D 0A\n"; // +PONG CR LF
}

std::string durationFor(double seconds) {
    const double left = std::chrono::duration<double>(gDeadline - Clock::now()).count() - 5;
    return std::to_string(static_cast<int>(std::max(1.0, std::min(seconds, left))));
}

const char* verdict(bool met) {
    return met ? "PASS" : "FAIL";
}

// Which of --report and --records the program's help lists.
std::pair<bool, bool> outputOptions(const Sandbox& box) {
    const fs::path help = box.root / "help.txt";
    Child child = spawn(box, {"--help"}, help);
    watch(child, [] {});
    std::ifstream in(help);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return {text.find("--report") != std::string::npos, text.find("--records") != std::string::npos};
}

bool replyTime(const Sandbox& box) {
    constexpr int kSends = 200;
    constexpr int kHoldMs = 20;
    const double roundTrip = loopbackRoundTrip(1000, 0);
    // What the same round trip costs when both ends wake from an idle wait, as the program and the peer
    // do between two sends: not the target's reference, only an account of what the difference holds.
    const double idleRoundTrip = loopbackRoundTrip(100, kHoldMs);
    Peer peer(kHoldMs, kSends);
    const fs::path profile = box.root / "reply.ini";
    writeProfile(profile, box, peer.port(), "0.1", std::to_string(kSends));
    Child child = spawn(box,
                        {"--headless", "--quiet", "--start", "--profile", profile.string(), "--duration",
                         durationFor(kSends * 0.1 + 10)},
                        box.root / "reply.out");
    const auto [err, status] = watch(child, endWhenAnswered(child, peer, kSends, 500));
    const Summary s = summaryOf(err);
    const std::vector<double> holds = peer.holds();
    const double hold = median(holds);
    const double difference = s.medianMs - hold;
    const bool judgedAll = s.sends == kSends && s.replies == kSends && s.passed == kSends;
    const bool close = s.medianMs >= 0 && std::abs(difference - roundTrip) <= 0.3;

    std::printf(
        "reply time: %d sends of PING CR LF 100 ms apart at level None, each held %d ms by the peer\n",
        kSends, kHoldMs);
    std::printf("  %s\n", s.line.empty() ? "(no summary line)" : s.line.c_str());
    showOtherErrors(err);
    std::printf("  program exit status %d; the peer read %d lines and answered %d\n", status, peer.lines(),
                peer.replies());
    std::printf("  every send judged and passed: %s\n", verdict(judgedAll));
    std::printf("  program's median reply time  %8.3f ms\n", s.medianMs);
    std::printf("  peer's median hold           %8.3f ms (its own clock, %zu holds)\n", hold, holds.size());
    std::printf("  difference                   %8.3f ms\n", difference);
    std::printf("  loopback round trip, median  %8.3f ms (1,000 between two threads)\n", roundTrip);
    std::printf("  the same after 20 ms idle    %8.3f ms (100 round trips, for reference only)\n",
                idleRoundTrip);
    std::printf("  |difference - round trip|    %8.3f ms (target <= 0.3 ms): %s\n",
                std::abs(difference - roundTrip), verdict(close));
    return judgedAll && close && status == 0;
}

long rssKbOf(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    long value = 0;
    while (status >> key) {
        if (key == "VmRSS:") {
            status >> value;
            return value;
        }
        status.ignore(4096, '\n');
    }
    return -1;
}

bool memoryFlat(const Sandbox& box, int sends) {
    const auto [hasReport, hasRecords] = outputOptions(box);
    Peer peer(0, sends);
    const fs::path profile = box.root / "memory.ini";
    const fs::path report = box.root / "report.xml";
    const fs::path records = box.root / "records.jsonl";
    // A counted run stops at 32,767 sends, the most its 16-bit counter holds: this one runs without a
    // count and is ended at SIGTERM once the peer has answered every send (--duration is the backstop).
    writeProfile(profile, box, peer.port(), "0.001", sends <= 32767 ? std::to_string(sends) : "Endless");
    std::vector<std::string> args{"--headless",
                                  "--quiet",
                                  "--start",
                                  "--profile",
                                  profile.string(),
                                  "--duration",
                                  durationFor(sends * 0.002 + 10)};
    if (hasReport) {
        args.insert(args.end(), {"--report", report.string()});
    }
    if (hasRecords) {
        args.insert(args.end(), {"--records", records.string()});
    }
    Child child = spawn(box, args, box.root / "memory.out");
    const int mark = std::min(10'000, sends / 10);
    long atMark = -1, maxAfter = -1, first = -1;
    auto ender = endWhenAnswered(child, peer, sends, sends <= 32767 ? 500 : 0);
    auto nextSample = Clock::now();
    const auto [err, status] = watch(child, [&] {
        ender();
        if (Clock::now() < nextSample) {
            return;
        }
        nextSample += std::chrono::milliseconds(100);
        const long rss = rssKbOf(child.pid);
        if (rss < 0) {
            return;
        }
        first = first < 0 ? rss : first;
        if (peer.lines() >= mark) {
            atMark = atMark < 0 ? rss : atMark;
            maxAfter = std::max(maxAfter, rss);
        }
    });
    const double wall = std::chrono::duration<double>(Clock::now() - child.started).count();
    const Summary s = summaryOf(err);
    const long growth = maxAfter - atMark;
    const bool flat = atMark > 0 && growth <= 4 * 1024;
    // Sends still on their way at SIGTERM may add a few, and the one waiting for its reply when the link
    // closed fails.
    const bool judgedAll = s.sends >= sends && s.passed >= sends && s.failed <= 1;

    std::printf("memory: %d sends of PING CR LF 1 ms apart at level None, answered at once\n", sends);
    if (!hasReport || !hasRecords) {
        std::printf("  the program offers no %s%s%s yet: run without %s\n", hasReport ? "" : "--report",
                    !hasReport && !hasRecords ? " nor " : "", hasRecords ? "" : "--records",
                    !hasReport && !hasRecords ? "them" : "it");
    }
    std::printf("  %s\n", s.line.empty() ? "(no summary line)" : s.line.c_str());
    showOtherErrors(err);
    std::printf("  program exit status %d; the peer read %d lines and answered %d\n", status, peer.lines(),
                peer.replies());
    std::printf("  %d sends or more judged and passed, at most one failed as the run ended: %s\n", sends,
                verdict(judgedAll));
    const double period = peer.lines() > 1 ? ms(peer.last() - peer.first()) / (peer.lines() - 1) : 0;
    std::printf(
        "  wall time %.1f s (program start to exit); sends arrived over %.1f s, mean period %.4f ms\n", wall,
        ms(peer.last() - peer.first()) / 1000, period);
    std::printf("  resident memory: at start %ld KiB, at send %d %ld KiB, largest after it %ld KiB\n", first,
                mark, atMark, maxAfter);
    std::printf("  growth after send %d: %ld KiB (target <= 4096 KiB): %s\n", mark, growth, verdict(flat));
    bool reportSmall = true;
    if (hasReport) {
        std::error_code missing;
        const auto size = fs::file_size(report, missing);
        reportSmall = !missing && size < 2'000'000;
        std::printf("  report: %s (target < 2 MB): %s\n",
                    missing ? "not written" : (std::to_string(size) + " bytes").c_str(),
                    verdict(reportSmall));
    } else {
        std::printf("  report: not measured\n");
    }
    if (hasRecords) {
        std::ifstream in(records, std::ios::binary);
        const auto lines =
            std::count(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>(), '\n');
        std::printf("  records: %ld lines\n", static_cast<long>(lines));
    } else {
        std::printf("  records: not measured\n");
    }
    return flat && reportSmall && judgedAll && status == 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string which = argc > 1 ? argv[1] : "both";
    const int sends = argc > 2 ? std::max(100, std::atoi(argv[2])) : 100'000;
    if (which != "both" && which != "reply" && which != "memory") {
        std::fprintf(stderr, "usage: bench_judged [reply|memory|both [memory sends]]\n");
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    const Sandbox box;
    bool met = true;
    if (which != "memory") {
        met = replyTime(box) && met;
    }
    if (which != "reply") {
        met = memoryFlat(box, sends) && met;
    }
    std::printf("%s\n", met ? "all targets met" : "a target was missed");
    return met ? 0 : 1;
}
