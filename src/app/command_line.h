#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace sim::cli {

inline constexpr char kProgramName[] = "traffic_simulator";

// What a run is asked to do besides opening the window: the options of test automation.
struct RunRequest {
    QString profile;           // applied after start-up; empty for none
    bool printProfile = false; // print the panel as a profile and exit, without a display
    bool start = false;        // press the button that starts the run
    std::optional<int> durationMs;
    bool headless = false; // no window, message boxes answered at once
    bool quiet = false;    // the list's rows are not printed
    QString report;        // a JUnit report of the run, written when it ends; empty for none
    QString records;       // the run's records as JSON Lines, "-" for standard output; empty for none

    // A run that is driven by its options: it prints the list's rows, ends by a signal in an orderly
    // way and reports by its exit status.
    bool automated() const {
        return !profile.isEmpty() || start || durationMs || headless || quiet || !report.isEmpty() ||
               !records.isEmpty();
    }
};

// What the command line asks of a run. Started with no arguments the program opens its window as it
// always has; every option is an addition to that.
struct Outcome {
    // Go on to run. When false, print `out` and `err` and end with `status`.
    bool run = true;
    int status = 0;
    QString out;
    QString err;
    RunRequest request;
};

// Exit status of a command line or a profile that cannot be used.
inline constexpr int kUsageStatus = 2;
// The longest run --duration takes, in seconds (about 23 days).
inline constexpr int kMaxDurationSeconds = 2000000;

// Reads the command line as the program was given it, before any application object exists, so that
// help, the version and a usage error need no display. The first argument is the program. Qt's own
// documented options (-platform, -style, ...) are known here and left to the application.
Outcome parseCommandLine(const QStringList& arguments);

// The arguments of main() as text.
QStringList rawArguments(int argc, char** argv);

} // namespace sim::cli
