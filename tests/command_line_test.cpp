#include "app/command_line.h"

#include <gtest/gtest.h>

namespace sim::cli {
namespace {

// The arguments, split at blanks, after the program's own path.
Outcome parse(const char* arguments) {
    return parseCommandLine(QStringList{QStringLiteral("/usr/bin/traffic_simulator")} +
                            QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts));
}

// The run the program goes on to, in a few words, or the status it ends with and the first line it prints.
QString outcome(const Outcome& o) {
    if (!o.run) {
        return QStringLiteral("%1: %2").arg(o.status).arg((o.out + o.err).section(u'\n', 0, 0));
    }
    const RunRequest& r = o.request;
    QStringList run;
    run << (r.headless ? "headless" : "") << (r.profile.isEmpty() ? "" : "profile=" + r.profile)
        << (r.start ? "start" : "") << (r.durationMs ? QString::number(*r.durationMs) + "ms" : "")
        << (r.quiet ? "quiet" : "") << (r.printProfile ? "print" : "")
        << (r.report.isEmpty() ? "" : "report=" + r.report)
        << (r.records.isEmpty() ? "" : "records=" + r.records) << (r.automated() ? "" : "window");
    run.removeAll(QString());
    return run.join(u' ');
}

TEST(CommandLine, OpensTheWindowOrReadsARunOrPrintsHelpOrTheVersionOrAUsageError) {
    const QString duration =
        "2: traffic_simulator: --duration takes a number of seconds above 0 and up to 2000000, such as 600 "
        "or 0.5, not '%1'.";
    const std::pair<const char*, QString> cases[] = {
        // Qt's own options are left to it; a value of Qt's that looks like one of ours stays Qt's.
        {"", "window"},
        {"-platform offscreen", "window"},
        {"-style=fusion -reverse", "window"},
        {"-qwindowtitle --help", "window"},
        {"--headless --profile echo.ini --start --duration 600 --quiet -platform offscreen",
         "headless profile=echo.ini start 600000ms quiet"},
        {"--print-profile --profile=a.ini", "profile=a.ini print"},
        // Whole milliseconds, rounded up.
        {"--duration=0.5", "500ms"},
        {"--duration=0.0001", "1ms"},
        {"--duration=2000000", "2000000000ms"},
        {"--help", "0: Usage: traffic_simulator [options]"},
        {"-h", "0: Usage: traffic_simulator [options]"},
        {"--version", "0: traffic_simulator 3.5.1"},
        {"-platform xcb -v", "0: traffic_simulator 3.5.1"},
        // A mistake is reported even beside a request for help, as Qt's own parser does.
        {"--help --bogus", "2: traffic_simulator: Unknown option 'bogus'."},
        {"session.dat", "2: traffic_simulator: Unexpected argument 'session.dat'."},
        {"--version=2", "2: traffic_simulator: Unexpected value after '--version'."},
        {"-platform", "2: traffic_simulator: Missing value after '-platform'."},
        {"--duration", "2: traffic_simulator: Missing value after '--duration'."},
        {"--duration 0", duration.arg(0)},
        {"--duration=-1", duration.arg(-1)},
        {"--duration=ten", duration.arg("ten")},
        {"--duration=0,5", duration.arg("0,5")},
        {"--duration=nan", duration.arg("nan")},
        {"--duration=2000001", duration.arg(2000001)},
        {"--profile=", "2: traffic_simulator: --profile needs the name of a file."},
        {"--report r.xml --records=-", "report=r.xml records=-"},
        {"--print-profile --start", "2: traffic_simulator: --print-profile prints and exits; it does not go "
                                    "with --start, --duration, --report or --records."},
        {"--print-profile --records x",
         "2: traffic_simulator: --print-profile prints and exits; it does not go "
         "with --start, --duration, --report or --records."},
        {"--report=", "2: traffic_simulator: --report needs the name of a file."},
        {"--report=out --records=./out", "2: traffic_simulator: --report and --records need a file each."},
        {"--report -", "2: traffic_simulator: --report needs the name of a file; only --records writes to "
                       "standard output (-)."},
    };
    for (const auto& [arguments, expected] : cases) {
        const Outcome o = parse(arguments);
        EXPECT_EQ(outcome(o), expected) << arguments;
        // A run prints nothing; help and version print on stdout only; errors and the usage on stderr only.
        if (o.run) {
            EXPECT_EQ(o.out + o.err, QString()) << arguments;
        } else if (o.status == 0) {
            EXPECT_EQ(o.err, QString()) << arguments;
        } else {
            EXPECT_EQ(o.out, QString()) << arguments;
            EXPECT_TRUE(o.err.contains("\n\nUsage: traffic_simulator [options]\n")) << arguments;
        }
    }
    for (const char* option : {"--version", "--report <FILE>", "--records <FILE>"}) {
        EXPECT_TRUE(parse("--help").out.contains(option)) << option;
    }
    EXPECT_FALSE(parse("--help").out.contains("platformpluginpath")) << "Qt's options stay out of the help";
    EXPECT_EQ(parseCommandLine({"traffic_simulator", "--profile=a b.ini"}).request.profile, "a b.ini");
}

} // namespace
} // namespace sim::cli
