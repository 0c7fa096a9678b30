// The listening side under load, side by side with socat as a plain echo server:
//   idle       processor share of a simulator that listens with no client for 5 s;
//   latency    20,000 round trips of 64 bytes, "Receive && Send Receive Data" at log level None,
//              median and 99th percentile against socat;
//   logging    the same at log level List with the window on the offscreen platform: round trips per
//              second, resident memory at the start and the end, the longest stall of the event loop.
// Everything stays on 127.0.0.1.

#include "bench_support.h"
#include "view/panel_view.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {

using sim::bench::percentile;
using sim::bench::rssKb;
using sim::bench::Simulator;

int kRoundTrips = 20000; // a first argument sets another count
constexpr int kMessage = sim::bench::kMessage;

struct Measured {
    std::vector<double> trips;
    double seconds = 0;
    std::vector<long> rss; // resident memory once a second while the client runs, KiB
};

Measured echoThroughSimulator(Simulator& s, Measured m = Measured{}) {
    if (m.trips.empty()) {
        m.trips.assign(static_cast<std::size_t>(kRoundTrips), 0.0);
    }
    const auto start = std::chrono::steady_clock::now();
    auto nextSample = start;
    QTimer sampler;
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        if (std::chrono::steady_clock::now() >= nextSample) {
            m.rss.push_back(rssKb());
            nextSample += std::chrono::seconds(1);
        }
    });
    sampler.start(20);
    s.serve([&](int port) { sim::bench::roundTrips(port, m.trips); });
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
    Simulator plain("opt_None");
    const Measured simulator = echoThroughSimulator(plain);
    std::vector<double> reference;
    {
        const sim::bench::SocatEcho socat;
        if (socat.started()) {
            reference.assign(static_cast<std::size_t>(kRoundTrips), 0.0);
            sim::bench::roundTrips(socat.port, reference);
        }
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
    Simulator logged("opt_List");
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
