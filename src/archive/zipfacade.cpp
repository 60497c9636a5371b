// Directory-level helpers over ZipFile and UnzipFile.
#include <libutility/archive/ziputil.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <unistd.h>

namespace {

struct TreeItem
{
    QString name; // relative, '/'-separated
    bool isDir;
};

// Directories are listed before their content; dangling links, links to directories and
// special files (FIFOs, sockets, devices: reading them could block) are left out.
void walk(const QString &root, const QString &relative, bool recursive, const QString &skip,
    std::vector<TreeItem> &items)
{
    const QDir dir(relative.isEmpty() ? root : root + QLatin1Char('/') + relative);
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo &info : entries) {
        const QString name
            = relative.isEmpty() ? info.fileName() : relative + QLatin1Char('/') + info.fileName();
        if (info.isSymLink()) {
            if (info.exists() && info.isFile() && info.absoluteFilePath() != skip)
                items.push_back({ name, false });
            continue;
        }
        if (info.isDir()) {
            if (recursive) {
                items.push_back({ name, true });
                walk(root, name, recursive, skip, items);
            }
        } else if (info.isFile() && info.absoluteFilePath() != skip) {
            items.push_back({ name, false });
        }
    }
}

// Creates a new, empty file beside target and returns its name (empty on failure). The
// file gets the permissions of any new file (0666 less the umask), unlike mkstemp's 0600.
QString createTemporaryBeside(const QString &target)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = target
            + QStringLiteral(".tmp%1").arg(
                QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
        const int fd = ::open(
            QFile::encodeName(name).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            ::close(fd);
            return name;
        }
        if (errno != EEXIST)
            break;
    }
    return QString();
}

} // namespace

bool getFileNames(const QString &directory, bool recursive, std::vector<QString> &names)
{
    const QFileInfo info(directory);
    if (!info.isDir() || !info.isReadable())
        return false;
    std::vector<TreeItem> items;
    walk(info.absoluteFilePath(), QString(), recursive, QString(), items);
    std::vector<QString> files;
    for (const TreeItem &item : items) {
        if (!item.isDir)
            files.push_back(item.name);
    }
    std::sort(files.begin(), files.end());
    names.insert(names.end(), files.begin(), files.end());
    return true;
}

// ==== ZipUtil =========================================================================

struct ZipUtil::Private
{
    int level = -1;
    std::string password;
    QString error;
};

ZipUtil::ZipUtil()
    : d(new Private)
{ }

ZipUtil::~ZipUtil() = default;

void ZipUtil::setCompressLevel(int level)
{
    if (level >= -1 && level <= 9)
        d->level = level;
}

void ZipUtil::setPassword(const std::string &password) { d->password = password; }

QString ZipUtil::errorString() const { return d->error; }

bool ZipUtil::compress(const QString &directory, const QString &zipPath, bool recursive)
{
    d->error.clear();
    const QFileInfo root(directory);
    if (!root.isDir() || !root.isReadable()) {
        d->error = QStringLiteral("\"%1\" is not a readable directory").arg(directory);
        return false;
    }
    const QString target = QFileInfo(zipPath).absoluteFilePath();
    std::vector<TreeItem> items;
    walk(root.absoluteFilePath(), QString(), recursive, target, items);

    const QString temp = createTemporaryBeside(target);
    if (temp.isEmpty()) {
        d->error = QStringLiteral("cannot create a file beside \"%1\"").arg(target);
        return false;
    }
    bool ok = true;
    {
        ZipFile zip;
        if (d->level >= 0)
            zip.setCompressLevel(d->level);
        zip.setBufferSize(1 << 16);
        zip.setPassword(d->password);
        ok = zip.open(temp);
        for (size_t i = 0; ok && i < items.size(); ++i)
            ok = zip.addFile(root.absoluteFilePath(), items[i].name, std::string());
        if (!ok)
            d->error = zip.errorString();
        if (!zip.close() && ok) {
            ok = false;
            d->error = zip.errorString();
        }
    }
    if (ok
        && ::rename(QFile::encodeName(temp).constData(), QFile::encodeName(target).constData())
            != 0) {
        ok = false;
        d->error = QStringLiteral("cannot rename the archive to \"%1\"").arg(target);
    }
    if (!ok)
        QFile::remove(temp);
    return ok;
}

bool ZipUtil::decompress(const QString &zipPath, const QString &directory)
{
    UnZipUtil unzip;
    unzip.setPassword(d->password);
    const bool ok = unzip.extractAll(zipPath, directory);
    d->error = unzip.errorString();
    return ok;
}

// ==== UnZipUtil =======================================================================

struct UnZipUtil::Private
{
    std::string password;
    qint64 limit = qint64(1) << 30;
    QStringList errors;

    bool open(UnzipFile &zip, const QString &path)
    {
        errors.clear();
        zip.setPassword(password);
        zip.setExtractLimit(limit);
        zip.setBufferSize(1 << 16);
        if (zip.open(path))
            return true;
        errors << zip.errorString();
        return false;
    }
};

UnZipUtil::UnZipUtil()
    : d(new Private)
{ }

UnZipUtil::~UnZipUtil() = default;

void UnZipUtil::setPassword(const std::string &password) { d->password = password; }

void UnZipUtil::setExtractLimit(qint64 bytes) { d->limit = bytes; }

QStringList UnZipUtil::errors() const { return d->errors; }

QString UnZipUtil::errorString() const { return d->errors.join(QLatin1Char('\n')); }

bool UnZipUtil::extractAll(const QString &zipPath, const QString &directory)
{
    UnzipFile zip;
    if (!d->open(zip, zipPath))
        return false;
    if (!QDir().mkpath(directory)) {
        d->errors << QStringLiteral("cannot create \"%1\"").arg(directory);
        return false;
    }
    if (zip.getFileNum() == 0)
        return true;
    qint64 allowance = d->limit > 0 ? d->limit : LLONG_MAX;
    do {
        // A refused entry is reported and skipped; the others still extract.
        if (!zip.extractCurrentTo(directory, allowance))
            d->errors << zip.errorString();
    } while (zip.gotoNextFile());
    return d->errors.isEmpty();
}

QStringList UnZipUtil::fileNames(const QString &zipPath)
{
    UnzipFile zip;
    if (!d->open(zip, zipPath))
        return QStringList();
    return zip.listAllFiles("");
}

bool UnZipUtil::extractFile(const QString &zipPath, const QString &entryName, QByteArray &out)
{
    UnzipFile zip;
    if (!d->open(zip, zipPath))
        return false;
    if (zip.extractFile(entryName.toUtf8().constData(), out))
        return true;
    d->errors << zip.errorString();
    return false;
}
