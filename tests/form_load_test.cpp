#include "support/sim_form.h"

#include "panel/form_lifecycle.h"

#include <QDir>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

const QString kAddressKey = QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS");
const QString kPortKey = QStringLiteral("TK7300_SIMUL/Simulator/PORT");

QStringList boxes(Panel& p) {
    QStringList out;
    for (int i = 0; i < 4; ++i) {
        out << p.txt_Destination_IP(i).text();
    }
    return out;
}

// A form loaded on a platform whose store already holds these values.
struct Loaded {
    SimForm f{false};
    explicit Loaded(std::optional<QString> address = std::nullopt,
                    std::optional<QString> port = std::nullopt) {
        if (address) {
            f.sim.settings.values[kAddressKey] = *address;
        }
        if (port) {
            f.sim.settings.values[kPortKey] = *port;
        }
        f.form.load();
    }
};

TEST(FormLoad, BuildsTheStartingPanel) {
    Loaded l;
    Panel& p = l.f.p;
    EXPECT_EQ(p.txt_Simulator_IP.text(), l.f.sim.network.localIP);
    EXPECT_FALSE(p.txt_Port.enabled());
    EXPECT_EQ(p.txt_Port.backColor(), 0xC0C0C0U);
    EXPECT_EQ(p.com_Timegap.text(), QStringLiteral("1"));
    EXPECT_EQ(p.com_Count.text(), QStringLiteral("Endless"));
    EXPECT_EQ(p.Cmd_Start.caption(), QStringLiteral("Connect"));
    EXPECT_TRUE(p.Cmd_Start.enabled());
    for (const Control* off : std::initializer_list<const Control*>{
             &p.Cmd_Send, &p.cmd_End, &p.cmd_CSend, &p.Frame10, &p.opt_Repeat, &p.opt_OneTime, &p.com_Timegap,
             &p.com_Count, &p.Label7, &p.txt_Logfile, &p.cmd_browser}) {
        EXPECT_FALSE(off->enabled()) << off->name().toStdString();
    }
    for (const OptionButton* on : {&p.opt_Server, &p.opt_Send_recv, &p.opt_Ascii, &p.opt_List, &p.Opt_Cnn1}) {
        EXPECT_TRUE(on->value()) << on->name().toStdString();
    }
    for (const Timer* t : {&p.client_status, &p.TmrConnect, &p.Timer1, &p.Timer2}) {
        EXPECT_FALSE(t->running()) << t->name().toStdString();
    }
    EXPECT_EQ(p.Client_Socket.state(), 0);
    EXPECT_EQ(p.Server_Socket.state(), 0);
    EXPECT_EQ(p.iRepeatNo, 0);
    EXPECT_EQ(p.iConnectTick, 0);
    EXPECT_EQ(p.List1.listCount(), 0);
}

TEST(FormLoad, TheLogFileIsDatedUnderTheProgramFolderAndNotTouched) {
    Loaded l;
    const QString expected =
        QDir::toNativeSeparators(l.f.sim.folders.programFolder() + QStringLiteral("/Log/20261122.dat"));
    EXPECT_EQ(l.f.p.txt_Logfile.text(), expected);
    EXPECT_FALSE(QDir(l.f.sim.folders.programFolder() + QStringLiteral("/Log")).exists());
}

TEST(FormLoad, WithNoSavedSettingsShowsAndStoresTheDefaults) {
    Loaded l;
    EXPECT_EQ(boxes(l.f.p), (QStringList{"100", "100", "100", "1"}));
    EXPECT_EQ(l.f.p.txt_Destination_Port.text(), QStringLiteral("4000"));
    // Filling the boxes rewrites the store, now with a dot at the end.
    EXPECT_EQ(l.f.sim.settings.values[kAddressKey], QStringLiteral("100.100.100.1."));
    EXPECT_EQ(l.f.sim.settings.values[kPortKey], QStringLiteral("4000"));
}

struct SavedAddressCase {
    const char* stored;
    QStringList shown;
    const char* storedAfter;
};

class SavedAddress : public ::testing::TestWithParam<SavedAddressCase> {};

TEST_P(SavedAddress, FillsTheBoxesFromItsPieces) {
    const auto& c = GetParam();
    Loaded l(QString::fromLatin1(c.stored), QStringLiteral("5000"));
    EXPECT_EQ(boxes(l.f.p), c.shown);
    EXPECT_EQ(l.f.sim.settings.values[kAddressKey], QString::fromLatin1(c.storedAfter));
    EXPECT_EQ(l.f.p.txt_Destination_Port.text(), QStringLiteral("5000"));
}

INSTANTIATE_TEST_SUITE_P(
    FormLoad, SavedAddress,
    ::testing::Values(
        // As written by the program, with the dot at the end; read the same as without it.
        SavedAddressCase{"192.168.0.5.", {"192", "168", "0", "5"}, "192.168.0.5."},
        SavedAddressCase{"192.168.0.5", {"192", "168", "0", "5"}, "192.168.0.5."},
        // More than four pieces: the first four fill the boxes and the rest is dropped.
        SavedAddressCase{"10.1.2.3.4.5", {"10", "1", "2", "3"}, "10.1.2.3."},
        // An emptied box leaves two dots in a row; it comes back empty.
        SavedAddressCase{"10.1..3.", {"10", "1", "", "3"}, "10.1..3."},
        // Fewer than four pieces: the boxes it reaches are filled, the others stay empty.
        SavedAddressCase{"10.1", {"10", "1", "", ""}, "10.1..."}, SavedAddressCase{"", {"", "", "", ""}, ""}),
    [](const auto& info) { return "case" + std::to_string(info.index); });

TEST(SavedSettings, EveryChangeOfABoxIsWrittenAtOnce) {
    Loaded l;
    Panel& p = l.f.p;
    l.f.keys.type(p.txt_Destination_Port, QStringLiteral("1"));
    EXPECT_EQ(l.f.sim.settings.values[kPortKey], QStringLiteral("40001"));
    p.txt_Destination_IP(2).setText(QString());
    EXPECT_EQ(l.f.sim.settings.values[kAddressKey], QStringLiteral("100.100..1."));
    p.txt_Destination_Port.setText(QString());
    EXPECT_EQ(l.f.sim.settings.values[kPortKey], QString()) << "any text is stored, also an empty one";
}

TEST(SavedSettings, AnUnchangedPieceWritesNothing) {
    Loaded l;
    const int writes = l.f.sim.settings.writes;
    l.f.p.txt_Destination_IP(0).setText(QStringLiteral("100"));
    EXPECT_EQ(l.f.sim.settings.writes, writes);
}

TEST(FormResize, KeepsTheWindowOneSize) {
    Loaded l;
    Form& form = l.f.p.frmSimulator;
    // Shown once: 11085 wide, 11265 high.
    EXPECT_EQ(form.width(), 11085);
    EXPECT_EQ(form.height(), 11265);
    form.setWidth(9000);
    form.setHeight(9000);
    EXPECT_EQ(form.width(), 11085);
    EXPECT_EQ(form.height(), 11265);
    // A height of exactly 11040 is kept.
    form.setWidth(12000);
    form.setHeight(11040);
    EXPECT_EQ(form.width(), 11085);
    EXPECT_EQ(form.height(), 11040);
}

TEST(MakerLink, OpensTheAddressOfItsCaption) {
    Loaded l;
    l.f.op.click(l.f.p.Label11);
    ASSERT_EQ(l.f.sim.browser.opened.size(), 1U);
    EXPECT_EQ(l.f.sim.browser.opened[0], l.f.p.Label11.caption());
    EXPECT_TRUE(l.f.p.Label11.caption().endsWith(QStringLiteral(".example")));
    EXPECT_TRUE(l.f.sim.dialogs.shown.empty());
}

TEST(MakerLink, AFailureShowsItsDescriptionAsACriticalError) {
    Loaded l;
    l.f.sim.browser.failWith = RuntimeFailure(53, QStringLiteral("File not found"));
    l.f.op.click(l.f.p.Label11);
    ASSERT_EQ(l.f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(l.f.sim.dialogs.shown[0].text, QStringLiteral("File not found"));
    EXPECT_EQ(l.f.sim.dialogs.shown[0].title, QStringLiteral("Error"));
    EXPECT_EQ(l.f.sim.dialogs.shown[0].style, 16);
}

TEST(Dispatch, AFailureNoHandlerTrappedIsReportedAndTheProgramGoesOn) {
    Loaded l;
    l.f.p.cmd_Log.Click = [] { throw RuntimeFailure(6, QStringLiteral("Overflow")); };
    l.f.op.click(l.f.p.cmd_Log);
    ASSERT_EQ(l.f.sim.dialogs.shown.size(), 1U);
    EXPECT_EQ(l.f.sim.dialogs.shown[0].text, QStringLiteral("Overflow"));
    EXPECT_TRUE(l.f.op.click(l.f.p.opt_None));
}

} // namespace
} // namespace sim::test
