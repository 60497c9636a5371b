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

RawEntry stored(const QByteArray &name, const QByteArray &data)
{
    RawEntry e;
    e.name = name;
    e.data = data;
    return e;
}

RawEntry deflated(const QByteArray &name, const QByteArray &content)
{
    return with(stored(name, rawDeflate(content)), [&](RawEntry &e) {
        e.method = 8;
        e.crc = crcOf(content);
        e.size = content.size();
    });
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
    // label, entries ("ok.txt" is appended), the text that names the refusal, and what
    // the target holds besides ok.txt.
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
        { "bad crc", { with(deflated("crc.txt", text), [](RawEntry &e) { e.crc = 1234; }) },
            "crc.txt", {} },
        { "overlapping entries",
            { deflated("first.txt", text),
                with(deflated("alias.txt", text), [](RawEntry &e) { e.sameDataAs = 0; }) },
            "alias.txt", {} },
        { "encrypted without password",
            { with(stored("secret.txt", randomBytes(64, 5)), [](RawEntry &e) { e.flag = 1; }) },
            "secret.txt", {} },
        { "aes",
            { with(stored("aes.txt", randomBytes(64, 6)),
                [](RawEntry &e) {
                    e.method = 99;
                    e.flag = 1;
                    e.extra = QByteArray::fromHex("019907000200414503"
                                                  "0800");
                }) },
            "AES", {} },
    };
    for (auto [label, entries, refused, expected] : cases) {
        SCOPED_TRACE(label);
        QDir(work()).removeRecursively();
        entries.push_back(stored("ok.txt", "fine"));
        ASSERT_TRUE(writeFile(zipPath(), buildZip(entries)));

        UnZipUtil unzip;
        EXPECT_FALSE(unzip.extractAll(zipPath(), out()));
        EXPECT_TRUE(unzip.errorString().contains(refused)) << unzip.errorString();
        EXPECT_EQ(readFile(out() + "/ok.txt"), "fine") << "valid entries still extract";
        expected << "ok.txt";
        expected.sort();
        EXPECT_EQ(tree(out()), expected);
        EXPECT_EQ(tree(work()).filter(QRegularExpression("^(?!out)")), QStringList())
            << "outside the target";
        EXPECT_FALSE(QFileInfo(out() + "/link").isSymLink());

        // The class itself stops at the first failure and reports it.
        UnzipFile reader(zipPath());
        EXPECT_FALSE(reader.extractAll(tmp.filePath("stop")));
        EXPECT_FALSE(reader.errorString().isEmpty());
    }
}

TEST_F(ZipSafety, ExistingSymlinksInTheTargetAreNotWrittenThrough)
{
    const QString elsewhere = tmp.filePath("elsewhere");
    const QString victim = tmp.filePath("victim.txt");
    ASSERT_TRUE(QDir().mkpath(elsewhere));
    ASSERT_TRUE(writeFile(victim, "precious"));
    ASSERT_TRUE(QDir().mkpath(out()));
    ASSERT_TRUE(QFile::link(elsewhere, out() + "/dir"));
    ASSERT_TRUE(QFile::link(victim, out() + "/file.txt"));
    ASSERT_TRUE(writeFile(zipPath(),
        buildZip({ stored("dir/new.txt", "new"), stored("file.txt", "overwrite"),
            stored("ok.txt", "fine") })));

    UnZipUtil unzip;
    EXPECT_FALSE(unzip.extractAll(zipPath(), out()));
    EXPECT_EQ(unzip.errors().size(), 2);
    EXPECT_TRUE(tree(elsewhere).isEmpty());
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_EQ(readFile(out() + "/ok.txt"), "fine");
}

TEST_F(ZipSafety, FailedEntryKeepsTheExistingFileAndLeavesNoTemporary)
{
    ASSERT_TRUE(writeFile(out() + "/data.txt", "old content"));
    ASSERT_TRUE(writeFile(zipPath(),
        buildZip({ with(deflated("data.txt", "new content"), [](RawEntry &e) { e.crc ^= 1; }) })));
    UnzipFile reader(zipPath());
    EXPECT_FALSE(reader.extractCurrentFile(out()));
    EXPECT_TRUE(reader.errorString().contains("CRC")) << reader.errorString();
    EXPECT_EQ(readFile(out() + "/data.txt"), "old content");
    EXPECT_EQ(tree(out()), QStringList({ "data.txt" }));
}

// Entry data is read straight from the archive file at the offset the headers give, so
// the offset arithmetic must hold when the archive sits behind a prefix (a self-extractor
// stub whose offsets were not adjusted) and must stop at the end of the file when a size
// points beyond it.
TEST_F(ZipSafety, EntryDataIsReadWhereTheHeadersSayAndNoFurther)
{
    const QByteArray text = QByteArray("payload 0123456789 ").repeated(40000); // > one read
    const QByteArray noise = randomBytes(300000, 7);
    const std::vector<RawEntry> entries
        = { deflated("text.txt", text), stored("noise.bin", noise), deflated("noise.z", noise) };
    const std::pair<const char *, QByteArray> cases[] = {
        { "plain", buildZip(entries) },
        { "behind a prefix", randomBytes(1000, 8) + buildZip(entries) },
    };
    for (const auto &[label, archive] : cases) {
        SCOPED_TRACE(label);
        QDir(out()).removeRecursively();
        ASSERT_TRUE(writeFile(zipPath(), archive));
        UnzipFile reader(zipPath());
        EXPECT_TRUE(reader.extractAll(out())) << reader.errorString();
        for (const RawEntry &e : entries)
            EXPECT_EQ(readFile(out() + '/' + e.name), e.name == "text.txt" ? text : noise);
        QByteArray memory;
        EXPECT_TRUE(reader.extractFile("noise.z", memory));
        EXPECT_EQ(memory, noise);
    }
    ASSERT_TRUE(writeFile(zipPath(), buildZip({ with(deflated("cut.txt", text), [](RawEntry &e) {
        e.packedSize = e.data.size() + 100000;
    }) })));
    UnzipFile reader(zipPath());
    EXPECT_FALSE(reader.extractAll(tmp.filePath("cut")));
    EXPECT_TRUE(reader.errorString().contains("cut.txt")) << reader.errorString();
    EXPECT_TRUE(tree(tmp.filePath("cut")).isEmpty()) << "nothing written";
}

TEST_F(ZipSafety, OutputIsCappedBeforeAnythingIsAllocatedOrWritten)
{
    const QByteArray zeros(8 << 20, '\0');
    ASSERT_TRUE(writeFile(zipPath(),
        buildZip({ deflated("bomb1", zeros), deflated("bomb2", zeros),
            with(stored("liar", "tiny"), [](RawEntry &e) {
                e.method = 8;
                e.size = 0xfffffff0;
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

    unzip.setExtractLimit(0); // no cap: both bombs extract, the liar stays refused
    EXPECT_FALSE(unzip.extractAll(zipPath(), tmp.filePath("uncapped")));
    EXPECT_EQ(unzip.errors().size(), 1);
}

} // namespace
