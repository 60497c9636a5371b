/**
 * \file
 * Cursors for pen tools.
 *
 * The pen cursor is a circle of the pen's width: a black ring inside a white ring, so
 * it stays visible over light and dark ink, filled with the pen colour at half
 * opacity, with a one-pixel dot at the hotspot (the centre). Widths are clamped to
 * 1 .. 128 pixels; the cursor is never smaller than 9 pixels so a thin pen stays
 * findable. The eraser cursor is a square of the eraser's size with the same double
 * outline. Cursors from pixmaps clamp their hotspot into the pixmap; a null pixmap
 * gives the arrow cursor.
 */
#ifndef LIBUTILITY_IMAGING_CURSORFACTORY_H
#define LIBUTILITY_IMAGING_CURSORFACTORY_H

#include <libutility/utility_export.h>

#include <QColor>
#include <QCursor>
#include <QPixmap>
#include <QPoint>

/// Cursors for pen tools (see the file comment).
class UTILITY_EXPORT CCursorFactory
{
public:
    /// Largest side of a cursor picture, in pixels.
    static constexpr int cMaxCursorSize = 128;

    /// The picture of the pen cursor (width clamped as above).
    /// \param width the pen's width in pixels
    /// \param colour the pen's colour; an invalid colour is drawn as black
    /// \return a square picture of odd side, at least 9 pixels, a little larger than the circle
    static QPixmap penPixmap(int width, const QColor &colour);
    /// The pen cursor: penPixmap() with its hotspot in the middle.
    /// \param width the pen's width in pixels
    /// \param colour the pen's colour; an invalid colour is drawn as black
    /// \return the cursor
    static QCursor penCursor(int width, const QColor &colour);

    /// The picture of the eraser cursor of side size (clamped to 4 .. 128).
    /// \param size the side of the eraser in pixels
    /// \return a square picture two pixels larger than the clamped size
    static QPixmap eraserPixmap(int size);
    /// The eraser cursor: eraserPixmap() with its hotspot in the middle.
    /// \param size the side of the eraser in pixels
    /// \return the cursor
    static QCursor eraserCursor(int size);

    /// A cursor from any pixmap; the hotspot is clamped into it.
    /// \param pixmap the cursor's picture; null gives the arrow cursor
    /// \param hotspot the hotspot in the pixmap's pixels
    /// \return the cursor
    static QCursor fromPixmap(const QPixmap &pixmap, const QPoint &hotspot);
};

#endif
