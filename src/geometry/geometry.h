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
/// \param x value to test
/// \return true when x is within 1e-9 of zero
UTILITY_EXPORT bool isVirtuallyZero(double x);

/// Relative comparison anchored on the first argument only: the scale is |a| when
/// |a| >= 0.01, else 1.0, and the result is |a - b| <= (tol + 2^-52) * scale. The
/// asymmetry is deliberate: isEqual(a, b, t) and isEqual(b, a, t) may differ. NaN in
/// any argument gives false.
/// \param a reference value, which also sets the scale
/// \param b value compared with a
/// \param tol relative tolerance (absolute when |a| < 0.01); 0 allows only rounding error
/// \return true when b lies within the tolerance of a
UTILITY_EXPORT bool isEqual(double a, double b, double tol);

// ---- Vector arithmetic ---------------------------------------------------------------

/// v1.x * v2.x + v1.y * v2.y.
/// \param v1 first vector
/// \param v2 second vector
/// \return the dot product
UTILITY_EXPORT double getInnerProduct(const QPointF &v1, const QPointF &v2);
/// Euclidean length of v.
/// \param v vector
/// \return its length, never negative
UTILITY_EXPORT double getVectorSize(const QPointF &v);
/// Length of an integer vector: the squares are summed in 32-bit int arithmetic (wrapping
/// on overflow, so components beyond about 32767 give a meaningless result) and the sum
/// converted to double before the root.
/// \param v integer vector
/// \return its length
UTILITY_EXPORT double getVectorSize(const QPoint &v);
/// a - b, component-wise.
/// \param a minuend
/// \param b subtrahend
/// \return the vector from b to a
UTILITY_EXPORT QPointF getVectorDiff(const QPointF &a, const QPointF &b);
/// Distance between two points.
/// \param a first point
/// \param b second point
/// \return the Euclidean distance, never negative
UTILITY_EXPORT double getDistance(const QPointF &a, const QPointF &b);
/// getDistance(a, b) + 0.5 truncated toward zero (round half up). A NaN distance gives 0
/// and a distance too large for int gives INT_MAX.
/// \param a first point
/// \param b second point
/// \return the distance rounded to the nearest int
UTILITY_EXPORT int getIntDistance(const QPointF &a, const QPointF &b);
/// Degrees to radians and back.
/// \param degrees angle in degrees (any value, not reduced)
/// \return the angle in radians
UTILITY_EXPORT double degToRad(double degrees);
/// Radians to degrees.
/// \param radians angle in radians (any value, not reduced)
/// \return the angle in degrees
UTILITY_EXPORT double radToDeg(double radians);
/// True when p lies in r or on its border: all four bounds inclusive.
/// \param r rectangle; a negative width or height makes it contain nothing
/// \param p point to test
/// \return true when p is inside r or on its border
UTILITY_EXPORT bool pointInRect(const QRectF &r, const QPointF &p);
/// out[i] = pts[i + 1] - pts[i]; out gets n - 1 entries, none for fewer than 2 points.
/// \param pts points of a polyline
/// \param[out] out receives the differences; its previous content is replaced
UTILITY_EXPORT void differentiate(const QVector<QPointF> &pts, QVector<QPointF> &out);
/// Coefficients of the line through p1 and p2: a = p2.y - p1.y, b = p1.x - p2.x,
/// c = p2.x * p1.y - p1.x * p2.y. Two equal points give a = b = c = 0.
/// \param p1 first point of the line
/// \param p2 second point of the line
/// \param[out] a receives the x coefficient
/// \param[out] b receives the y coefficient
/// \param[out] c receives the constant term
UTILITY_EXPORT void getLineCoefficient(
    const QPointF &p1, const QPointF &p2, double &a, double &b, double &c);

// ---- Angles and orientation ----------------------------------------------------------

/// Cosine of the angle between v1 and v2. A null vector (both components virtually zero)
/// on either side gives 1.0. The quotient is not clamped to [-1, 1].
/// \param v1 first vector
/// \param v2 second vector
/// \return the cosine, or 1.0 when either vector is null
UTILITY_EXPORT double getCos(const QPointF &v1, const QPointF &v2);
/// Sign of the cross product v1 x v2: 0 when virtually zero, 1 when positive (v2 turns
/// clockwise on the screen from v1), -1 when negative or NaN.
/// \param v1 reference vector
/// \param v2 vector compared with v1
/// \return 1, 0 or -1 as described above
UTILITY_EXPORT int vectorLeftOrRight(const QPointF &v1, const QPointF &v2);
/// Sign of the inner product: 0 perpendicular, 1 same general direction, -1 opposite or
/// NaN.
/// \param v1 reference vector
/// \param v2 vector compared with v1
/// \return 1, 0 or -1 as described above
UTILITY_EXPORT int vectorFrontOrBack(const QPointF &v1, const QPointF &v2);

// ---- Lines and segments --------------------------------------------------------------

/// Intersection of two lines in coefficient form. Virtually parallel lines (|det| < 1e-9)
/// give false and leave *out untouched. A null out only answers whether they meet.
/// \param a1 x coefficient of the first line
/// \param b1 y coefficient of the first line
/// \param c1 constant term of the first line
/// \param a2 x coefficient of the second line
/// \param b2 y coefficient of the second line
/// \param c2 constant term of the second line
/// \param[out] out receives the crossing point; may be null
/// \return true when the lines meet in one point
UTILITY_EXPORT bool getIntersection(
    double a1, double b1, double c1, double a2, double b2, double c2, QPointF *out);
/// Intersection of the unbounded lines p1p2 and p3p4 (computed near the origin for
/// precision). Parallel or coincident lines give false and leave *out untouched. A null
/// out only answers whether they meet.
/// \param p1 first point of the first line
/// \param p2 second point of the first line
/// \param p3 first point of the second line
/// \param p4 second point of the second line
/// \param[out] out receives the crossing point; may be null
/// \return true when the lines meet in one point
UTILITY_EXPORT bool getIntersection(QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out);
/// Distance from p to the line a*x + b*y + c = 0; the foot of the perpendicular goes to
/// *foot when foot is not null (and is left untouched if it cannot be computed). a = b = 0
/// is not guarded and gives an infinity or NaN.
/// \param a x coefficient of the line
/// \param b y coefficient of the line
/// \param c constant term of the line
/// \param p point whose distance is measured
/// \param[out] foot receives the foot of the perpendicular; may be null
/// \return the perpendicular distance, never negative for a valid line
UTILITY_EXPORT double getDistanceToLine(
    double a, double b, double c, const QPointF &p, QPointF *foot = nullptr);
/// Distance from p to the closed segment a-b; the nearest point of the segment goes to
/// *nearest when nearest is not null.
/// \param a first end of the segment
/// \param b second end of the segment
/// \param p point whose distance is measured
/// \param[out] nearest receives the point of the segment nearest to p (a or b when the
///     perpendicular falls outside the segment); may be null
/// \return the distance from p to the nearest point of the segment
UTILITY_EXPORT double calcDistanceToLineSegment(
    const QPointF &a, const QPointF &b, const QPointF &p, QPointF *nearest = nullptr);
/// Intersection of the closed segments p1-p2 and p3-p4; a touching end point counts.
/// Parallel or collinear segments give false (even when they overlap). On success the
/// crossing goes to *out (when out is not null); on failure *out is untouched. An axis-
/// parallel segment is solved on its other axis alone, so a crossing with a horizontal or
/// vertical segment lies exactly on its constant coordinate.
/// \param p1 first end of the first segment
/// \param p2 second end of the first segment
/// \param p3 first end of the second segment
/// \param p4 second end of the second segment
/// \param[out] out receives the crossing point; may be null
/// \return true when the segments cross or touch in one point
UTILITY_EXPORT bool intersectLineSegments(
    QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out = nullptr);

// ---- Rectangles ----------------------------------------------------------------------

/// The point where the segment p1-p2 leaves the rectangle r toward p2, tested on the two
/// border edges that travel from p1 to p2 can leave through (the vertical one first);
/// (0, 0) when the segment does not cross those edges (both ends inside r, say).
/// \param r rectangle whose border is tested
/// \param p1 start of the segment
/// \param p2 end of the segment, which sets the direction of travel
/// \return the exit point, or (0, 0) when there is none
UTILITY_EXPORT QPointF getIntersectPoint(const QRectF &r, const QPointF &p1, const QPointF &p2);
/// The points where the unbounded line through p1 and p2 meets the border of r: *out1 is
/// where it enters r travelling from p1 toward p2, *out2 where it leaves. A line that only
/// touches a corner gives that corner twice (exactly so for integral coordinates; with
/// fractional ones rounding decides whether a grazing line counts). False (outputs untouched) when
/// the line misses r or p1 == p2 defines no line. Either output may be null.
/// \param r rectangle
/// \param p1 first point of the line; sets the direction with p2
/// \param p2 second point of the line
/// \param[out] out1 receives the entry point; may be null
/// \param[out] out2 receives the exit point; may be null
/// \return true when the line meets r
UTILITY_EXPORT bool intersectRectAndLine(
    const QRectF &r, const QPointF &p1, const QPointF &p2, QPointF *out1, QPointF *out2);

// ---- Triangles and fitting -----------------------------------------------------------

/// Identifies the triangle tri (exactly three points, else 0 and first/second untouched).
/// first and second tell which axis-aligned edges it has (horizontal first when there is
/// one, then vertical); the result is an ETriangleKind code computed on the turning angles
/// between successive edges (180 minus the interior angles), so a scalene triangle is
/// usually eTriangleGeneral.
/// \param tri the triangle's vertices
/// \param[out] first receives the first aligned edge, eNoEdge when there is none
/// \param[out] second receives the second aligned edge, eNoEdge when there is none
/// \return an ETriangleKind code, eTriangleNone when tri does not have three points
UTILITY_EXPORT int identifyTriangle(
    const QPolygonF &tri, EAlignedEdge &first, EAlignedEdge &second);
/// Fits a rectangle with source's aspect ratio into bound. Without alwaysScale a source
/// that already fits keeps its size. The result sits at bound's top-left, or centred in
/// bound with centre. A source of zero width or height is not guarded (infinity/NaN).
/// \param bound rectangle to fit into
/// \param source rectangle whose aspect ratio (and, if it fits, size) is kept
/// \param alwaysScale scale source up to bound even when it already fits
/// \param centre centre the result in bound instead of placing it at bound's top-left
/// \return the fitted rectangle
UTILITY_EXPORT QRectF calcKeepAspectRect(
    const QRectF &bound, const QRectF &source, bool alwaysScale, bool centre);

} // namespace Util

#endif
