// Test helpers for the archive suite: files on disk, the peer programs, and a hand-made
// zip writer that can lie in every header field.
#ifndef LIBUTILITY_TESTS_ARCHIVE_ZIPTESTKIT_H
#define LIBUTILITY_TESTS_ARCHIVE_ZIPTESTKIT_H

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QStringList>

#include <zlib.h>

#include <cstdint>
#include <ostream>
#include <vector>

// Lets failure messages stream Qt strings: EXPECT_...() << name.
inline std::ostream &operator<<(std::ostream &os, const QString &text)
{
    return os << text.toStdString();
}

namespace ziptest {

inline bool writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

inline QByteArray randomBytes(int size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator gen(seed);
    gen.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    return bytes;
}

// Every path below root (files, directories and links), relative, sorted.
inline QStringList tree(const QString &root)
{
    QStringList paths;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
        QDirIterator::Subdirectories);
    while (it.hasNext())
        paths << QDir(root).relativeFilePath(it.next());
    paths.sort();
    return paths;
}

struct PeerResult
{
    int exitCode;
    QByteArray output;
};

inline PeerResult run(const QString &program, const QStringList &arguments,
    const QString &workingDirectory = QString())
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    if (!process.waitForFinished(120000))
        return { -1, "did not finish" };
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        process.readAll() };
}

// One entry of a hand-made archive. Unset sizes and CRC are computed from `data`, which is
// stored as given (method and flags only label it).
struct RawEntry
{
    QByteArray name;
    QByteArray data;
    uint16_t method = 0;
    uint16_t flag = 0;
    int64_t crc = -1;
    int64_t packedSize = -1;
    int64_t size = -1;
    uint16_t madeBy = 20;
    uint32_t attributes = 0;
    QByteArray extra;
    int sameDataAs = -1; // index of an earlier entry whose local header this one reuses
};

inline void put16(QByteArray &b, uint32_t v)
{
    b.append(char(v & 0xff)).append(char((v >> 8) & 0xff));
}

inline void put32(QByteArray &b, uint32_t v)
{
    put16(b, v & 0xffff);
    put16(b, v >> 16);
}

inline QByteArray buildZip(const std::vector<RawEntry> &entries)
{
    QByteArray file, directory;
    std::vector<uint32_t> offsets;
    for (const RawEntry &e : entries) {
        const uint32_t crc = e.crc >= 0
            ? uint32_t(e.crc)
            : uint32_t(
                crc32(0, reinterpret_cast<const Bytef *>(e.data.constData()), uInt(e.data.size())));
        const uint32_t packed
            = e.packedSize >= 0 ? uint32_t(e.packedSize) : uint32_t(e.data.size());
        const uint32_t size = e.size >= 0 ? uint32_t(e.size) : uint32_t(e.data.size());
        uint32_t offset = uint32_t(file.size());
        if (e.sameDataAs >= 0) {
            offset = offsets[size_t(e.sameDataAs)];
        } else {
            put32(file, 0x04034b50);
            put16(file, 20);
            put16(file, e.flag);
            put16(file, e.method);
            put32(file, 0x58210000); // 2024-01-01 00:00
            put32(file, crc);
            put32(file, packed);
            put32(file, size);
            put16(file, uint32_t(e.name.size()));
            put16(file, uint32_t(e.extra.size()));
            file.append(e.name).append(e.extra).append(e.data);
        }
        offsets.push_back(offset);
        put32(directory, 0x02014b50);
        put16(directory, e.madeBy);
        put16(directory, 20);
        put16(directory, e.flag);
        put16(directory, e.method);
        put32(directory, 0x58210000);
        put32(directory, crc);
        put32(directory, packed);
        put32(directory, size);
        put16(directory, uint32_t(e.name.size()));
        put16(directory, uint32_t(e.extra.size()));
        put16(directory, 0);
        put16(directory, 0);
        put16(directory, 0);
        put32(directory, e.attributes);
        put32(directory, offset);
        directory.append(e.name).append(e.extra);
    }
    const uint32_t directoryOffset = uint32_t(file.size());
    file.append(directory);
    put32(file, 0x06054b50);
    put16(file, 0);
    put16(file, 0);
    put16(file, uint32_t(entries.size()));
    put16(file, uint32_t(entries.size()));
    put32(file, uint32_t(directory.size()));
    put32(file, directoryOffset);
    put16(file, 0);
    return file;
}

inline QByteArray rawDeflate(const QByteArray &data)
{
    z_stream zs {};
    deflateInit2(&zs, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(int(deflateBound(&zs, uLong(data.size()))), Qt::Uninitialized);
    zs.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    zs.avail_in = uInt(data.size());
    zs.next_out = reinterpret_cast<Bytef *>(out.data());
    zs.avail_out = uInt(out.size());
    deflate(&zs, Z_FINISH);
    out.resize(int(zs.total_out));
    deflateEnd(&zs);
    return out;
}

} // namespace ziptest

#endif
