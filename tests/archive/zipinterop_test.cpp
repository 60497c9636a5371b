// Interoperation with independent peers: Info-ZIP's zip and unzip and Python's
// zipfile module, run as real processes on real files.
#include "ziptestkit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

using namespace ziptest;

namespace {

const char *const cPythonExtract = R"(
import json, sys, zipfile
z = zipfile.ZipFile(sys.argv[1])
z.setpassword(sys.argv[3].encode())
z.extractall(sys.argv[2])
print(json.dumps([{"name": i.filename, "flags": i.flag_bits, "method": i.compress_type,
                   "date": "%d-%02d-%02d" % i.date_time[:3], "mode": i.external_attr >> 16,
                   "comment": i.comment.decode()} for i in z.infolist()]))
)";

const char *const cPythonWrite = R"(
import os, sys, zipfile
with zipfile.ZipFile(sys.argv[2], 'w', compression=int(sys.argv[3])) as z:
    for root, dirs, files in os.walk(sys.argv[1]):
        for f in files:
            z.write(os.path.join(root, f), os.path.relpath(os.path.join(root, f), sys.argv[1]))
)";

class ZipInterop : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const auto &f : files)
            ASSERT_TRUE(writeFile(src() + '/' + f.first, f.second));
        ASSERT_EQ(::chmod(QFile::encodeName(src() + "/run.sh").constData(), 0755), 0);
    }

    QString src() const { return tmp.filePath("src"); }
    QString zipPath() const { return tmp.filePath("a.zip"); }

    void expectSameFiles(const QString &dir) const
    {
        for (const auto &f : files)
            EXPECT_EQ(readFile(dir + '/' + f.first), f.second) << dir << " / " << f.first;
    }

    QTemporaryDir tmp;
    const std::vector<std::pair<QString, QByteArray>> files = {
        { "plain.txt", QByteArray("hello zip\n").repeated(300) },
        { "random.bin", randomBytes(200000, 7) }, // many pieces of the transfer buffer
        { "zero.bin", QByteArray() },
        { "run.sh", "#!/bin/sh\necho hi\n" },
        { "a/b/c/d/nested.txt", "deep" },
        { QString::fromUtf8("dir/naïve façade.txt"), "utf-8 named" },
    };
};

// unzip and Python's zipfile read what ZipFile writes, and agree on the UTF-8 flag,
// encryption, method, date, permissions and comment of every entry.
TEST_F(ZipInterop, PeersReadWhatZipFileWrites)
{
    const std::tuple<const char *, int, std::string> variants[]
        = { { "stored", 0, "" }, { "default level", -1, "" },
              { "encrypted level 9", 9, "pässwörd" }, { "encrypted stored", 0, "pw-1234" } };
    for (const auto &[label, level, password] : variants) {
        SCOPED_TRACE(label);
        ZipFile zip(zipPath());
        zip.setCompressLevel(level);
        zip.setPassword(password);
        for (const auto &f : files)
            ASSERT_TRUE(zip.addFile(src(), f.first, "note")) << zip.errorString();
        ASSERT_TRUE(zip.close());
        const QString pw = QString::fromStdString(password); // "": unencrypted entries
        const QString byUnzip = tmp.filePath(QString("unzip-") + label);
        const auto extracted = run("unzip", { "-q", "-P", pw, zipPath(), "-d", byUnzip });
        EXPECT_EQ(extracted.first, 0) << extracted.second;
        expectSameFiles(byUnzip);

        const QString byPython = tmp.filePath(QString("python-") + label);
        const auto py = run("python3", { "-c", cPythonExtract, zipPath(), byPython, pw });
        ASSERT_EQ(py.first, 0) << py.second;
        expectSameFiles(byPython);
        const QJsonArray infos = QJsonDocument::fromJson(py.second.toUtf8()).array();
        ASSERT_EQ(infos.size(), int(files.size()));
        for (const QJsonValue &value : infos) {
            const QJsonObject info = value.toObject();
            const QString name = info["name"].toString();
            SCOPED_TRACE(name.toStdString());
            EXPECT_EQ(bool(info["flags"].toInt() & 0x800), name.toUtf8().size() != name.size());
            EXPECT_EQ(bool(info["flags"].toInt() & 1), !password.empty());
            EXPECT_EQ(info["method"].toInt(), level == 0 ? 0 : 8);
            EXPECT_EQ(info["date"].toString(),
                QFileInfo(src() + '/' + name).lastModified().date().toString(Qt::ISODate));
            EXPECT_EQ(info["comment"].toString(), "note");
            struct stat st;
            ASSERT_EQ(::stat(QFile::encodeName(src() + '/' + name).constData(), &st), 0);
            EXPECT_EQ(info["mode"].toInt() & 0777, int(st.st_mode & 0777));
        }
    }
}

TEST_F(ZipInterop, ZipFileReadsWhatPeersWrite)
{
    const QString peer = tmp.filePath("peer.zip");
    const std::tuple<const char *, QString, QStringList, std::string> producers[] = {
        { "zip -0", "zip", { "-q", "-r", "-0", peer, "." }, "" },
        { "zip -9", "zip", { "-q", "-r", "-9", peer, "." }, "" },
        { "zip -P", "zip", { "-q", "-r", "-P", "peer secret", peer, "." }, "peer secret" },
        { "zip -0 -P", "zip", { "-q", "-r", "-0", "-P", "x", peer, "." }, "x" },
        { "python stored", "python3", { "-c", cPythonWrite, src(), peer, "0" }, "" },
        { "python deflated", "python3", { "-c", cPythonWrite, src(), peer, "8" }, "" },
    };
    for (const auto &[label, program, arguments, password] : producers) {
        SCOPED_TRACE(label);
        QFile::remove(peer);
        const auto made = run(program, arguments, src());
        ASSERT_EQ(made.first, 0) << made.second;

        const QString out = tmp.filePath(QString("ours-") + label);
        UnZipUtil unzip;
        unzip.setPassword(password);
        EXPECT_TRUE(unzip.extractAll(peer, out)) << unzip.errorString();
        expectSameFiles(out);
        if (password.empty())
            continue;
        UnzipFile reader(peer);
        reader.setPassword("not the password");
        EXPECT_FALSE(reader.extractAll(tmp.filePath("wrong")));
        EXPECT_TRUE(tree(tmp.filePath("wrong")).filter("plain.txt").isEmpty()) << "nothing written";
    }
}

} // namespace
