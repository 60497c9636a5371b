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
    /// \param pixmap the badge's picture, scaled into half the icon's side; a null pixmap
    ///     draws nothing
    /// \param corner the corner the badge sits in
    /// \return the overlay
    static CIconOverlay badge(const QPixmap &pixmap, Qt::Corner corner = Qt::BottomRightCorner);
    /// A short text drawn across the icon in colour.
    /// \param text the label; an empty text draws nothing
    /// \param colour the text's colour; the halo is light or dark to contrast with it
    /// \return the overlay
    static CIconOverlay text(const QString &text, const QColor &colour = Qt::black);
    /// A bar of colour along the bottom of the icon (a pen's current colour).
    /// \param colour the bar's colour, drawn as given (alpha included)
    /// \return the overlay
    static CIconOverlay colourBar(const QColor &colour);

    /// What this overlay draws.
    /// \return the kind given by the factory function that made the overlay
    EKind kind() const { return m_kind; }

    /// Draws the overlay into the square icon area (device-independent pixels).
    /// \param painter the painter to draw with; its state is restored afterwards
    /// \param area the icon's square
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
    /// \return the sizes in pixels, smallest first
    static QList<int> standardSizes();

    /// One square pixmap of side size (device-independent) in the given mode.
    /// A size below 1 gives a null pixmap.
    /// \param base the base picture; may be null
    /// \param overlays the overlays, drawn in order
    /// \param size the side in device-independent pixels
    /// \param devicePixelRatio device pixels per device-independent pixel; 0 or less gives a
    ///     null pixmap
    /// \param mode the QIcon mode to render
    /// \return the pixmap, carrying devicePixelRatio
    static QPixmap composePixmap(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                                 int size, qreal devicePixelRatio = 1.0,
                                 QIcon::Mode mode = QIcon::Normal);

    /// The icon with a pixmap for every size and every mode.
    /// \param base the base picture; may be null
    /// \param overlays the overlays, drawn in order
    /// \param sizes the sides in device-independent pixels; sizes below 1 are skipped
    /// \param devicePixelRatio device pixels per device-independent pixel
    /// \return the icon
    static QIcon composeIcon(const QPixmap &base, const QVector<CIconOverlay> &overlays,
                             const QList<int> &sizes = standardSizes(),
                             qreal devicePixelRatio = 1.0);

    /// The mode transformation on its own, applied to an image in place.
    /// \param[in,out] image the image, converted to ARGB32 premultiplied unless mode is
    ///     Normal or the image null
    /// \param mode the QIcon mode; Normal leaves the image unchanged
    static void applyMode(QImage &image, QIcon::Mode mode);
};

#endif
