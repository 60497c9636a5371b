// Window stacking against a real X server and a real window manager: the order is read
// back from the server (XQueryTree of the root lists its children bottom to top).
#include <libutility/desktop/windowmanagement.h>

#include "desktop_test_support.h"
#include "support/printers.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTimerEvent>
#include <QUuid>
#include <QWidget>
#include <QX11Info>

#include <gtest/gtest.h>

#include <memory>

using namespace desktoptest;

namespace {

struct CountingCallback : CWMUpdateCallback
{
    void update_window() override { ++ticks; }
    int ticks = 0;
};

// A sleep whose command line is unique to this test process.
class MarkedProcess
{
public:
    MarkedProcess()
        : m_marker(QStringLiteral("600.%1").arg(QCoreApplication::applicationPid()))
    {
        m_process.start(QStringLiteral("sleep"), { m_marker });
        m_process.waitForStarted();
    }
    ~MarkedProcess() { stop(); }
    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }
    const QString &marker() const { return m_marker; }

private:
    QString m_marker;
    QProcess m_process;
};

std::unique_ptr<QWidget> makeWindow(
    const char *title, QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::Window)
{
    auto widget = std::make_unique<QWidget>(parent, flags);
    widget->setWindowTitle(QString::fromLatin1(title));
    widget->resize(200, 150);
    return widget;
}

#define REQUIRE_X11()                                                                              \
    do {                                                                                           \
        if (!haveX11())                                                                            \
            GTEST_SKIP() << "needs an X display (run under Xvfb with a window manager)";           \
    } while (0)

} // namespace

TEST(WMUpdateTimer, TicksUntilStoppedAndStopTwiceIsHarmless)
{
    CountingCallback callback;
    CWMUpdateTimer timer(5, &callback);
    ASSERT_TRUE(waitFor([&] { return callback.ticks >= 3; }));
    timer.stop();
    timer.stop();
    const int ticks = callback.ticks;
    spin(100);
    EXPECT_EQ(callback.ticks, ticks);
    timer.start(5);
    EXPECT_TRUE(waitFor([&] { return callback.ticks > ticks; }));
}

TEST(WMUpdateTimer, OnlyTheCurrentTimerReachesTheCallback)
{
    CountingCallback callback;
    CWMUpdateTimer timer(5, &callback);
    ASSERT_TRUE(waitFor([&] { return callback.ticks >= 1; }));
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

    auto widget = makeWindow("gone");
    widget->show();
    CWindowManagement keeper(widget.get(), 1, true, QString());
    spin(20);
    widget.reset();
    spin(50); // ticks after the widget died must not touch it
    keeper.update_window();
    keeper.start_window(1);
    spin(20);
    SUCCEED();
}

TEST(WindowManagement, IsRunningMatchesAnySubstringOfTheProcessList)
{
    MarkedProcess sleeper;
    const std::string marker = sleeper.marker().toStdString();
    const struct
    {
        const char *row;
        std::string name;
        bool expected;
    } cases[] = {
        { "whole argument", marker, true },
        { "part of the argument", marker.substr(0, marker.size() - 1), true },
        { "grep pattern", std::string("600[.]") + marker.substr(4), true },
        { "unknown name", QUuid::createUuid().toString(QUuid::Id128).toStdString(), false },
    };
    for (const auto &c : cases) {
        std::string name = c.name;
        EXPECT_EQ(CWindowManagement::isRunning(name), c.expected) << c.row << ": " << c.name;
    }
    sleeper.stop();
    std::string name = marker;
    EXPECT_FALSE(CWindowManagement::isRunning(name)) << "after the process ended";
}

TEST(WindowManagement, TimerTickPutsTheWindowAboveTheOthers)
{
    REQUIRE_X11();
    auto kept = makeWindow("kept");
    ASSERT_TRUE(showManaged(kept.get()));
    auto other = makeWindow("other");
    ASSERT_TRUE(showManaged(other.get()));
    ASSERT_LT(stackIndex(kept.get()), stackIndex(other.get()));

    CWindowManagement keeper(kept.get(), 20, false, QString());
    EXPECT_TRUE(waitFor([&] { return stackIndex(kept.get()) > stackIndex(other.get()); }));
    EXPECT_TRUE(other->isActiveWindow()) << "raising must not move the focus";
}

TEST(WindowManagement, ActiveWindowIsLeftWhereItIs)
{
    REQUIRE_X11();
    auto other = makeWindow("other");
    ASSERT_TRUE(showManaged(other.get()));
    auto kept = makeWindow("kept");
    ASSERT_TRUE(showManaged(kept.get()));
    ASSERT_TRUE(waitFor([&] { return kept->isActiveWindow(); }));
    // Put the other window on top without taking the focus from the kept one.
    CWindowManagement(nullptr, 0, false, QString()).raiseQtWindowTop(other->winId());
    ASSERT_TRUE(waitFor([&] { return stackIndex(other.get()) > stackIndex(kept.get()); }));
    ASSERT_TRUE(kept->isActiveWindow());

    CWindowManagement keeper(kept.get(), 20, false, QString());
    spin(300);
    EXPECT_LT(stackIndex(kept.get()), stackIndex(other.get()));
}

TEST(WindowManagement, RunningProcessSuppressesRaisingUntilItEnds)
{
    REQUIRE_X11();
    auto kept = makeWindow("kept");
    ASSERT_TRUE(showManaged(kept.get()));
    auto other = makeWindow("other");
    ASSERT_TRUE(showManaged(other.get()));
    MarkedProcess presenter;

    CWindowManagement keeper(kept.get(), 20, false, presenter.marker());
    spin(300);
    EXPECT_LT(stackIndex(kept.get()), stackIndex(other.get())) << "raised while it runs";
    presenter.stop();
    EXPECT_TRUE(waitFor([&] { return stackIndex(kept.get()) > stackIndex(other.get()); }));
}

TEST(WindowManagement, RaiseParentsRaisesAncestorsOutermostFirst)
{
    REQUIRE_X11();
    for (const bool raiseParents : { false, true }) {
        SCOPED_TRACE(raiseParents ? "raise parents" : "widget only");
        auto outer = makeWindow("outer");
        ASSERT_TRUE(showManaged(outer.get()));
        auto middle = makeWindow("middle", outer.get());
        ASSERT_TRUE(showManaged(middle.get()));
        auto inner = makeWindow("inner", middle.get());
        ASSERT_TRUE(showManaged(inner.get()));
        auto other = makeWindow("other");
        ASSERT_TRUE(showManaged(other.get()));
        const QWidget *chain[] = { outer.get(), middle.get(), inner.get() };
        for (const QWidget *w : chain)
            ASSERT_LT(stackIndex(w), stackIndex(other.get()));

        RestackRecorder recorder;
        ASSERT_TRUE(recorder.isValid());

        CWindowManagement keeper(inner.get(), 3600 * 1000, raiseParents, QString());
        keeper.update_window();
        const std::vector<unsigned long> restacked = recorder.collect();
        auto firstRestack = [&](const QWidget *w) {
            const unsigned long frame = topLevelOf(w->winId());
            for (size_t i = 0; i < restacked.size(); ++i) {
                if (restacked[i] == frame)
                    return int(i);
            }
            return -1;
        };

        EXPECT_GT(stackIndex(inner.get()), stackIndex(other.get()));
        if (raiseParents) {
            EXPECT_GT(stackIndex(outer.get()), stackIndex(other.get()));
            EXPECT_GT(stackIndex(middle.get()), stackIndex(outer.get()));
            EXPECT_GT(stackIndex(inner.get()), stackIndex(middle.get()));
            ASSERT_GE(firstRestack(outer.get()), 0);
            EXPECT_LT(firstRestack(outer.get()), firstRestack(middle.get()));
            EXPECT_LT(firstRestack(middle.get()), firstRestack(inner.get()));
        } else {
            EXPECT_LT(stackIndex(outer.get()), stackIndex(other.get()));
            EXPECT_LT(stackIndex(middle.get()), stackIndex(other.get()));
            EXPECT_EQ(firstRestack(outer.get()), -1);
        }
    }
}
