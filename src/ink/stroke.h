/**
 * \class CStroke
 * CStroke: one pen stroke, an ordered list of integer points in device coordinates
 * with a lazily computed bounding rectangle.
 *
 * Copies share their point storage until one of them changes it (QVector's implicit
 * sharing). A new stroke reserves room for 512 points, and removing points never
 * gives that room back, so live drawing appends without reallocating.
 *
 * Caching. The bounding rectangle is recomputed on the next getRectBound() after any
 * change of coordinates. A second, shape-dependent cache (m_shapeCache and its flag)
 * is reserved for derived quantities: nothing here computes it, but every operation
 * that changes the shape clears its flag, while move() (a pure translation) keeps it.
 *
 * Nothing checks an index: an index outside 0 .. getPointNum() - 1 is the caller's
 * error. Nothing reports errors either; readFrom() trusts the stream (see there).
 *
 * Stream form (readFrom / writeTo, see binaryread.h): int32 point count, then each
 * point as int32 x, int32 y, little-endian. Nothing else of the stroke is stored.
 */
#ifndef LIBUTILITY_INK_STROKE_H
#define LIBUTILITY_INK_STROKE_H

#include <libutility/ink/nrect.h>
#include <libutility/utility_export.h>

#include <QPoint>
#include <QSize>
#include <QVector>

#include <iosfwd>

class UTILITY_EXPORT CStroke
{
public:
    /// No points, bounding rectangle CNRect(0, 0, 0, 0) (valid), room for 512 points.
    CStroke();
    /// Shares the point storage and copies the caches and their flags.
    /// \param other stroke to copy
    CStroke(const CStroke &other);
    /// Copies as the copy constructor does.
    /// \param other stroke to copy; assigning a stroke to itself changes nothing
    /// \return this stroke
    CStroke &operator=(const CStroke &other);
    virtual ~CStroke();

    /// False for null, true for this object; otherwise true when both hold the same
    /// points in the same order. Cached state is not compared.
    /// \param other stroke to compare with; may be null
    /// \return true when the strokes hold the same points
    virtual bool equals(const CStroke *other) const;

    /// The number of points.
    /// \return the number of points, 0 for an empty stroke
    long getPointNum() const { return m_points.size(); }
    /// The stored point (index unchecked).
    /// \param index position of the point, 0 .. getPointNum() - 1
    /// \return a reference into the stroke, valid until its points next change
    const QPoint &getPointAt(long index) const { return m_points.at(static_cast<int>(index)); }

    /// Squared distance of a and b: differences in 32-bit integer arithmetic (wrapping),
    /// squares and sum in double.
    /// \param a first point
    /// \param b second point
    /// \return the squared distance
    double getLength2(const QPoint &a, const QPoint &b) const;

    /// Distance of p from the stroke: 0 for no points, the distance to the point for
    /// one. Otherwise only one segment is examined, the one whose two endpoints have
    /// the smallest sum of squared distances to p (the first such on ties), and the
    /// result is the distance to that segment, even where another segment lies
    /// nearer. Callers rely on this cheap measure; it is not the true minimum.
    /// \param p point whose distance is measured
    /// \return the distance as described, never negative
    double getDistance(const QPoint &p) const;

    /// The bounding rectangle, recomputed first if stale. Its right() and bottom() are
    /// the largest x and y themselves (not one past): a single point has width and
    /// height 0. An empty stroke gives CNRect(0, 0, 0, 0).
    /// \return a reference to the stroke's cached rectangle, refreshed by the next call
    ///     after a change
    const CNRect &getRectBound() const;
    /// Recomputes the bounding rectangle now (an empty stroke keeps the old one).
    void updateRectBound() const;

    /// True when some vertex lies inside rect (left <= x < right, top <= y < bottom).
    /// Segments are not tested: one crossing rect between two outside vertices does
    /// not hit.
    /// \param rect rectangle to test, right and bottom exclusive
    /// \return true when a vertex lies inside rect; false for an empty stroke
    bool hitTest(const CNRect &rect) const;

    /// Appends p.
    /// \param p the new last point
    void addPoint(const QPoint &p);
    /// Replaces the point at index (unchecked).
    /// \param index position of the point, 0 .. getPointNum() - 1
    /// \param p the new point
    void setPointAt(long index, const QPoint &p);
    /// Removes the points from through to, both included (unchecked).
    /// \param from index of the first point removed
    /// \param to index of the last point removed, not below from
    void removePoints(long from, long to);
    /// Adds offset to every point; the shape cache stays valid.
    /// \param offset added to x (width) and y (height); coordinates wrap at the int range
    void move(const QSize &offset);
    /// Scales about the centre of the bounding rectangle and moves that centre to
    /// center: x' = center.x + trunc((x - c.x) * scaleX), and x' = center.x + (x - c.x)
    /// when scaleX is exactly 1 (Util::isEqual(scaleX, 1.0, 0.0)); the same for y.
    /// \param center where the centre of the bounding rectangle goes
    /// \param scaleX horizontal scale factor
    /// \param scaleY vertical scale factor
    void setPos(const QPoint &center, double scaleX, double scaleY);
    /// Fits the stroke into rect: scale = rect width / bound width per axis (1 for a
    /// bound of width 0), a scale within one per cent of 1 (bounds excluded) is taken
    /// as exactly 1 so that no point shifts by rounding, then setPos(rect.center(),
    /// ...). Widths use the exclusive edges of CNRect.
    /// \param rect rectangle to fit into, right and bottom exclusive
    void setPos(const CNRect &rect);

    /// Replaces the points with those read from in. The count is not limited and the
    /// stream not checked: a count <= 0 gives an empty stroke; points the stream could
    /// not supply (in full or in part) read as zero. A count larger than a QVector can
    /// hold throws std::bad_alloc.
    /// \param in binary stream positioned at the stroke's point count
    void readFrom(std::istream &in);
    /// Writes the stream form that readFrom reads.
    /// \param out binary stream to write to; failures show in its state only
    void writeTo(std::ostream &out) const;

protected:
    /// The points in drawing order.
    QVector<QPoint> m_points;
    /// The cached bounding rectangle.
    mutable CNRect m_rectBound;
    /// True while m_rectBound is up to date.
    mutable bool m_rectBoundValid;
    /// Reserved for a derived, shape-dependent quantity (see the class comment).
    mutable int m_shapeCache;
    /// True while m_shapeCache is up to date; cleared by every change of shape.
    mutable bool m_shapeCacheValid;
};

#endif
