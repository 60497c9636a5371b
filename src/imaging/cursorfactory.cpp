#include <libutility/imaging/cursorfactory.h>

#include <QPainter>

namespace {

QImage transparentImage(int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

QPixmap CCursorFactory::penPixmap(int width, const QColor &colour)
{
    const int diameter = qBound(1, width, cMaxCursorSize);
    const int side = qMax(9, diameter + 4) | 1; // odd, so the centre is a pixel
    QImage image = transparentImage(side);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF centre(side / 2.0, side / 2.0);
    const qreal radius = qMax(2.0, diameter / 2.0);
    QColor fill = colour.isValid() ? colour : QColor(Qt::black);
    fill.setAlpha(fill.alpha() / 2);
    painter.setBrush(fill);
    painter.setPen(QPen(Qt::white, 3.0));
    painter.drawEllipse(centre, radius, radius);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, 1.0));
    painter.drawEllipse(centre, radius, radius);
    painter.end();
    image.setPixel(side / 2, side / 2, qRgba(0, 0, 0, 255));
    return QPixmap::fromImage(image);
}

QCursor CCursorFactory::penCursor(int width, const QColor &colour)
{
    const QPixmap pixmap = penPixmap(width, colour);
    return QCursor(pixmap, pixmap.width() / 2, pixmap.height() / 2);
}

QPixmap CCursorFactory::eraserPixmap(int size)
{
    const int side = qBound(4, size, cMaxCursorSize);
    QImage image = transparentImage(side + 2);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::white, 1.0));
    painter.setBrush(QColor(255, 255, 255, 96));
    painter.drawRect(QRectF(0.5, 0.5, side + 0.0, side + 0.0));
    painter.setPen(QPen(Qt::black, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(1.5, 1.5, side - 2.0, side - 2.0));
    painter.end();
    return QPixmap::fromImage(image);
}

QCursor CCursorFactory::eraserCursor(int size)
{
    const QPixmap pixmap = eraserPixmap(size);
    return QCursor(pixmap, pixmap.width() / 2, pixmap.height() / 2);
}

QCursor CCursorFactory::fromPixmap(const QPixmap &pixmap, const QPoint &hotspot)
{
    if (pixmap.isNull())
        return QCursor(Qt::ArrowCursor);
    return QCursor(pixmap, qBound(0, hotspot.x(), pixmap.width() - 1),
                   qBound(0, hotspot.y(), pixmap.height() - 1));
}
