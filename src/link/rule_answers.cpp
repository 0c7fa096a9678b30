#include "link/rule_answers.h"

#include "panel/texts.h"

namespace sim {

using Action = answers::AnswerStream::Action;

RuleAnswers::RuleAnswers(Panel& panel, LogBook& log, TimerFactory& timers, PanelAnswer panelAnswer)
    : panel_(panel), log_(log), panelAnswer_(std::move(panelAnswer)),
      wait_(timers.createTimer([this] { panel_.dispatch([this] { waitRanOut(); }); })) {}

void RuleAnswers::configure(answers::AnswerSettings settings) {
    settings_ = std::move(settings);
    stream_.clear();
    wait_->stop();
}

bool RuleAnswers::linkGone() const {
    return socket_ == nullptr || socket_->linkNumber() != link_ ||
           socket_->state() != socket_state::kConnected;
}

void RuleAnswers::arrival(Socket& socket, const Bytes& received, bool closing) {
    if (&socket != socket_ || socket.linkNumber() != link_) {
        stream_.clear(); // what an ended link left waiting is dropped unanswered
        socket_ = &socket;
        link_ = socket.linkNumber();
    }
    const auto fed = stream_.feed(QByteArrayView(reinterpret_cast<const char*>(received.data()),
                                                 static_cast<qsizetype>(received.size())));
    if (fed.overflow) {
        log_.statusLine(log_.stamp(), texts::kAnswerOverflow, Filed::AtListPlusFile);
    }
    act(socket, fed.actions);
    if (closing) {
        act(socket, stream_.expire());
    }
    // The wait starts over with every arrival.
    if (stream_.holding()) {
        wait_->start(settings_.waitMs);
    } else {
        wait_->stop();
    }
}

void RuleAnswers::waitRanOut() {
    wait_->stop();
    if (linkGone() || !(panel_.opt_Send_recv.value() || panel_.opt_Send_input.value())) {
        stream_.clear();
        return;
    }
    // The answer of the last arrival, sent late.
    act(*socket_, stream_.expire());
}

void RuleAnswers::act(Socket& socket, const std::vector<Action>& actions) {
    for (const Action& action : actions) {
        const Bytes bytes(action.bytes.begin(), action.bytes.end());
        switch (action.kind) {
        case Action::Kind::Otherwise:
            if (settings_.otherwisePanel) {
                panelAnswer_(socket, bytes);
            }
            break;
        case Action::Kind::FailedReply:
            log_.TrafficLogFailure(Direction::Sent);
            break;
        case Action::Kind::Reply:
            if (bytes.empty()) {
                break; // a rule that takes its message and answers nothing
            }
            try {
                socket.sendAnswer(bytes);
                log_.TrafficLogOfRule(bytes, action.rule);
            } catch (const RuntimeFailure&) {
                log_.TrafficLogFailure(Direction::Sent);
            }
            break;
        }
    }
}

} // namespace sim
