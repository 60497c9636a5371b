// The drawing canvas of the pad.
//
// The drawing is a list of scribbles. Finished strokes collect into the open (pending)
// scribble; after a pause without drawing, or on classifyNow(), the pending scribble is
// classified as a whole. A figure's ink is then replaced by the clean figure; handwriting
// stays as it was drawn. Every stroke and every replacement is one step on the undo
// stack, so undo first brings back the original ink of a figure (which then stays ink),
// then takes strokes away one by one.
//
// Mouse and tablet pen both draw; a tablet event is accepted so that it does not come a
// second time as a mouse event.
#ifndef SCRIBBLEPAD_INKCANVAS_H
#define SCRIBBLEPAD_INKCANVAS_H

#include "figureshape.h"

#include <QTimer>
#include <QUndoStack>
#include <QWidget>

class InkCanvas : public QWidget
{
    Q_OBJECT
public:
    enum class State { Pending, Ink, Figure };
    struct Scribble
    {
        Strokes ink; // as drawn
        State state = State::Pending;
        Recognition recognition; // valid unless Pending
        QVector<QPolygonF> figure; // shown instead of the ink while State::Figure
    };

    explicit InkCanvas(QWidget *parent = nullptr);

    QUndoStack *undoStack() { return &m_undo; }
    const QVector<Scribble> &scribbles() const { return m_scribbles; }

    int pauseMs() const { return m_pause.interval(); }
    void setPauseMs(int ms) { m_pause.setInterval(ms); }
    int cornerLimit() const { return m_cornerLimit; }
    void setCornerLimit(int limit) { m_cornerLimit = limit; }
    bool normalize() const { return m_normalize; }
    void setNormalize(bool on) { m_normalize = on; }

    // Replaces the drawing with the strokes as one pending scribble (undo history
    // cleared) and classifies it at once.
    void load(const Strokes &strokes);
    // What is on the canvas, as strokes: figures as their clean lines, the rest as ink.
    Strokes visibleStrokes() const;
    void clear();

    QSize sizeHint() const override { return QSize(800, 600); }

public slots:
    // Classifies the pending scribble now (nothing happens when there is none).
    void classifyNow();

signals:
    void classified(const Recognition &recognition);
    void changed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void tabletEvent(QTabletEvent *event) override;

private:
    friend class AddStrokeCommand;
    friend class ReplaceCommand;

    void penDown(const QPointF &p);
    void penMove(const QPointF &p);
    void penUp(const QPointF &p);

    QVector<Scribble> m_scribbles;
    QVector<QPointF> m_current; // the stroke under the pen
    bool m_drawing = false;
    QTimer m_pause;
    QUndoStack m_undo;
    int m_cornerLimit = 6;
    bool m_normalize = true;
};

#endif
