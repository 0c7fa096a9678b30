#include "app/command_line.h"

#include <gtest/gtest.h>

namespace sim::cli {
namespace {

// The arguments, split at blanks, after the program's own path.
Outcome run(const char* arguments) {
    QStringList list = QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    list.prepend(QStringLiteral("/usr/bin/traffic_simulator"));
    return parseCommandLine(list);
}

TEST(CommandLine, WithoutOptionsOrWithQtsOwnTheWindowOpensAndHelpOrVersionPrintAndEnd) {
    // A value of Qt's that looks like one of ours stays Qt's.
    for (const char* arguments :
         {"", "-platform offscreen", "-style=fusion -reverse", "-qwindowtitle --help", "--"}) {
        const Outcome o = run(arguments);
        EXPECT_TRUE(o.run) << arguments;
        EXPECT_EQ(o.out + o.err, QString()) << arguments;
        EXPECT_FALSE(o.request.automated()) << arguments;
    }
    for (const char* arguments : {"--help", "-h", "--version", "-v", "-platform xcb --version"}) {
        const Outcome o = run(arguments);
        EXPECT_FALSE(o.run) << arguments;
        EXPECT_EQ(o.status, 0) << arguments;
        EXPECT_TRUE(o.err.isEmpty()) << arguments;
        if (o.out.startsWith(QStringLiteral("Usage:"))) {
            EXPECT_TRUE(o.out.startsWith(QStringLiteral("Usage: traffic_simulator [options]\n")));
            EXPECT_TRUE(o.out.contains(QStringLiteral("--version")));
            EXPECT_FALSE(o.out.contains(QStringLiteral("platformpluginpath")))
                << "Qt's options stay out of it";
        } else {
            EXPECT_EQ(o.out, QStringLiteral("traffic_simulator 3.5.1\n")) << arguments;
        }
    }
}

TEST(CommandLine, AnythingElseIsAUsageErrorOnStandardErrorWithStatusTwo) {
    const QString duration = QStringLiteral(
        "--duration takes a number of seconds above 0 and up to 2000000, such as 600 or 0.5, not '%1'.");
    const std::pair<const char*, QString> cases[] = {
        {"--bogus", QStringLiteral("Unknown option 'bogus'.")},
        {"-x", QStringLiteral("Unknown option 'x'.")},
        {"session.dat", QStringLiteral("Unexpected argument 'session.dat'.")},
        {"-- --help", QStringLiteral("Unexpected argument '--help'.")},
        {"--version=2", QStringLiteral("Unexpected value after '--version'.")},
        {"-platform", QStringLiteral("Missing value after '-platform'.")},
        // A mistake is reported even beside a request for help, as Qt's own parser does.
        {"--help --bogus", QStringLiteral("Unknown option 'bogus'.")},
        {"--duration 0", duration.arg(0)},
        {"--duration=-1", duration.arg(-1)},
        {"--duration=ten", duration.arg(QStringLiteral("ten"))},
        {"--duration=0,5", duration.arg(QStringLiteral("0,5"))},
        {"--duration=nan", duration.arg(QStringLiteral("nan"))},
        {"--duration=inf", duration.arg(QStringLiteral("inf"))},
        {"--duration=2000001", duration.arg(2000001)},
        {"--duration", QStringLiteral("Missing value after '--duration'.")},
        {"--profile=", QStringLiteral("--profile needs the name of a file.")},
        {"--print-profile --start",
         QStringLiteral("--print-profile prints and exits; it does not go with --start or --duration.")},
    };
    for (const auto& [arguments, message] : cases) {
        const Outcome o = run(arguments);
        EXPECT_FALSE(o.run) << arguments;
        EXPECT_EQ(o.status, 2) << arguments;
        EXPECT_TRUE(o.out.isEmpty()) << arguments;
        EXPECT_EQ(o.err.section(QLatin1Char('\n'), 0, 2),
                  QStringLiteral("traffic_simulator: %1\n\nUsage: traffic_simulator [options]").arg(message));
    }
}

TEST(CommandLine, TheOptionsOfARunAreReadIntoItsRequest) {
    const Outcome o = run("--headless --profile echo.ini --start --duration 600 --quiet -platform offscreen");
    ASSERT_TRUE(o.run) << o.err.toStdString();
    EXPECT_TRUE(o.request.automated());
    EXPECT_TRUE(o.request.headless);
    EXPECT_EQ(o.request.profile, QStringLiteral("echo.ini"));
    EXPECT_TRUE(o.request.start);
    EXPECT_EQ(o.request.durationMs, 600000);
    EXPECT_TRUE(o.request.quiet);
    EXPECT_FALSE(o.request.printProfile);
    // Whole milliseconds, rounded up.
    const std::pair<const char*, int> durations[] = {{"--duration=0.5", 500},
                                                     {"--duration=2", 2000},
                                                     {"--duration=0.0001", 1},
                                                     {"--duration=0.0105", 11},
                                                     {"--duration=2000000", 2000000000}};
    for (const auto& [arguments, ms] : durations) {
        const Outcome timed = run(arguments);
        ASSERT_TRUE(timed.run) << arguments;
        EXPECT_EQ(timed.request.durationMs, ms) << arguments;
        EXPECT_TRUE(timed.request.automated());
    }
    const Outcome print =
        parseCommandLine({QStringLiteral("traffic_simulator"), QStringLiteral("--print-profile"),
                          QStringLiteral("--profile=a b.ini")});
    ASSERT_TRUE(print.run);
    EXPECT_TRUE(print.request.printProfile);
    EXPECT_EQ(print.request.profile, QStringLiteral("a b.ini"));
}

} // namespace
} // namespace sim::cli
