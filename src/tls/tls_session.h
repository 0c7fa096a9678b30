#pragma once

#include "tls/tls_settings.h"

#include <QString>

#include <memory>

struct ssl_ctx_st;
struct ssl_st;

namespace sim::tls {

enum class Role { Dialling, Listening };

// What the settings make of TLS for one role: the certificate and key, the authorities and how the
// device's certificate is checked. Made once a link role is known, shared by its sessions.
class Context {
public:
    // The context, or nullptr and the reason in the library's words.
    static std::unique_ptr<Context> make(const Settings& settings, Role role, QString* why);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    Role role() const { return role_; }
    const Settings& settings() const { return settings_; }
    ssl_ctx_st* get() const { return ctx_; }

private:
    Context(ssl_ctx_st* ctx, Settings settings, Role role)
        : ctx_(ctx), settings_(std::move(settings)), role_(role) {}
    ssl_ctx_st* ctx_;
    Settings settings_;
    Role role_;
};

// The TLS side of one link, over a non-blocking descriptor the caller owns and watches: the handshake,
// then reads and writes of plaintext. Each call says what it waits for when it cannot go on.
class Session {
public:
    enum class Want { Nothing, Read, Write, Closed, Failed };

    // `address` is the dialled address, checked against the device's certificate when no name is set.
    Session(const Context& context, int fd, const QString& address = {});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Drives the handshake on: Nothing once it has ended well.
    Want handshake();
    // Plaintext read into `data` (up to `size`) or written from it: the count, or 0 and what it waits for.
    qsizetype read(char* data, qsizetype size, Want* want);
    qsizetype write(const char* data, qsizetype size, Want* want);
    // What write() took waits in a buffer of kWriteBuffer bytes until this sends it: Nothing once all of
    // it has gone, Write while the descriptor takes no more.
    Want flush();
    bool unflushed() const;
    // Whether plaintext already decrypted waits to be read: the descriptor will not say so.
    bool pending() const;
    static constexpr int kWriteBuffer = 64 * 1024;
    // Says the link is closing (close_notify), as far as the descriptor takes it now.
    void shutdown();

    // Why the last call failed, in the library's own words (e.g. "certificate has expired").
    const QString& failure() const { return failure_; }
    // The protocol and cipher, and the device's certificate's subject and expiry when it showed one:
    // "TLSv1.3 TLS_AES_256_GCM_SHA384 CN=device until 2027-01-31".
    QString describe() const;

private:
    Want after(int result);
    ssl_st* ssl_;
    QString failure_;
};

} // namespace sim::tls
