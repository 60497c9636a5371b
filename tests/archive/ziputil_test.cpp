#include "ziptestkit.h"

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
    const QStringList flat { ".hidden", "empty", "link-to-top", "top.txt" };
    QStringList deep = QStringList(flat) << "sub"
                                         << "sub/deeper"
                                         << "sub/deeper/leaf.bin"
                                         << "sub/nothing-here";
    deep.sort();
    const std::tuple<const char *, bool, std::string, QStringList> cases[] = {
        { "recursive", true, "", deep },
        { "flat", false, "", flat },
        { "encrypted", true, "zip-pw", deep },
    };
    for (const auto &[label, recursive, password, expected] : cases) {
        SCOPED_TRACE(label);
        // The archive lies inside the tree it packs: it must not pack itself.
        const QString zipPath = src() + "/self.zip";
        ZipUtil zip;
        zip.setPassword(password);
        ASSERT_TRUE(zip.compress(src(), zipPath, recursive)) << zip.errorString();
        const QString out = tmp.filePath(QString("out-") + label);
        ASSERT_TRUE(zip.decompress(zipPath, out)) << zip.errorString();
        EXPECT_EQ(tree(out), expected);
        EXPECT_EQ(readFile(out + "/link-to-top"), "top");
        EXPECT_FALSE(QFileInfo(out + "/link-to-top").isSymLink());
        if (recursive) {
            EXPECT_EQ(readFile(out + "/sub/deeper/leaf.bin"), randomBytes(5000, 9));
        }
        // unzip lists the entries as our reader does: directories too, never itself.
        const auto listed = run("unzip", { "-Z1", zipPath });
        EXPECT_EQ(listed.first, 0);
        UnZipUtil unzip;
        EXPECT_EQ(unzip.fileNames(zipPath), QString(listed.second).split('\n', Qt::SkipEmptyParts));
        EXPECT_EQ(listed.second.contains('/'), recursive);
        EXPECT_FALSE(listed.second.contains("self.zip"));
        unzip.setPassword(password);
        QByteArray content;
        EXPECT_TRUE(unzip.extractFile(zipPath, "top.txt", content));
        EXPECT_EQ(content, "top");
        EXPECT_FALSE(unzip.extractFile(zipPath, "nope", content));
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
    EXPECT_TRUE(zip.errorString().contains("back\\slash.txt")) << zip.errorString();
    EXPECT_EQ(readFile(zipPath), "previous archive");
    EXPECT_EQ(QDir(tmp.path()).entryList(QDir::Files), QStringList({ "a.zip" }));
    EXPECT_FALSE(zip.compress(tmp.filePath("missing"), zipPath, true));
    UnZipUtil unzip;
    EXPECT_TRUE(unzip.fileNames(tmp.filePath("missing.zip")).isEmpty());
    EXPECT_FALSE(unzip.errors().isEmpty());
}

} // namespace
