#pragma once

#include "support/files.h"
#include "support/sim_form.h"

namespace sim::test {

using Steps = std::vector<const char*>; // what the operator sets up, as DeviceAsServer::setUp reads it
using Times = std::vector<Ms>;

// The form pointed at a device on 127.0.0.1:4000 of the simulated network.
struct DeviceAsServer : SimForm {
    explicit DeviceAsServer(Answer answer = Answer::Accept) {
        sim.network.deviceListens(QStringLiteral("127.0.0.1"), 4000, answer);
        pointAtLoopback(p, 4000);
    }

    // The link the device holds; a test whose link never came fails here instead of crashing.
    std::shared_ptr<DeviceLink> device() const {
        const auto link = sim.network.lastLink();
        return link ? link : throw std::logic_error("the device holds no link");
    }
    QStringList rows() const { return p.List1.rows(); }
    // Each message box shown, as "text [title style]".
    QStringList shown() const {
        QStringList out;
        for (const auto& d : sim.dialogs.shown) {
            out << QStringLiteral("%1 [%2 %3]").arg(d.text, d.title).arg(d.style);
        }
        return out;
    }
    // The names of those of the controls a link locks and unlocks that are enabled.
    std::string unlocked() const {
        const Control* const locked[] = {&p.Frame1,  &p.Frame2,    &p.txt_Logfile, &p.Frame10,
                                         &p.chkMode, &p.Cmd_Start, &p.Cmd_Send,    &p.cmd_End};
        QStringList on;
        for (const Control* c : locked) {
            if (c->enabled()) {
                on << c->name();
            }
        }
        return on.join(QLatin1Char(' ')).toStdString();
    }
    QString dailyLogPath() const {
        return sim.folders.workingFolder() + QStringLiteral("/log/STAT_20261122.log");
    }
    // Sets the panel up step by step: "name" clicks the control, "name=text" writes the text of a box.
    void setUp(const Steps& steps) {
        for (const QString step : steps) {
            const QString name = step.section(QLatin1Char('='), 0, 0);
            Control& c = **std::find_if(p.controls().begin(), p.controls().end(),
                                        [&](const Control* c) { return c->name() == name; });
            if (!step.contains(QLatin1Char('='))) {
                op.click(c);
            } else if (auto* box = dynamic_cast<TextBox*>(&c)) {
                box->setText(step.section(QLatin1Char('='), 1));
            } else {
                dynamic_cast<ComboBox&>(c).setText(step.section(QLatin1Char('='), 1));
            }
        }
    }
    void at(Ms at, std::function<void()> fn) { sim.scheduler.at(at, std::move(fn)); }
    void runUntil(Ms at) { sim.scheduler.runUntil(at); }
    void clickAt(Ms at, Control& control) {
        sim.scheduler.runUntil(at);
        op.click(control);
    }
    Times sendTimes() const {
        Times times;
        for (const auto& [at, bytes] : sim.network.socketNamed(QStringLiteral("Client_Socket"))->sent) {
            times.push_back(at);
        }
        return times;
    }
};

// The dial-out side set up for a repeat run: "Send Input Data && Receive" with Repeat, a gap in
// seconds, a count and a payload, as an operator types them.
struct RepeatRun : DeviceAsServer {
    explicit RepeatRun(const char* gap = "1", const char* count = "Endless", const char* payload = "tick") {
        sim.network.latency = 0; // a connect is accepted at the moment it is made
        op.click(p.opt_Send_Only);
        op.edited(p.com_Timegap, QString::fromLatin1(gap));
        op.edited(p.com_Count, QString::fromLatin1(count));
        p.txt_Data_Input.setText(QString::fromLatin1(payload));
    }
};

} // namespace sim::test
