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

} // namespace
} // namespace sim::cli
