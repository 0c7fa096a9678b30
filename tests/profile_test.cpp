// Profiles: panel settings from a file, applied as the program writes the controls.

#include "app/profile.h"
#include "support/certificates.h"
#include "support/files.h"
#include "support/panel_state.h"
#include "support/sim_form.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>
#include <tuple>

namespace sim::test {
namespace {

// Applies a profile of these lines, named "run.ini"; the problem, or an empty text.
QString apply(FrmSimulator& form, const QStringList& lines) {
    QString error;
    const auto profile = Profile::parse(lines.join(u'\n'), QStringLiteral("run.ini"), &error);
    return profile ? profile->applyTo(form).value_or(QString()) : error;
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
    const QStringList settings = Profile::print(f.p).split(u'\n').filter(QRegularExpression("^[^;]"));
    std::set<QString> keys;
    for (const QString& line : settings) {
        keys.insert(line.section(u'=', 0, 0));
    }
    EXPECT_EQ(keys, settable);
    // 16 options, the check box, 12 text boxes an operator types into and 5 combo boxes, one a line.
    EXPECT_EQ(settings.size(), 34);
    EXPECT_TRUE(settings.first().startsWith("opt_Server="));
}

// A profile is applied as the program writes the controls, so their Clicks and Changes run: the role first,
// then the other options, then the texts, whatever the order of its lines. Printed, it loads back to the
// same panel.
TEST(Profile, AppliesTheRoleThenTheOptionsThenTheTextsAndAPrintedProfileLoadsBack) {
    // The lines; the facts they leave (see factsOf); the data box, the first step, Label9 and Cmd_Start.
    const std::tuple<QStringList, const char*, const char*> cases[] = {
        {{}, "opt_Repeat=1 -com_Timegap -txt_Port", "||0|Connect"},
        // In the order of the lines, the data format's Click would empty the payload after it was written,
        // and the role's Click would select OneTime after the repeat row was set.
        {{"txt_Data_Input=0A0b", "opt_Repeat=true", "com_Timegap=0.5", "opt_HexA=true", "opt_Send_Only=1",
          "opt_Client=TRUE", "txt_Port=5000", "Opt_List_File=true", "txt_Logfile=runs/today.log"},
         "opt_Repeat=1 +com_Timegap +txt_Logfile +txt_Port -txt_Destination_Port",
         "0A0b||2|Listen"},
        // Quotes keep a text's blanks at its ends, and quotes of its own.
        {{"opt_Client=true", "txt_Port=5000", "opt_Send_input=true", "txt_Data_Input=\"  two ends  \"",
          "opt_None=true"},
         "opt_None=1",
         "  two ends  ||12|Listen"},
        {{"opt_Send_Only=true", "chkMode=true", "txtStep(0)=\"\"quoted\"\"", "txtTimeGap(0)=200",
          "txtStep(1)=x=y", "Opt_Cnn2=true", "txt_Destination_IP(0)=10", "txt_Destination_Port=4001"},
         "chkMode=1 +cmd_CSend",
         "|\"quoted\"|0|Connect"},
    };
    for (const auto& [lines, facts, shown] : cases) {
        SCOPED_TRACE(lines.join(u' ').toStdString());
        SimPlatform sim; // every form starts from the same settings and folders
        FrmSimulator forms[] = {FrmSimulator(sim.platform()), FrmSimulator(sim.platform()),
                                FrmSimulator(sim.platform())};
        for (FrmSimulator& form : forms) {
            form.load();
        }
        const Panel& p = forms[0].panel();
        ASSERT_EQ(apply(forms[0], lines), QString());
        ASSERT_EQ(apply(forms[1], QStringList(lines.rbegin(), lines.rend())), QString());
        EXPECT_EQ(factsOf(p, facts), facts);
        EXPECT_EQ(QStringList({p.txt_Data_Input.text(), p.txtStep(0).text(), p.Label9.caption(),
                               p.Cmd_Start.caption()})
                      .join(u'|'),
                  shown);
        EXPECT_EQ(panelState(forms[1].panel()), panelState(p));
        const QString printed = Profile::print(p);
        ASSERT_EQ(apply(forms[2], printed.split(u'\n')), QString());
        EXPECT_EQ(panelState(forms[2].panel()), panelState(p));
        EXPECT_EQ(Profile::print(forms[2].panel()), printed);
    }
}

TEST(Profile, ABadProfileIsNamedByFileLineAndKeyAndWritesNoText) {
    const std::pair<QStringList, const char*> cases[] = {
        {{"opt_Client=maybe"}, "1: opt_Client: 'maybe' is no value of an option; use true or false"},
        {{"chkMode=2"}, "1: chkMode: '2' is no value of an option; use true or false"},
        {{"opt_Ascii=true", "; a comment", "opt_HexA=true"},
         "3: opt_HexA: true, but opt_Ascii of the same group is true already (line 1); one option of a group "
         "can be"},
        {{"opt_client=true"}, "1: opt_client: no such setting; did you mean opt_Client?"},
        {{"txt_Simulator_IP=1"}, "1: txt_Simulator_IP: no such setting; --print-profile lists them all"},
        {{"txt_Port=1", QString(), "txt_Port = 2"}, "3: txt_Port: given twice, first on line 1"},
        {{"opt_Client"}, "1: 'opt_Client': a line reads control=value, such as opt_Client=true"},
        {{"=true"}, "1: '=true': a line reads control=value, such as opt_Client=true"},
        {{"txt_Data_Input=a\tb"}, "1: txt_Data_Input: character 2 is a control character"},
        {{"opt_HexA=true", "txt_Data_Input=0A 0B"},
         "2: txt_Data_Input: the box refuses ' ' (character 3) from the keyboard"},
        {{"chkMode=true", "opt_HexA=true", "txtStep(2)=GG"},
         "3: txtStep(2): the box refuses 'G' (character 1) from the keyboard"},
        // A text the box refuses leaves the texts written before it and the saved address as they were.
        {{"txt_Destination_IP(0)=10", "txt_Data_Input=\u03A9"},
         "2: txt_Data_Input: the box refuses '\u03A9' (character 1) from the keyboard"},
        {{"txt_Destination_IP(1)=1a"},
         "1: txt_Destination_IP(1): the box refuses 'a' (character 2) from the keyboard"},
        // chkMode selects OneTime.
        {{"opt_Repeat=true", "chkMode=true"},
         "1: opt_Repeat: true is undone by chkMode=true (line 2), which is applied after it"},
        {{"opt_Ascii=false"},
         "1: opt_Ascii: false, but no other option of its group is true, so it stays selected"},
        // The answer rules, read in the data format the options chose.
        {{"opt_Send_recv=1", "answer1.when=(a", "answer1.match=regex", "answer1.send=x"},
         "2: answer1.when: the pattern does not compile: missing closing parenthesis"},
        {{"opt_Send_recv=1", "answer1.when=(a)", "answer1.match=regex", "answer1.send=\\2"},
         "4: answer1.send: the reply names group 2, and the pattern has 1"},
        {{"opt_Send_recv=1", "answer1.when=0A", "answer1.send=0G", "opt_HexA=1"},
         "3: answer1.send: 'G' (character 2) is no hexadecimal digit"},
        {{"opt_Send_recv=1", "answer1.send=x"},
         "2: answer1.send: a rule needs both answer1.when and answer1.send"},
        {{"opt_Send_recv=1", "answer1.when=a", "answer1.send=b", "answer3.when=c", "answer3.send=d"},
         "4: answer3.when: answer2 is missing; the rules are numbered from 1 without a gap"},
        {{"answer33.when=a"}, "1: answer33.when: more than 32 rules; answer1 to answer32 can be set"},
        {{"opt_Receive_Only=1", "answer1.when=a", "answer1.send=b"},
         "2: answer1.when: the rules answer with opt_Send_recv or opt_Send_input, and the action selected "
         "never answers"},
        {{"answer1.match=equals"},
         "1: answer1.match: 'equals' is no kind of match; use exact, starts, "
         "contains or regex"},
        {{"answer.otherwise=echo"}, "1: answer.otherwise: 'echo' is neither panel nor none"},
        {{"answer.wait=0"}, "1: answer.wait: '0' is no wait; give whole milliseconds from 1 to 600000"},
        // Expectations, read as the rules are.
        {{"expect.when=(a", "expect.match=regex"},
         "1: expect.when: the pattern does not compile: missing closing parenthesis"},
        {{"expect.when=0G", "opt_HexA=1"}, "1: expect.when: 'G' (character 2) is no hexadecimal digit"},
        {{"chkMode=1", "expect(4).when=a"}, "2: expect(4).when: the program's steps are numbered 0 to 3"},
        {{"expect(0).when=a"}, "1: expect(0).when: a step's expectation needs program mode (chkMode=true)"},
        {{"expect.within=0"}, "1: expect.within: '0' is no time; give whole milliseconds from 1 to 600000"},
        {{"expect.match=like"},
         "1: expect.match: 'like' is no kind of match; use exact, starts, contains or regex"},
        {{"expect.match=regex"}, "1: expect.match: a match needs the pattern it is for"},
        {{"answer1.when=a\tb"},
         "1: answer1.when: character 2 is a control character; write it as an escape such as \\r"},
    };
    for (const auto& [lines, message] : cases) {
        SCOPED_TRACE(lines.join(u'|').toStdString());
        SimForm f;
        // Options may have been written before the problem was found, but no text and no saved setting.
        const auto texts = [&] {
            return panelState(f.p).filter(" text='").replaceInStrings(QRegularExpression(" enabled=."), "");
        };
        const QStringList before = texts();
        const int writes = f.sim.settings.writes;
        EXPECT_EQ(apply(f.form, lines), "run.ini:" + QString::fromUtf8(message));
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

// TLS is checked with its files before anything listens or dials; each file is found from the profile's
// folder.
TEST(Profile, TlsAndItsFilesAreCheckedBeforeTheRunBegins) {
    const Certificates c; // a.crt and a.key are device's, b.crt and b.key client's
    ASSERT_TRUE(c.made);
    const QDir dir(c.dir.path());
    const auto file = [&](const QString& name, const QByteArray& bytes, QFileDevice::Permissions mode) {
        QFile f(dir.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size() && f.setPermissions(mode));
    };
    const auto owner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    for (const auto& [name, from] : {std::pair{"a", "device"}, std::pair{"b", "client"}}) {
        file(QString(name) + ".crt", fileBytes(c.crt(from)), owner);
        file(QString(name) + ".key", fileBytes(c.key(from)), owner);
    }
    file("open.key", fileBytes(c.key("device")), owner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    file("junk.pem", "hello\n", owner);
    const QString at = dir.path() + '/';
    const std::pair<QStringList, QString> cases[] = {
        {{"tls=maybe"}, "1: tls: 'maybe' is neither true nor false"},
        {{"tls.ca=a.crt"}, "1: tls.ca: set, but tls is not true"},
        {{"tls=true", "tls.certificate=a.crt"},
         "2: tls.certificate: a certificate needs its private key in tls.key"},
        {{"tls=true", "tls.key=a.key"}, "2: tls.key: a private key needs its certificate in tls.certificate"},
        {{"opt_Client=true", "tls=true"}, "2: tls: listening with TLS needs tls.certificate and tls.key"},
        {{"tls=true", "tls.verify=false", "tls.ca=a.crt"},
         "2: tls.verify: false leaves tls.ca unused; leave out one of them"},
        {{"tls=true", "tls.certificate=no.crt", "tls.key=a.key"},
         "2: tls.certificate: " + at + "no.crt cannot be read: No such file or directory"},
        {{"tls=true", "tls.certificate=junk.pem", "tls.key=a.key"},
         "2: tls.certificate: " + at + "junk.pem holds no PEM certificate"},
        {{"tls=true", "tls.certificate=a.crt", "tls.key=open.key"},
         "3: tls.key: " + at + "open.key can be read by others than its owner; chmod 600 " + at + "open.key"},
        {{"tls=true", "tls.certificate=a.crt", "tls.key=junk.pem"},
         "3: tls.key: " + at + "junk.pem holds no PEM private key (or one with a passphrase)"},
        {{"tls=true", "tls.certificate=a.crt", "tls.key=b.key"},
         "3: tls.key: " + at + "b.key is not the private key of " + at + "a.crt"},
        {{"tls=true", "tls.ca=junk.pem"}, "2: tls.ca: " + at + "junk.pem holds no PEM certificate"},
        {{"opt_Client=true", "tls=true", "tls.certificate=a.crt", "tls.key=a.key", "tls.ca=b.crt"}, ""},
    };
    for (const auto& [lines, expected] : cases) {
        SCOPED_TRACE(lines.join(' ').toStdString());
        SimForm f;
        QString error;
        const auto profile = Profile::parse(lines.join(u'\n'), dir.filePath("run.ini"), &error);
        ASSERT_TRUE(profile) << error.toStdString();
        const auto wrong = profile->applyTo(f.form);
        EXPECT_EQ(wrong.value_or(QString()),
                  expected.isEmpty() ? QString() : dir.filePath("run.ini:") + expected);
        EXPECT_EQ(f.form.panel().frmSimulator.caption(),
                  QStringLiteral("Tarnix Simulator Ver3.5.1 (2011/06/08)") +
                      (expected.isEmpty() ? " [TLS]" : ""));
    }
}

} // namespace
} // namespace sim::test
