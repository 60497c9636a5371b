/**
 * \file
 * Stroke measurement, segmentation and smoothing.
 *
 * A stroke is a QVector<QPointF> in drawing order. The segmentation is a recursive
 * chord-deviation split: a piece whose interior strays too far from the chord between its
 * end points is cut at its farthest point (weighted by the bend direction), pass after
 * pass, until a pass splits nothing. The smoothing thins the raw samples by travelled
 * distance and keeps the end points of those pieces.
 *
 * All functions are re-entrant, and no result depends on an earlier call (a thread keeps
 * only the memory of its smoothing working space, up to 65,536 points, for its next
 * call). Empty and one-point strokes are accepted everywhere and give the defined results
 * stated below; NaN and infinite coordinates never crash or loop (a piece whose deviation
 * cannot be compared is simply not split).
 *
 * Every function writes entry and exit trace lines under the file name "strokeutil" while
 * the root level is "TRACE".
 *
 * Cost: thinning, noise filters and each splitting pass are linear in the number of
 * points; the division repeats passes until nothing splits (about log n passes for
 * balanced splits, n at worst).
 */
#ifndef LIBUTILITY_GEOMETRY_STROKEUTIL_H
#define LIBUTILITY_GEOMETRY_STROKEUTIL_H

#include <libutility/utility_export.h>

#include <QPointF>
#include <QVector>

/// One piece of a stroke: the indexes of its first and last point (the next piece starts
/// at this piece's end) and whether it may still be split. Pieces are kept in stroke
/// order and cover the stroke without gaps.
struct SegmentIndex
{
    /// Index of the piece's first point.
    int start;
    /// Index of the piece's last point (the next piece's first).
    int end;
    /// True while the piece may still be split.
    bool divisible;
};
Q_DECLARE_TYPEINFO(SegmentIndex, Q_PRIMITIVE_TYPE);

namespace Util {

/// lengths[i] = distance of points[i] and points[i + 1]; n - 1 entries, none for fewer
/// than two points. lengths is replaced.
/// \param points the stroke
/// \param[out] lengths receives the step lengths
UTILITY_EXPORT void calcAdjacentLength(const QVector<QPointF> &points, QVector<double> &lengths);
/// Fills lengths as calcAdjacentLength and returns their sum (0.0 when there are none).
/// \param points the stroke
/// \param[out] lengths receives the step lengths, as calcAdjacentLength
/// \return the sum of the step lengths
UTILITY_EXPORT double calcStrokeLength(const QVector<QPointF> &points, QVector<double> &lengths);
/// Arc length of the stroke.
/// \param points the stroke
/// \return the sum of the step lengths, 0.0 for fewer than two points
UTILITY_EXPORT double calcStrokeLength(const QVector<QPointF> &points);

/// The smoothing pipeline: thins the stroke to points more than 3.0 units of travel apart
/// (keeping both ends, and the far point of a closed stroke), filters zigzag noise and
/// divides the rest with divideStrokeToSegments(ratio). out is replaced by the first point
/// followed by the end point of every piece. An empty stroke gives an empty out.
/// \param points the raw stroke
/// \param[out] out receives the smoothed points
/// \param ratio largest deviation from a piece's chord, as a fraction of the chord's length
UTILITY_EXPORT void getSmoothPoints(
    const QVector<QPointF> &points, QVector<QPointF> &out, double ratio);
/// Mean of points[from .. to], both included. A negative from is raised to 0; a negative
/// to means the last point; a to beyond the last point is lowered to it. (0, 0) when the
/// run is empty after that (to < from, or no points).
/// \param points the stroke
/// \param from index of the first point averaged
/// \param to index of the last point averaged; negative for the last point of the stroke
/// \return the mean of the run, or (0, 0) for an empty run
UTILITY_EXPORT QPointF getAveragePoint(const QVector<QPointF> &points, int from, int to);

} // namespace Util

/// Divides the stroke into nearly straight pieces; segments is replaced. A piece is split
/// at its farthest interior point while that distance exceeds chord length * ratio. A
/// stroke of fewer than two points gives the single piece {0, n - 1} (so {0, -1} for an
/// empty stroke). The split is bounded: every split makes both halves shorter.
/// \param points the stroke
/// \param[out] segments receives the pieces in stroke order
/// \param ratio largest deviation from a piece's chord, as a fraction of the chord's length
UTILITY_EXPORT void divideStrokeToSegments(
    const QVector<QPointF> &points, QVector<SegmentIndex> &segments, double ratio);
/// One splitting pass over segments, from the last piece to the first; pieces created in
/// the pass are examined only in the next one. lengths are the step lengths of the stroke
/// (calcAdjacentLength) and totalLength their sum. Pieces whose indexes do not fit the
/// stroke are left as they are.
/// \param points the stroke
/// \param lengths step lengths of the stroke
/// \param[in,out] segments the pieces so far; split pieces are replaced by their halves and
///     pieces that did not split are marked not divisible
/// \param totalLength sum of lengths
/// \param ratio largest deviation from a piece's chord, as a fraction of the chord's length
UTILITY_EXPORT void divideRuggedSegment(const QVector<QPointF> &points,
    const QVector<double> &lengths, QVector<SegmentIndex> &segments, double totalLength,
    double ratio);
/// Largest distance of the points strictly between first and last from the segment
/// points[first]-points[last]; -1.0 when there is no point between them (or the indexes
/// do not fit the stroke).
/// \param points the stroke
/// \param first index of the segment's first point
/// \param last index of the segment's last point
/// \return the largest distance, or -1.0
UTILITY_EXPORT double getDistanceToDividePoint(const QVector<QPointF> &points, int first, int last);

/// Thinning by travelled distance: out is replaced by the points at which the travel since
/// the last kept point exceeds minTravel (strictly), plus always the first and last point
/// and, for a stroke whose ends are closer than minTravel, the point farthest from its
/// start. Empty input gives empty output.
/// \param points the stroke
/// \param[out] out receives the kept points
/// \param minTravel distance that must be travelled before a point is kept
UTILITY_EXPORT void copyMovingPoints(
    const QVector<QPointF> &points, QVector<QPointF> &out, double minTravel);
/// Zigzag filter, in place. Its middle turn test compares a step with itself and is always
/// 0 for finite coordinates, so every finite stroke is left unchanged; kept that way on
/// purpose (only coordinates that make a cross product NaN can remove a point).
/// \param[in,out] points the stroke, filtered in place
UTILITY_EXPORT void removeNoise(QVector<QPointF> &points);
/// Collapses three-step loops, in place: walking back from the end, where the step
/// points[i]->points[i-1] crosses points[i-2]->points[i-3] (end points included),
/// points[i-1] becomes the crossing and points[i-2] is dropped. Fewer than four points are
/// left unchanged.
/// \param[in,out] points the stroke, changed in place
UTILITY_EXPORT void removeCrossNoise(QVector<QPointF> &points);

#endif
