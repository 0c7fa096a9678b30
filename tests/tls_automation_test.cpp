// TLS on the link of the built program, held against openssl's own server and client: what reaches them,
// what the program logs and records, and how it refuses a certificate or drops a client.

#include "support/certificates.h"
#include "support/files.h"
#include "support/headless.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTcpSocket>

namespace {

using namespace sim::test;

const Certificates& certs() {
    static const Certificates made; // once for every test: openssl takes a while
    return made;
}

// The lines of a records file without what changes from run to run (times), a payload by its hash.
QByteArray recordsOf(const QString& path) {
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << path.toStdString();
    QByteArrayList lines = f.readAll().split('\n');
    for (QByteArray& line : lines) {
        QJsonObject o = QJsonDocument::fromJson(line).object();
        o.remove(QStringLiteral("time"));
        o.remove(QStringLiteral("reply_us"));
        if (o.contains(QStringLiteral("hex"))) { // its text is its bytes too
            o.remove(QStringLiteral("text"));
            o[QStringLiteral("hex")] = QString::number(qHash(o[QStringLiteral("hex")].toString()));
        }
        line = o.isEmpty() ? QByteArray() : QJsonDocument(o).toJson(QJsonDocument::Compact) + '\n';
    }
    return lines.join();
}

// Whether openssl's server accepts on the port within 5 s: a probe that connects and closes at once, which
// it takes as one more failed handshake. Between probes it waits for the server to end (it should not).
bool accepting(int port, QProcess& server) {
    for (const QDeadlineTimer deadline(5000); !deadline.hasExpired() && !server.waitForFinished(20);) {
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
        if (probe.waitForConnected(200)) {
            return true;
        }
    }
    return false;
}

class Tls : public Headless {
protected:
    void SetUp() override {
        Headless::SetUp();
        ASSERT_TRUE(certs().made);
        QDir(reportFolder()).removeRecursively();
    }
    static QString reportFolder() { return QFileInfo(gProgram).dir().filePath(QStringLiteral("Err_Log")); }
    static QByteArray reports() { // every error report the program wrote
        QByteArray all;
        for (const QFileInfo& day : QDir(reportFolder()).entryInfoList(QDir::Files)) {
            all += fileBytes(day.filePath());
        }
        return all;
    }

    // Whether the report and standard error each tell of a failed handshake for `why` exactly once.
    void toldOnce(const QByteArray& why) {
        EXPECT_EQ(err.count("traffic_simulator: TLS failed: " + why + '\n'), 1) << err.toStdString();
        const QByteArray rows = reports();
        EXPECT_EQ(rows.count("Err Number : 40100\r\nErr Desc : TLS failed: " + why + "\r\n"), 1)
            << rows.data();
    }
};

// Three sends of 12,000 bytes, each answered with 10,000 by the device: as a plain server, then as openssl's
// server with a certificate the profile trusts or does not check; or refused with the library's reason.
// A TLS run hands the device the very bytes the plain one does and records what it does, apart from the
// status line that names the protocol, cipher and certificate.
TEST_F(Tls, ADialledLinkCarriesAndRecordsWhatAPlainOneDoesOrIsRefusedWithTheLibrarysReason) {
    QByteArray payload;
    for (int i = 0; i < 12000; ++i) {
        payload += static_cast<char>(i * 7 % 251);
    }
    const QString ca = "tls.ca=" + certs().crt("ca");
    const struct {
        const char* server; // nullptr: plain
        QStringList tls;
        const char* why; // the refusal's reason
    } rows[] = {
        {nullptr, {}, nullptr},
        {"device", {ca}, nullptr},
        {"device", {ca, "tls.name=device.test"}, nullptr},
        {"self", {"tls.verify=false"}, nullptr},
        {"expired", {ca}, "certificate has expired"},
        {"device", {ca, "tls.name=wrong.test"}, "hostname mismatch"},
        {"device", {"tls.ca=" + certs().crt("self")}, "unable to get local issuer certificate"},
        {"self", {ca}, "self-signed certificate"},
    };
    QByteArray plain; // the plain run's records
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why != nullptr ? row.why : row.server != nullptr ? row.server : "plain");
        const int port = freePort();
        QTcpServer tcp;
        QTcpSocket* device = nullptr;
        QProcess server;
        if (row.server != nullptr) {
            server.start("openssl",
                         {"s_server", "-quiet", "-accept", QStringLiteral("127.0.0.1:%1").arg(port), "-cert",
                          certs().crt(row.server), "-key", certs().key(row.server)});
            ASSERT_TRUE(accepting(port, server));
        } else {
            ASSERT_TRUE(tcp.listen(QHostAddress::LocalHost, static_cast<quint16>(port)));
        }
        const QString records = root.filePath(QStringLiteral("records.jsonl"));
        start(destination(port) +
                  QStringList{"opt_HexA=true", "opt_Send_Only=true", "opt_Repeat=true", "com_Timegap=0.1",
                              "com_Count=3", "txt_Data_Input=" + payload.toHex()} +
                  (row.server != nullptr ? QStringList{"tls=true"} + row.tls : QStringList()),
              {"--start", "--quiet", "--duration=0.8", "--records", records});
        // The device answers each send once all of it has come.
        QByteArray heard;
        for (const QDeadlineTimer deadline(5000);
             heard.size() < 3 * payload.size() && !deadline.hasExpired() && !process.waitForFinished(0);) {
            const qsizetype whole = heard.size() / payload.size();
            if (row.server != nullptr) {
                server.waitForReadyRead(50);
                heard += server.readAllStandardOutput();
            } else if (device != nullptr ||
                       (tcp.waitForNewConnection(50) && (device = tcp.nextPendingConnection()))) {
                device->waitForReadyRead(50);
                heard += device->readAll();
            }
            if (heard.size() / payload.size() > whole) {
                QIODevice& to = row.server != nullptr ? static_cast<QIODevice&>(server) : *device;
                to.write(payload.mid(1000, 10000));
                to.waitForBytesWritten(1000);
            }
        }
        EXPECT_EQ(finish(), row.why != nullptr ? 1 : 0) << err.toStdString();
        server.kill();
        server.waitForFinished(1000);
        if (row.why != nullptr) {
            EXPECT_TRUE((heard + server.readAllStandardOutput()).isEmpty());
            toldOnce(row.why);
            continue;
        }
        EXPECT_TRUE(heard == payload.repeated(3)) << heard.size() << " bytes came";
        QByteArray got = recordsOf(records);
        if (row.server == nullptr) {
            plain = got;
            // Connected, three sends and their answers, disconnected.
            EXPECT_TRUE(got.startsWith("{\"kind\":\"status\",\"text\":\"Connection Success\"}\n"))
                << got.data();
            EXPECT_EQ(got.count('\n'), 8) << got.data();
            continue;
        }
        // Right after "Connection Success": "TLS TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device until 2026-12-26".
        QByteArrayList lines = got.split('\n');
        const QRegularExpression shown(
            QStringLiteral("^\\{\"kind\":\"status\",\"text\":\"TLS TLSv1\\.3 TLS_\\w+ CN=%1 until %2\"\\}$")
                .arg(QLatin1String(row.server), certs().until(row.server)));
        EXPECT_TRUE(lines.size() > 1 && shown.match(QString::fromUtf8(lines.takeAt(1))).hasMatch())
            << got.data();
        EXPECT_EQ(lines.join('\n').toStdString(), plain.toStdString());
    }
}

// A listener with an authority takes clients that show a certificate of it and drops, each with an error
// report, one that shows none, one that speaks plain text and one that says nothing for a second, and goes on
// listening. A plain listener takes a TLS client's hello as any bytes (and echoes it, ending that client).
TEST_F(Tls, AListenerTakesGoodClientsAndDropsOthersWithAReportWhileItGoesOnListening) {
    enum Kind { Certified, Anonymous, Plain };
    struct Client {
        Kind kind;
        QByteArray said;
        const char* why; // nullptr: echoed; else dropped for this reason ("": by the client itself)
    };
    const struct {
        QStringList tls;
        std::vector<Client> clients;
    } listeners[] = {
        {{"tls=true", "tls.certificate=" + certs().crt("device"), "tls.key=" + certs().key("device"),
          "tls.ca=" + certs().crt("ca")},
         {{Certified, "one\n", nullptr},
          {Anonymous, "two\n", "peer did not return a certificate"},
          {Plain, "plain text\r\n", "wrong version number"},
          {Plain, "", "the client did not end its TLS handshake within a second"},
          {Certified, "three\n", nullptr}}},
        {{}, {{Anonymous, "four\n", ""}, {Plain, "five\n", nullptr}}},
    };
    for (const auto& listener : listeners) {
        const bool tls = !listener.tls.isEmpty();
        SCOPED_TRACE(tls);
        const int port = freePort();
        start(QStringList{"opt_Client=true", QStringLiteral("txt_Port=%1").arg(port), "opt_Send_recv=true"} +
                  listener.tls,
              {"--start"});
        qsizetype listens = 1; // "Listen.." again after each client that got through
        for (const Client& client : listener.clients) {
            SCOPED_TRACE(client.said.toStdString());
            ASSERT_TRUE(shows(out, "] : Listen..", listens)) << out.toStdString();
            QByteArray got;
            bool served = false; // the client ends well, or is still connected
            if (client.kind == Plain) {
                QTcpSocket socket;
                socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
                ASSERT_TRUE(socket.waitForConnected(3000));
                socket.write(client.said);
                for (const QDeadlineTimer deadline(3000);
                     (got.size() < client.said.size() || client.why != nullptr) &&
                     socket.waitForReadyRead(int(deadline.remainingTime()));) {
                    got += socket.readAll(); // a dropped one waits for its close
                }
                served = socket.state() == QAbstractSocket::ConnectedState;
            } else {
                QProcess openssl;
                openssl.start(
                    "openssl",
                    QStringList{"s_client", "-quiet", "-no_ign_eof", "-connect",
                                QStringLiteral("127.0.0.1:%1").arg(port), "-CAfile", certs().crt("ca")} +
                        (client.kind == Certified
                             ? QStringList{"-cert", certs().crt("client"), "-key", certs().key("client")}
                             : QStringList()));
                openssl.write(client.said);
                for (const QDeadlineTimer deadline(3000);
                     got.size() < client.said.size() &&
                     openssl.waitForReadyRead(int(deadline.remainingTime()));) {
                    got += openssl.readAllStandardOutput();
                }
                openssl.closeWriteChannel();                                       // it ends the session
                served = openssl.waitForFinished(3000) && openssl.exitCode() == 0; // else killed as it goes
            }
            EXPECT_EQ(got, client.why == nullptr ? client.said : QByteArray());
            EXPECT_EQ(served, client.why == nullptr);
            if (client.why == nullptr || *client.why == 0) {
                ++listens;
            } else {
                EXPECT_TRUE(shows(err, client.why)) << err.toStdString();
            }
        }
        EXPECT_TRUE(shows(out, "] : Listen..", listens)) << out.toStdString();
        process.terminate();
        EXPECT_EQ(finish(5000), tls ? 1 : 0) << err.toStdString();
        for (const Client& client : listener.clients) {
            if (client.why != nullptr && *client.why != 0) {
                toldOnce(client.why);
            }
        }
        // Each client that came through is named right after it connected.
        const QRegularExpression shown(
            QStringLiteral(
                "\\] : Client Connected\n\\[[0-9:.]+\\] : TLS TLSv1\\.3 TLS_\\w+ CN=client until %1\n")
                .arg(certs().until("client")));
        EXPECT_EQ(QString::fromUtf8(out).count(shown), tls ? 2 : 0) << out.toStdString();
        EXPECT_EQ(out.count("] : Client Connected\n"), 2) << out.toStdString();
    }
}

} // namespace

int main(int argc, char** argv) {
    return runHeadless(argc, argv, QStringLiteral(SIM_PROGRAM));
}
