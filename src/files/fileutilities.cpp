#include <libutility/files/fileutilities.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QVector>

#include <zlib.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <vector>

namespace {

constexpr size_t cBlockSize = 256 * 1024;
constexpr int cMaxNameBytes = 255;

QString tr(const char *text) { return QCoreApplication::translate("CFileUtilities", text); }

QString systemError(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

bool fail(QString *errorString, const QString &text)
{
    if (errorString)
        *errorString = text;
    return false;
}

// "Cannot open "x": No such file or directory" style messages.
QString pathError(const char *what, const QString &path, int error)
{
    return tr(what).arg(path, systemError(error));
}

QByteArray encoded(const QString &path) { return QFile::encodeName(path); }

class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1)
        : m_fd(fd)
    { }
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    void reset(int fd)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    // Closes now and reports close()'s own error (delayed write errors show up here).
    int close()
    {
        const int result = ::close(m_fd);
        m_fd = -1;
        return result == 0 ? 0 : errno;
    }

private:
    int m_fd;
};

// read() that retries on EINTR; returns the byte count or -1.
ssize_t readSome(int fd, char *buffer, size_t size)
{
    ssize_t n;
    do {
        n = ::read(fd, buffer, size);
    } while (n < 0 && errno == EINTR);
    return n;
}

// Writes everything or returns the errno of the failure (ENOSPC for a full disk).
int writeAll(int fd, const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            return ENOSPC;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return 0;
}

bool entryExists(const QByteArray &path)
{
    struct stat st;
    // Anything but "no such entry" (a permission error, say) counts as taken.
    return ::lstat(path.constData(), &st) == 0 || errno != ENOENT;
}

// Splits "report.pdf" into "report" and ".pdf"; "a.tar.gz" keeps ".tar.gz" whole; a
// leading dot (".profile") is part of the name.
void splitExtension(const QString &name, QString *base, QString *extension)
{
    int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot > 0) {
        const int tar = name.lastIndexOf(QLatin1String(".tar."), dot);
        if (tar > 0 && tar + 4 == dot)
            dot = tar;
    }
    if (dot <= 0) {
        *base = name;
        extension->clear();
        return;
    }
    *base = name.left(dot);
    *extension = name.mid(dot);
}

// The first "base (n).ext" (n counting from 2, or on from a " (N)" the name already
// carries) for which `taken` says no.
template <class Taken> QString numberedName(const QString &name, Taken taken)
{
    QString base;
    QString extension;
    splitExtension(name, &base, &extension);
    qint64 number = 2;
    static const QRegularExpression counter(QStringLiteral(" \\((\\d{1,9})\\)$"));
    const QRegularExpressionMatch match = counter.match(base);
    if (match.hasMatch()) {
        number = match.captured(1).toLongLong() + 1;
        base.chop(match.capturedLength(0));
    }
    for (;; ++number) {
        const QString candidate = QStringLiteral("%1 (%2)%3").arg(base).arg(number).arg(extension);
        if (!taken(candidate))
            return candidate;
    }
}

// --- Trash --------------------------------------------------------------------------

bool statPath(const QString &path, struct stat *st)
{
    return ::stat(encoded(path).constData(), st) == 0;
}

bool isRealDirectory(const QString &path, struct stat *st)
{
    return ::lstat(encoded(path).constData(), st) == 0 && S_ISDIR(st->st_mode);
}

// Creates every missing directory of `path` with mode 0700.
bool makePrivatePath(const QString &path, QString *errorString)
{
    const QString clean = QDir::cleanPath(path);
    int from = 1;
    while (from <= clean.size()) {
        int slash = clean.indexOf(QLatin1Char('/'), from);
        if (slash < 0)
            slash = clean.size();
        const QByteArray part = encoded(clean.left(slash));
        if (::mkdir(part.constData(), 0700) != 0 && errno != EEXIST)
            return fail(
                errorString, pathError("Cannot create \"%1\": %2", clean.left(slash), errno));
        from = slash + 1;
    }
    struct stat st;
    if (!statPath(clean, &st) || !S_ISDIR(st.st_mode))
        return fail(errorString, tr("\"%1\" is not a directory.").arg(clean));
    return true;
}

// A trash directory owned by us with its files/ and info/ subdirectories.
bool prepareTrash(const QString &trash, bool mustBeOurs, QString *errorString)
{
    if (!makePrivatePath(trash + QLatin1String("/files"), errorString)
        || !makePrivatePath(trash + QLatin1String("/info"), errorString))
        return false;
    struct stat st;
    if (!isRealDirectory(trash, &st) || (mustBeOurs && st.st_uid != getuid()))
        return fail(errorString, tr("The trash directory \"%1\" is not usable.").arg(trash));
    return true;
}

QString homeTrashPath()
{
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    // Relative values are invalid by the base directory rules and ignored.
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = QDir::homePath() + QLatin1String("/.local/share");
    return QDir::cleanPath(dataHome + QLatin1String("/Trash"));
}

// Device of the nearest existing directory on the way to `path`.
dev_t deviceOfNearest(QString path)
{
    struct stat st;
    while (!statPath(path, &st)) {
        const QString up = QFileInfo(path).path();
        if (up == path)
            return 0;
        path = up;
    }
    return st.st_dev;
}

// The mount point holding `directory` (a canonical path on device `device`).
QString topDirectory(QString directory, dev_t device)
{
    while (directory != QLatin1String("/")) {
        const QString up = QFileInfo(directory).path();
        struct stat st;
        if (!statPath(up, &st) || st.st_dev != device)
            break;
        directory = up;
    }
    return directory;
}

bool isInside(const QString &path, const QString &directory)
{
    return path == directory
        || path.startsWith(
            directory.endsWith(QLatin1Char('/')) ? directory : directory + QLatin1Char('/'));
}

} // namespace

bool CFileUtilities::copyFile(
    const QString &source, const QString &destination, bool overwrite, QString *errorString)
{
    if (source.isEmpty() || destination.isEmpty())
        return fail(errorString, tr("No file name given."));

    FileDescriptor in(::open(encoded(source).constData(), O_RDONLY | O_CLOEXEC));
    if (!in.valid())
        return fail(errorString, pathError("Cannot open \"%1\": %2", source, errno));
    struct stat sourceStat;
    if (::fstat(in.get(), &sourceStat) != 0)
        return fail(errorString, pathError("Cannot read \"%1\": %2", source, errno));
    if (!S_ISREG(sourceStat.st_mode))
        return fail(errorString, tr("\"%1\" is not a regular file.").arg(source));

    const QByteArray target = encoded(destination);
    struct stat targetStat;
    if (::stat(target.constData(), &targetStat) == 0) {
        if (S_ISDIR(targetStat.st_mode))
            return fail(errorString, tr("\"%1\" is a directory.").arg(destination));
        if (targetStat.st_dev == sourceStat.st_dev && targetStat.st_ino == sourceStat.st_ino)
            return fail(
                errorString, tr("\"%1\" and \"%2\" are the same file.").arg(source, destination));
    }
    if (!overwrite && entryExists(target))
        return fail(errorString, tr("\"%1\" already exists.").arg(destination));

    // The copy is written beside the destination and renamed into place when complete.
    const QFileInfo targetInfo(destination);
    QByteArray temporary = encoded(targetInfo.absolutePath() + QLatin1String("/.")
        + targetInfo.fileName().left(200) + QLatin1String(".XXXXXX"));
    FileDescriptor out(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!out.valid())
        return fail(errorString,
            pathError("Cannot create a file in \"%1\": %2", targetInfo.absolutePath(), errno));

    auto abandon = [&](const QString &text) {
        ::unlink(temporary.constData());
        return fail(errorString, text);
    };

    std::vector<char> buffer(cBlockSize);
    for (;;) {
        const ssize_t n = readSome(in.get(), buffer.data(), cBlockSize);
        if (n < 0)
            return abandon(pathError("Cannot read \"%1\": %2", source, errno));
        if (n == 0)
            break;
        if (const int error = writeAll(out.get(), buffer.data(), static_cast<size_t>(n)))
            return abandon(pathError("Cannot write \"%1\": %2", destination, error));
    }
    if (::fchmod(out.get(), sourceStat.st_mode & 07777) != 0)
        return abandon(pathError("Cannot set the permissions of \"%1\": %2", destination, errno));
    const struct timespec times[2] = { sourceStat.st_atim, sourceStat.st_mtim };
    if (::futimens(out.get(), times) != 0)
        return abandon(pathError("Cannot set the times of \"%1\": %2", destination, errno));
    if (const int error = out.close())
        return abandon(pathError("Cannot write \"%1\": %2", destination, error));

    if (overwrite) {
        if (::rename(temporary.constData(), target.constData()) != 0)
            return abandon(pathError("Cannot create \"%1\": %2", destination, errno));
        return true;
    }
    // No-replace rename; file systems without it get link + unlink, equally atomic.
    if (::renameat2(AT_FDCWD, temporary.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE)
        == 0)
        return true;
    int error = errno;
    if (error == EINVAL || error == ENOSYS || error == ENOTSUP) {
        if (::link(temporary.constData(), target.constData()) == 0) {
            ::unlink(temporary.constData());
            return true;
        }
        error = errno;
    }
    if (error == EEXIST)
        return abandon(tr("\"%1\" already exists.").arg(destination));
    return abandon(pathError("Cannot create \"%1\": %2", destination, error));
}

bool CFileUtilities::moveToTrash(const QString &path, QString *trashedPath, QString *errorString)
{
    if (path.isEmpty())
        return fail(errorString, tr("No file name given."));

    // The entry itself is trashed (a link as a link), so only its directory is resolved.
    const QFileInfo info(path);
    const QString name = info.fileName();
    const QString parent = QFileInfo(info.absolutePath()).canonicalFilePath();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")
        || parent.isEmpty())
        return fail(errorString, tr("Cannot move \"%1\" to the trash.").arg(path));
    const QString absolute
        = parent == QLatin1String("/") ? parent + name : parent + QLatin1Char('/') + name;
    struct stat entry;
    if (::lstat(encoded(absolute).constData(), &entry) != 0)
        return fail(errorString, pathError("Cannot move \"%1\" to the trash: %2", path, errno));

    struct stat parentStat;
    if (::stat(encoded(parent).constData(), &parentStat) != 0 || parentStat.st_dev != entry.st_dev)
        return fail(
            errorString, tr("\"%1\" is a mount point and cannot be moved to the trash.").arg(path));

    QString trash = homeTrashPath();
    bool relativePath = false;
    QString topDir;
    if (deviceOfNearest(trash) == entry.st_dev) {
        if (!prepareTrash(trash, false, errorString))
            return false;
    } else {
        topDir = topDirectory(parent, entry.st_dev);
        const QString uid = QString::number(getuid());
        const QString shared
            = topDir + (topDir.endsWith(QLatin1Char('/')) ? "" : "/") + QLatin1String(".Trash");
        struct stat st;
        bool usable = false;
        // The administrator's shared trash counts only as a sticky real directory.
        if (isRealDirectory(shared, &st) && (st.st_mode & S_ISVTX)) {
            trash = shared + QLatin1Char('/') + uid;
            usable = prepareTrash(trash, true, nullptr);
        }
        if (!usable) {
            trash = shared + QLatin1Char('-') + uid;
            if (!prepareTrash(trash, true, errorString))
                return false;
        }
        relativePath = true;
    }
    trash = QFileInfo(trash).canonicalFilePath();
    if (isInside(absolute, trash) || isInside(trash, absolute))
        return fail(
            errorString, tr("\"%1\" cannot be moved to the trash it holds or lies in.").arg(path));

    QString original = absolute;
    if (relativePath)
        original = topDir == QLatin1String("/") ? absolute.mid(1) : absolute.mid(topDir.size() + 1);
    const QByteArray contents = QByteArrayLiteral("[Trash Info]\nPath=")
        + encoded(original).toPercentEncoding("/") + QByteArrayLiteral("\nDeletionDate=")
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss")).toLatin1()
        + '\n';

    // The .trashinfo name is the reservation: whoever creates it first owns the name.
    const QString infoDir = trash + QLatin1String("/info/");
    const QString filesDir = trash + QLatin1String("/files/");
    QString reserved;
    QByteArray infoFile;
    auto tryReserve = [&](const QString &candidate) {
        const QByteArray candidateInfo = encoded(infoDir + candidate + QLatin1String(".trashinfo"));
        FileDescriptor fd(
            ::open(candidateInfo.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!fd.valid())
            return errno;
        if (entryExists(encoded(filesDir + candidate))) {
            ::unlink(candidateInfo.constData());
            return EEXIST;
        }
        int error = writeAll(fd.get(), contents.constData(), static_cast<size_t>(contents.size()));
        if (!error)
            error = fd.close();
        if (error) {
            ::unlink(candidateInfo.constData());
            return error;
        }
        reserved = candidate;
        infoFile = candidateInfo;
        return 0;
    };
    int error = tryReserve(name);
    if (error == EEXIST) {
        numberedName(name, [&](const QString &candidate) {
            error = tryReserve(candidate);
            return error == EEXIST;
        });
    }
    if (error)
        return fail(errorString, pathError("Cannot move \"%1\" to the trash: %2", path, error));

    const QString target = filesDir + reserved;
    if (::rename(encoded(absolute).constData(), encoded(target).constData()) != 0) {
        error = errno;
        ::unlink(infoFile.constData());
        return fail(errorString, pathError("Cannot move \"%1\" to the trash: %2", path, error));
    }
    if (trashedPath)
        *trashedPath = target;
    return true;
}

QString CFileUtilities::uniqueFileName(const QString &directory, const QString &fileName)
{
    if (fileName.isEmpty() || fileName.contains(QLatin1Char('/')))
        return QString();
    const QDir dir(directory);
    auto taken = [&dir](const QString &candidate) {
        return entryExists(encoded(dir.filePath(candidate)));
    };
    if (!taken(fileName))
        return fileName;
    return numberedName(fileName, taken);
}

QString CFileUtilities::safeFileName(const QString &text)
{
    QString name;
    name.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            name += c;
            name += text.at(++i);
        } else if (c.isSurrogate() || c == QLatin1Char('/') || c == QLatin1Char('\\')
            || c.category() == QChar::Other_Control) {
            name += QLatin1Char('_');
        } else {
            name += c;
        }
    }
    name = name.trimmed();
    if (name.isEmpty())
        return QStringLiteral("unnamed");

    static const QRegularExpression device(
        QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(\\..*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    if (name == QLatin1String(".") || name == QLatin1String("..") || device.match(name).hasMatch())
        name.prepend(QLatin1Char('_'));

    if (name.toUtf8().size() <= cMaxNameBytes)
        return name;
    QString base;
    QString extension;
    splitExtension(name, &base, &extension);
    if (extension.toUtf8().size() > 32) {
        base = name;
        extension.clear();
    }
    const int budget = cMaxNameBytes - extension.toUtf8().size();
    // Cut whole code points (a surrogate pair together) until the base fits.
    while (base.toUtf8().size() > budget) {
        const int cut = base.size() >= 2 && base.at(base.size() - 1).isLowSurrogate()
                && base.at(base.size() - 2).isHighSurrogate()
            ? 2
            : 1;
        base.chop(cut);
    }
    while (!base.isEmpty() && base.at(base.size() - 1).isSpace())
        base.chop(1);
    return base + extension;
}

qint64 CFileUtilities::freeDiskSpace(const QString &path, QString *errorString)
{
    struct statvfs st;
    if (path.isEmpty() || ::statvfs(encoded(path).constData(), &st) != 0) {
        fail(errorString,
            pathError(
                "Cannot read the free space of \"%1\": %2", path, path.isEmpty() ? ENOENT : errno));
        return -1;
    }
    return static_cast<qint64>(st.f_bavail) * static_cast<qint64>(st.f_frsize);
}

namespace {

// Opens a regular file for reading; fills `st`.
bool openRegular(const QString &path, FileDescriptor *fd, struct stat *st, QString *errorString)
{
    if (path.isEmpty())
        return fail(errorString, tr("No file name given."));
    const int handle = ::open(encoded(path).constData(), O_RDONLY | O_CLOEXEC);
    if (handle < 0)
        return fail(errorString, pathError("Cannot open \"%1\": %2", path, errno));
    fd->reset(handle);
    if (::fstat(handle, st) != 0)
        return fail(errorString, pathError("Cannot read \"%1\": %2", path, errno));
    if (!S_ISREG(st->st_mode))
        return fail(errorString, tr("\"%1\" is not a regular file.").arg(path));
    return true;
}

bool crcOf(int fd, const QString &path, quint32 *crc, QString *errorString)
{
    std::vector<char> buffer(cBlockSize);
    uLong value = ::crc32(0L, Z_NULL, 0);
    for (;;) {
        const ssize_t n = readSome(fd, buffer.data(), cBlockSize);
        if (n < 0)
            return fail(errorString, pathError("Cannot read \"%1\": %2", path, errno));
        if (n == 0)
            break;
        value
            = ::crc32(value, reinterpret_cast<const Bytef *>(buffer.data()), static_cast<uInt>(n));
    }
    *crc = static_cast<quint32>(value);
    return true;
}

} // namespace

quint32 CFileUtilities::fileCrc32(const QString &path, bool *ok, QString *errorString)
{
    FileDescriptor fd;
    struct stat st;
    quint32 crc = 0;
    const bool read
        = openRegular(path, &fd, &st, errorString) && crcOf(fd.get(), path, &crc, errorString);
    if (ok)
        *ok = read;
    return read ? crc : 0;
}

CFileUtilities::ECompareResult CFileUtilities::compareFiles(
    const QString &first, const QString &second, QString *errorString)
{
    // Both files are opened before anything is compared, so an unreadable file is
    // always reported as such, even when the sizes alone would tell.
    FileDescriptor a;
    FileDescriptor b;
    struct stat statA;
    struct stat statB;
    if (!openRegular(first, &a, &statA, errorString)
        || !openRegular(second, &b, &statB, errorString))
        return eCompareFailed;
    if (statA.st_size != statB.st_size)
        return eFilesDiffer;
    if (statA.st_dev == statB.st_dev && statA.st_ino == statB.st_ino)
        return eFilesEqual;
    quint32 crcA = 0;
    quint32 crcB = 0;
    if (!crcOf(a.get(), first, &crcA, errorString) || !crcOf(b.get(), second, &crcB, errorString))
        return eCompareFailed;
    return crcA == crcB ? eFilesEqual : eFilesDiffer;
}
