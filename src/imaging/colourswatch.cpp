#include <libutility/imaging/colourswatch.h>

#include <QPainter>
#include <QPainterPath>

#include <cmath>

QColor CColourSwatch::checkerLight()
{
    return QColor(255, 255, 255);
}

QColor CColourSwatch::checkerDark()
{
    return QColor(204, 204, 204);
}

QImage CColourSwatch::image(const QColor &colour, const QSize &size, const CSwatchStyle &style,
                            qreal devicePixelRatio)
{
    if (size.isEmpty() || !(devicePixelRatio > 0))
        return QImage();
    const QSize pixels(qMax(1, qRound(size.width() * devicePixelRatio)),
                       qMax(1, qRound(size.height() * devicePixelRatio)));
    QImage result(pixels, QImage::Format_ARGB32_Premultiplied);
    result.setDevicePixelRatio(devicePixelRatio);
    result.fill(Qt::transparent);

    QPainter painter(&result);
    painter.setRenderHint(QPainter::Antialiasing, style.cornerRadius > 0);
    const QRectF area(0, 0, size.width(), size.height());
    QPainterPath shape;
    if (style.cornerRadius > 0)
        shape.addRoundedRect(area, style.cornerRadius, style.cornerRadius);
    else
        shape.addRect(area);
    painter.setClipPath(shape);

    if (!colour.isValid()) {
        painter.fillRect(area, Qt::white);
        painter.setPen(QPen(Qt::red, qMax(1.0, size.height() / 8.0)));
        painter.drawLine(area.bottomLeft(), area.topRight());
    } else {
        if (colour.alpha() < 255) {
            const int cell = qMax(1, style.checkerSize);
            painter.fillRect(area, checkerLight());
            for (int y = 0; y < size.height(); y += cell) {
                for (int x = (y / cell) % 2 ? 0 : cell; x < size.width(); x += 2 * cell)
                    painter.fillRect(QRectF(x, y, cell, cell), checkerDark());
            }
        }
        painter.fillRect(area, colour);
    }

    if (style.border.isValid() && style.borderWidth > 0) {
        painter.setClipping(false);
        const qreal half = style.borderWidth / 2.0;
        painter.setPen(QPen(style.border, style.borderWidth));
        painter.setBrush(Qt::NoBrush);
        const QRectF inner = area.adjusted(half, half, -half, -half);
        if (style.cornerRadius > 0)
            painter.drawRoundedRect(inner, style.cornerRadius, style.cornerRadius);
        else
            painter.drawRect(inner);
    }
    return result;
}

QPixmap CColourSwatch::pixmap(const QColor &colour, const QSize &size, const CSwatchStyle &style,
                              qreal devicePixelRatio)
{
    return QPixmap::fromImage(image(colour, size, style, devicePixelRatio));
}
