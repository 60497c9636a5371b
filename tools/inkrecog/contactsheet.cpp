#include "contactsheet.h"

#include <libutility/geometry/strokeutil.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QMap>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kCell = 120;
constexpr int kCaption = 16;
constexpr int kLabelColumn = 130;

QRectF boundsOf(const Sample &sample)
{
    QRectF bounds;
    for (const QVector<QPointF> &stroke : sample.strokes)
        for (const QPointF &p : stroke)
            bounds = bounds.isNull() ? QRectF(p, QSizeF(0.001, 0.001))
                                     : bounds.united(QRectF(p, QSizeF(0.001, 0.001)));
    return bounds;
}

// What the recogniser saw of a figure other than a polygon or a straight line: the
// ellipse fitted to a closed curve (or, when none fits, its prepared outline); drawn
// from the prepared strokes, the chord of each stroke of a
// two-stroke figure, and for a one-stroke bend or bracket the points the open-line test
// judges (the prepared stroke smoothed once more, factor 0.1). Empty when the prepared
// strokes were not kept; the cell then shows the rectangle.
QVector<QPolygonF> openFigure(const Outcome &outcome)
{
    using namespace CFigureRecogniser;
    const QVector<QVector<QPointF>> &prepared = outcome.prepared;
    if (outcome.category == cCLOSED_CURVE && outcome.ellipse.ok)
        return { QPolygonF(ellipseOutline(outcome.ellipse, 96)) };
    if (outcome.category == cCLOSED_CURVE && prepared.size() == 1) {
        QPolygonF outline(prepared[0]);
        if (!outline.isEmpty())
            outline << outline.first();
        return { outline };
    }
    if (prepared.size() == 2 && !prepared[0].isEmpty() && !prepared[1].isEmpty()) {
        return { QPolygonF(QVector<QPointF> { prepared[0].first(), prepared[0].last() }),
            QPolygonF(QVector<QPointF> { prepared[1].first(), prepared[1].last() }) };
    }
    if (prepared.size() == 1) {
        QVector<QPointF> points;
        Util::getSmoothPoints(prepared[0], points, 0.1);
        return { QPolygonF(points) };
    }
    return {};
}

// The caption colour: green for an expected answer, red for another, black for a
// sample whose label is not scored.
QColor captionColour(const Sample &sample, const Outcome &outcome)
{
    const Expectation expectation = expectationFor(sample.label);
    if (expectation.kind == Expect::NotScored)
        return Qt::black;
    return matches(sample, expectation, outcome) ? QColor(0, 130, 0) : QColor(200, 0, 0);
}

void drawCell(QPainter &painter, const QRect &cell, const Sample &sample, const Outcome &outcome,
    const QString &caption)
{
    const QRectF bounds = boundsOf(sample);
    const QRectF area = QRectF(cell).adjusted(8, 8, -8, -8 - kCaption);
    const double scale = std::min(area.width() / std::max(bounds.width(), 1.0),
        area.height() / std::max(bounds.height(), 1.0));
    const QPointF offset = area.center() - bounds.center() * scale;
    auto map = [&](const QPointF &p) { return p * scale + offset; };

    painter.setPen(QPen(QColor(170, 170, 170), 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const QVector<QPointF> &stroke : sample.strokes) {
        QPolygonF line;
        for (const QPointF &p : stroke)
            line << map(p);
        painter.drawPolyline(line);
    }

    painter.setPen(QPen(QColor(20, 60, 200), 2));
    painter.setBrush(Qt::NoBrush);
    using namespace CFigureRecogniser;
    if (outcome.category == cPOLYGON) {
        QPolygonF polygon;
        for (const QPointF &p : outcome.result)
            polygon << map(p);
        painter.drawPolygon(polygon);
        painter.setBrush(QColor(20, 60, 200));
        for (const QPointF &p : polygon)
            painter.drawEllipse(p, 2.5, 2.5);
    } else if (outcome.category == cLINE || outcome.category == cHORIZONTAL_LINE) {
        painter.drawLine(map(outcome.rect.topLeft()), map(outcome.rect.bottomRight()));
    } else if (outcome.category != cHANDWRITE_DATA) {
        const QVector<QPolygonF> figure = openFigure(outcome);
        if (figure.isEmpty()) {
            painter.setPen(QPen(QColor(20, 60, 200), 1, Qt::DashLine));
            painter.drawRect(QRectF(map(outcome.rect.topLeft()), map(outcome.rect.bottomRight())));
        }
        for (const QPolygonF &line : figure) {
            QPolygonF mapped;
            for (const QPointF &p : line)
                mapped << map(p);
            painter.drawPolyline(mapped);
        }
    }

    painter.setPen(captionColour(sample, outcome));
    const QRect captionRect(cell.left() + 2, cell.bottom() - kCaption, cell.width() - 4, kCaption);
    painter.drawText(captionRect, Qt::AlignCenter,
        painter.fontMetrics().elidedText(caption, Qt::ElideMiddle, captionRect.width()));
    painter.setPen(QColor(225, 225, 225));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(cell.adjusted(0, 0, -1, -1));
}

} // namespace

QImage drawContactSheet(
    const QVector<Sample> &samples, const QVector<Outcome> &outcomes, int perLabel)
{
    QStringList labels;
    QMap<QString, QVector<int>> byLabel;
    for (int i = 0; i < samples.size(); ++i) {
        if (!byLabel.contains(samples[i].label))
            labels << samples[i].label;
        byLabel[samples[i].label].append(i);
    }
    perLabel = std::max(1, perLabel);
    QImage image(kLabelColumn + perLabel * kCell, std::max<int>(1, labels.size()) * kCell,
        QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int row = 0; row < labels.size(); ++row) {
        const QVector<int> &indexes = byLabel[labels[row]];
        painter.setPen(Qt::black);
        painter.drawText(QRect(4, row * kCell, kLabelColumn - 8, kCell),
            Qt::AlignVCenter | Qt::AlignLeft,
            labels[row] + "\nexpect " + describe(expectationFor(labels[row])));
        const int shown = std::min<int>(perLabel, indexes.size());
        for (int k = 0; k < shown; ++k) {
            const int index = indexes[int(qint64(k) * indexes.size() / shown)];
            drawCell(painter, QRect(kLabelColumn + k * kCell, row * kCell, kCell, kCell),
                samples[index], outcomes[index], answerKey(outcomes[index]));
        }
    }
    return image;
}

QImage drawGridSheet(const QVector<Sample> &samples, const QVector<Outcome> &outcomes, int columns)
{
    columns = std::max(1, std::min(columns, int(samples.size())));
    const int rows = std::max(1, int((samples.size() + columns - 1) / columns));
    const int cell = kCell + 40;
    QImage image(columns * cell, rows * cell, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < samples.size(); ++i)
        drawCell(painter, QRect((i % columns) * cell, (i / columns) * cell, cell, cell), samples[i],
            outcomes[i], samples[i].name + ": " + answerKey(outcomes[i]));
    return image;
}

QImage drawScribblePicture(const Sample &sample, const Outcome &outcome, int size)
{
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawCell(painter, QRect(0, 0, size, size), sample, outcome,
        QStringLiteral("%1: %2 %3")
            .arg(sample.name, answerKey(outcome), categoryName(outcome.category)));
    return image;
}
