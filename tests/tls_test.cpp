// The TLS session on its own: two ends over a socket pair, driven as the socket service drives them.

#include "support/certificates.h"
#include "tls/tls_session.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sim::tls {
namespace {

// Both ends of a link: handshakes in turn until both have ended, well or not (a bounded number of turns).
struct Pair {
    int fds[2] = {-1, -1};
    std::unique_ptr<Context> client, server;
    std::unique_ptr<Session> dialling, listening;
    Session::Want dialled = Session::Want::Read, listened = Session::Want::Read;

    Pair(const Settings& dial, const Settings& listen) {
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds);
        QString why;
        client = Context::make(dial, Role::Dialling, &why);
        server = Context::make(listen, Role::Listening, &why);
        EXPECT_TRUE(client && server) << why.toStdString();
        dialling = std::make_unique<Session>(*client, fds[0], QStringLiteral("127.0.0.1"));
        listening = std::make_unique<Session>(*server, fds[1]);
    }
    ~Pair() {
        ::close(fds[0]);
        ::close(fds[1]);
    }
    // The failures of the two ends, "" for one that ended well.
    std::pair<QString, QString> handshake() {
        const auto going = [](Session::Want w) {
            return w == Session::Want::Read || w == Session::Want::Write;
        };
        for (int turn = 0; turn < 50 && (going(dialled) || going(listened)); ++turn) {
            if (going(dialled)) {
                dialled = dialling->handshake();
            }
            if (going(listened)) {
                listened = listening->handshake();
            }
        }
        return {dialled == Session::Want::Nothing ? QString() : dialling->failure(),
                listened == Session::Want::Nothing ? QString() : listening->failure()};
    }
};

TEST(TlsSession, HandshakesCheckTheDevicesCertificateAndCarryBytesBothWays) {
    const test::Certificates c;
    ASSERT_TRUE(c.made);
    const Settings device{c.crt("device"), c.key("device"), {}, true, {}};
    const Settings self{c.crt("self"), c.key("self"), {}, true, {}};
    const struct {
        const char* what;
        Settings dial, listen;
        const char* dialFails; // a pattern of the dialling end's reason, "" when it ends well
    } cases[] = {
        {"a CA, the dialled address in the certificate", {{}, {}, c.crt("ca"), true, {}}, device, ""},
        {"a CA and the name", {{}, {}, c.crt("ca"), true, "device.test"}, device, ""},
        {"a wrong name", {{}, {}, c.crt("ca"), true, "other.test"}, device, "^hostname mismatch$"},
        {"an unknown CA",
         {{}, {}, c.crt("self"), true, {}},
         device,
         "^unable to get local issuer certificate$"},
        {"self-signed, not checked", {{}, {}, {}, false, {}}, self, ""},
        {"self-signed, checked", {{}, {}, {}, true, {}}, self, "self.signed certificate"},
        {"a client certificate asked for and shown",
         {c.crt("client"), c.key("client"), c.crt("ca"), true, {}},
         {c.crt("device"), c.key("device"), c.crt("ca"), true, {}},
         ""},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        Pair pair(k.dial, k.listen);
        const auto [dialFailure, listenFailure] = pair.handshake();
        EXPECT_TRUE(QRegularExpression(QString::fromLatin1(k.dialFails)).match(dialFailure).hasMatch() &&
                    (*k.dialFails == 0) == dialFailure.isEmpty())
            << dialFailure.toStdString();
        if (!dialFailure.isEmpty()) {
            continue;
        }
        EXPECT_TRUE(pair.dialling->describe().startsWith("TLSv1.3 TLS_"))
            << pair.dialling->describe().toStdString();
        EXPECT_TRUE(pair.dialling->describe().contains(
            QRegularExpression(" CN=(device|self) until 20\\d\\d-\\d\\d-\\d\\d$")))
            << pair.dialling->describe().toStdString();
        Session::Want want;
        EXPECT_EQ(pair.dialling->write("PING\r\n", 6, &want), 6);
        char got[16] = {};
        EXPECT_EQ(pair.listening->read(got, sizeof got, &want), 6);
        EXPECT_STREQ(got, "PING\r\n");
        EXPECT_EQ(pair.listening->read(got, sizeof got, &want), 0);
        EXPECT_EQ(want, Session::Want::Read) << "nothing more has come";
    }
    // A listener with a CA drops a client that shows no certificate.
    Pair bare(Settings{{}, {}, c.crt("ca"), true, {}},
              Settings{c.crt("device"), c.key("device"), c.crt("ca"), true, {}});
    EXPECT_EQ(bare.handshake().second, "peer did not return a certificate");
}

} // namespace
} // namespace sim::tls
