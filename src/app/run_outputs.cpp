#include "app/run_outputs.h"

#include <csignal>

namespace sim {

RunOutputs::RunOutputs(FrmSimulator& form, const Platform& platform, Files files,
                       std::function<void(const QString&)> note)
    : form_(form), appender_(platform.files), clock_(platform.clock), files_(std::move(files)),
      note_(std::move(note)) {}

RunOutputs::~RunOutputs() {
    form_.log().heard = nullptr;
    if (dialogs_ != nullptr) {
        dialogs_->opened = nullptr;
    }
}

void RunOutputs::hearBoxes(WatchedDialogs& dialogs) {
    dialogs_ = &dialogs;
    dialogs.opened = [this](const QString& text) { messageBox(text); };
}

std::unique_ptr<OutputFile> RunOutputs::openFile(const QString& option, const QString& path, QString* error) {
    QString why;
    auto file = OutputFile::open(path, &why);
    if (!file) {
        *error = QStringLiteral("%1 %2: cannot be written: %3").arg(option, path, why);
        return nullptr;
    }
    file->onFailure = [this, option, path](const QString& reason) {
        note_(QStringLiteral("%1 %2: a write failed (%3); nothing more is written to it")
                  .arg(option, path, reason));
    };
    return file;
}

std::optional<QString> RunOutputs::open() {
    if (!any()) {
        return std::nullopt;
    }
    QString error;
    if (!files_.records.isEmpty()) {
        recordsFile_ = openFile(QStringLiteral("--records"), files_.records, &error);
        if (!recordsFile_) {
            return error;
        }
        // A reader that goes away (`--records - | head`) fails a write instead of ending the program.
        std::signal(SIGPIPE, SIG_IGN);
        records_ = std::make_unique<RunRecords>(*recordsFile_, appender_, clock_, form_.judged());
        form_.log().heard = [this](const Heard& heard) { records_->heard(heard); };
    }
    if (!files_.report.isEmpty()) {
        reportFile_ = openFile(QStringLiteral("--report"), files_.report, &error);
        if (!reportFile_) {
            return error;
        }
        report_ =
            std::make_unique<JunitReport>(files_.suite, QDateTime(clock_.localDate(), clock_.localTime()));
    }
    // Reply times are kept for the outputs even without an expectation.
    if (form_.judged().judge() == nullptr) {
        form_.judged().configure(std::make_unique<answers::ExpectationJudge>(
            std::nullopt, std::array<std::optional<answers::Expectation>, 4>{}, answers::kDefaultWithinMs));
    }
    startedUs_ = clock_.monotonicMicroseconds();
    return std::nullopt;
}

void RunOutputs::judged(const JudgedSends::Verdict& verdict, const QString& line) {
    if (report_ && verdict.expected != nullptr) {
        report_->judged(verdict, line);
    }
}

void RunOutputs::messageBox(const QString& text) {
    if (records_) {
        records_->messageBox(text);
    }
}

int RunOutputs::finish(int status, const QString& why, const QString& summary) {
    appender_.flush();
    QString failed = why;
    for (const auto* file : {recordsFile_.get(), reportFile_.get()}) {
        if (file != nullptr && file->failed()) {
            status = 1;
            failed = failed.isEmpty() ? QStringLiteral("%1 could not be written").arg(file->path()) : failed;
        }
    }
    if (report_) {
        JunitReport::End end;
        end.exitStatus = status;
        end.why = failed;
        end.summary = summary;
        end.seconds = static_cast<double>(clock_.monotonicMicroseconds() - startedUs_) / 1e6;
        appender_.write(*reportFile_, report_->xml(end));
        appender_.flush();
        status = reportFile_->failed() ? 1 : status;
    }
    return status;
}

} // namespace sim
