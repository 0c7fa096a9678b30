#pragma once

#include "app/frm_simulator.h"

#include <functional>
#include <memory>
#include <optional>

namespace sim {

// Whether a run had a failure: one the log tells of as it writes it (a "Connection Fail", "Listen Fail",
// "Send Fail" or "Receive Fail" line, an error report), a message box, or something the run itself could
// not do. What comes once the run's Close has been pressed does not count: the listening side reports a
// lost link a second after its Close, and that is no failure of the run.
class RunVerdict {
public:
    void failure(const QString& why) {
        if (!ending_ && !failed_) {
            failed_ = true;
            why_ = why;
        }
    }
    void ending() { ending_ = true; }

    int exitStatus() const { return failed_ ? 1 : 0; }
    // The run's first failure.
    const QString& why() const { return why_; }

private:
    bool failed_ = false;
    bool ending_ = false;
    QString why_;
};

// The form's dialogs, with each message box told to the verdict (and to `opened`) as it opens.
class WatchedDialogs : public Dialogs {
public:
    WatchedDialogs(Dialogs& inner, RunVerdict& verdict) : inner_(inner), verdict_(verdict) {}
    void messageBox(const QString& text, int style, const std::optional<QString>& title) override {
        verdict_.failure(text);
        if (opened) {
            opened(text);
        }
        inner_.messageBox(text, style, title);
    }
    std::function<void(const QString& text)> opened;
    std::optional<QString> showSave(const SaveDialogRequest& request) override {
        return inner_.showSave(request);
    }

private:
    Dialogs& inner_;
    RunVerdict& verdict_;
};

// Plays the operator of a run that has none. It presses the button that starts the profile's run, ends
// the run after its duration or when asked (a signal) as the operator would, and closes the program once
// the start button's handler has returned: on the listening side that handler stays in its loop until the
// Close and runs its closing steps after it. Each failure the log tells of goes to the verdict, and each row
// the list gets to `row`.
class AutomatedRun {
public:
    struct Plan {
        bool start = false;
        std::optional<int> durationMs;
    };
    struct Output {
        std::function<void(const QString&)> row;  // each row of the list, as it is added
        std::function<void(const QString&)> note; // what the run itself could not do
        // Each send with an expectation, once decided; `line` tells a failure (empty when it passed).
        std::function<void(const JudgedSends::Verdict&, const QString& line)> judged;
    };

    AutomatedRun(FrmSimulator& form, EventPump& pump, TimerFactory& timers, RunVerdict& verdict, Plan plan,
                 Output output);
    ~AutomatedRun();
    AutomatedRun(const AutomatedRun&) = delete;
    AutomatedRun& operator=(const AutomatedRun&) = delete;

    // Posts the start press and starts counting the duration; the event loop then runs them.
    void begin();
    // The orderly end. Asked for again while it is under way, the program closes at once.
    void end();

    bool closed() const { return closed_; }

    // How long the start button's handler may go on after the end was pressed before the program closes
    // all the same.
    static constexpr int kGraceMs = 5000;
    // How often the end is tried again while a connect or listen wait runs.
    static constexpr int kRetryMs = 10;

private:
    enum class Start { NotPressed, Running, Returned };
    Button& startButton() const;
    void pressStart();
    void pressEnd();
    void close();

    FrmSimulator& form_;
    EventPump& pump_;
    RunVerdict& verdict_;
    Plan plan_;
    Output output_;
    std::unique_ptr<PlatformTimer> duration_;
    std::unique_ptr<PlatformTimer> retry_;
    std::unique_ptr<PlatformTimer> grace_;
    Start start_ = Start::NotPressed;
    bool ending_ = false;
    bool endPressed_ = false;
    std::optional<int> judgedUpTo_; // the sends whose replies the end waits for
    bool closed_ = false;
};

// A row as one line of text: its control characters become their visible pictures (U+2400 and on).
QString printableRow(const QString& row);

} // namespace sim
