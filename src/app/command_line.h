#pragma once

#include <QString>
#include <QStringList>

namespace sim::cli {

inline constexpr char kProgramName[] = "traffic_simulator";

// What the command line asks of a run. Started with no arguments the program opens its window as it
// always has; every option is an addition to that.
struct Outcome {
    // Open the window. When false, print `out` and `err` and end with `status`.
    bool run = true;
    int status = 0;
    QString out;
    QString err;
};

// Exit status of a command line that cannot be used.
inline constexpr int kUsageStatus = 2;

// Reads the command line as the program was given it, before any application object exists, so that
// help, the version and a usage error need no display. The first argument is the program. Qt's own
// documented options (-platform, -style, ...) are known here and left to the application.
Outcome parseCommandLine(const QStringList& arguments);

// The arguments of main() as text.
QStringList rawArguments(int argc, char** argv);

} // namespace sim::cli
