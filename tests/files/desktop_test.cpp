// Desktop detection against a real X server: each test starts its own Xvfb on a free
// display (-displayfd) and runs a small probe program on the xcb platform against it,
// since this suite itself runs offscreen.
#include <libutility/files/osutil.h>

#include "support/printers.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

const char *const cDesktopProperties[] = { "GNOME_BACKGROUND_PROPERTIES", "KDE_FULL_SESSION",
    "KWIN_RUNNING", "KWM_RUNNING", "_NET_SUPPORTING_WM_CHECK" };

class XServer
{
public:
    XServer()
    {
        if (QStandardPaths::findExecutable("Xvfb").isEmpty())
            return;
        // -noreset: root properties must outlive the probe's connection.
        m_server.start("Xvfb",
            { "-displayfd", "1", "-noreset", "-nolisten", "tcp", "-screen", "0", "320x240x24" });
        if (!m_server.waitForStarted(10000))
            return;
        QByteArray number;
        while (!number.contains('\n') && m_server.waitForReadyRead(10000))
            number += m_server.readAllStandardOutput();
        m_name = ":" + number.trimmed();
        m_display = XOpenDisplay(m_name.constData());
    }
    ~XServer()
    {
        if (m_display)
            XCloseDisplay(m_display);
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    bool ok() const { return m_display != nullptr; }
    QByteArray name() const { return m_name; }
    Display *display() const { return m_display; }
    Window root() const { return DefaultRootWindow(m_display); }
    Atom atom(const char *name) const { return XInternAtom(m_display, name, False); }

    void setText(Window window, const char *property, const char *type, const QByteArray &value)
    {
        XChangeProperty(m_display, window, atom(property), atom(type), 8, PropModeReplace,
            reinterpret_cast<const unsigned char *>(value.constData()), value.size());
        XSync(m_display, False);
    }
    void setCheckWindow(Window window)
    {
        const unsigned long id = window;
        XChangeProperty(m_display, root(), atom("_NET_SUPPORTING_WM_CHECK"), XA_WINDOW, 32,
            PropModeReplace, reinterpret_cast<const unsigned char *>(&id), 1);
        XSync(m_display, False);
    }
    // A window of ours naming itself `name` (with the given property type).
    Window nameWindow(const QByteArray &name, const char *type)
    {
        const Window window = XCreateSimpleWindow(m_display, root(), 0, 0, 1, 1, 0, 0, 0);
        setText(window, "_NET_WM_NAME", type, name);
        return window;
    }
    void clearRoot()
    {
        for (const char *property : cDesktopProperties)
            XDeleteProperty(m_display, root(), atom(property));
        XSync(m_display, False);
    }

    // Runs the probe; returns its two answers ("a b") or a failure text.
    QString probe(const char *gnomeSession = nullptr)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DISPLAY", m_name);
        env.insert("QT_QPA_PLATFORM", "xcb");
        env.remove("GNOME_DESKTOP_SESSION_ID");
        if (gnomeSession)
            env.insert("GNOME_DESKTOP_SESSION_ID", gnomeSession);
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(FILES_DESKTOP_PROBE, QStringList());
        if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit
            || process.exitCode() != 0)
            return "probe failed: " + process.readAllStandardError();
        return QString::fromLatin1(process.readAllStandardOutput()).trimmed();
    }

private:
    QProcess m_server;
    QByteArray m_name;
    Display *m_display = nullptr;
};

#define REQUIRE_SERVER(server)                                                                     \
    if (!(server).ok())                                                                            \
    GTEST_SKIP() << "no Xvfb"

} // namespace

TEST(DesktopEnvironment, ReadsPropertiesInOrder)
{
    XServer x;
    REQUIRE_SERVER(x);
    // wm: the name the check window gives itself ("" no check window, "stale" a
    // destroyed one, "STRING:" prefix the wrong property type).
    struct Case
    {
        const char *label;
        QList<const char *> rootProperties;
        const char *gnomeSession;
        QString wm;
        int expected;
    } cases[] = {
        { "nothing", {}, nullptr, "", -1 },
        { "gnome background", { "GNOME_BACKGROUND_PROPERTIES" }, nullptr, "", 0 },
        { "kde full session", { "KDE_FULL_SESSION" }, nullptr, "", 1 },
        { "kwin running", { "KWIN_RUNNING" }, nullptr, "", 1 },
        { "kwm running", { "KWM_RUNNING" }, nullptr, "", 1 },
        { "gnome variable", {}, "this-is-deprecated", "", 0 },
        { "empty gnome variable", {}, "", "", -1 },
        { "gnome variable before kde", { "KDE_FULL_SESSION" }, "1", "", 0 },
        { "gnome background before kde", { "KDE_FULL_SESSION", "GNOME_BACKGROUND_PROPERTIES" },
            nullptr, "", 0 },
        { "kwin check window", {}, nullptr, "KWin", 1 },
        { "wm name decides first", { "GNOME_BACKGROUND_PROPERTIES" }, "1", "KWin", 1 },
        { "metacity name", { "KDE_FULL_SESSION" }, nullptr, "Metacity", 0 },
        { "other wm falls through", { "KDE_FULL_SESSION" }, nullptr, "Openbox", 1 },
        { "wm name must be UTF8_STRING", {}, nullptr, "STRING:KWin", -1 },
        { "stale check window", {}, nullptr, "stale", -1 },
        { "stale check window then kde", { "KWM_RUNNING" }, nullptr, "stale", 1 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        x.clearRoot();
        for (const char *property : c.rootProperties)
            x.setText(x.root(), property, "STRING", "true");
        const bool asString = c.wm.startsWith("STRING:");
        const Window window = c.wm.isEmpty()
            ? None
            : x.nameWindow(c.wm.section(':', -1).toLatin1(), asString ? "STRING" : "UTF8_STRING");
        if (window != None)
            x.setCheckWindow(window);
        if (c.wm == "stale")
            XDestroyWindow(x.display(), window);
        EXPECT_EQ(x.probe(c.gnomeSession), QString("%1 %1").arg(c.expected));
        if (window != None && c.wm != "stale")
            XDestroyWindow(x.display(), window);
    }
}

TEST(DesktopEnvironment, RecognisesARealMetacity)
{
    if (QStandardPaths::findExecutable("metacity").isEmpty())
        GTEST_SKIP() << "no metacity";
    XServer x;
    REQUIRE_SERVER(x);
    x.setText(x.root(), "KDE_FULL_SESSION", "STRING", "true");
    QProcess wm;
    wm.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    wm.start("metacity", { "--display=" + x.name(), "--replace", "--sm-disable" });
    ASSERT_TRUE(wm.waitForStarted(10000));
    // Wait until the window manager has published its check window.
    QElapsedTimer timer;
    timer.start();
    bool published = false;
    while (!published && timer.elapsed() < 20000) {
        Atom type = None;
        int format = 0;
        unsigned long items = 0, after = 0;
        unsigned char *data = nullptr;
        XGetWindowProperty(x.display(), x.root(), x.atom("_NET_SUPPORTING_WM_CHECK"), 0, 1, False,
            XA_WINDOW, &type, &format, &items, &after, &data);
        published = items > 0;
        if (data)
            XFree(data);
        if (!published)
            QThread::msleep(100);
    }
    ASSERT_TRUE(published) << "metacity did not start";
    EXPECT_EQ(x.probe(), QString("0 0")) << "its name wins over the KDE property";
    wm.terminate();
    wm.waitForFinished(5000);
}
