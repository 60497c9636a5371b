// Test helpers for the archive suite: files on disk, the peer programs, and a hand-made
// zip writer that can lie in every header field.
#ifndef LIBUTILITY_TESTS_ARCHIVE_ZIPTESTKIT_H
#define LIBUTILITY_TESTS_ARCHIVE_ZIPTESTKIT_H

#include <libutility/archive/ziputil.h>

#include "support/printers.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>
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
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
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

// Runs a peer program to its end: its exit code (-1 for a crash or a hang) and its
// output, stdout and stderr merged.
inline std::pair<int, QString> run(
    const QString &program, const QStringList &arguments, const QString &workingDirectory = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    const bool done
        = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    return { done ? process.exitCode() : -1, QString::fromUtf8(process.readAll()) };
}

inline uint32_t crcOf(const QByteArray &data)
{
    return crc32(0, reinterpret_cast<const Bytef *>(data.constData()), uInt(data.size()));
}

// One entry of a hand-made archive. `data` is stored as given (method and flags only
// label it); stored() and deflated() fill in the sizes and CRC the headers claim.
struct RawEntry
{
    QByteArray name;
    QByteArray data;
    uint16_t method = 0;
    uint16_t flag = 0;
    uint32_t crc = 0;
    uint32_t packedSize = 0;
    uint32_t size = 0;
    uint16_t madeBy = 20;
    uint32_t attributes = 0;
    int sameDataAs = -1; // index of an earlier entry whose local header this one reuses
};

inline RawEntry stored(const QByteArray &name, const QByteArray &data)
{
    return RawEntry { name, data, 0, 0, crcOf(data), uint32_t(data.size()), uint32_t(data.size()) };
}

// The entry holds raw deflate data (no zlib header or trailer) of content.
inline RawEntry deflated(const QByteArray &name, const QByteArray &content)
{
    uLongf size = compressBound(uLong(content.size()));
    QByteArray out(int(size), Qt::Uninitialized);
    compress2(reinterpret_cast<Bytef *>(out.data()), &size,
        reinterpret_cast<const Bytef *>(content.constData()), uLong(content.size()), 9);
    RawEntry e = stored(name, out.mid(2, int(size) - 6));
    e.method = 8;
    e.crc = crcOf(content);
    e.size = content.size();
    return e;
}

// Appends little-endian fields of the given byte widths.
inline void put(QByteArray &b, std::initializer_list<std::pair<uint64_t, int>> fields)
{
    for (const auto &field : fields)
        for (int i = 0; i < field.second; ++i)
            b.append(char((field.first >> (8 * i)) & 0xff));
}

inline QByteArray buildZip(const std::vector<RawEntry> &entries)
{
    QByteArray file, directory;
    std::vector<uint32_t> offsets;
    for (const RawEntry &e : entries) {
        // From the flags to the extra field's length (none), both headers agree. 2024-01-01
        // 00:00.
        QByteArray common;
        put(common,
            { { e.flag, 2 }, { e.method, 2 }, { 0x58210000, 4 }, { e.crc, 4 }, { e.packedSize, 4 },
                { e.size, 4 }, { e.name.size(), 2 }, { 0, 2 } });
        offsets.push_back(
            e.sameDataAs >= 0 ? offsets[size_t(e.sameDataAs)] : uint32_t(file.size()));
        if (e.sameDataAs < 0) {
            put(file, { { 0x04034b50, 4 }, { 20, 2 } });
            file.append(common).append(e.name).append(e.data);
        }
        put(directory, { { 0x02014b50, 4 }, { e.madeBy, 2 }, { 20, 2 } });
        directory.append(common);
        put(directory, { { 0, 6 }, { e.attributes, 4 }, { offsets.back(), 4 } });
        directory.append(e.name);
    }
    const uint32_t directoryOffset = uint32_t(file.size());
    file.append(directory);
    put(file,
        { { 0x06054b50, 4 }, { 0, 4 }, { entries.size(), 2 }, { entries.size(), 2 },
            { directory.size(), 4 }, { directoryOffset, 4 }, { 0, 2 } });
    return file;
}

} // namespace ziptest

#endif
