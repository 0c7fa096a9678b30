#include "app/command_line.h"

#include <gtest/gtest.h>

namespace sim::cli {
namespace {

Outcome run(QStringList arguments) {
    arguments.prepend(QStringLiteral("/usr/bin/traffic_simulator"));
    return parseCommandLine(arguments);
}

TEST(CommandLine, WithoutArgumentsOrWithQtsOwnOptionsTheWindowOpens) {
    const QList<QStringList> cases = {
        {},
        {QStringLiteral("-platform"), QStringLiteral("offscreen")},
        {QStringLiteral("-style=fusion"), QStringLiteral("-reverse")},
        // A value of Qt's that looks like one of ours stays Qt's.
        {QStringLiteral("-qwindowtitle"), QStringLiteral("--help")},
        {QStringLiteral("--")},
    };
    for (const QStringList& arguments : cases) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome o = run(arguments);
        EXPECT_TRUE(o.run);
        EXPECT_TRUE(o.out.isEmpty());
        EXPECT_TRUE(o.err.isEmpty());
    }
}

TEST(CommandLine, HelpAndVersionPrintOnStandardOutputAndEndWithSuccess) {
    for (const QString& option : {QStringLiteral("--help"), QStringLiteral("-h")}) {
        const Outcome o = run({option});
        EXPECT_FALSE(o.run);
        EXPECT_EQ(o.status, 0);
        EXPECT_TRUE(o.out.startsWith(QStringLiteral("Usage: traffic_simulator [options]\n")));
        EXPECT_TRUE(o.out.contains(QStringLiteral("--version")));
        EXPECT_FALSE(o.out.contains(QStringLiteral("platformpluginpath")))
            << "Qt's options stay out of the list";
        EXPECT_TRUE(o.err.isEmpty());
    }
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("--version")}, QStringList{QStringLiteral("-v")},
          QStringList{QStringLiteral("-platform"), QStringLiteral("xcb"), QStringLiteral("--version")}}) {
        const Outcome o = run(arguments);
        EXPECT_FALSE(o.run);
        EXPECT_EQ(o.status, 0);
        EXPECT_EQ(o.out, QStringLiteral("traffic_simulator 3.5.1\n"));
        EXPECT_TRUE(o.err.isEmpty());
    }
}

TEST(CommandLine, AnythingElseIsAUsageErrorOnStandardErrorWithStatusTwo) {
    struct Case {
        QStringList arguments;
        QString message;
    };
    const QList<Case> cases = {
        {{QStringLiteral("--bogus")}, QStringLiteral("traffic_simulator: Unknown option 'bogus'.\n")},
        {{QStringLiteral("-x")}, QStringLiteral("traffic_simulator: Unknown option 'x'.\n")},
        {{QStringLiteral("session.dat")},
         QStringLiteral("traffic_simulator: Unexpected argument 'session.dat'.\n")},
        {{QStringLiteral("--"), QStringLiteral("--help")},
         QStringLiteral("traffic_simulator: Unexpected argument '--help'.\n")},
        {{QStringLiteral("--version=2")},
         QStringLiteral("traffic_simulator: Unexpected value after '--version'.\n")},
        {{QStringLiteral("-platform")},
         QStringLiteral("traffic_simulator: Missing value after '-platform'.\n")},
        // A mistake is reported even beside a request for help, as Qt's own parser does.
        {{QStringLiteral("--help"), QStringLiteral("--bogus")},
         QStringLiteral("traffic_simulator: Unknown option 'bogus'.\n")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome o = run(c.arguments);
        EXPECT_FALSE(o.run);
        EXPECT_EQ(o.status, 2);
        EXPECT_TRUE(o.out.isEmpty());
        EXPECT_TRUE(o.err.startsWith(c.message)) << o.err.toStdString();
        EXPECT_TRUE(o.err.contains(QStringLiteral("Usage: traffic_simulator [options]\n")));
    }
}

TEST(CommandLine, TheOptionsOfARunAreReadIntoItsRequest) {
    const Outcome plain = run({});
    EXPECT_FALSE(plain.request.automated()) << "started with no options, nothing changes";

    const Outcome o =
        run({QStringLiteral("--headless"), QStringLiteral("--profile"), QStringLiteral("echo.ini"),
             QStringLiteral("--start"), QStringLiteral("--duration"), QStringLiteral("600"),
             QStringLiteral("--quiet"), QStringLiteral("-platform"), QStringLiteral("offscreen")});
    ASSERT_TRUE(o.run) << o.err.toStdString();
    EXPECT_TRUE(o.request.automated());
    EXPECT_TRUE(o.request.headless);
    EXPECT_EQ(o.request.profile, QStringLiteral("echo.ini"));
    EXPECT_TRUE(o.request.start);
    EXPECT_EQ(o.request.durationMs, 600000);
    EXPECT_TRUE(o.request.quiet);
    EXPECT_FALSE(o.request.printProfile);

    const struct {
        const char* seconds;
        int ms;
    } durations[] = {{"0.5", 500}, {"2", 2000}, {"0.0001", 1}, {"0.0105", 11}, {"2000000", 2000000000}};
    for (const auto& d : durations) {
        const Outcome timed = run({QStringLiteral("--duration=%1").arg(QLatin1String(d.seconds))});
        ASSERT_TRUE(timed.run) << d.seconds;
        EXPECT_EQ(timed.request.durationMs, d.ms) << d.seconds;
        EXPECT_TRUE(timed.request.automated());
    }

    const Outcome print = run({QStringLiteral("--print-profile"), QStringLiteral("--profile=a b.ini")});
    ASSERT_TRUE(print.run);
    EXPECT_TRUE(print.request.printProfile);
    EXPECT_EQ(print.request.profile, QStringLiteral("a b.ini"));
}

TEST(CommandLine, ADurationOrProfileThatCannotBeUsedIsAUsageError) {
    const QString duration =
        QStringLiteral("--duration takes a number of seconds above 0 and up to 2000000, such as "
                       "600 or 0.5, not '%1'.");
    struct Case {
        QStringList arguments;
        QString message;
    };
    const QList<Case> cases = {
        {{QStringLiteral("--duration"), QStringLiteral("0")}, duration.arg(QStringLiteral("0"))},
        {{QStringLiteral("--duration=-1")}, duration.arg(QStringLiteral("-1"))},
        {{QStringLiteral("--duration=ten")}, duration.arg(QStringLiteral("ten"))},
        {{QStringLiteral("--duration=0,5")}, duration.arg(QStringLiteral("0,5"))},
        {{QStringLiteral("--duration=nan")}, duration.arg(QStringLiteral("nan"))},
        {{QStringLiteral("--duration=inf")}, duration.arg(QStringLiteral("inf"))},
        {{QStringLiteral("--duration=2000001")}, duration.arg(QStringLiteral("2000001"))},
        {{QStringLiteral("--duration")}, QStringLiteral("Missing value after '--duration'.")},
        {{QStringLiteral("--profile=")}, QStringLiteral("--profile needs the name of a file.")},
        {{QStringLiteral("--print-profile"), QStringLiteral("--start")},
         QStringLiteral("--print-profile prints and exits; it does not go with --start or --duration.")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome o = run(c.arguments);
        EXPECT_FALSE(o.run);
        EXPECT_EQ(o.status, 2);
        EXPECT_TRUE(o.err.startsWith(QStringLiteral("traffic_simulator: ") + c.message + QLatin1Char('\n')))
            << o.err.toStdString();
    }
}

} // namespace
} // namespace sim::cli
