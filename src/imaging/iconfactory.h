/**
 * \file
 * Toolbar icons composed from a base pixmap and overlays.
 *
 * An icon is built for a list of sizes (by default the usual toolbar sizes 16, 22, 24,
 * 32 and 48) and for the four modes of QIcon: Normal as composed; Disabled in grey at
 * reduced opacity; Active slightly lighter; Selected tinted with the palette's
 * highlight colour. Each pixmap is drawn at size × devicePixelRatio pixels and carries
 * that ratio, so icons stay sharp on high-density screens.
 *
 * The base pixmap is scaled smoothly into the square, keeping its aspect ratio and
 * centred. Overlays are drawn in order on top:
 *   - a badge: a second pixmap in a corner, half the icon's side;
 *   - a text label (a pen width, a zoom factor): bold, bottom right, with a light halo so
 *     that it reads on any base;
 *   - a colour bar: the bottom fifth of the icon filled with a colour, outlined.
 * A null base gives icons holding only the overlays.
 */
#ifndef LIBUTILITY_IMAGING_ICONFACTORY_H
#define LIBUTILITY_IMAGING_ICONFACTORY_H

#include <libutility/utility_export.h>

#include <QColor>
#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QString>
#include <QVector>

class QPainter;

/// One layer drawn over an icon's base pixmap.
class UTILITY_EXPORT CIconOverlay
{
public:
    /// What an overlay draws: a small pixmap in a corner, a text, or a bar of colour.
    enum EKind { eBadge, eText, eColourBar };

    /// A pixmap drawn small in one corner of the icon.
    static CIconOverlay badge(const QPixmap &pixmap, Qt::Corner corner = Qt::BottomRightCorner);
    /// A short text drawn across the icon in colour.
    static CIconOverlay text(const QString &text, const QColor &colour = Qt::black);
    /// A bar of colour along the bottom of the icon (a pen's current colour).
    static CIconOverlay colourBar(const QColor &colour);

    /// What this overlay draws.
    EKind kind() const { return m_kind; }

    /// Draws the overlay into the square icon area (device-independent pixels).
    void paint(QPainter &painter, const QRectF &area) const;

private:
    explicit CIconOverlay(EKind kind);

    EKind m_kind;
    QPixmap m_pixmap;
    QString m_text;
    QColor m_colour;
    Qt::Corner m_corner = Qt::BottomRightCorner;
};

/// Composes toolbar icons from a base pixmap and overlays (see the file comment).
class UTILITY_EXPORT CIconFactory
{
public:
    /// 16, 22, 24, 32, 48.
    static QList<int> standardSizes();

    /// One square pixmap of side size (device-independent) in the given mode.
    /// A size below 1 gives a null pixmap.
    static QPixmap composePixmap(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                                 int size, qreal devicePixelRatio = 1.0,
                                 QIcon::Mode mode = QIcon::Normal);

    /// The icon with a pixmap for every size and every mode.
    static QIcon composeIcon(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                             const QList<int> &sizes = standardSizes(),
                             qreal devicePixelRatio = 1.0);

    /// The mode transformation on its own, applied to an image in place.
    static void applyMode(QImage &image, QIcon::Mode mode);
};

#endif
