#include <libutility/files/osutil.h>
#include <libutility/qtcompat_p.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

QByteArray encodedPath(const QString &path)
{
    return QFile::encodeName(QDir::toNativeSeparators(path));
}

uid_t effectiveUid(int uid) { return uid == -1 ? getuid() : static_cast<uid_t>(uid); }

gid_t effectiveGid(int gid) { return gid == -1 ? getgid() : static_cast<gid_t>(gid); }

bool chownWalk(const QString &directory, uid_t uid, gid_t gid)
{
    bool ok = true;
    QDir dir(directory);
    if (!dir.exists())
        return ok;
    // Links are changed themselves and never followed: a loop would never end, and a
    // link to elsewhere would hand files outside the tree to the new owner.
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        const QByteArray native = encodedPath(entry.absoluteFilePath());
        if (entry.isSymLink()) {
            ok = lchown(native.constData(), uid, gid) == 0 && ok;
        } else if (entry.isDir()) {
            ok = chown(native.constData(), uid, gid) == 0 && ok;
            ok = chownWalk(entry.absoluteFilePath(), uid, gid) && ok;
        } else {
            ok = chown(native.constData(), uid, gid) == 0 && ok;
        }
    }
    return ok;
}

} // namespace

bool COsUtil::removePath(const QString &path)
{
    const QString native = QDir::toNativeSeparators(path);
    const QFileInfo info(native);
    // A link is removed as a link, even when it points at a directory.
    if (info.isDir() && !info.isSymLink()) {
        QDir dir(native);
        const QString name = dir.dirName();
        if (!dir.cdUp())
            return false;
        return dir.rmdir(name);
    }
    return QFile::remove(native);
}

void COsUtil::setPermissions(const QString &path, ePermissionMask mask)
{
    // Best effort by contract: callers do not act on a failure.
    (void)chmod(encodedPath(path).constData(), static_cast<mode_t>(mask));
}

bool COsUtil::setOwners(const QString &path, int uid, int gid)
{
    (void)chown(encodedPath(path).constData(), effectiveUid(uid), effectiveGid(gid));
    return true;
}

bool COsUtil::setOwnertoDirectory(const QString &path, int uid, int gid, bool recursive)
{
    if (path.isEmpty())
        return true;
    const uid_t owner = effectiveUid(uid);
    const gid_t group = effectiveGid(gid);
    const bool ownOk = chown(encodedPath(path).constData(), owner, group) == 0;
    if (!recursive)
        return true;
    return chownWalk(path, owner, group) && ownOk;
}

// The X11 part comes last: Xlib's macros (None, Bool, Status, Unsorted...) would
// otherwise collide with Qt names used above.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

// --- X11 property reads --------------------------------------------------------------

// Xlib's error handler is process-wide; the trap installs a counting handler for the
// duration of the reads and puts the previous one back, so a stale window id becomes a
// failed read instead of the default handler's exit(). Only the GUI thread talks to
// the display, so a plain counter is enough.
int g_xErrorCount = 0;

int countXError(Display *, XErrorEvent *)
{
    ++g_xErrorCount;
    return 0;
}

class XErrorTrap
{
public:
    explicit XErrorTrap(Display *display)
        : m_display(display)
    {
        XSync(m_display, False);
        g_xErrorCount = 0;
        m_previous = XSetErrorHandler(countXError);
    }
    ~XErrorTrap()
    {
        XSync(m_display, False);
        XSetErrorHandler(m_previous);
    }
    XErrorTrap(const XErrorTrap &) = delete;
    XErrorTrap &operator=(const XErrorTrap &) = delete;

private:
    Display *m_display;
    XErrorHandler m_previous;
};

// One XGetWindowProperty reply; frees its data.
class PropertyReply
{
public:
    PropertyReply(
        Display *display, Window window, const char *name, long length, Atom requestedType)
    {
        const Atom property = XInternAtom(display, name, True);
        if (property == None)
            return; // nobody ever created the atom, so no window carries it
        const int errorsBefore = g_xErrorCount;
        const int status = XGetWindowProperty(display, window, property, 0, length, False,
            requestedType, &m_type, &m_format, &m_items, &m_bytesAfter, &m_data);
        m_ok = status == Success && g_xErrorCount == errorsBefore;
    }
    ~PropertyReply()
    {
        if (m_data)
            XFree(m_data);
    }
    PropertyReply(const PropertyReply &) = delete;
    PropertyReply &operator=(const PropertyReply &) = delete;

    bool exists() const { return m_ok && m_type != None && m_items > 0 && m_data; }
    bool is(Atom type, int format) const
    {
        return exists() && m_type == type && m_format == format;
    }
    unsigned long items() const { return m_items; }
    const unsigned char *data() const { return m_data; }

private:
    bool m_ok = false;
    Atom m_type = None;
    int m_format = 0;
    unsigned long m_items = 0;
    unsigned long m_bytesAfter = 0;
    unsigned char *m_data = nullptr;
};

int desktopFromWindowManagerName(Display *display, Window root)
{
    Window check = None;
    {
        PropertyReply reply(display, root, "_NET_SUPPORTING_WM_CHECK", 0x400, XA_WINDOW);
        if (reply.is(XA_WINDOW, 32)) // format 32 data arrives as an array of long
            check = static_cast<Window>(reinterpret_cast<const unsigned long *>(reply.data())[0]);
    }
    if (check == None)
        return COsUtil::eUnknownDesktop;

    const Atom utf8String = XInternAtom(display, "UTF8_STRING", False);
    PropertyReply reply(display, check, "_NET_WM_NAME", 0x400, utf8String);
    if (!reply.is(utf8String, 8))
        return COsUtil::eUnknownDesktop;
    const QString name = QString::fromUtf8(
        reinterpret_cast<const char *>(reply.data()), static_cast<int>(reply.items()));
    if (name == QLatin1String("KWin"))
        return COsUtil::eKdeDesktop;
    if (name == QLatin1String("Metacity"))
        return COsUtil::eGnomeDesktop;
    return COsUtil::eUnknownDesktop;
}

bool rootHasProperty(Display *display, Window root, const char *name)
{
    PropertyReply reply(display, root, name, 1, AnyPropertyType);
    return reply.exists();
}

} // namespace

int COsUtil::getDesktopEnvironment()
{
    Display *display = QtCompat::isPlatformX11() ? QtCompat::x11Display() : nullptr;
    if (!display)
        return eUnknownDesktop;
    const Window root = DefaultRootWindow(display);
    XErrorTrap trap(display);

    const int byName = desktopFromWindowManagerName(display, root);
    if (byName != eUnknownDesktop)
        return byName;
    if (rootHasProperty(display, root, "GNOME_BACKGROUND_PROPERTIES"))
        return eGnomeDesktop;
    if (!qEnvironmentVariableIsEmpty("GNOME_DESKTOP_SESSION_ID"))
        return eGnomeDesktop;
    for (const char *name : { "KDE_FULL_SESSION", "KWIN_RUNNING", "KWM_RUNNING" }) {
        if (rootHasProperty(display, root, name))
            return eKdeDesktop;
    }
    return eUnknownDesktop;
}
