#include "logging/log_level.h"

#include "panel/texts.h"

#include <QDir>
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
        const QString path = QDir::fromNativeSeparators(panel_.txt_Logfile.text());
        QFile file(QDir::isAbsolutePath(path) ? path : QDir(workingFolder_).filePath(path));
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.close();
        }
    } catch (const RuntimeFailure&) {
        // Cancel counts as a failure here, and every failure leaves silently.
    }
}

} // namespace sim
