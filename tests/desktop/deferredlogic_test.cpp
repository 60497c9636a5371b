#include <libutility/desktop/deferredlogic.h>

#include "desktop_test_support.h"

#include <QPointer>
#include <QThread>

#include <gtest/gtest.h>

using namespace desktoptest;

namespace {

class CountingLogic : public CDeferredLogic
{
public:
    explicit CountingLogic(int *runs)
        : m_runs(runs)
    { }
    CountingLogic(int delayMs, int *runs)
        : CDeferredLogic(delayMs)
        , m_runs(runs)
    { }

protected:
    void execute() override { ++*m_runs; }

private:
    int *m_runs;
};

} // namespace

TEST(DeferredLogic, RunsOnceAfterTheEventLoopRegainsControlThenDeletesItself)
{
    int runs = 0;
    bool destroyed = false;
    auto *logic = new CountingLogic(&runs);
    QObject::connect(logic, &QObject::destroyed, [&] { destroyed = true; });
    QThread::msleep(50); // past the delay, but the event loop has not run
    EXPECT_EQ(runs, 0);

    ASSERT_TRUE(waitFor([&] { return destroyed; }));
    EXPECT_EQ(runs, 1);
    spin(50);
    EXPECT_EQ(runs, 1);
}

TEST(DeferredLogic, WaitsForItsDelay)
{
    const struct
    {
        const char *row;
        int delayMs;
        int quietMs; // the logic must not have run after this much event processing
    } cases[] = {
        { "explicit delay", 400, 150 },
        { "zero delay", 0, 0 },
        { "negative delay counts as zero", -5, 0 },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.row);
        int runs = 0;
        QPointer<CountingLogic> logic = new CountingLogic(c.delayMs, &runs);
        spin(c.quietMs);
        if (c.quietMs > 0) {
            EXPECT_EQ(runs, 0);
        }
        EXPECT_TRUE(waitFor([&] { return logic.isNull(); }));
        EXPECT_EQ(runs, 1);
    }
}
