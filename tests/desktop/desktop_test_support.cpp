#include "desktop_test_support.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <QWidget>
#include <QX11Info>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace desktoptest {

bool waitFor(const std::function<bool()> &done, int timeoutMs)
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

void spin(int ms)
{
    waitFor([] { return false; }, ms);
}

unsigned long topLevelOf(unsigned long window)
{
    Display *display = QX11Info::display();
    Window current = window;
    for (;;) {
        Window root = 0, parent = 0, *children = nullptr;
        unsigned int count = 0;
        if (!XQueryTree(display, current, &root, &parent, &children, &count))
            return 0;
        if (children)
            XFree(children);
        if (parent == root || parent == 0)
            return current;
        current = parent;
    }
}

int stackIndex(const QWidget *widget)
{
    Display *display = QX11Info::display();
    const Window top = topLevelOf(widget->winId());
    Window root = 0, parent = 0, *children = nullptr;
    unsigned int count = 0;
    XQueryTree(display, QX11Info::appRootWindow(), &root, &parent, &children, &count);
    int index = -1;
    for (unsigned int i = 0; i < count; ++i) {
        if (children[i] == top)
            index = int(i);
    }
    if (children)
        XFree(children);
    return index;
}

bool showManaged(QWidget *widget)
{
    widget->show();
    const bool mapped = waitFor([widget] {
        XWindowAttributes attributes;
        const Window top = topLevelOf(widget->winId());
        return top != widget->winId() && XGetWindowAttributes(QX11Info::display(), top, &attributes)
            && attributes.map_state == IsViewable && widget->isVisible();
    });
    // The window manager focuses a new window and may restack once more while doing so.
    const bool active = waitFor([widget] { return widget->isActiveWindow(); });
    spin(150);
    return mapped && active;
}

bool haveX11() { return QX11Info::isPlatformX11() && QX11Info::display() != nullptr; }

int runOffscreenChild(const QString &filter, QString *output)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(
        QCoreApplication::applicationFilePath(), { QStringLiteral("--gtest_filter=") + filter });
    const bool finished = child.waitForFinished(120000);
    if (output)
        *output = QString::fromLocal8Bit(child.readAll());
    if (!finished || child.exitStatus() != QProcess::NormalExit)
        return -1;
    return child.exitCode();
}

RestackRecorder::RestackRecorder()
    : m_display(XOpenDisplay(DisplayString(QX11Info::display())))
{
    if (Display *display = static_cast<Display *>(m_display)) {
        XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
        XSync(display, True);
    }
}

RestackRecorder::~RestackRecorder()
{
    if (m_display)
        XCloseDisplay(static_cast<Display *>(m_display));
}

std::vector<unsigned long> RestackRecorder::collect()
{
    std::vector<unsigned long> restacked;
    Display *display = static_cast<Display *>(m_display);
    if (!display)
        return restacked;
    XSync(QX11Info::display(), False);
    XSync(display, False);
    while (XPending(display)) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == ConfigureNotify)
            restacked.push_back(event.xconfigure.window);
    }
    return restacked;
}

FakeWindowManagerName::FakeWindowManagerName(const QByteArray &name)
    : m_check(XInternAtom(QX11Info::display(), "_NET_SUPPORTING_WM_CHECK", False))
{
    Display *display = QX11Info::display();
    const Window root = QX11Info::appRootWindow();
    Atom type = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char *data = nullptr;
    if (XGetWindowProperty(
            display, root, m_check, 0, 1, False, XA_WINDOW, &type, &format, &count, &after, &data)
            == Success
        && type == XA_WINDOW && count == 1) {
        m_previous = *reinterpret_cast<Window *>(data);
    }
    if (data)
        XFree(data);
    m_window = XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0);
    XChangeProperty(display, m_window, XInternAtom(display, "_NET_WM_NAME", False),
        XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
        reinterpret_cast<const unsigned char *>(name.constData()), name.size());
    setCheckWindow(m_window);
}

FakeWindowManagerName::~FakeWindowManagerName()
{
    Display *display = QX11Info::display();
    if (m_previous)
        setCheckWindow(m_previous);
    else
        XDeleteProperty(display, QX11Info::appRootWindow(), m_check);
    XDestroyWindow(display, m_window);
    XSync(display, False);
}

void FakeWindowManagerName::setCheckWindow(unsigned long window)
{
    Display *display = QX11Info::display();
    const Window value = window;
    XChangeProperty(display, QX11Info::appRootWindow(), m_check, XA_WINDOW, 32, PropModeReplace,
        reinterpret_cast<const unsigned char *>(&value), 1);
    XSync(display, False);
}

} // namespace desktoptest
