#pragma once

#include "app/automated_run.h"
#include "app/frm_simulator.h"
#include "outputs/junit_report.h"
#include "outputs/run_records.h"
#include "platform/output_file.h"

#include <functional>
#include <memory>

namespace sim {

// The outputs a run without an operator may be asked for besides its logs: the records (JSON Lines, as
// the run goes) and the test report (JUnit XML, when it ends). Both files are opened before the run
// begins and written through the log files' writer. A write that fails is told once on `note`, ends
// that output and fails the run.
class RunOutputs {
public:
    struct Files {
        QString records; // "-" for standard output; empty for none
        QString report;
        QString suite; // the report's test suite
    };
    RunOutputs(FrmSimulator& form, const Platform& platform, Files files,
               std::function<void(const QString&)> note);
    ~RunOutputs();
    RunOutputs(const RunOutputs&) = delete;
    RunOutputs& operator=(const RunOutputs&) = delete;

    // Opens the files and starts hearing the form; what cannot be opened, if anything.
    std::optional<QString> open();
    bool any() const { return !files_.records.isEmpty() || !files_.report.isEmpty(); }

    void judged(const JudgedSends::Verdict& verdict, const QString& line);
    // The message boxes of `dialogs` go to the records, until this is gone.
    void hearBoxes(WatchedDialogs& dialogs);

    // The run has ended with `status`: the report is written and every output has reached its file.
    // The run's exit status, failed if an output could not be written.
    int finish(int status, const QString& why, const QString& summary);

private:
    void messageBox(const QString& text);
    std::unique_ptr<OutputFile> openFile(const QString& option, const QString& path, QString* error);

    FrmSimulator& form_;
    FileAppender& appender_;
    Clock& clock_;
    Files files_;
    std::function<void(const QString&)> note_;
    std::unique_ptr<OutputFile> recordsFile_;
    std::unique_ptr<OutputFile> reportFile_;
    std::unique_ptr<RunRecords> records_;
    std::unique_ptr<JunitReport> report_;
    qint64 startedUs_ = 0;
    WatchedDialogs* dialogs_ = nullptr;
};

} // namespace sim
