// TLS under the panel, on virtual time: the simulated network's TLS double shakes hands for a while and
// then ends well or fails with a reason, so the panel's side of it is seen with exact stamps.

#include "support/scenario.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

const QString kTls = " : TLS TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device until 2027-01-31";

// The error report of a failed handshake on the Client or Server socket.
QByteArray report(const char* side, const char* why) {
    return QStringLiteral(
               "Err Title : %1 Socket Error\r\nErr Time : 2026/11/22 10:00:00\r\nErr Number : 40100\r\n"
               "Err Desc : TLS failed: %2\r\nErr Source : %1_Socket\r\n\r\n")
        .arg(QLatin1String(side), QLatin1String(why))
        .toLatin1();
}

TEST(TlsDialOut, TheConnectWaitEndsOnTheHandshakeAndAFailedOneIsAConnectionFailWithItsReason) {
    // The device answers the TCP connect in 100 ms; the handshake takes what the case says.
    struct Case {
        Ms handshake;
        QString outcome;
        Ms returned; // when Connect's click returns
        QStringList rows;
        QByteArray report{};
    };
    const Case cases[] = {
        {300, "", 400, {"[10:00:00.000] : Connection Success", "[10:00:00.000]" + kTls}},
        {300,
         "certificate has expired",
         1000,
         {"10:00:00Client Socket Error : Referance Err_Log File ....... ", "[10:00:00.000] : Connection Fail",
          "[10:00:02.000] : Connection Fail"},
         report("Client", "certificate has expired")},
        // The wait's one second covers the TCP connect and the handshake together.
        {950, "", 1000, {"[10:00:00.000] : Connection Fail", "[10:00:02.000] : Connection Fail"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.outcome.toStdString());
        DeviceAsServer f;
        applyProfile(f, {"tls=true", "tls.verify=false", "Opt_List_File=true"});
        EXPECT_EQ(f.p.frmSimulator.caption(), "Tarnix Simulator Ver3.5.1 (2011/06/08) [TLS]");
        f.sim.network.latency = 100;
        f.sim.network.tls.handshakeMs = c.handshake;
        f.sim.network.tls.outcomes = {c.outcome};
        f.op.click(f.p.Cmd_Start);
        EXPECT_EQ(f.sim.scheduler.now(), c.returned);
        f.runUntil(3000);
        EXPECT_EQ(f.rows(), c.rows);
        EXPECT_EQ(fileBytes(f.sim.folders.programFolder() + "/Err_Log/20261122.txt"), c.report);
        const QStringList filed = c.rows.filter(QRegularExpression("^\\["));
        EXPECT_EQ(fileBytes(f.p.txt_Logfile.text()), (filed.join("\r\n") + "\r\n").toLatin1())
            << "the TLS line is filed as Connection Success is";
    }
}

TEST(TlsDialOut, ARepeatRunThatDialsAgainAndConnectAndCloseLogAsPlainLinksWithEachNewLinksTlsLine) {
    // Each story runs plain and with TLS (a handshake of no time), on a list already at its 2001 rows: the
    // same rows and the same bytes at the device, and a TLS line after each Connection Success, for which
    // the list drops one more of its oldest rows.
    struct Story {
        const char* name;
        QStringList profile;
        std::function<void(DeviceAsServer&)> play;
    };
    const Story stories[] = {
        {"a repeat run whose device hangs up",
         {"opt_Send_Only=true", "com_Timegap=1", "com_Count=3"},
         [](DeviceAsServer& f) {
             f.sim.network.latency = 0;
             f.p.txt_Data_Input.setText("x");
             f.op.click(f.p.Cmd_Start);
             const auto first = f.device();
             f.at(1100, [first] { first->close(); });
             f.runUntil(6000);
         }},
        {"Connect and Close three times",
         {},
         [](DeviceAsServer& f) {
             for (int i = 0; i < 3; ++i) {
                 f.op.click(f.p.Cmd_Start);
                 f.op.click(f.p.cmd_End);
                 f.runUntil(f.sim.scheduler.now() + 100);
             }
         }},
        {"Connect && Close pressed twice",
         {"Opt_Cnn2=true", "opt_Receive_Only=true", "txt_Data_Input=hi"},
         [](DeviceAsServer& f) {
             f.sim.network.onLink = [](const std::shared_ptr<DeviceLink>& d) {
                 d->onReceive = [link = d.get()](const Bytes&) { link->send("ok"); };
             };
             f.op.click(f.p.cmd_CSend);
             f.runUntil(500);
             f.op.click(f.p.cmd_CSend);
             f.runUntil(1000);
         }},
    };
    for (const Story& story : stories) {
        SCOPED_TRACE(story.name);
        DeviceAsServer plain, tls;
        applyProfile(plain, story.profile);
        applyProfile(tls, story.profile + QStringList{"tls=true", "tls.verify=false"});
        tls.sim.network.tls.handshakeMs = 0;
        for (DeviceAsServer* f : {&plain, &tls}) {
            for (int i = 0; i < 2001; ++i) {
                f->p.List1.addItem(QString::number(i));
            }
            story.play(*f);
        }
        QStringList expected;
        for (const QString& row : plain.rows()) {
            expected << row;
            if (row.endsWith("] : Connection Success")) {
                expected << row.left(14) + kTls;
            }
        }
        EXPECT_EQ(tls.rows(), expected.mid(expected.size() - plain.rows().size()));
        EXPECT_EQ(tls.sim.network.tls.handshakes, plain.rows().filter("Connection Success").size());
        EXPECT_GE(tls.sim.network.tls.handshakes, 2);
        EXPECT_EQ(tls.device()->received(), plain.device()->received());
    }
}

TEST(TlsListen, AClientWhoseHandshakeFailsIsDroppedWithAReportAndTheNextOneIsServed) {
    DeviceAsServer f;
    f.setUp({"opt_Client", "txt_Port=5000", "opt_Send_recv"});
    QString why;
    f.p.Server_Socket.setTls(tls::Context::make({}, tls::Role::Listening, &why));
    f.sim.network.tls.description = "TLSv1.3 TLS_AES_128_GCM_SHA256";
    f.sim.network.tls.outcomes = {"no shared cipher", ""};
    std::shared_ptr<DeviceLink> bad, good;
    f.at(100, [&] { bad = f.sim.network.deviceConnects(5000); });
    f.at(200, [&] { good = f.sim.network.deviceConnects(5000); });
    f.at(300, [&] { good->send("AB"); });
    f.at(400, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_FALSE(bad->open());
    EXPECT_EQ(good->received(), bytesOf("AB"));
    EXPECT_EQ(f.rows().mid(0, 6),
              (QStringList{"[10:00:00.000] : Listen..",
                           "10:00:00Server Socket Error : Referance Err_Log File ....... ",
                           "[10:00:00.205] : Client Connected",
                           "[10:00:00.205] : TLS TLSv1.3 TLS_AES_128_GCM_SHA256",
                           "[10:00:00.301] : Recv [2 byte] :  AB", " "}));
    EXPECT_EQ(fileBytes(f.sim.folders.programFolder() + "/Err_Log/20261122.txt"),
              report("Server", "no shared cipher"));
}

} // namespace
} // namespace sim::test
