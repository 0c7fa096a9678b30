// A device whose receive path is stuck: it sends and reads nothing. What waits unsent for it stays
// within 4 MiB, an echo is never lost, and a send of the operator's past that is recorded as failed.

#include "support/scenario.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

constexpr qsizetype kFourMebibytes = qsizetype{4} * 1024 * 1024;

Bytes pattern(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>((i * 31 + i / 4093 + seed) % 251);
    }
    return bytes;
}

// Every traffic record as it reaches the list, in order: "Recv 32767", "Send 32767", "Send Fail". A
// long payload fills many rows and the list lets old ones go, so the rows are read as they come.
struct Records {
    QStringList seen;
    explicit Records(Panel& p) {
        p.List1.rowAdded = [this](const QString& row) {
            static const QRegularExpression record(
                QStringLiteral("\\] : (Recv|Send) \\[(\\d+) byte\\]|\\] : Send Fail$"));
            const auto m = record.match(row);
            if (m.hasMatch()) {
                seen << (m.captured(1).isEmpty() ? QStringLiteral("Send Fail")
                                                 : m.captured(1) + QLatin1Char(' ') + m.captured(2));
            }
        };
    }
};

qsizetype recordedBytes(const QStringList& recs, const QString& direction) {
    qsizetype total = 0;
    for (const QString& r : recs) {
        if (r.startsWith(direction + QLatin1Char(' '))) {
            total += r.section(QLatin1Char(' '), 1).toLongLong();
        }
    }
    return total;
}

// The simulator listens on 5000 and echoes; the device connects at 100 ms.
struct StuckClient : DeviceAsServer {
    std::shared_ptr<DeviceLink> client;
    Records records{p};
    StuckClient() {
        op.click(p.opt_Client);
        p.txt_Port.setText(QStringLiteral("5000"));
        p.txt_Data_Input.setText(QStringLiteral("PING"));
        sim.scheduler.at(100, [this] { client = sim.network.deviceConnects(5000); });
    }
};

TEST(Backpressure, AnEchoToADeviceThatReadsNothingWaitsWithinTheBoundAndIsNeverLost) {
    StuckClient f;
    const Bytes burst = pattern(6 << 20, 0); // 6 MiB, more than the simulator may hold unsent
    f.sim.scheduler.at(200, [&] {
        f.client->stopReading();
        for (std::size_t at = 0; at < burst.size(); at += 65536) {
            f.client->send(Bytes(burst.begin() + static_cast<std::ptrdiff_t>(at),
                                 burst.begin() + static_cast<std::ptrdiff_t>(at + 65536)));
        }
    });
    qsizetype heldRecv = 0;
    f.sim.scheduler.at(1000, [&] {
        // Reading has stopped at the bound: every echo made so far waits, none was refused.
        const QStringList& recs = f.records.seen;
        heldRecv = recordedBytes(recs, QStringLiteral("Recv"));
        EXPECT_GE(f.client->unread(), kFourMebibytes);
        EXPECT_LE(f.client->unread(), kFourMebibytes + 32767) << "at most one answer past the bound";
        EXPECT_EQ(heldRecv, f.client->unread()) << "everything taken in was answered";
        EXPECT_LT(heldRecv, static_cast<qsizetype>(burst.size()));
        EXPECT_FALSE(recs.contains(QStringLiteral("Send Fail")));
        // The form still answers the operator: a manual send past the bound fails and says so.
        f.op.click(f.p.Cmd_Send);
        EXPECT_EQ(f.records.seen.last(), QStringLiteral("Send Fail"));
        EXPECT_EQ(f.rows().filter(QStringLiteral("Send Fail")).first(),
                  QStringLiteral("[10:00:01.000] : Send Fail"));
    });
    f.sim.scheduler.at(1500, [&] {
        EXPECT_EQ(recordedBytes(f.records.seen, QStringLiteral("Recv")), heldRecv)
            << "nothing more was taken in while the device read nothing";
        f.client->startReading();
    });
    f.sim.scheduler.at(2500, [&] { f.op.click(f.p.Cmd_Send); });
    f.sim.scheduler.at(3000, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);

    Bytes expected = burst;
    for (char c : QByteArrayView("PING")) {
        expected.push_back(static_cast<std::uint8_t>(c));
    }
    EXPECT_TRUE(f.client->received() == expected) << "every byte echoed, in order, then the later send";
    // Each arrival is recorded once and answered at once with the same count; one failed send.
    const QStringList& recs = f.records.seen;
    EXPECT_EQ(recs.count(QStringLiteral("Send Fail")), 1);
    EXPECT_EQ(recs.last(), QStringLiteral("Send 4"));
    QStringList echoes = recs;
    echoes.removeOne(QStringLiteral("Send Fail"));
    echoes.removeLast();
    ASSERT_EQ(echoes.size() % 2, 0);
    for (qsizetype i = 0; i < echoes.size(); i += 2) {
        ASSERT_TRUE(echoes[i].startsWith(QStringLiteral("Recv "))) << i;
        EXPECT_EQ(echoes[i + 1], QStringLiteral("Send ") + echoes[i].mid(5)) << i;
    }
    EXPECT_EQ(recordedBytes(recs, QStringLiteral("Recv")), static_cast<qsizetype>(burst.size()));
}

TEST(Backpressure, AStuckDeviceThatHangsUpHasAllItSentRecordedThenIsListenedForAgain) {
    StuckClient f;
    const Bytes burst = pattern(6 << 20, 1);
    f.sim.scheduler.at(200, [&] {
        f.client->stopReading();
        f.client->send(burst);
    });
    f.sim.scheduler.at(1000, [&] { f.client->close(); });
    f.sim.scheduler.at(2000, [&] { f.op.click(f.p.cmd_End); });
    f.op.click(f.p.Cmd_Start);
    EXPECT_EQ(recordedBytes(f.records.seen, QStringLiteral("Recv")), static_cast<qsizetype>(burst.size()));
    const QStringList rows = f.rows();
    const auto gone = rows.indexOf(QStringLiteral("[10:00:01.001] : Client Disconnected"));
    ASSERT_GE(gone, 0) << rows.mid(rows.size() - 3).join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(rows.mid(gone + 1), (QStringList{QStringLiteral("[10:00:01.001] : Listen.."),
                                               QStringLiteral("[10:00:02.000] : Server Closed")}));
}

TEST(Backpressure, AManualSendPastTheBoundIsRecordedAsFailedAndTheNextOneGoesOutOnceTheDeviceReads) {
    DeviceAsServer f;
    Records records(f.p);
    f.op.click(f.p.Cmd_Start); // echoes what the device sends
    f.device()->stopReading();
    const Bytes burst = pattern(5 << 20, 7);
    f.device()->send(burst);
    f.sim.scheduler.runFor(100);
    ASSERT_GE(f.device()->unread(), kFourMebibytes);
    f.p.txt_Data_Input.setText(QStringLiteral("ABC"));
    f.op.click(f.p.Cmd_Send);
    EXPECT_EQ(f.rows().last(), QStringLiteral("[10:00:00.101] : Send Fail"));
    EXPECT_EQ(f.p.Client_Socket.state(), socket_state::kConnected) << "the link stays up";
    EXPECT_EQ(f.sim.network.dialled().size(), 1U);
    f.device()->startReading();
    f.sim.scheduler.runFor(100);
    f.op.click(f.p.Cmd_Send);
    f.sim.scheduler.runFor(100);
    Bytes expected = burst;
    expected.insert(expected.end(), {'A', 'B', 'C'});
    EXPECT_TRUE(f.device()->received() == expected) << "the refused send left nothing behind";
    EXPECT_EQ(records.seen.count(QStringLiteral("Send Fail")), 1);
    EXPECT_EQ(recordedBytes(records.seen, QStringLiteral("Send")), static_cast<qsizetype>(expected.size()));
}

} // namespace
} // namespace sim::test
