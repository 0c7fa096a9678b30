// Round trips of 64 bytes, one at a time, echoed by socat PIPE and then by the simulator listening at
// each log level (None, List, File, List + File) in ASCII and in hexadecimal, with the window shown on
// the offscreen platform. Everything stays on 127.0.0.1; the log files go to a temporary folder.
//
//   bench_round_trips [count [level [ascii|hex]]]
//     count   round trips per run, 20,000 unless given
//     level   None, List, File or List+File: that level alone (for a profiler), in both formats unless
//             one is named

#include "bench_support.h"
#include "view/panel_view.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>

namespace {

using sim::bench::kLevels;
using sim::bench::Level;

struct Run {
    std::vector<double> trips; // microseconds each
    double serverCpuMs = 0;    // processor time of the echo's own thread, where it is known
    // Round trips per second while they ran: the connect is not counted.
    double perSecond() const {
        const double us = std::accumulate(trips.begin(), trips.end(), 0.0);
        return us > 0 ? static_cast<double>(trips.size()) / us * 1e6 : 0;
    }
};

Run throughSimulator(const Level& level, bool hex, std::size_t count) {
    sim::bench::Simulator s(level.option, hex);
    sim::view::PanelView view(s.p, s.form.op());
    view.show();
    Run run;
    run.trips.assign(count, 0.0);
    const double cpu = sim::bench::threadCpuMs();
    s.serve([&](int port) { sim::bench::roundTrips(port, run.trips); });
    run.serverCpuMs = sim::bench::threadCpuMs() - cpu;
    return run;
}

void print(const std::string& what, const Run& run, std::size_t count, double none) {
    std::printf("  %-28s %7.0f round trips/s   median %6.1f us   p99 %6.1f us", what.c_str(), run.perSecond(),
                sim::bench::percentile(run.trips, 0.5), sim::bench::percentile(run.trips, 0.99));
    if (run.serverCpuMs > 0 && !run.trips.empty()) {
        std::printf("   %5.1f us CPU each", run.serverCpuMs * 1000.0 / static_cast<double>(run.trips.size()));
    }
    if (none > 0) {
        std::printf("   %5.2fx None", run.perSecond() / none);
    }
    std::printf("%s\n", run.trips.size() == count ? "" : "   (ended early)");
}

std::string label(const Level& level, bool hex) {
    return std::string("simulator ") + (hex ? "HexA  " : "ASCII ") + level.name;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const std::size_t count = argc > 1 ? static_cast<std::size_t>(std::max(1L, std::atol(argv[1]))) : 20000;
    std::printf("round trips: %zu of %d bytes through each echo on 127.0.0.1\n", count, sim::bench::kMessage);

    if (argc > 2) {
        const Level* level = sim::bench::levelNamed(argv[2]);
        if (level == nullptr) {
            std::fprintf(stderr, "no level %s: None, List, File or List+File\n", argv[2]);
            return 2;
        }
        for (const bool hex : {false, true}) {
            if (argc < 4 || std::string(argv[3]) == (hex ? "hex" : "ascii")) {
                print(label(*level, hex), throughSimulator(*level, hex, count), count, 0);
            }
        }
        return 0;
    }

    {
        const sim::bench::SocatEcho echo;
        Run socat;
        if (echo.started()) {
            socat.trips.assign(count, 0.0);
            sim::bench::roundTrips(echo.port, socat.trips);
        }
        print("socat PIPE", socat, count, 0);
    }

    bool met = true;
    for (const bool hex : {false, true}) {
        double none = 0;
        for (const Level& level : kLevels) {
            const Run run = throughSimulator(level, hex, count);
            if (none == 0) {
                none = run.perSecond();
            }
            print(label(level, hex), run, count, none);
            const double ratio = none > 0 ? run.perSecond() / none : 0;
            const std::string name(level.name);
            if (name == "List") {
                std::printf("    target List >= 0.80x None%s\n", ratio >= 0.8 ? "" : ": MISSED");
                met = met && ratio >= 0.8;
            } else if (name == "List + File") {
                std::printf("    target List + File >= 0.50x None%s\n", ratio >= 0.5 ? "" : ": MISSED");
                met = met && ratio >= 0.5;
            }
        }
    }
    return met ? 0 : 1;
}
