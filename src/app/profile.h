#pragma once

#include "answers/answer_rules.h"
#include "answers/expectations.h"
#include "app/frm_simulator.h"
#include "panel/panel.h"
#include "tls/tls_settings.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace sim {

// Panel settings kept in a file for runs without an operator: one `control=value` a line, the keys being
// the names of the controls an operator sets (options, the check box, text and combo boxes). Options and
// the check box take true or false (1 or 0); a box takes its text, which may be put in double quotes to
// keep blanks at its ends. Blank lines, lines that begin with ';' or '#' and section headers are skipped.
// The answer rules' keys (answer1.when ... answer.wait) are no controls: they set how the link answers.
class Profile {
public:
    struct Entry {
        QString key;
        QString value;
        int line = 0;
    };

    // Reads a profile file. Nothing, with `error` naming the file and the line, when it cannot be used.
    static std::optional<Profile> load(const QString& path, QString* error);
    // The same for text already read; `file` names it in messages.
    static std::optional<Profile> parse(const QString& text, const QString& file, QString* error);

    // Writes the settings to the form as the program writes a control (Value of an option or the check
    // box, Text of a box), so their Click and Change handlers run. The order is fixed, whatever the
    // order of the lines: the role, the other options and the check box from the top of the panel down,
    // then the texts. Every text is first put to its box's own key filter, character by character, as if
    // an operator typed it; one it refuses makes the profile bad before any text is written. Returns what
    // is wrong, or nothing.
    //
    // Then the keys that are no controls are read, after the options (the answer rules and expectations
    // in the data format the panel has now, TLS for the role it plays) and before the texts, into
    // `extras` when given.
    struct Extras {
        answers::AnswerSettings answers;
        std::unique_ptr<answers::ExpectationJudge> judge;
        std::optional<tls::Settings> tls;
    };
    std::optional<QString> applyTo(Panel& panel, Extras* extras = nullptr) const;
    // The same on the form's panel, its answer rules handed to the form's link.
    std::optional<QString> applyTo(FrmSimulator& form) const;

    // The panel's values of every key as a profile, with the answer rules `rules` set (none: their keys
    // as comments).
    static QString print(const Panel& panel, const Profile* rules = nullptr);

private:
    std::optional<QString> check(const Panel& panel) const;
    std::optional<QString> readAnswers(const Panel& panel, answers::AnswerSettings& out) const;
    std::optional<QString> readExpectations(const Panel& panel,
                                            std::unique_ptr<answers::ExpectationJudge>& out) const;
    std::optional<QString> readTls(const Panel& panel, std::optional<tls::Settings>& out) const;
    QString where(const Entry& entry) const;
    QString file_;
    std::vector<Entry> entries_;
};

} // namespace sim
