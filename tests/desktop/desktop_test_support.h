// Helpers shared by the desktop tests: waiting on the event loop, reading the real X
// stacking order, and running a test again in a child process without a display.
#ifndef LIBUTILITY_TESTS_DESKTOP_SUPPORT_H
#define LIBUTILITY_TESTS_DESKTOP_SUPPORT_H

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

class QWidget;

namespace desktoptest {

// Processes events until done() holds or timeoutMs passed; returns done().
bool waitFor(const std::function<bool()> &done, int timeoutMs = 5000);
// Processes events for ms milliseconds.
void spin(int ms);

// The child of the root window that holds the X window (its window-manager frame, or
// the window itself when it has none).
unsigned long topLevelOf(unsigned long window);
// Position of the widget's top-level frame among the root's children, bottom 0; -1
// when it is not there.
int stackIndex(const QWidget *widget);
// Shows the widget and waits until the window manager has framed, mapped and
// activated it and has had time to settle its stacking.
bool showManaged(QWidget *widget);

// True in the process that has an X display. Without one (offscreen platform) tests
// that need the null-display path run directly.
bool haveX11();
// Runs the test binary again with QT_QPA_PLATFORM=offscreen and the given gtest
// filter; returns its exit code (-1 when it crashed or did not finish) and its output.
int runOffscreenChild(const QString &filter, QString *output);

// Records, on a connection of its own, which children of the root window are restacked
// (ConfigureNotify), in the order the server did it.
class RestackRecorder
{
public:
    RestackRecorder();
    ~RestackRecorder();
    RestackRecorder(const RestackRecorder &) = delete;
    RestackRecorder &operator=(const RestackRecorder &) = delete;
    bool isValid() const { return m_display != nullptr; }
    // Waits until the server has handled everything Qt's connection sent, then returns
    // the windows restacked since construction.
    std::vector<unsigned long> collect();

private:
    void *m_display;
};

// Makes the window manager's check window (the root's "_NET_SUPPORTING_WM_CHECK") a
// window of ours named name, and puts the real one back when it goes.
class FakeWindowManagerName
{
public:
    explicit FakeWindowManagerName(const QByteArray &name);
    ~FakeWindowManagerName();
    FakeWindowManagerName(const FakeWindowManagerName &) = delete;
    FakeWindowManagerName &operator=(const FakeWindowManagerName &) = delete;

private:
    void setCheckWindow(unsigned long window);
    unsigned long m_check;
    unsigned long m_previous = 0;
    unsigned long m_window = 0;
};

} // namespace desktoptest

#endif
