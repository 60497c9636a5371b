#include <libutility/files/fileutilities.h>

#include "support/printers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

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
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(data);
}

QStringList entries(const QString &dir)
{
    return QDir(dir).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// The decoded Path of a .trashinfo file; checks its DeletionDate on the way.
QString trashedFrom(const QString &info)
{
    const QByteArray text = readAll(info);
    EXPECT_TRUE(QRegularExpression("\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n")
                    .match(QString::fromLatin1(text))
                    .hasMatch())
        << text.constData();
    const int at = text.indexOf("\nPath=") + 6;
    return QFile::decodeName(
        QByteArray::fromPercentEncoding(text.mid(at, text.indexOf('\n', at) - at)));
}

// Original paths reported by the real trash-list for the given data home ("" without it).
QString trashList(const QString &dataHome)
{
    if (QStandardPaths::findExecutable("trash-list").isEmpty())
        return QString();
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_DATA_HOME", dataHome);
    process.setProcessEnvironment(env);
    process.start("trash-list", QStringList());
    process.waitForFinished(60000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

TEST(CopyFile, KeepsModeAndTimesAndNeverClobbers)
{
    QTemporaryDir tmp;
    const QString source = tmp.filePath("source.bin"), copy = tmp.filePath("copy.bin");
    QByteArray data(1024 * 1024 + 3, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = char(i * 7 + i / 251);
    write(source, data);
    ::chmod(QFile::encodeName(source).constData(), 0751);
    const QDateTime past = QDateTime::fromString("2001-02-03T04:05:06", Qt::ISODate);
    QFile touched(source);
    ASSERT_TRUE(touched.open(QIODevice::ReadWrite)
        && touched.setFileTime(past, QFileDevice::FileModificationTime));
    touched.close();

    QString error;
    ASSERT_TRUE(CFileUtilities::copyFile(source, copy, false, &error)) << error.toStdString();
    EXPECT_EQ(readAll(copy), data);
    EXPECT_EQ(QFileInfo(copy).permissions(), QFileInfo(source).permissions());
    EXPECT_EQ(QFileInfo(copy).lastModified(), past);
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
    const QString home = tmp.filePath("data home"), work = tmp.filePath("work");
    qputenv("XDG_DATA_HOME", QFile::encodeName(home));
    QDir(tmp.path()).mkpath("work/folder.d/inner");
    // A name someone else reserved in the meantime must be skipped, not reused.
    QDir(home).mkpath("Trash/info");
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
        trashed << QFileInfo(target).fileName();
        EXPECT_EQ(trashedFrom(home + "/Trash/info/" + trashed.last() + ".trashinfo"), path);
    }
    EXPECT_EQ(trashed,
        QStringList({ "plain.txt", "100% sure.txt", "two\nlines", "folder.d", "plain (3).txt",
            "plain (4).txt" }));
    EXPECT_EQ(readAll(home + "/Trash/files/plain (4).txt"), QByteArray("plain.txt5"));
    EXPECT_TRUE(QFileInfo(home + "/Trash/files/folder.d/inner").isDir());
    EXPECT_TRUE(
        readAll(home + "/Trash/info/100% sure.txt.trashinfo")
            .contains("Path=" + QUrl::toPercentEncoding(work, "/") + "/100%25%20sure.txt\n"));
    EXPECT_EQ(QFileInfo(home + "/Trash/files").permissions() & 0x0077, 0) << "trash is private";
    const QString listed = trashList(home);
    for (const char *name : { "/plain.txt", "/100% sure.txt", "/two\nlines", "/folder.d" })
        EXPECT_EQ(listed.count(work + name),
            listed.isEmpty()     ? 0
                : name[1] == 'p' ? 3
                                 : 1)
            << name << listed.toStdString();

    for (const QString &path : { tmp.filePath("missing"), QString(), QString("/"), home,
             home + "/Trash/files/plain.txt" }) {
        QString error;
        EXPECT_FALSE(CFileUtilities::moveToTrash(path, nullptr, &error)) << path.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_EQ(entries(home + "/Trash/files").size(), 6);
    EXPECT_EQ(entries(home + "/Trash/info").size(), 7);
    qunsetenv("XDG_DATA_HOME");
}

// /dev/shm is a volume of its own here: files on it go to its top-directory trash.
TEST(MoveToTrash, UsesTheTrashOfAnotherVolume)
{
    QTemporaryDir tmp;
    const QString top = "/dev/shm", shared = top + "/.Trash";
    QTemporaryDir volumeDir(top + "/libutility-trash-XXXXXX");
    struct stat a, b;
    if (!volumeDir.isValid() || ::stat(QFile::encodeName(tmp.path()).constData(), &a) != 0
        || ::stat(top.toLatin1().constData(), &b) != 0 || a.st_dev == b.st_dev)
        GTEST_SKIP() << "no second volume";
    if (QFileInfo::exists(shared))
        GTEST_SKIP() << shared.toStdString() << " exists already; not touching it";
    qputenv("XDG_DATA_HOME", QFile::encodeName(tmp.filePath("share")));
    const QString uid = QString::number(::getuid()), ownTrash = top + "/.Trash-" + uid;
    const bool hadOwnTrash = QFileInfo::exists(ownTrash);
    // Shared .Trash mode (-1: none) and the trash it leads to: only a sticky one is used.
    const std::pair<int, QString> cases[]
        = { { -1, ownTrash }, { 0777, ownTrash }, { 01777, shared + "/" + uid } };
    for (const auto &[mode, trash] : cases) {
        if (mode >= 0) {
            QDir().mkdir(shared);
            ::chmod(shared.toLatin1().constData(), mode);
        }
        const QString file = volumeDir.filePath(QString("file %1.txt").arg(mode));
        write(file, "data");
        QString target, error;
        ASSERT_TRUE(CFileUtilities::moveToTrash(file, &target, &error)) << error.toStdString();
        EXPECT_EQ(QFileInfo(target).path(), trash + "/files") << mode;
        const QString info = trash + "/info/" + QFileInfo(file).fileName() + ".trashinfo";
        EXPECT_EQ(trashedFrom(info), file.mid(top.size() + 1)) << "relative to the top directory";
        const QString listed = trashList(tmp.filePath("share"));
        EXPECT_TRUE(listed.isEmpty() || listed.contains(file)) << "the real lister";
        QFile::remove(target);
        QFile::remove(info);
        QDir(shared).removeRecursively();
    }
    if (!hadOwnTrash) { // only what this test created, and only while empty
        for (const char *sub : { "/files", "/info", "" })
            QDir().rmdir(ownTrash + sub);
    }
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
    const qint64 free = CFileUtilities::freeDiskSpace(tmp.path());
    EXPECT_GT(free, 0);
    EXPECT_LT(std::llabs(free - QStorageInfo(tmp.path()).bytesAvailable()), 64 * 1024 * 1024)
        << "another writer may be busy";
    QString error;
    EXPECT_EQ(CFileUtilities::freeDiskSpace(tmp.filePath("missing"), &error), -1);
    EXPECT_FALSE(error.isEmpty());

    write(tmp.filePath("check"), "123456789");
    bool ok = false;
    EXPECT_EQ(CFileUtilities::fileCrc32(tmp.filePath("check"), &ok), 0xCBF43926u);
    EXPECT_TRUE(ok);
    EXPECT_EQ(CFileUtilities::fileCrc32(tmp.filePath("missing"), &ok), 0u);
    EXPECT_FALSE(ok);

    const QByteArray big(700 * 1024, 'z');
    QByteArray changed = big;
    changed[600 * 1024] = 'y'; // past the first block
    write(tmp.filePath("big1"), big);
    write(tmp.filePath("big2"), big);
    write(tmp.filePath("big3"), changed);
    QDir(tmp.path()).mkdir("dir");
    const struct
    {
        const char *a, *b;
        CFileUtilities::ECompareResult expected;
    } cases[] = {
        { "big1", "big2", CFileUtilities::eFilesEqual },
        { "big1", "big3", CFileUtilities::eFilesDiffer },
        { "big1", "check", CFileUtilities::eFilesDiffer },
        { "big1", "missing", CFileUtilities::eCompareFailed },
        { "dir", "big1", CFileUtilities::eCompareFailed },
    };
    for (const auto &c : cases) {
        error.clear();
        EXPECT_EQ(
            CFileUtilities::compareFiles(tmp.filePath(c.a), tmp.filePath(c.b), &error), c.expected)
            << c.a << " " << c.b;
        EXPECT_EQ(error.isEmpty(), c.expected != CFileUtilities::eCompareFailed) << c.a << c.b;
    }
}
