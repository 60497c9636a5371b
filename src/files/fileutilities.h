/**
 * \file
 * Static file helpers: copying with permissions, moving to the desktop trash, unique
 * and safe file names, free disk space and CRC-based file comparison.
 *
 * Common contract: no helper throws or logs. Each reports failure through its result
 * (false, an empty string, -1 or eCompareFailed) and, when `errorString` is not null,
 * sets it to a translated text the caller can show (left untouched on success). A
 * failed operation loses nothing: a copy that fails leaves no partial destination and
 * never replaces an existing one, a move to the trash that fails leaves the file where
 * it was. Paths are passed to the system in the local 8-bit file name encoding
 * (QFile::encodeName). All helpers are safe to call from any thread; they keep no state.
 */
#ifndef LIBUTILITY_FILES_FILEUTILITIES_H
#define LIBUTILITY_FILES_FILEUTILITIES_H

#include <libutility/utility_export.h>

#include <QString>
#include <QtGlobal>

/// Static file helpers (see the file comment); nothing to construct.
class UTILITY_EXPORT CFileUtilities
{
public:
    /// Result of comparing two files.
    enum ECompareResult {
        eCompareFailed = -1, ///< a file could not be read; see errorString
        eFilesEqual = 0, ///< same size and same CRC-32
        eFilesDiffer = 1 ///< different size, or same size and different CRC-32
    };

    /**
     * Copies the regular file `source` to the file path `destination`, giving the copy
     * the source's permission bits (including set-id and sticky bits where the
     * system allows) and its access and modification times. Ownership is not copied.
     * The data goes to a temporary file beside the destination first and is renamed
     * into place only when complete. An existing destination is never replaced
     * unless `overwrite` is true (checked atomically, so a file appearing meanwhile is
     * not clobbered either); with `overwrite` a symlink at the destination is replaced
     * by the copy, its target is not touched. Errors: source missing, unreadable or not
     * a regular file, destination an existing directory or the source itself, the
     * destination's directory missing or not writable, short writes (disk full).
     * \param source path of the file to copy
     * \param destination path of the copy, including its file name (not a directory)
     * \param overwrite replace an existing destination
     * \param[out] errorString receives the reason of a failure; may be null
     * \return true when the copy is complete and in place
     */
    static bool copyFile(const QString &source, const QString &destination, bool overwrite = false,
        QString *errorString = nullptr);

    /**
     * Moves a file, symlink (the link itself) or directory to the user's trash, the
     * way desktop file managers do (the freedesktop.org trash layout, version 1.0), so they
     * list it and can restore it:
     * - on the volume of the home trash ($XDG_DATA_HOME/Trash, default
     *   ~/.local/share/Trash, created with mode 0700 when missing) it goes to
     *   Trash/files/NAME, with Trash/info/NAME.trashinfo holding "Path=" (the absolute
     *   original path, percent-encoded) and "DeletionDate=" (local time,
     *   yyyy-MM-ddThh:mm:ss);
     * - on another volume it goes to that volume's $topdir/.Trash/$uid when
     *   $topdir/.Trash exists, is a real directory (no symlink) and has the sticky bit,
     *   else to $topdir/.Trash-$uid (created with mode 0700); "Path=" is then relative
     *   to $topdir, as that layout recommends there. It is never copied across
     *   volumes.
     * NAME is the file's own name; when it is taken, "name (2).ext", "name (3).ext"...
     * are tried, each reserved by creating its .trashinfo exclusively, so concurrent
     * trashing never collides. On success `trashedPath` (when not null) receives the
     * path of the file inside the trash. Errors: the path does not exist, is "/",
     * lies inside the trash chosen or contains it, is a mount point, or no usable
     * trash exists.
     * \param path the entry to trash, absolute or relative to the working directory
     * \param[out] trashedPath receives the entry's new path inside the trash; may be null
     * \param[out] errorString receives the reason of a failure; may be null
     * \return true when the entry was moved to the trash
     */
    static bool moveToTrash(
        const QString &path, QString *trashedPath = nullptr, QString *errorString = nullptr);

    /**
     * A file name, not an existing entry of `directory` (symlinks, even broken ones,
     * count as existing), derived from `fileName`: the name itself when free, else
     * "name (2).ext", "name (3).ext"... A name that already ends in " (N)" counts on
     * from N. The extension is the last suffix, or ".tar.*" as a whole; a leading dot
     * (".profile") is not an extension. Returns the name only, without the directory.
     * The name is free when checked; create it with QIODevice::NewOnly where a race
     * matters. An empty name or one containing "/" gives an empty result.
     * \param directory the directory the name must be free in
     * \param fileName the wanted name, without a directory
     * \return the free name, or an empty string for a bad fileName
     */
    static QString uniqueFileName(const QString &directory, const QString &fileName);

    /**
     * A file name made from arbitrary text (a title, a URL part): path separators
     * ("/" and "\\") and control characters become "_", blanks at both ends are
     * trimmed, the reserved names "." and ".." and the device names of other systems
     * (CON, PRN, AUX, NUL, COM1-9, LPT1-9, in any case, with or without extension) get a
     * leading "_", and the result is cut to at most 255 bytes of UTF-8 at a character
     * boundary, keeping a short extension. Never empty: empty text gives "unnamed".
     * \param text any text
     * \return a name usable as a single path component
     */
    static QString safeFileName(const QString &text);

    /**
     * Bytes available to the calling user on the volume holding `path` (which must
     * exist; a file or a directory), or -1 on failure.
     * \param path an existing file or directory on the volume
     * \param[out] errorString receives the reason of a failure; may be null
     * \return the free bytes for the calling user, or -1
     */
    static qint64 freeDiskSpace(const QString &path, QString *errorString = nullptr);

    /**
     * CRC-32 (zlib's polynomial) of a file's contents, read in blocks. Sets `ok`
     * (when not null) to whether the file could be read; returns 0 on failure.
     * \param path the regular file to read
     * \param[out] ok receives whether the file could be read; may be null
     * \param[out] errorString receives the reason of a failure; may be null
     * \return the CRC-32, or 0 on failure
     */
    static quint32 fileCrc32(
        const QString &path, bool *ok = nullptr, QString *errorString = nullptr);

    /**
     * Compares two files by size first and, when the sizes match, by CRC-32 of their
     * contents. Equal means equal with CRC-32 certainty (collisions are possible in
     * principle). eCompareFailed when either file is missing, unreadable or not a
     * regular file.
     * \param first path of the first file
     * \param second path of the second file
     * \param[out] errorString receives the reason of a failure; may be null
     * \return the result of the comparison
     */
    static ECompareResult compareFiles(
        const QString &first, const QString &second, QString *errorString = nullptr);
};

#endif
