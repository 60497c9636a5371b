/**
 * \file
 * Colour swatches for colour pickers and pen menus.
 *
 * A swatch is the colour filling a rectangle, drawn over a light checkerboard when the
 * colour is translucent (so that alpha is visible), with a border and optionally
 * rounded corners. An invalid QColor gives the "no colour" swatch: white with a red
 * diagonal. Sizes are in device-independent pixels; the pixmap carries the device
 * pixel ratio it was drawn for.
 */
#ifndef LIBUTILITY_IMAGING_COLOURSWATCH_H
#define LIBUTILITY_IMAGING_COLOURSWATCH_H

#include <libutility/utility_export.h>

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QSize>

/// How a swatch is drawn.
struct CSwatchStyle
{
    QColor border = QColor(0, 0, 0, 170); ///< invalid colour: no border
    int borderWidth = 1;                  ///< in device-independent pixels
    qreal cornerRadius = 0;               ///< 0: square corners
    int checkerSize = 4;                  ///< side of one checkerboard square
};

/// Colour swatches as images, icons and painted areas (see the file comment).
class UTILITY_EXPORT CColourSwatch
{
public:
    /// The two colours of the checkerboard shown behind translucent colours.
    /// \return white
    static QColor checkerLight();
    /// The dark colour of that checkerboard.
    /// \return light grey (204, 204, 204)
    static QColor checkerDark();

    /// The swatch as an image (ARGB32 premultiplied) of size × devicePixelRatio pixels.
    /// An empty size gives a null image.
    /// \param colour the colour to show; invalid for the "no colour" swatch
    /// \param size the size in device-independent pixels
    /// \param style border, corners and checkerboard
    /// \param devicePixelRatio device pixels per device-independent pixel; 0 or less gives a
    ///     null image
    /// \return the swatch image, carrying devicePixelRatio
    static QImage image(const QColor &colour, const QSize &size,
                        const CSwatchStyle &style = CSwatchStyle(), qreal devicePixelRatio = 1.0);
    /// The same as a pixmap; needs a QGuiApplication.
    /// \param colour the colour to show; invalid for the "no colour" swatch
    /// \param size the size in device-independent pixels
    /// \param style border, corners and checkerboard
    /// \param devicePixelRatio device pixels per device-independent pixel; 0 or less gives a
    ///     null pixmap
    /// \return the swatch pixmap, carrying devicePixelRatio
    static QPixmap pixmap(const QColor &colour, const QSize &size,
                          const CSwatchStyle &style = CSwatchStyle(),
                          qreal devicePixelRatio = 1.0);
};

#endif
