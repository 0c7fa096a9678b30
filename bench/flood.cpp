// Throughput of the echo, side by side in one run: socat PIPE as the plain echo, then the simulator
// listening with "Receive && Send Receive Data" at each log level (None, List, File, List + File) in
// ASCII and in hexadecimal. A client on 127.0.0.1 sends the flood while it reads the echo, and checks
// every byte. The window is shown on the offscreen platform for every run, as an operator would have
// it; the log files go to a temporary folder.
//
//   bench_flood [MiB [level [ascii|hex]]]
//     MiB     the size of each flood, 64 unless given
//     level   None, List, File or List+File: that level alone (for a profiler), in both formats unless
//             one is named

#include "bench_support.h"
#include "view/panel_view.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

using sim::bench::kLevels;
using sim::bench::Level;

sim::bench::Flood throughSimulator(const Level& level, bool hex, std::uint64_t total) {
    sim::bench::Simulator s(level.option, hex);
    sim::view::PanelView view(s.p, s.form.op());
    view.show();
    sim::bench::Flood result;
    const double cpu = sim::bench::threadCpuMs();
    s.serve([&](int port) { result = sim::bench::flood(port, total); });
    result.serverCpuMs = sim::bench::threadCpuMs() - cpu;
    return result;
}

void print(const char* what, const sim::bench::Flood& f, double none) {
    std::printf("  %-28s %8.1f MB/s", what, f.mbPerSecond());
    if (f.serverCpuMs > 0) {
        std::printf("   %6.2f ms CPU/MiB", f.serverCpuMs / static_cast<double>(f.echoed) * 1024 * 1024);
    }
    if (none > 0) {
        std::printf("   %5.2fx None", f.mbPerSecond() / none);
    }
    if (!f.exact) {
        std::printf("   (the echo was not complete and exact: %llu bytes came back)",
                    static_cast<unsigned long long>(f.echoed));
    }
    std::printf("\n");
}

// Runs one level alone, for a profiler.
int single(const char* levelArg, const char* formatArg, std::uint64_t total) {
    const Level* level = sim::bench::levelNamed(levelArg);
    if (level == nullptr) {
        std::fprintf(stderr, "no level %s: None, List, File or List+File\n", levelArg);
        return 2;
    }
    for (const bool hex : {false, true}) {
        if (formatArg == nullptr || std::string(formatArg) == (hex ? "hex" : "ascii")) {
            const sim::bench::Flood f = throughSimulator(*level, hex, total);
            print((std::string("simulator ") + (hex ? "HexA  " : "ASCII ") + level->name).c_str(), f, 0);
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const long mib = argc > 1 ? std::max(1L, std::atol(argv[1])) : 64;
    const std::uint64_t total = static_cast<std::uint64_t>(mib) * 1024 * 1024;
    std::printf("flood: %ld MiB through each echo on 127.0.0.1, read back while sent (MB = 10^6 bytes)\n",
                mib);
    if (argc > 2) {
        return single(argv[2], argc > 3 ? argv[3] : nullptr, total);
    }

    sim::bench::Flood socat;
    {
        const sim::bench::SocatEcho echo;
        if (echo.started()) {
            socat = sim::bench::flood(echo.port, total);
        }
    }
    print("socat PIPE", socat, 0);

    std::map<std::pair<bool, std::string>, double> rate;
    for (const bool hex : {false, true}) {
        double none = 0;
        for (const Level& level : kLevels) {
            const sim::bench::Flood f = throughSimulator(level, hex, total);
            if (none == 0) {
                none = f.mbPerSecond();
            }
            rate[{hex, level.name}] = f.exact ? f.mbPerSecond() : 0;
            print((std::string("simulator ") + (hex ? "HexA  " : "ASCII ") + level.name).c_str(), f, none);
        }
    }

    const auto ratio = [&](bool hex, const char* level) {
        const double none = rate[{hex, "None"}];
        return none > 0 ? rate[{hex, level}] / none : 0;
    };
    std::printf("targets:\n");
    bool met = true;
    for (const bool hex : {false, true}) {
        const char* format = hex ? "HexA " : "ASCII";
        const double list = ratio(hex, "List");
        const double both = ratio(hex, "List + File");
        std::printf("  %s List        %.2fx None (target >= 0.50)%s\n", format, list,
                    list >= 0.5 ? "" : "  MISSED");
        std::printf("  %s List + File %.2fx None (target >= 0.25)%s\n", format, both,
                    both >= 0.25 ? "" : "  MISSED");
        met = met && list >= 0.5 && both >= 0.25;
    }
    for (const Level& level : kLevels) {
        const double ascii = rate[{false, level.name}];
        const double share = ascii > 0 ? rate[{true, level.name}] / ascii : 0;
        std::printf("  HexA at %-11s %.2fx ASCII (target >= 0.50)%s\n", level.name, share,
                    share >= 0.5 ? "" : "  MISSED");
        met = met && share >= 0.5;
    }
    return met ? 0 : 1;
}
