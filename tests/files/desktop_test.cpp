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
        QByteArray number;
        while (m_server.waitForStarted(10000) && !number.contains('\n')
            && m_server.waitForReadyRead(10000))
            number += m_server.readAllStandardOutput();
        name = ":" + number.trimmed();
        display = XOpenDisplay(name.constData());
    }
    ~XServer()
    {
        if (display)
            XCloseDisplay(display);
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    Window root() const { return DefaultRootWindow(display); }
    Atom atom(const char *name) const { return XInternAtom(display, name, False); }
    void set(Window window, const char *property, Atom type, int format, const void *data, int n)
    {
        XChangeProperty(display, window, atom(property), type, format, PropModeReplace,
            static_cast<const unsigned char *>(data), n);
        XSync(display, False);
    }

    // Runs the probe; returns its two answers ("a b") or a failure text.
    QString probe(const char *gnomeSession = nullptr)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DISPLAY", name);
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

    QByteArray name;
    Display *display = nullptr;

private:
    QProcess m_server;
};

} // namespace

TEST(DesktopEnvironment, ReadsPropertiesInOrder)
{
    XServer x;
    if (!x.display)
        GTEST_SKIP() << "no Xvfb";
    // wm: the name the check window gives itself ("" no check window, "stale" a
    // destroyed one, "STRING:" prefix the wrong property type).
    const struct
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
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        for (const char *property : { "GNOME_BACKGROUND_PROPERTIES", "KDE_FULL_SESSION",
                 "KWIN_RUNNING", "KWM_RUNNING", "_NET_SUPPORTING_WM_CHECK" })
            XDeleteProperty(x.display, x.root(), x.atom(property));
        XSync(x.display, False); // the probe must not see the previous row's properties
        for (const char *property : c.rootProperties)
            x.set(x.root(), property, XA_STRING, 8, "true", 4);
        Window window = None;
        if (!c.wm.isEmpty()) {
            window = XCreateSimpleWindow(x.display, x.root(), 0, 0, 1, 1, 0, 0, 0);
            const QByteArray name = c.wm.section(':', -1).toLatin1();
            x.set(window, "_NET_WM_NAME",
                c.wm.startsWith("STRING:") ? XA_STRING : x.atom("UTF8_STRING"), 8, name.constData(),
                name.size());
            const unsigned long id = window;
            x.set(x.root(), "_NET_SUPPORTING_WM_CHECK", XA_WINDOW, 32, &id, 1);
            if (c.wm == "stale")
                XDestroyWindow(x.display, window);
        }
        EXPECT_EQ(x.probe(c.gnomeSession), QString("%1 %1").arg(c.expected));
        if (window != None && c.wm != "stale")
            XDestroyWindow(x.display, window);
    }
}

TEST(DesktopEnvironment, RecognisesARealMetacity)
{
    if (QStandardPaths::findExecutable("metacity").isEmpty())
        GTEST_SKIP() << "no metacity";
    XServer x;
    if (!x.display)
        GTEST_SKIP() << "no Xvfb";
    x.set(x.root(), "KDE_FULL_SESSION", XA_STRING, 8, "true", 4);
    QProcess wm;
    wm.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    wm.start("metacity", { "--display=" + x.name, "--replace", "--sm-disable" });
    ASSERT_TRUE(wm.waitForStarted(10000));
    // Until the window manager has published its check window the KDE property answers.
    QElapsedTimer timer;
    timer.start();
    QString answer;
    while ((answer = x.probe()) != "0 0" && timer.elapsed() < 20000)
        QThread::msleep(200);
    EXPECT_EQ(answer, QString("0 0")) << "its name wins over the KDE property";
    wm.terminate();
    wm.waitForFinished(5000);
}
