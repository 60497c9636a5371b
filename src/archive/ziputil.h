/**
 * \file
 * Zip archives: writing (ZipFile), reading (UnzipFile) and the directory-level helpers
 * (ZipUtil, UnZipUtil, getFileNames), on top of minizip and zlib.
 *
 * Archive format as written
 *   - Entry names are stored as UTF-8; the UTF-8 flag (general purpose bit 11) is set
 *     when a name is not plain ASCII. Readers decode every name as UTF-8.
 *   - The entry date is the file's modification time (local time, DOS resolution, clamped
 *     to 1980..2107); the external attributes carry the Unix mode (made by "Unix").
 *   - No zip64: an entry of 4 GiB or more is refused.
 *   - With a password, entries use the traditional PKWARE encryption, implemented here
 *     on top of minizip's raw entry mode (the system minizip is built without it). Such
 *     archives read with `unzip -P` and Python's zipfile. It is weak protection: it keeps
 *     casual readers out, nothing more. Strong (AES) entries are refused on reading.
 *
 * Safety of extraction (UnzipFile::extractCurrentFile/extractAll, UnZipUtil, ZipUtil)
 *   - An entry is only ever written inside the target directory. Refused names: empty,
 *     absolute ("/x"), any ".." component, any backslash, a drive letter ("C:"), a NUL.
 *   - Symbolic link entries (Unix mode S_IFLNK) are refused: nothing is created for them,
 *     neither a link nor a file. A later entry "link/file" then lands in a real directory
 *     "link" inside the target.
 *   - Nothing is written through an existing symbolic link: when the target file or any
 *     directory between the target directory and it is a link, the entry is refused.
 *   - A file is written under a temporary name beside its target and renamed over it only
 *     after its size and CRC-32 have been checked, so a failed entry leaves no partial
 *     file and an existing file of that name intact. Existing files are replaced.
 *   - Unix permission bits are restored (without setuid, setgid and sticky bits) when
 *     the entry was made on Unix; otherwise the file gets 0644 less the umask.
 *   - Output is capped: one extraction call (extractFile, extractCurrentFile, extractAll)
 *     writes at most extractLimit() bytes (default 1 GiB). A declared size above the
 *     remaining allowance, a declared size that the compressed size cannot produce, a
 *     decoded size different from the declared one, a CRC mismatch and entries whose data
 *     overlaps another entry's are all refused before or while decoding, never trusted.
 *   - Every refusal is a false result with errorString() naming the entry.
 *
 * How extraction reads and writes (for speed; none of it changes what is checked)
 *   - minizip locates an entry and checks its local header; the stored bytes are then read
 *     with pread(2) from the archive file minizip opened, 128 KiB at a time, and
 *     decrypted and inflated here. A compressed size reaching past the end of the file is
 *     refused before reading.
 *   - Exactly one CRC-32 is computed per entry, over the decoded bytes, piece by piece
 *     while each piece is in the cache; it is always checked, as is the size.
 *   - To disk, each piece of 256 KiB goes out in one write(2) to the temporary file. There
 *     is no fsync: like other file writers, extraction leaves flushing to the system.
 *
 * Every call is meant for one thread at a time (the caller's); objects are independent.
 */
#ifndef LIBUTILITY_ARCHIVE_ZIPUTIL_H
#define LIBUTILITY_ARCHIVE_ZIPUTIL_H

#include <libutility/utility_export.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <string>
#include <vector>

/**
 * Writes a new zip archive entry by entry, copying files from disk.
 *
 * The first five members are the archive handle and the settings, in this order; the
 * last one holds the error text and may grow without changing the size of the object.
 */
class UTILITY_EXPORT ZipFile
{
public:
    ZipFile();
    /// Same as ZipFile() followed by open(path).
    /// \param path where the new archive is created
    explicit ZipFile(const QString &path);
    /// Closes the archive (see close()).
    ~ZipFile();

    ZipFile(const ZipFile &) = delete;
    ZipFile &operator=(const ZipFile &) = delete;

    /// Creates a new archive at path, replacing any file there (no appending). An archive
    /// already open is closed first. True when the archive could be created.
    /// \param path where the new archive is created
    /// \return true when the archive is open for writing
    bool open(const QString &path);

    /// Deflate level for the following entries: 0 stores them, 1 to 9 deflate. Only 0 to 9
    /// are accepted; everything else, -1 included, is ignored, so once the level has been
    /// set the default level (-1) cannot be restored. Deliberate, kept for compatibility.
    /// \param level 0 to 9; any other value is ignored
    void setCompressLevel(int level);
    /// The level set last with setCompressLevel(); -1 (minizip's default) until then.
    /// \return the deflate level, or -1 for minizip's default
    int compressLevel() const { return m_compressLevel; }

    /// Size of the transfer buffer in bytes (default 16384); a negative size is ignored,
    /// 0 is allowed (transfers then use a small internal minimum).
    /// \param size the buffer size in bytes, 0 or more
    void setBufferSize(int size);
    /// The transfer buffer size in bytes.
    /// \return the buffer size in bytes
    int bufferSize() const { return m_bufferSize; }

    /// When not empty, the following entries are written encrypted with this password
    /// (traditional PKWARE encryption; the bytes are used as given, UTF-8 recommended).
    /// \param password the password, or an empty string for unencrypted entries
    void setPassword(const std::string &password) { m_password = password; }
    /// The password set last; empty for none.
    /// \return the password bytes
    const std::string &password() const { return m_password; }

    /// Adds directory + '/' + entryName under the name entryName with the given comment.
    /// A directory on disk becomes a directory entry "entryName/". False when no archive
    /// is open, the file is missing or unreadable, entryName is not a safe relative name
    /// (see the file comment), the file has 4 GiB or more, or writing failed; the archive
    /// stays usable after a missing or unsafe file, not after a failed write.
    /// \param directory the directory that entryName is relative to
    /// \param entryName the entry's name in the archive, with '/' separators; also the
    ///     file's path below directory
    /// \param comment the entry's comment, stored as given; empty for none
    /// \return true when the entry was written
    bool addFile(const QString &directory, const QString &entryName, const std::string &comment);

    /// Writes the central directory and closes the archive. True when none was open;
    /// otherwise true exactly when minizip reported success. The handle is cleared.
    /// \return false when writing the central directory failed
    bool close();

    /// True between a successful open() and close().
    /// \return true while an archive is open for writing
    bool isOpen() const { return m_handle != nullptr; }
    /// Text of the last failure, naming the file or entry; empty after a success.
    /// \return the error text, or an empty string
    QString errorString() const;

private:
    bool writeEntry(const QString &path, const QString &entryName, const std::string &comment);

    void *m_handle; ///< minizip zipFile (a void pointer); minizip stays out of this header
    std::vector<char> m_buffer;
    int m_compressLevel;
    int m_bufferSize;
    std::string m_password;

    struct Private;
    std::unique_ptr<Private> d;
};

/**
 * Reads a zip archive: single entries into memory, the current entry or all entries into
 * a directory (see the file comment for the safety rules).
 *
 * The first five members are the archive handle, the global information and the settings,
 * in this order; the last one holds what the reader learnt about the archive and may grow
 * without changing the size of the object.
 */
class UTILITY_EXPORT UnzipFile
{
public:
    UnzipFile();
    /// Same as UnzipFile() followed by open(path).
    /// \param path the archive to read
    explicit UnzipFile(const QString &path);
    ~UnzipFile();

    UnzipFile(const UnzipFile &) = delete;
    UnzipFile &operator=(const UnzipFile &) = delete;

    /// Opens an archive for reading, closing one that is open. True when it could be
    /// opened; an archive with no entries opens too (with getFileNum() 0), although
    /// minizip itself refuses it. The reader is then on the first entry.
    /// \param path the archive to read
    /// \return true when the archive is open for reading
    bool open(const QString &path);

    /// Number of entries; 0 when no archive is open.
    /// \return the entry count as the archive declares it
    int getFileNum() const;

    /// Moves to the first entry. False when no archive is open or it has no entries.
    /// \return true when the reader is on the first entry
    bool gotoFirstFile();
    /// Moves to the next entry. False when no archive is open or there is no next entry.
    /// \return true when the reader moved to the next entry
    bool gotoNextFile();

    /// Size of the transfer buffer in bytes (default 8192); a negative size is ignored.
    /// extractFile() changes it to the size of the entry it read (kept so for
    /// compatibility: the buffer size stays changed after the call). Extraction to disk
    /// works in pieces of 256 KiB whatever this size, in a buffer of its own.
    /// \param size the buffer size in bytes, 0 or more
    void setBufferSize(int size);
    /// The transfer buffer size in bytes (changed by extractFile(), see setBufferSize()).
    /// \return the buffer size in bytes
    int bufferSize() const { return m_bufferSize; }

    /// Password for encrypted entries (traditional PKWARE encryption).
    /// \param password the password, or an empty string for none
    void setPassword(const std::string &password) { m_password = password; }
    /// The password set last; empty for none.
    /// \return the password bytes
    const std::string &password() const { return m_password; }

    /// Most bytes one extraction call may write, in memory or on disk; default 1 GiB.
    /// A value of 0 or less removes the cap.
    /// \param bytes the cap in bytes; 0 or less for no cap
    void setExtractLimit(qint64 bytes);
    /// The cap set with setExtractLimit(); 0 or less when there is none.
    /// \return the cap in bytes
    qint64 extractLimit() const;

    /// Appends the content of the entry called name (exact, case-sensitive match) to out
    /// and makes it the current entry. False, with out unchanged, when the entry is
    /// missing, refused or damaged, or the password is missing or wrong.
    /// \param name the entry's name as UTF-8 bytes, NUL-terminated; null gives false
    /// \param[in,out] out receives the content after what it already holds
    /// \return true when the whole entry was read and checked
    bool extractFile(const char *name, QByteArray &out);
    /// The same as extractFile(const char *, QByteArray &), into a std::vector.
    /// \param name the entry's name as UTF-8 bytes, NUL-terminated; null gives false
    /// \param[in,out] out receives the content after what it already holds
    /// \return true when the whole entry was read and checked
    bool extractFile(const char *name, std::vector<char> &out);

    /// The names of the entries that begin with prefix (byte comparison of the UTF-8
    /// name), in archive order. The walk starts at the first entry; the current entry is
    /// the same afterwards as before.
    /// \param prefix UTF-8 bytes the names must begin with; null or empty lists every entry
    /// \return the matching names; empty when no archive is open
    QStringList listAllFiles(const char *prefix);

    /// Writes the current entry below directory (created when missing). A directory entry
    /// creates the directory. The archive stays open and positioned on this entry
    /// whatever the result.
    /// \param directory the target directory
    /// \return true when the entry's file or directory was written
    bool extractCurrentFile(const QString &directory);

    /// Extracts the current entry and every one after it, in order, stopping at the first
    /// failure (false). True at once for an archive of no entries. Call on a freshly opened
    /// archive (or after gotoFirstFile()) to extract everything.
    /// \param directory the target directory
    /// \return true when every entry from the current one on was extracted
    bool extractAll(const QString &directory);

    /// Closes the archive. False when none is open, otherwise true.
    /// \return true when an archive was open
    bool close();

    /// True between a successful open() and close().
    /// \return true while an archive is open for reading
    bool isOpen() const;
    /// Text of the last failure, naming the entry; empty after a success.
    /// \return the error text, or an empty string
    QString errorString() const;

private:
    friend class UnZipUtil;
    struct Private;

    bool extractCurrentTo(const QString &directory, qint64 &allowance);
    template <class Container> bool extractToMemory(const char *name, Container &out);

    /// The layout of minizip's unz_global_info, copied from it when an archive is opened;
    /// declared here so that this header does not need minizip's.
    struct GlobalInfo
    {
        unsigned long number_entry;
        unsigned long size_comment;
    };

    void *m_handle; ///< minizip unzFile (a void pointer)
    GlobalInfo m_globalInfo;
    std::vector<char> m_buffer;
    int m_bufferSize;
    std::string m_password;

    std::unique_ptr<Private> d;
};

/**
 * Puts a directory tree into a new archive and takes one apart again.
 *
 * compress() stores names relative to the directory with '/' separators: files, empty
 * files, hidden files and (when recursive) every subdirectory as a directory entry
 * "name/". Symbolic links to files are stored as the file they point to; links to
 * directories are not followed and dangling links are skipped. The archive is written
 * under a temporary name beside zipPath and renamed to zipPath only when complete, so a
 * failure never leaves a partial archive under that name; an existing file at zipPath is
 * replaced only then. The archive itself is never put into the archive.
 */
class UTILITY_EXPORT ZipUtil
{
public:
    ZipUtil();
    ~ZipUtil();

    ZipUtil(const ZipUtil &) = delete;
    ZipUtil &operator=(const ZipUtil &) = delete;

    /// Deflate level for compress(): -1 (zlib's default, the initial value) or 0 to 9;
    /// other values are ignored.
    /// \param level -1 or 0 to 9; any other value is ignored
    void setCompressLevel(int level);
    /// Password for compress() and decompress(); empty means no encryption.
    /// Password for encrypted entries of the archives that follow (empty: none).
    /// \param password the password, or an empty string for none
    void setPassword(const std::string &password);

    /// The files of directory (and of its subdirectories when recursive) into a new
    /// archive at zipPath. False when the directory cannot be read, a file cannot be
    /// added (the archive is then not written) or the archive cannot be written.
    /// \param directory the directory whose files are stored
    /// \param zipPath path of the archive to write
    /// \param recursive also store the subdirectories and their files
    /// \return true when the archive is complete at zipPath
    bool compress(const QString &directory, const QString &zipPath, bool recursive);

    /// Every entry of zipPath into directory (created when missing), as UnZipUtil does.
    /// \param zipPath the archive to read
    /// \param directory the target directory
    /// \return true when every entry was extracted
    bool decompress(const QString &zipPath, const QString &directory);

    /// Text of the failures of the last call; empty after a success.
    /// \return the error text, or an empty string
    QString errorString() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/**
 * Extracts whole archives with the safety rules of the file comment. Unlike
 * UnzipFile::extractAll, a refused or damaged entry does not stop the others: every
 * valid entry is extracted, the result is false when any entry failed and errors() lists
 * one text per failed entry.
 */
class UTILITY_EXPORT UnZipUtil
{
public:
    UnZipUtil();
    ~UnZipUtil();

    UnZipUtil(const UnZipUtil &) = delete;
    UnZipUtil &operator=(const UnZipUtil &) = delete;

    /// Password for encrypted entries of the archives that follow (empty: none).
    /// \param password the password, or an empty string for none
    void setPassword(const std::string &password);
    /// Cap on the bytes one extractAll() writes (default 1 GiB; 0 or less: no cap).
    /// \param bytes the cap in bytes; 0 or less for no cap
    void setExtractLimit(qint64 bytes);

    /// Every entry of zipPath into directory (created when missing).
    /// \param zipPath the archive to read
    /// \param directory the target directory
    /// \return true when every entry was extracted
    bool extractAll(const QString &zipPath, const QString &directory);
    /// Names of the entries of zipPath in archive order; empty (with errorString()) when
    /// it cannot be read.
    /// \param zipPath the archive to read
    /// \return the entry names
    QStringList fileNames(const QString &zipPath);
    /// The content of one entry appended to out (see UnzipFile::extractFile).
    /// \param zipPath the archive to read
    /// \param entryName the entry's exact name
    /// \param[in,out] out receives the content after what it already holds
    /// \return true when the whole entry was read and checked
    bool extractFile(const QString &zipPath, const QString &entryName, QByteArray &out);

    /// One text per failure of the last call.
    /// \return the error texts, in the order they occurred; empty after a success
    QStringList errors() const;
    /// The texts of errors() joined by newlines.
    /// \return the error texts, one per line
    QString errorString() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/**
 * Appends to names the files below directory (only its own files unless recursive), as
 * paths relative to directory with '/' separators, sorted, hidden files included.
 * Symbolic links to files are listed; links to directories are not followed; dangling
 * links and directories themselves are not listed. False when directory is not a
 * readable directory (names is then unchanged).
 * \param directory the directory to list
 * \param recursive also list the files of the subdirectories
 * \param[in,out] names receives the relative paths after what it already holds
 * \return true when directory could be read
 */
UTILITY_EXPORT bool getFileNames(
    const QString &directory, bool recursive, std::vector<QString> &names);

#endif
