#include "ziptestkit.h"

#include <sys/stat.h>

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
        // Reading a FIFO would block: it is left out like the other special files.
        ASSERT_EQ(::mkfifo(QFile::encodeName(src() + "/fifo").constData(), 0644), 0);
    }

    QTemporaryDir tmp;
    QString src() const { return tmp.filePath("src"); }
};

TEST_F(ZipUtilTree, ListsPacksAndUnpacksTheTree)
{
    std::vector<QString> names { "kept" }; // appended to, relative and sorted
    ASSERT_TRUE(getFileNames(src(), true, names));
    ASSERT_EQ(names, // a FIFO listed here would make compress() below hang
        std::vector<QString>(
            { "kept", ".hidden", "empty", "link-to-top", "sub/deeper/leaf.bin", "top.txt" }));

    const QStringList flat { ".hidden", "empty", "link-to-top", "top.txt" };
    const QStringList deep { ".hidden", "empty", "link-to-top", "sub", "sub/deeper",
        "sub/deeper/leaf.bin", "sub/nothing-here", "top.txt" };
    const std::tuple<const char *, bool, std::string, QStringList> cases[]
        = { { "recursive", true, "", deep }, { "flat", false, "", flat },
              { "encrypted", true, "zip-pw", deep } };
    for (const auto &[label, recursive, password, expected] : cases) {
        SCOPED_TRACE(label);
        // The archive lies inside the tree it packs: it must not pack itself.
        const QString zipPath = src() + "/self.zip";
        ZipUtil zip;
        zip.setPassword(password);
        ASSERT_TRUE(zip.compress(src(), zipPath, recursive)) << zip.errorString();
        // Made like any new file (0666 less the umask), as top.txt was.
        EXPECT_EQ(QFileInfo(zipPath).permissions(), QFileInfo(src() + "/top.txt").permissions());
        const QString out = tmp.filePath(QString("out-") + label);
        ASSERT_TRUE(zip.decompress(zipPath, out)) << zip.errorString();
        EXPECT_EQ(tree(out), expected);
        EXPECT_EQ(readFile(out + "/link-to-top"), "top");
        EXPECT_FALSE(QFileInfo(out + "/link-to-top").isSymLink());
        // unzip lists the entries as our reader does: directories too, never itself.
        const auto listed = run("unzip", { "-Z1", zipPath });
        EXPECT_EQ(listed.first, 0);
        UnZipUtil unzip;
        EXPECT_EQ(unzip.fileNames(zipPath), listed.second.split('\n', Qt::SkipEmptyParts));
        EXPECT_EQ(listed.second.contains('/'), recursive);
        EXPECT_FALSE(listed.second.contains("self.zip"));
        unzip.setPassword(password);
        QByteArray content;
        EXPECT_TRUE(unzip.extractFile(zipPath, "top.txt", content));
        EXPECT_EQ(content, "top");
        QFile::remove(zipPath);
    }
}

} // namespace
