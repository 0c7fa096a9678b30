// Profiles: panel settings from a file, applied as the program writes the controls.

#include "app/profile.h"
#include "support/panel_state.h"
#include "support/sim_form.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>

namespace sim::test {
namespace {

// Applies the lines as a profile named "run.ini"; the problem, or an empty text.
QString apply(FrmSimulator& form, const QStringList& lines) {
    QString error;
    const auto profile = Profile::parse(lines.join(QLatin1Char('\n')), QStringLiteral("run.ini"), &error);
    if (!profile) {
        return error;
    }
    return profile->applyTo(form.panel()).value_or(QString());
}

// Two forms on one platform, so that both start from the same settings and folders.
struct TwoForms {
    SimPlatform sim;
    FrmSimulator a{sim.platform()};
    FrmSimulator b{sim.platform()};
    TwoForms() {
        a.load();
        b.load();
    }
};

TEST(Profile, NamesEveryControlAnOperatorSetsAndNothingElse) {
    SimForm f;
    std::set<QString> settable;
    for (const Control* c : f.p.controls()) {
        const bool typed = (c->kind() == Kind::TextBox && !static_cast<const TextBox*>(c)->readOnly()) ||
                           c->kind() == Kind::ComboBox;
        if (typed || c->kind() == Kind::OptionButton || c->kind() == Kind::CheckBox) {
            settable.insert(c->name());
        }
    }
    QStringList keys;
    for (const QString& line : Profile::print(f.p).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (!line.startsWith(QLatin1Char(';'))) {
            keys << line.section(QLatin1Char('='), 0, 0);
        }
    }
    EXPECT_EQ(std::set<QString>(keys.begin(), keys.end()), settable);
    // 16 options, the check box, 12 text boxes an operator types into and 5 combo boxes.
    EXPECT_EQ(keys.size(), 34);
    EXPECT_FALSE(keys.contains(QStringLiteral("txt_Simulator_IP")));
    EXPECT_EQ(keys.first(), QStringLiteral("opt_Server")) << "the role comes first";

    for (const QString& key :
         {QStringLiteral("txt_Simulator_IP"), QStringLiteral("Label9"), QStringLiteral("Cmd_Start"),
          QStringLiteral("Frame1"), QStringLiteral("List1")}) {
        EXPECT_EQ(apply(f.form, {key + QStringLiteral("=1")}),
                  QStringLiteral("run.ini:1: %1: no such setting; --print-profile lists them all").arg(key));
    }
}

TEST(Profile, AppliesInAFixedOrderWhateverTheOrderOfItsLines) {
    // In the order of the lines, the data format's Click would empty the payload after it was written,
    // and the role's Click would select OneTime after the repeat row was set.
    const QStringList lines = {
        QStringLiteral("txt_Data_Input=0A0b"), QStringLiteral("opt_Repeat=true"),
        QStringLiteral("com_Timegap=0.5"),     QStringLiteral("opt_HexA=true"),
        QStringLiteral("opt_Send_Only=true"),  QStringLiteral("opt_Server=true"),
        QStringLiteral("Opt_List_File=true"),  QStringLiteral("txt_Logfile=runs/today.log"),
    };
    QStringList reversed = lines;
    std::reverse(reversed.begin(), reversed.end());
    TwoForms f;
    ASSERT_EQ(apply(f.a, lines), QString());
    ASSERT_EQ(apply(f.b, reversed), QString());
    EXPECT_EQ(panelState(f.a.panel()), panelState(f.b.panel()));

    const Panel& p = f.a.panel();
    EXPECT_EQ(p.txt_Data_Input.text(), QStringLiteral("0A0b"));
    EXPECT_EQ(p.Label9.caption(), QStringLiteral("2")) << "the Change handler counted hexadecimal bytes";
    EXPECT_TRUE(p.opt_Repeat.value());
    EXPECT_TRUE(p.com_Timegap.enabled()) << "the action's Click enabled the repeat row";
    EXPECT_TRUE(p.txt_Logfile.enabled()) << "the log level's Click enabled the log file box";
}

TEST(Profile, TheRoleComesFirstAndItsClickRuns) {
    SimForm f;
    ASSERT_EQ(apply(f.form, {QStringLiteral("txt_Port=5000"), QStringLiteral("opt_Client=1"),
                             QStringLiteral("opt_Send_input=TRUE"), QStringLiteral("txt_Data_Input=OK")}),
              QString());
    EXPECT_TRUE(f.p.opt_Client.value());
    EXPECT_EQ(f.p.Cmd_Start.caption(), QStringLiteral("Listen"));
    EXPECT_TRUE(f.p.txt_Port.enabled());
    EXPECT_FALSE(f.p.txt_Destination_Port.enabled());
    EXPECT_TRUE(f.p.opt_OneTime.value());
    EXPECT_EQ(f.p.txt_Port.text(), QStringLiteral("5000"));
    EXPECT_EQ(f.p.Label9.caption(), QStringLiteral("2"));
}

TEST(Profile, APrintedProfileLoadsBackToTheSamePanel) {
    for (const QStringList& changes : {
             QStringList{},
             QStringList{QStringLiteral("opt_Client=true"), QStringLiteral("txt_Port=5000"),
                         QStringLiteral("opt_Send_input=true"),
                         QStringLiteral("txt_Data_Input=\"  two ends  \""), QStringLiteral("opt_None=true")},
             QStringList{QStringLiteral("opt_Send_Only=true"), QStringLiteral("chkMode=true"),
                         QStringLiteral("txtStep(0)=\"\"quoted\"\""), QStringLiteral("txtTimeGap(0)=200"),
                         QStringLiteral("txtStep(1)=x=y"), QStringLiteral("Opt_Cnn2=true"),
                         QStringLiteral("txt_Destination_IP(0)=10"),
                         QStringLiteral("txt_Destination_Port=4001")},
         }) {
        SCOPED_TRACE(changes.join(QLatin1Char(' ')).toStdString());
        SimForm original;
        ASSERT_EQ(apply(original.form, changes), QString());
        if (original.p.opt_Client.value()) {
            EXPECT_EQ(original.p.txt_Data_Input.text(), QStringLiteral("  two ends  "));
        } else if (original.p.chkMode.value() == 1) {
            EXPECT_EQ(original.p.txtStep(0).text(), QStringLiteral("\"quoted\""));
        }
        const QString printed = Profile::print(original.p);
        const QStringList settings = printed.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                                         .filter(QRegularExpression(QStringLiteral("^[^;]")));
        ASSERT_EQ(settings.size(), 34) << "every key, one a line";

        SimForm loaded;
        ASSERT_EQ(apply(loaded.form, printed.split(QLatin1Char('\n'))), QString());
        EXPECT_EQ(panelState(loaded.p), panelState(original.p));
        EXPECT_EQ(Profile::print(loaded.p), printed);
    }
}

TEST(Profile, ABadProfileIsNamedByFileLineAndKey) {
    struct Case {
        QStringList lines;
        QString message;
    };
    const QList<Case> cases = {
        {{QStringLiteral("opt_Client=maybe")},
         QStringLiteral("run.ini:1: opt_Client: 'maybe' is no value of an option; use true or false")},
        {{QStringLiteral("chkMode=2")},
         QStringLiteral("run.ini:1: chkMode: '2' is no value of an option; use true or false")},
        {{QStringLiteral("opt_Ascii=true"), QStringLiteral("; a comment"), QStringLiteral("opt_HexA=true")},
         QStringLiteral(
             "run.ini:3: opt_HexA: true, but opt_Ascii of the same group is true already (line 1); "
             "one option of a group can be")},
        {{QStringLiteral("opt_client=true")},
         QStringLiteral("run.ini:1: opt_client: no such setting; did you mean opt_Client?")},
        {{QStringLiteral("txt_Port=1"), QStringLiteral(""), QStringLiteral("txt_Port = 2")},
         QStringLiteral("run.ini:3: txt_Port: given twice, first on line 1")},
        {{QStringLiteral("opt_Client")},
         QStringLiteral("run.ini:1: 'opt_Client': a line reads control=value, such as opt_Client=true")},
        {{QStringLiteral("=true")},
         QStringLiteral("run.ini:1: '=true': a line reads control=value, such as opt_Client=true")},
        {{QStringLiteral("txt_Data_Input=a\tb")},
         QStringLiteral("run.ini:1: txt_Data_Input: character 2 is a control character")},
        {{QStringLiteral("opt_HexA=true"), QStringLiteral("txt_Data_Input=0A 0B")},
         QStringLiteral("run.ini:2: txt_Data_Input: the box refuses ' ' (character 3) from the keyboard")},
        {{QStringLiteral("chkMode=true"), QStringLiteral("opt_HexA=true"), QStringLiteral("txtStep(2)=GG")},
         QStringLiteral("run.ini:3: txtStep(2): the box refuses 'G' (character 1) from the keyboard")},
        // chkMode selects OneTime.
        {{QStringLiteral("opt_Repeat=true"), QStringLiteral("chkMode=true")},
         QStringLiteral(
             "run.ini:1: opt_Repeat: true is undone by chkMode=true (line 2), which is applied after "
             "it")},
        {{QStringLiteral("opt_Ascii=false")},
         QStringLiteral("run.ini:1: opt_Ascii: false, but no other option of its group is true, so it stays "
                        "selected")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lines.join(QLatin1Char('|')).toStdString());
        SimForm f;
        EXPECT_EQ(apply(f.form, c.lines), c.message);
    }
}

TEST(Profile, ATextItsBoxRefusesLeavesEveryTextAndTheSavedAddressAsTheyWere) {
    SimForm f;
    const int writes = f.sim.settings.writes;
    const QStringList before = panelState(f.p);
    // The payload box of the chosen format is ASCII here: a character outside the code page is refused.
    EXPECT_EQ(
        apply(f.form, {QStringLiteral("txt_Destination_IP(0)=10"), QStringLiteral("txt_Data_Input=Ω")}),
        QStringLiteral("run.ini:2: txt_Data_Input: the box refuses 'Ω' (character 1) from the keyboard"));
    EXPECT_EQ(f.sim.settings.writes, writes);
    EXPECT_EQ(panelState(f.p), before);
}

TEST(Profile, ALetterInAnAddressBoxIsRefusedByTheBoxsOwnFilter) {
    SimForm f;
    EXPECT_EQ(apply(f.form, {QStringLiteral("txt_Destination_IP(1)=1a")}),
              QStringLiteral("run.ini:1: txt_Destination_IP(1): the box refuses 'a' (character 2) from the "
                             "keyboard"));
    SimForm g;
    EXPECT_EQ(apply(g.form, {QStringLiteral("txt_Destination_IP(1)=168")}), QString());
    EXPECT_EQ(g.p.txt_Destination_IP(1).text(), QStringLiteral("168"));
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
    EXPECT_FALSE(Profile::load(latin1, &error));
    EXPECT_EQ(error, latin1 + QStringLiteral(": is not UTF-8 text"));
    const QString missing = dir.filePath(QStringLiteral("missing.ini"));
    EXPECT_FALSE(Profile::load(missing, &error));
    EXPECT_TRUE(error.startsWith(missing + QStringLiteral(": cannot be read: "))) << error.toStdString();
    EXPECT_FALSE(Profile::load(dir.path(), &error));
    EXPECT_EQ(error, dir.path() + QStringLiteral(": cannot be read: it is a folder"));
    const QString huge = writeFile("huge.ini", QByteArray(1024 * 1024 + 1, ';'));
    EXPECT_FALSE(Profile::load(huge, &error));
    EXPECT_EQ(error, huge + QStringLiteral(": is larger than 1 MiB, too large for a profile"));
}

} // namespace
} // namespace sim::test
