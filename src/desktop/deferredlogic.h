/**
 * \file
 * Running a piece of logic once, shortly after the event loop regains control.
 *
 *   class CSaveLater : public CDeferredLogic
 *   {
 *       void execute() override { document->save(); }
 *   };
 *   new CSaveLater; // runs about 10 ms later, then deletes itself
 */
#ifndef LIBUTILITY_DESKTOP_DEFERREDLOGIC_H
#define LIBUTILITY_DESKTOP_DEFERREDLOGIC_H

#include <libutility/utility_export.h>

#include <QObject>

/**
 * A self-deleting QObject: a single-shot timer armed at construction calls execute()
 * once and then deleteLater() on the object. Create it with new and let it go: the
 * creator must neither delete it nor use it after the logic has run. Deleting it
 * before the timer fired cancels the logic. It needs a running Qt event loop (the
 * GUI thread's) both to run and to be deleted.
 */
class UTILITY_EXPORT CDeferredLogic : public QObject
{
    Q_OBJECT
public:
    /** Arms the timer for 10 ms. */
    CDeferredLogic();
    /**
     * Arms the timer for delayMs milliseconds; a negative delay counts as 0.
     * \param delayMs the delay in milliseconds
     */
    explicit CDeferredLogic(int delayMs);

protected:
    /** The deferred logic, supplied by each subclass; called once. */
    virtual void execute() = 0;

private Q_SLOTS:
    void slotTimerExpired();
};

#endif
