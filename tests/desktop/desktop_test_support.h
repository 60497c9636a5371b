// Helpers shared by the desktop tests: waiting on the event loop, reading the real X
// stacking order, and running a test again in a child process without a display.
#ifndef LIBUTILITY_TESTS_DESKTOP_SUPPORT_H
#define LIBUTILITY_TESTS_DESKTOP_SUPPORT_H

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <QWidget>

#include <libutility/qtcompat_p.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <functional>
#include <vector>

namespace desktoptest {

// Processes events until done() holds or timeoutMs passed; returns done().
inline bool waitFor(const std::function<bool()> &done, int timeoutMs = 5000)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > timeoutMs)
            return done();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

inline void spin(int ms)
{
    waitFor([] { return false; }, ms);
}

// True in the process that has an X display; without one (offscreen platform) tests
// that need the null-display path run directly.
inline bool haveX11() { return QtCompat::isPlatformX11() && QtCompat::x11Display() != nullptr; }

// The root window of the application's display.
inline Window rootWindow() { return DefaultRootWindow(QtCompat::x11Display()); }

// The parent of an X window and the root's children, bottom to top.
inline Window parentOf(Window window, std::vector<Window> *children = nullptr)
{
    Window root = 0, parent = 0, *list = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(QtCompat::x11Display(), window, &root, &parent, &list, &count))
        return 0;
    if (children)
        children->assign(list, list + count);
    if (list)
        XFree(list);
    return parent == root ? 0 : parent;
}

// The child of the root window that holds the X window (its window-manager frame, or
// the window itself when it has none).
inline Window topLevelOf(Window window)
{
    while (Window parent = parentOf(window))
        window = parent;
    return window;
}

// Position of the widget's top-level frame among the root's children, bottom 0; -1
// when it is not there.
inline int stackIndex(const QWidget *widget)
{
    std::vector<Window> children;
    parentOf(rootWindow(), &children);
    const Window top = topLevelOf(widget->winId());
    for (size_t i = 0; i < children.size(); ++i) {
        if (children[i] == top)
            return int(i);
    }
    return -1;
}

// Shows the widget and waits until the window manager has framed, mapped and
// activated it and has had time to settle its stacking.
inline bool showManaged(QWidget *widget)
{
    widget->show();
    const bool mapped = waitFor([widget] {
        XWindowAttributes attributes;
        const Window top = topLevelOf(widget->winId());
        return top != widget->winId()
            && XGetWindowAttributes(QtCompat::x11Display(), top, &attributes)
            && attributes.map_state == IsViewable && widget->isVisible();
    });
    const bool active = waitFor([widget] { return widget->isActiveWindow(); });
    spin(150); // the window manager may restack once more while focusing
    return mapped && active;
}

// Runs the test binary again with QT_QPA_PLATFORM=offscreen and the given gtest filter;
// returns its exit code (-1 when it crashed or did not finish) and its output.
inline int runOffscreenChild(const QString &filter, QString *output)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), { "--gtest_filter=" + filter });
    const bool finished = child.waitForFinished(120000);
    *output = QString::fromLocal8Bit(child.readAll());
    return finished && child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
}

// Records, on a connection of its own, which children of the root window are restacked
// (ConfigureNotify), in the order the server did it.
class RestackRecorder
{
public:
    RestackRecorder()
        : m_display(XOpenDisplay(DisplayString(QtCompat::x11Display())))
    {
        XSelectInput(m_display, DefaultRootWindow(m_display), SubstructureNotifyMask);
        XSync(m_display, True);
    }
    ~RestackRecorder() { XCloseDisplay(m_display); }
    // Waits until the server has handled everything Qt's connection sent, then returns
    // the windows restacked since construction.
    std::vector<Window> collect()
    {
        std::vector<Window> restacked;
        XSync(QtCompat::x11Display(), False);
        XSync(m_display, False);
        for (XEvent event; XPending(m_display);) {
            XNextEvent(m_display, &event);
            if (event.type == ConfigureNotify)
                restacked.push_back(event.xconfigure.window);
        }
        return restacked;
    }

private:
    Display *m_display;
};

// Makes the window manager's check window (the root's "_NET_SUPPORTING_WM_CHECK") a
// window of ours named name, and puts the real one back when it goes.
class FakeWindowManagerName
{
public:
    explicit FakeWindowManagerName(const QByteArray &name)
    {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char *data = nullptr;
        if (XGetWindowProperty(display(), rootWindow(), check(), 0, 1, False, XA_WINDOW, &type,
                &format, &count, &after, &data)
                == Success
            && type == XA_WINDOW && count == 1)
            m_previous = *reinterpret_cast<Window *>(data);
        if (data)
            XFree(data);
        m_window = XCreateSimpleWindow(display(), rootWindow(), 0, 0, 1, 1, 0, 0, 0);
        XChangeProperty(display(), m_window, XInternAtom(display(), "_NET_WM_NAME", False),
            XInternAtom(display(), "UTF8_STRING", False), 8, PropModeReplace,
            reinterpret_cast<const unsigned char *>(name.constData()), name.size());
        setCheckWindow(m_window);
    }
    ~FakeWindowManagerName()
    {
        setCheckWindow(m_previous);
        XDestroyWindow(display(), m_window);
        XSync(display(), False);
    }

private:
    static Display *display() { return QtCompat::x11Display(); }
    static Atom check() { return XInternAtom(display(), "_NET_SUPPORTING_WM_CHECK", False); }
    void setCheckWindow(Window window)
    {
        if (!window)
            XDeleteProperty(display(), rootWindow(), check());
        else
            XChangeProperty(display(), rootWindow(), check(), XA_WINDOW, 32, PropModeReplace,
                reinterpret_cast<const unsigned char *>(&window), 1);
        XSync(display(), False);
    }
    Window m_previous = 0, m_window = 0;
};

} // namespace desktoptest

#endif
