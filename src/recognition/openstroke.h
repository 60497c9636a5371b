/**
 * \file
 * Open-stroke analysis and stroke joining of the figure recogniser.
 *
 * These functions decide what an open (not closed) scribble is: a straight line, a bent
 * line, a three-legged line, a check mark, or a figure of two crossing lines; and they
 * join the strokes of a scribble drawn in several strokes into at most two.
 * classifyScribble() calls them; they are exported so that callers and tests can use
 * the pieces on their own.
 *
 * All functions are free and re-entrant. Strokes are point lists in drawing order,
 * y growing downwards. Whenever a test is in doubt the answer is handwriting (0): a
 * missed figure is much easier to forgive than handwriting turned into a shape.
 *
 * Joining rules (intersectConnect, nearConnect)
 * ---------------------------------------------
 * Two strokes belong to one figure when they meet at an end of each: either they cross
 * (or touch) close to an end of each, or an end of one lies close to an end of the
 * other.
 *
 *  - "Close to an end" for a crossing: the part of the stroke beyond the crossing (the
 *    tail that overshoots) is at most a quarter of that stroke's length.
 *  - "Close" for two ends that do not touch: the gap is at most 0.15 times the length of
 *    the shorter stroke. A stroke of (almost) no length, a dot, is never joined by a gap.
 *  - The joined stroke keeps the direction of the base stroke (the first argument): when
 *    the joint is at the base's end, the other stroke is appended, turned round if
 *    needed so that it runs away from the joint; when the joint is at the base's start,
 *    the other stroke is put in front, running into the joint. The overshooting tails
 *    are cut off at the crossing, which becomes the joint point; a gap joint keeps both
 *    end points, so the gap becomes one short segment.
 *  - When the other stroke also meets the base's far end (two halves of one closed
 *    figure), that second crossing cuts the tails there as well, so the joined stroke
 *    starts and ends on the same point.
 *
 * Segment pairs are pruned by their bounding boxes (getAllSegmentRect) before the exact
 * intersection test, so joining stays fast on long strokes.
 *
 * Categories of one open stroke (check1OpenStroke)
 * ------------------------------------------------
 *  - 3 points with the cosine of the corner strictly between 0.25 and 0.98 (legs at
 *    about 11 to 75 degrees): 114, a bent line (caret, v). When the longer leg is more
 *    than twice the shorter the corner is a check mark: 203 when the turn from the
 *    shorter leg to the longer one is counter-clockwise on the screen (the usual
 *    check mark, short stroke down to the right and long stroke up to the right,
 *    whichever way it was drawn), 204 for the mirrored mark. rect bounds the three
 *    points.
 *  - 4 points: 115 (a bracket, in any rotation) when the middle leg is more than twice as
 *    long as each outer leg, the pen turns by about 75 degrees or more at each corner
 *    (the cosine between consecutive drawing directions is below 0.25) and the two
 *    outer legs point to the same side of the middle leg (the cosine between them, both
 *    taken from the middle leg outwards, is above 0.25, which rejects a Z). rect runs
 *    from point 1 to point 2.
 *  - Otherwise, and for 2 or at least 5 points, the straight-line test: 205 for a
 *    horizontal line (either drawing direction), 103 for any other straight line, 0
 *    when the points stray from the chord by more than 0.15 times the stroke's length
 *    in sum. rect runs from the first point to the last (width and height may be
 *    negative).
 *  - A stroke of fewer than 2 points, of no length, or with coordinates that are not
 *    finite numbers is 0.
 *
 * Figures of two strokes
 * ----------------------
 *  - checkOpenStroke gives 206 for two straight strokes that cross or touch where at
 *    least one of them is crossed away from its ends (an X, a plus sign, a T), when the
 *    lines meet at 30 degrees or more and the shorter stroke is at least a quarter as
 *    long as the longer one. For the touch test both lines are lengthened at each end
 *    by a quarter of their length, so a T whose stem stops short of the bar counts.
 *    Two strokes that meet at an end of each (a corner) are not 206: the joining turns
 *    them into one stroke. rect bounds the end points of both strokes. Any other pair
 *    is 0.
 *  - checkConnectSpecialEdge looks for a corner drawn in two strokes whose ends were
 *    too far apart to be joined: it returns 1 when the nearest pair of ends, one of each
 *    stroke, is at most 0.3 times the shorter stroke's length apart, and sets the two
 *    end indexes (0 or the last index of each stroke). Otherwise 0, indexes untouched.
 *  - checkBranchStroke gives 114 when both strokes are straight lines and the two legs,
 *    from the meeting point (the midpoint of the two given ends) to the far ends, pass
 *    the bent-line cosine window above. rect bounds the three points. Otherwise 0.
 */
#ifndef LIBUTILITY_RECOGNITION_OPENSTROKE_H
#define LIBUTILITY_RECOGNITION_OPENSTROKE_H

#include <libutility/utility_export.h>

#include <QPointF>
#include <QRectF>
#include <QVector>

namespace CFigureRecogniser {

/**
 * Joins the strokes in place until at most two are left. Base stroke i runs from 0; each
 * later stroke j, from the last down to i + 1, is tried with intersectConnect (2 means
 * joined) and then nearConnect; a joined stroke leaves the list. Returns false, with the
 * strokes as far as they were joined, when more than two strokes cannot be joined.
 * \param strokes the strokes in drawing order, joined in place
 * \return true when at most two strokes are left
 */
UTILITY_EXPORT bool makeConnectedStroke(QVector<QVector<QPointF>> &strokes);

/**
 * Tests whether the two strokes cross (or touch). Returns 0 when they do not, 1 when they
 * cross but not close to an end of each (a branch or a crossing: nothing is changed),
 * 2 when they cross close to an end of each: base then becomes the joined stroke (see
 * the joining rules above); other is never changed.
 * \param base stroke whose direction the joined stroke keeps; replaced when 2 is returned
 * \param other stroke tested against base
 * \return 0, 1 or 2 as described above; 0 also for a stroke of fewer than two points or
 *     with a coordinate that is not finite
 */
UTILITY_EXPORT int intersectConnect(QVector<QPointF> &base, const QVector<QPointF> &other);

/**
 * Joins other to base when an end of one lies close to an end of the other (see the
 * joining rules above). Returns true when base became the joined stroke.
 * \param base stroke whose direction the joined stroke keeps; replaced when true is
 *     returned
 * \param other stroke joined to base
 * \return true when the strokes were joined
 */
UTILITY_EXPORT bool nearConnect(QVector<QPointF> &base, const QVector<QPointF> &other);

/**
 * Category of one open, smoothed stroke: 0, 103, 114, 115, 203, 204 or 205; sets rect
 * for every category but 0 (left untouched then).
 * \param stroke the smoothed points of the stroke
 * \param[out] rect receives the figure's rectangle, as listed above
 * \return the category
 */
UTILITY_EXPORT int check1OpenStroke(const QVector<QPointF> &stroke, QRectF &rect);

/**
 * Category of two strokes taken as a pair of lines: 206 or 0. Sets rect only for 206.
 * \param first the first stroke
 * \param second the second stroke
 * \param[out] rect receives the bounds of the four end points
 * \return 206 or 0
 */
UTILITY_EXPORT int checkOpenStroke(
    const QVector<QPointF> &first, const QVector<QPointF> &second, QRectF &rect);

/**
 * 114 when the two strokes are the two legs of a corner meeting at first[firstIndex]
 * and second[secondIndex]; otherwise 0. Sets rect only for 114. Indexes out of range
 * give 0.
 * \param first the first stroke
 * \param second the second stroke
 * \param firstIndex index of first's meeting end: 0 or its last index
 * \param secondIndex index of second's meeting end: 0 or its last index
 * \param[out] rect receives the bounds of the corner and the two far ends
 * \return 114 or 0
 */
UTILITY_EXPORT int checkBranchStroke(const QVector<QPointF> &first, const QVector<QPointF> &second,
    int firstIndex, int secondIndex, QRectF &rect);

/**
 * 1 when an end of first lies close to an end of second (a corner drawn in two strokes);
 * then firstIndex and secondIndex receive the indexes of those two end points. 0
 * otherwise, indexes untouched.
 * \param first the first stroke
 * \param second the second stroke
 * \param[out] firstIndex receives the index of first's end: 0 or its last index
 * \param[out] secondIndex receives the index of second's end: 0 or its last index
 * \return 1 or 0
 */
UTILITY_EXPORT int checkConnectSpecialEdge(const QVector<QPointF> &first,
    const QVector<QPointF> &second, int &firstIndex, int &secondIndex);

} // namespace CFigureRecogniser

#endif
