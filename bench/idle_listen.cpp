// The processor share of a simulator that listens on the Qt platform and pumps with nothing arriving.

#include "app/frm_simulator.h"
#include "bench_support.h"
#include "platform/qt/qt_platform.h"
#include "support/sim_platform.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 3;

    sim::qt::QtPlatform qt;
    sim::test::MemorySettings settings; // the operator's own settings stay untouched
    sim::test::TempFolders folders;
    sim::FrmSimulator form(sim::Platform{qt.pump, qt.timers, qt.network, qt.dialogs, settings, qt.clock,
                                         folders, qt.browser, qt.files});
    form.load();
    sim::Panel& p = form.panel();
    p.Server_Socket.setLocalPort(0);
    p.Server_Socket.listen();

    bool done = false;
    QTimer::singleShot(seconds * 1000, [&] { done = true; });
    QElapsedTimer wall;
    wall.start();
    const double cpuBefore = sim::bench::cpuMs();
    long passes = 0;
    while (!done) {
        qt.pump.pump();
        ++passes;
    }
    const double cpu = sim::bench::cpuMs() - cpuBefore;
    const double share = 100.0 * cpu / static_cast<double>(wall.elapsed());
    std::printf("idle listen on port %d: %.1f ms of processor time in %lld ms (%.2f%% of a core, %ld pumps); "
                "target below 1%%\n",
                p.Server_Socket.localPort(), cpu, static_cast<long long>(wall.elapsed()), share, passes);
    return share < 1.0 ? 0 : 1;
}
