#include <libutility/archive/ziputil.h>

#include "support/printers.h"
#include "ziptestkit.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace ziptest;

namespace {

class ZipUtilTree : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(writeFile(src() + "/top.txt", "top"));
        ASSERT_TRUE(writeFile(src() + "/.hidden", "hidden"));
        ASSERT_TRUE(writeFile(src() + "/empty", QByteArray()));
        ASSERT_TRUE(writeFile(src() + "/sub/deeper/leaf.bin", randomBytes(5000, 9)));
        ASSERT_TRUE(QDir().mkpath(src() + "/sub/nothing-here"));
        ASSERT_TRUE(QFile::link(src() + "/top.txt", src() + "/link-to-top"));
        ASSERT_TRUE(QFile::link(src() + "/sub", src() + "/link-to-sub"));
        ASSERT_TRUE(QFile::link(src() + "/gone", src() + "/dangling"));
    }

    QTemporaryDir tmp;
    QString src() const { return tmp.filePath("src"); }
};

TEST_F(ZipUtilTree, GetFileNamesListsFilesRelativeAndSorted)
{
    std::vector<QString> names { "kept" };
    ASSERT_TRUE(getFileNames(src(), true, names));
    EXPECT_EQ(names,
        std::vector<QString>(
            { "kept", ".hidden", "empty", "link-to-top", "sub/deeper/leaf.bin", "top.txt" }));
    names.clear();
    ASSERT_TRUE(getFileNames(src(), false, names));
    EXPECT_EQ(names, std::vector<QString>({ ".hidden", "empty", "link-to-top", "top.txt" }));
    EXPECT_FALSE(getFileNames(tmp.filePath("missing"), true, names));
    EXPECT_FALSE(getFileNames(src() + "/top.txt", true, names));
}

TEST_F(ZipUtilTree, CompressAndDecompressRoundTrip)
{
    struct Case
    {
        const char *label;
        bool recursive;
        std::string password;
        QStringList tree;
    } cases[] = {
        { "recursive", true, "",
            { ".hidden", "empty", "link-to-top", "sub", "sub/deeper", "sub/deeper/leaf.bin",
                "sub/nothing-here", "top.txt" } },
        { "flat", false, "", { ".hidden", "empty", "link-to-top", "top.txt" } },
        { "encrypted", true, "zip-pw",
            { ".hidden", "empty", "link-to-top", "sub", "sub/deeper", "sub/deeper/leaf.bin",
                "sub/nothing-here", "top.txt" } },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        // The archive lies inside the tree it packs: it must not pack itself.
        const QString zipPath = src() + "/self.zip";
        ZipUtil zip;
        zip.setPassword(c.password);
        ASSERT_TRUE(zip.compress(src(), zipPath, c.recursive)) << zip.errorString().toStdString();
        const QString out = tmp.filePath(QString("out-") + c.label);
        ASSERT_TRUE(zip.decompress(zipPath, out)) << zip.errorString().toStdString();
        EXPECT_EQ(tree(out), c.tree);
        EXPECT_EQ(readFile(out + "/link-to-top"), "top");
        EXPECT_FALSE(QFileInfo(out + "/link-to-top").isSymLink());
        if (c.recursive) {
            EXPECT_EQ(readFile(out + "/sub/deeper/leaf.bin"), randomBytes(5000, 9));
        }

        const PeerResult listed = run("unzip", { "-Z1", zipPath });
        EXPECT_EQ(listed.exitCode, 0);
        EXPECT_EQ(QString::fromUtf8(listed.output).split('\n').filter("/").isEmpty(), !c.recursive);
        EXPECT_FALSE(listed.output.contains("self.zip"));
        QFile::remove(zipPath);
    }
}

TEST_F(ZipUtilTree, FailedCompressLeavesNoArchive)
{
    const QString zipPath = tmp.filePath("a.zip");
    ASSERT_TRUE(writeFile(zipPath, "previous archive"));
    ASSERT_TRUE(writeFile(src() + "/back\\slash.txt", "name a reader would refuse"));
    ZipUtil zip;
    EXPECT_FALSE(zip.compress(src(), zipPath, true));
    EXPECT_TRUE(zip.errorString().contains("back\\slash.txt")) << zip.errorString().toStdString();
    EXPECT_EQ(readFile(zipPath), "previous archive");
    EXPECT_EQ(QDir(tmp.path()).entryList(QDir::Files), QStringList({ "a.zip" }));
    EXPECT_FALSE(zip.compress(tmp.filePath("missing"), zipPath, true));
}

TEST(UnZipUtil, ListsAndReadsSingleEntries)
{
    QTemporaryDir tmp;
    ASSERT_TRUE(writeFile(tmp.filePath("src/a/b.txt"), "bee"));
    ZipUtil zip;
    ASSERT_TRUE(zip.compress(tmp.filePath("src"), tmp.filePath("x.zip"), true));
    UnZipUtil unzip;
    EXPECT_EQ(unzip.fileNames(tmp.filePath("x.zip")), QStringList({ "a/", "a/b.txt" }));
    QByteArray content;
    EXPECT_TRUE(unzip.extractFile(tmp.filePath("x.zip"), "a/b.txt", content));
    EXPECT_EQ(content, "bee");
    EXPECT_FALSE(unzip.extractFile(tmp.filePath("x.zip"), "nope", content));
    EXPECT_TRUE(unzip.fileNames(tmp.filePath("none.zip")).isEmpty());
    EXPECT_FALSE(unzip.errors().isEmpty());
}

} // namespace
