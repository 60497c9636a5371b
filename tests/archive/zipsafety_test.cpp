// Hostile and damaged archives: every one gives a defined result, names the entry it
// refused, still extracts the valid entries, and writes nothing outside the target.
#include "ziptestkit.h"

#include <QRegularExpression>

using namespace ziptest;

namespace {

template <class F> RawEntry with(RawEntry e, F change)
{
    change(e);
    return e;
}

class ZipSafety : public ::testing::Test
{
protected:
    QTemporaryDir tmp;
    QString work() const { return tmp.filePath("work"); }
    QString out() const { return tmp.filePath("work/out"); }
    QString zipPath() const { return tmp.filePath("bad.zip"); }
};

TEST_F(ZipSafety, MalformedArchivesAreRefusedEntryByEntry)
{
    const QByteArray absolute = QFile::encodeName(tmp.filePath("work/abs.txt"));
    const QByteArray text = QByteArray("payload ").repeated(2000);
    // ok.txt comes first and holds 64 KiB or more: the upper bytes of its sizes are not
    // zero, so a wrong step through the central directory shows.
    const QByteArray fine = QByteArray("fine ").repeated(20000);
    const QString elsewhere = tmp.filePath("elsewhere"), victim = tmp.filePath("victim.txt");
    ASSERT_TRUE(QDir().mkpath(elsewhere));
    ASSERT_TRUE(writeFile(victim, "precious"));
    // label, entries (after "ok.txt", entry 0), the text that names the refusal, and what
    // the target holds besides ok.txt and what was there before.
    const std::tuple<const char *, std::vector<RawEntry>, const char *, QStringList> cases[] = {
        { "parent", { stored("../evil.txt", "x") }, "../evil.txt", {} },
        { "absolute", { stored(absolute, "x") }, "abs.txt", {} },
        { "nested parent", { stored("a/../../evil.txt", "x") }, "a/../../evil.txt", {} },
        { "backslash", { stored("..\\evil.txt", "x") }, "evil.txt", {} },
        { "drive letter", { stored("C:/evil.txt", "x") }, "C:/evil.txt", {} },
        { "symlink then file through it",
            { with(stored("link", ".."),
                  [](RawEntry &e) {
                      e.madeBy = (3 << 8) | 20; // unix
                      e.attributes = 0120777u << 16; // symbolic link
                  }),
                stored("link/through.txt", "inside") },
            "link", { "link", "link/through.txt" } },
        { "stored size too large",
            { with(stored("big.txt", "abc"), [](RawEntry &e) { e.size = 1000; }) }, "big.txt", {} },
        { "deflated size too large",
            { with(deflated("big.txt", text), [&](RawEntry &e) { e.size = text.size() + 10; }) },
            "big.txt", {} },
        { "deflated size too small",
            { with(deflated("small.txt", text), [](RawEntry &e) { e.size = 100; }) }, "small.txt",
            {} },
        { "bad crc over an existing file",
            { with(deflated("data.txt", text), [](RawEntry &e) { e.crc = 1234; }) }, "CRC", {} },
        { "through a linked directory", { stored("dir/new.txt", "new") }, "dir/new.txt", {} },
        { "over a linked file", { stored("file.txt", "overwrite") }, "file.txt", {} },
        { "overlapping entries",
            { deflated("first.txt", text),
                with(deflated("alias.txt", text), [](RawEntry &e) { e.sameDataAs = 1; }) },
            "alias.txt", {} },
        { "data past the end of the file",
            { with(deflated("cut.txt", text), [](RawEntry &e) { e.packedSize += 100000; }) },
            "cut.txt", {} },
        { "encrypted without password",
            { with(stored("secret.txt", randomBytes(64, 5)), [](RawEntry &e) { e.flag = 1; }) },
            "secret.txt", {} },
        { "aes",
            { with(stored("aes.txt", randomBytes(64, 6)), [](RawEntry &e) { e.method = 99; }) },
            "AES", {} },
    };
    for (auto [label, entries, refused, expected] : cases) {
        SCOPED_TRACE(label);
        // Before: a file, and links to a directory and a file outside the target.
        QDir(work()).removeRecursively();
        ASSERT_TRUE(writeFile(out() + "/data.txt", "old content"));
        ASSERT_TRUE(QFile::link(elsewhere, out() + "/dir"));
        ASSERT_TRUE(QFile::link(victim, out() + "/file.txt"));
        entries.insert(entries.begin(), stored("ok.txt", fine));
        ASSERT_TRUE(writeFile(zipPath(), buildZip(entries)));

        UnZipUtil unzip;
        EXPECT_FALSE(unzip.extractAll(zipPath(), out()));
        EXPECT_TRUE(unzip.errorString().contains(refused)) << unzip.errorString();
        EXPECT_EQ(readFile(out() + "/ok.txt"), fine) << "valid entries still extract";
        expected += QStringList { "ok.txt", "data.txt", "dir", "file.txt" };
        expected.sort();
        EXPECT_EQ(tree(out()), expected) << "no temporary file stays";
        EXPECT_EQ(tree(work()).filter(QRegularExpression("^(?!out)")), QStringList())
            << "outside the target";
        EXPECT_TRUE(tree(elsewhere).isEmpty());
        EXPECT_EQ(readFile(victim), "precious");
        EXPECT_EQ(readFile(out() + "/data.txt"), "old content");
        EXPECT_FALSE(QFileInfo(out() + "/link").isSymLink());

        // The class itself stops at the first failure and reports it.
        UnzipFile reader(zipPath());
        EXPECT_FALSE(reader.extractAll(out()));
        EXPECT_FALSE(reader.errorString().isEmpty());
    }
}

// The bombs sit behind a prefix (a self-extractor stub whose offsets were not
// adjusted): entry data is read at the offsets the headers give, shifted by the prefix.
TEST_F(ZipSafety, OutputIsCappedBeforeAnythingIsAllocatedOrWritten)
{
    const QByteArray zeros(8 << 20, '\0');
    ASSERT_TRUE(writeFile(zipPath(),
        randomBytes(1000, 8)
            + buildZip({ deflated("bomb1", zeros), deflated("bomb2", zeros),
                with(stored("liar", "tiny"), [](RawEntry &e) {
                    e.method = 8;
                    e.size = 0x60000000; // 1.5 GiB
                }) })));
    ASSERT_LT(QFileInfo(zipPath()).size(), 100000);

    UnzipFile reader(zipPath());
    reader.setExtractLimit(10 << 20); // one bomb fits, two do not
    QByteArray memory;
    ASSERT_TRUE(reader.extractFile("bomb1", memory));
    EXPECT_EQ(memory.size(), zeros.size());
    EXPECT_FALSE(reader.extractFile("liar", memory));
    EXPECT_EQ(reader.bufferSize(), zeros.size()) << "no buffer sized from the lying header";
    EXPECT_EQ(memory.size(), zeros.size());

    UnZipUtil unzip;
    unzip.setExtractLimit(10 << 20);
    EXPECT_FALSE(unzip.extractAll(zipPath(), out()));
    ASSERT_EQ(unzip.errors().size(), 2) << unzip.errorString();
    EXPECT_TRUE(unzip.errors()[0].contains("bomb2"));
    EXPECT_TRUE(unzip.errors()[1].contains("liar"));
    EXPECT_EQ(tree(out()), QStringList({ "bomb1" }));

    // By default 1 GiB: the liar is refused for its size, before it is read.
    UnzipFile byDefault(zipPath());
    EXPECT_FALSE(byDefault.extractAll(tmp.filePath("default")));
    EXPECT_TRUE(byDefault.errorString().contains("limit")) << byDefault.errorString();
    unzip.setExtractLimit(0); // no cap: both bombs extract, the liar stays refused
    EXPECT_FALSE(unzip.extractAll(zipPath(), tmp.filePath("uncapped")));
    EXPECT_EQ(unzip.errors().size(), 1);
}

} // namespace
