#include <libutility/files/osutil.h>
#include <libutility/files/tempdir.h>

#include "support/printers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void touch(const QString &path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write("x");
}

struct stat lstatOf(const QString &path)
{
    struct stat st
    {
    };
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &st), 0) << path.toStdString();
    return st;
}

#define REQUIRE_ROOT()                                                                             \
    if (::geteuid() != 0)                                                                          \
    GTEST_SKIP() << "changing owners needs root"

} // namespace

TEST(OsUtilPermissions, HandsTheMaskToChmod)
{
    QTemporaryDir tmp;
    const QString file = tmp.filePath("f.txt");
    touch(file);
    const COsUtil::ePermissionMask masks[] = { COsUtil::ePermissionMask(0x1ff),
        COsUtil::eOwnerRead | COsUtil::eOwnerWrite | COsUtil::eGroupRead,
        COsUtil::ePermissionMask(04755) };
    for (COsUtil::ePermissionMask mask : masks) {
        COsUtil::setPermissions(file, mask);
        EXPECT_EQ(lstatOf(file).st_mode & 07777, mask) << std::oct << mask;
    }
    COsUtil::setPermissions(
        tmp.filePath("missing"), COsUtil::eAllPermissions); // no crash, no report
}

TEST(OsUtilRemovePath, RemovesFilesAndOnlyEmptyDirectories)
{
    QTemporaryDir tmp;
    QDir(tmp.path()).mkpath("full/inner");
    QDir(tmp.path()).mkdir("empty");
    QDir(tmp.path()).mkdir("slash");
    touch(tmp.filePath("file.txt"));
    ASSERT_EQ(::symlink(QFile::encodeName(tmp.filePath("full")).constData(),
                  QFile::encodeName(tmp.filePath("link")).constData()),
        0);
    struct Case
    {
        const char *path;
        bool removed;
        bool staysOnDisk;
    } cases[] = { { "file.txt", true, false }, { "empty", true, false }, { "slash/", true, false },
        { "full", false, true }, { "link", true, false }, { "missing", false, false } };
    for (const Case &c : cases) {
        EXPECT_EQ(COsUtil::removePath(tmp.filePath(c.path)), c.removed) << c.path;
        EXPECT_EQ(QFileInfo::exists(tmp.filePath(c.path)), c.staysOnDisk) << c.path;
    }
    EXPECT_TRUE(QFileInfo::exists(tmp.filePath("full/inner"))) << "the link's target stays";
}

TEST(OsUtilOwners, MinusOneMeansTheCaller)
{
    QTemporaryDir tmp;
    const QString file = tmp.filePath("f");
    touch(file);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(QFile::encodeName(file).constData(), 1, 1), 0);
    }
    EXPECT_TRUE(COsUtil::setOwners(file, -1, -1));
    EXPECT_EQ(lstatOf(file).st_uid, ::getuid());
    EXPECT_EQ(lstatOf(file).st_gid, ::getgid());
    EXPECT_TRUE(COsUtil::setOwners(tmp.filePath("missing"), -1, -1)) << "always true";
    EXPECT_TRUE(COsUtil::setOwnertoDirectory(QString(), 0, 0, true));
}

// Tree with hidden entries, a link loop and a link to a file outside the tree.
TEST(OsUtilOwners, WalksTheTreeWithoutFollowingLinks)
{
    REQUIRE_ROOT();
    QTemporaryDir tmp;
    QDir root(tmp.path());
    root.mkpath("tree/sub/.hidden.d");
    for (const char *name :
        { "outside", "tree/a.txt", "tree/.dot", "tree/sub/b", "tree/sub/.hidden.d/c" })
        touch(root.filePath(name));
    ASSERT_EQ(::symlink("..", QFile::encodeName(root.filePath("tree/sub/loop")).constData()), 0);
    ASSERT_EQ(::symlink(QFile::encodeName(root.filePath("outside")).constData(),
                  QFile::encodeName(root.filePath("tree/sub/out")).constData()),
        0);
    const passwd *pw = ::getpwnam("nobody");
    const int nobody = pw ? int(pw->pw_uid) : 65534;

    EXPECT_TRUE(COsUtil::setOwnertoDirectory(root.filePath("tree"), nobody, nobody, false));
    EXPECT_EQ(static_cast<int>(lstatOf(root.filePath("tree")).st_uid), nobody);
    EXPECT_EQ(lstatOf(root.filePath("tree/a.txt")).st_uid, 0u) << "not recursive";

    EXPECT_TRUE(COsUtil::setOwnertoDirectory(root.filePath("tree"), nobody, nobody, true));
    for (const char *name : { "tree/a.txt", "tree/.dot", "tree/sub", "tree/sub/b",
             "tree/sub/.hidden.d", "tree/sub/.hidden.d/c", "tree/sub/loop", "tree/sub/out" }) {
        EXPECT_EQ(static_cast<int>(lstatOf(root.filePath(name)).st_uid), nobody) << name;
        EXPECT_EQ(static_cast<int>(lstatOf(root.filePath(name)).st_gid), nobody) << name;
    }
    EXPECT_EQ(lstatOf(root.filePath("outside")).st_uid, 0u) << "the link was followed";
    EXPECT_EQ(lstatOf(tmp.path()).st_uid, 0u) << "the loop was followed";
}

TEST(OsUtilDesktop, NoDisplayIsUnknown)
{
    // The suite runs offscreen: there is no X display, so even the GNOME variable
    // must not make a difference.
    qputenv("GNOME_DESKTOP_SESSION_ID", "this-is-deprecated");
    EXPECT_EQ(COsUtil::getDesktopEnvironment(), -1);
    qunsetenv("GNOME_DESKTOP_SESSION_ID");
}

TEST(TempDir, EmptiesOnlyDottedNamesDeliberately)
{
    QTemporaryDir tmp;
    struct Case
    {
        QStringList files;
        QStringList survivors;
        bool dirStays;
    } cases[] = {
        { { "a.txt", ".hidden", "b.tar.gz" }, {}, false },
        { { "a.txt", "README" }, { "README" }, true },
        { { "sub.d/" }, { "sub.d" }, true }, // directories are not files
    };
    int n = 0;
    for (const Case &c : cases) {
        const QString name = QString("scratch%1").arg(n++);
        const QString path = tmp.filePath(name);
        {
            CTempDir dir(tmp.path(), name);
            ASSERT_TRUE(dir.isValid());
            EXPECT_EQ(dir.path(), path);
            for (const QString &f : c.files)
                f.endsWith('/') ? (void)QDir(path).mkdir(f) : touch(QDir(path).filePath(f));
        }
        EXPECT_EQ(QFileInfo::exists(path), c.dirStays) << name.toStdString();
        if (c.dirStays) {
            EXPECT_EQ(QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                c.survivors);
        }
    }
}

TEST(TempDir, ReusesExistingAndRefusesWhatItCannotEnter)
{
    QTemporaryDir tmp;
    QDir(tmp.path()).mkdir("existing");
    for (const char *name : { "existing/keep", "existing/drop.me", "plainfile", "parent.txt" })
        touch(tmp.filePath(name));
    {
        CTempDir reused(tmp.path(), "existing");
        EXPECT_TRUE(reused.isValid());
    }
    EXPECT_EQ(QDir(tmp.filePath("existing")).entryList(QDir::Files), QStringList("keep"));

    for (const char *bad : { "plainfile", "" }) {
        CTempDir invalid(tmp.path(), bad);
        EXPECT_FALSE(invalid.isValid()) << bad;
        EXPECT_EQ(invalid.path(), QString());
        invalid.empty();
    }
    EXPECT_FALSE(CTempDir(tmp.filePath("no/such/parent"), "x").isValid());
    EXPECT_TRUE(QFileInfo::exists(tmp.filePath("parent.txt")))
        << "an invalid dir never empties its parent";
}
