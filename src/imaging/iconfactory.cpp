#include <libutility/imaging/iconfactory.h>

#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

CIconOverlay::CIconOverlay(EKind kind)
    : m_kind(kind)
{
}

CIconOverlay CIconOverlay::badge(const QPixmap &pixmap, Qt::Corner corner)
{
    CIconOverlay overlay(eBadge);
    overlay.m_pixmap = pixmap;
    overlay.m_corner = corner;
    return overlay;
}

CIconOverlay CIconOverlay::text(const QString &text, const QColor &colour)
{
    CIconOverlay overlay(eText);
    overlay.m_text = text;
    overlay.m_colour = colour;
    return overlay;
}

CIconOverlay CIconOverlay::colourBar(const QColor &colour)
{
    CIconOverlay overlay(eColourBar);
    overlay.m_colour = colour;
    return overlay;
}

void CIconOverlay::paint(QPainter &painter, const QRectF &area) const
{
    painter.save();
    switch (m_kind) {
    case eBadge: {
        if (m_pixmap.isNull())
            break;
        const qreal side = area.width() / 2.0;
        const qreal x = (m_corner == Qt::TopLeftCorner || m_corner == Qt::BottomLeftCorner)
            ? area.left()
            : area.right() - side;
        const qreal y = (m_corner == Qt::TopLeftCorner || m_corner == Qt::TopRightCorner)
            ? area.top()
            : area.bottom() - side;
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(QRectF(x, y, side, side), m_pixmap, QRectF(m_pixmap.rect()));
        break;
    }
    case eText: {
        if (m_text.isEmpty())
            break;
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(qMax(6, int(area.height() * 0.45)));
        QPainterPath path;
        path.addText(0, 0, font, m_text);
        const QRectF box = path.boundingRect();
        // Shrink long labels to the icon's width.
        const qreal scale = qMin(1.0, area.width() / qMax(1.0, box.width() + 2));
        painter.translate(area.right() - 1 - box.right() * scale, area.bottom() - 1 - box.bottom() * scale);
        painter.scale(scale, scale);
        painter.setRenderHint(QPainter::Antialiasing);
        const QColor halo = qGray(m_colour.rgb()) < 128 ? QColor(255, 255, 255, 220) : QColor(0, 0, 0, 220);
        painter.strokePath(path, QPen(halo, qMax(1.5, area.height() / 12.0), Qt::SolidLine, Qt::RoundCap,
                                      Qt::RoundJoin));
        painter.fillPath(path, m_colour);
        break;
    }
    case eColourBar: {
        const qreal height = qMax(2.0, area.height() / 5.0);
        const QRectF bar(area.left(), area.bottom() - height, area.width(), height);
        painter.fillRect(bar, m_colour);
        painter.setPen(QPen(QColor(0, 0, 0, 140), 1.0));
        painter.drawRect(bar.adjusted(0.5, 0.5, -0.5, -0.5));
        break;
    }
    }
    painter.restore();
}

QList<int> CIconFactory::standardSizes()
{
    return { 16, 22, 24, 32, 48 };
}

void CIconFactory::applyMode(QImage &image, QIcon::Mode mode)
{
    if (mode == QIcon::Normal || image.isNull())
        return;
    image = image.convertToFormat(QImage::Format_ARGB32);
    const QColor highlight = QGuiApplication::palette().color(QPalette::Highlight);
    for (int y = 0; y < image.height(); ++y) {
        QRgb *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = line[x];
            int r = qRed(p), g = qGreen(p), b = qBlue(p), a = qAlpha(p);
            switch (mode) {
            case QIcon::Disabled: {
                const int grey = qGray(p);
                r = g = b = 128 + grey / 3;
                a = a * 45 / 100;
                break;
            }
            case QIcon::Active:
                r += (255 - r) / 5;
                g += (255 - g) / 5;
                b += (255 - b) / 5;
                break;
            case QIcon::Selected:
                r = (r * 7 + highlight.red() * 3) / 10;
                g = (g * 7 + highlight.green() * 3) / 10;
                b = (b * 7 + highlight.blue() * 3) / 10;
                break;
            case QIcon::Normal:
                break;
            }
            line[x] = qRgba(r, g, b, a);
        }
    }
    image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QPixmap CIconFactory::composePixmap(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                                    int size, qreal devicePixelRatio, QIcon::Mode mode)
{
    if (size < 1 || !(devicePixelRatio > 0))
        return QPixmap();
    const int pixels = qMax(1, qRound(size * devicePixelRatio));
    QImage canvas(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    canvas.setDevicePixelRatio(devicePixelRatio);
    {
        QPainter painter(&canvas);
        const QRectF area(0, 0, size, size);
        if (!base.isNull()) {
            QSizeF fitted = QSizeF(base.size()).scaled(area.size(), Qt::KeepAspectRatio);
            const QRectF target(area.center().x() - fitted.width() / 2,
                                area.center().y() - fitted.height() / 2, fitted.width(),
                                fitted.height());
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawPixmap(target, base, QRectF(base.rect()));
        }
        for (const CIconOverlay &overlay : overlays)
            overlay.paint(painter, area);
    }
    applyMode(canvas, mode);
    canvas.setDevicePixelRatio(devicePixelRatio);
    return QPixmap::fromImage(canvas);
}

QIcon CIconFactory::composeIcon(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                                const QList<int> &sizes, qreal devicePixelRatio)
{
    QIcon icon;
    for (int size : sizes) {
        for (QIcon::Mode mode : { QIcon::Normal, QIcon::Disabled, QIcon::Active, QIcon::Selected }) {
            const QPixmap pixmap = composePixmap(base, overlays, size, devicePixelRatio, mode);
            if (!pixmap.isNull())
                icon.addPixmap(pixmap, mode);
        }
    }
    return icon;
}
