#include "app/command_line.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QLocale>

#include <cmath>

namespace sim::cli {
namespace {

// The options that QGuiApplication and QApplication take themselves. A run that names them is passed
// through to the application, which removes them before the window is built.
struct QtOption {
    const char* name;
    const char* valueName; // nullptr for a flag
};
constexpr QtOption kQtOptions[] = {
    {"platform", "name[:options]"},
    {"platformpluginpath", "path"},
    {"platformtheme", "theme"},
    {"plugin", "plugin"},
    {"qmljsdebugger", "port"},
    {"qwindowgeometry", "geometry"},
    {"qwindowicon", "icon"},
    {"qwindowtitle", "title"},
    {"reverse", nullptr},
    {"session", "session"},
    {"display", "display"},
    {"geometry", "geometry"},
    {"style", "style"},
    {"stylesheet", "file"},
    {"widgetcount", nullptr},
};

// Every option the program knows. An option of a run is declared here and read into Outcome by
// parseCommandLine.
struct Parser {
    QCommandLineParser parser;
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Show this help and exit.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Show the version and exit.")};
    QCommandLineOption profile{
        QStringLiteral("profile"),
        QStringLiteral("Set the panel from FILE after start-up: one control=value a line."),
        QStringLiteral("FILE")};
    QCommandLineOption printProfile{
        QStringLiteral("print-profile"),
        QStringLiteral(
            "Print the panel's start-up values (with --profile, after it) as a profile and exit.")};
    QCommandLineOption start{QStringLiteral("start"),
                             QStringLiteral("Press the button that starts the run: Connect or Listen, the "
                                            "Connect & Close button, or the program's Start.")};
    QCommandLineOption duration{QStringLiteral("duration"),
                                QStringLiteral("End the run after SECONDS as Close does, then quit."),
                                QStringLiteral("SECONDS")};
    QCommandLineOption headless{QStringLiteral("headless"),
                                QStringLiteral("Run without a window; message boxes are answered at once "
                                               "and printed to standard error.")};
    QCommandLineOption quiet{QStringLiteral("quiet"),
                             QStringLiteral("Do not print the list's rows on standard output.")};
    QCommandLineOption report{
        QStringLiteral("report"),
        QStringLiteral("Write a JUnit XML report of the run to FILE when it ends: a test "
                       "case for each send with an expectation, or one for the run."),
        QStringLiteral("FILE")};
    QCommandLineOption records{
        QStringLiteral("records"),
        QStringLiteral("Write every record, status line and error of the run to FILE as it happens, one "
                       "JSON object a line, at any log level; - for standard output, which then carries "
                       "no rows."),
        QStringLiteral("FILE")};

    Parser() {
        // Qt's options are single-dash words; ours are long options and -h, -v.
        parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
        parser.setApplicationDescription(
            QStringLiteral("Tarnix traffic simulator: plays the peer of one network device under test on a "
                           "TCP link.\nStarted without options it opens its window."));
        parser.addOption(help);
        parser.addOption(version);
        for (const QCommandLineOption* own :
             {&profile, &printProfile, &start, &duration, &headless, &quiet, &report, &records}) {
            parser.addOption(*own);
        }
        for (const QtOption& qt : kQtOptions) {
            QCommandLineOption option(QString::fromLatin1(qt.name));
            if (qt.valueName != nullptr) {
                option.setValueName(QString::fromLatin1(qt.valueName));
            }
            option.setFlags(QCommandLineOption::HiddenFromHelp);
            parser.addOption(option);
        }
    }

    QString usage(const QString& program) const {
        // Qt names the program from the application object, which does not exist yet.
        QString text = parser.helpText();
        text.replace(0, text.indexOf(QLatin1Char('\n')), QStringLiteral("Usage: %1 [options]").arg(program));
        return text + QStringLiteral("\nQt's own options, such as -platform and -style, are accepted too.\n"
                                     "Exit status of a run with options: 0 no failure, 1 a failure, 2 a bad "
                                     "command line or profile.\n");
    }

    // The options of a run, or the reason they cannot be used.
    QString readRequest(RunRequest& request) const {
        request.profile = parser.value(profile);
        request.printProfile = parser.isSet(printProfile);
        request.start = parser.isSet(start);
        request.headless = parser.isSet(headless);
        request.quiet = parser.isSet(quiet);
        request.report = parser.value(report);
        request.records = parser.value(records);
        for (const auto& [option, value] :
             {std::pair{&profile, &request.profile}, std::pair{&report, &request.report},
              std::pair{&records, &request.records}}) {
            if (parser.isSet(*option) && value->isEmpty()) {
                return QStringLiteral("--%1 needs the name of a file.").arg(option->names().constFirst());
            }
        }
        if (parser.isSet(duration)) {
            bool ok = false;
            const double seconds = QLocale::c().toDouble(parser.value(duration).trimmed(), &ok);
            if (!ok || !std::isfinite(seconds) || seconds <= 0 || seconds > kMaxDurationSeconds) {
                return QStringLiteral(
                           "--duration takes a number of seconds above 0 and up to %1, such as 600 "
                           "or 0.5, not '%2'.")
                    .arg(kMaxDurationSeconds)
                    .arg(parser.value(duration));
            }
            request.durationMs = static_cast<int>(std::ceil(seconds * 1000.0));
        }
        if (request.printProfile && (request.start || request.durationMs || !request.report.isEmpty() ||
                                     !request.records.isEmpty())) {
            return QStringLiteral(
                "--print-profile prints and exits; it does not go with --start, --duration, "
                "--report or --records.");
        }
        if (!request.report.isEmpty() &&
            QFileInfo(request.report).absoluteFilePath() == QFileInfo(request.records).absoluteFilePath()) {
            return QStringLiteral("--report and --records need a file each.");
        }
        if (request.report == QLatin1String("-")) {
            return QStringLiteral("--report needs the name of a file; only --records writes to standard "
                                  "output (-).");
        }
        return {};
    }
};

} // namespace

Outcome parseCommandLine(const QStringList& arguments) {
    Parser p;
    const QString program =
        arguments.isEmpty() ? QString::fromLatin1(kProgramName) : QFileInfo(arguments.first()).fileName();
    Outcome outcome;
    QString error;
    if (!p.parser.parse(arguments)) {
        error = p.parser.errorText();
    } else if (!p.parser.positionalArguments().isEmpty()) {
        error = QStringLiteral("Unexpected argument '%1'.").arg(p.parser.positionalArguments().first());
    } else {
        error = p.readRequest(outcome.request);
    }
    if (!error.isEmpty()) {
        outcome.run = false;
        outcome.status = kUsageStatus;
        outcome.err = QStringLiteral("%1: %2\n\n").arg(program, error) + p.usage(program);
    } else if (p.parser.isSet(p.version)) {
        outcome.run = false;
        outcome.out = QStringLiteral("%1 %2\n").arg(QLatin1String(kProgramName), QStringLiteral(SIM_VERSION));
    } else if (p.parser.isSet(p.help)) {
        outcome.run = false;
        outcome.out = p.usage(program);
    }
    return outcome;
}

QStringList rawArguments(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

} // namespace sim::cli
