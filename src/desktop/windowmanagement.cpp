#include <libutility/desktop/windowmanagement.h>
#include <libutility/qtcompat_p.h>

#include <QTimerEvent>
#include <QWidget>

#include <X11/Xlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

CWMUpdateCallback::~CWMUpdateCallback() = default;

CWMUpdateTimer::CWMUpdateTimer(int intervalMs, CWMUpdateCallback *callback)
    : QObject(nullptr)
    , m_timerId(0)
    , m_callback(callback)
{
    start(intervalMs);
}

CWMUpdateTimer::~CWMUpdateTimer() { stop(); }

void CWMUpdateTimer::start(int intervalMs)
{
    if (m_timerId != 0)
        stop();
    m_timerId = startTimer(intervalMs);
}

void CWMUpdateTimer::stop()
{
    if (m_timerId != 0) {
        killTimer(m_timerId);
        m_timerId = 0;
    }
}

void CWMUpdateTimer::timerEvent(QTimerEvent *e)
{
    if (e->timerId() == m_timerId && m_timerId != 0 && m_callback)
        m_callback->update_window();
}

CWindowManagement::CWindowManagement(
    QWidget *widget, int intervalMs, bool raiseParents, QString processName)
    : m_widget(widget)
    , m_timer(nullptr)
    , m_processName(std::move(processName))
    , m_raiseParents(raiseParents)
{
    if (!m_widget)
        return;
    m_timer = new CWMUpdateTimer(intervalMs, this);
    // The widget is not ours: forget it when it goes, instead of raising a dangling
    // pointer on the next tick. The connection dies with the timer.
    QObject::connect(m_widget, &QObject::destroyed, m_timer, [this]() {
        m_timer->stop();
        m_widget = nullptr;
    });
    start_window(intervalMs);
}

CWindowManagement::~CWindowManagement()
{
    stop_window();
    delete m_timer;
}

void CWindowManagement::start_window(int intervalMs)
{
    stop_window();
    if (m_widget && m_timer)
        m_timer->start(intervalMs);
}

void CWindowManagement::stop_window()
{
    if (m_widget && m_timer)
        m_timer->stop();
}

void CWindowManagement::update_window()
{
    if (!m_widget)
        return;
    if (!m_processName.isEmpty()) {
        std::string name = m_processName.toLatin1().toStdString();
        if (isRunning(name))
            return; // the program that is meant to be in front is running
    }
    if (m_widget->isActiveWindow())
        return;
    if (m_raiseParents)
        raiseParentWidgetTop(m_widget->parentWidget());
    raiseQtWindowTop(m_widget->winId());
}

void CWindowManagement::raiseParentWidgetTop(QWidget *widget)
{
    if (!widget)
        return;
    raiseParentWidgetTop(widget->parentWidget());
    raiseQtWindowTop(widget->winId());
}

void CWindowManagement::raiseQtWindowTop(unsigned long window)
{
    Display *display = QtCompat::x11Display();
    if (!display || window == 0)
        return;
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count))
        return;
    if (children)
        XFree(children);
    // On a reparenting window manager the parent is its frame, which has to go up first
    // or the window would only rise inside it. A parent that is the root means no frame.
    if (parent != 0 && parent != root)
        raiseWindowTop(parent);
    raiseWindowTop(window);
}

void CWindowManagement::raiseWindowTop(unsigned long window)
{
    Display *display = QtCompat::x11Display();
    if (!display || window == 0)
        return;
    XSetWindowAttributes attributes;
    std::memset(&attributes, 0, sizeof attributes);
    // Override-redirect keeps the window manager from redirecting (and refusing) the
    // restacking below.
    attributes.override_redirect = True;
    XChangeWindowAttributes(display, window, CWOverrideRedirect, &attributes);
    XMapRaised(display, window);
    XRaiseWindow(display, window);
    XMapRaised(display, window);
    attributes.override_redirect = False;
    XChangeWindowAttributes(display, window, CWOverrideRedirect, &attributes);
    XFlush(display);
}

bool CWindowManagement::isRunning(std::string &processName)
{
    // Unquoted on purpose: callers pass grep patterns and rely on substring matching.
    const std::string command = "ps -ef | grep " + processName + " | grep -v grep | wc -l";
    FILE *pipe = popen(command.c_str(), "r");
    if (!pipe)
        return false;
    char buffer[32];
    std::memset(buffer, 0, sizeof buffer);
    const long count
        = std::fgets(buffer, sizeof buffer, pipe) ? std::strtol(buffer, nullptr, 10) : 0;
    pclose(pipe);
    return count > 0;
}
