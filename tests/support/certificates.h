#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace sim::test {

// Certificates made with openssl for a test, in a folder of their own: an authority `ca`, `device`
// (CN=device, for 127.0.0.1 and device.test) and `client` signed by it, and `self`, signed by itself.
// Each NAME has NAME.crt and NAME.key (readable by its owner only). No private key is ever committed.
struct Certificates {
    QTemporaryDir dir;
    bool made = true;

    Certificates() {
        const QString ext = path("san.ext");
        QFile san(ext);
        made =
            san.open(QIODevice::WriteOnly) && san.write("subjectAltName=IP:127.0.0.1,DNS:device.test\n") > 0;
        san.close();
        const QStringList key{"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};
        run(QStringList{"req", "-x509"} + key +
            QStringList{"-keyout", "ca.key", "-out", "ca.crt", "-subj", "/CN=Test CA", "-days", "30"});
        run(QStringList{"req", "-x509"} + key +
            QStringList{"-keyout", "self.key", "-out", "self.crt", "-subj", "/CN=self", "-days", "30",
                        "-addext", "subjectAltName=IP:127.0.0.1"});
        for (const char* name : {"device", "client"}) {
            const QString n = QString::fromLatin1(name);
            run(QStringList{"req", "-new"} + key +
                QStringList{"-keyout", n + ".key", "-out", n + ".csr", "-subj", "/CN=" + n});
            run({"x509", "-req", "-in", n + ".csr", "-CA", "ca.crt", "-CAkey", "ca.key", "-CAcreateserial",
                 "-days", "30", "-extfile", ext, "-out", n + ".crt"});
        }
        for (const char* name : {"ca", "self", "device", "client"}) {
            QFile(path(QStringLiteral("%1.key").arg(QLatin1String(name))))
                .setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        }
    }
    QString path(const QString& file) const { return dir.filePath(file); }
    QString crt(const char* name) const { return path(QStringLiteral("%1.crt").arg(QLatin1String(name))); }
    QString key(const char* name) const { return path(QStringLiteral("%1.key").arg(QLatin1String(name))); }

private:
    void run(const QStringList& arguments) {
        QProcess p;
        p.setWorkingDirectory(dir.path());
        p.start(QStringLiteral("openssl"), arguments);
        made =
            made && p.waitForFinished(20000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    }
};

} // namespace sim::test
