#include "app/automated_run.h"

#include "panel/texts.h"

namespace sim {

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
    form_.log().failed = [this](Failure, const QString& text) { verdict_.failure(text); };
    // The report's row names no reason; a TLS failure's reason goes to standard error too.
    form_.errors().reported = [this](int number, const QString& description) {
        if (number == socket_error::kTlsFailed && output_.note) {
            output_.note(description);
        }
    };
    form_.panel().List1.rowAdded = output_.row;
    form_.judged().judged = [this](const JudgedSends::Verdict& v) {
        if (v.expected == nullptr) {
            return;
        }
        const bool hex = form_.panel().opt_HexA.value();
        const QString line =
            v.passed ? QString()
                     : answers::describeFailure(v, hex ? answers::Format::Hex : answers::Format::Ascii);
        if (!v.passed && output_.note) {
            output_.note(line);
        }
        if (output_.judged) {
            output_.judged(v, line);
        }
    };
}

AutomatedRun::~AutomatedRun() {
    form_.errors().reported = nullptr;
    form_.judged().judged = nullptr;
    form_.log().failed = nullptr;
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
        const QString why =
            QStringLiteral("--start: the button \"%1\" cannot be pressed on this panel")
                .arg(QString(button.caption()).replace(QStringLiteral("&&"), QStringLiteral("&")));
        if (output_.note) {
            output_.note(why);
        }
        verdict_.failure(why);
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
    if (!judgedUpTo_) {
        judgedUpTo_ = form_.judged().sends();
    }
    // A connect or listen wait ends within a second; Close during one would cut it short. The replies to
    // the sends made before the end was asked for get their time (expect.within at most).
    if (form_.link().waits().running() || form_.judged().waitsFor(*judgedUpTo_)) {
        retry_->start(kRetryMs);
        return;
    }
    Panel& p = form_.panel();
    Operator& op = form_.op();
    form_.judged().endOfRun(); // the sends made while the end waited are cut off
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
    form_.judged().endOfRun();
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
