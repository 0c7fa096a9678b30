// The form on the Qt platform with a peer on 127.0.0.1, on the system's sockets. Every wait ends by
// itself within seconds.

#include "mixed_platform.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <random>

namespace sim::test {
namespace {

TEST(LoopbackBackpressure, ADeviceThatReadsNothingGetsEveryEchoAndTheOperatorsSendFailsMeanwhile) {
    QTcpServer device;
    device.listen(QHostAddress::LocalHost, 0);
    MixedForm f;
    pointAtLoopback(f.p, device.serverPort());
    const auto waitFor = [&](const std::function<bool()>& cond) {
        return pumpUntil(f.mixed.pump, cond, 20000);
    };
    f.op.click(f.p.opt_None); // the flood is echoed unrecorded; the operator's send is recorded
    f.op.click(f.p.Cmd_Start);
    ASSERT_TRUE(waitFor([&] { return device.hasPendingConnections(); }));
    // The device pours more than every buffer on the way can hold, and reads nothing meanwhile.
    QTcpSocket& link = *device.nextPendingConnection();
    link.setReadBufferSize(4096); // Qt takes no more than this from the system while not reading
    QByteArray pour(qsizetype{48} << 20, Qt::Uninitialized);
    std::mt19937 random(7);
    for (char& b : pour) {
        b = static_cast<char>(random());
    }
    link.write(pour);
    // The pour has stalled once the system took none of it for two spells in a row, so that a moment the
    // test process was not scheduled is no stall.
    int quietSpells = 0;
    qint64 left = -1;
    QTimer spell;
    QObject::connect(&spell, &QTimer::timeout, [&] {
        const bool moved = link.flush() || link.bytesToWrite() != left;
        left = link.bytesToWrite();
        quietSpells = moved ? 0 : quietSpells + 1;
    });
    spell.start(300);
    ASSERT_TRUE(waitFor([&] { return quietSpells == 2; }));
    spell.stop();
    EXPECT_GT(left, 0) << "the simulator stopped reading";
    f.op.click(f.p.opt_List); // the level stays live during a link
    f.keys.type(f.p.txt_Data_Input, QStringLiteral("PING"));
    f.op.click(f.p.Cmd_Send);
    EXPECT_TRUE(f.p.List1.rows().last().endsWith(QStringLiteral("] : Send Fail")));
    f.op.click(f.p.opt_None);

    QByteArray got;
    QObject::connect(&link, &QTcpSocket::readyRead, [&] { got += link.readAll(); });
    link.setReadBufferSize(0);
    got += link.readAll();
    ASSERT_TRUE(waitFor([&] { return got.size() >= pour.size(); }));
    EXPECT_TRUE(got == pour) << "every byte echoed, in order, and no PING among them";
    f.op.click(f.p.opt_List);
    f.op.click(f.p.Cmd_Send); // room again once the device has read
    ASSERT_TRUE(waitFor([&] { return got.size() == pour.size() + 4; }));
    EXPECT_TRUE(got.endsWith("PING"));
    EXPECT_TRUE(f.p.List1.rows()
                    .filter(QStringLiteral("] : Send "))
                    .last()
                    .endsWith(QStringLiteral("] : Send [4 byte] :  PING")));
}

} // namespace
} // namespace sim::test
