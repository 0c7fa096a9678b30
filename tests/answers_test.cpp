// Answers by rule on the link: the rules of a profile answer what the device sends, as TCP cuts it.

#include "app/profile.h"
#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The heads of the records and the status lines of a log file, one a line: payloads may hold line ends.
QStringList heads(const QByteArray& file) {
    static const QRegularExpression head(
        QStringLiteral("\\[[0-9:.]+\\] : (?:(?:Recv|Send) \\[\\d+ byte\\]|Send Fail|Answer Overflow|Expect "
                       "Fail|Client Disconnected)"));
    QStringList out;
    for (auto it = head.globalMatch(QString::fromLatin1(file)); it.hasNext();) {
        out << it.next().captured();
    }
    return out;
}

Bytes hex(const char* digits) {
    const QByteArray bytes = QByteArray::fromHex(digits);
    return {bytes.begin(), bytes.end()};
}

TEST(AnswerRules, DiallingOutTheRulesAnswerEachLineHoweverItIsCutAndWhatNoRuleTakesIsEchoedAfterTheWait) {
    DeviceAsServer f;
    applyProfile(f, {"opt_Send_recv=true", "Opt_List_File=true", "answer1.when=PING\\r\\n",
                     "answer1.send=+PONG\\r\\n", "answer2.when=ECHO ([^\\r\\n]*)\\r\\n",
                     "answer2.match=regex", "answer2.send=\\1\\r\\n", "answer3.when=NOOP\\r\\n",
                     "answer3.send=", "answer4.when=[^\\r\\n]*\\r\\n", "answer4.match=regex",
                     "answer4.send=-ERR\\r\\n", "answer.wait=40"}); // NOOP is taken and answered with nothing
    f.op.click(f.p.Cmd_Start);
    const auto first = f.device();
    f.at(100, [&] { first->send("PING\r\n"); });
    f.at(200, [&] { first->send("PI"); });
    f.at(210, [&] { first->send("NG\r\n"); });
    f.at(300, [&] { first->send("PING\r\nECHO hi there\r\nxy"); }); // "xy" waits 40 ms, then is echoed
    f.at(400, [&] { first->send("PI"); });
    f.at(410, [&] { f.op.click(f.p.cmd_End); }); // what waits goes with the link, unanswered
    f.at(600, [&] { f.op.click(f.p.Cmd_Start); });
    f.at(700, [&] { f.device()->send("NOOP\r\nNG\r\n"); });
    f.at(800, [&] { f.device()->send(Bytes(70'000, 'z')); }); // a line that never ends
    f.runUntil(2000);
    EXPECT_EQ(first->received(), bytesOf("+PONG\r\n+PONG\r\n+PONG\r\nhi there\r\nxy"));
    Bytes second = bytesOf("-ERR\r\n");
    second.resize(70'006, 'z');
    EXPECT_EQ(f.device()->received(), second)
        << "the oldest bytes past 64 KiB at once, the rest after the wait";
    EXPECT_EQ(heads(fileBytes(f.p.txt_Logfile.text())),
              (QStringList{"[10:00:00.101] : Recv [6 byte]", "[10:00:00.101] : Send [7 byte]",
                           "[10:00:00.201] : Recv [2 byte]", "[10:00:00.211] : Recv [4 byte]",
                           "[10:00:00.211] : Send [7 byte]", "[10:00:00.301] : Recv [23 byte]",
                           "[10:00:00.301] : Send [7 byte]", "[10:00:00.301] : Send [10 byte]",
                           "[10:00:00.341] : Send [2 byte]", "[10:00:00.401] : Recv [2 byte]",
                           "[10:00:00.701] : Recv [10 byte]", "[10:00:00.701] : Send [6 byte]",
                           "[10:00:00.801] : Recv [32767 byte]", "[10:00:00.801] : Recv [32767 byte]",
                           "[10:00:00.801] : Recv [4466 byte]", "[10:00:00.801] : Answer Overflow",
                           "[10:00:00.801] : Send [4464 byte]", "[10:00:00.841] : Send [65536 byte]"}));
}

TEST(AnswerRules, ListeningInHexTheRulesPutTheRequestsIdsInTheirRepliesAndWhatNoRuleTakesGetsNoAnswer) {
    DeviceAsServer f;
    // F F then one digit ends inside a byte: no match, and the next rule takes F F; F1 23 makes an odd reply.
    applyProfile(f, {"opt_Client=true",
                     "txt_Port=5000",
                     "opt_HexA=true",
                     "opt_Send_input=true",
                     "txt_Data_Input=EE",
                     "answer1.when=FF(.)",
                     "answer1.match=regex",
                     "answer1.send=\\1\\1",
                     "answer2.when=FF",
                     "answer2.send=00",
                     "answer3.when=F1(..)",
                     "answer3.match=regex",
                     "answer3.send=\\1 0",
                     "answer4.when=(....) 0000 0006 (..) 03 .... 0002",
                     "answer4.match=regex",
                     "answer4.send=\\1 0000 0007 \\2 03 04 002A 01F4",
                     "answer5.when=(....) 0000 0006 (..) 0(.) ........",
                     "answer5.match=regex",
                     "answer5.send=\\1 0000 0003 \\2 8\\3 01",
                     "answer.otherwise=none"});
    std::shared_ptr<DeviceLink> client;
    f.at(100, [&] { client = f.sim.network.deviceConnects(5000); });
    f.at(200, [&] { client->send(hex("0001 0000 0006 11 03 0010 0002")); });
    f.at(300, [&] { client->send(hex("0002 0000 0006 12 03 0000 0002 0003 0000 0006 13 06 0001 0003")); });
    f.at(400, [&] { client->send(hex("0004 0000")); }); // the rest comes on another link, which drops it
    f.at(410, [&] { client->close(); });
    f.at(420, [&] { client = f.sim.network.deviceConnects(5000); });
    f.at(430, [&] { client->send(hex("0006 11 03 0000 0002")); });
    f.at(700, [&] { client->send(hex("FF 12")); }); // 12 waits for the rest of a request, then goes
    f.at(800, [&] { client->send(hex("F1 23")); });
    f.at(900, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(client->received(), hex("00"));
    const QStringList sent = f.rows().filter(QRegularExpression("Send|Client"));
    EXPECT_EQ(sent, (QStringList{"[10:00:00.100] : Client Connected",
                                 "[10:00:00.201] : Send [13 byte] :  00 01 00 00 00 07 11 03 04 00 2A 01 F4",
                                 "[10:00:00.301] : Send [13 byte] :  00 02 00 00 00 07 12 03 04 00 2A 01 F4",
                                 "[10:00:00.301] : Send [9 byte] :  00 03 00 00 00 03 13 86 01",
                                 "[10:00:00.411] : Client Disconnected", "[10:00:00.420] : Client Connected",
                                 "[10:00:00.701] : Send [1 byte] :  00", "[10:00:00.801] : Send Fail"}));
}

TEST(AnswerRules, WithConnectAndCloseAMessageBegunIsAnsweredByThePanelAtOnceBeforeTheLinkCloses) {
    DeviceAsServer f;
    applyProfile(f, {"opt_Send_recv=true", "answer1.when=PING", "answer1.send=PONG"});
    f.op.click(f.p.Cmd_Start);
    f.p.Opt_Cnn2.setValue(true);
    f.device()->send("PIN");
    f.sim.scheduler.runFor(10);
    EXPECT_EQ(f.device()->received(), bytesOf("PIN"));
    EXPECT_EQ(f.rows().mid(3), (QStringList{"[10:00:00.002] : Send [3 byte] :  PIN", " ",
                                            "[10:00:00.002] : Client Disconnected"}));
}

TEST(Expectations, ARepeatRunsRepliesAreJudgedInOrderAndEachFailureIsLoggedOnVirtualTime) {
    RepeatRun f("0.1", "6", "PING");
    applyProfile(f, {"expect.when=+PONG", "expect.within=50", "Opt_List_File=true"});
    // The device answers the first two sends right, the third wrong, the fourth not at all, the fifth in
    // part only; the operator closes the link while the sixth waits.
    int received = 0;
    const char* const replies[] = {"+PONG", "+PONG", "-ERR", "", "+PO", ""};
    QStringList verdicts;
    f.form.judged().judged = [&](const JudgedSends::Verdict& v) {
        verdicts << QStringLiteral("#%1 %2 %3")
                        .arg(v.send)
                        .arg(v.passed ? "pass" : "fail")
                        .arg(v.passed ? QString::number(*v.replyUs) : v.why);
    };
    f.op.click(f.p.Cmd_Start);
    f.sim.network.latency = 1; // each way: a reply comes 2 ms after its send
    f.device()->onReceive = [&](const Bytes&) {
        if (const char* reply = replies[received++]; *reply != '\0') {
            f.device()->send(reply);
        }
    };
    f.clickAt(610, f.p.cmd_End);
    f.runUntil(1000);
    EXPECT_EQ(verdicts, (QStringList{"#1 pass 2000", "#2 pass 2000", "#3 fail what came cannot match",
                                     "#4 fail nothing came within 50 ms",
                                     "#5 fail no whole match came within 50 ms", "#6 fail the link ended"}));
    EXPECT_EQ(f.rows().filter("Expect Fail"),
              (QStringList{"[10:00:00.302] : Expect Fail", "[10:00:00.450] : Expect Fail",
                           "[10:00:00.550] : Expect Fail", "[10:00:00.610] : Expect Fail"}));
    EXPECT_EQ(heads(fileBytes(f.p.txt_Logfile.text())).filter("Expect Fail").size(), 4)
        << "filed at List + File";
}

TEST(Expectations, ASendWaitingWhenTheDeviceClosesFailsAtOnce) {
    RepeatRun f("0.1", "Endless", "PING");
    applyProfile(f, {"expect.when=+PONG"});
    QStringList verdicts;
    f.form.judged().judged = [&](const JudgedSends::Verdict& v) {
        verdicts << QStringLiteral("#%1 %2 at %3").arg(v.send).arg(v.why).arg(f.sim.scheduler.now());
    };
    f.op.click(f.p.Cmd_Start);
    f.at(150, [&] { f.device()->close(); });
    f.runUntil(180);
    EXPECT_EQ(verdicts, QStringList{"#1 the link ended at 150"});
}

} // namespace
} // namespace sim::test
