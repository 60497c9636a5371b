/**
 * \file
 * The figure recogniser: classifies a hand-drawn scribble as handwriting, a closed
 * curve, a polygon or one of a few line figures.
 *
 * Entry point: CFigureRecogniser::classifyScribble. Everything here is a free,
 * re-entrant function of the namespace CFigureRecogniser; no result is cached between
 * calls (a thread keeps only the memory of its working lists, up to 65,536 points, for
 * its next call) and the caller's strokes are never changed (all work happens on copies).
 * The joining of two strokes keeps their segment boxes and the joined stroke on the
 * thread's stack while they are of usual length (a frame of about 20 KB); longer ones go
 * to the heap.
 *
 * Coordinates are doubles, y growing downwards. A closed polygon is a point list whose
 * first point is repeated at its end (n corners, n + 1 points). Rejection anywhere is
 * category 0 (cHANDWRITE_DATA), never an error.
 *
 * Bad input: an empty scribble, empty strokes, strokes of one point, NaN or infinite
 * coordinates all give cHANDWRITE_DATA; result and prepared are then left untouched.
 * Huge finite coordinates are classified like any others.
 *
 * The open-stroke analysis and the joining of strokes live in openstroke.h.
 */
#ifndef LIBUTILITY_RECOGNITION_FIGURERECOGNISER_H
#define LIBUTILITY_RECOGNITION_FIGURERECOGNISER_H

#include <libutility/utility_export.h>
#include <libutility/recognition/ellipsefit.h>

#include <QPointF>
#include <QRectF>
#include <QVector>

namespace CFigureRecogniser {

/// Angle tolerance of the line tests, in degrees (10.0).
extern UTILITY_EXPORT const double THRESHOLD_ANGLE;

/// @name Figure categories returned by classifyScribble
/** @{ */
/// Not a figure: the ink stays handwriting (0).
extern UTILITY_EXPORT const int cHANDWRITE_DATA;
/// A closed figure with more corners than the corner limit (101).
extern UTILITY_EXPORT const int cCLOSED_CURVE;
/// A convex closed polygon of 3 up to the corner limit corners (102).
extern UTILITY_EXPORT const int cPOLYGON;
/// One straight open stroke that is not horizontal (103).
extern UTILITY_EXPORT const int cLINE;
/// Two legs meeting at a corner (114).
extern UTILITY_EXPORT const int cBENT_LINE;
/// An open stroke of three legs (115).
extern UTILITY_EXPORT const int cTHREE_SEGMENT_LINE;
/// A bend whose longer leg is more than twice the shorter, first orientation (203).
extern UTILITY_EXPORT const int cUNEQUAL_BEND_A;
/// As cUNEQUAL_BEND_A, mirrored (204).
extern UTILITY_EXPORT const int cUNEQUAL_BEND_B;
/// One straight open stroke within THRESHOLD_ANGLE of horizontal (205).
extern UTILITY_EXPORT const int cHORIZONTAL_LINE;
/// Two straight strokes forming one figure (206).
extern UTILITY_EXPORT const int cTWO_STROKE_FIGURE;
/** @} */

/// @name Direction and side-length predicates
/** @{ */
/// True when -tol < angle < tol (degrees, both strict). An angle near 180 is not horizontal.
/// @param angle direction in degrees
/// @param tol   tolerance in degrees
/// @return true when angle lies strictly within tol of 0
UTILITY_EXPORT bool isHorizontal(double angle, double tol);
/// True when 90 - tol < angle < 90 + tol (degrees, both strict).
/// @param angle direction in degrees
/// @param tol   tolerance in degrees
/// @return true when angle lies strictly within tol of 90
UTILITY_EXPORT bool isVertical(double angle, double tol);
/// True when b > 0.8 a and a > 0.8 b (strict; symmetric; false for two zeros).
/// @param a first length
/// @param b second length
/// @return true when each length is more than 0.8 times the other
UTILITY_EXPORT bool areSidesAlmostSameLength(double a, double b);
/** @} */

/// @name Recognition entry
/** @{ */
/**
 * Classifies one scribble.
 *
 * @param strokes     the strokes in drawing order; never changed.
 * @param rect        out: the figure's bounding rectangle (for line figures the
 *                    rectangle the line tests set; width and height may be negative).
 * @param result      out: written only for cPOLYGON, the corners each once, in order.
 * @param cornerLimit the largest corner count that still makes a polygon; a closed
 *                    figure with more corners is cCLOSED_CURVE.
 * @param normalize   snap a recognised polygon to the regular form it is close to.
 * @param prepared    optional out: the smoothed and joined strokes.
 * @return one of the category constants above.
 *
 * An empty scribble, an empty or one-point stroke, or a non-finite coordinate gives
 * cHANDWRITE_DATA with result and prepared untouched.
 */
UTILITY_EXPORT int classifyScribble(const QVector<QVector<QPointF>> &strokes, QRectF &rect,
    QVector<QPointF> &result, int cornerLimit, bool normalize,
    QVector<QVector<QPointF>> *prepared = nullptr);

/// Dispatches on the number of prepared strokes: one goes the closed-figure or the
/// open-line way, two the branch or two-line way; any other count gives 0 with out a
/// copy of strokes.
/// @param strokes     the joined strokes; a single stroke whose ends are close has them
///                    joined in place (connect1Stroke).
/// @param rect        out: set by the line tests for a line figure, else left as it is.
/// @param out         out: the polygon (closed, one stroke) for a closed figure, the
///                    re-smoothed pair for two strokes, a copy of strokes for any other
///                    count; untouched for one open stroke.
/// @param cornerLimit the largest corner count that still makes a polygon.
/// @param normalize   snap a recognised polygon to the regular form it is close to.
/// @return one of the category constants above.
UTILITY_EXPORT int classifyRecogCategory(QVector<QVector<QPointF>> &strokes, QRectF &rect,
    QVector<QVector<QPointF>> &out, int cornerLimit, bool normalize);

/// Smooths each stroke with Util::getSmoothPoints and the given factor; out has exactly
/// as many strokes as in (an empty stroke stays empty).
/// @param in    the strokes to smooth.
/// @param out   out: replaced by the smoothed strokes, in the same order.
/// @param ratio largest deviation from a piece's chord, as a fraction of the chord's length.
UTILITY_EXPORT void makeSmoothPoints(
    const QVector<QVector<QPointF>> &in, QVector<QVector<QPointF>> &out, double ratio);

/// Bounding rectangle of the points. Empty input gives x = y = FLT_MAX and
/// width = height = -2 FLT_MAX.
/// @param points the points of one stroke.
/// @return the smallest rectangle holding every point.
UTILITY_EXPORT QRectF getStrokeRectBound(const QVector<QPointF> &points);

/// out[i] is the axis-parallel bounding box of the segment from point i to point i + 1
/// (n - 1 entries; none for fewer than two points).
/// @param points the points of one stroke.
/// @param out    out: replaced by the segments' bounding boxes.
UTILITY_EXPORT void getAllSegmentRect(const QVector<QPointF> &points, QVector<QRectF> &out);
/** @} */

/// @name Closed figures
/** @{ */
/// True when the stroke's ends lie closer than a tenth of its length (strict); its first
/// and last point are then both replaced by their midpoint.
/// @param stroke the stroke; its end points change only when true is returned.
/// @return true when the stroke is taken as closed.
UTILITY_EXPORT bool connect1Stroke(QVector<QPointF> &stroke);

/// Reduces a closed stroke to its corners, puts the polygon into out (its only stroke,
/// also when the figure is then rejected) and classifies it with classifyCloseFigure.
/// @param stroke      the closed stroke; rotated in place to start at the point farthest
///                    from the chord of its ends, and closed by repeating that point.
/// @param out         out: resized to one stroke, the reduced polygon (empty for an empty
///                    stroke).
/// @param cornerLimit the largest corner count that still makes a polygon.
/// @param normalize   snap a recognised polygon to the regular form it is close to.
/// @return cPOLYGON, cCLOSED_CURVE or cHANDWRITE_DATA.
UTILITY_EXPORT int checkCloseFigure(
    QVector<QPointF> &stroke, QVector<QVector<QPointF>> &out, int cornerLimit, bool normalize);

/// cPOLYGON for a convex polygon (or a five-corner star) of at most cornerLimit corners,
/// normalised in place when asked; cCLOSED_CURVE above the limit; 0 otherwise.
/// @param polygon     the closed corner list (first point repeated at the end).
/// @param cornerLimit the largest corner count that still makes a polygon.
/// @param normalize   snap the polygon in place to the regular form it is close to.
/// @return cPOLYGON, cCLOSED_CURVE or cHANDWRITE_DATA.
UTILITY_EXPORT int classifyCloseFigure(QVector<QPointF> &polygon, int cornerLimit, bool normalize);

/// True when every turn of the closed polygon, the closing one included, has the same
/// non-zero sign. False for fewer than three points.
/// @param polygon the closed corner list (first point repeated at the end).
/// @return true when the polygon turns the same way at every corner.
UTILITY_EXPORT bool checkVectorDirection(const QVector<QPointF> &polygon);

/// True when two segments of the point list that share no point intersect.
/// @param polygon the point list; the first and last segment may meet without counting.
/// @return true when two segments that are not neighbours cross or touch.
UTILITY_EXPORT bool hasSelfIntersection(const QVector<QPointF> &polygon);

/**
 * Corner reduction, first step. It first tells a curve from a polygon with rounded
 * corners: a polygon concentrates its turning at a few corners with long straight runs
 * between them, a curve spreads it along the stroke. ("Turn" is the change of direction
 * at a corner, 0 for a straight continuation; P is the perimeter.)
 *
 * Curve test, before anything is erased, on a closed list of at least 8 points:
 *  - pen noise goes first, worst first, at most a third of the corners: a corner that
 *    turns against the figure's sense or by less than 1 degree (a wobble), or by more
 *    than 110 degrees (a hook or a spike where the pen closed the figure; the smoothing
 *    before this step leaves a curve no sharper turn than about 90 degrees; more than
 *    two such turns are the points of a star, not a curve);
 *  - what is left must have at least 7 corners, all turning one way, adding up to a full
 *    turn (360 +- 20 degrees);
 *  - and no few corners may carry the turning: it is a polygon when the four largest
 *    turns make 80% of it or more, or when, with corners joined by edges shorter than
 *    0.04 P and than half the mean edge grouped (a rounded corner cut into pieces), some
 *    k of 3 to 6 groups each turn at least half as much as the largest group while the
 *    next group turns at most half as much as the k-th.
 * A curve keeps its cleaned points and nothing more is erased: with 7 corners or more it
 * is a closed curve under the usual corner limit of 6, and removeExtraPoint leaves lists
 * of 8 points or more alone. Everything else is cut down to its corners.
 *
 * Corner rules, for what is not a curve, applied one erasure at a time, in this order,
 * until none applies or only a triangle is left:
 *  1. short edge: the shortest edge that is under 0.03 P, or under 0.1 P with turns
 *     adding up to 100 degrees or more at its two ends (a rounded corner cut in two,
 *     or a hook where the pen closed the figure), is collapsed by erasing the end point
 *     with the smaller turn; an edge of 0.07 P or more between two turns of 75 degrees
 *     or more each is the end of a bar (the foot of an L) and stays;
 *  2. flat corner: the corner of the smallest turn is erased when it turns by less than
 *     20 degrees, or, in a figure of four or five corners, when it turns by less than
 *     45 degrees and less than 0.6 times the mean turn of the other corners (a bent side
 *     of a triangle or a quadrangle);
 *  3. low corner: the corner closest to the chord of its neighbours is erased when it
 *     lies less than 0.01 P off it.
 * When the start point goes,
 * the list is rotated and its new first point appended again, so the list stays closed.
 * Lists of fewer than five points and open lists are left unchanged. Each pass erases
 * one point, so the work is bounded by the number of points.
 * @param points the closed corner list, reduced in place.
 */
UTILITY_EXPORT void removeShortSegment(QVector<QPointF> &points);

/**
 * Corner reduction, second step; acts only on closed lists of exactly 6 or 7 points.
 * Erases, one at a time, a point whose adjacent edges are within THRESHOLD_ANGLE of
 * parallel (calcAngle tested with isHorizontal), and also a point whose turn
 * (180 - calcAngle180 of the two edges seen from the point) is below 30 degrees; the
 * closing point is handled by erasing the first and last entries and appending the
 * new first point again.
 * @param points the closed corner list, reduced in place.
 */
UTILITY_EXPORT void removeExtraPoint(QVector<QPointF> &points);

/// Angle between two vectors in degrees, in [0, 180]; 0 when either vector is null.
/// @param v1 first vector.
/// @param v2 second vector.
/// @return the angle in degrees.
UTILITY_EXPORT double calcAngle(const QPointF &v1, const QPointF &v2);
/// Unsigned angle between two vectors in degrees, in [0, 180]; 180 when either is null.
/// @param v1 first vector.
/// @param v2 second vector.
/// @return the angle in degrees.
UTILITY_EXPORT double calcAngle180(const QPointF &v1, const QPointF &v2);
/** @} */

/// @name Shape normalisers
/// Each takes a closed corner list (n + 1 points) and snaps it in place to the most
/// specific regular form it is close to, keeping the corner count, the drawing order
/// and the closing point. A shape close to no form stays as drawn; any other list is
/// left unchanged. The tolerances are THRESHOLD_ANGLE for directions and angles and
/// areSidesAlmostSameLength for lengths.
/** @{ */
/// Right triangle with axis-parallel legs, isosceles triangle with an axis-parallel
/// base, equilateral triangle with an axis-parallel side; right and isosceles may both
/// hold. Tried equilateral, then right, then isosceles. Only a right triangle with a leg
/// near an axis snaps to a right triangle; its legs are made equal only when they are
/// within 10% of each other.
/// @param points the closed corner list, changed in place.
UTILITY_EXPORT void normalizeTriangle(QVector<QPointF> &points);
/// Square, rectangle (axis-parallel when nearly so), rhombus, parallelogram, kite,
/// trapezium; the first that fits wins in that order.
/// @param points the closed corner list, changed in place.
UTILITY_EXPORT void normalizeQuadrangle(QVector<QPointF> &points);
/// Regular pentagon about the corners' centroid, when all sides are nearly equal and
/// all turns within THRESHOLD_ANGLE of 72 degrees (or, for a one-stroke star, of 144).
/// @param points the closed corner list, changed in place.
UTILITY_EXPORT void normalizePentagon(QVector<QPointF> &points);
/// Regular hexagon about the corners' centroid, when all sides are nearly equal and all
/// turns within THRESHOLD_ANGLE of 60 degrees.
/// @param points the closed corner list, changed in place.
UTILITY_EXPORT void normalizeHexagon(QVector<QPointF> &points);
/** @} */

} // namespace CFigureRecogniser

#endif
