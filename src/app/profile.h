#pragma once

#include "panel/panel.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace sim {

// Panel settings kept in a file for runs without an operator: one `control=value` a line, the keys being
// the names of the controls an operator sets (options, the check box, text and combo boxes). Options and
// the check box take true or false (1 or 0); a box takes its text, which may be put in double quotes to
// keep blanks at its ends. Blank lines, lines that begin with ';' or '#' and section headers are skipped.
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
    std::optional<QString> applyTo(Panel& panel) const;

    // The panel's values of every key as a profile.
    static QString print(const Panel& panel);

private:
    std::optional<QString> check(const Panel& panel) const;
    QString where(const Entry& entry) const;
    QString file_;
    std::vector<Entry> entries_;
};

} // namespace sim
