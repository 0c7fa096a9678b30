#include "tls/tls_settings.h"

#include <QFile>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <sys/stat.h>

#include <memory>

namespace sim::tls {
namespace {

template <typename T, void (*Free)(T*)> using Owned = std::unique_ptr<T, decltype([](T* p) { Free(p); })>;
using Bio = Owned<BIO, BIO_free_all>;
using Certificate = Owned<X509, X509_free>;
using Key = Owned<EVP_PKEY, EVP_PKEY_free>;

// The certificates of a PEM file, at least one, or why not.
std::vector<Certificate> certificates(const QString& path, QString* why) {
    std::vector<Certificate> out;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *why = QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
        return out;
    }
    const QByteArray bytes = file.readAll();
    const Bio bio(BIO_new_mem_buf(bytes.constData(), static_cast<int>(bytes.size())));
    while (X509* c = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)) {
        out.emplace_back(c);
    }
    ERR_clear_error();
    if (out.empty()) {
        *why = QStringLiteral("%1 holds no PEM certificate").arg(path);
    }
    return out;
}

} // namespace

std::optional<Problem> check(const Settings& s, bool listening) {
    if (s.certificate.isEmpty() != s.key.isEmpty()) {
        return s.key.isEmpty() ? Problem{"tls.certificate", "a certificate needs its private key in tls.key"}
                               : Problem{"tls.key", "a private key needs its certificate in tls.certificate"};
    }
    if (listening && s.certificate.isEmpty()) {
        return Problem{"tls", "listening with TLS needs tls.certificate and tls.key"};
    }
    if (!s.verify && !s.ca.isEmpty()) {
        return Problem{"tls.verify", "false leaves tls.ca unused; leave out one of them"};
    }
    QString why;
    std::vector<Certificate> chain;
    if (!s.certificate.isEmpty()) {
        chain = certificates(s.certificate, &why);
        if (chain.empty()) {
            return Problem{"tls.certificate", why};
        }
        struct stat info {};
        const QByteArray native = QFile::encodeName(s.key);
        if (::stat(native.constData(), &info) == 0 && (info.st_mode & 077) != 0) {
            return Problem{
                "tls.key",
                QStringLiteral("%1 can be read by others than its owner; chmod 600 %1").arg(s.key)};
        }
        QFile file(s.key);
        if (!file.open(QIODevice::ReadOnly)) {
            return Problem{"tls.key", QStringLiteral("%1 cannot be read: %2").arg(s.key, file.errorString())};
        }
        const QByteArray bytes = file.readAll();
        const Bio bio(BIO_new_mem_buf(bytes.constData(), static_cast<int>(bytes.size())));
        const Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
        ERR_clear_error();
        if (!key) {
            return Problem{
                "tls.key",
                QStringLiteral("%1 holds no PEM private key (or one with a passphrase)").arg(s.key)};
        }
        if (X509_check_private_key(chain.front().get(), key.get()) != 1) {
            ERR_clear_error();
            return Problem{"tls.key",
                           QStringLiteral("%1 is not the private key of %2").arg(s.key, s.certificate)};
        }
    }
    if (!s.ca.isEmpty() && certificates(s.ca, &why).empty()) {
        return Problem{"tls.ca", why};
    }
    return std::nullopt;
}

} // namespace sim::tls
