#include "tls/tls_session.h"

#include <QDateTime>
#include <QFile>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <ctime>

namespace sim::tls {
namespace {

QString libraryError() {
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
    return reason != nullptr ? QString::fromLatin1(reason) : QStringLiteral("the TLS handshake failed");
}

} // namespace

std::unique_ptr<Context> Context::make(const Settings& s, Role role, QString* why) {
    SSL_CTX* ctx = SSL_CTX_new(role == Role::Dialling ? TLS_client_method() : TLS_server_method());
    if (ctx == nullptr) {
        *why = libraryError();
        return nullptr;
    }
    std::unique_ptr<Context> out(new Context(ctx, s, role));
    SSL_CTX_set_min_proto_version(ctx, TLS1_2_VERSION);
    // A peer that closes without close_notify has closed the link, as a plain link's peer does.
    SSL_CTX_set_options(ctx, SSL_OP_IGNORE_UNEXPECTED_EOF);
    // A write returns as each record goes out, and the rest is retried from wherever the caller keeps it.
    SSL_CTX_set_mode(ctx, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // Records are read from the descriptor as much as it holds at once, not header and body apart.
    SSL_CTX_set_read_ahead(ctx, 1);
    SSL_CTX_set_default_read_buffer_len(ctx, std::size_t{64} * 1024);
    const auto native = [](const QString& path) { return QFile::encodeName(path); };
    if (!s.certificate.isEmpty() &&
        (SSL_CTX_use_certificate_chain_file(ctx, native(s.certificate).constData()) != 1 ||
         SSL_CTX_use_PrivateKey_file(ctx, native(s.key).constData(), SSL_FILETYPE_PEM) != 1)) {
        *why = libraryError();
        return nullptr;
    }
    if (!s.ca.isEmpty()) {
        if (SSL_CTX_load_verify_locations(ctx, native(s.ca).constData(), nullptr) != 1) {
            *why = libraryError();
            return nullptr;
        }
    } else if (role == Role::Dialling) {
        SSL_CTX_set_default_verify_paths(ctx);
    }
    // Dialling checks the device's certificate unless told not to; listening asks for one only with a CA.
    const bool check = role == Role::Dialling ? s.verify : !s.ca.isEmpty();
    SSL_CTX_set_verify(ctx,
                       check
                           ? SSL_VERIFY_PEER | (role == Role::Listening ? SSL_VERIFY_FAIL_IF_NO_PEER_CERT : 0)
                           : SSL_VERIFY_NONE,
                       nullptr);
    return out;
}

Context::~Context() {
    SSL_CTX_free(ctx_);
}

Session::Session(const Context& context, int fd, const QString& address) : ssl_(SSL_new(context.get())) {
    // Records go out through a buffer that flush() empties, so a burst of them is one write of the
    // descriptor instead of one each.
    BIO* socket = BIO_new_socket(fd, BIO_NOCLOSE);
    BIO* buffer = BIO_new(BIO_f_buffer());
    BIO_set_write_buffer_size(buffer, kWriteBuffer);
    BIO_up_ref(socket); // read from directly, and written to behind the buffer
    BIO_push(buffer, socket);
    SSL_set_bio(ssl_, socket, buffer);
    if (context.role() == Role::Listening) {
        SSL_set_accept_state(ssl_);
        return;
    }
    SSL_set_connect_state(ssl_);
    const Settings& s = context.settings();
    if (!s.name.isEmpty()) {
        const QByteArray name = s.name.toUtf8();
        SSL_set_tlsext_host_name(ssl_, name.constData());
        SSL_set1_host(ssl_, name.constData());
    } else if (s.verify && !address.isEmpty()) {
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl_), address.toLatin1().constData());
    }
}

Session::~Session() {
    SSL_free(ssl_);
}

Session::Want Session::after(int result) {
    switch (SSL_get_error(ssl_, result)) {
    case SSL_ERROR_WANT_READ:
        return Want::Read;
    case SSL_ERROR_WANT_WRITE:
        return Want::Write;
    case SSL_ERROR_ZERO_RETURN:
        return Want::Closed;
    case SSL_ERROR_SYSCALL:
        if (ERR_peek_error() == 0) {
            failure_ = result == 0 ? QStringLiteral("the peer closed the link") : qt_error_string(errno);
            return SSL_is_init_finished(ssl_) && result == 0 ? Want::Closed : Want::Failed;
        }
        [[fallthrough]];
    default: {
        const long verified = SSL_get_verify_result(ssl_);
        failure_ = verified != X509_V_OK ? QString::fromLatin1(X509_verify_cert_error_string(verified))
                                         : libraryError();
        ERR_clear_error();
        return Want::Failed;
    }
    }
}

Session::Want Session::handshake() {
    const int result = SSL_do_handshake(ssl_);
    return result == 1 ? Want::Nothing : after(result);
}

qsizetype Session::read(char* data, qsizetype size, Want* want) {
    const int n = SSL_read(ssl_, data, static_cast<int>(std::min<qsizetype>(size, INT_MAX)));
    *want = n > 0 ? Want::Nothing : after(n);
    return std::max(n, 0);
}

qsizetype Session::write(const char* data, qsizetype size, Want* want) {
    if (size == 0) {
        *want = Want::Nothing;
        return 0;
    }
    const int n = SSL_write(ssl_, data, static_cast<int>(std::min<qsizetype>(size, INT_MAX)));
    *want = n > 0 ? Want::Nothing : after(n);
    return std::max(n, 0);
}

Session::Want Session::flush() {
    BIO* out = SSL_get_wbio(ssl_);
    if (BIO_wpending(out) == 0 || BIO_flush(out) > 0) {
        return Want::Nothing;
    }
    if (BIO_should_retry(out)) {
        return Want::Write;
    }
    failure_ = qt_error_string(errno);
    return Want::Failed;
}

bool Session::unflushed() const {
    return BIO_wpending(SSL_get_wbio(ssl_)) > 0;
}

bool Session::pending() const {
    return SSL_has_pending(ssl_) != 0; // with read-ahead, records read but not yet decrypted too
}

void Session::shutdown() {
    if (SSL_is_init_finished(ssl_)) {
        SSL_shutdown(ssl_);
        flush();
    }
    ERR_clear_error();
}

QString Session::describe() const {
    QString out =
        QStringLiteral("%1 %2").arg(QString::fromLatin1(SSL_get_version(ssl_)),
                                    QString::fromLatin1(SSL_CIPHER_get_name(SSL_get_current_cipher(ssl_))));
    if (X509* peer = SSL_get1_peer_certificate(ssl_)) {
        char subject[256] = {};
        X509_NAME_oneline(X509_get_subject_name(peer), subject, sizeof subject);
        std::tm until{};
        ASN1_TIME_to_tm(X509_get0_notAfter(peer), &until);
        out += QStringLiteral(" %1 until %2")
                   .arg(QString::fromUtf8(subject).remove(0, 1).replace(u'/', u','),
                        QDate(until.tm_year + 1900, until.tm_mon + 1, until.tm_mday).toString(Qt::ISODate));
        X509_free(peer);
    }
    return out;
}

} // namespace sim::tls
