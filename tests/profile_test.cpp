// Profiles: panel settings from a file, applied as the program writes the controls.

#include "app/profile.h"
#include "support/panel_state.h"
#include "support/sim_form.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>

namespace sim::test {
namespace {

// Applies the lines as a profile named "run.ini"; the problem, or an empty text.
QString apply(FrmSimulator& form, const QStringList& lines) {
    QString error;
    const auto profile = Profile::parse(lines.join(QLatin1Char('\n')), QStringLiteral("run.ini"), &error);
    return profile ? profile->applyTo(form.panel()).value_or(QString()) : error;
}

// The settings of a printed profile, without its comments.
QStringList settingsOf(const QString& printed) {
    QStringList out;
    for (const QString& line : printed.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (!line.startsWith(QLatin1Char(';'))) {
            out << line;
        }
    }
    return out;
}

TEST(Profile, NamesEveryControlAnOperatorSetsAndNothingElseTheRoleFirst) {
    SimForm f;
    std::set<QString> settable;
    for (const Control* c : f.p.controls()) {
        const auto* box = dynamic_cast<const TextBox*>(c);
        if ((box != nullptr && !box->readOnly()) || c->kind() == Kind::ComboBox ||
            c->kind() == Kind::OptionButton || c->kind() == Kind::CheckBox) {
            settable.insert(c->name());
        }
    }
    std::set<QString> keys;
    const QStringList settings = settingsOf(Profile::print(f.p));
    for (const QString& line : settings) {
        keys.insert(line.section(QLatin1Char('='), 0, 0));
    }
    EXPECT_EQ(keys, settable);
    // 16 options, the check box, 12 text boxes an operator types into and 5 combo boxes, one a line.
    EXPECT_EQ(settings.size(), 34);
    EXPECT_TRUE(settings.first().startsWith(QStringLiteral("opt_Server=")));
}

TEST(Profile, AppliesTheRoleThenTheOtherOptionsThenTheTextsWhateverTheOrderOfItsLines) {
    // In the order of the lines, the data format's Click would empty the payload after it was written,
    // and the role's Click would select OneTime after the repeat row was set.
    const QStringList lines = {QStringLiteral("txt_Data_Input=0A0b"),
                               QStringLiteral("opt_Repeat=true"),
                               QStringLiteral("com_Timegap=0.5"),
                               QStringLiteral("opt_HexA=true"),
                               QStringLiteral("opt_Send_Only=1"),
                               QStringLiteral("opt_Client=TRUE"),
                               QStringLiteral("txt_Port=5000"),
                               QStringLiteral("Opt_List_File=true"),
                               QStringLiteral("txt_Logfile=runs/today.log")};
    QStringList reversed = lines;
    std::reverse(reversed.begin(), reversed.end());
    SimPlatform sim; // both forms start from the same settings and folders
    FrmSimulator a{sim.platform()};
    FrmSimulator b{sim.platform()};
    a.load();
    b.load();
    ASSERT_EQ(apply(a, lines), QString());
    ASSERT_EQ(apply(b, reversed), QString());
    EXPECT_EQ(panelState(a.panel()), panelState(b.panel()));

    const Panel& p = a.panel();
    // The Clicks ran: the role's, the action's (the repeat row) and the log level's (the log file box).
    const QString facts =
        QStringLiteral("opt_Repeat=1 +com_Timegap +txt_Logfile +txt_Port -txt_Destination_Port");
    EXPECT_EQ(factsOf(p, facts), facts);
    EXPECT_EQ(p.Cmd_Start.caption(), QStringLiteral("Listen"));
    EXPECT_EQ(p.txt_Port.text(), QStringLiteral("5000"));
    EXPECT_EQ(p.txt_Data_Input.text(), QStringLiteral("0A0b"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("2")) << "the Change handler counted hexadecimal bytes";
}

TEST(Profile, APrintedProfileLoadsBackToTheSamePanel) {
    const struct {
        QStringList changes;
        QString quotedText; // of the data box, or of the first step in program mode
    } cases[] = {
        {{}, QString()},
        {{QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=5000"),
          QStringLiteral("opt_Send_input=true"), QStringLiteral("txt_Data_Input=\"  two ends  \""),
          QStringLiteral("opt_None=true")},
         QStringLiteral("  two ends  ")},
        {{QStringLiteral("opt_Send_Only=true"), QStringLiteral("chkMode=true"),
          QStringLiteral("txtStep(0)=\"\"quoted\"\""), QStringLiteral("txtTimeGap(0)=200"),
          QStringLiteral("txtStep(1)=x=y"), QStringLiteral("Opt_Cnn2=true"),
          QStringLiteral("txt_Destination_IP(0)=10"), QStringLiteral("txt_Destination_Port=4001")},
         QStringLiteral("\"quoted\"")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.changes.join(QLatin1Char(' ')).toStdString());
        SimForm original;
        ASSERT_EQ(apply(original.form, c.changes), QString());
        EXPECT_EQ(original.p.txt_Data_Input.text() + original.p.txtStep(0).text(), c.quotedText);
        const QString printed = Profile::print(original.p);
        SimForm loaded;
        ASSERT_EQ(apply(loaded.form, printed.split(QLatin1Char('\n'))), QString());
        EXPECT_EQ(panelState(loaded.p), panelState(original.p));
        EXPECT_EQ(Profile::print(loaded.p), printed);
    }
}

TEST(Profile, ABadProfileIsNamedByFileLineAndKeyAndWritesNoText) {
    const struct {
        QStringList lines;
        const char* message;
    } cases[] = {
        {{QStringLiteral("opt_Client=maybe")},
         "1: opt_Client: 'maybe' is no value of an option; use true or false"},
        {{QStringLiteral("chkMode=2")}, "1: chkMode: '2' is no value of an option; use true or false"},
        {{QStringLiteral("opt_Ascii=true"), QStringLiteral("; a comment"), QStringLiteral("opt_HexA=true")},
         "3: opt_HexA: true, but opt_Ascii of the same group is true already (line 1); one option of a group "
         "can be"},
        {{QStringLiteral("opt_client=true")}, "1: opt_client: no such setting; did you mean opt_Client?"},
        {{QStringLiteral("Label9=1")}, "1: Label9: no such setting; --print-profile lists them all"},
        {{QStringLiteral("txt_Simulator_IP=1")},
         "1: txt_Simulator_IP: no such setting; --print-profile lists them all"},
        {{QStringLiteral("Cmd_Start=1")}, "1: Cmd_Start: no such setting; --print-profile lists them all"},
        {{QStringLiteral("txt_Port=1"), QString(), QStringLiteral("txt_Port = 2")},
         "3: txt_Port: given twice, first on line 1"},
        {{QStringLiteral("opt_Client")},
         "1: 'opt_Client': a line reads control=value, such as opt_Client=true"},
        {{QStringLiteral("=true")}, "1: '=true': a line reads control=value, such as opt_Client=true"},
        {{QStringLiteral("txt_Data_Input=a\tb")}, "1: txt_Data_Input: character 2 is a control character"},
        {{QStringLiteral("opt_HexA=true"), QStringLiteral("txt_Data_Input=0A 0B")},
         "2: txt_Data_Input: the box refuses ' ' (character 3) from the keyboard"},
        {{QStringLiteral("chkMode=true"), QStringLiteral("opt_HexA=true"), QStringLiteral("txtStep(2)=GG")},
         "3: txtStep(2): the box refuses 'G' (character 1) from the keyboard"},
        // A text the box refuses leaves the texts written before it and the saved address as they were.
        {{QStringLiteral("txt_Destination_IP(0)=10"), QStringLiteral("txt_Data_Input=\u03A9")},
         "2: txt_Data_Input: the box refuses '\u03A9' (character 1) from the keyboard"},
        {{QStringLiteral("txt_Destination_IP(1)=1a")},
         "1: txt_Destination_IP(1): the box refuses 'a' (character 2) from the keyboard"},
        // chkMode selects OneTime.
        {{QStringLiteral("opt_Repeat=true"), QStringLiteral("chkMode=true")},
         "1: opt_Repeat: true is undone by chkMode=true (line 2), which is applied after it"},
        {{QStringLiteral("opt_Ascii=false")},
         "1: opt_Ascii: false, but no other option of its group is true, so it stays selected"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines.join(QLatin1Char('|')).toStdString());
        SimForm f;
        // Options may have been written before the problem was found, but no text and no saved setting.
        const auto texts = [&] {
            QStringList out;
            for (const Control* c : f.p.controls()) {
                if (const auto* box = dynamic_cast<const TextBox*>(c)) {
                    out << box->text();
                }
            }
            return out;
        };
        const QStringList before = texts();
        const int writes = f.sim.settings.writes;
        EXPECT_EQ(apply(f.form, c.lines), QStringLiteral("run.ini:") + QString::fromUtf8(c.message));
        EXPECT_EQ(texts(), before);
        EXPECT_EQ(f.sim.settings.writes, writes);
    }
}

TEST(Profile, AFileIsReadAsUtf8WithCommentsSectionsAndEitherLineEnd) {
    QTemporaryDir dir;
    const auto writeFile = [&](const char* name, const QByteArray& bytes) {
        QFile file(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    };
    QString error;
    const QString good =
        writeFile("good.ini", "\xEF\xBB\xBF; made by hand\r\n[Simulator]\r\n\r\n  # aside\r\n"
                              "opt_Client = true\r\ntxt_Data_Input=\xC3\xA9t\xC3\xA9\r\n");
    const auto profile = Profile::load(good, &error);
    ASSERT_TRUE(profile) << error.toStdString();
    SimForm f;
    ASSERT_EQ(profile->applyTo(f.p), std::nullopt);
    EXPECT_TRUE(f.p.opt_Client.value());
    EXPECT_EQ(f.p.txt_Data_Input.text(), QStringLiteral("été"));

    const QString latin1 = writeFile("latin1.ini", "txt_Data_Input=\xE9t\xE9\n");
    const QString huge = writeFile("huge.ini", QByteArray(1024 * 1024 + 1, ';'));
    const QString missing = dir.filePath(QStringLiteral("missing.ini"));
    const std::pair<QString, QString> failures[] = {
        {latin1, latin1 + QStringLiteral(": is not UTF-8 text")},
        {missing, missing + QStringLiteral(": cannot be read: No such file or directory")},
        {dir.path(), dir.path() + QStringLiteral(": cannot be read: it is a folder")},
        {huge, huge + QStringLiteral(": is larger than 1 MiB, too large for a profile")}};
    for (const auto& [path, message] : failures) {
        EXPECT_FALSE(Profile::load(path, &error));
        EXPECT_EQ(error, message);
    }
}

} // namespace
} // namespace sim::test
