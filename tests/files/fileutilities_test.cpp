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

// Parses a .trashinfo file into its Path (decoded) and DeletionDate.
QPair<QString, QString> trashInfo(const QString &file)
{
    QString path, date;
    for (const QByteArray &line : readAll(file).split('\n')) {
        if (line.startsWith("Path="))
            path = QFile::decodeName(QByteArray::fromPercentEncoding(line.mid(5)));
        else if (line.startsWith("DeletionDate="))
            date = QString::fromLatin1(line.mid(13));
    }
    return { path, date };
}

// Original paths reported by the real trash-list for the given data home.
QString trashList(const QString &dataHome)
{
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
    const QString source = tmp.filePath("source.bin");
    QByteArray data(1024 * 1024 + 3, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = char(i * 7 + i / 251);
    write(source, data);
    ::chmod(QFile::encodeName(source).constData(), 0751);
    const QDateTime past = QDateTime::fromString("2001-02-03T04:05:06", Qt::ISODate);
    QFile touched(source);
    ASSERT_TRUE(touched.open(QIODevice::ReadWrite));
    ASSERT_TRUE(touched.setFileTime(past, QFileDevice::FileModificationTime));
    touched.close();

    QString error;
    const QString copy = tmp.filePath("copy.bin");
    ASSERT_TRUE(CFileUtilities::copyFile(source, copy, false, &error)) << error.toStdString();
    EXPECT_EQ(readAll(copy), data);
    struct stat st;
    ::stat(QFile::encodeName(copy).constData(), &st);
    EXPECT_EQ(st.st_mode & 07777, 0751u);
    EXPECT_EQ(QFileInfo(copy).lastModified(), past);

    write(copy, "precious");
    EXPECT_FALSE(CFileUtilities::copyFile(source, copy, false, &error));
    EXPECT_EQ(readAll(copy), QByteArray("precious")) << "an existing destination is kept";
    EXPECT_TRUE(error.contains("already exists")) << error.toStdString();
    EXPECT_TRUE(CFileUtilities::copyFile(source, copy, true, &error));
    EXPECT_EQ(readAll(copy), data);

    QDir(tmp.path()).mkdir("dir");
    struct Case
    {
        const char *label;
        QString source, destination;
    } failures[] = {
        { "missing source", tmp.filePath("missing"), tmp.filePath("x") },
        { "directory source", tmp.filePath("dir"), tmp.filePath("x") },
        { "directory destination", source, tmp.filePath("dir") },
        { "same file", source, tmp.filePath("dir/../source.bin") },
        { "missing target directory", source, tmp.filePath("no/such/x") },
        { "empty name", source, QString() },
    };
    for (const Case &c : failures) {
        error.clear();
        EXPECT_FALSE(CFileUtilities::copyFile(c.source, c.destination, true, &error)) << c.label;
        EXPECT_FALSE(error.isEmpty()) << c.label;
    }
    EXPECT_EQ(readAll(source), data);
    EXPECT_EQ(entries(tmp.path()), QStringList({ "copy.bin", "dir", "source.bin" }))
        << "no leftovers";
}

TEST(MoveToTrash, FollowsTheTrashLayoutAndResolvesCollisions)
{
    QTemporaryDir tmp;
    const QString home = tmp.filePath("data home");
    qputenv("XDG_DATA_HOME", QFile::encodeName(home));
    const QString work = tmp.filePath("work");
    QDir(tmp.path()).mkpath("work/folder.d/inner");

    const QStringList names
        = { "plain.txt", "100% sure.txt", "two\nlines", "folder.d", "plain.txt", "plain.txt" };
    // A name someone else reserved in the meantime must be skipped, not reused.
    QDir(home).mkpath("Trash/info");
    write(home + "/Trash/info/plain (2).txt.trashinfo", "[Trash Info]\n");

    QStringList trashed;
    for (const QString &name : names) {
        const QString path = QDir(work).filePath(name);
        if (!name.endsWith(".d"))
            write(path, name.toUtf8());
        QString target, error;
        ASSERT_TRUE(CFileUtilities::moveToTrash(path, &target, &error)) << error.toStdString();
        EXPECT_FALSE(QFileInfo::exists(path));
        trashed << QFileInfo(target).fileName();
        const auto info = trashInfo(home + "/Trash/info/" + trashed.last() + ".trashinfo");
        EXPECT_EQ(info.first, path);
        EXPECT_TRUE(QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d$")
                        .match(info.second)
                        .hasMatch());
    }
    EXPECT_EQ(trashed,
        QStringList({ "plain.txt", "100% sure.txt", "two\nlines", "folder.d", "plain (3).txt",
            "plain (4).txt" }));
    EXPECT_EQ(readAll(home + "/Trash/files/plain (4).txt"), QByteArray("plain.txt"));
    EXPECT_TRUE(QFileInfo(home + "/Trash/files/folder.d/inner").isDir());
    EXPECT_TRUE(
        readAll(home + "/Trash/info/100% sure.txt.trashinfo")
            .contains("Path=" + QUrl::toPercentEncoding(work, "/") + "/100%25%20sure.txt\n"));
    EXPECT_EQ(QFileInfo(home + "/Trash/files").permissions() & 0x0077, 0) << "trash is private";

    if (QStandardPaths::findExecutable("trash-list").isEmpty())
        GTEST_SKIP() << "trash-list not installed";
    const QString listed = trashList(home);
    for (const char *name : { "/plain.txt", "/100% sure.txt", "/two\nlines", "/folder.d" })
        EXPECT_EQ(listed.count(work + name), QString(name) == "/plain.txt" ? 3 : 1)
            << name << listed.toStdString();
    qunsetenv("XDG_DATA_HOME");
}

TEST(MoveToTrash, FailsWithoutLosingAnything)
{
    QTemporaryDir tmp;
    const QString home = tmp.filePath("share");
    qputenv("XDG_DATA_HOME", QFile::encodeName(home));
    write(tmp.filePath("keep.txt"), "x");
    ASSERT_TRUE(CFileUtilities::moveToTrash(tmp.filePath("keep.txt")));
    for (const QString &path : { tmp.filePath("missing"), QString(), QString("/"), home,
             home + "/Trash/files/keep.txt" }) {
        QString error;
        EXPECT_FALSE(CFileUtilities::moveToTrash(path, nullptr, &error)) << path.toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_EQ(entries(home + "/Trash/files"), QStringList("keep.txt"));
    EXPECT_EQ(entries(home + "/Trash/info"), QStringList("keep.txt.trashinfo"));
    qunsetenv("XDG_DATA_HOME");
}

// /dev/shm is a volume of its own here: files on it go to its top-directory trash.
TEST(MoveToTrash, UsesTheTrashOfAnotherVolume)
{
    QTemporaryDir tmp;
    const QString top = "/dev/shm";
    QTemporaryDir volumeDir(top + "/libutility-trash-XXXXXX");
    struct stat a, b;
    if (!volumeDir.isValid() || ::stat(QFile::encodeName(tmp.path()).constData(), &a) != 0
        || ::stat(top.toLatin1().constData(), &b) != 0 || a.st_dev == b.st_dev)
        GTEST_SKIP() << "no second volume";
    const QString shared = top + "/.Trash";
    if (QFileInfo::exists(shared))
        GTEST_SKIP() << shared.toStdString() << " exists already; not touching it";
    qputenv("XDG_DATA_HOME", QFile::encodeName(tmp.filePath("share")));
    const QString uid = QString::number(::getuid());
    const QString ownTrash = top + "/.Trash-" + uid;
    const bool hadOwnTrash = QFileInfo::exists(ownTrash);

    struct Case
    {
        const char *label;
        int sharedMode; // -1: no shared .Trash
        QString trash;
    } cases[] = {
        { "no shared trash", -1, top + "/.Trash-" + uid },
        { "shared trash without sticky bit", 0777, top + "/.Trash-" + uid },
        { "sticky shared trash", 01777, shared + "/" + uid },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        if (c.sharedMode >= 0) {
            QDir().mkdir(shared);
            ::chmod(shared.toLatin1().constData(), c.sharedMode);
        }
        const QString file = volumeDir.filePath(QString("file %1.txt").arg(c.sharedMode));
        write(file, "data");
        QString target, error;
        ASSERT_TRUE(CFileUtilities::moveToTrash(file, &target, &error)) << error.toStdString();
        EXPECT_EQ(QFileInfo(target).path(), c.trash + "/files");
        const QString info = c.trash + "/info/" + QFileInfo(file).fileName() + ".trashinfo";
        EXPECT_EQ(trashInfo(info).first, file.mid(top.size() + 1))
            << "relative to the top directory";
        if (!QStandardPaths::findExecutable("trash-list").isEmpty()) {
            EXPECT_TRUE(trashList(tmp.filePath("share")).contains(file)) << "the real lister";
        }
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

TEST(FileNames, UniqueNamesNeverExist)
{
    QTemporaryDir tmp;
    for (const char *name : { "a.txt", "a (2).txt", "b", "c.tar.gz", ".profile", "n (7).txt" })
        write(tmp.filePath(name), "");
    ::symlink("nowhere", QFile::encodeName(tmp.filePath("dangling.txt")).constData());
    struct Case
    {
        const char *wanted;
        const char *expected;
    } cases[] = {
        { "free.txt", "free.txt" },
        { "a.txt", "a (3).txt" },
        { "b", "b (2)" },
        { "c.tar.gz", "c (2).tar.gz" },
        { ".profile", ".profile (2)" },
        { "n (7).txt", "n (8).txt" },
        { "dangling.txt", "dangling (2).txt" },
        { "", "" },
        { "x/y", "" },
    };
    for (const Case &c : cases)
        EXPECT_EQ(CFileUtilities::uniqueFileName(tmp.path(), c.wanted), QString(c.expected))
            << c.wanted;
}

TEST(FileNames, SafeNamesAreUsable)
{
    const QString longName = QString(300, QChar(0x00e9)) + ".txt"; // 2 bytes each in UTF-8
    const QString emoji = QString(200, QChar(0x20ac)); // 3 bytes each
    struct Case
    {
        QString text;
        QString expected;
    } cases[] = {
        { "Report 2024.pdf", "Report 2024.pdf" },
        { "a/b\\c", "a_b_c" },
        { "tab\there\n", "tab_here_" },
        { "  ", "unnamed" },
        { "", "unnamed" },
        { ".", "_." },
        { "..", "_.." },
        { "con", "_con" },
        { "LPT1.txt", "_LPT1.txt" },
        { "console", "console" },
        { QString(QChar(0xd800)) + "x", "_x" },
        { longName, QString(125, QChar(0x00e9)) + ".txt" },
        { emoji, QString(85, QChar(0x20ac)) },
    };
    QTemporaryDir tmp;
    for (const Case &c : cases) {
        const QString safe = CFileUtilities::safeFileName(c.text);
        EXPECT_EQ(safe, c.expected) << c.text.left(20).toStdString();
        EXPECT_LE(safe.toUtf8().size(), 255);
        QFile file(tmp.filePath(safe));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << "the name works on disk";
    }
}

TEST(DiskSpace, AgreesWithTheVolume)
{
    QTemporaryDir tmp;
    const qint64 free = CFileUtilities::freeDiskSpace(tmp.path());
    const qint64 reference = QStorageInfo(tmp.path()).bytesAvailable();
    EXPECT_GT(free, 0);
    EXPECT_LT(std::llabs(free - reference), 64 * 1024 * 1024) << "another writer may be busy";
    QString error;
    EXPECT_EQ(CFileUtilities::freeDiskSpace(tmp.filePath("missing"), &error), -1);
    EXPECT_FALSE(error.isEmpty());
}

TEST(CompareFiles, BySizeAndCrc)
{
    QTemporaryDir tmp;
    write(tmp.filePath("check"), "123456789");
    bool ok = false;
    EXPECT_EQ(CFileUtilities::fileCrc32(tmp.filePath("check"), &ok), 0xCBF43926u)
        << "CRC-32 check value";
    EXPECT_TRUE(ok);
    EXPECT_EQ(CFileUtilities::fileCrc32(tmp.filePath("missing"), &ok), 0u);
    EXPECT_FALSE(ok);

    const QByteArray big(700 * 1024, 'z');
    QByteArray changed = big;
    changed[600 * 1024] = 'y'; // past the first block
    write(tmp.filePath("big1"), big);
    write(tmp.filePath("big2"), big);
    write(tmp.filePath("big3"), changed);
    write(tmp.filePath("short"), "z");
    QDir(tmp.path()).mkdir("dir");
    using R = CFileUtilities::ECompareResult;
    struct Case
    {
        const char *a, *b;
        R expected;
    } cases[] = {
        { "big1", "big2", CFileUtilities::eFilesEqual },
        { "big1", "big1", CFileUtilities::eFilesEqual },
        { "big1", "big3", CFileUtilities::eFilesDiffer },
        { "big1", "short", CFileUtilities::eFilesDiffer },
        { "big1", "missing", CFileUtilities::eCompareFailed },
        { "missing", "short", CFileUtilities::eCompareFailed },
        { "dir", "big1", CFileUtilities::eCompareFailed },
    };
    for (const Case &c : cases) {
        QString error;
        EXPECT_EQ(
            CFileUtilities::compareFiles(tmp.filePath(c.a), tmp.filePath(c.b), &error), c.expected)
            << c.a << " " << c.b;
        EXPECT_EQ(error.isEmpty(), c.expected != CFileUtilities::eCompareFailed)
            << c.a << " " << c.b;
    }
}
