#include <libutility/files/osutil.h>
#include <libutility/files/tempdir.h>

#include "support/printers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

void touch(const QString &path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
}

struct stat lstatOf(const QString &path)
{
    struct stat st = {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &st), 0) << path.toStdString();
    return st;
}

} // namespace

TEST(OsUtilRemovePath, RemovesFilesAndOnlyEmptyDirectories)
{
    QTemporaryDir tmp;
    const QDir dir(tmp.path()); // its filePath() keeps "/" as it is
    for (const char *path : { "full/inner", "empty", "slash" })
        dir.mkpath(path);
    touch(dir.filePath("file.txt"));
    ASSERT_TRUE(QFile::link(dir.filePath("full"), dir.filePath("link")));
    // Path, whether it is removed, whether it is there afterwards.
    const std::tuple<const char *, bool, bool> cases[]
        = { { "file.txt", true, false }, { "empty", true, false }, { "slash/", true, false },
              { "full", false, true }, { "link", true, false }, { "missing", false, false },
              { "/", false, true } }; // no parent to go up to
    for (const auto &[path, removed, staysOnDisk] : cases) {
        EXPECT_EQ(COsUtil::removePath(dir.filePath(path)), removed) << path;
        EXPECT_EQ(QFileInfo::exists(dir.filePath(path)), staysOnDisk) << path;
    }
    EXPECT_TRUE(QFileInfo::exists(dir.filePath("full/inner"))) << "the link's target stays";
}

// Tree with hidden entries, a link loop and a link to a file outside the tree.
TEST(OsUtilOwners, WalksTheTreeWithoutFollowingLinks)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "changing owners needs root";
    QTemporaryDir tmp;
    QDir root(tmp.path());
    root.mkpath("tree/sub/.hidden.d");
    for (const char *name :
        { "outside", "tree/a.txt", "tree/.dot", "tree/sub/b", "tree/sub/.hidden.d/c" })
        touch(root.filePath(name));
    ASSERT_EQ(::symlink("..", QFile::encodeName(root.filePath("tree/sub/loop")).constData()), 0);
    ASSERT_TRUE(QFile::link(root.filePath("outside"), root.filePath("tree/sub/out")));
    const int nobody = 65534; // root may hand out any id

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

    EXPECT_TRUE(COsUtil::setOwners(root.filePath("tree/a.txt"), -1, -1)) << "-1: the caller";
    EXPECT_EQ(lstatOf(root.filePath("tree/a.txt")).st_uid, ::getuid());
    EXPECT_EQ(lstatOf(root.filePath("tree/a.txt")).st_gid, ::getgid());
}

TEST(TempDir, EmptiesOnlyDottedNamesDeliberately)
{
    QTemporaryDir tmp;
    struct Case
    {
        bool existing;
        QStringList files;
        QStringList survivors; // none: the directory is gone
    } cases[] = {
        { false, { "a.txt", ".hidden", "b.tar.gz" }, {} },
        { true, { "a.txt", "README" }, { "README" } }, // an existing directory is reused
        { false, { "sub.d/" }, { "sub.d" } }, // directories are not files
    };
    int n = 0;
    for (const Case &c : cases) {
        const QString name = QString("scratch%1").arg(n++);
        const QString path = tmp.filePath(name);
        if (c.existing)
            QDir(tmp.path()).mkdir(name);
        {
            CTempDir dir(tmp.path(), name);
            ASSERT_TRUE(dir.isValid());
            EXPECT_EQ(dir.path(), path);
            for (const QString &f : c.files)
                f.endsWith('/') ? (void)QDir(path).mkdir(f) : touch(QDir(path).filePath(f));
        }
        EXPECT_EQ(QFileInfo::exists(path), !c.survivors.isEmpty()) << name.toStdString();
        EXPECT_EQ(QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            c.survivors);
    }

    // What cannot be created or entered is not valid, and never empties its parent.
    touch(tmp.filePath("plain.file"));
    const std::pair<QString, const char *> invalid[]
        = { { tmp.path(), "plain.file" }, { tmp.path(), "" }, { tmp.filePath("no/such"), "x" } };
    for (const auto &[parent, name] : invalid) {
        CTempDir dir(parent, name);
        EXPECT_FALSE(dir.isValid()) << name;
        EXPECT_EQ(dir.path(), QString());
        dir.empty();
    }
    EXPECT_TRUE(QFileInfo::exists(tmp.filePath("plain.file")));
}
