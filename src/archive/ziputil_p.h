// Internals of the zip classes: the file-function table, the traditional PKWARE cipher,
// the archive layout scan and the entry decoder. Not installed.
#ifndef LIBUTILITY_ARCHIVE_ZIPUTIL_P_H
#define LIBUTILITY_ARCHIVE_ZIPUTIL_P_H

#include <QString>
#include <QtGlobal>

#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <zlib.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ziputil_io {

// The library's own minizip file-function table. Its open function takes the archive
// path as a QString: the `filename` handed to zipOpen2/unzOpen2 is the address of a
// QString, never a C string. Read opens an existing file, write creates or truncates.
// When the table's opaque pointer is set, it must point to an `int`, which the open
// function sets to the descriptor of the file it opened (-1 when it failed): the reader
// then reads entry data from that very file with pread(2), past minizip's small buffer.
void fill_fopen_filefunc(zlib_filefunc_def *table);

// Passes a QString through minizip's `const char *` path parameter.
inline const char *pathArgument(const QString &path)
{
    return reinterpret_cast<const char *>(&path);
}

} // namespace ziputil_io

namespace ziputil_detail {

// Made-by host "Unix" in the high byte, format version 2.0 in the low byte.
constexpr unsigned long cVersionMadeByUnix = (3u << 8) | 20u;
constexpr unsigned long cFlagEncrypted = 1u << 0;
constexpr unsigned long cFlagDataDescriptor = 1u << 3;
constexpr unsigned long cFlagStrongEncryption = 1u << 6;
constexpr unsigned long cFlagUtf8 = 1u << 11;
constexpr unsigned long cMethodAes = 99;
constexpr int cCryptHeaderSize = 12;
// Deflate cannot expand data by more than about 1032:1; a declared size beyond this
// ratio (plus slack for tiny entries) is a lie and is refused before any allocation.
constexpr quint64 cMaxDeflateRatio = 1100;
constexpr quint64 cDeflateSlack = 1024;

// Traditional PKWARE stream cipher (the one `zip -P` writes).
class ZipCrypto
{
public:
    explicit ZipCrypto(const std::string &password);
    void encrypt(char *data, size_t size);
    void decrypt(char *data, size_t size);

private:
    uint8_t streamByte() const
    {
        const uint32_t t = (m_keys[2] & 0xffffu) | 2u;
        return static_cast<uint8_t>((t * (t ^ 1u)) >> 8);
    }
    void update(uint8_t plain);

    uint32_t m_keys[3];
    const z_crc_t *m_table;
};

// What the reader learns from the archive's own directory records, independently of
// minizip: whether it is a well-formed archive of no entries (minizip refuses those),
// and which entries' data overlap another's (overlapping entries are the classic way to
// build a zip bomb from a small file).
struct ArchiveLayout
{
    bool valid = false; // an end-of-central-directory record was found
    bool empty = false; // ... declaring no entries and an empty directory
    qint64 fileSize = 0;
    std::vector<bool> overlapping; // per entry, in directory order

    bool scan(const QString &path);
};

// Why name must not be written below a directory, or an empty string when it is safe.
QString unsafeNameReason(const QString &name);

// Decodes the current entry of an open reader: minizip opens it in raw mode (checking
// the local header and locating the data); the stored bytes are then read directly from
// the archive's descriptor, decrypted, inflated or copied here, and the size and the
// CRC-32 checked against the directory record. Reading past minizip saves its 16 KiB
// pieces, its byte-by-byte copy and the CRC it computes over the compressed bytes in raw
// mode (which nobody checks); the one CRC that matters, over the decoded bytes, is ours.
class EntryDecoder
{
public:
    using Sink = std::function<bool(const char *data, size_t size)>;

    // archive: descriptor of the file the handle reads (see fill_fopen_filefunc); input:
    // scratch space for the compressed bytes, kept by the caller between entries.
    EntryDecoder(void *handle, int archive, const unz_file_info &info, const std::string &password,
        std::vector<char> &input);
    ~EntryDecoder();

    EntryDecoder(const EntryDecoder &) = delete;
    EntryDecoder &operator=(const EntryDecoder &) = delete;

    // Checks what can be checked before reading (method, encryption, plausible sizes)
    // and opens the entry. False with error() set when the entry cannot be decoded.
    bool open();
    // Decodes the whole entry into buffer, handing it to sink each time `chunk` bytes
    // are ready and once more for the rest. The sink is called with at most the
    // declared size in total; a sink returning false stops with failure.
    bool run(char *buffer, size_t chunk, const Sink &sink);

    const QString &error() const { return m_error; }

private:
    bool fail(const QString &text);
    bool fillInput();

    void *m_handle;
    int m_archive;
    quint64 m_offset = 0; // where the next stored byte is in the archive file
    quint64 m_remaining = 0; // stored bytes not read yet
    const unz_file_info &m_info;
    const std::string &m_password;
    QString m_error;
    bool m_opened = false;
    bool m_deflated = false;
    bool m_inflateReady = false;
    bool m_inputDone = false;
    int m_headerLeft = 0;
    char m_header[cCryptHeaderSize];
    std::unique_ptr<ZipCrypto> m_crypto;
    std::vector<char> &m_input;
    z_stream m_stream;
};

} // namespace ziputil_detail

#endif
