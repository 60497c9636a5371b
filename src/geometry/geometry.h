/**
 * \file
 * Plane geometry on QPointF: tolerant comparison, vector arithmetic, straight lines in
 * coefficient form (a*x + b*y + c = 0, not normalised), distances, segment and rectangle
 * intersection, vector orientation, triangle identification and aspect-preserving
 * rectangle fitting.
 *
 * Everything here is a stateless free function of namespace Util: re-entrant and safe to
 * call from any thread (the only shared state touched is the trace stream). Coordinates
 * are doubles in screen convention (x to the right, y downwards); angles are degrees
 * unless the name says radians.
 *
 * Bad input: nothing throws or reports. NaN and infinite coordinates never crash or loop;
 * they flow through the IEEE arithmetic, so the comparisons come out false (an
 * intersection is then "not found" and its output untouched). Where a result is not
 * defined by the formula (a NaN distance rounded to int, say) the comment of the
 * function says what comes back. Degenerate inputs that the formulas do not guard
 * (a = b = 0 in getDistanceToLine, an empty source in calcKeepAspectRect) give IEEE
 * infinities or NaN, as documented there.
 *
 * Trace lines: while the root level is "TRACE" every operation writes its entry and exit
 * under the file name "geometry", except the predicates (isVirtuallyZero, isEqual,
 * pointInRect, vectorLeftOrRight, vectorFrontOrBack) and the one-expression arithmetic
 * (getInnerProduct, getVectorSize, getVectorDiff, getDistance, getIntDistance, degToRad,
 * radToDeg), which the recogniser calls per point.
 */
#ifndef LIBUTILITY_GEOMETRY_GEOMETRY_H
#define LIBUTILITY_GEOMETRY_GEOMETRY_H

#include <libutility/utility_export.h>

#include <QPoint>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QVector>

namespace Util {

/// On which side of a triangle an axis-aligned edge lies (see identifyTriangle).
enum EAlignedEdge {
    eNoEdge = 0, ///< no edge aligned with this axis
    eTopEdge = 1, ///< horizontal edge, the third vertex lies below it (greater y)
    eRightEdge = 2, ///< vertical edge, the third vertex lies to its left or on its line
    eBottomEdge = 3, ///< horizontal edge, the third vertex lies above it or on its line
    eLeftEdge = 4 ///< vertical edge, the third vertex lies to its right (greater x)
};

/// Kind codes returned by identifyTriangle (it returns a plain int).
enum ETriangleKind {
    eTriangleNone = 0, ///< not three points
    eTriangleRight = 1, ///< one turning angle within about 8 degrees of 90
    eTriangleIsosceles = 2, ///< two turning angles equal within 9 percent
    eTriangleAcuteTurn = 3, ///< every turning angle at most 90 degrees
    eTriangleGeneral = 4 ///< any other triangle (the usual answer for a scalene one)
};

// ---- Tolerant comparison -------------------------------------------------------------

/// True exactly when |x| < 1e-9 (strict). NaN gives false. The one zero test of the
/// geometry and the recogniser.
UTILITY_EXPORT bool isVirtuallyZero(double x);

/// Relative comparison anchored on the first argument only: the scale is |a| when
/// |a| >= 0.01, else 1.0, and the result is |a - b| <= (tol + 2^-52) * scale. The
/// asymmetry is deliberate: isEqual(a, b, t) and isEqual(b, a, t) may differ. NaN in
/// any argument gives false.
UTILITY_EXPORT bool isEqual(double a, double b, double tol);

// ---- Vector arithmetic ---------------------------------------------------------------

/// v1.x * v2.x + v1.y * v2.y.
UTILITY_EXPORT double getInnerProduct(const QPointF &v1, const QPointF &v2);
/// Euclidean length of v.
UTILITY_EXPORT double getVectorSize(const QPointF &v);
/// Length of an integer vector: the squares are summed in 32-bit int arithmetic (wrapping
/// on overflow, so components beyond about 32767 give a meaningless result) and the sum
/// converted to double before the root.
UTILITY_EXPORT double getVectorSize(const QPoint &v);
/// a - b, component-wise.
UTILITY_EXPORT QPointF getVectorDiff(const QPointF &a, const QPointF &b);
/// Distance between two points.
UTILITY_EXPORT double getDistance(const QPointF &a, const QPointF &b);
/// getDistance(a, b) + 0.5 truncated toward zero (round half up). A NaN distance gives 0
/// and a distance too large for int gives INT_MAX.
UTILITY_EXPORT int getIntDistance(const QPointF &a, const QPointF &b);
/// Degrees to radians and back.
UTILITY_EXPORT double degToRad(double degrees);
/// Radians to degrees.
UTILITY_EXPORT double radToDeg(double radians);
/// True when p lies in r or on its border: all four bounds inclusive.
UTILITY_EXPORT bool pointInRect(const QRectF &r, const QPointF &p);
/// out[i] = pts[i + 1] - pts[i]; out gets n - 1 entries, none for fewer than 2 points.
UTILITY_EXPORT void differentiate(const QVector<QPointF> &pts, QVector<QPointF> &out);
/// Coefficients of the line through p1 and p2: a = p2.y - p1.y, b = p1.x - p2.x,
/// c = p2.x * p1.y - p1.x * p2.y. Two equal points give a = b = c = 0.
UTILITY_EXPORT void getLineCoefficient(
    const QPointF &p1, const QPointF &p2, double &a, double &b, double &c);

// ---- Angles and orientation ----------------------------------------------------------

/// Cosine of the angle between v1 and v2. A null vector (both components virtually zero)
/// on either side gives 1.0. The quotient is not clamped to [-1, 1].
UTILITY_EXPORT double getCos(const QPointF &v1, const QPointF &v2);
/// Sign of the cross product v1 x v2: 0 when virtually zero, 1 when positive (v2 turns
/// clockwise on the screen from v1), -1 when negative or NaN.
UTILITY_EXPORT int vectorLeftOrRight(const QPointF &v1, const QPointF &v2);
/// Sign of the inner product: 0 perpendicular, 1 same general direction, -1 opposite or
/// NaN.
UTILITY_EXPORT int vectorFrontOrBack(const QPointF &v1, const QPointF &v2);

// ---- Lines and segments --------------------------------------------------------------

/// Intersection of two lines in coefficient form. Virtually parallel lines (|det| < 1e-9)
/// give false and leave *out untouched. A null out only answers whether they meet.
UTILITY_EXPORT bool getIntersection(
    double a1, double b1, double c1, double a2, double b2, double c2, QPointF *out);
/// Intersection of the unbounded lines p1p2 and p3p4 (computed near the origin for
/// precision). Parallel or coincident lines give false and leave *out untouched. A null
/// out only answers whether they meet.
UTILITY_EXPORT bool getIntersection(QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out);
/// Distance from p to the line a*x + b*y + c = 0; the foot of the perpendicular goes to
/// *foot when foot is not null (and is left untouched if it cannot be computed). a = b = 0
/// is not guarded and gives an infinity or NaN.
UTILITY_EXPORT double getDistanceToLine(
    double a, double b, double c, const QPointF &p, QPointF *foot = nullptr);
/// Distance from p to the closed segment a-b; the nearest point of the segment goes to
/// *nearest when nearest is not null.
UTILITY_EXPORT double calcDistanceToLineSegment(
    const QPointF &a, const QPointF &b, const QPointF &p, QPointF *nearest = nullptr);
/// Intersection of the closed segments p1-p2 and p3-p4; a touching end point counts.
/// Parallel or collinear segments give false (even when they overlap). On success the
/// crossing goes to *out (when out is not null); on failure *out is untouched. An axis-
/// parallel segment is solved on its other axis alone, so a crossing with a horizontal or
/// vertical segment lies exactly on its constant coordinate.
UTILITY_EXPORT bool intersectLineSegments(
    QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out = nullptr);

// ---- Rectangles ----------------------------------------------------------------------

/// The point where the segment p1-p2 leaves the rectangle r toward p2, tested on the two
/// border edges that travel from p1 to p2 can leave through (the vertical one first);
/// (0, 0) when the segment does not cross those edges (both ends inside r, say).
UTILITY_EXPORT QPointF getIntersectPoint(const QRectF &r, const QPointF &p1, const QPointF &p2);
/// The points where the unbounded line through p1 and p2 meets the border of r: *out1 is
/// where it enters r travelling from p1 toward p2, *out2 where it leaves. A line that only
/// touches a corner gives that corner twice (exactly so for integral coordinates; with
/// fractional ones rounding decides whether a grazing line counts). False (outputs untouched) when
/// the line misses r or p1 == p2 defines no line. Either output may be null.
UTILITY_EXPORT bool intersectRectAndLine(
    const QRectF &r, const QPointF &p1, const QPointF &p2, QPointF *out1, QPointF *out2);

// ---- Triangles and fitting -----------------------------------------------------------

/// Identifies the triangle tri (exactly three points, else 0 and first/second untouched).
/// first and second tell which axis-aligned edges it has (horizontal first when there is
/// one, then vertical); the result is an ETriangleKind code computed on the turning angles
/// between successive edges (180 minus the interior angles), so a scalene triangle is
/// usually eTriangleGeneral.
UTILITY_EXPORT int identifyTriangle(
    const QPolygonF &tri, EAlignedEdge &first, EAlignedEdge &second);
/// Fits a rectangle with source's aspect ratio into bound. Without alwaysScale a source
/// that already fits keeps its size. The result sits at bound's top-left, or centred in
/// bound with centre. A source of zero width or height is not guarded (infinity/NaN).
UTILITY_EXPORT QRectF calcKeepAspectRect(
    const QRectF &bound, const QRectF &source, bool alwaysScale, bool centre);

} // namespace Util

#endif
