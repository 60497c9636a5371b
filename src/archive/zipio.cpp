// File access, cipher, layout scan and entry decoding behind ZipFile and UnzipFile.
#include "ziputil_p.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace ziputil_io {

namespace {

voidpf ZCALLBACK fopen_file_func(voidpf opaque, const char *filename, int mode)
{
    int *descriptor = static_cast<int *>(opaque);
    if (descriptor)
        *descriptor = -1;
    if (!filename)
        return nullptr;
    const QString &path = *reinterpret_cast<const QString *>(filename);
    const char *fmode = nullptr;
    if ((mode & ZLIB_FILEFUNC_MODE_READWRITEFILTER) == ZLIB_FILEFUNC_MODE_READ)
        fmode = "rbe";
    else if (mode & ZLIB_FILEFUNC_MODE_EXISTING)
        fmode = "r+be";
    else if (mode & ZLIB_FILEFUNC_MODE_CREATE)
        fmode = "wbe";
    if (!fmode)
        return nullptr;
    FILE *file = std::fopen(QFile::encodeName(path).constData(), fmode);
    if (file) {
        std::setvbuf(file, nullptr, _IOFBF, 1 << 16);
        if (descriptor)
            *descriptor = fileno(file);
    }
    return file;
}

uLong ZCALLBACK fread_file_func(voidpf, voidpf stream, void *buf, uLong size)
{
    return static_cast<uLong>(std::fread(buf, 1, size, static_cast<FILE *>(stream)));
}

uLong ZCALLBACK fwrite_file_func(voidpf, voidpf stream, const void *buf, uLong size)
{
    return static_cast<uLong>(std::fwrite(buf, 1, size, static_cast<FILE *>(stream)));
}

long ZCALLBACK ftell_file_func(voidpf, voidpf stream)
{
    return static_cast<long>(ftello(static_cast<FILE *>(stream)));
}

long ZCALLBACK fseek_file_func(voidpf, voidpf stream, uLong offset, int origin)
{
    int whence = SEEK_SET;
    switch (origin) {
    case ZLIB_FILEFUNC_SEEK_CUR:
        whence = SEEK_CUR;
        break;
    case ZLIB_FILEFUNC_SEEK_END:
        whence = SEEK_END;
        break;
    case ZLIB_FILEFUNC_SEEK_SET:
        break;
    default:
        return -1;
    }
    return fseeko(static_cast<FILE *>(stream), static_cast<off_t>(offset), whence) == 0 ? 0 : -1;
}

int ZCALLBACK fclose_file_func(voidpf, voidpf stream)
{
    return std::fclose(static_cast<FILE *>(stream));
}

int ZCALLBACK ferror_file_func(voidpf, voidpf stream)
{
    return std::ferror(static_cast<FILE *>(stream));
}

} // namespace

void fill_fopen_filefunc(zlib_filefunc_def *table)
{
    table->zopen_file = fopen_file_func;
    table->zread_file = fread_file_func;
    table->zwrite_file = fwrite_file_func;
    table->ztell_file = ftell_file_func;
    table->zseek_file = fseek_file_func;
    table->zclose_file = fclose_file_func;
    table->zerror_file = ferror_file_func;
    table->opaque = nullptr;
}

} // namespace ziputil_io

namespace ziputil_detail {

// --- cipher ---------------------------------------------------------------------------

ZipCrypto::ZipCrypto(const std::string &password)
    : m_keys { 0x12345678u, 0x23456789u, 0x34567890u }
    , m_table(get_crc_table())
{
    for (char c : password)
        update(static_cast<uint8_t>(c));
}

void ZipCrypto::update(uint8_t plain)
{
    m_keys[0] = m_table[(m_keys[0] ^ plain) & 0xffu] ^ (m_keys[0] >> 8);
    m_keys[1] = (m_keys[1] + (m_keys[0] & 0xffu)) * 134775813u + 1u;
    m_keys[2] = m_table[(m_keys[2] ^ (m_keys[1] >> 24)) & 0xffu] ^ (m_keys[2] >> 8);
}

void ZipCrypto::encrypt(char *data, size_t size)
{
    for (size_t i = 0; i < size; ++i) {
        const uint8_t plain = static_cast<uint8_t>(data[i]);
        const uint8_t key = streamByte();
        update(plain);
        data[i] = static_cast<char>(plain ^ key);
    }
}

void ZipCrypto::decrypt(char *data, size_t size)
{
    for (size_t i = 0; i < size; ++i) {
        const uint8_t plain = static_cast<uint8_t>(static_cast<uint8_t>(data[i]) ^ streamByte());
        update(plain);
        data[i] = static_cast<char>(plain);
    }
}

// --- layout scan ----------------------------------------------------------------------

namespace {

quint32 le16(const uchar *p) { return quint32(p[0]) | (quint32(p[1]) << 8); }

quint32 le32(const uchar *p) { return le16(p) | (le16(p + 2) << 16); }

} // namespace

bool ArchiveLayout::scan(const QString &path)
{
    *this = ArchiveLayout();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    fileSize = file.size();
    constexpr qint64 eocdSize = 22;
    if (fileSize < eocdSize)
        return false;
    // The end record sits in the last 22 bytes plus at most 65535 bytes of comment.
    const qint64 tailStart = std::max<qint64>(0, fileSize - eocdSize - 0xffff);
    if (!file.seek(tailStart))
        return false;
    const QByteArray tail = file.read(fileSize - tailStart);
    const auto *t = reinterpret_cast<const uchar *>(tail.constData());
    qint64 eocd = -1;
    for (qint64 i = tail.size() - eocdSize; i >= 0; --i) {
        if (le32(t + i) == 0x06054b50u && i + eocdSize + le16(t + i + 20) <= tail.size()) {
            eocd = i;
            break;
        }
    }
    if (eocd < 0)
        return false;
    const uchar *e = t + eocd;
    const quint32 entries = le16(e + 10);
    const quint32 cdSize = le32(e + 12);
    const quint32 cdOffset = le32(e + 16);
    valid = true;
    empty = entries == 0 && cdSize == 0 && le16(e + 4) == 0 && le16(e + 6) == 0;
    if (entries == 0xffffu || cdOffset == 0xffffffffu)
        return true; // zip64: minizip validates it; no overlap information
    const qint64 eocdPos = tailStart + eocd;
    const qint64 before = eocdPos - (qint64(cdOffset) + cdSize); // self-extractor prefix
    if (before < 0 || !file.seek(cdOffset + before))
        return true;
    const QByteArray cd = file.read(cdSize);
    const auto *c = reinterpret_cast<const uchar *>(cd.constData());

    struct Range
    {
        qint64 begin, end;
        size_t entry;
    };
    std::vector<Range> ranges;
    qint64 pos = 0;
    for (quint32 i = 0; i < entries; ++i) {
        if (pos + 46 > cd.size() || le32(c + pos) != 0x02014b50u)
            return true;
        const quint32 nameLen = le16(c + pos + 28);
        const qint64 begin = before + le32(c + pos + 42);
        // Lower bound of the entry's extent: header, name and data, without the extra
        // field whose local length may differ. Enough to catch data that covers another
        // entry's header, never a false alarm on a well-formed archive.
        ranges.push_back({ begin, begin + 30 + nameLen + le32(c + pos + 20), i });
        pos += 46 + nameLen + le16(c + pos + 30) + le16(c + pos + 32);
    }
    overlapping.assign(entries, false);
    std::sort(ranges.begin(), ranges.end(),
        [](const Range &a, const Range &b) { return a.begin < b.begin; });
    qint64 reach = -1;
    size_t reachEntry = 0;
    for (const Range &r : ranges) {
        if (r.begin < reach) {
            overlapping[r.entry] = true;
            overlapping[reachEntry] = true;
        }
        if (r.end > reach) {
            reach = r.end;
            reachEntry = r.entry;
        }
    }
    return true;
}

// --- names ----------------------------------------------------------------------------

QString unsafeNameReason(const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("empty name");
    if (name.contains(QChar(0)))
        return QStringLiteral("NUL character in the name");
    if (name.startsWith(QLatin1Char('/')))
        return QStringLiteral("absolute path");
    if (name.contains(QLatin1Char('\\')))
        return QStringLiteral("backslash in the name");
    if (name.size() >= 2 && name.at(1) == QLatin1Char(':') && name.at(0).isLetter())
        return QStringLiteral("drive letter in the name");
    const QStringList parts = name.split(QLatin1Char('/'));
    for (const QString &part : parts) {
        if (part == QLatin1String(".."))
            return QStringLiteral("\"..\" component in the name");
    }
    return QString();
}

// --- decoder --------------------------------------------------------------------------

namespace {

// Compressed bytes read from the archive at a time: large enough that the system calls
// do not count, small enough to stay in the cache while inflate consumes them.
constexpr size_t cInputChunk = size_t(128) << 10;

} // namespace

EntryDecoder::EntryDecoder(void *handle, int archive, const unz_file_info &info,
    const std::string &password, std::vector<char> &input)
    : m_handle(handle)
    , m_archive(archive)
    , m_info(info)
    , m_password(password)
    , m_input(input)
    , m_stream()
{ }

EntryDecoder::~EntryDecoder()
{
    if (m_inflateReady)
        inflateEnd(&m_stream);
    if (m_opened)
        unzCloseCurrentFile(m_handle);
}

bool EntryDecoder::fail(const QString &text)
{
    m_error = text;
    return false;
}

bool EntryDecoder::open()
{
    const quint64 packed = m_info.compressed_size;
    const quint64 declared = m_info.uncompressed_size;
    if (m_info.compression_method == cMethodAes || (m_info.flag & cFlagStrongEncryption))
        return fail(QStringLiteral("strong (AES) encryption is not supported"));
    if (m_info.compression_method != 0 && m_info.compression_method != Z_DEFLATED)
        return fail(QStringLiteral("compression method %1 is not supported")
                        .arg(m_info.compression_method));
    const bool encrypted = m_info.flag & cFlagEncrypted;
    if (encrypted && m_password.empty())
        return fail(QStringLiteral("entry is encrypted and no password is set"));
    const quint64 header = encrypted ? cCryptHeaderSize : 0;
    if (packed < header)
        return fail(QStringLiteral("compressed size too small for an encrypted entry"));
    m_deflated = m_info.compression_method == Z_DEFLATED;
    if (!m_deflated && packed - header != declared)
        return fail(QStringLiteral("stored size %1 differs from the declared size %2")
                        .arg(packed - header)
                        .arg(declared));
    if (m_deflated && declared > (packed - header) * cMaxDeflateRatio + cDeflateSlack)
        return fail(QStringLiteral("declared size %1 cannot come from %2 compressed bytes")
                        .arg(declared)
                        .arg(packed - header));
    if (m_archive < 0)
        return fail(QStringLiteral("the archive file is not open"));
    int method = 0;
    int level = 0;
    // Raw mode: minizip checks the local header and finds the stored bytes; reading,
    // decryption and inflation are ours.
    if (unzOpenCurrentFile3(m_handle, &method, &level, 1, nullptr) != UNZ_OK)
        return fail(QStringLiteral("cannot open the entry (damaged local header)"));
    m_opened = true;
    m_offset = unzGetCurrentFileZStreamPos64(m_handle);
    m_remaining = packed;
    // A stream may end before its stated compressed size is used up, so reading alone
    // would not notice a size that runs past the end of the file: check it up front.
    struct stat st;
    if (::fstat(m_archive, &st) != 0 || m_offset > quint64(st.st_size)
        || packed > quint64(st.st_size) - m_offset)
        return fail(QStringLiteral("the archive ends inside the entry's data"));
    if (encrypted) {
        m_crypto = std::make_unique<ZipCrypto>(m_password);
        m_headerLeft = cCryptHeaderSize;
    }
    if (m_deflated) {
        if (inflateInit2(&m_stream, -MAX_WBITS) != Z_OK)
            return fail(QStringLiteral("out of memory"));
        m_inflateReady = true;
    }
    const size_t inputSize = std::max<size_t>(size_t(std::min<quint64>(packed, cInputChunk)), 1);
    if (m_input.size() < inputSize)
        m_input.resize(inputSize);
    return true;
}

bool EntryDecoder::fillInput()
{
    const size_t want = size_t(std::min<quint64>(m_remaining, m_input.size()));
    ssize_t n = 0;
    if (want > 0) {
        do
            n = ::pread(m_archive, m_input.data(), want, off_t(m_offset));
        while (n < 0 && errno == EINTR);
        if (n < 0)
            return fail(QStringLiteral("read error in the compressed data"));
        if (n == 0)
            return fail(QStringLiteral("the archive ends inside the entry's data"));
        m_offset += quint64(n);
        m_remaining -= quint64(n);
    }
    char *data = m_input.data();
    size_t size = size_t(n);
    if (n == 0) {
        m_inputDone = true;
        if (m_headerLeft > 0)
            return fail(QStringLiteral("encryption header is truncated"));
    }
    if (m_crypto)
        m_crypto->decrypt(data, size);
    if (m_headerLeft > 0) {
        const size_t take = std::min(size, size_t(m_headerLeft));
        std::memcpy(m_header + (cCryptHeaderSize - m_headerLeft), data, take);
        m_headerLeft -= int(take);
        data += take;
        size -= take;
        if (m_headerLeft == 0) {
            // Writers that append a data descriptor check against the time, not the CRC.
            const uint8_t check = (m_info.flag & cFlagDataDescriptor)
                ? uint8_t((m_info.dosDate >> 8) & 0xffu)
                : uint8_t((m_info.crc >> 24) & 0xffu);
            if (uint8_t(m_header[cCryptHeaderSize - 1]) != check)
                return fail(QStringLiteral("wrong password"));
        }
    }
    m_stream.next_in = reinterpret_cast<Bytef *>(data);
    m_stream.avail_in = uInt(size);
    return true;
}

bool EntryDecoder::run(char *buffer, size_t chunk, const Sink &sink)
{
    const quint64 declared = m_info.uncompressed_size;
    quint64 produced = 0;
    uLong crc = crc32(0L, Z_NULL, 0);
    size_t have = 0;
    bool ended = false;
    while (!ended) {
        if (m_stream.avail_in == 0 && !m_inputDone) {
            if (!fillInput())
                return false;
            continue;
        }
        const quint64 left = declared - produced;
        size_t made = 0;
        if (!m_deflated) {
            if (m_stream.avail_in == 0) {
                ended = true;
            } else {
                made = std::min<size_t>(m_stream.avail_in, chunk - have);
                if (made > left)
                    return fail(
                        QStringLiteral("data larger than the declared size %1").arg(declared));
                std::memcpy(buffer + have, m_stream.next_in, made);
                m_stream.next_in += made;
                m_stream.avail_in -= uInt(made);
            }
        } else {
            // With the declared size reached, one spare byte tells a clean end of the
            // stream from data that goes on beyond what the header promised.
            char spare;
            const bool probe = left == 0;
            const size_t room = probe ? 1 : size_t(std::min<quint64>(chunk - have, left));
            m_stream.next_out = reinterpret_cast<Bytef *>(probe ? &spare : buffer + have);
            m_stream.avail_out = uInt(room);
            const int r = inflate(&m_stream, Z_NO_FLUSH);
            made = room - m_stream.avail_out;
            if (probe && made > 0)
                return fail(QStringLiteral("data larger than the declared size %1").arg(declared));
            if (r == Z_STREAM_END)
                ended = true;
            else if (r == Z_BUF_ERROR || (r == Z_OK && made == 0 && m_stream.avail_in == 0)) {
                if (m_inputDone && m_stream.avail_in == 0)
                    return fail(QStringLiteral("compressed data ends early"));
            } else if (r != Z_OK)
                return fail(QStringLiteral("damaged compressed data (%1)")
                                .arg(QString::fromLatin1(m_stream.msg ? m_stream.msg : "")));
        }
        if (made > 0) {
            crc = crc32(crc, reinterpret_cast<const Bytef *>(buffer + have), uInt(made));
            have += made;
            produced += made;
        }
        if (have == chunk || (ended && have > 0)) {
            if (!sink(buffer, have))
                return false;
            have = 0;
        }
    }
    if (produced != declared)
        return fail(QStringLiteral("data smaller than the declared size (%1 of %2 bytes)")
                        .arg(produced)
                        .arg(declared));
    if (crc != m_info.crc)
        return fail(QStringLiteral("CRC-32 mismatch"));
    m_opened = false;
    unzCloseCurrentFile(m_handle);
    return true;
}

} // namespace ziputil_detail
