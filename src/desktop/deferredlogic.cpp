#include <libutility/desktop/deferredlogic.h>

#include <QTimer>

#include <algorithm>

CDeferredLogic::CDeferredLogic()
    : CDeferredLogic(10)
{ }

CDeferredLogic::CDeferredLogic(int delayMs)
    : QObject(nullptr)
{
    // Qt refuses a negative single-shot with a warning and never fires it, which would
    // leave the object alive for ever.
    QTimer::singleShot(std::max(delayMs, 0), this, SLOT(slotTimerExpired()));
}

void CDeferredLogic::slotTimerExpired()
{
    execute();
    deleteLater();
}
