#include "app/automated_run.h"

#include "logging/record.h"
#include "panel/texts.h"

#include <QRegularExpression>
#include <QTime>

namespace sim {

bool RunVerdict::isFailure(const QString& row) {
    // A status line: the stamp, then its tail. A record's first row carries more behind the stamp, and a
    // row of its payload never starts with one, so what the device sends cannot pass for a failure.
    static const QRegularExpression stamp(QStringLiteral(R"(^\[\d\d:\d\d:\d\d\.\d\d\d\] : )"));
    if (stamp.match(row).hasMatch()) {
        const QString tail = row.mid(13);
        const auto failureTail = [](int direction) {
            QByteArray line;
            record::appendFailureLine(line, makeStamp(0, 0, 0, 0), direction, false);
            return QString::fromLatin1(line.mid(13));
        };
        static const QString sendFail = failureTail(0);
        static const QString receiveFail = failureTail(1);
        return tail == QLatin1String(texts::kConnectionFail) || tail == QLatin1String(texts::kListenFail) ||
               tail == sendFail || tail == receiveFail;
    }
    // The list's line of an error report: the time, then the report's row.
    const QString behind = row.mid(8);
    return QTime::fromString(row.left(8), QStringLiteral("HH:mm:ss")).isValid() &&
           (behind == QLatin1String(texts::kClientSocketErrorRow) ||
            behind == QLatin1String(texts::kServerSocketErrorRow));
}

void RunVerdict::row(const QString& row) {
    if (isFailure(row)) {
        noteFailure();
    }
}

void RunVerdict::messageBox() {
    noteFailure();
}

void RunVerdict::noteFailure() {
    if (!ending_) {
        failed_ = true;
    }
}

AutomatedRun::AutomatedRun(FrmSimulator& form, EventPump& pump, TimerFactory& timers, RunVerdict& verdict,
                           Plan plan, Output output)
    : form_(form), pump_(pump), verdict_(verdict), plan_(plan), output_(std::move(output)),
      duration_(timers.createTimer([this] {
          duration_->stop();
          end();
      })),
      retry_(timers.createTimer([this] {
          retry_->stop();
          pressEnd();
      })),
      grace_(timers.createTimer([this] {
          grace_->stop();
          close();
      })) {
    form_.panel().List1.rowAdded = [this](const QString& row) {
        verdict_.row(row);
        if (output_.row) {
            output_.row(row);
        }
    };
}

AutomatedRun::~AutomatedRun() {
    form_.panel().List1.rowAdded = nullptr;
}

void AutomatedRun::begin() {
    if (plan_.start) {
        pump_.post([this] { pressStart(); });
    }
    if (plan_.durationMs) {
        duration_->start(*plan_.durationMs);
    }
}

Button& AutomatedRun::startButton() const {
    Panel& p = form_.panel();
    if (p.chkMode.value() == 1) {
        return p.cmdSendStart;
    }
    return p.Opt_Cnn2.value() ? p.cmd_CSend : p.Cmd_Start;
}

void AutomatedRun::pressStart() {
    if (ending_ || closed_) {
        return; // ended before it began
    }
    Button& button = startButton();
    if (!button.takesInput()) {
        if (output_.note) {
            output_.note(
                QStringLiteral("--start: the button \"%1\" cannot be pressed on this panel")
                    .arg(QString(button.caption()).replace(QStringLiteral("&&"), QStringLiteral("&"))));
        }
        verdict_.fault();
        return;
    }
    start_ = Start::Running;
    form_.op().click(button);
    start_ = Start::Returned;
    if (endPressed_) {
        close();
    }
}

void AutomatedRun::end() {
    if (closed_) {
        return;
    }
    if (ending_) {
        close(); // asked again: the operator will not wait
        return;
    }
    ending_ = true;
    duration_->stop();
    // As an event of the form: it waits while a message box is open, as a click would.
    pump_.post([this] { pressEnd(); });
}

void AutomatedRun::pressEnd() {
    if (closed_ || endPressed_) {
        return;
    }
    if (form_.link().waits().running()) {
        // A connect or listen wait ends within a second; Close during one would cut it short.
        retry_->start(kRetryMs);
        return;
    }
    Panel& p = form_.panel();
    Operator& op = form_.op();
    verdict_.ending();
    op.click(p.cmd_End); // a button that cannot be pressed ignores the click, as it would the operator's
    if (p.cmdSendStart.caption() == QLatin1String(texts::kEndCaption)) {
        op.click(p.cmdSendStart); // a program run is ended by its own button
    }
    endPressed_ = true;
    if (start_ == Start::Running) {
        grace_->start(kGraceMs); // closes when the start button's handler returns, at the latest then
    } else {
        close();
    }
}

void AutomatedRun::close() {
    if (closed_) {
        return;
    }
    closed_ = true;
    verdict_.ending();
    duration_->stop();
    retry_->stop();
    grace_->stop();
    form_.op().closeWindow();
}

QString printableRow(const QString& row) {
    QString out = row;
    for (QChar& ch : out) {
        // The control characters of a payload as their pictures, so each row stays one line.
        if (ch.unicode() < 32) {
            ch = QChar(static_cast<char16_t>(0x2400 + ch.unicode()));
        } else if (ch.unicode() == 127) {
            ch = QChar(static_cast<char16_t>(0x2421));
        }
    }
    return out;
}

} // namespace sim
