// Desktop detection against a real X server: the test starts its own Xvfb on a free
// display (-displayfd) and runs a small probe program on the xcb platform against it,
// since this suite itself runs offscreen.
#include <libutility/files/osutil.h>

#include "support/printers.h"

#include <QProcess>
#include <QStandardPaths>
#include <QThread>

#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

TEST(DesktopEnvironment, ReadsPropertiesInOrder)
{
    if (QStandardPaths::findExecutable("Xvfb").isEmpty())
        GTEST_SKIP() << "no Xvfb";
    // -noreset: root properties must outlive the probe's connection.
    QProcess server;
    server.start("Xvfb",
        { "-displayfd", "1", "-noreset", "-nolisten", "tcp", "-screen", "0", "320x240x24" });
    QByteArray name = ":";
    while (server.waitForStarted(10000) && !name.contains('\n') && server.waitForReadyRead(10000))
        name += server.readAllStandardOutput();
    name = name.trimmed();
    Display *display = XOpenDisplay(name.constData());
    ASSERT_NE(display, nullptr) << name.constData();
    const Window root = DefaultRootWindow(display);
    auto atom = [&](const char *property) { return XInternAtom(display, property, False); };
    // Format 32 items are longs on the client side.
    auto set = [&](Window window, const char *property, Atom type, int format, QByteArray data) {
        XChangeProperty(display, window, atom(property), type, format, PropModeReplace,
            reinterpret_cast<const unsigned char *>(data.constData()),
            data.size() / (format == 32 ? int(sizeof(long)) : format / 8));
        XSync(display, False);
    };
    // The probe's two answers ("a b"); empty when it failed.
    auto probe = [&](const char *gnomeSession) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DISPLAY", name);
        env.insert("QT_QPA_PLATFORM", "xcb");
        env.remove("GNOME_DESKTOP_SESSION_ID");
        if (gnomeSession)
            env.insert("GNOME_DESKTOP_SESSION_ID", gnomeSession);
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(FILES_DESKTOP_PROBE, QStringList());
        process.waitForFinished(30000);
        return QString::fromLatin1(process.readAllStandardOutput()).trimmed();
    };

    // wm: the name the check window gives itself ("" no check window, "stale" a destroyed
    // one; prefix "STRING:" the wrong type, "16:" format 16, whose item count is half the
    // bytes: read as format 8 the first half of the text would be the name).
    const struct
    {
        const char *label;
        QList<const char *> rootProperties;
        const char *gnomeSession;
        QString wm;
        int expected;
    } cases[] = {
        { "kwin running", { "KWIN_RUNNING" }, nullptr, "", 1 },
        { "kwm running", { "KWM_RUNNING" }, nullptr, "", 1 },
        { "nothing, an empty gnome variable", {}, "", "", -1 },
        { "gnome variable before kde", { "KDE_FULL_SESSION" }, "this-is-deprecated", "", 0 },
        { "gnome background before kde", { "KDE_FULL_SESSION", "GNOME_BACKGROUND_PROPERTIES" },
            nullptr, "", 0 },
        { "wm name decides first", { "GNOME_BACKGROUND_PROPERTIES" }, "1", "KWin", 1 },
        { "metacity check window", { "KDE_FULL_SESSION" }, nullptr, "Metacity", 0 },
        { "other wm falls through", { "KDE_FULL_SESSION" }, nullptr, "Xfwm", 1 },
        { "wm name must be UTF8_STRING", {}, nullptr, "STRING:KWin", -1 },
        { "wm name must have format 8", {}, nullptr, "16:KWinKWin", -1 },
        { "stale check window then kde", { "KWM_RUNNING" }, nullptr, "stale", 1 },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        for (const char *property : { "GNOME_BACKGROUND_PROPERTIES", "KDE_FULL_SESSION",
                 "KWIN_RUNNING", "KWM_RUNNING", "_NET_SUPPORTING_WM_CHECK" })
            XDeleteProperty(display, root, atom(property));
        XSync(display, False); // the probe must not see the previous row's properties
        for (const char *property : c.rootProperties)
            set(root, property, XA_STRING, 8, "true");
        Window window = None;
        if (!c.wm.isEmpty()) {
            window = XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0);
            set(window, "_NET_WM_NAME",
                c.wm.startsWith("STRING:") ? XA_STRING : atom("UTF8_STRING"),
                c.wm.startsWith("16:") ? 16 : 8, c.wm.section(':', -1).toLatin1());
            const unsigned long id = window;
            set(root, "_NET_SUPPORTING_WM_CHECK", XA_WINDOW, 32,
                QByteArray(reinterpret_cast<const char *>(&id), sizeof id));
            if (c.wm == "stale")
                XDestroyWindow(display, window);
        }
        EXPECT_EQ(probe(c.gnomeSession), QString("%1 %1").arg(c.expected));
        if (window != None && c.wm != "stale")
            XDestroyWindow(display, window);
    }

    // A real window manager: once metacity has published its check window, its name wins
    // over the KDE property.
    if (!QStandardPaths::findExecutable("metacity").isEmpty()) {
        set(root, "KDE_FULL_SESSION", XA_STRING, 8, "true");
        QProcess wm;
        wm.start("metacity", { "--display=" + name, "--replace", "--sm-disable" });
        ASSERT_TRUE(wm.waitForStarted(10000));
        QString answer;
        for (int i = 0; i < 100 && (answer = probe(nullptr)) != "0 0"; ++i)
            QThread::msleep(200);
        EXPECT_EQ(answer, QString("0 0"));
        wm.terminate();
        wm.waitForFinished(5000);
    }

    XCloseDisplay(display);
    server.terminate();
    server.waitForFinished(5000);
}
