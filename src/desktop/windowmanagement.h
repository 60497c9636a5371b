/**
 * \file
 * Keeping one top-level window above all others on an X11 desktop.
 *
 *   CWindowManagement keeper(&palette, 500, false, QStringLiteral("presenter"));
 *
 * raises the palette's X window (and the window manager's frame around it) to the top
 * of the stacking order every 500 ms, except while the palette is the active window or
 * while a process whose command line contains "presenter" runs. The stacking calls go
 * through Xlib on the display Qt itself uses; without an X display (the offscreen
 * platform, for instance) every operation here does nothing.
 *
 * Everything runs on the GUI thread, driven by the event loop's timer events.
 */
#ifndef LIBUTILITY_DESKTOP_WINDOWMANAGEMENT_H
#define LIBUTILITY_DESKTOP_WINDOWMANAGEMENT_H

#include <libutility/utility_export.h>

#include <QObject>
#include <QString>

#include <string>

class QTimerEvent;
class QWidget;

/** Receives the ticks of a CWMUpdateTimer. */
class UTILITY_EXPORT CWMUpdateCallback
{
public:
    /** Called on every tick of the timer the callback is attached to. */
    virtual void update_window() = 0;
    virtual ~CWMUpdateCallback();
};

/**
 * A periodic timer that calls back into a CWMUpdateCallback. Only the ticks of its
 * own timer reach the callback; any other timer event delivered to the object is
 * ignored. The callback is not owned and must outlive the running timer.
 */
class UTILITY_EXPORT CWMUpdateTimer : public QObject
{
    Q_OBJECT
public:
    /**
     * Creates a parentless timer and starts it with intervalMs milliseconds.
     * \param intervalMs the tick interval in milliseconds
     * \param callback receives the ticks; not owned
     */
    CWMUpdateTimer(int intervalMs, CWMUpdateCallback *callback);
    /** Stops the timer. */
    ~CWMUpdateTimer() override;

    /**
     * (Re)starts the timer: a running timer is stopped first, so the new interval
     * replaces the old one. A negative interval is refused by Qt with a warning and
     * leaves the timer stopped.
     * \param intervalMs the tick interval in milliseconds
     */
    void start(int intervalMs);
    /** Stops the timer; does nothing when it is not running. */
    void stop();

protected:
    /// Runs the update on each tick of the timer started by start().
    /// \param e the timer event; events of other timers are ignored
    void timerEvent(QTimerEvent *e) override;

private:
    int m_timerId; ///< id from QObject::startTimer, 0 while stopped
    CWMUpdateCallback *m_callback; ///< not owned
};

/**
 * Keeps a widget's window on top (see the file comment).
 *
 * The widget is not owned. Should it be destroyed while this object lives, the object
 * notices, stops its timer and from then on does nothing. With a null widget no timer
 * is created and every operation does nothing.
 */
class UTILITY_EXPORT CWindowManagement : public CWMUpdateCallback
{
public:
    /**
     * widget: the window to keep on top; intervalMs: the tick interval in
     * milliseconds; raiseParents: raise the widget's ancestors too (outermost first);
     * processName: while a process whose "ps -ef" line contains this text runs,
     * nothing is raised (empty: no such check). The timer starts at once.
     * \param widget the widget whose window is kept on top; may be null
     * \param intervalMs the tick interval in milliseconds
     * \param raiseParents also raise the widget's ancestors
     * \param processName text to look for in the process list; empty for no check
     */
    CWindowManagement(QWidget *widget, int intervalMs, bool raiseParents, QString processName);
    /** Stops and deletes the timer. The widget is left as it is. */
    ~CWindowManagement() override;

    CWindowManagement(const CWindowManagement &) = delete;
    CWindowManagement &operator=(const CWindowManagement &) = delete;

    /**
     * One tick: unless the watched process runs or the widget is the active window,
     * raises the widget's ancestors (when asked to) and then the widget itself.
     */
    void update_window() override;

    /**
     * Restarts the timer with a new interval in milliseconds.
     * \param intervalMs the tick interval in milliseconds
     */
    void start_window(int intervalMs);
    /** Stops the timer; the object stays usable and start_window resumes it. */
    void stop_window();

    /**
     * Raises one X window (an X11 window id) to the top, bypassing the window manager:
     * override-redirect is switched on around XMapRaised, XRaiseWindow, XMapRaised and
     * switched off again, then the request queue is flushed. Note that XMapRaised maps
     * the window if it was unmapped.
     * \param window the X window id; 0 does nothing
     */
    void raiseWindowTop(unsigned long window);
    /**
     * Raises a top-level window together with the window manager's frame around it:
     * the frame first, then the window. A window whose parent is the root window (no
     * reparenting window manager, or an override-redirect window) raises only itself.
     * Nothing happens when the X server cannot answer for the window.
     * \param window the X window id of the top-level window (QWidget::winId()); 0 does
     *     nothing
     */
    void raiseQtWindowTop(unsigned long window);
    /**
     * Raises widget's ancestors outermost first, then widget itself; null: nothing.
     * \param widget the innermost widget to raise; may be null
     */
    void raiseParentWidgetTop(QWidget *widget);

    /**
     * Whether a process whose "ps -ef" line contains processName runs, found by the
     * shell pipeline "ps -ef | grep NAME | grep -v grep | wc -l". The name goes to the
     * shell unquoted and is matched as a grep pattern anywhere in the line, so a name
     * that occurs in an unrelated command line counts too. False when the pipeline
     * cannot be started. It blocks the calling thread while the pipeline runs (some 20
     * times as long as starting a bare shell), so keep tick intervals with a process
     * name generous.
     * \param processName the text to look for, passed to grep as a pattern; not changed
     * \return true when at least one line matched
     */
    static bool isRunning(std::string &processName);

private:
    QWidget *m_widget; ///< not owned
    CWMUpdateTimer *m_timer; ///< owned; null with a null widget
    QString m_processName;
    bool m_raiseParents;
};

#endif
