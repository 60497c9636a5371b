// Window stacking against a real X server and a real window manager: the order is read
// back from the server (XQueryTree of the root lists its children bottom to top).
#include <libutility/desktop/windowmanagement.h>
#include <libutility/qtcompat_p.h>

#include "support/printers.h"

#include <QAbstractEventDispatcher>
#include <QProcess>
#include <QTimerEvent>
#include <QWidget>
#include <qtestsupport_core.h>

#include <gtest/gtest.h>

// Xlib last: its macros (None, Bool, Status) clash with the headers above.
#include <X11/Xlib.h>

#include <algorithm>
#include <memory>

namespace {

struct CountingCallback : CWMUpdateCallback
{
    void update_window() override { ++ticks; }
    int ticks = 0;
};

// The argument of a sleep whose command line is unique to this test process.
const QString g_marker = QStringLiteral("600.%1").arg(QCoreApplication::applicationPid());

// Position of the widget's window-manager frame (its window's parent) among the root's
// children, bottom 0; the count of children when it is not there.
int stackIndex(const QWidget *widget)
{
    Window root = 0, frame = 0, unused = 0, *children = nullptr;
    unsigned int count = 0;
    XQueryTree(QtCompat::x11Display(), widget->winId(), &root, &frame, &children, &count);
    XFree(children);
    XQueryTree(QtCompat::x11Display(), root, &root, &unused, &children, &count);
    const int index = int(std::find(children, children + count, frame) - children);
    XFree(children);
    return index;
}

// A top-level window, shown and activated by the window manager.
std::unique_ptr<QWidget> shownWindow(QWidget *parent = nullptr)
{
    auto widget = std::make_unique<QWidget>(parent, Qt::Window);
    widget->show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return widget->isActiveWindow(); }));
    QTest::qWait(150); // the window manager may restack once more while focusing
    return widget;
}

} // namespace

TEST(WMUpdateTimer, TicksUntilStoppedAndOnlyTheCurrentTimerCounts)
{
    CountingCallback callback;
    CWMUpdateTimer timer(5, &callback);
    const auto registered
        = [&] { return QAbstractEventDispatcher::instance()->registeredTimers(&timer).size(); };
    ASSERT_TRUE(QTest::qWaitFor([&] { return callback.ticks >= 3; }));
    timer.start(3600 * 1000); // replaces the 5 ms timer
    EXPECT_EQ(registered(), 1);
    callback.ticks = 0;
    QObject other;
    QTimerEvent foreign(other.startTimer(3600 * 1000));
    QCoreApplication::sendEvent(&timer, &foreign);
    EXPECT_EQ(callback.ticks, 0);
    timer.stop();
    timer.stop(); // harmless
    EXPECT_EQ(registered(), 0);
}

// Ticks raise the widget's frame above the other window, except while a process of the
// given name runs (its name matched as an unquoted grep pattern anywhere in the process
// list) or while the widget is active; with raise parents set its ancestors go up first,
// outermost first. A widget that goes away stops its keeper.
TEST(WindowManagement, TicksRaiseTheWindowUnlessActiveOrAProcessRuns)
{
    if (!QtCompat::isPlatformX11())
        GTEST_SKIP() << "needs an X display (run under Xvfb with a window manager)";
    auto outer = shownWindow(), middle = shownWindow(outer.get());
    auto kept = shownWindow(middle.get()), other = shownWindow();
    const auto above = [&](const QWidget *w) { return stackIndex(w) > stackIndex(other.get()); };
    ASSERT_FALSE(above(outer.get()) || above(middle.get()) || above(kept.get()));
    QProcess presenter;
    presenter.start(QStringLiteral("sleep"), { g_marker });
    ASSERT_TRUE(presenter.waitForStarted());
    const std::string marker = g_marker.toStdString();
    const std::pair<std::string, bool> names[] = { { marker.substr(0, marker.size() - 1), true },
        { "600[.]" + marker.substr(4), true }, { marker + "x", false } };
    for (auto [name, running] : names)
        EXPECT_EQ(CWindowManagement::isRunning(name), running) << name;
    {
        CWindowManagement keeper(kept.get(), 20, false, g_marker);
        QTest::qWait(300);
        EXPECT_FALSE(above(kept.get())) << "raised while the process runs";
        presenter.kill();
        EXPECT_TRUE(QTest::qWaitFor([&] { return above(kept.get()); }));
        EXPECT_FALSE(above(middle.get())) << "parents raised without being asked";
        XWindowAttributes attributes;
        XGetWindowAttributes(QtCompat::x11Display(), kept->winId(), &attributes);
        EXPECT_FALSE(attributes.override_redirect) << "left to bypass the window manager";
    }
    EXPECT_TRUE(other->isActiveWindow()) << "raising must not move the focus";
    // The other window is active and below: a keeper of it leaves it there.
    CWindowManagement(other.get(), 20, false, QString()).update_window();
    QTest::qWait(300);
    EXPECT_TRUE(above(kept.get())) << "the active window was raised";

    // Read back before the window manager, which keeps children above their parents,
    // gets the chance to restack: the order is then the one the raises left.
    CWindowManagement(kept.get(), 3600 * 1000, true, QString()).update_window();
    XSync(QtCompat::x11Display(), False);
    EXPECT_TRUE(above(outer.get()) && stackIndex(middle.get()) > stackIndex(outer.get())
        && stackIndex(kept.get()) > stackIndex(middle.get()))
        << "ancestors not raised outermost first";

    CWindowManagement keeper(kept.get(), 1, true, QString());
    kept.reset();
    QTest::qWait(50); // ticks after the widget died must not touch it
    keeper.update_window();
}

// Without an X display (offscreen platform) window management does nothing and never
// crashes. Under X the test runs itself again in an offscreen child process.
TEST(WindowManagementWithoutDisplay, DoesNothing)
{
    if (QtCompat::isPlatformX11()) {
        EXPECT_EQ(QProcess::execute("env",
                      { "QT_QPA_PLATFORM=offscreen", QCoreApplication::applicationFilePath(),
                          "--gtest_filter=WindowManagementWithoutDisplay.*" }),
            0);
        return;
    }
    CWindowManagement keeper(nullptr, 1, true, QString());
    keeper.raiseQtWindowTop(1); // any window id: there is no display to ask
    keeper.raiseWindowTop(1);
}
