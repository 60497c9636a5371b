/**
 * \class CNRect
 * CNRect: the integer rectangle of the ink model (stroke and scribble bounds, hit
 * tests, placement).
 *
 * It stores exactly what QRect stores (left, top and the inclusive last column and
 * row) and adds no members, but every operation it declares itself speaks of
 * exclusive right and bottom edges: right() is the first column outside the
 * rectangle, bottom() the first row outside. Everything it does not declare (left(),
 * top(), width(), height(), isEmpty(), translate(), ...) is QRect's own on the same
 * four integers, so width() == right() - left() always holds.
 *
 *   CNRect r(QPoint(0, 0), QPoint(10, 10));   // second corner exclusive
 *   r.width();                                // 10
 *   r.contains(9, 9);                         // true
 *   r.contains(10, 10);                       // false: on the exclusive edge
 *
 * No operation checks its arguments; empty and inverted rectangles are handled by
 * the plain arithmetic described on each member.
 */
#ifndef LIBUTILITY_INK_NRECT_H
#define LIBUTILITY_INK_NRECT_H

#include <libutility/utility_export.h>

#include <QPoint>
#include <QRect>
#include <QSize>

class UTILITY_EXPORT CNRect : public QRect
{
public:
    /// A null rectangle, stored as QRect() stores it (0, 0, -1, -1).
    CNRect() = default;
    /// From a top-left corner and an exclusive bottom-right corner (unlike QRect).
    CNRect(const QPoint &topLeft, const QPoint &bottomRight)
        : QRect(topLeft, QPoint(inside(bottomRight.x()), inside(bottomRight.y())))
    { }
    /// From a top-left corner and a size.
    CNRect(const QPoint &topLeft, const QSize &size)
        : QRect(topLeft, size)
    { }
    /// From the left and top edges, width and height.
    CNRect(int x, int y, int width, int height)
        : QRect(x, y, width, height)
    { }
    /// Takes the four stored integers of r unchanged.
    CNRect(const QRect &r)
        : QRect(r)
    { }

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wclass-conversion"
#elif defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wclass-conversion"
#endif
    /// The same four stored integers as a QRect (same left, top, width and height).
    /// Implicit conversions to the base slice the object and give the same result.
    operator QRect() const { return static_cast<const QRect &>(*this); }
#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

    /// Exclusive right edge: the first column outside.
    int right() const { return outside(QRect::right()); }
    /// Exclusive bottom edge: the first row outside.
    int bottom() const { return outside(QRect::bottom()); }
    /// (right(), bottom()): the exclusive corner.
    QPoint bottomRight() const { return QPoint(right(), bottom()); }
    /// (right(), top()), with the exclusive right edge.
    QPoint topRight() const { return QPoint(right(), top()); }
    /// (left(), bottom()), with the exclusive bottom edge.
    QPoint bottomLeft() const { return QPoint(left(), bottom()); }

    /// Sets the exclusive right edge; the left edge stays.
    void setRight(int r) { QRect::setRight(inside(r)); }
    /// Sets the exclusive bottom edge; the top edge stays.
    void setBottom(int b) { QRect::setBottom(inside(b)); }
    /// Sets the exclusive right and bottom edges; left and top stay.
    void setBottomRight(const QPoint &p)
    {
        QRect::setBottomRight(QPoint(inside(p.x()), inside(p.y())));
    }
    /// Sets the exclusive right edge and the top edge.
    void setTopRight(const QPoint &p) { QRect::setTopRight(QPoint(inside(p.x()), p.y())); }
    /// Sets the left edge and the exclusive bottom edge.
    void setBottomLeft(const QPoint &p) { QRect::setBottomLeft(QPoint(p.x(), inside(p.y()))); }
    /// Sets left, top and the exclusive right and bottom edges.
    void setCoords(int x1, int y1, int x2, int y2)
    {
        QRect::setCoords(x1, y1, inside(x2), inside(y2));
    }
    /// Writes left, top and the exclusive right and bottom edges.
    void getCoords(int *x1, int *y1, int *x2, int *y2) const;

    /// (left + width / 2, top + height / 2), halves truncated toward zero: a rectangle
    /// from 0 of width 100 has its centre at 50 (QRect::center() says 49).
    QPoint center() const { return QPoint(left() + width() / 2, top() + height() / 2); }

    /// Moves the rectangle, keeping its size, so that its exclusive right edge is r.
    void moveRight(int r) { QRect::moveRight(inside(r)); }
    /// Moves the rectangle, keeping its size, so that its exclusive bottom edge is b.
    void moveBottom(int b) { QRect::moveBottom(inside(b)); }
    /// Moves the rectangle, keeping its size, so that bottomRight() is p.
    void moveBottomRight(const QPoint &p)
    {
        QRect::moveBottomRight(QPoint(inside(p.x()), inside(p.y())));
    }
    /// Moves the rectangle, keeping its size, so that topRight() is p.
    void moveTopRight(const QPoint &p) { QRect::moveTopRight(QPoint(inside(p.x()), p.y())); }
    /// Moves the rectangle, keeping its size, so that bottomLeft() is p.
    void moveBottomLeft(const QPoint &p) { QRect::moveBottomLeft(QPoint(p.x(), inside(p.y()))); }
    /// Shifts the rectangle so that center() becomes p.
    void moveCenter(const QPoint &p) { translate(p - center()); }

    /// Keeps left; the new width is trunc(width * f), computed in float.
    void scaleX(float f);
    /// Keeps top; the new height is trunc(height * f), computed in float.
    void scaleY(float f);

    /// QRect::contains on the stored integers.
    bool contains(const CNRect &r, bool proper = false) const { return QRect::contains(r, proper); }
    /// left() <= x < right() and top() <= y < bottom() (strictly inside when proper).
    bool contains(const QPoint &p, bool proper = false) const { return QRect::contains(p, proper); }
    /// contains(QPoint(x, y), proper).
    bool contains(int x, int y, bool proper) const { return QRect::contains(x, y, proper); }
    /// contains(QPoint(x, y)).
    bool contains(int x, int y) const { return QRect::contains(x, y, false); }

    /// This becomes the QRect intersection of this and r.
    CNRect &operator&=(const CNRect &r);
    /// This becomes the QRect bounding union of this and r.
    CNRect &operator|=(const CNRect &r);

    /// True when the rectangles overlap or touch: left1 <= right2, left2 <= right1,
    /// top1 <= bottom2 and top2 <= bottom1 with exclusive right and bottom edges.
    /// Rectangles that share only an edge or a corner intersect (QRect says they do
    /// not); empty rectangles get no special treatment.
    bool intersects(const CNRect &r) const;

private:
    /// Exclusive and stored edges differ by one. At the ends of the int range the value
    /// wraps as the stored integers of QRect do, without signed overflow.
    static int inside(int exclusive) { return int(unsigned(exclusive) - 1u); }
    static int outside(int inclusive) { return int(unsigned(inclusive) + 1u); }
};

/// A copy of r with every side moved outward by d (inward for a negative d).
UTILITY_EXPORT CNRect Inflate(const CNRect &r, int d);
/// Moves every side of r outward by d, in place.
UTILITY_EXPORT void Inflate(CNRect &r, int d);

#endif
