#include <libutility/archive/ziputil.h>

#include "ziputil_p.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ziputil_detail;

namespace {

// Transfers never use pieces smaller than this, whatever the buffer size was set to
// (extractFile may leave it at 0 after a zero-byte entry).
constexpr size_t cMinTransfer = 4096;
// Extraction to disk decodes and writes this much at a time: one write(2) per
// piece, and the CRC runs over each piece while the cache still holds it.
constexpr size_t cDiskChunk = size_t(256) << 10;
constexpr qint64 cDefaultExtractLimit = qint64(1) << 30;
constexpr quint64 cMaxEntrySize = 0xffffffffull; // no zip64

static_assert(sizeof(unz_global_info::number_entry) == sizeof(unsigned long),
    "the reader's copy of unz_global_info must keep its layout");

zip_fileinfo entryInfo(const QFileInfo &file, mode_t mode)
{
    zip_fileinfo info;
    std::memset(&info, 0, sizeof info);
    QDateTime when = file.lastModified().toLocalTime();
    const QDate date = when.date();
    // DOS dates cover 1980 to 2107; a date outside is pinned to the nearest end.
    if (!when.isValid() || date.year() < 1980)
        when = QDateTime(QDate(1980, 1, 1), QTime(0, 0));
    else if (date.year() > 2107)
        when = QDateTime(QDate(2107, 12, 31), QTime(23, 59, 58));
    info.tmz_date.tm_sec = uInt(when.time().second());
    info.tmz_date.tm_min = uInt(when.time().minute());
    info.tmz_date.tm_hour = uInt(when.time().hour());
    info.tmz_date.tm_mday = uInt(when.date().day());
    info.tmz_date.tm_mon = uInt(when.date().month() - 1);
    info.tmz_date.tm_year = uInt(when.date().year());
    info.dosDate = 0;
    info.external_fa = (uLong(mode & 0xffffu) << 16) | (S_ISDIR(mode) ? 0x10u : 0u);
    return info;
}

QString entryNameOf(unzFile handle, unz_file_info &info, QByteArray *raw = nullptr)
{
    char name[256];
    if (unzGetCurrentFileInfo(handle, &info, name, sizeof name, nullptr, 0, nullptr, 0) != UNZ_OK)
        return QString();
    QByteArray bytes;
    if (info.size_filename < sizeof name) {
        bytes = QByteArray(name, int(info.size_filename));
    } else {
        // Longer names would be cut at 255 bytes; read them whole instead.
        bytes.resize(int(info.size_filename));
        unzGetCurrentFileInfo(
            handle, &info, bytes.data(), uLong(bytes.size()), nullptr, 0, nullptr, 0);
    }
    if (raw)
        *raw = bytes;
    return QString::fromUtf8(bytes);
}

bool isSymlinkEntry(const unz_file_info &info)
{
    return (info.version >> 8) == 3 && S_ISLNK(mode_t(info.external_fa >> 16));
}

QString entryText(const QString &name, const QString &what)
{
    return QStringLiteral("\"%1\": %2").arg(name, what);
}

} // namespace

// ==== ZipFile =========================================================================

struct ZipFile::Private
{
    QString error;
};

ZipFile::ZipFile()
    : m_handle(nullptr)
    , m_compressLevel(-1)
    , m_bufferSize(16384)
    , d(new Private)
{ }

ZipFile::ZipFile(const QString &path)
    : ZipFile()
{
    open(path);
}

ZipFile::~ZipFile() { close(); }

bool ZipFile::open(const QString &path)
{
    close();
    d->error.clear();
    m_buffer.resize(size_t(m_bufferSize));
    zlib_filefunc_def table;
    ziputil_io::fill_fopen_filefunc(&table);
    m_handle = zipOpen2(ziputil_io::pathArgument(path), APPEND_STATUS_CREATE, nullptr, &table);
    if (!m_handle)
        d->error = QStringLiteral("cannot create the archive \"%1\"").arg(path);
    return m_handle != nullptr;
}

void ZipFile::setCompressLevel(int level)
{
    // Unsigned on purpose: -1 and every other negative level are ignored, so the default
    // level cannot be restored once changed. Callers rely on this; keep it.
    if (static_cast<unsigned>(level) <= 9u)
        m_compressLevel = level;
}

void ZipFile::setBufferSize(int size)
{
    if (size < 0)
        return;
    m_buffer.resize(size_t(size));
    m_bufferSize = size;
}

bool ZipFile::close()
{
    if (!m_handle)
        return true;
    const int result = zipClose(m_handle, nullptr);
    m_handle = nullptr;
    if (result != ZIP_OK)
        d->error = QStringLiteral("writing the archive's directory failed");
    return result == ZIP_OK;
}

QString ZipFile::errorString() const { return d->error; }

bool ZipFile::addFile(
    const QString &directory, const QString &entryName, const std::string &comment)
{
    d->error.clear();
    if (!m_handle) {
        d->error = QStringLiteral("no archive is open");
        return false;
    }
    const QString reason = unsafeNameReason(entryName);
    if (!reason.isEmpty()) {
        d->error = entryText(entryName, reason);
        return false;
    }
    const QString path = directory + QDir::separator() + entryName;
    if (!QFileInfo(path).exists()) {
        d->error = entryText(entryName, QStringLiteral("file \"%1\" does not exist").arg(path));
        return false;
    }
    return writeEntry(path, entryName, comment);
}

bool ZipFile::writeEntry(const QString &path, const QString &entryName, const std::string &comment)
{
    auto failed = [&](const QString &what) {
        d->error = entryText(entryName, what);
        return false;
    };
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return failed(QStringLiteral("cannot read the file's attributes"));
    const bool isDir = S_ISDIR(st.st_mode);
    QByteArray name = entryName.toUtf8();
    if (isDir && !name.endsWith('/'))
        name += '/';
    if (name.size() > 0xffff)
        return failed(QStringLiteral("name too long"));
    if (!isDir && quint64(st.st_size) >= cMaxEntrySize)
        return failed(QStringLiteral("file of 4 GiB or more (no zip64 support)"));
    const bool ascii = std::all_of(
        name.cbegin(), name.cend(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const unsigned long utf8Flag = ascii ? 0 : cFlagUtf8;
    const zip_fileinfo info = entryInfo(QFileInfo(path), st.st_mode);
    const char *entryComment = comment.empty() ? nullptr : comment.c_str();
    const size_t piece = std::max(m_buffer.size(), cMinTransfer);
    if (m_buffer.size() < piece)
        m_buffer.resize(piece);

    if (isDir) {
        if (zipOpenNewFileInZip4(m_handle, name.constData(), &info, nullptr, 0, nullptr, 0,
                entryComment, 0, 0, 0, -MAX_WBITS, 8, 0, nullptr, 0, cVersionMadeByUnix, utf8Flag)
            != ZIP_OK)
            return failed(QStringLiteral("cannot write the entry"));
        return zipCloseFileInZip(m_handle) == ZIP_OK
            || failed(QStringLiteral("cannot write the entry"));
    }

    QFile file(path);
    // Unbuffered: the pieces already have the transfer buffer's size, no second copy.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failed(QStringLiteral("cannot read \"%1\": %2").arg(path, file.errorString()));
    const int method = m_compressLevel != 0 ? Z_DEFLATED : 0;

    if (m_password.empty()) {
        if (zipOpenNewFileInZip4(m_handle, name.constData(), &info, nullptr, 0, nullptr, 0,
                entryComment, method, m_compressLevel, 0, -MAX_WBITS, 8, 0, nullptr, 0,
                cVersionMadeByUnix, utf8Flag)
            != ZIP_OK)
            return failed(QStringLiteral("cannot write the entry"));
        for (;;) {
            const qint64 n = file.read(m_buffer.data(), qint64(piece));
            if (n < 0) {
                zipCloseFileInZip(m_handle);
                return failed(QStringLiteral("read error: %1").arg(file.errorString()));
            }
            if (n == 0)
                break;
            if (zipWriteInFileInZip(m_handle, m_buffer.data(), unsigned(n)) != ZIP_OK) {
                zipCloseFileInZip(m_handle);
                return failed(QStringLiteral("write error in the archive"));
            }
        }
        return zipCloseFileInZip(m_handle) == ZIP_OK
            || failed(QStringLiteral("write error in the archive"));
    }

    // Encrypted: the check byte of the encryption header is the CRC's top byte, so the
    // CRC comes first, in a pass of its own over the file.
    uLong crc = crc32(0L, Z_NULL, 0);
    {
        FILE *in = std::fopen(path.toLocal8Bit().constData(), "rbe");
        if (!in)
            return failed(QStringLiteral("cannot read \"%1\"").arg(path));
        for (;;) {
            const size_t n = std::fread(m_buffer.data(), 1, piece, in);
            crc = crc32(crc, reinterpret_cast<const Bytef *>(m_buffer.data()), uInt(n));
            if (n < piece)
                break;
        }
        const bool readError = std::ferror(in);
        std::fclose(in);
        if (readError)
            return failed(QStringLiteral("read error in \"%1\"").arg(path));
    }

    // minizip's own encryption is compiled out on this platform: write the entry raw
    // (deflated and encrypted here) and give minizip the size and CRC at the end.
    if (zipOpenNewFileInZip4(m_handle, name.constData(), &info, nullptr, 0, nullptr, 0,
            entryComment, method, m_compressLevel, 1, -MAX_WBITS, 8, 0, nullptr, 0,
            cVersionMadeByUnix, utf8Flag | cFlagEncrypted)
        != ZIP_OK)
        return failed(QStringLiteral("cannot write the entry"));
    ZipCrypto crypto(m_password);
    char header[cCryptHeaderSize];
    for (int i = 0; i < cCryptHeaderSize - 1; ++i)
        header[i] = static_cast<char>(QRandomGenerator::system()->bounded(256));
    header[cCryptHeaderSize - 1] = static_cast<char>((crc >> 24) & 0xffu);
    crypto.encrypt(header, sizeof header);
    bool ok = zipWriteInFileInZip(m_handle, header, sizeof header) == ZIP_OK;

    std::vector<char> out(size_t(1) << 16);
    z_stream zs;
    std::memset(&zs, 0, sizeof zs);
    if (method == Z_DEFLATED
        && deflateInit2(&zs, m_compressLevel, Z_DEFLATED, -MAX_WBITS, 8, 0) != Z_OK) {
        zipCloseFileInZipRaw(m_handle, 0, 0);
        return failed(QStringLiteral("out of memory"));
    }
    auto sendOut = [&](char *data, size_t size) {
        crypto.encrypt(data, size);
        return zipWriteInFileInZip(m_handle, data, unsigned(size)) == ZIP_OK;
    };
    uLong seenCrc = crc32(0L, Z_NULL, 0);
    quint64 total = 0;
    bool readError = false;
    bool atEnd = false;
    while (ok && !atEnd) {
        const qint64 n = file.read(m_buffer.data(), qint64(piece));
        if (n < 0) {
            readError = true;
            break;
        }
        atEnd = n == 0;
        seenCrc = crc32(seenCrc, reinterpret_cast<const Bytef *>(m_buffer.data()), uInt(n));
        total += quint64(n);
        if (method != Z_DEFLATED) {
            ok = n == 0 || sendOut(m_buffer.data(), size_t(n));
            continue;
        }
        zs.next_in = reinterpret_cast<Bytef *>(m_buffer.data());
        zs.avail_in = uInt(n);
        int r;
        do {
            zs.next_out = reinterpret_cast<Bytef *>(out.data());
            zs.avail_out = uInt(out.size());
            r = deflate(&zs, atEnd ? Z_FINISH : Z_NO_FLUSH);
            const size_t made = out.size() - zs.avail_out;
            if (made > 0)
                ok = sendOut(out.data(), made);
        } while (ok && (zs.avail_out == 0 || (atEnd && r != Z_STREAM_END)));
    }
    if (method == Z_DEFLATED)
        deflateEnd(&zs);
    const bool closed = zipCloseFileInZipRaw(m_handle, uLong(total), crc) == ZIP_OK;
    if (readError)
        return failed(QStringLiteral("read error: %1").arg(file.errorString()));
    if (!ok || !closed)
        return failed(QStringLiteral("write error in the archive"));
    if (seenCrc != crc)
        return failed(QStringLiteral("file changed while it was being added"));
    return true;
}

// ==== UnzipFile =======================================================================

struct UnzipFile::Private
{
    QString error;
    qint64 limit = cDefaultExtractLimit;
    bool openEmpty = false; // a well-formed archive of no entries (minizip refuses those)
    ArchiveLayout layout;
    int archive = -1; // descriptor of the open archive (set by the file-function table)
    std::vector<char> diskBuffer; // extraction to disk; kept between entries
    std::vector<char> inputBuffer; // compressed bytes on their way to inflate; ditto

    qint64 allowance() const { return limit > 0 ? limit : LLONG_MAX; }
};

UnzipFile::UnzipFile()
    : m_handle(nullptr)
    , m_globalInfo { 0, 0 }
    , m_bufferSize(8192)
    , d(new Private)
{ }

UnzipFile::UnzipFile(const QString &path)
    : UnzipFile()
{
    open(path);
}

UnzipFile::~UnzipFile()
{
    if (isOpen())
        close();
}

bool UnzipFile::isOpen() const { return m_handle != nullptr || d->openEmpty; }

QString UnzipFile::errorString() const { return d->error; }

void UnzipFile::setExtractLimit(qint64 bytes) { d->limit = bytes; }

qint64 UnzipFile::extractLimit() const { return d->limit; }

bool UnzipFile::open(const QString &path)
{
    if (isOpen())
        close();
    d->error.clear();
    m_buffer.resize(size_t(m_bufferSize));
    m_globalInfo = { 0, 0 };
    zlib_filefunc_def table;
    ziputil_io::fill_fopen_filefunc(&table);
    table.opaque = &d->archive;
    m_handle = unzOpen2(ziputil_io::pathArgument(path), &table);
    if (!m_handle)
        d->archive = -1;
    d->layout.scan(path);
    if (!m_handle) {
        d->openEmpty = d->layout.valid && d->layout.empty;
        if (!d->openEmpty)
            d->error = QFileInfo::exists(path)
                ? QStringLiteral("\"%1\" is not a readable zip archive").arg(path)
                : QStringLiteral("\"%1\" does not exist").arg(path);
        return d->openEmpty;
    }
    unz_global_info info;
    if (unzGetGlobalInfo(m_handle, &info) == UNZ_OK)
        m_globalInfo = { info.number_entry, info.size_comment };
    if (d->layout.overlapping.size() != m_globalInfo.number_entry)
        d->layout.overlapping.assign(m_globalInfo.number_entry, false);
    return true;
}

int UnzipFile::getFileNum() const { return m_handle ? int(m_globalInfo.number_entry) : 0; }

namespace {

// minizip walks central-directory records for as long as they parse, past the count the
// end record declares whenever that count is 0. Every walk here stops at the declared
// count, so that listing, extraction and getFileNum() agree on a hostile archive. (0xffff
// is the count's overflow marker: there minizip's own walk decides, as it does.)
int goToFirstEntry(unzFile handle, uLong declared)
{
    return declared == 0 ? UNZ_END_OF_LIST_OF_FILE : unzGoToFirstFile(handle);
}

int goToNextEntry(unzFile handle, uLong declared)
{
    unz_file_pos where;
    if (declared != 0xffff && unzGetFilePos(handle, &where) == UNZ_OK
        && where.num_of_file + 1 >= declared)
        return UNZ_END_OF_LIST_OF_FILE;
    return unzGoToNextFile(handle);
}

} // namespace

bool UnzipFile::gotoFirstFile()
{
    return m_handle && goToFirstEntry(m_handle, m_globalInfo.number_entry) == UNZ_OK;
}

bool UnzipFile::gotoNextFile()
{
    return m_handle && goToNextEntry(m_handle, m_globalInfo.number_entry) == UNZ_OK;
}

void UnzipFile::setBufferSize(int size)
{
    if (size < 0)
        return;
    m_buffer.resize(size_t(size));
    m_bufferSize = size;
}

bool UnzipFile::close()
{
    if (!isOpen())
        return false;
    if (m_handle) {
        unzCloseCurrentFile(m_handle);
        unzClose(m_handle);
    }
    m_handle = nullptr;
    d->archive = -1;
    d->openEmpty = false;
    m_globalInfo = { 0, 0 };
    return true;
}

QStringList UnzipFile::listAllFiles(const char *prefix)
{
    QStringList names;
    if (!m_handle)
        return names;
    const size_t prefixLength = prefix ? std::strlen(prefix) : 0;
    unz_file_pos where;
    const bool remembered = unzGetFilePos(m_handle, &where) == UNZ_OK;
    for (int r = goToFirstEntry(m_handle, m_globalInfo.number_entry); r == UNZ_OK;
         r = goToNextEntry(m_handle, m_globalInfo.number_entry)) {
        unz_file_info info;
        QByteArray raw;
        const QString name = entryNameOf(m_handle, info, &raw);
        if (std::strncmp(raw.constData(), prefix ? prefix : "", prefixLength) == 0)
            names << name;
    }
    if (remembered)
        unzGoToFilePos(m_handle, &where);
    else
        unzGoToFirstFile(m_handle);
    return names;
}

namespace {

// Checks that are the same for memory and disk: known method, no overlap, the size
// within the caller's allowance.
QString entryRefusal(const unz_file_info &info, bool overlapping, qint64 allowance)
{
    if (overlapping)
        return QStringLiteral("its data overlaps another entry");
    if (qint64(info.uncompressed_size) > allowance)
        return QStringLiteral("declared size %1 exceeds the extraction limit")
            .arg(info.uncompressed_size);
    return QString();
}

void appendTo(QByteArray &out, const std::vector<char> &data)
{
    out.append(data.data(), int(data.size()));
}

void appendTo(std::vector<char> &out, const std::vector<char> &data)
{
    out.insert(out.end(), data.begin(), data.end());
}

bool currentOverlaps(unzFile handle, const ArchiveLayout &layout)
{
    unz_file_pos where;
    if (unzGetFilePos(handle, &where) != UNZ_OK)
        return false;
    return where.num_of_file < layout.overlapping.size() && layout.overlapping[where.num_of_file];
}

} // namespace

bool UnzipFile::extractFile(const char *name, QByteArray &out)
{
    return extractToMemory(name, out);
}

bool UnzipFile::extractFile(const char *name, std::vector<char> &out)
{
    return extractToMemory(name, out);
}

template <class Container> bool UnzipFile::extractToMemory(const char *name, Container &out)
{
    d->error.clear();
    const QString shown = QString::fromUtf8(name ? name : "");
    if (!m_handle || !name) {
        d->error = entryText(shown, QStringLiteral("no archive is open"));
        return false;
    }
    if (unzLocateFile(m_handle, name, 0) != UNZ_OK) {
        d->error = entryText(shown, QStringLiteral("no such entry"));
        return false;
    }
    unz_file_info info;
    entryNameOf(m_handle, info);
    QString refusal = entryRefusal(info, currentOverlaps(m_handle, d->layout), d->allowance());
    if (refusal.isEmpty() && info.uncompressed_size > uLong(INT_MAX - 64))
        refusal = QStringLiteral("too large to extract into memory");
    if (!refusal.isEmpty()) {
        d->error = entryText(shown, refusal);
        return false;
    }
    EntryDecoder decoder(m_handle, d->archive, info, m_password, d->inputBuffer);
    if (!decoder.open()) {
        d->error = entryText(shown, decoder.error());
        return false;
    }
    // The buffer takes the entry's size and keeps it after the call (compatibility).
    setBufferSize(int(info.uncompressed_size));
    char spare = 0;
    char *target = m_buffer.empty() ? &spare : m_buffer.data();
    const size_t chunk = std::max<size_t>(m_buffer.size(), 1);
    if (!decoder.run(target, chunk, [](const char *, size_t) { return true; })) {
        d->error = entryText(shown, decoder.error());
        return false;
    }
    appendTo(out, m_buffer);
    return true;
}

bool UnzipFile::extractCurrentFile(const QString &directory)
{
    d->error.clear();
    qint64 allowance = d->allowance();
    return extractCurrentTo(directory, allowance);
}

bool UnzipFile::extractAll(const QString &directory)
{
    d->error.clear();
    if (d->openEmpty || (m_handle && m_globalInfo.number_entry == 0))
        return true;
    if (!m_handle) {
        d->error = QStringLiteral("no archive is open");
        return false;
    }
    qint64 allowance = d->allowance();
    for (;;) {
        if (!extractCurrentTo(directory, allowance))
            return false;
        const int r = goToNextEntry(m_handle, m_globalInfo.number_entry);
        if (r == UNZ_END_OF_LIST_OF_FILE)
            return true;
        if (r != UNZ_OK) {
            d->error = QStringLiteral("damaged central directory");
            return false;
        }
    }
}

bool UnzipFile::extractCurrentTo(const QString &directory, qint64 &allowance)
{
    if (!m_handle) {
        d->error = d->openEmpty ? QStringLiteral("the archive has no entries")
                                : QStringLiteral("no archive is open");
        return false;
    }
    unz_file_info info;
    const QString name = entryNameOf(m_handle, info);
    auto refuse = [&](const QString &what) {
        d->error = entryText(name, what);
        return false;
    };
    QString reason = unsafeNameReason(name);
    if (reason.isEmpty() && isSymlinkEntry(info))
        reason = QStringLiteral("symbolic link entries are not extracted");
    if (reason.isEmpty())
        reason = entryRefusal(info, currentOverlaps(m_handle, d->layout), allowance);
    if (!reason.isEmpty())
        return refuse(reason);

    // Every directory between the target directory and the entry must be a real
    // directory: a symbolic link there could lead the write anywhere.
    const QString base = QDir(directory).absolutePath();
    if (!QDir().mkpath(base))
        return refuse(QStringLiteral("cannot create \"%1\"").arg(base));
    const bool isDirEntry = name.endsWith(QLatin1Char('/'));
    QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    parts.removeAll(QStringLiteral("."));
    if (parts.isEmpty())
        return isDirEntry || refuse(QStringLiteral("empty name"));
    const QString fileName = isDirEntry ? QString() : parts.takeLast();
    QString path = base;
    for (const QString &part : qAsConst(parts)) {
        path += QLatin1Char('/') + part;
        const QFileInfo step(path);
        if (step.isSymLink())
            return refuse(QStringLiteral("\"%1\" is a symbolic link").arg(path));
        if (step.exists() && !step.isDir())
            return refuse(QStringLiteral("\"%1\" is not a directory").arg(path));
        if (!step.exists() && !QDir().mkdir(path))
            return refuse(QStringLiteral("cannot create \"%1\"").arg(path));
    }
    if (isDirEntry)
        return true;
    const QString target = path + QLatin1Char('/') + fileName;
    const QFileInfo existing(target);
    if (existing.isSymLink())
        return refuse(QStringLiteral("\"%1\" is a symbolic link").arg(target));
    if (existing.isDir())
        return refuse(QStringLiteral("\"%1\" is a directory").arg(target));

    EntryDecoder decoder(m_handle, d->archive, info, m_password, d->inputBuffer);
    if (!decoder.open())
        return refuse(decoder.error());

    // Written beside the target under a temporary name and renamed only once the size
    // and the CRC have been checked: a failed entry leaves nothing behind. No fsync: like
    // any file writer, extraction leaves flushing to the system.
    QByteArray temp = QFile::encodeName(path + QStringLiteral("/.unzip-XXXXXX"));
    const int fd = ::mkostemp(temp.data(), O_CLOEXEC);
    if (fd < 0)
        return refuse(QStringLiteral("cannot create a file in \"%1\"").arg(path));
    // The transfer size set with setBufferSize() only matters for extractFile() (which
    // may have grown it to a whole entry); to disk, pieces are cDiskChunk long, in a
    // buffer the reader keeps between entries.
    const size_t piece = cDiskChunk;
    if (d->diskBuffer.size() < piece)
        d->diskBuffer.resize(piece);
    QString writeError;
    bool ok = decoder.run(d->diskBuffer.data(), piece, [&](const char *data, size_t size) {
        while (size > 0) {
            const ssize_t n = ::write(fd, data, size);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                writeError
                    = QStringLiteral("write error: %1")
                          .arg(QString::fromLocal8Bit(std::strerror(n < 0 ? errno : ENOSPC)));
                return false;
            }
            data += n;
            size -= size_t(n);
        }
        return true;
    });
    if (ok) {
        const mode_t stored = mode_t(info.external_fa >> 16) & 0777;
        const bool unixMode = (info.version >> 8) == 3 && (info.external_fa >> 16) != 0;
        ::fchmod(fd, unixMode ? stored : 0644);
        const tm_unz &t = info.tmu_date;
        const QDateTime when(QDate(int(t.tm_year), int(t.tm_mon) + 1, int(t.tm_mday)),
            QTime(int(t.tm_hour), int(t.tm_min), int(t.tm_sec)));
        if (when.isValid()) {
            const qint64 ms = when.toMSecsSinceEpoch();
            timespec times[2];
            times[0].tv_sec = 0;
            times[0].tv_nsec = UTIME_OMIT; // access time: left as it is
            times[1].tv_sec = time_t(ms / 1000);
            times[1].tv_nsec = long(ms % 1000) * 1000000L;
            ::futimens(fd, times);
        }
    }
    ok = ::close(fd) == 0 && ok;
    if (ok && ::rename(temp.constData(), QFile::encodeName(target).constData()) != 0) {
        ok = false;
        writeError = QStringLiteral("cannot rename into \"%1\"").arg(target);
    }
    if (!ok) {
        ::unlink(temp.constData());
        return refuse(!writeError.isEmpty()  ? writeError
                : !decoder.error().isEmpty() ? decoder.error()
                                             : QStringLiteral("write error"));
    }
    allowance -= qint64(info.uncompressed_size);
    return true;
}
