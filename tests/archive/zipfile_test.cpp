#include "ziptestkit.h"

using namespace ziptest;

namespace {

TEST(ZipFileSettings, CompressLevelIgnoresEverythingOutsideZeroToNine)
{
    const std::pair<std::vector<int>, int> cases[] = {
        { {}, -1 },
        { { 5, -1 }, 5 }, // once changed, the default cannot come back
        { { 0 }, 0 },
        { { 9, 10 }, 9 },
        { { -2 }, -1 },
        { { 3, INT_MIN }, 3 },
    };
    for (const auto &c : cases) {
        ZipFile zip;
        for (int level : c.first)
            zip.setCompressLevel(level);
        EXPECT_EQ(zip.compressLevel(), c.second) << "row " << (&c - cases);
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

class ZipFileTest : public ::testing::Test
{
protected:
    QTemporaryDir tmp;
    QString src() const { return tmp.filePath("src"); }
    QString archive() const { return tmp.filePath("a.zip"); }
};

TEST_F(ZipFileTest, ExtractFileKeepsTheEntrySizeAsBufferSize)
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

    const std::vector<char> before = out;
    EXPECT_FALSE(unzip.extractFile("X", out)); // exact, case-sensitive names
    EXPECT_FALSE(unzip.extractFile("missing", out));
    EXPECT_EQ(out, before);
    EXPECT_TRUE(unzip.errorString().contains("missing"));
}

TEST_F(ZipFileTest, ArchivesWithoutEntriesOpenAndExtract)
{
    ZipFile().open(archive()); // opened and closed with nothing added
    const QString python = tmp.filePath("py.zip");
    ASSERT_EQ(run("python3",
                  { "-c", "import zipfile,sys; zipfile.ZipFile(sys.argv[1],'w').close()", python })
                  .first,
        0);
    for (const QString &path : { archive(), python }) {
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

TEST_F(ZipFileTest, ListAllFilesFiltersByPrefixAndKeepsThePosition)
{
    ZipFile zip(archive());
    for (const char *name : { "doc/a.txt", "doc/b.txt", "img/c.png", "readme" }) {
        ASSERT_TRUE(writeFile(src() + '/' + name, name));
        ASSERT_TRUE(zip.addFile(src(), name, ""));
    }
    ASSERT_TRUE(zip.close());
    UnzipFile unzip(archive());
    ASSERT_TRUE(unzip.gotoNextFile());
    EXPECT_EQ(unzip.listAllFiles("doc/"), QStringList({ "doc/a.txt", "doc/b.txt" }));
    EXPECT_EQ(unzip.listAllFiles(nullptr).size(), 4);
    // Still on the second entry: extracting from here skips the first one.
    ASSERT_TRUE(unzip.extractAll(tmp.filePath("out")));
    EXPECT_EQ(tree(tmp.filePath("out")),
        QStringList({ "doc", "doc/b.txt", "img", "img/c.png", "readme" }));
}

TEST_F(ZipFileTest, AddFileRefusals)
{
    ASSERT_TRUE(writeFile(src() + "/ok", "ok"));
    EXPECT_FALSE(ZipFile().addFile(src(), "ok", ""));
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
