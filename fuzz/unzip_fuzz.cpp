// UnzipFile on arbitrary archive bytes: open, list, read every entry into memory, then
// extract everything into a sandbox and verify that nothing escaped it.
//
// The archive is written to <work>/a/b/archive.zip and extracted into <work>/a/b/out, so
// an entry that climbs out of "out" ("../x", "../../x") would show up in b/ or a/. After
// extraction nothing below out/ may be a symbolic link, and a/ and b/ must hold exactly
// what the target put there.
#include "fuzztarget.h"

#include <libutility/archive/ziputil.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QTemporaryDir>

namespace {

// Small enough that a zip bomb costs milliseconds, large enough for every seed.
constexpr qint64 cExtractLimit = 8 * 1024 * 1024;

QStringList entriesOf(const QString &path)
{
    return QDir(path).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

int fuzzUnzip(const uint8_t *data, size_t size)
{
    static QTemporaryDir work;
    FUZZ_CHECK(work.isValid());
    const QString outer = work.path() + QStringLiteral("/a");
    const QString inner = outer + QStringLiteral("/b");
    const QString out = inner + QStringLiteral("/out");
    QDir(outer).removeRecursively();
    FUZZ_CHECK(QDir().mkpath(out));
    const QString archivePath = inner + QStringLiteral("/archive.zip");
    {
        QFile file(archivePath);
        FUZZ_CHECK(file.open(QIODevice::WriteOnly));
        FUZZ_CHECK(file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size))
            == static_cast<qint64>(size));
    }

    UnzipFile archive;
    archive.setExtractLimit(cExtractLimit);
    if (!archive.open(archivePath)) {
        FUZZ_CHECK(!archive.isOpen());
        FUZZ_CHECK(archive.getFileNum() == 0);
        return 0;
    }
    const QStringList names = archive.listAllFiles("");
    FUZZ_CHECK(names.size() <= archive.getFileNum());
    for (const QString &name : names) {
        QByteArray content;
        const QByteArray utf8 = name.toUtf8();
        if (!archive.extractFile(utf8.constData(), content))
            FUZZ_CHECK(content.isEmpty());
        FUZZ_CHECK(content.size() <= cExtractLimit);
    }

    if (archive.gotoFirstFile())
        archive.extractAll(out);
    FUZZ_CHECK(archive.close());

    FUZZ_CHECK(entriesOf(outer) == QStringList { QStringLiteral("b") });
    FUZZ_CHECK(
        entriesOf(inner) == (QStringList { QStringLiteral("archive.zip"), QStringLiteral("out") }));
    qint64 total = 0;
    QDirIterator it(out, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
        QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        FUZZ_CHECK(!info.isSymLink());
        FUZZ_CHECK(info.canonicalFilePath().startsWith(QFileInfo(out).canonicalFilePath() + '/'));
        if (info.isFile())
            total += info.size();
    }
    FUZZ_CHECK(total <= cExtractLimit);
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("unzip", fuzzUnzip);
