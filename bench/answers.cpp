// Answers by rule under load. A client on 127.0.0.1 makes round trips of a 12-byte read request (a
// register read with its transaction id and unit id, in hexadecimal) through the listening simulator,
// with the window shown on the offscreen platform, at log levels None and List, answered
//   (a) by the typed payload, no rules: the reference;
//   (b) by one regex rule whose reply carries the request's transaction id and unit id;
//   (c) by 32 rules of which only the last, the rule of (b), matches: the 31 before it differ from
//       the request at its fourth byte, once as exact patterns and once as regexes.
// Every reply is checked byte for byte, its transaction id included; a wrong one ends the benchmark.
// Then the matcher alone, fed one byte at a time: a regex `A.*B` over an `A` and 65,535 other bytes.
// The whole run ends with a message after two minutes.
//
//   bench_answers [count [rounds [case [level]]]]
//     count   round trips per run, 20,000 unless given
//     rounds  runs of each case, interleaved, 7 unless given: each figure is the best of its case's runs
//     case    a, b, c or c': that case alone, at the level named after it (None unless given), each
//             round's figures printed (for a profiler)
//
// Figures: round trips per second (the client's time from its first send to its last reply) and the
// simulator thread's processor time per round trip. The ratios compare each case with (a): the rate
// (x)/(a), and the processor time as (a)'s time per trip over (x)'s, so that both read "higher is
// better" and a target of 0.9x means at most about 11% more processor time per round trip.
// Exit status: 0 every target met, 1 a target missed, 3 a wrong or missing reply, 4 out of time.

#include "bench_support.h"
#include "view/panel_view.h"

#include <QApplication>

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <poll.h>
#include <stop_token>
#include <string>

namespace {

using sim::answers::AnswerSettings;
using sim::answers::AnswerStream;
using sim::answers::Format;
using sim::answers::MatchKind;
using sim::answers::Rule;
using sim::bench::Level;
using Clock = std::chrono::steady_clock;

constexpr auto kDeadline = std::chrono::seconds(120);
constexpr int kRequest = 12;
constexpr int kReply = 13;

// Ends the process with a message once the deadline has passed, unless the run ended first.
class Watchdog {
public:
    explicit Watchdog(Clock::time_point deadline)
        : thread_([deadline](std::stop_token stop) {
              std::mutex m;
              std::condition_variable_any wake;
              std::unique_lock lock(m);
              if (!wake.wait_until(lock, stop, deadline, [] { return false; })) {
                  if (!stop.stop_requested()) {
                      std::fprintf(stderr, "bench_answers: not done after %lld s, giving up\n",
                                   static_cast<long long>(kDeadline.count()));
                      std::_Exit(4);
                  }
              }
          }) {}

private:
    std::jthread thread_;
};

const Clock::time_point gDeadline = Clock::now() + kDeadline;

enum class Answering { Typed, OneRule, LastOfExact, LastOfRegex };

struct Case {
    Answering how;
    const char* key; // its name on the command line
    const char* label;
};
constexpr Case kCases[] = {{Answering::Typed, "a", "(a)  typed payload"},
                           {Answering::OneRule, "b", "(b)  1 regex rule"},
                           {Answering::LastOfExact, "c", "(c)  31 exact + (b)"},
                           {Answering::LastOfRegex, "c'", "(c') 31 regex + (b)"}};
constexpr std::size_t kCaseCount = std::size(kCases);
constexpr Level kBenchLevels[] = {sim::bench::kLevels[0], sim::bench::kLevels[1]}; // None, List

// The typed payload: the rule's reply for transaction id 0 and unit 1, which no request carries.
const char* const kTyped = "000000000007010304002A01F4";

Rule hexRule(MatchKind kind, const QString& when, const QString& send) {
    QString error;
    std::optional<Rule> rule = Rule::make(Format::Hex, kind, when, send, &error);
    if (!rule) {
        std::fprintf(stderr, "rule %s: %s\n", qPrintable(when), qPrintable(error));
        std::exit(2);
    }
    return *rule;
}

AnswerSettings settingsFor(Answering how) {
    AnswerSettings settings;
    if (how == Answering::Typed) {
        return settings;
    }
    // Each filler asks for protocol id 00nn, nn from 01: requests carry 0000, so it fails at the fourth byte.
    for (int n = 1; n <= 31 && how != Answering::OneRule; ++n) {
        const QString protocol = QStringLiteral("00%1").arg(n, 2, 16, QLatin1Char('0')).toUpper();
        if (how == Answering::LastOfExact) {
            settings.rules.push_back(hexRule(MatchKind::Exact,
                                             QStringLiteral("0001 %1 0006 01 03 0000 0002").arg(protocol),
                                             QStringLiteral("0001 %1 0003 01 83 02").arg(protocol)));
        } else {
            settings.rules.push_back(hexRule(MatchKind::Regex,
                                             QStringLiteral("(....) %1 0006 (..) 03 .... 0002").arg(protocol),
                                             QStringLiteral("\\1 %1 0003 \\2 83 02").arg(protocol)));
        }
    }
    settings.rules.push_back(hexRule(MatchKind::Regex, QStringLiteral("(....) 0000 0006 (..) 03 .... 0002"),
                                     QStringLiteral("\\1 0000 0007 \\2 03 04 002A 01F4")));
    return settings;
}

using Request = std::array<std::uint8_t, kRequest>;
using Reply = std::array<std::uint8_t, kReply>;

// The i-th request: transaction id 1 to 65,535 in turn, unit 1 to 247, a start register that moves.
Request request(std::size_t i) {
    const auto id = static_cast<std::uint16_t>(1 + i % 65535);
    const auto unit = static_cast<std::uint8_t>(1 + i % 247);
    const auto start = static_cast<std::uint16_t>(i % 1000);
    return {static_cast<std::uint8_t>(id >> 8),    static_cast<std::uint8_t>(id),    0, 0, 0, 6, unit, 3,
            static_cast<std::uint8_t>(start >> 8), static_cast<std::uint8_t>(start), 0, 2};
}

Reply expected(const Request& r, bool typed) {
    if (typed) {
        return {0, 0, 0, 0, 0, 7, 1, 3, 4, 0, 0x2A, 0x01, 0xF4};
    }
    return {r[0], r[1], 0, 0, 0, 7, r[6], 3, 4, 0, 0x2A, 0x01, 0xF4};
}

template <std::size_t N> std::string hex(const std::array<std::uint8_t, N>& bytes, std::size_t n = N) {
    std::string out;
    for (std::size_t i = 0; i < n; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", bytes[i]);
        out += digits;
    }
    if (!out.empty()) {
        out.pop_back();
    }
    return out;
}

struct Trips {
    std::size_t done = 0;
    double seconds = 0;
    std::string wrong; // the first reply that was wrong or missing
};

// `count` round trips, each reply read whole and compared before the next request goes out; then a
// short look for bytes no request asked for.
void exchange(int port, std::size_t count, bool typed, Trips& out) {
    const int fd = sim::bench::connectLoopback(port, 5);
    if (fd < 0) {
        out.wrong = "no connection to the simulator";
        return;
    }
    const Clock::time_point start = Clock::now();
    for (std::size_t i = 0; i < count && out.wrong.empty(); ++i) {
        if (Clock::now() > gDeadline) {
            out.wrong = "out of time";
            break;
        }
        const Request req = request(i);
        if (::send(fd, req.data(), req.size(), MSG_NOSIGNAL) != kRequest) {
            out.wrong = "round trip " + std::to_string(i + 1) + ": the request could not be sent";
            break;
        }
        Reply got{};
        std::size_t have = 0;
        while (have < got.size()) {
            const ssize_t n = ::recv(fd, got.data() + have, got.size() - have, 0);
            if (n <= 0) {
                break;
            }
            have += static_cast<std::size_t>(n);
        }
        if (have < got.size() || got != expected(req, typed)) {
            out.wrong = "round trip " + std::to_string(i + 1) + ": sent " + hex(req) + ", expected " +
                        hex(expected(req, typed)) + ", got " + (have == 0 ? "nothing" : hex(got, have));
            break;
        }
        ++out.done;
    }
    out.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (out.wrong.empty()) {
        pollfd more{fd, POLLIN, 0};
        std::uint8_t stray[64];
        if (::poll(&more, 1, 50) > 0 && ::recv(fd, stray, sizeof stray, MSG_DONTWAIT) > 0) {
            out.wrong = "a reply no request asked for after round trip " + std::to_string(count);
        }
    }
    ::close(fd);
}

struct Figures {
    double perSecond = 0;
    double cpuUsEach = 0;
};

Figures run(const Level& level, const Case& c, std::size_t count) {
    sim::bench::Simulator s(level.option, true);
    s.form.op().click(s.p.opt_Send_input);
    s.p.txt_Data_Input.setText(QString::fromLatin1(kTyped));
    s.form.link().rules().configure(settingsFor(c.how));
    sim::view::PanelView view(s.p, s.form.op());
    view.show();
    Trips trips;
    const double cpu = sim::bench::threadCpuMs();
    s.serve([&](int port) { exchange(port, count, c.how == Answering::Typed, trips); });
    const double cpuMs = sim::bench::threadCpuMs() - cpu;
    if (!trips.wrong.empty()) {
        std::fprintf(stderr, "bench_answers: %s at level %s: %s\n", c.label, level.name, trips.wrong.c_str());
        std::exit(3);
    }
    return {trips.seconds > 0 ? static_cast<double>(trips.done) / trips.seconds : 0,
            cpuMs * 1000.0 / static_cast<double>(trips.done)};
}

// The matcher alone: an `A`, then `others` bytes that are neither `B` nor a line end, one at a time.
// Returns the milliseconds the feeds took, or nothing if the stream did anything but wait.
std::optional<double> feedOneByOne(AnswerStream& stream, qsizetype others) {
    const Clock::time_point start = Clock::now();
    bool waited = stream.feed("A").actions.empty();
    for (qsizetype i = 0; i < others; ++i) {
        const char byte = static_cast<char>('a' + i % 26);
        waited = stream.feed(QByteArrayView(&byte, 1)).actions.empty() && waited;
    }
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return waited && stream.holding() ? std::optional(ms) : std::nullopt;
}

bool matcherAlone() {
    QString error;
    const std::vector<Rule> rules{*Rule::make(Format::Ascii, MatchKind::Regex, QStringLiteral("A.*B"),
                                              QStringLiteral("found"), &error)};
    std::vector<double> times;
    for (int round = 0; round < 5; ++round) {
        AnswerStream stream(rules);
        const std::optional<double> ms = feedOneByOne(stream, AnswerStream::kMostWaiting - 1);
        if (!ms) {
            std::fprintf(stderr, "bench_answers: the matcher answered a message that has not ended\n");
            std::exit(3);
        }
        times.push_back(*ms);
    }
    const double median = sim::bench::percentile(times, 0.5);
    std::printf(
        "\nmatcher alone: regex A.*B (ASCII), an A and 65,535 other bytes fed one at a time, 5 runs\n");
    std::printf("  %.1f ms median, %.1f ms best   target <= 50 ms%s\n", median,
                sim::bench::percentile(times, 0.0), median <= 50 ? "" : ": MISSED");

    // When the message ends, is it answered by that arrival or only once the wait runs out?
    for (const qsizetype others : {qsizetype{500}, qsizetype{2046}}) {
        AnswerStream stream(rules);
        feedOneByOne(stream, others);
        const bool atOnce = !stream.feed("B").actions.empty();
        const bool atWait = !atOnce && !stream.expire().empty();
        std::printf("  an A, %lld others, then B: answered %s\n", static_cast<long long>(others),
                    atOnce   ? "at the B's arrival"
                    : atWait ? "only when the wait runs out"
                             : "never");
    }
    return median <= 50;
}

void printHeader(std::size_t count, int rounds) {
    std::printf(
        "answers: %zu round trips of a %d-byte request and a %d-byte reply each through the listening\n"
        "simulator on 127.0.0.1 (HexA, window offscreen); best of %d rounds: rate in round trips/s,\n"
        "simulator CPU per trip\n\n",
        count, kRequest, kReply, rounds);
    std::printf("  %-22s", "");
    for (const Level& level : kBenchLevels) {
        std::printf("   %-9s %8s %10s", level.name, "trips/s", "CPU us");
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv) {
    const Watchdog watchdog(gDeadline);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const std::size_t count = argc > 1 ? static_cast<std::size_t>(std::max(1L, std::atol(argv[1]))) : 20000;
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 7;
    if (argc > 3) {
        // One case at one level, for a profiler.
        const auto* c = std::find_if(std::begin(kCases), std::end(kCases),
                                     [&](const Case& each) { return std::string(argv[3]) == each.key; });
        const Level* level = sim::bench::levelNamed(argc > 4 ? argv[4] : "None");
        if (c == std::end(kCases) || level == nullptr) {
            std::fprintf(stderr, "bench_answers [count [rounds [a|b|c|c' [None|List|File|List+File]]]]\n");
            return 2;
        }
        for (int round = 0; round < rounds; ++round) {
            const Figures f = run(*level, *c, count);
            std::printf("  %-22s %-11s %8.0f trips/s %8.2f us CPU each\n", c->label, level->name, f.perSecond,
                        f.cpuUsEach);
        }
        return 0;
    }
    printHeader(count, rounds);

    // Other work on the machine comes and goes: each case runs once a round, the rounds interleaved, and
    // keeps its best rate and its least processor time.
    Figures figures[kCaseCount][std::size(kBenchLevels)]{};
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t l = 0; l < std::size(kBenchLevels); ++l) {
            for (std::size_t c = 0; c < kCaseCount; ++c) {
                const Figures f = run(kBenchLevels[l], kCases[c], count);
                Figures& best = figures[c][l];
                best.perSecond = std::max(best.perSecond, f.perSecond);
                best.cpuUsEach = round == 0 ? f.cpuUsEach : std::min(best.cpuUsEach, f.cpuUsEach);
            }
        }
    }
    for (std::size_t c = 0; c < kCaseCount; ++c) {
        std::printf("  %-22s", kCases[c].label);
        for (std::size_t l = 0; l < std::size(kBenchLevels); ++l) {
            std::printf("   %-9s %8.0f %10.2f", "", figures[c][l].perSecond, figures[c][l].cpuUsEach);
        }
        std::printf("\n");
    }

    std::printf("\nratios to (a): rate (x)/(a), CPU (a)/(x) per trip\n");
    bool met = true;
    for (std::size_t c = 1; c < kCaseCount; ++c) {
        const double target = kCases[c].how == Answering::OneRule ? 0.9 : 0.5;
        bool rowMet = true;
        std::printf("  %-22s", kCases[c].label);
        for (std::size_t l = 0; l < std::size(kBenchLevels); ++l) {
            const double rate = figures[c][l].perSecond / figures[0][l].perSecond;
            const double cpu = figures[0][l].cpuUsEach / figures[c][l].cpuUsEach;
            const bool ok = rate >= target && cpu >= target;
            rowMet = rowMet && ok;
            std::printf("   %-4s rate %5.2fx  CPU %5.2fx%s", kBenchLevels[l].name, rate, cpu,
                        ok ? "  " : " !");
        }
        std::printf("   target >= %.1fx%s\n", target, rowMet ? "" : ": MISSED");
        met = met && rowMet;
    }

    met = matcherAlone() && met;
    return met ? 0 : 1;
}
