/**
 * \file
 * Small helpers that talk to the operating system and the X11 desktop directly.
 *
 * None of them throws or logs. chmod and chown failures are ignored on purpose (callers
 * such as the variant serialiser use them as best-effort fix-ups); removePath reports
 * only through its result; getDesktopEnvironment answers -1 when it recognises nothing,
 * including when the application has no X display (offscreen or non-X platform).
 */
#ifndef LIBUTILITY_FILES_OSUTIL_H
#define LIBUTILITY_FILES_OSUTIL_H

#include <libutility/utility_export.h>

#include <QString>

/// Static helpers that talk to the operating system and the X11 desktop.
class UTILITY_EXPORT COsUtil
{
public:
    /**
     * A POSIX mode bit mask, handed to chmod unchanged. Combine the named bits with |
     * (the operator below keeps the type); any other mode value can be passed as
     * COsUtil::ePermissionMask(mode).
     */
    enum ePermissionMask : unsigned int {
        eNoPermissions = 0,
        eOwnerRead = 0400,
        eOwnerWrite = 0200,
        eOwnerExecute = 0100,
        eOwnerAll = 0700,
        eGroupRead = 040,
        eGroupWrite = 020,
        eGroupExecute = 010,
        eGroupAll = 070,
        eOthersRead = 04,
        eOthersWrite = 02,
        eOthersExecute = 01,
        eOthersAll = 07,
        eAllPermissions = 0777 ///< 0x1ff, what the variant serialiser hands out
    };

    /** Codes returned by getDesktopEnvironment(). */
    enum EDesktopEnvironment { eUnknownDesktop = -1, eGnomeDesktop = 0, eKdeDesktop = 1 };

    /**
     * Removes a file, or a directory when it is empty (through its parent's rmdir).
     * A non-empty directory is left in place; a symlink is removed as a link, even
     * when it points at a directory. Returns whether the removal succeeded.
     * \param path the file, symlink or empty directory to remove
     * \return true when the entry was removed
     */
    static bool removePath(const QString &path);

    /**
     * chmod(path, mask); chmod's result is ignored. Paths reach the system in the
     * local 8-bit file name encoding (QFile::encodeName): plain ASCII for ASCII
     * paths, and non-ASCII names still name the right file.
     * \param path the file or directory; a symlink is followed
     * \param mask the new mode bits
     */
    static void setPermissions(const QString &path, ePermissionMask mask);

    /**
     * chown(path, uid, gid); -1 stands for the calling process's uid (gid). Always
     * returns true, whatever chown reports. Symlinks are followed (chown, not lchown).
     * \param path the file or directory
     * \param uid the new owner's user id, or -1
     * \param gid the new group id, or -1
     * \return true
     */
    static bool setOwners(const QString &path, int uid, int gid);

    /**
     * chown of a directory and, when recursive, of every file and subdirectory under
     * it (hidden entries included). An empty path returns true at once; -1 stands for
     * the caller's uid (gid). Symbolic links met inside the tree are changed
     * themselves (lchown) and never followed, so a link loop or a link that points
     * outside the tree touches nothing outside it.
     * Result: without recursion always true (like setOwners). With recursion, false
     * when any chown of the walk failed (the walk still visits everything it can),
     * true otherwise.
     * \param path the directory at the top of the tree
     * \param uid the new owner's user id, or -1
     * \param gid the new group id, or -1
     * \param recursive also change everything under the directory
     * \return false only when recursive and a chown of the directory or the walk failed
     */
    static bool setOwnertoDirectory(const QString &path, int uid, int gid, bool recursive);

    /**
     * Recognises the running desktop from the X display the application uses:
     * 0 (eGnomeDesktop), 1 (eKdeDesktop) or -1 (eUnknownDesktop, also when there is
     * no X display). The window manager's own name decides first ("KWin" or
     * "Metacity"), then GNOME's root-window property, the GNOME_DESKTOP_SESSION_ID
     * variable and KDE's root-window properties. X errors during the reads (a stale
     * window id, for example) are caught and count as failed reads.
     * \return an EDesktopEnvironment code
     */
    static int getDesktopEnvironment();
};

/// Combines two permission masks.
/// \param a first mask
/// \param b second mask
/// \return the bits set in either mask
inline COsUtil::ePermissionMask operator|(COsUtil::ePermissionMask a, COsUtil::ePermissionMask b)
{
    return COsUtil::ePermissionMask(static_cast<unsigned int>(a) | static_cast<unsigned int>(b));
}

#endif
