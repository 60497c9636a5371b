#include "contactsheet.h"

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

void drawCell(QPainter &painter, const QRect &cell, const Sample &sample, const Outcome &outcome)
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
        painter.setPen(QPen(QColor(20, 60, 200), 1, Qt::DashLine));
        painter.drawRect(QRectF(map(outcome.rect.topLeft()), map(outcome.rect.bottomRight())));
    }

    const bool ok = matches(sample, expectationFor(sample.label), outcome);
    const bool scored = expectationFor(sample.label).kind != Expect::NotScored;
    painter.setPen(!scored ? Qt::black : ok ? QColor(0, 130, 0) : QColor(200, 0, 0));
    painter.drawText(QRect(cell.left(), cell.bottom() - kCaption, cell.width(), kCaption),
        Qt::AlignCenter, answerKey(outcome));
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
    QImage image(
        kLabelColumn + perLabel * kCell, std::max(1, labels.size()) * kCell, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int row = 0; row < labels.size(); ++row) {
        const QVector<int> &indexes = byLabel[labels[row]];
        painter.setPen(Qt::black);
        painter.drawText(QRect(4, row * kCell, kLabelColumn - 8, kCell),
            Qt::AlignVCenter | Qt::AlignLeft,
            labels[row] + "\nexpect " + describe(expectationFor(labels[row])));
        const int shown = std::min(perLabel, indexes.size());
        for (int k = 0; k < shown; ++k) {
            const int index = indexes[int(qint64(k) * indexes.size() / shown)];
            drawCell(painter, QRect(kLabelColumn + k * kCell, row * kCell, kCell, kCell),
                samples[index], outcomes[index]);
        }
    }
    return image;
}
