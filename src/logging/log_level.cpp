#include "logging/log_level.h"

#include "panel/texts.h"

#include <QFile>

namespace sim {

void LogLevel::setRow(bool on) {
    panel_.Label7.setEnabled(on);
    panel_.txt_Logfile.setEnabled(on);
    panel_.cmd_browser.setEnabled(on);
}

void LogLevel::cmd_browser_Click() {
    SaveDialog& dlg = panel_.ComDlg;
    try {
        dlg.CancelError = true;
        dlg.Flags = 2;
        dlg.Filter = QLatin1String(texts::kLogFileFilter);
        dlg.FilterIndex = 2;
        dlg.ShowSave();
        panel_.txt_Logfile.setText(dlg.FileName);
        log_.flushFiles(); // lines still on their way to the chosen file go before it is emptied
        QFile file(log_.resolve(panel_.txt_Logfile.text()));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.close();
        }
    } catch (const RuntimeFailure&) {
        // Cancel counts as a failure here, and every failure leaves silently.
    }
}

} // namespace sim
