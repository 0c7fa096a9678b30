#include "app/frm_simulator.h"
#include "platform/qt/qt_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QStyleFactory>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Simulator"));
    QApplication::setOrganizationName(QStringLiteral("TK7300_SIMUL"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

    sim::qt::QtPlatform platform;
    sim::FrmSimulator form(platform.platform());
    form.load();

    sim::view::PanelView view(form.panel(), form.op());
    platform.dialogs.setParent(&view);
    view.show();
    return QApplication::exec();
}
