#include "app/command_line.h"

#include <QCommandLineParser>
#include <QFileInfo>

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

    Parser() {
        // Qt's options are single-dash words; ours are long options and -h, -v.
        parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
        parser.setApplicationDescription(
            QStringLiteral("Tarnix traffic simulator: plays the peer of one network device under test on a "
                           "TCP link.\nStarted without options it opens its window."));
        parser.addOption(help);
        parser.addOption(version);
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
        return text + QStringLiteral("\nQt's own options, such as -platform and -style, are accepted too.\n");
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
