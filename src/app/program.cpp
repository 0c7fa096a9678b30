#include "app/program.h"

#include "app/automated_run.h"
#include "app/frm_simulator.h"
#include "app/profile.h"
#include "app/run_outputs.h"
#include "app/stop_signals.h"
#include "platform/qt/qt_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QFileInfo>
#include <QStyleFactory>

#include <cstdio>
#include <memory>

namespace sim::program {
namespace {

void identify() {
    QCoreApplication::setApplicationName(QStringLiteral("Simulator"));
    QCoreApplication::setOrganizationName(QStringLiteral("TK7300_SIMUL"));
    QCoreApplication::setApplicationVersion(QStringLiteral(SIM_VERSION));
    // Lets the desktop match the window to its menu entry and icon; the installed program also knows
    // itself by it (see QtFolders).
    QGuiApplication::setDesktopFileName(QStringLiteral(SIM_APP_ID));
}

void write(std::FILE* stream, const QString& line) {
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stream);
    std::fflush(stream);
}

Platform withDialogs(const Platform& p, Dialogs& dialogs) {
    return {p.pump, p.timers, p.network, dialogs, p.settings, p.clock, p.folders, p.browser, p.files};
}

// The profile applied to the loaded form, its answer rules handed to the link, or what is wrong with it.
std::optional<QString> applyProfile(const QString& path, FrmSimulator& form,
                                    std::optional<Profile>& profile) {
    if (path.isEmpty()) {
        return std::nullopt;
    }
    QString error;
    profile = Profile::load(path, &error);
    return profile ? profile->applyTo(form) : error;
}

void problem(const QString& text) {
    write(stderr, QStringLiteral("%1: %2").arg(QLatin1String(cli::kProgramName), text));
}

int window(qt::QtPlatform& platform) {
    FrmSimulator form(platform.platform());
    form.load();
    view::PanelView view(form.panel(), form.op());
    platform.dialogs.setParent(&view);
    view.show();
    return QApplication::exec();
}

// The panel after start-up (and the profile) as a profile; needs no display.
int printProfile(int& argc, char** argv, const cli::RunRequest& request) {
    const QCoreApplication app(argc, argv);
    identify();
    qt::QtPlatform platform;
    qt::HeadlessDialogs dialogs(platform.gate);
    FrmSimulator form(withDialogs(platform.platform(), dialogs));
    form.load();
    std::optional<Profile> profile;
    if (const auto wrong = applyProfile(request.profile, form, profile)) {
        problem(*wrong);
        return cli::kUsageStatus;
    }
    std::fputs(Profile::print(form.panel(), profile ? &*profile : nullptr).toUtf8().constData(), stdout);
    return 0;
}

int automated(qt::QtPlatform& platform, const cli::RunRequest& request) {
    RunVerdict verdict;
    qt::HeadlessDialogs headless(platform.gate);
    WatchedDialogs dialogs(request.headless ? static_cast<Dialogs&>(headless) : platform.dialogs, verdict);
    const Platform base = platform.platform();
    FrmSimulator form(withDialogs(base, dialogs));
    RunOutputs outputs(form, base,
                       {request.records, request.report,
                        request.profile.isEmpty() ? QLatin1String(cli::kProgramName)
                                                  : QFileInfo(request.profile).completeBaseName()},
                       problem);
    AutomatedRun::Output output;
    if (!request.quiet && request.records != QLatin1String(OutputFile::kStandardOutput)) {
        output.row = [](const QString& row) { write(stdout, printableRow(row)); };
    }
    output.note = problem;
    output.judged = [&outputs](const JudgedSends::Verdict& v, const QString& line) {
        outputs.judged(v, line);
    };
    outputs.hearBoxes(dialogs);
    AutomatedRun run(form, base.pump, base.timers, verdict, {request.start, request.durationMs}, output);
    form.load();
    std::optional<Profile> profile;
    if (const auto wrong = applyProfile(request.profile, form, profile)) {
        problem(*wrong);
        return cli::kUsageStatus;
    }
    if (const auto wrong = outputs.open()) {
        problem(*wrong);
        return cli::kUsageStatus;
    }
    std::unique_ptr<view::PanelView> view;
    if (!request.headless) {
        view = std::make_unique<view::PanelView>(form.panel(), form.op());
        platform.dialogs.setParent(view.get());
        view->show();
    }
    const StopSignals stopSignals([&run] { run.end(); });
    run.begin();
    QApplication::exec();
    QString summary;
    if (const auto* judge = form.judged().judge(); judge != nullptr && judge->sends() > 0) {
        summary = judge->summary();
        problem(summary);
    }
    return outputs.finish(verdict.exitStatus(), verdict.why(), summary);
}

} // namespace

int run(int& argc, char** argv, const cli::RunRequest& request) {
    if (request.printProfile) {
        return printProfile(argc, argv, request);
    }
    if (request.headless) { // an explicit -platform still wins
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication app(argc, argv);
    identify();
    if (!request.headless) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    }
    qt::QtPlatform platform;
    return request.automated() ? automated(platform, request) : window(platform);
}

} // namespace sim::program
