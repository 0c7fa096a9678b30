#include "panel/form_lifecycle.h"

#include "panel/texts.h"

#include <QDir>

namespace sim {

void FormLifecycle::Form_Load() {
    Panel& p = panel_;
    p.txt_Simulator_IP.setText(p.Server_Socket.localIP());
    p.txt_Port.setEnabled(false);
    p.txt_Port.setBackColor(colour::kGrey);
    p.iRepeatNo = 0;
    p.iConnectTick = 0;
    p.com_Timegap.setListIndex(0);
    p.com_Count.setListIndex(0);
    settings_.readAtStart();
    const QString logFile = folders_.programFolder() + QStringLiteral("/Log/") +
                            clock_.localDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".dat");
    p.txt_Logfile.setText(QDir::toNativeSeparators(logFile));
    p.Cmd_Start.setCaption(QLatin1String(texts::kConnectCaption));
    p.Cmd_Send.setEnabled(false);
    p.cmd_End.setEnabled(false);
}

void FormLifecycle::Form_Resize() {
    Form& form = panel_.frmSimulator;
    try {
        if (form.width() != kWidth) {
            form.setWidth(kWidth);
        }
        if (form.height() != kHeightKept) {
            form.setHeight(kHeight);
        }
    } catch (const RuntimeFailure&) {
        // A window that cannot be sized stays as it is.
    }
}

} // namespace sim
