#pragma once

#include "answers/answer_rules.h"
#include "logging/log_book.h"
#include "panel/panel.h"

#include <functional>
#include <memory>

namespace sim {

// Answers by rule, at the answer step of an arrival. The bytes no rule has taken yet wait with the link
// they came on; the wait for the rest of a message runs on a timer of its own, and what waits is dropped
// unanswered once that link has ended.
class RuleAnswers {
public:
    // The panel's own answer, for bytes no rule takes.
    using PanelAnswer = std::function<void(Socket&, const Bytes&)>;

    RuleAnswers(Panel& panel, LogBook& log, TimerFactory& timers, PanelAnswer panelAnswer);

    void configure(answers::AnswerSettings settings);
    bool on() const { return !settings_.rules.empty(); }

    // The answers to an arrival on `socket`. `closing`: the link closes after its answer, so nothing
    // may be kept waiting for more.
    void arrival(Socket& socket, const Bytes& received, bool closing);

private:
    void waitRanOut();
    bool linkGone() const;
    void act(Socket& socket, const std::vector<answers::AnswerStream::Action>& actions);

    Panel& panel_;
    LogBook& log_;
    PanelAnswer panelAnswer_;
    answers::AnswerSettings settings_;
    answers::AnswerStream stream_{settings_.rules};
    std::unique_ptr<PlatformTimer> wait_;
    Socket* socket_ = nullptr; // the link the waiting bytes came on
    unsigned link_ = 0;
};

} // namespace sim
