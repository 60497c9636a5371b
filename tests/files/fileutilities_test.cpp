#include <libutility/files/fileutilities.h>

#include "support/printers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void write(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(data);
}

QStringList entries(const QString &dir)
{
    return QDir(dir).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

TEST(CopyFile, KeepsModeAndTimesAndNeverClobbers)
{
    QTemporaryDir tmp;
    const QString source = tmp.filePath("source.bin"), copy = tmp.filePath("copy.bin");
    const QByteArray data = QByteArray("0123456789").repeated(100000); // several blocks
    write(source, data);
    ::chmod(QFile::encodeName(source).constData(), 0751);
    const struct timespec past[2] = { { 981173106, 0 }, { 981173106, 0 } }; // 2001-02-03
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(source).constData(), past, 0), 0);

    QString error;
    ASSERT_TRUE(CFileUtilities::copyFile(source, copy, false, &error)) << error.toStdString();
    EXPECT_EQ(QFileInfo(copy).permissions(), QFileInfo(source).permissions());
    EXPECT_EQ(QFileInfo(copy).lastModified().toSecsSinceEpoch(), past[1].tv_sec);
    write(copy, "precious");
    EXPECT_FALSE(CFileUtilities::copyFile(source, copy, false, &error));
    EXPECT_EQ(readAll(copy), QByteArray("precious")) << "an existing destination is kept";
    EXPECT_TRUE(error.contains("already exists")) << error.toStdString();
    EXPECT_TRUE(CFileUtilities::copyFile(source, copy, true, &error));
    EXPECT_EQ(readAll(copy), data);

    QDir(tmp.path()).mkdir("dir");
    const QString failures[][2] = { { tmp.filePath("missing"), tmp.filePath("x") },
        { tmp.filePath("dir"), tmp.filePath("x") }, { source, tmp.filePath("dir") },
        { source, tmp.filePath("dir/../source.bin") }, { source, QString() } };
    for (const auto &f : failures) {
        error.clear();
        EXPECT_FALSE(CFileUtilities::copyFile(f[0], f[1], true, &error)) << f[1].toStdString();
        EXPECT_FALSE(error.isEmpty()) << f[1].toStdString();
    }
    EXPECT_EQ(readAll(source), data);
    EXPECT_EQ(entries(tmp.path()), QStringList({ "copy.bin", "dir", "source.bin" }))
        << "no leftovers";
}

TEST(MoveToTrash, FollowsTheTrashLayoutResolvesCollisionsAndLosesNothingOnFailure)
{
    QTemporaryDir tmp;
    // A relative XDG_DATA_HOME does not count: the trash is the one in ~/.local/share.
    const QString home = tmp.filePath("h o m e/.local/share"), work = tmp.filePath("work");
    const QByteArray oldHome = qgetenv("HOME");
    const QString oldDir = QDir::currentPath();
    qputenv("HOME", QFile::encodeName(tmp.filePath("h o m e")));
    qputenv("XDG_DATA_HOME", "relative");
    QDir::setCurrent(tmp.path());
    QDir(tmp.path()).mkpath("work/folder.d/inner");
    // Names someone else reserved, or a stray file took, are skipped, not reused.
    write(home + "/Trash/info/plain (2).txt.trashinfo", "[Trash Info]\n");

    QStringList trashed;
    for (const QString &name : QStringList {
             "plain.txt", "100% sure.txt", "two\nlines", "folder.d", "plain.txt", "plain.txt" }) {
        const QString path = QDir(work).filePath(name);
        if (!name.endsWith(".d"))
            write(path, name.toUtf8() + QByteArray::number(trashed.size()));
        QString target, error;
        ASSERT_TRUE(CFileUtilities::moveToTrash(path, &target, &error)) << error.toStdString();
        EXPECT_FALSE(QFileInfo::exists(path));
        EXPECT_EQ(QFileInfo(target).path(), home + "/Trash/files");
        trashed << QFileInfo(target).fileName();
        if (trashed.size() == 1) // files/ is ours now
            write(home + "/Trash/files/plain (3).txt", "stray");
        // Path percent-encoded like a URL path ("100%25%20sure.txt"), a local date and time.
        const QRegularExpression info("^\\[Trash Info\\]\nPath="
            + QRegularExpression::escape(QUrl::toPercentEncoding(path, "/"))
            + "\nDeletionDate=\\d{4}(-\\d\\d){2}T\\d\\d(:\\d\\d){2}\n$");
        const QString infoFile = home + "/Trash/info/" + trashed.last() + ".trashinfo";
        EXPECT_TRUE(info.match(readAll(infoFile)).hasMatch()) << readAll(infoFile).constData();
    }
    EXPECT_EQ(trashed,
        QStringList({ "plain.txt", "100% sure.txt", "two\nlines", "folder.d", "plain (4).txt",
            "plain (5).txt" }));
    EXPECT_EQ(readAll(home + "/Trash/files/plain (5).txt"), QByteArray("plain.txt5"));
    EXPECT_TRUE(QFileInfo(home + "/Trash/files/folder.d/inner").isDir());
    EXPECT_EQ(QFileInfo(home + "/Trash/files").permissions() & 0x0077, 0) << "trash is private";

    // The last data home holds a trash whose files/ is no directory.
    write(tmp.filePath("broken/Trash/files"), "not a directory");
    write(work + "/kept.txt", "kept");
    const std::pair<QString, QString> failures[] = { { home, tmp.filePath("missing") },
        { home, QString() }, { home, "/" }, { home, home },
        { home, home + "/Trash/files/plain.txt" }, { tmp.filePath("broken"), work + "/kept.txt" } };
    for (const auto &[dataHome, path] : failures) {
        qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome));
        QString error;
        EXPECT_FALSE(CFileUtilities::moveToTrash(path, nullptr, &error)) << path.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_EQ(readAll(work + "/kept.txt"), "kept");
    EXPECT_EQ(entries(home + "/Trash/files").size(), 7);
    EXPECT_EQ(entries(home + "/Trash/info").size(), 7);
    QDir::setCurrent(oldDir);
    qputenv("HOME", oldHome);
    qunsetenv("XDG_DATA_HOME");
}

TEST(FileNames, UniqueNamesNeverExistAndSafeNamesAreUsable)
{
    QTemporaryDir tmp;
    for (const char *name : { "a.txt", "a (2).txt", "c.tar.gz", ".profile", "n (7).txt" })
        write(tmp.filePath(name), "");
    ::symlink("nowhere", QFile::encodeName(tmp.filePath("dangling.txt")).constData());
    const char *unique[][2]
        = { { "free.txt", "free.txt" }, { "a.txt", "a (3).txt" }, { "c.tar.gz", "c (2).tar.gz" },
              { ".profile", ".profile (2)" }, { "n (7).txt", "n (8).txt" },
              { "dangling.txt", "dangling (2).txt" }, { "", "" }, { "x/y", "" } };
    for (const auto &u : unique)
        EXPECT_EQ(CFileUtilities::uniqueFileName(tmp.path(), u[0]), QString(u[1])) << u[0];

    const QString safe[][2] = { { "Report 2024.pdf", "Report 2024.pdf" }, { "a/b\\c", "a_b_c" },
        { "tab\there\n", "tab_here_" }, { "", "unnamed" }, { ".", "_." }, { "con", "_con" },
        { "LPT1.txt", "_LPT1.txt" }, { "console", "console" },
        { QString(QChar(0xd800)) + "x", "_x" },
        // 2 and 3 bytes a character in UTF-8: cut to at most 255 bytes.
        { QString(300, QChar(0x00e9)) + ".txt", QString(125, QChar(0x00e9)) + ".txt" },
        { QString(200, QChar(0x20ac)), QString(85, QChar(0x20ac)) } };
    for (const auto &s : safe) {
        const QString name = CFileUtilities::safeFileName(s[0]);
        EXPECT_EQ(name, s[1]) << s[0].left(20).toStdString();
        QFile file(tmp.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << "the name works on disk";
    }
}

TEST(FileChecks, DiskSpaceCrcAndComparison)
{
    QTemporaryDir tmp;
    EXPECT_GT(CFileUtilities::freeDiskSpace(tmp.path()), 0);
    QString error;
    EXPECT_EQ(CFileUtilities::freeDiskSpace(tmp.filePath("missing"), &error), -1);
    EXPECT_TRUE(error.contains("No such file or directory")) << error.toStdString();

    write(tmp.filePath("check"), "123456789");
    bool ok = false;
    EXPECT_EQ(CFileUtilities::fileCrc32(tmp.filePath("check"), &ok), 0xCBF43926u);
    EXPECT_TRUE(ok);

    QByteArray changed(700 * 1024, 'z');
    write(tmp.filePath("big1"), changed);
    write(tmp.filePath("big2"), changed);
    changed[600 * 1024] = 'y'; // past the first block
    write(tmp.filePath("big3"), changed);
    QDir(tmp.path()).mkdir("dir");
    using R = CFileUtilities::ECompareResult;
    const std::tuple<const char *, const char *, R> cases[] = { { "big1", "big2", R::eFilesEqual },
        { "big1", "big3", R::eFilesDiffer }, { "big1", "check", R::eFilesDiffer },
        { "big1", "missing", R::eCompareFailed }, { "dir", "big1", R::eCompareFailed } };
    for (const auto &[a, b, expected] : cases) {
        error.clear();
        EXPECT_EQ(CFileUtilities::compareFiles(tmp.filePath(a), tmp.filePath(b), &error), expected)
            << a << " " << b;
        EXPECT_EQ(error.isEmpty(), expected != R::eCompareFailed) << a << " " << b;
    }
}
