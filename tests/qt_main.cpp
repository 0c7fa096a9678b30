#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Tests of the Qt platform run without a display and without the operator's settings or folders.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "TEST-9"); // nine hours ahead of UTC, so that local time cannot pass for UTC
    QTemporaryDir home;
    const QString runtime = home.filePath(QStringLiteral("runtime"));
    QDir().mkdir(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Simulator")); // as the program names itself
    // A closed window ends a loop only through the program's own quit, leaving none for the next test.
    QApplication::setQuitOnLastWindowClosed(false);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
