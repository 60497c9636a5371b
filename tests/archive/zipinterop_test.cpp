// Interoperation with independent peers: Info-ZIP's zip/unzip/zipinfo and Python's
// zipfile module, run as real processes on real files.
#include <libutility/archive/ziputil.h>

#include "support/printers.h"
#include "ziptestkit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace ziptest;

namespace {

const char *const cPythonExtract = R"(
import json, sys, zipfile
path, dest, pwd = sys.argv[1], sys.argv[2], sys.argv[3]
z = zipfile.ZipFile(path)
if pwd:
    z.setpassword(pwd.encode())
z.extractall(dest)
print(json.dumps([{"name": i.filename, "flags": i.flag_bits, "method": i.compress_type,
                   "year": i.date_time[0], "mode": i.external_attr >> 16} for i in z.infolist()]))
)";

const char *const cPythonWrite = R"(
import os, sys, zipfile
src, path, method = sys.argv[1], sys.argv[2], int(sys.argv[3])
with zipfile.ZipFile(path, 'w', compression=method) as z:
    for root, dirs, files in os.walk(src):
        for f in files:
            full = os.path.join(root, f)
            z.write(full, os.path.relpath(full, src))
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
            EXPECT_EQ(readFile(dir + '/' + f.first), f.second)
                << dir.toStdString() << " / " << f.first.toStdString();
    }

    QTemporaryDir tmp;
    const std::vector<std::pair<QString, QByteArray>> files = {
        { "plain.txt", QByteArray("hello zip\n").repeated(300) },
        { "random.bin", randomBytes(200000, 7) },
        { "zero.bin", QByteArray() },
        { "run.sh", "#!/bin/sh\necho hi\n" },
        { QString::fromUtf8("dir/naïve façade.txt"), "utf-8 named" },
    };
};

struct Variant
{
    const char *label;
    int level;
    std::string password;
};

const Variant cVariants[] = {
    { "stored", 0, "" },
    { "deflated", 6, "" },
    { "encrypted-deflated", -1, "pw-1234" },
    { "encrypted-stored", 0, "pw-1234" },
};

TEST_F(ZipInterop, PeersReadWhatZipFileWrites)
{
    for (const Variant &v : cVariants) {
        SCOPED_TRACE(v.label);
        {
            ZipFile zip(zipPath());
            zip.setCompressLevel(v.level);
            zip.setPassword(v.password);
            for (const auto &f : files)
                ASSERT_TRUE(zip.addFile(src(), f.first, "")) << zip.errorString();
            ASSERT_TRUE(zip.close());
        }
        const QString pw = QString::fromStdString(v.password);
        QStringList unzipArgs = { "-o", "-q" };
        if (!pw.isEmpty())
            unzipArgs << "-P" << pw;
        const PeerResult tested = run("unzip", QStringList(unzipArgs) << "-t" << zipPath());
        EXPECT_EQ(tested.exitCode, 0) << tested.output.toStdString();
        const QString byUnzip = tmp.filePath(QString("unzip-") + v.label);
        const PeerResult extracted
            = run("unzip", QStringList(unzipArgs) << zipPath() << "-d" << byUnzip);
        EXPECT_EQ(extracted.exitCode, 0) << extracted.output.toStdString();
        expectSameFiles(byUnzip);
        EXPECT_TRUE(QFileInfo(byUnzip + "/run.sh").permissions() & QFile::ExeOwner);

        const QString byPython = tmp.filePath(QString("python-") + v.label);
        const PeerResult py = run("python3", { "-c", cPythonExtract, zipPath(), byPython, pw });
        ASSERT_EQ(py.exitCode, 0) << py.output.toStdString();
        expectSameFiles(byPython);
        const QJsonArray infos = QJsonDocument::fromJson(py.output).array();
        ASSERT_EQ(infos.size(), int(files.size()));
        for (const QJsonValue &value : infos) {
            const QJsonObject info = value.toObject();
            const QString name = info["name"].toString();
            const int flags = info["flags"].toInt();
            const bool ascii
                = name.toUtf8() == name.toLatin1() && name.toLatin1().size() == name.size();
            EXPECT_EQ(bool(flags & 0x800), !ascii) << name.toStdString();
            EXPECT_EQ(bool(flags & 1), !v.password.empty()) << name.toStdString();
            EXPECT_EQ(info["method"].toInt(), v.level == 0 ? 0 : 8) << name.toStdString();
            EXPECT_GE(info["year"].toInt(), 2020) << "date taken from the file, not zeroed";
            struct stat st;
            ASSERT_EQ(::stat(QFile::encodeName(src() + '/' + name).constData(), &st), 0);
            EXPECT_EQ(info["mode"].toInt() & 0777, int(st.st_mode & 0777)) << name.toStdString();
        }
    }
    const PeerResult info = run("zipinfo", { zipPath(), "run.sh" });
    EXPECT_TRUE(info.output.startsWith("-rwxr-xr-x")) << info.output.toStdString();
}

TEST_F(ZipInterop, ZipFileReadsWhatPeersWrite)
{
    struct Producer
    {
        const char *label;
        QString program;
        QStringList arguments;
        std::string password;
    };
    const QString peer = tmp.filePath("peer.zip");
    const Producer producers[] = {
        { "zip -0", "zip", { "-q", "-r", "-0", peer, "." }, "" },
        { "zip -9", "zip", { "-q", "-r", "-9", peer, "." }, "" },
        { "zip -P", "zip", { "-q", "-r", "-P", "peer secret", peer, "." }, "peer secret" },
        { "zip -0 -P", "zip", { "-q", "-r", "-0", "-P", "x", peer, "." }, "x" },
        { "python stored", "python3", { "-c", cPythonWrite, src(), peer, "0" }, "" },
        { "python deflated", "python3", { "-c", cPythonWrite, src(), peer, "8" }, "" },
    };
    for (const Producer &p : producers) {
        SCOPED_TRACE(p.label);
        QFile::remove(peer);
        const PeerResult made = run(p.program, p.arguments, src());
        ASSERT_EQ(made.exitCode, 0) << made.output.toStdString();

        const QString out = tmp.filePath(QString("ours-") + p.label);
        UnZipUtil unzip;
        unzip.setPassword(p.password);
        EXPECT_TRUE(unzip.extractAll(peer, out)) << unzip.errorString().toStdString();
        expectSameFiles(out);

        if (!p.password.empty()) {
            const QString wrong = tmp.filePath(QString("wrong-") + p.label);
            UnzipFile reader(peer);
            reader.setPassword("not the password");
            QByteArray content;
            EXPECT_FALSE(reader.extractFile("plain.txt", content));
            EXPECT_TRUE(content.isEmpty());
            EXPECT_FALSE(reader.extractAll(wrong));
            EXPECT_TRUE(tree(wrong).filter("plain.txt").isEmpty()) << "nothing written";
        }
    }
}

} // namespace
