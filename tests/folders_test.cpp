#include "platform/qt/qt_services.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace sim::qt {
namespace {

const QString kAppId = QStringLiteral("example.tarnix.TrafficSimulator");

// A scratch tree: a build folder, an installed prefix, a home folder and the application data folder.
struct Tree {
    QTemporaryDir root;
    QString path(const QString& relative) const { return root.path() + QLatin1Char('/') + relative; }
    QString make(const QString& relative) const {
        QDir().mkpath(path(relative));
        return path(relative);
    }
    void touch(const QString& relative) const {
        QFile file(path(relative));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    FolderPlaces places(const QString& executable, const QString& current) const {
        return {executable, current, path(QStringLiteral("home")), path(QStringLiteral("data")), kAppId};
    }
};

TEST(Folders, TheProgramsFolderIsItsOwnUnlessInstalledOrReadOnly) {
    Tree t;
    t.make(QStringLiteral("build/src"));
    t.make(QStringLiteral("usr/bin"));
    t.make(QStringLiteral("usr/share/applications"));
    t.touch(QStringLiteral("usr/share/applications/") + kAppId + QStringLiteral(".desktop"));
    t.make(QStringLiteral("local/bin"));
    t.make(QStringLiteral("local/share/applications"));
    t.touch(QStringLiteral("local/share/applications/org.other.Tool.desktop"));
    const QString home = t.make(QStringLiteral("home"));
    struct Case {
        const char* executable;
        const char* expected;
    };
    const Case cases[] = {
        {"build/src", "build/src"}, // a build tree or an unpacked archive
        {"usr/bin", "data"},        // installed: its desktop entry lies beside it
        {"local/bin", "local/bin"}, // other programs' entries do not make it an installed one
        {"missing/bin", "data"},    // a folder it cannot write to
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.executable);
        EXPECT_EQ(programFolderOf(t.places(t.path(QLatin1String(c.executable)), home)),
                  t.path(QLatin1String(c.expected)));
    }
}

TEST(Folders, TheDailyLogStaysOutOfTheHomeFolderAndOutOfFoldersItCannotWrite) {
    Tree t;
    const QString exe = t.make(QStringLiteral("build/src"));
    const QString home = t.make(QStringLiteral("home"));
    t.make(QStringLiteral("home/project"));
    ASSERT_TRUE(QFile::link(home, t.path(QStringLiteral("home-link"))));
    struct Case {
        const char* current;
        const char* expected;
    };
    const Case cases[] = {
        {"build/src", "build/src"},       // started where the operator chose
        {"home/project", "home/project"}, // a folder under the home folder is a choice too
        {"home", "data"},                 // started from the menu
        {"home/", "data"},
        {"home-link", "data"}, // the home folder by another name
        {"missing", "data"},   // a folder it cannot write to
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.current);
        EXPECT_EQ(workingFolderOf(t.places(exe, t.path(QLatin1String(c.current)))),
                  t.path(QLatin1String(c.expected)));
    }
}

TEST(Folders, StartedInTheHomeFolderTheQtPlatformMakesAndGivesTheDataFolder) {
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(QDir::homePath()));
    const QString working = QtFolders().workingFolder();
    QDir::setCurrent(before);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    EXPECT_EQ(working, QDir::toNativeSeparators(data));
    EXPECT_TRUE(QDir(data).exists());
    EXPECT_EQ(QtFolders().workingFolder(), QDir::toNativeSeparators(before));
}

} // namespace
} // namespace sim::qt
