#include "app/profile.h"

#include "panel/texts.h"
#include "platform/code_page.h"
#include "platform/runtime_failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <functional>
#include <map>

namespace sim {
namespace {

// A profile is a few lines; anything much bigger is the wrong file.
constexpr qint64 kMaxBytes = qint64{1024} * 1024;

struct Key {
    const char* name;
    int index = -1;
};

// The order the settings are applied in. The role comes first, since its Click sets the repeat option;
// then the options from the top of the panel down: data format, action (it enables or clears the check
// box), repeat, the check box (it selects OneTime, so it follows the repeat row), log level and connection
// style. The texts come last, so that no Click empties one after it was written (the data format's
// does), in the order the panel shows them.
constexpr Key kOrder[] = {
    {"opt_Server"},
    {"opt_Client"},
    {"opt_Ascii"},
    {"opt_HexA"},
    {"opt_Receive_Only"},
    {"opt_Send_Only"},
    {"opt_Send_recv"},
    {"opt_Send_input"},
    {"opt_Repeat"},
    {"opt_OneTime"},
    {"chkMode"},
    {"opt_None"},
    {"opt_List"},
    {"opt_File"},
    {"Opt_List_File"},
    {"Opt_Cnn1"},
    {"Opt_Cnn2"},
    {"txt_Destination_IP", 0},
    {"txt_Destination_IP", 1},
    {"txt_Destination_IP", 2},
    {"txt_Destination_IP", 3},
    {"txt_Destination_Port"},
    {"txt_Port"},
    {"com_Timegap"},
    {"com_Count"},
    {"txtStep", 0},
    {"txtTimeGap", 0},
    {"txtStep", 1},
    {"txtTimeGap", 1},
    {"txtStep", 2},
    {"txtTimeGap", 2},
    {"txtStep", 3},
    {"txt_Logfile"},
    {"txt_Data_Input"},
};

QString keyText(const Key& key) {
    const QString name = QString::fromLatin1(key.name);
    return key.index < 0 ? name : QStringLiteral("%1(%2)").arg(name).arg(key.index);
}

bool isSwitch(const Control& c) {
    return c.kind() == Kind::OptionButton || c.kind() == Kind::CheckBox;
}

// The controls of the profile, in the order they are applied.
std::vector<std::pair<QString, Control*>> settable(const Panel& panel) {
    std::vector<std::pair<QString, Control*>> out;
    for (const Key& key : kOrder) {
        out.emplace_back(keyText(key), panel.find(key.name, key.index));
    }
    return out;
}

std::optional<bool> parseSwitch(const QString& value) {
    if (value.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || value == QLatin1String("1")) {
        return true;
    }
    if (value.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0 || value == QLatin1String("0")) {
        return false;
    }
    return std::nullopt;
}

bool switchValue(const Control& c) {
    return c.kind() == Kind::OptionButton ? static_cast<const OptionButton&>(c).value()
                                          : static_cast<const CheckBox&>(c).value() == 1;
}

QString textValue(const Control& c) {
    return c.kind() == Kind::TextBox ? static_cast<const TextBox&>(c).text()
                                     : static_cast<const ComboBox&>(c).text();
}

QString valueOf(const Control& c) {
    if (isSwitch(c)) {
        return switchValue(c) ? QStringLiteral("true") : QStringLiteral("false");
    }
    return textValue(c);
}

// A text is written in double quotes when it would otherwise lose its blanks or its own quotes.
QString quoted(const QString& text) {
    const bool inQuotes =
        text.size() >= 2 && text.startsWith(QLatin1Char('"')) && text.endsWith(QLatin1Char('"'));
    return text.trimmed() != text || inQuotes ? QLatin1Char('"') + text + QLatin1Char('"') : text;
}

// The first control character of a text: keys that make one (Tab, Enter, Backspace) type nothing into a
// box, so none can stand in a text of the panel's.
std::optional<qsizetype> controlCharacterAt(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i).unicode() < 32 || text.at(i).unicode() == 127) {
            return i;
        }
    }
    return std::nullopt;
}

// The first character the box's own key filter refuses, as it would from an operator's keyboard: each
// character goes through the KeyPress handler the form wired to the box, whichever that is. A handler
// that fails on a character has not taken it; a box with no filter takes every character.
std::optional<qsizetype> refusedByFilter(const TextBox& box, const QString& text) {
    for (qsizetype i = 0; box.KeyPress && i < text.size(); ++i) {
        Int16 code = code_page::ansiCode(text.at(i));
        try {
            box.KeyPress(code);
        } catch (const RuntimeFailure&) {
            code = 0;
        }
        if (code == 0) {
            return i;
        }
    }
    return std::nullopt;
}

// The key spelled the same but for the case of its letters, or nothing.
QString keyInOtherCase(const QString& key) {
    for (const Key& k : kOrder) {
        if (keyText(k).compare(key, Qt::CaseInsensitive) == 0) {
            return keyText(k);
        }
    }
    return {};
}

// The keys of the answer rules: answerN.when, answerN.match, answerN.send, answer.otherwise and
// answer.wait.
constexpr int kMostRules = 32;
constexpr int kLongestWaitMs = 600000;

struct AnswerKey {
    int rule = 0; // 0: a key of all the rules
    QString field;
};

std::optional<AnswerKey> answerKey(const QString& key) {
    static const QRegularExpression form(
        QStringLiteral("^answer(?:([1-9][0-9]{0,5})\\.(when|match|send)|\\.(otherwise|wait))$"));
    const auto m = form.match(key);
    if (!m.hasMatch()) {
        return std::nullopt;
    }
    return m.capturedLength(1) > 0 ? AnswerKey{m.captured(1).toInt(), m.captured(2)}
                                   : AnswerKey{0, m.captured(3)};
}

// The keys of the expectations: expect.when, expect.match, expect(i).when, expect(i).match and
// expect.within.
struct ExpectKey {
    int step = -1; // -1: every send's
    QString field;
};

std::optional<ExpectKey> expectKey(const QString& key) {
    static const QRegularExpression form(
        QStringLiteral("^expect(?:\\(([0-9]{1,6})\\))?\\.(when|match|within)$"));
    const auto m = form.match(key);
    if (!m.hasMatch() || (m.capturedLength(1) > 0 && m.captured(2) == QLatin1String("within"))) {
        return std::nullopt;
    }
    return ExpectKey{m.capturedLength(1) > 0 ? m.captured(1).toInt() : -1, m.captured(2)};
}

// The keys of TLS on the link.
bool tlsKey(const QString& key) {
    static const QStringList keys{"tls", "tls.certificate", "tls.key", "tls.ca", "tls.verify", "tls.name"};
    return keys.contains(key);
}

// The kind a `match` key names: exact when there is none.
answers::MatchKind kindOf(const Profile::Entry* match) {
    return match != nullptr ? answers::matchKindNamed(match->value).value_or(answers::MatchKind::Exact)
                            : answers::MatchKind::Exact;
}

} // namespace

std::optional<Profile> Profile::load(const QString& path, QString* error) {
    const QFileInfo info(path);
    QFile file(path);
    if (info.isDir()) {
        *error = QStringLiteral("%1: cannot be read: it is a folder").arg(path);
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: cannot be read: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.read(kMaxBytes + 1);
    if (bytes.size() > kMaxBytes) {
        *error = QStringLiteral("%1: is larger than 1 MiB, too large for a profile").arg(path);
        return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("%1: cannot be read: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    QStringDecoder utf8(QStringConverter::Utf8);
    const QString text = utf8(bytes);
    if (utf8.hasError()) {
        *error = QStringLiteral("%1: is not UTF-8 text").arg(path);
        return std::nullopt;
    }
    return parse(text, path, error);
}

std::optional<Profile> Profile::parse(const QString& text, const QString& file, QString* error) {
    Profile profile;
    profile.file_ = file;
    std::map<QString, int> seen;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const int number = static_cast<int>(i) + 1;
        QString line = lines.at(i);
        if (i == 0 && line.startsWith(QChar(0xFEFF))) {
            line.remove(0, 1);
        }
        const QString bare = line.trimmed();
        if (bare.isEmpty() || bare.startsWith(QLatin1Char(';')) || bare.startsWith(QLatin1Char('#')) ||
            (bare.startsWith(QLatin1Char('[')) && bare.endsWith(QLatin1Char(']')))) {
            continue;
        }
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        const QString key = line.left(eq).trimmed();
        if (eq < 0 || key.isEmpty()) {
            *error = QStringLiteral("%1:%2: '%3': a line reads control=value, such as opt_Client=true")
                         .arg(file)
                         .arg(number)
                         .arg(bare.left(40));
            return std::nullopt;
        }
        QString value = line.mid(eq + 1).trimmed();
        if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"'))) {
            value = value.mid(1, value.size() - 2);
        }
        if (const auto first = seen.find(key); first != seen.end()) {
            *error = QStringLiteral("%1:%2: %3: given twice, first on line %4")
                         .arg(file)
                         .arg(number)
                         .arg(key)
                         .arg(first->second);
            return std::nullopt;
        }
        seen.emplace(key, number);
        profile.entries_.push_back({key, value, number});
    }
    return profile;
}

QString Profile::where(const Entry& entry) const {
    return QStringLiteral("%1:%2: %3").arg(file_).arg(entry.line).arg(entry.key);
}

std::optional<QString> Profile::check(const Panel& panel) const {
    const auto controls = settable(panel);
    std::map<const Control*, const Entry*> trueOfGroup;
    for (const Entry& entry : entries_) {
        const auto it = std::find_if(controls.begin(), controls.end(),
                                     [&](const auto& c) { return c.first == entry.key; });
        if (answerKey(entry.key) || expectKey(entry.key) || tlsKey(entry.key)) {
            if (const auto at = controlCharacterAt(entry.value)) {
                return where(entry) +
                       QStringLiteral(
                           ": character %1 is a control character; write it as an escape such as \\r")
                           .arg(*at + 1);
            }
            continue;
        }
        if (it == controls.end()) {
            const QString meant = keyInOtherCase(entry.key);
            return where(entry) + (meant.isEmpty()
                                       ? QStringLiteral(": no such setting; --print-profile lists them all")
                                       : QStringLiteral(": no such setting; did you mean %1?").arg(meant));
        }
        const Control& control = *it->second;
        if (!isSwitch(control)) {
            if (const auto at = controlCharacterAt(entry.value)) {
                return where(entry) + QStringLiteral(": character %1 is a control character").arg(*at + 1);
            }
            continue;
        }
        const auto on = parseSwitch(entry.value);
        if (!on) {
            return where(entry) +
                   QStringLiteral(": '%1' is no value of an option; use true or false").arg(entry.value);
        }
        if (*on && control.kind() == Kind::OptionButton) {
            const auto [other, fresh] = trueOfGroup.emplace(control.holder(), &entry);
            if (!fresh) {
                return where(entry) +
                       QStringLiteral(": true, but %1 of the same group is true already (line %2); "
                                      "one option of a group can be")
                           .arg(other->second->key)
                           .arg(other->second->line);
            }
        }
    }
    return std::nullopt;
}

std::optional<QString> Profile::applyTo(Panel& panel, Extras* extras) const {
    if (auto problem = check(panel)) {
        return problem;
    }
    std::map<QString, const Entry*> byKey;
    for (const Entry& entry : entries_) {
        byKey.emplace(entry.key, &entry);
    }
    std::vector<std::pair<const Entry*, Control*>> named; // in the order they are applied
    for (const auto& [key, control] : settable(panel)) {
        if (const auto it = byKey.find(key); it != byKey.end()) {
            named.emplace_back(it->second, control);
        }
    }
    const auto holds = [](const Entry& entry, const Control& control) {
        return isSwitch(control) ? switchValue(control) == *parseSwitch(entry.value)
                                 : textValue(control) == entry.value;
    };
    // A write whose handlers undo an earlier setting makes a profile that cannot be meant as it reads.
    std::vector<std::pair<const Entry*, Control*>> written;
    const auto write = [&](const Entry& entry, Control* control,
                           const std::function<void()>& assign) -> std::optional<QString> {
        panel.dispatch(assign);
        written.emplace_back(&entry, control);
        for (const auto& [earlier, c] : written) {
            if (!holds(*earlier, *c)) {
                return where(*earlier) +
                       QStringLiteral(": %1 is undone by %2=%3 (line %4), which is applied after it")
                           .arg(quoted(earlier->value), entry.key, quoted(entry.value))
                           .arg(entry.line);
            }
        }
        return std::nullopt;
    };

    // Options and the check box, as the program writes their Value. An option written false would leave
    // its group with none selected, which no operator can do: only the true one is written, and a false
    // one must hold once its group's true one is.
    for (const auto& [entry, control] : named) {
        std::optional<QString> wrong;
        const bool on = isSwitch(*control) && *parseSwitch(entry->value);
        if (control->kind() == Kind::OptionButton && on) {
            wrong = write(*entry, control, [c = control] { static_cast<OptionButton*>(c)->setValue(true); });
        } else if (control->kind() == Kind::CheckBox) {
            wrong = write(*entry, control,
                          [c = control, on] { static_cast<CheckBox*>(c)->setValue(on ? 1 : 0); });
        }
        if (wrong) {
            return wrong;
        }
    }
    // The answer rules are read in the data format the options chose, before any text is written.
    Extras read;
    if (auto wrong = readAnswers(panel, read.answers)) {
        return wrong;
    }
    if (auto wrong = readExpectations(panel, read.judge)) {
        return wrong;
    }
    if (auto wrong = readTls(panel, read.tls)) {
        return wrong;
    }
    // Every text must pass its box's filter before any is written (check() refused control characters).
    for (const auto& [entry, control] : named) {
        if (control->kind() != Kind::TextBox) {
            continue;
        }
        if (const auto at = refusedByFilter(*static_cast<TextBox*>(control), entry->value)) {
            return where(*entry) + QStringLiteral(": the box refuses '%1' (character %2) from the keyboard")
                                       .arg(entry->value.at(*at))
                                       .arg(*at + 1);
        }
    }
    for (const auto& [entry, control] : named) {
        std::optional<QString> wrong;
        if (control->kind() == Kind::TextBox) {
            wrong = write(*entry, control,
                          [c = control, &text = entry->value] { static_cast<TextBox*>(c)->setText(text); });
        } else if (control->kind() == Kind::ComboBox) {
            // The text of an entry of the list chooses that entry, as typing or picking it does.
            wrong = write(*entry, control, [c = static_cast<ComboBox*>(control), &text = entry->value] {
                const auto index = c->entries().indexOf(text);
                if (index >= 0) {
                    c->setListIndex(static_cast<int>(index));
                } else {
                    c->setText(text);
                }
            });
        }
        if (wrong) {
            return wrong;
        }
    }
    for (const auto& [entry, control] : named) {
        if (!holds(*entry, *control)) {
            return where(*entry) + QStringLiteral(": false, but no other option of its group is true, so it "
                                                  "stays selected");
        }
    }
    if (extras != nullptr) {
        *extras = std::move(read);
    }
    return std::nullopt;
}

std::optional<QString> Profile::applyTo(FrmSimulator& form) const {
    Extras extras;
    if (auto wrong = applyTo(form.panel(), &extras)) {
        return wrong;
    }
    form.link().rules().configure(std::move(extras.answers));
    form.judged().configure(std::move(extras.judge));
    if (extras.tls) {
        // The dialling socket and, with a certificate, the listening one take TLS for their roles.
        QString why;
        std::shared_ptr<const tls::Context> dialling =
            tls::Context::make(*extras.tls, tls::Role::Dialling, &why);
        std::shared_ptr<const tls::Context> listening;
        if (dialling && !extras.tls->certificate.isEmpty()) {
            listening = tls::Context::make(*extras.tls, tls::Role::Listening, &why);
        }
        if (!dialling || (!extras.tls->certificate.isEmpty() && !listening)) {
            return QStringLiteral("%1: tls: %2").arg(file_, why);
        }
        form.panel().Client_Socket.setTls(dialling);
        form.panel().Server_Socket.setTls(listening);
        form.panel().frmSimulator.setCaption(QLatin1String(texts::kFormCaption) + QStringLiteral(" [TLS]"));
    }
    return std::nullopt;
}

std::optional<QString> Profile::readExpectations(const Panel& panel,
                                                 std::unique_ptr<answers::ExpectationJudge>& out) const {
    struct Texts {
        const Entry* when = nullptr;
        const Entry* match = nullptr;
    };
    std::map<int, Texts> byStep; // -1: every send's
    int withinMs = answers::kDefaultWithinMs;
    for (const Entry& entry : entries_) {
        const auto key = expectKey(entry.key);
        if (!key) {
            continue;
        }
        if (key->field == QLatin1String("within")) {
            bool number = false;
            withinMs = entry.value.toInt(&number);
            if (!number || withinMs < 1 || withinMs > kLongestWaitMs) {
                return where(entry) +
                       QStringLiteral(": '%1' is no time; give whole milliseconds from 1 to %2")
                           .arg(entry.value)
                           .arg(kLongestWaitMs);
            }
            continue;
        }
        if (key->step > 3) {
            return where(entry) + QStringLiteral(": the program's steps are numbered 0 to 3");
        }
        if (key->step >= 0 && panel.chkMode.value() == 0) {
            return where(entry) + QStringLiteral(": a step's expectation needs program mode (chkMode=true)");
        }
        if (key->field == QLatin1String("match") && !answers::matchKindNamed(entry.value)) {
            return where(entry) +
                   QStringLiteral(": '%1' is no kind of match; use exact, starts, contains or regex")
                       .arg(entry.value);
        }
        (key->field == QLatin1String("when") ? byStep[key->step].when : byStep[key->step].match) = &entry;
    }
    const auto format = panel.opt_HexA.value() ? answers::Format::Hex : answers::Format::Ascii;
    std::optional<answers::Expectation> every;
    std::array<std::optional<answers::Expectation>, 4> steps;
    for (const auto& [step, t] : byStep) {
        if (t.when == nullptr) {
            return where(*t.match) + QStringLiteral(": a match needs the pattern it is for");
        }
        const auto kind = kindOf(t.match);
        QString why;
        auto rule = answers::Rule::make(format, kind, t.when->value, QString(), &why);
        if (!rule) {
            return where(*t.when) + QStringLiteral(": ") + why;
        }
        (step < 0 ? every : steps[static_cast<std::size_t>(step)]) =
            answers::Expectation{std::move(*rule), t.when->value, kind};
    }
    if (every || std::any_of(steps.begin(), steps.end(), [](const auto& e) { return e.has_value(); })) {
        out = std::make_unique<answers::ExpectationJudge>(std::move(every), std::move(steps), withinMs);
    }
    return std::nullopt;
}

std::optional<QString> Profile::readTls(const Panel& panel, std::optional<tls::Settings>& out) const {
    std::map<QString, const Entry*> set;
    for (const Entry& entry : entries_) {
        if (tlsKey(entry.key)) {
            set.emplace(entry.key, &entry);
        }
    }
    const auto at = [&](const char* key) {
        const auto it = set.find(QLatin1String(key));
        return it != set.end() ? it->second : nullptr;
    };
    for (const char* key : {"tls", "tls.verify"}) {
        if (const Entry* e = at(key); e != nullptr && !parseSwitch(e->value)) {
            return where(*e) + QStringLiteral(": '%1' is neither true nor false").arg(e->value);
        }
    }
    const Entry* on = at("tls");
    if (on == nullptr || !*parseSwitch(on->value)) {
        if (const auto other =
                std::find_if(set.begin(), set.end(), [](const auto& k) { return k.first != "tls"; });
            other != set.end()) {
            return where(*other->second) + QStringLiteral(": set, but tls is not true");
        }
        return std::nullopt;
    }
    // A file is found from the profile's folder, as the profile names it.
    const auto path = [&](const char* key) {
        const Entry* e = at(key);
        return e == nullptr ? QString() : QFileInfo(QFileInfo(file_).dir(), e->value).filePath();
    };
    tls::Settings settings;
    settings.certificate = path("tls.certificate");
    settings.key = path("tls.key");
    settings.ca = path("tls.ca");
    settings.verify = at("tls.verify") == nullptr || *parseSwitch(at("tls.verify")->value);
    settings.name = at("tls.name") != nullptr ? at("tls.name")->value : QString();
    if (const auto problem = tls::check(settings, panel.opt_Client.value())) {
        const Entry* e = at(problem->key.toLatin1().constData());
        return (e != nullptr ? where(*e)
                             : QStringLiteral("%1:%2: %3").arg(file_).arg(on->line).arg(problem->key)) +
               QStringLiteral(": ") + problem->why;
    }
    out = std::move(settings);
    return std::nullopt;
}

std::optional<QString> Profile::readAnswers(const Panel& panel, answers::AnswerSettings& out) const {
    struct RuleEntries {
        const Entry* when = nullptr;
        const Entry* match = nullptr;
        const Entry* send = nullptr;
    };
    std::map<int, RuleEntries> rules;
    for (const Entry& entry : entries_) {
        const auto key = answerKey(entry.key);
        if (!key) {
            continue;
        }
        if (key->rule > kMostRules) {
            return where(entry) +
                   QStringLiteral(": more than %1 rules; answer1 to answer%1 can be set").arg(kMostRules);
        }
        if (key->field == QLatin1String("match") && !answers::matchKindNamed(entry.value)) {
            return where(entry) +
                   QStringLiteral(": '%1' is no kind of match; use exact, starts, contains or regex")
                       .arg(entry.value);
        }
        if (key->rule > 0) {
            RuleEntries& r = rules[key->rule];
            (key->field == QLatin1String("when")    ? r.when
             : key->field == QLatin1String("match") ? r.match
                                                    : r.send) = &entry;
        } else if (key->field == QLatin1String("otherwise")) {
            if (entry.value != QLatin1String("panel") && entry.value != QLatin1String("none")) {
                return where(entry) + QStringLiteral(": '%1' is neither panel nor none").arg(entry.value);
            }
            out.otherwisePanel = entry.value == QLatin1String("panel");
        } else {
            bool number = false;
            const int ms = entry.value.toInt(&number);
            if (!number || ms < 1 || ms > kLongestWaitMs) {
                return where(entry) +
                       QStringLiteral(": '%1' is no wait; give whole milliseconds from 1 to %2")
                           .arg(entry.value)
                           .arg(kLongestWaitMs);
            }
            out.waitMs = ms;
        }
    }
    const auto format = panel.opt_HexA.value() ? answers::Format::Hex : answers::Format::Ascii;
    int expected = 1;
    for (const auto& [number, r] : rules) {
        const Entry& any = *(r.when != nullptr ? r.when : r.match != nullptr ? r.match : r.send);
        if (number != expected) {
            return where(any) +
                   QStringLiteral(": answer%1 is missing; the rules are numbered from 1 without a "
                                  "gap")
                       .arg(expected);
        }
        ++expected;
        if (r.when == nullptr || r.send == nullptr) {
            return where(any) +
                   QStringLiteral(": a rule needs both answer%1.when and answer%1.send").arg(number);
        }
        const auto kind = kindOf(r.match);
        QString why;
        bool inReply = false;
        auto rule = answers::Rule::make(format, kind, r.when->value, r.send->value, &why, &inReply);
        if (!rule) {
            return where(inReply ? *r.send : *r.when) + QStringLiteral(": ") + why;
        }
        out.rules.push_back(std::move(*rule));
    }
    if (!rules.empty() && !panel.opt_Send_recv.value() && !panel.opt_Send_input.value()) {
        return where(*rules.begin()->second.when) +
               QStringLiteral(": the rules answer with opt_Send_recv or opt_Send_input, and the action "
                              "selected never answers");
    }
    return std::nullopt;
}

QString Profile::print(const Panel& panel, const Profile* rules) {
    QString out = QStringLiteral(
        "; Profile of the traffic simulator, for traffic_simulator --profile FILE.\n"
        "; Options and the check box take true or false; a text is taken as it stands, or between double\n"
        "; quotes to keep blanks at its ends. Lines may come in any order: the role is applied first, then "
        "the\n"
        "; other options, then the texts. Leave out what should stay as the program starts.\n");
    for (const auto& [key, control] : settable(panel)) {
        out += key + QLatin1Char('=') + (isSwitch(*control) ? valueOf(*control) : quoted(valueOf(*control))) +
               QLatin1Char('\n');
    }
    out += QStringLiteral(
        "; Answers by rule (see the README): answer1 to answer32, each with .when, .match (exact, starts,\n"
        "; contains or regex) and .send; answer.otherwise (panel or none) and answer.wait (milliseconds).\n");
    std::map<QString, QString> set;
    for (const Entry& entry : rules != nullptr ? rules->entries_ : std::vector<Entry>{}) {
        if (answerKey(entry.key) || expectKey(entry.key) || tlsKey(entry.key)) {
            set.emplace(entry.key, entry.value);
        }
    }
    const auto line = [&](const QString& key, const char* otherwise) {
        const auto it = set.find(key);
        out += it != set.end() ? key + QLatin1Char('=') + quoted(it->second) + QLatin1Char('\n')
                               : QStringLiteral("; ") + key + QLatin1Char('=') + QLatin1String(otherwise) +
                                     QLatin1Char('\n');
    };
    const auto fields = [&](int n) {
        line(QStringLiteral("answer%1.when").arg(n), "");
        line(QStringLiteral("answer%1.match").arg(n), "exact");
        line(QStringLiteral("answer%1.send").arg(n), "");
    };
    int n = 1;
    for (; n <= kMostRules && set.count(QStringLiteral("answer%1.when").arg(n)) > 0; ++n) {
        fields(n);
    }
    if (n == 1) {
        fields(1);
    }
    line(QStringLiteral("answer.otherwise"), "panel");
    line(QStringLiteral("answer.wait"), "50");
    out += QStringLiteral("; Expectations (see the README): expect.when and expect.match for every send, "
                          "expect(0) to expect(3)\n"
                          "; for the program's steps, expect.within (milliseconds a reply may take).\n");
    line(QStringLiteral("expect.when"), "");
    line(QStringLiteral("expect.match"), "exact");
    bool anyStep = false;
    for (int i = 0; i < 4; ++i) {
        if (set.count(QStringLiteral("expect(%1).when").arg(i)) > 0) {
            anyStep = true;
            line(QStringLiteral("expect(%1).when").arg(i), "");
            line(QStringLiteral("expect(%1).match").arg(i), "exact");
        }
    }
    if (!anyStep) {
        line(QStringLiteral("expect(0).when"), "");
        line(QStringLiteral("expect(0).match"), "exact");
    }
    line(QStringLiteral("expect.within"), "1000");
    out +=
        QStringLiteral("; TLS on the link (see the README): tls, the PEM files tls.certificate, tls.key and "
                       "tls.ca (found\n; from the profile's folder), tls.verify and tls.name.\n");
    for (const auto& [key, otherwise] :
         {std::pair{"tls", "false"}, std::pair{"tls.certificate", ""}, std::pair{"tls.key", ""},
          std::pair{"tls.ca", ""}, std::pair{"tls.verify", "true"}, std::pair{"tls.name", ""}}) {
        line(QLatin1String(key), otherwise);
    }
    return out;
}

} // namespace sim
