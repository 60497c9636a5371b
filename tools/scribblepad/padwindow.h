// The pad's main window: the canvas, a tool bar (open, save, undo, redo, classify now,
// normalisation, corner limit, pause) and the status bar that names what was recognised.
#ifndef SCRIBBLEPAD_PADWINDOW_H
#define SCRIBBLEPAD_PADWINDOW_H

#include "inkcanvas.h"

#include <QFile>
#include <QMainWindow>

class QDoubleSpinBox;
class QLabel;
class QSpinBox;

struct PadOptions
{
    int pauseMs = 600;
    int cornerLimit = 6;
    bool normalize = true;
    QString reportFile; // test hook, see PadWindow
    QString openFile;
};

// With a report file, the window appends one JSON object a line: {"event": "ready",
// "canvas": [x, y, width, height]} (screen coordinates) once it is shown and placed, and
// after each classification, undo and redo the state a test can check instead of pixels:
// the status bar text, the last category and corner count, and every scribble of the
// drawing with its state and corner count.
class PadWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit PadWindow(const PadOptions &options);

    InkCanvas *canvas() { return m_canvas; }
    bool openFile(const QString &path);
    bool saveFile(const QString &path);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void onClassified(const Recognition &recognition);
    void open();
    void save();
    void report(const QString &event);
    void setFileName(const QString &path);

    InkCanvas *m_canvas;
    QLabel *m_status;
    QSpinBox *m_cornerLimit;
    QDoubleSpinBox *m_pause;
    QString m_fileName;
    QFile m_report;
    Recognition m_last;
    bool m_readySent = false;
};

#endif
