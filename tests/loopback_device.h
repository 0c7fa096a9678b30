#pragma once

// A device on 127.0.0.1 for whole exchanges on the Qt event loop and the system's sockets.

#include "mixed_platform.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

namespace sim::test {

// A device that listens on a port the system picks and answers each piece it receives.
class Device : public QObject {
public:
    explicit Device(std::function<QByteArray(const QByteArray&)> reply = {}) : reply_(std::move(reply)) {
        server_.listen(QHostAddress::LocalHost, 0);
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = server_.nextPendingConnection()) {
                link_ = s;
                connect(s, &QTcpSocket::readyRead, this, [this, s] {
                    const QByteArray piece = s->readAll();
                    received.append(piece);
                    if (reply_) {
                        s->write(reply_(piece));
                    }
                });
                connect(s, &QTcpSocket::disconnected, this, [this] { ++closes; });
            }
        });
    }
    int port() const { return server_.serverPort(); }
    QTcpSocket* link() const { return link_; }
    QByteArray received;
    int closes = 0;

private:
    QTcpServer server_;
    QPointer<QTcpSocket> link_;
    std::function<QByteArray(const QByteArray&)> reply_;
};

struct Loopback : MixedForm {
    explicit Loopback(Device& device) { pointAtLoopback(p, device.port()); }
    bool waitFor(const std::function<bool()>& cond, int limitMs = 5000) {
        return pumpUntil(mixed.pump, cond, limitMs);
    }
    QStringList rows() const { return p.List1.rows(); }
    QString dailyLog() const {
        return mixed.folders.workingFolder() + QStringLiteral("/log/STAT_") +
               QDate::currentDate().toString(QStringLiteral("yyyyMMdd")) + QStringLiteral(".log");
    }
    // The record rows of the list as the files hold them: a head row and the single text behind it.
    static QByteArray asFileLine(const QString& row, bool ascii) {
        QString line = row;
        if (ascii) {
            line.replace(line.indexOf(QStringLiteral(" :  ")), 4, QStringLiteral(" : "));
        }
        return line.toLatin1() + "\r\n";
    }
};

} // namespace sim::test
