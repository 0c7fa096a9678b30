#include "app/command_line.h"
#include "app/frm_simulator.h"
#include "platform/qt/qt_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QStyleFactory>

#include <cstdio>

int main(int argc, char** argv) {
    // Read before the application exists: help, the version and a usage error need no display.
    const sim::cli::Outcome command = sim::cli::parseCommandLine(sim::cli::rawArguments(argc, argv));
    if (!command.run) {
        std::fputs(command.out.toLocal8Bit().constData(), stdout);
        std::fputs(command.err.toLocal8Bit().constData(), stderr);
        return command.status;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Simulator"));
    QApplication::setOrganizationName(QStringLiteral("TK7300_SIMUL"));
    QApplication::setApplicationVersion(QStringLiteral(SIM_VERSION));
    // Lets the desktop match the window to its menu entry and icon; the installed program also knows
    // itself by it (see QtFolders).
    QGuiApplication::setDesktopFileName(QStringLiteral(SIM_APP_ID));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

    sim::qt::QtPlatform platform;
    sim::FrmSimulator form(platform.platform());
    form.load();

    sim::view::PanelView view(form.panel(), form.op());
    platform.dialogs.setParent(&view);
    view.show();
    return QApplication::exec();
}
