// A progress line on standard error for long batches:
//   [##########..........]  50%  1234 scribbles  850/s
// shown only when standard error is a terminal and the run has lasted a second, so that
// short runs and redirected output never see it. Without a known total (standard input)
// the bar is left out.
#ifndef INKRECOG_PROGRESS_H
#define INKRECOG_PROGRESS_H

#include <QElapsedTimer>
#include <QtGlobal>

class Progress
{
public:
    // totalBytes < 0: unknown. enabled false: never draws.
    Progress(qint64 totalBytes, bool enabled);
    ~Progress();

    // Whether standard error is a terminal.
    static bool stderrIsTerminal();

    // Bytes of the finished inputs plus those consumed of the current one.
    void setBytes(qint64 bytes);
    void addScribble();
    // Removes the line (before other output); the next update draws it again.
    void clear();

private:
    void update();

    qint64 m_total;
    qint64 m_bytes = 0;
    qint64 m_scribbles = 0;
    bool m_enabled;
    bool m_shown = false;
    qint64 m_lastDraw = -1000;
    QElapsedTimer m_clock;
};

#endif
