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
    /// \param topLeft the top-left corner, inside the rectangle
    /// \param bottomRight the bottom-right corner, the first column and row outside
    CNRect(const QPoint &topLeft, const QPoint &bottomRight)
        : QRect(topLeft, QPoint(inside(bottomRight.x()), inside(bottomRight.y())))
    { }
    /// From a top-left corner and a size.
    /// \param topLeft the top-left corner
    /// \param size the width and height
    CNRect(const QPoint &topLeft, const QSize &size)
        : QRect(topLeft, size)
    { }
    /// From the left and top edges, width and height.
    /// \param x left edge
    /// \param y top edge
    /// \param width width in pixels
    /// \param height height in pixels
    CNRect(int x, int y, int width, int height)
        : QRect(x, y, width, height)
    { }
    /// Takes the four stored integers of r unchanged.
    /// \param r rectangle whose stored left, top, right and bottom are taken as they are
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
    /// \return left() + width()
    int right() const { return outside(QRect::right()); }
    /// Exclusive bottom edge: the first row outside.
    /// \return top() + height()
    int bottom() const { return outside(QRect::bottom()); }
    /// (right(), bottom()): the exclusive corner.
    /// \return the exclusive bottom-right corner
    QPoint bottomRight() const { return QPoint(right(), bottom()); }
    /// (right(), top()), with the exclusive right edge.
    /// \return the top-right corner, one column outside
    QPoint topRight() const { return QPoint(right(), top()); }
    /// (left(), bottom()), with the exclusive bottom edge.
    /// \return the bottom-left corner, one row outside
    QPoint bottomLeft() const { return QPoint(left(), bottom()); }

    /// Sets the exclusive right edge; the left edge stays.
    /// \param r the new exclusive right edge
    void setRight(int r) { QRect::setRight(inside(r)); }
    /// Sets the exclusive bottom edge; the top edge stays.
    /// \param b the new exclusive bottom edge
    void setBottom(int b) { QRect::setBottom(inside(b)); }
    /// Sets the exclusive right and bottom edges; left and top stay.
    /// \param p the new exclusive bottom-right corner
    void setBottomRight(const QPoint &p)
    {
        QRect::setBottomRight(QPoint(inside(p.x()), inside(p.y())));
    }
    /// Sets the exclusive right edge and the top edge.
    /// \param p the new exclusive right edge (x) and top edge (y)
    void setTopRight(const QPoint &p) { QRect::setTopRight(QPoint(inside(p.x()), p.y())); }
    /// Sets the left edge and the exclusive bottom edge.
    /// \param p the new left edge (x) and exclusive bottom edge (y)
    void setBottomLeft(const QPoint &p) { QRect::setBottomLeft(QPoint(p.x(), inside(p.y()))); }
    /// Sets left, top and the exclusive right and bottom edges.
    /// \param x1 left edge
    /// \param y1 top edge
    /// \param x2 exclusive right edge
    /// \param y2 exclusive bottom edge
    void setCoords(int x1, int y1, int x2, int y2)
    {
        QRect::setCoords(x1, y1, inside(x2), inside(y2));
    }
    /// Writes left, top and the exclusive right and bottom edges.
    /// \param[out] x1 receives the left edge; must not be null
    /// \param[out] y1 receives the top edge; must not be null
    /// \param[out] x2 receives the exclusive right edge; must not be null
    /// \param[out] y2 receives the exclusive bottom edge; must not be null
    void getCoords(int *x1, int *y1, int *x2, int *y2) const;

    /// (left + width / 2, top + height / 2), halves truncated toward zero: a rectangle
    /// from 0 of width 100 has its centre at 50 (QRect::center() says 49).
    /// \return the centre point
    QPoint center() const { return QPoint(left() + width() / 2, top() + height() / 2); }

    /// Moves the rectangle, keeping its size, so that its exclusive right edge is r.
    /// \param r the new exclusive right edge
    void moveRight(int r) { QRect::moveRight(inside(r)); }
    /// Moves the rectangle, keeping its size, so that its exclusive bottom edge is b.
    /// \param b the new exclusive bottom edge
    void moveBottom(int b) { QRect::moveBottom(inside(b)); }
    /// Moves the rectangle, keeping its size, so that bottomRight() is p.
    /// \param p the new exclusive bottom-right corner
    void moveBottomRight(const QPoint &p)
    {
        QRect::moveBottomRight(QPoint(inside(p.x()), inside(p.y())));
    }
    /// Moves the rectangle, keeping its size, so that topRight() is p.
    /// \param p the new exclusive right edge (x) and top edge (y)
    void moveTopRight(const QPoint &p) { QRect::moveTopRight(QPoint(inside(p.x()), p.y())); }
    /// Moves the rectangle, keeping its size, so that bottomLeft() is p.
    /// \param p the new left edge (x) and exclusive bottom edge (y)
    void moveBottomLeft(const QPoint &p) { QRect::moveBottomLeft(QPoint(p.x(), inside(p.y()))); }
    /// Shifts the rectangle so that center() becomes p.
    /// \param p the new centre
    void moveCenter(const QPoint &p) { translate(p - center()); }

    /// Keeps left; the new width is trunc(width * f), computed in float.
    /// \param f factor for the width; a result of 0 or less makes the rectangle empty
    void scaleX(float f);
    /// Keeps top; the new height is trunc(height * f), computed in float.
    /// \param f factor for the height; a result of 0 or less makes the rectangle empty
    void scaleY(float f);

    /// QRect::contains on the stored integers.
    /// \param r rectangle to test
    /// \param proper require r to lie strictly inside, off the edges
    /// \return true when r lies inside this rectangle
    bool contains(const CNRect &r, bool proper = false) const { return QRect::contains(r, proper); }
    /// left() <= x < right() and top() <= y < bottom() (strictly inside when proper).
    /// \param p point to test
    /// \param proper require p to lie strictly inside, off the edges
    /// \return true when p lies inside
    bool contains(const QPoint &p, bool proper = false) const { return QRect::contains(p, proper); }
    /// contains(QPoint(x, y), proper).
    /// \param x column of the point
    /// \param y row of the point
    /// \param proper require the point to lie strictly inside, off the edges
    /// \return true when the point lies inside
    bool contains(int x, int y, bool proper) const { return QRect::contains(x, y, proper); }
    /// contains(QPoint(x, y)).
    /// \param x column of the point
    /// \param y row of the point
    /// \return true when the point lies inside
    bool contains(int x, int y) const { return QRect::contains(x, y, false); }

    /// This becomes the QRect intersection of this and r.
    /// \param r the other rectangle
    /// \return this rectangle
    CNRect &operator&=(const CNRect &r);
    /// This becomes the QRect bounding union of this and r.
    /// \param r the other rectangle
    /// \return this rectangle
    CNRect &operator|=(const CNRect &r);

    /// True when the rectangles overlap or touch: left1 <= right2, left2 <= right1,
    /// top1 <= bottom2 and top2 <= bottom1 with exclusive right and bottom edges.
    /// Rectangles that share only an edge or a corner intersect (QRect says they do
    /// not); empty rectangles get no special treatment.
    /// \param r the other rectangle
    /// \return true when the rectangles overlap or touch
    bool intersects(const CNRect &r) const;

private:
    /// Exclusive and stored edges differ by one. At the ends of the int range the value
    /// wraps as the stored integers of QRect do, without signed overflow.
    static int inside(int exclusive) { return int(unsigned(exclusive) - 1u); }
    static int outside(int inclusive) { return int(unsigned(inclusive) + 1u); }
};

/// A copy of r with every side moved outward by d (inward for a negative d).
/// \param r rectangle to inflate
/// \param d distance in pixels each side moves outward; negative moves it inward
/// \return the inflated copy
UTILITY_EXPORT CNRect Inflate(const CNRect &r, int d);
/// Moves every side of r outward by d, in place.
/// \param[in,out] r rectangle inflated in place
/// \param d distance in pixels each side moves outward; negative moves it inward
UTILITY_EXPORT void Inflate(CNRect &r, int d);

#endif
