#include <libutility/archive/ziputil.h>

#include "support/printers.h"
#include "ziptestkit.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace ziptest;

namespace {

TEST(ZipFileSettings, CompressLevelIgnoresEverythingOutsideZeroToNine)
{
    struct Case
    {
        std::vector<int> calls;
        int expected;
    } cases[] = {
        { {}, -1 },
        { { 5 }, 5 },
        { { 5, -1 }, 5 }, // once changed, the default cannot come back
        { { 0 }, 0 },
        { { 9, 10 }, 9 },
        { { -2 }, -1 },
        { { 3, INT_MIN }, 3 },
    };
    for (const Case &c : cases) {
        ZipFile zip;
        for (int level : c.calls)
            zip.setCompressLevel(level);
        EXPECT_EQ(zip.compressLevel(), c.expected) << "row with " << c.calls.size() << " calls";
    }
}

TEST(ZipFileSettings, CloseResultsWithoutAnArchive)
{
    ZipFile writer;
    UnzipFile reader;
    EXPECT_TRUE(writer.close());
    EXPECT_FALSE(reader.close());
    EXPECT_EQ(reader.getFileNum(), 0);
    EXPECT_FALSE(reader.gotoNextFile());
    EXPECT_FALSE(UnzipFile("/nonexistent/x.zip").isOpen());
}

class ZipRoundTrip : public ::testing::Test
{
protected:
    QTemporaryDir tmp;
    QString src() const { return tmp.filePath("src"); }
    QString archive() const { return tmp.filePath("a.zip"); }
};

TEST_F(ZipRoundTrip, ContentSurvivesEveryLevelWithAndWithoutPassword)
{
    const std::vector<std::pair<QString, QByteArray>> files = {
        { "text.txt", QByteArray("line one\nline two\n").repeated(50) },
        { "binary.bin", randomBytes(70000, 1) },
        { "empty.txt", QByteArray() },
        { "big.bin", randomBytes(10 << 20, 2) },
        { QString::fromUtf8("ünïcødé/日本語.txt"), "utf-8 name" },
        { "a/b/c/d/nested.txt", "deep" },
    };
    for (const auto &f : files)
        ASSERT_TRUE(writeFile(src() + '/' + f.first, f.second));

    struct Case
    {
        int level;
        std::string password;
    } cases[] = { { -1, "" }, { 0, "" }, { 9, "" }, { -1, "secret" }, { 0, "pässwörd" } };
    for (const Case &c : cases) {
        SCOPED_TRACE(
            testing::Message() << "level " << c.level << " password '" << c.password << "'");
        {
            ZipFile zip(archive());
            zip.setCompressLevel(c.level);
            zip.setPassword(c.password);
            for (const auto &f : files)
                ASSERT_TRUE(zip.addFile(src(), f.first, "comment")) << zip.errorString();
            ASSERT_TRUE(zip.close());
        }
        UnzipFile unzip(archive());
        unzip.setPassword(c.password);
        ASSERT_EQ(unzip.getFileNum(), int(files.size()));
        for (const auto &f : files) {
            QByteArray out("prefix");
            ASSERT_TRUE(unzip.extractFile(f.first.toUtf8().constData(), out))
                << unzip.errorString();
            EXPECT_EQ(out, "prefix" + f.second) << f.first;
        }
        const QString dest = tmp.filePath("out%1").arg(c.level + 1);
        ASSERT_TRUE(unzip.gotoFirstFile());
        ASSERT_TRUE(unzip.extractAll(dest)) << unzip.errorString();
        for (const auto &f : files)
            EXPECT_EQ(readFile(dest + '/' + f.first), f.second) << f.first;
        QDir(dest).removeRecursively();
    }
}

TEST_F(ZipRoundTrip, ExtractFileKeepsTheEntrySizeAsBufferSize)
{
    ASSERT_TRUE(writeFile(src() + "/x", randomBytes(100000, 3)));
    ZipFile zip(archive());
    ASSERT_TRUE(zip.addFile(src(), "x", ""));
    ASSERT_TRUE(zip.close());

    UnzipFile unzip(archive());
    EXPECT_EQ(unzip.bufferSize(), 8192);
    std::vector<char> out;
    ASSERT_TRUE(unzip.extractFile("x", out));
    EXPECT_EQ(out.size(), 100000u);
    EXPECT_EQ(unzip.bufferSize(), 100000);

    std::vector<char> before = out;
    EXPECT_FALSE(unzip.extractFile("X", out)); // exact, case-sensitive names
    EXPECT_FALSE(unzip.extractFile("missing", out));
    EXPECT_EQ(out, before);
    EXPECT_TRUE(unzip.errorString().contains("missing"));
}

TEST_F(ZipRoundTrip, ArchivesWithoutEntriesOpenAndExtract)
{
    ZipFile().open(archive()); // opened and closed with nothing added
    ASSERT_TRUE(writeFile(tmp.filePath("py.zip"), QByteArray()));
    ASSERT_EQ(run("python3",
                  { "-c", "import zipfile,sys; zipfile.ZipFile(sys.argv[1],'w').close()",
                      tmp.filePath("py.zip") })
                  .exitCode,
        0);
    for (const QString &path : { archive(), tmp.filePath("py.zip") }) {
        UnzipFile unzip(path);
        EXPECT_TRUE(unzip.isOpen()) << path;
        EXPECT_EQ(unzip.getFileNum(), 0);
        EXPECT_TRUE(unzip.listAllFiles("").isEmpty());
        EXPECT_TRUE(unzip.extractAll(tmp.filePath("empty-out")));
        EXPECT_TRUE(unzip.close());
        EXPECT_FALSE(unzip.close());
    }
    ASSERT_TRUE(writeFile(tmp.filePath("junk.zip"), "not an archive at all, just text"));
    EXPECT_FALSE(UnzipFile(tmp.filePath("junk.zip")).isOpen());
}

TEST_F(ZipRoundTrip, ListAllFilesFiltersByPrefixAndKeepsThePosition)
{
    for (const char *name : { "doc/a.txt", "doc/b.txt", "img/c.png", "readme" })
        ASSERT_TRUE(writeFile(src() + '/' + name, name));
    ZipFile zip(archive());
    for (const char *name : { "doc/a.txt", "doc/b.txt", "img/c.png", "readme" })
        ASSERT_TRUE(zip.addFile(src(), name, ""));
    ASSERT_TRUE(zip.close());

    UnzipFile unzip(archive());
    ASSERT_TRUE(unzip.gotoNextFile());
    EXPECT_EQ(unzip.listAllFiles("doc/"), QStringList({ "doc/a.txt", "doc/b.txt" }));
    EXPECT_EQ(unzip.listAllFiles("").size(), 4);
    EXPECT_EQ(unzip.listAllFiles(nullptr).size(), 4);
    // Still on the second entry: extracting from here skips the first one.
    ASSERT_TRUE(unzip.extractAll(tmp.filePath("out")));
    EXPECT_EQ(tree(tmp.filePath("out")),
        QStringList({ "doc", "doc/b.txt", "img", "img/c.png", "readme" }));
}

TEST_F(ZipRoundTrip, AddFileRefusals)
{
    ASSERT_TRUE(writeFile(src() + "/ok", "ok"));
    ZipFile closed;
    EXPECT_FALSE(closed.addFile(src(), "ok", ""));

    ZipFile zip(archive());
    for (const char *bad : { "missing", "../src/ok", "/etc/passwd", "a\\b" }) {
        EXPECT_FALSE(zip.addFile(src(), bad, "")) << bad;
        EXPECT_TRUE(zip.errorString().contains(bad)) << zip.errorString();
    }
    EXPECT_TRUE(zip.addFile(src(), "ok", "")); // the archive is still usable
    ASSERT_TRUE(zip.close());
    EXPECT_EQ(UnzipFile(archive()).listAllFiles(""), QStringList({ "ok" }));
}

} // namespace
