#pragma once

// The built program run as a test pipeline runs it: headless, from a profile, over 127.0.0.1 only, started
// in a home of its own, as a copy in a folder of its own for its error reports.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace sim::test {

inline QString gProgram; // the copy every test runs

inline int freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

inline QStringList destination(int port) {
    return {"txt_Destination_IP(0)=127", "txt_Destination_IP(1)=0", "txt_Destination_IP(2)=0",
            "txt_Destination_IP(3)=1", QStringLiteral("txt_Destination_Port=%1").arg(port)};
}

class Headless : public ::testing::Test {
protected:
    QTemporaryDir root;
    QProcess process; // a program still running at the end is killed, before its folder goes
    QByteArray out;
    QByteArray err;

    void SetUp() override {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        // No display at all, and a home of its own, under which the settings, data and cache folders lie.
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_CONFIG_HOME",
                                 "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            env.remove(QLatin1String(name));
        }
        const QString home = root.filePath(QStringLiteral("home"));
        QDir().mkdir(home);
        QDir().mkdir(home + "/.runtime",
                     QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        env.insert("HOME", home);
        env.insert("XDG_RUNTIME_DIR", home + "/.runtime");
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(home); // as from the menu
    }

    // Starts the program headless with these options, on a profile of these lines if any, its output afresh.
    QString start(const QStringList& profile, QStringList options) {
        out = err = QByteArray();
        const QString path = root.filePath(QStringLiteral("run.ini"));
        if (!profile.isEmpty()) {
            QFile file(path);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write((profile.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
            options << QStringLiteral("--profile") << path;
        }
        process.start(gProgram, QStringList{QStringLiteral("--headless")} + options);
        EXPECT_TRUE(process.waitForStarted(5000)) << process.errorString().toStdString();
        return path;
    }

    // Reads what the program prints until `printed` (out or err) holds `text` `times` times; false if it
    // ended or 5 s passed.
    bool shows(const QByteArray& printed, const char* text, qsizetype times = 1) {
        const QDeadlineTimer deadline(5000);
        while (printed.count(text) < times && !deadline.hasExpired() &&
               process.state() != QProcess::NotRunning) {
            process.waitForReadyRead(100);
            out += process.readAllStandardOutput();
            err += process.readAllStandardError();
        }
        return printed.count(text) >= times;
    }

    // The exit status once the program has ended by itself, or -1.
    int finish(int limitMs = 10000) {
        const bool ended = process.state() == QProcess::NotRunning || process.waitForFinished(limitMs);
        if (!ended || process.exitStatus() != QProcess::NormalExit) {
            return -1;
        }
        out += process.readAllStandardOutput();
        err += process.readAllStandardError();
        return process.exitCode();
    }
};

// Runs the tests on a copy of `program` in a folder of its own.
inline int runHeadless(int argc, char** argv, const QString& program) {
    const QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    QTemporaryDir bin;
    gProgram = bin.filePath(QStringLiteral("traffic_simulator"));
    if (!::testing::GTEST_FLAG(list_tests) && !QFile::copy(program, gProgram)) {
        return 1;
    }
    return RUN_ALL_TESTS();
}

} // namespace sim::test
