#pragma once

#include <sys/resource.h>

#include <QElapsedTimer>

namespace sim::bench {

// Processor time this process has used, user and system, in milliseconds.
inline double cpuMs() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1000.0 + static_cast<double>(t.tv_usec) / 1000.0;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

} // namespace sim::bench
