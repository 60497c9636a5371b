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
    CStroke(const CStroke &other);
    /// Copies as the copy constructor does.
    CStroke &operator=(const CStroke &other);
    virtual ~CStroke();

    /// False for null, true for this object; otherwise true when both hold the same
    /// points in the same order. Cached state is not compared.
    virtual bool equals(const CStroke *other) const;

    /// The number of points.
    long getPointNum() const { return m_points.size(); }
    /// The stored point (index unchecked).
    const QPoint &getPointAt(long index) const { return m_points.at(static_cast<int>(index)); }

    /// Squared distance of a and b: differences in 32-bit integer arithmetic (wrapping),
    /// squares and sum in double.
    double getLength2(const QPoint &a, const QPoint &b) const;

    /// Distance of p from the stroke: 0 for no points, the distance to the point for
    /// one. Otherwise only one segment is examined, the one whose two endpoints have
    /// the smallest sum of squared distances to p (the first such on ties), and the
    /// result is the distance to that segment, even where another segment lies
    /// nearer. Callers rely on this cheap measure; it is not the true minimum.
    double getDistance(const QPoint &p) const;

    /// The bounding rectangle, recomputed first if stale. Its right() and bottom() are
    /// the largest x and y themselves (not one past): a single point has width and
    /// height 0. An empty stroke gives CNRect(0, 0, 0, 0).
    const CNRect &getRectBound() const;
    /// Recomputes the bounding rectangle now (an empty stroke keeps the old one).
    void updateRectBound() const;

    /// True when some vertex lies inside rect (left <= x < right, top <= y < bottom).
    /// Segments are not tested: one crossing rect between two outside vertices does
    /// not hit.
    bool hitTest(const CNRect &rect) const;

    /// Appends p.
    void addPoint(const QPoint &p);
    /// Replaces the point at index (unchecked).
    void setPointAt(long index, const QPoint &p);
    /// Removes the points from through to, both included (unchecked).
    void removePoints(long from, long to);
    /// Adds offset to every point; the shape cache stays valid.
    void move(const QSize &offset);
    /// Scales about the centre of the bounding rectangle and moves that centre to
    /// center: x' = center.x + trunc((x - c.x) * scaleX), and x' = center.x + (x - c.x)
    /// when scaleX is exactly 1 (Util::isEqual(scaleX, 1.0, 0.0)); the same for y.
    void setPos(const QPoint &center, double scaleX, double scaleY);
    /// Fits the stroke into rect: scale = rect width / bound width per axis (1 for a
    /// bound of width 0), a scale within one per cent of 1 (bounds excluded) is taken
    /// as exactly 1 so that no point shifts by rounding, then setPos(rect.center(),
    /// ...). Widths use the exclusive edges of CNRect.
    void setPos(const CNRect &rect);

    /// Replaces the points with those read from in. The count is not limited and the
    /// stream not checked: a count <= 0 gives an empty stroke; points the stream could
    /// not supply (in full or in part) read as zero. A count larger than a QVector can
    /// hold throws std::bad_alloc.
    void readFrom(std::istream &in);
    /// Writes the stream form that readFrom reads.
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
