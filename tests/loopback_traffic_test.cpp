// Timed traffic to a device on 127.0.0.1, in real time: what arrives, in order, not when.

#include "loopback_device.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

TEST(LoopbackTraffic, ARepeatRunDeliversExactlyItsCountOfPayloads) {
    Device device;
    Loopback f(device);
    f.op.click(f.p.opt_Send_Only);
    f.op.edited(f.p.com_Timegap, QStringLiteral("0.02"));
    f.op.edited(f.p.com_Count, QStringLiteral("6"));
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("<rep>"));
    f.op.click(f.p.Cmd_Start);
    ASSERT_EQ(f.p.Client_Socket.state(), socket_state::kConnected);
    ASSERT_TRUE(f.waitFor([&] { return f.p.iRepeatNo == 6; }));
    // A few more gaps: a counted-out run sends nothing more.
    f.waitFor([] { return false; }, 100);
    EXPECT_EQ(device.received, QByteArray("<rep>").repeated(6));
    EXPECT_EQ(f.rows().filter(QStringLiteral("] : Send [5 byte] :  <rep>")).size(), 6);
    f.op.click(f.p.cmd_End);
}

TEST(LoopbackTraffic, AFourStepProgramDeliversItsStepsInOrder) {
    Device device;
    Loopback f(device);
    f.op.click(f.p.opt_Send_Only);
    f.op.click(f.p.opt_HexA);
    f.op.click(f.p.chkMode);
    const char* steps[] = {"0102", "03", "0405", "06"};
    for (int i = 0; i < 4; ++i) {
        f.keys.type(f.p.txtStep(i), QString::fromLatin1(steps[i]));
    }
    for (int i = 0; i < 3; ++i) {
        f.op.edited(f.p.txtTimeGap(i), QStringLiteral("30"));
    }
    f.op.click(f.p.cmdSendStart);
    ASSERT_EQ(f.p.cmdSendStart.caption(), QStringLiteral("End"));
    ASSERT_TRUE(f.waitFor([&] { return device.received.size() == 6; }, 4000));
    EXPECT_EQ(device.received, QByteArray::fromHex("010203040506"));
    EXPECT_TRUE(f.waitFor([&] { return !f.p.Timer2.running(); }));
    f.op.click(f.p.cmdSendStart);
    EXPECT_EQ(f.rows().last().mid(13), QStringLiteral("] : Client Closed"));
}

} // namespace
} // namespace sim::test
