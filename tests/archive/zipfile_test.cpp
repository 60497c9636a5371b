#include "ziptestkit.h"

using namespace ziptest;

namespace {

TEST(ZipFileSettings, CompressLevelIgnoresEverythingOutsideZeroToNine)
{
    // Levels set one after the other, the level kept. Row 1: once changed, the default
    // cannot come back.
    const std::pair<std::vector<int>, int> cases[] = { { {}, -1 }, { { 5, -1 }, 5 }, { { 0 }, 0 },
        { { 9, 10 }, 9 }, { { -2 }, -1 }, { { 3, INT_MIN }, 3 } };
    for (const auto &c : cases) {
        ZipFile zip;
        for (int level : c.first)
            zip.setCompressLevel(level);
        EXPECT_EQ(zip.compressLevel(), c.second) << "row " << (&c - cases);
    }
}

TEST(ZipFileTest, ArchivesWithoutEntriesOrWithoutAFile)
{
    QTemporaryDir tmp;
    const QString archive = tmp.filePath("a.zip"), python = tmp.filePath("py.zip");
    EXPECT_TRUE(ZipFile().close());
    EXPECT_FALSE(UnzipFile().close());
    ASSERT_TRUE(writeFile(tmp.filePath("junk.zip"), "not an archive at all, just text"));
    EXPECT_FALSE(UnzipFile(tmp.filePath("junk.zip")).isOpen());

    ZipFile().open(archive); // opened and closed with nothing added
    const char *script = "import zipfile, sys; zipfile.ZipFile(sys.argv[1], 'w').close()";
    ASSERT_EQ(run("python3", { "-c", script, python }).first, 0);
    for (const QString &path : { archive, python }) {
        UnzipFile unzip(path);
        EXPECT_TRUE(unzip.isOpen()) << path;
        EXPECT_EQ(unzip.getFileNum(), 0);
        EXPECT_TRUE(unzip.extractAll(tmp.filePath("empty-out")));
        EXPECT_TRUE(unzip.close());
        EXPECT_TRUE(UnZipUtil().extractAll(path, tmp.filePath("empty-out")));
    }
}

TEST(ZipFileTest, RefusesUnsafeNamesAndReadsByExactNameOrPrefix)
{
    QTemporaryDir tmp;
    const QString src = tmp.filePath("src"), archive = tmp.filePath("a.zip");
    const char *names[] = { "x", "doc/a.txt", "doc/b.txt", "img/c.png" };
    for (const char *name : names)
        ASSERT_TRUE(writeFile(
            src + '/' + name, name[0] == 'x' ? randomBytes(100000, 3) : QByteArray(name)));
    EXPECT_FALSE(ZipFile().addFile(src, "x", ""));
    ZipFile zip(archive);
    for (const char *bad : { "missing", "../src/x", "/etc/passwd", "a\\b" }) {
        EXPECT_FALSE(zip.addFile(src, bad, "")) << bad;
        EXPECT_TRUE(zip.errorString().contains(bad)) << zip.errorString();
    }
    for (const char *name : names) // the archive is still usable
        ASSERT_TRUE(zip.addFile(src, name, "")) << zip.errorString();
    ASSERT_TRUE(zip.close());

    UnzipFile unzip(archive);
    EXPECT_EQ(unzip.bufferSize(), 8192);
    std::vector<char> out;
    ASSERT_TRUE(unzip.extractFile("x", out));
    EXPECT_EQ(out.size(), 100000u);
    EXPECT_EQ(unzip.bufferSize(), 100000) << "the entry's size stays";
    const std::vector<char> before = out;
    EXPECT_FALSE(unzip.extractFile("X", out)); // exact, case-sensitive names
    EXPECT_FALSE(unzip.extractFile("missing", out));
    EXPECT_EQ(out, before);
    EXPECT_TRUE(unzip.errorString().contains("missing"));
    EXPECT_EQ(unzip.listAllFiles("doc/"), QStringList({ "doc/a.txt", "doc/b.txt" }));
    EXPECT_EQ(unzip.listAllFiles(nullptr).size(), 4);
}

} // namespace
