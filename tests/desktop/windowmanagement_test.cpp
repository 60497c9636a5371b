// Window stacking against a real X server and a real window manager: the order is read
// back from the server (XQueryTree of the root lists its children bottom to top).
#include <libutility/desktop/windowmanagement.h>

#include "support/printers.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTimerEvent>
#include <QUuid>
#include <QWidget>

#include <gtest/gtest.h>

// Xlib last: its macros (None, Bool, Status) clash with the headers above.
#include "desktop_test_support.h"

#include <algorithm>
#include <memory>

using namespace desktoptest;

namespace {

struct CountingCallback : CWMUpdateCallback
{
    void update_window() override { ++ticks; }
    int ticks = 0;
};

// A sleep whose command line is unique to this test process.
struct MarkedProcess : QProcess
{
    const QString marker = QStringLiteral("600.%1").arg(QCoreApplication::applicationPid());
    MarkedProcess()
    {
        start(QStringLiteral("sleep"), { marker });
        waitForStarted();
    }
    ~MarkedProcess() override { stop(); }
    void stop()
    {
        kill();
        waitForFinished();
    }
};

// A top-level window, shown and settled under the window manager.
std::unique_ptr<QWidget> shownWindow(QWidget *parent = nullptr)
{
    auto widget = std::make_unique<QWidget>(parent, Qt::Window);
    widget->resize(200, 150);
    EXPECT_TRUE(showManaged(widget.get()));
    return widget;
}

#define REQUIRE_X11()                                                                              \
    if (!haveX11())                                                                                \
    GTEST_SKIP() << "needs an X display (run under Xvfb with a window manager)"

} // namespace

TEST(WMUpdateTimer, TicksUntilStoppedAndOnlyTheCurrentTimerCounts)
{
    CountingCallback callback;
    CWMUpdateTimer timer(5, &callback);
    ASSERT_TRUE(waitFor([&] { return callback.ticks >= 3; }));
    timer.stop();
    timer.stop(); // harmless
    const int ticks = callback.ticks;
    spin(100);
    EXPECT_EQ(callback.ticks, ticks);
    timer.start(5);
    EXPECT_TRUE(waitFor([&] { return callback.ticks > ticks; }));

    timer.start(3600 * 1000); // replaces the 5 ms timer
    callback.ticks = 0;
    spin(100);
    QObject other;
    QTimerEvent foreign(other.startTimer(3600 * 1000));
    QCoreApplication::sendEvent(&timer, &foreign);
    EXPECT_EQ(callback.ticks, 0);
}

TEST(WindowManagement, WithoutAWidgetOrAfterItIsGoneNothingHappens)
{
    CWindowManagement none(nullptr, 1, true, QStringLiteral("x"));
    none.update_window();
    none.start_window(1);
    none.stop_window();

    auto widget = std::make_unique<QWidget>();
    widget->show();
    CWindowManagement keeper(widget.get(), 1, true, QString());
    spin(20);
    widget.reset();
    spin(50); // ticks after the widget died must not touch it
    keeper.update_window();
}

TEST(WindowManagement, IsRunningMatchesAnySubstringOfTheProcessList)
{
    MarkedProcess sleeper;
    const std::string marker = sleeper.marker.toStdString();
    const struct
    {
        std::string name;
        bool expected;
    } cases[] = {
        { marker, true },
        { marker.substr(0, marker.size() - 1), true }, // part of the argument
        { "600[.]" + marker.substr(4), true }, // a grep pattern, unquoted
        { QUuid::createUuid().toString(QUuid::Id128).toStdString(), false },
    };
    for (auto c : cases)
        EXPECT_EQ(CWindowManagement::isRunning(c.name), c.expected) << c.name;
    sleeper.stop();
    std::string name = marker;
    EXPECT_FALSE(CWindowManagement::isRunning(name)) << "after the process ended";
}

TEST(WindowManagement, TicksRaiseTheWindowUnlessActiveOrAProcessRuns)
{
    REQUIRE_X11();
    auto kept = shownWindow(), other = shownWindow();
    ASSERT_LT(stackIndex(kept.get()), stackIndex(other.get()));
    {
        MarkedProcess presenter;
        CWindowManagement keeper(kept.get(), 20, false, presenter.marker);
        spin(300);
        EXPECT_LT(stackIndex(kept.get()), stackIndex(other.get())) << "raised while it runs";
        presenter.stop();
        EXPECT_TRUE(waitFor([&] { return stackIndex(kept.get()) > stackIndex(other.get()); }));
    }
    EXPECT_TRUE(other->isActiveWindow()) << "raising must not move the focus";

    // The other window is active and below: a keeper of it leaves it there.
    CWindowManagement keeper(other.get(), 20, false, QString());
    spin(300);
    EXPECT_GT(stackIndex(kept.get()), stackIndex(other.get()));
}

TEST(WindowManagement, RaiseParentsRaisesAncestorsOutermostFirst)
{
    REQUIRE_X11();
    for (const bool raiseParents : { false, true }) {
        SCOPED_TRACE(raiseParents ? "raise parents" : "widget only");
        auto outer = shownWindow();
        auto middle = shownWindow(outer.get());
        auto inner = shownWindow(middle.get());
        auto other = shownWindow();
        for (const QWidget *w : { outer.get(), middle.get(), inner.get() })
            ASSERT_LT(stackIndex(w), stackIndex(other.get()));

        RestackRecorder recorder;
        CWindowManagement(inner.get(), 3600 * 1000, raiseParents, QString()).update_window();
        const std::vector<Window> restacked = recorder.collect();
        const auto firstRestack = [&](const QWidget *w) {
            const auto it = std::find(restacked.begin(), restacked.end(), topLevelOf(w->winId()));
            return it == restacked.end() ? -1 : int(it - restacked.begin());
        };

        // The window manager restacks frames on its own time: let the order settle first.
        waitFor([&] {
            return stackIndex(inner.get()) > stackIndex(other.get())
                && (!raiseParents
                    || (stackIndex(outer.get()) > stackIndex(other.get())
                        && stackIndex(middle.get()) > stackIndex(outer.get())
                        && stackIndex(inner.get()) > stackIndex(middle.get())));
        });
        EXPECT_GT(stackIndex(inner.get()), stackIndex(other.get()));
        if (raiseParents) {
            EXPECT_GT(stackIndex(outer.get()), stackIndex(other.get()));
            EXPECT_GT(stackIndex(middle.get()), stackIndex(outer.get()));
            EXPECT_GT(stackIndex(inner.get()), stackIndex(middle.get()));
            ASSERT_GE(firstRestack(outer.get()), 0);
            EXPECT_LT(firstRestack(outer.get()), firstRestack(middle.get()));
            EXPECT_LT(firstRestack(middle.get()), firstRestack(inner.get()));
        } else {
            EXPECT_LT(stackIndex(middle.get()), stackIndex(other.get()));
            EXPECT_EQ(firstRestack(outer.get()), -1);
        }
    }
}
