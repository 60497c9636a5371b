#include "inkcanvas.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTabletEvent>
#include <QUndoCommand>

// One finished stroke joins the pending scribble (or opens a new one).
class AddStrokeCommand : public QUndoCommand
{
public:
    AddStrokeCommand(InkCanvas *canvas, const QVector<QPointF> &stroke)
        : QUndoCommand(QStringLiteral("Stroke"))
        , m_canvas(canvas)
        , m_stroke(stroke)
    {
        const auto &list = canvas->m_scribbles;
        m_creates = list.isEmpty() || list.last().state != InkCanvas::State::Pending;
        m_index = m_creates ? list.size() : list.size() - 1;
    }
    void redo() override
    {
        if (m_creates)
            m_canvas->m_scribbles.insert(m_index, InkCanvas::Scribble());
        m_canvas->m_scribbles[m_index].ink << m_stroke;
        m_canvas->update();
    }
    void undo() override
    {
        if (m_creates)
            m_canvas->m_scribbles.remove(m_index);
        else
            m_canvas->m_scribbles[m_index].ink.removeLast();
        m_canvas->update();
    }

private:
    InkCanvas *m_canvas;
    QVector<QPointF> m_stroke;
    bool m_creates;
    int m_index;
};

// A recognised scribble's ink gives way to the clean figure; undone, the ink comes back
// and stays ink.
class ReplaceCommand : public QUndoCommand
{
public:
    ReplaceCommand(InkCanvas *canvas, int index, const Recognition &recognition,
        const QVector<QPolygonF> &figure)
        : QUndoCommand(categoryName(recognition.category))
        , m_canvas(canvas)
        , m_index(index)
        , m_recognition(recognition)
        , m_figure(figure)
    { }
    void redo() override
    {
        InkCanvas::Scribble &s = m_canvas->m_scribbles[m_index];
        s.state = InkCanvas::State::Figure;
        s.recognition = m_recognition;
        s.figure = m_figure;
        m_canvas->update();
    }
    void undo() override
    {
        InkCanvas::Scribble &s = m_canvas->m_scribbles[m_index];
        s.state = InkCanvas::State::Ink;
        s.figure.clear();
        m_canvas->update();
    }

private:
    InkCanvas *m_canvas;
    int m_index;
    Recognition m_recognition;
    QVector<QPolygonF> m_figure;
};

InkCanvas::InkCanvas(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StaticContents);
    setAutoFillBackground(true);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::white);
    setPalette(p);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);

    m_pause.setSingleShot(true);
    m_pause.setInterval(600);
    connect(&m_pause, &QTimer::timeout, this, &InkCanvas::classifyNow);
    // Undo and redo settle the drawing as it was; the pause starts again with the next
    // stroke (penUp pushes first, then starts the timer).
    connect(&m_undo, &QUndoStack::indexChanged, &m_pause, &QTimer::stop);
    connect(&m_undo, &QUndoStack::indexChanged, this, &InkCanvas::changed);
}

void InkCanvas::load(const Strokes &strokes)
{
    clear();
    Scribble s;
    s.ink = strokes;
    m_scribbles << s;
    classifyNow();
}

void InkCanvas::clear()
{
    m_pause.stop();
    m_undo.clear();
    m_scribbles.clear();
    m_current.clear();
    m_drawing = false;
    update();
    emit changed();
}

Strokes InkCanvas::visibleStrokes() const
{
    Strokes out;
    for (const Scribble &s : m_scribbles) {
        if (s.state == State::Figure) {
            for (const QPolygonF &line : s.figure)
                out << QVector<QPointF>(line);
        } else {
            out << s.ink;
        }
    }
    return out;
}

void InkCanvas::classifyNow()
{
    m_pause.stop();
    for (int i = 0; i < m_scribbles.size(); ++i) {
        if (m_scribbles[i].state != State::Pending)
            continue;
        const Recognition r = recognise(m_scribbles[i].ink, m_cornerLimit, m_normalize);
        const QVector<QPolygonF> figure = cleanFigure(r);
        if (figure.isEmpty()) {
            m_scribbles[i].state = State::Ink;
            m_scribbles[i].recognition = r;
        } else {
            m_undo.push(new ReplaceCommand(this, i, r, figure));
        }
        update();
        emit classified(r);
    }
}

void InkCanvas::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPen ink(QColor(20, 40, 140), 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    const QPen shape(Qt::black, 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    for (const Scribble &s : m_scribbles) {
        if (s.state == State::Figure) {
            painter.setPen(shape);
            for (const QPolygonF &line : s.figure)
                painter.drawPolyline(line);
        } else {
            painter.setPen(ink);
            for (const QVector<QPointF> &stroke : s.ink) {
                if (stroke.size() == 1)
                    painter.drawPoint(stroke.first());
                else
                    painter.drawPolyline(stroke.constData(), stroke.size());
            }
        }
    }
    painter.setPen(ink);
    if (m_current.size() > 1)
        painter.drawPolyline(m_current.constData(), m_current.size());
}

void InkCanvas::penDown(const QPointF &p)
{
    m_pause.stop();
    m_drawing = true;
    m_current = { p };
    update();
}

void InkCanvas::penMove(const QPointF &p)
{
    if (!m_drawing || (!m_current.isEmpty() && m_current.last() == p))
        return;
    m_current << p;
    update();
}

void InkCanvas::penUp(const QPointF &p)
{
    if (!m_drawing)
        return;
    penMove(p);
    m_drawing = false;
    m_undo.push(new AddStrokeCommand(this, m_current));
    m_current.clear();
    m_pause.start();
}

void InkCanvas::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        penDown(event->localPos());
}

void InkCanvas::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() & Qt::LeftButton)
        penMove(event->localPos());
}

void InkCanvas::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        penUp(event->localPos());
}

void InkCanvas::tabletEvent(QTabletEvent *event)
{
    switch (event->type()) {
    case QEvent::TabletPress:
        penDown(event->posF());
        break;
    case QEvent::TabletMove:
        penMove(event->posF());
        break;
    case QEvent::TabletRelease:
        penUp(event->posF());
        break;
    default:
        break;
    }
    event->accept();
}
