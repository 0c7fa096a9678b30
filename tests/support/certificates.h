#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace sim::test {

// Certificates made with openssl for a test, in a folder of their own: an authority `ca`, `device`
// (CN=device, for 127.0.0.1 and device.test), `client` and `expired` (as `device`, but valid only on the
// first day of 2020) signed by it, and `self`, signed by itself. Each NAME has NAME.crt and NAME.key
// (readable by its owner only). No private key is ever committed.
struct Certificates {
    QTemporaryDir dir;
    bool made = true;

    Certificates() {
        const QString ext = path("san.ext");
        write(ext, "subjectAltName=IP:127.0.0.1,DNS:device.test\n");
        // The authority's ledger.
        write(
            path("ca.cnf"),
            "[ca]\ndefault_ca=d\n[d]\ndatabase=index.txt\nserial=serial\nnew_certs_dir=.\ndefault_md=sha256\n"
            "policy=p\n[p]\ncommonName=supplied\n");
        write(path("index.txt"), "");
        write(path("serial"), "01\n");
        const QStringList key{"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};
        run(QStringList{"req", "-x509"} + key +
            QStringList{"-keyout", "ca.key", "-out", "ca.crt", "-subj", "/CN=Test CA", "-days", "30"});
        run(QStringList{"req", "-x509"} + key +
            QStringList{"-keyout", "self.key", "-out", "self.crt", "-subj", "/CN=self", "-days", "30",
                        "-addext", "subjectAltName=IP:127.0.0.1"});
        for (const char* name : {"device", "client", "expired"}) {
            const QString n = QString::fromLatin1(name);
            run(QStringList{"req", "-new"} + key +
                QStringList{"-keyout", n + ".key", "-out", n + ".csr", "-subj", "/CN=" + n});
            run(QStringList{"ca", "-batch", "-notext", "-config", "ca.cnf", "-cert", "ca.crt", "-keyfile",
                            "ca.key", "-in", n + ".csr", "-out", n + ".crt", "-extfile", ext} +
                (n == "expired" ? QStringList{"-startdate", "20200101000000Z", "-enddate", "20200102000000Z"}
                                : QStringList{"-days", "30"}));
        }
        for (const char* name : {"ca", "self", "device", "client", "expired"}) {
            QFile(path(QStringLiteral("%1.key").arg(QLatin1String(name))))
                .setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        }
    }
    QString path(const QString& file) const { return dir.filePath(file); }
    QString crt(const char* name) const { return path(QStringLiteral("%1.crt").arg(QLatin1String(name))); }
    QString key(const char* name) const { return path(QStringLiteral("%1.key").arg(QLatin1String(name))); }

    // The day `name` expires, yyyy-MM-dd in UTC (openssl prints "notAfter=2026-12-26 10:04:16Z").
    QString until(const char* name) const {
        QProcess p;
        p.start(QStringLiteral("openssl"),
                {"x509", "-noout", "-enddate", "-dateopt", "iso_8601", "-in", crt(name)});
        p.waitForFinished(5000);
        return QString::fromLatin1(p.readAllStandardOutput()).section(u'=', 1).left(10);
    }

private:
    void write(const QString& file, const char* text) {
        QFile f(file);
        made = made && f.open(QIODevice::WriteOnly) && f.write(text) == qint64(qstrlen(text));
    }
    void run(const QStringList& arguments) {
        QProcess p;
        p.setWorkingDirectory(dir.path());
        p.start(QStringLiteral("openssl"), arguments);
        made =
            made && p.waitForFinished(20000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    }
};

} // namespace sim::test
