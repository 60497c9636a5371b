#include <libutility/desktop/deferredlogic.h>

#include <QPointer>
#include <QThread>

#include <gtest/gtest.h>

// Xlib last: its macros (None, Bool, Status) clash with the headers above.
#include "desktop_test_support.h"

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

TEST(DeferredLogic, RunsOnceWhenTheEventLoopRegainsControlAfterItsDelayThenDeletesItself)
{
    const struct
    {
        int delayMs; // -1: the default constructor
        int quietMs; // the logic must not have run after this much event processing
    } cases[] = { { -1, 0 }, { 400, 150 }, { 0, 0 }, { -5, 0 } };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.delayMs);
        int runs = 0;
        QPointer<CountingLogic> logic
            = c.delayMs == -1 ? new CountingLogic(&runs) : new CountingLogic(c.delayMs, &runs);
        QThread::msleep(50); // past a short delay, but the event loop has not run
        EXPECT_EQ(runs, 0);
        if (c.quietMs > 0) {
            spin(c.quietMs);
            EXPECT_EQ(runs, 0);
        }
        EXPECT_TRUE(waitFor([&] { return logic.isNull(); }));
        EXPECT_EQ(runs, 1);
    }
}
