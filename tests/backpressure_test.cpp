#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// A device whose receive path is stuck sends and reads nothing: what waits unsent for it stays within
// 4 MiB, an echo is never lost, a send of the operator's past that fails and says so.
TEST(Backpressure, AStuckDevicesEchoesWaitWithinTheBoundUnlostAndAllItSentIsRecordedWhenItHangsUp) {
    DeviceAsServer f;
    // The bytes of the records as they reach the list, by direction, and the failed sends: old rows go as
    // a long payload fills many.
    std::map<QString, qsizetype> recorded;
    f.p.List1.rowAdded = [&recorded](const QString& row) {
        static const QRegularExpression head(
            QStringLiteral("\\] : (Recv|Send) \\[(\\d+) byte\\]|\\] : (Send Fail)$"));
        const auto m = head.match(row);
        recorded[m.captured(1) + m.captured(3)] += m.hasCaptured(2) ? m.captured(2).toLongLong() : 1;
    };
    f.op.click(f.p.opt_Client); // the simulator listens on 5000 and echoes
    f.p.txt_Port.setText(QStringLiteral("5000"));
    f.p.txt_Data_Input.setText(QStringLiteral("PING"));
    std::shared_ptr<DeviceLink> client;
    Bytes burst(9 << 19); // 4.5 MiB, more than the simulator may hold unsent
    for (std::size_t i = 0; i < burst.size(); ++i) {
        burst[i] = static_cast<std::uint8_t>((i * 31 + i / 4093) % 251);
    }
    f.sim.scheduler.at(100, [&] { client = f.deviceDials(5000); });
    f.sim.scheduler.at(200, [&] {
        client->stopReading();
        client->send(burst);
    });
    f.sim.scheduler.at(1000, [&] {
        // Reading has stopped at the bound: every echo made so far waits, none was refused.
        EXPECT_GE(client->unread(), qsizetype{4} << 20);
        EXPECT_LE(client->unread(), (qsizetype{4} << 20) + 32767) << "at most one answer past the bound";
        EXPECT_EQ(recorded[QStringLiteral("Recv")], client->unread()) << "everything taken in was answered";
        // The form still answers the operator: a manual send past the bound fails and says so.
        f.op.click(f.p.Cmd_Send);
        EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:01.000] : Send Fail"));
    });
    f.sim.scheduler.at(1500, [&] { client->startReading(); });
    f.sim.scheduler.at(2500, [&] { f.op.click(f.p.Cmd_Send); });
    // Stuck again, the device sends as much once more and hangs up.
    f.sim.scheduler.at(3000, [&] {
        client->stopReading();
        client->send(burst);
    });
    f.sim.scheduler.at(4000, [&] { client->close(); });
    f.sim.scheduler.at(5000, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);

    Bytes expected = burst;
    expected.insert(expected.end(), {'P', 'I', 'N', 'G'});
    EXPECT_TRUE(client->received() == expected) << "every byte echoed, in order, then the later send";
    const auto total = static_cast<qsizetype>(2 * burst.size());
    EXPECT_EQ(recorded[QStringLiteral("Recv")], total) << "all it sent, also what it sent before it hung up";
    EXPECT_EQ(recorded[QStringLiteral("Send")], total + 4) << "every arrival echoed, and the PING";
    EXPECT_EQ(recorded[QStringLiteral("Send Fail")], 1);
    const QStringList rows = f.rows();
    EXPECT_EQ(rows.mid(rows.size() - 3), (QStringList{QStringLiteral("[10:00:04.001] : Client Disconnected"),
                                                      QStringLiteral("[10:00:04.001] : Listen.."),
                                                      QStringLiteral("[10:00:05.000] : Server Closed")}));
}

} // namespace
} // namespace sim::test
