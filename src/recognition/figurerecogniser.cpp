#include <libutility/recognition/figurerecogniser.h>

#include <libutility/geometry/geometry.h>
#include <libutility/geometry/geometry_p.h>
#include <libutility/geometry/strokeutil.h>
#include <libutility/geometry/strokeutil_p.h>
#include <libutility/geometry/threadloan_p.h>
#include <libutility/logging/trace.h>

#include <libutility/recognition/openstroke.h>

#include "closedcurve_p.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace CFigureRecogniser {

const double THRESHOLD_ANGLE = 10.0;

const int cHANDWRITE_DATA = 0;
const int cCLOSED_CURVE = 101;
const int cPOLYGON = 102;
const int cLINE = 103;
const int cBENT_LINE = 114;
const int cTHREE_SEGMENT_LINE = 115;
const int cUNEQUAL_BEND_A = 203;
const int cUNEQUAL_BEND_B = 204;
const int cHORIZONTAL_LINE = 205;
const int cTWO_STROKE_FIGURE = 206;

namespace {

// Squared distances of coordinates beyond this overflow; such input is not ink.
constexpr double kMaxCoordinate = 1e150;

// Corner reduction tuning (see removeShortSegment in the header).
constexpr double kShortEdgeShare = 0.03; // an edge this short is noise
constexpr double kSplitEdgeShare = 0.1; // a corner cut in two by a rounded pen path...
constexpr double kSplitTurnDegrees = 100.0; // ...turns this much over its short edge,
constexpr double kSplitSharpDegrees = 75.0; // unless both ends are sharp (the end of a bar)
constexpr double kHookEdgeShare = 0.07; // and the edge is too long for a closing hook
constexpr double kFlatTurnDegrees = 20.0;
constexpr double kFlatHeightShare = 0.01;
constexpr double kWeakTurnDegrees = 45.0;
constexpr double kWeakTurnShare = 0.6;
constexpr double kExtraTurnDegrees = 30.0;

bool isUsableInput(const QVector<QVector<QPointF>> &strokes)
{
    if (strokes.isEmpty())
        return false;
    for (const QVector<QPointF> &stroke : strokes) {
        if (stroke.size() < 2)
            return false;
        // Every coordinate finite and within the bound. The bits of a magnitude (the sign
        // cleared) order as the magnitudes do, with infinity and then NaN above every
        // finite one; the test gathers them without a jump per point, so that the compiler
        // checks two coordinates at a time.
        const double *coordinates = reinterpret_cast<const double *>(stroke.constData());
        std::uint64_t bound;
        std::memcpy(&bound, &kMaxCoordinate, sizeof bound);
        std::uint64_t outside = 0;
        for (int i = 0; i < 2 * stroke.size(); ++i) {
            std::uint64_t bits;
            std::memcpy(&bits, coordinates + i, sizeof bits);
            outside |= (bound - (bits & 0x7fffffffffffffff)) >> 63; // 1 above the bound
        }
        if (outside)
            return false;
    }
    return true;
}

// Truncation toward zero that saturates instead of overflowing.
int truncatedDistance(double d)
{
    if (!(d < double(INT_MAX)))
        return d > 0 ? INT_MAX : 0;
    return int(d);
}

// Turn at corner i of a closed list (corners 0 .. n - 2, point n - 1 repeats point 0),
// in degrees: 0 for a straight continuation, 180 for a reversal.
double turnAt(const QVector<QPointF> &pts, int i)
{
    const int corners = pts.size() - 1;
    const QPointF &prev = pts[(i + corners - 1) % corners];
    const QPointF &next = pts[(i + 1) % corners];
    return 180.0f
        - calcAngle180(Util::getVectorDiff(prev, pts[i]), Util::getVectorDiff(next, pts[i]));
}

// Distance of corner i from the chord of its two neighbours.
double heightAt(const QVector<QPointF> &pts, int i)
{
    const int corners = pts.size() - 1;
    return Util::calcDistanceToLineSegment(
        pts[(i + corners - 1) % corners], pts[(i + 1) % corners], pts[i], nullptr);
}

// The first point of the stroke farthest from the chord of its ends, by whole units
// (0 when none is a unit away).
template <class ChordDistance> int farthestFromEnds(const QVector<QPointF> &stroke)
{
    int best = 0;
    int bestDistance = 0;
    if (stroke.size() > 2) {
        const ChordDistance chord(stroke.first(), stroke.last());
        for (int i = 1; i <= stroke.size() - 2; ++i) {
            const int d = truncatedDistance(chord(stroke[i]));
            if (d > bestDistance) {
                bestDistance = d;
                best = i;
            }
        }
    }
    return best;
}

// What classifyRecogCategory answers for a pair that the joining left as it was: its
// smoothing of the pair gives `twice` again, and its last test, checkOpenStroke on
// `twice`, has already said no (and left rect alone) before the joining. What remains is
// the bent corner drawn in two strokes.
int classifyUnjoinedPair(const QVector<QVector<QPointF>> &twice, QRectF &rect)
{
    int i = 0;
    int j = 0;
    if (checkConnectSpecialEdge(twice[0], twice[1], i, j) == 1
        && checkBranchStroke(twice[0], twice[1], i, j, rect) == cBENT_LINE)
        return cBENT_LINE;
    return cHANDWRITE_DATA;
}

bool isClosedList(const QVector<QPointF> &pts)
{
    return pts.size() >= 2 && pts.first() == pts.last();
}

// The recogniser's once- and twice-smoothed strokes, the calling thread's lent to one
// classification at a time (see ThreadLoan), so that scribble after scribble reuses their
// memory. A caller keeping the prepared strokes shares them with the thread's list; the
// next classification then writes into copies of its own, as Qt's lists do.
struct SmoothedLists
{
    QVector<QVector<QPointF>> once, twice;

    /// Lists grown past 65536 points are given back when the loan ends.
    bool isLarge() const { return points(once) + points(twice) > (1 << 16); }

    static int points(const QVector<QVector<QPointF>> &strokes)
    {
        int total = 0;
        for (const QVector<QPointF> &stroke : strokes)
            total += stroke.capacity();
        return total;
    }
};

// makeSmoothPoints into out's existing strokes, reusing their memory. Without tracing the
// two give the same lists; makeSmoothPoints itself runs while tracing.
void smoothEach(const QVector<QVector<QPointF>> &in, QVector<QVector<QPointF>> &out, double ratio)
{
    if (basic_logging::traceEnabled()) {
        makeSmoothPoints(in, out, ratio);
        return;
    }
    out.resize(in.size());
    int i = 0;
    // Two at a time, so that their thinning goes side by side.
    for (; i + 1 < in.size(); i += 2)
        Util::detail::getSmoothPointsOfTwo(in[i], in[i + 1], out[i], out[i + 1], ratio);
    if (i < in.size())
        Util::getSmoothPoints(in[i], out[i], ratio);
}

} // namespace

bool isHorizontal(double angle, double tol) { return -tol < angle && angle < tol; }

bool isVertical(double angle, double tol)
{
    const float right = 90.0f;
    return right - tol < angle && angle < right + tol;
}

bool areSidesAlmostSameLength(double a, double b)
{
    const double ratio = 0.8;
    return b > ratio * a && a > ratio * b;
}

QRectF getStrokeRectBound(const QVector<QPointF> &points)
{
    TRACE_FUNCTION("figurerecogniser", "getStrokeRectBound");
    const double big = 3.4028234663852886e38;
    double minX = big, minY = big, maxX = -big, maxY = -big;
    for (const QPointF &p : points) {
        if (p.x() < minX)
            minX = p.x();
        if (p.x() > maxX)
            maxX = p.x();
        if (p.y() < minY)
            minY = p.y();
        if (p.y() > maxY)
            maxY = p.y();
    }
    return TRACE_RETURN(QRectF(minX, minY, maxX - minX, maxY - minY));
}

void getAllSegmentRect(const QVector<QPointF> &points, QVector<QRectF> &out)
{
    TRACE_FUNCTION("figurerecogniser", "getAllSegmentRect");
    out.resize(std::max<int>(0, points.size() - 1));
    for (int i = 0; i + 1 < points.size(); ++i)
        out[i] = Util::detail::segmentBox(points[i], points[i + 1]);
    TRACE_EXIT();
}

void makeSmoothPoints(
    const QVector<QVector<QPointF>> &in, QVector<QVector<QPointF>> &out, double ratio)
{
    TRACE_FUNCTION("figurerecogniser", "makeSmoothPoints");
    if (basic_logging::traceEnabled())
        basic_logging::logstream<basic_logging::tracelevel>::instance()
            << "figurerecogniser" << '\t' << __LINE__ << '\t' << "ratio " << ratio
            << basic_logging::LoggerEndline;
    out.clear();
    out.reserve(in.size());
    for (const QVector<QPointF> &stroke : in) {
        QVector<QPointF> smooth;
        if (!stroke.isEmpty())
            Util::getSmoothPoints(stroke, smooth, ratio);
        out.append(smooth);
    }
    TRACE_EXIT();
}

int classifyScribble(const QVector<QVector<QPointF>> &strokes, QRectF &rect,
    QVector<QPointF> &result, int cornerLimit, bool normalize, QVector<QVector<QPointF>> *prepared)
{
    TRACE_FUNCTION("figurerecogniser", "classifyScribble");
    if (!isUsableInput(strokes))
        return TRACE_RETURN_SHOWING(cHANDWRITE_DATA);

    Util::detail::ThreadLoan<SmoothedLists> loan;
    QVector<QVector<QPointF>> &once = loan.space().once;
    smoothEach(strokes, once, 0.01);
    rect = getStrokeRectBound(once.first());
    // Only a scribble of two strokes uses the twice-smoothed strokes; the others skip
    // that work unless tracing, whose lines show every step.
    QVector<QVector<QPointF>> &twice = loan.space().twice;
    if (once.size() == 2 || basic_logging::traceEnabled())
        smoothEach(once, twice, 0.1);

    int code = cHANDWRITE_DATA;
    if (once.size() == 2)
        code = checkOpenStroke(twice[0], twice[1], rect);
    if (code == cHANDWRITE_DATA) {
        // The joining writes to a stroke only when it joins another to it, and then drops
        // that other: a pair that is still two strokes afterwards is as it was.
        const bool pair = once.size() == 2;
        if (!makeConnectedStroke(once))
            return TRACE_RETURN(cHANDWRITE_DATA);
        rect = getStrokeRectBound(once.first());
        QVector<QVector<QPointF>> figure;
        if (!basic_logging::traceEnabled() && pair && once.size() == 2)
            code = classifyUnjoinedPair(twice, rect);
        else
            code = classifyRecogCategory(once, rect, figure, cornerLimit, normalize);
        if (code == cPOLYGON) {
            result = figure.first();
            rect = getStrokeRectBound(result);
            if (!result.isEmpty())
                result.removeFirst();
        }
    }
    if (prepared)
        *prepared = once;
    return TRACE_RETURN_SHOWING(code);
}

int classifyRecogCategory(QVector<QVector<QPointF>> &strokes, QRectF &rect,
    QVector<QVector<QPointF>> &out, int cornerLimit, bool normalize)
{
    TRACE_FUNCTION("figurerecogniser", "classifyRecogCategory");
    if (strokes.size() == 1) {
        if (connect1Stroke(strokes[0]))
            return TRACE_RETURN(checkCloseFigure(strokes[0], out, cornerLimit, normalize));
        QVector<QPointF> open;
        if (!strokes[0].isEmpty())
            Util::getSmoothPoints(strokes[0], open, 0.1);
        return TRACE_RETURN(check1OpenStroke(open, rect));
    }
    if (strokes.size() == 2) {
        makeSmoothPoints(strokes, out, 0.1);
        int i = 0;
        int j = 0;
        if (checkConnectSpecialEdge(out[0], out[1], i, j) == 1
            && checkBranchStroke(out[0], out[1], i, j, rect) == cBENT_LINE)
            return TRACE_RETURN(cBENT_LINE);
        return TRACE_RETURN(checkOpenStroke(out[0], out[1], rect));
    }
    out = strokes;
    return TRACE_RETURN(cHANDWRITE_DATA);
}

bool connect1Stroke(QVector<QPointF> &stroke)
{
    TRACE_FUNCTION("figurerecogniser", "connect1Stroke");
    if (stroke.size() < 2)
        return TRACE_RETURN(false);
    const double length = Util::calcStrokeLength(stroke);
    const double gap = Util::getDistance(stroke.first(), stroke.last());
    if (0.1 * length > gap) {
        const QPointF mid((stroke.first().x() + stroke.last().x()) * 0.5,
            (stroke.first().y() + stroke.last().y()) * 0.5);
        stroke.first() = mid;
        stroke.last() = mid;
        return TRACE_RETURN(true);
    }
    return TRACE_RETURN(false);
}

int checkCloseFigure(
    QVector<QPointF> &stroke, QVector<QVector<QPointF>> &out, int cornerLimit, bool normalize)
{
    TRACE_FUNCTION("figurerecogniser", "checkCloseFigure");
    if (stroke.isEmpty()) {
        out.resize(1);
        out[0].clear();
        return TRACE_RETURN(cHANDWRITE_DATA);
    }
    const int best = basic_logging::traceEnabled()
        ? farthestFromEnds<Util::detail::TracedSegmentDistance>(stroke)
        : farthestFromEnds<Util::detail::SegmentDistance>(stroke);
    std::rotate(stroke.begin(), stroke.begin() + best, stroke.end());
    stroke.append(stroke.first());

    QVector<QPointF> reduced;
    Util::getSmoothPoints(stroke, reduced, 0.1);
    removeShortSegment(reduced);
    removeExtraPoint(reduced);

    out.resize(1);
    out[0] = reduced;
    return TRACE_RETURN(classifyCloseFigure(out[0], cornerLimit, normalize));
}

int classifyCloseFigure(QVector<QPointF> &polygon, int cornerLimit, bool normalize)
{
    TRACE_FUNCTION("figurerecogniser", "classifyCloseFigure");
    if (!checkVectorDirection(polygon))
        return TRACE_RETURN(cHANDWRITE_DATA);
    const int corners = polygon.size() - 1;
    // A self-crossing figure survives only as the five-pointed star drawn in one stroke.
    if (hasSelfIntersection(polygon) && corners != 5)
        return TRACE_RETURN(cHANDWRITE_DATA);
    if (corners > cornerLimit)
        return TRACE_RETURN(cCLOSED_CURVE);
    if (normalize) {
        switch (corners) {
        case 3:
            normalizeTriangle(polygon);
            break;
        case 4:
            normalizeQuadrangle(polygon);
            break;
        case 5:
            normalizePentagon(polygon);
            break;
        case 6:
            normalizeHexagon(polygon);
            break;
        default:
            break;
        }
    }
    return TRACE_RETURN(cPOLYGON);
}

bool checkVectorDirection(const QVector<QPointF> &polygon)
{
    TRACE_FUNCTION("figurerecogniser", "checkVectorDirection");
    if (polygon.size() < 3)
        return TRACE_RETURN(false);
    QVector<QPointF> edges;
    Util::differentiate(polygon, edges);
    const int sign = Util::vectorLeftOrRight(edges[0], edges[1]);
    if (sign == 0)
        return TRACE_RETURN(false);
    const int last = polygon.size() - 2;
    for (int i = 1; i < polygon.size() - 1; ++i) {
        const QPointF &next = (i == last) ? edges[0] : edges[i + 1];
        if (Util::vectorLeftOrRight(edges[i], next) * sign <= 0)
            return TRACE_RETURN(false);
    }
    return TRACE_RETURN(true);
}

bool hasSelfIntersection(const QVector<QPointF> &polygon)
{
    TRACE_FUNCTION("figurerecogniser", "hasSelfIntersection");
    const int points = polygon.size();
    if (points <= 2)
        return TRACE_RETURN(false);
    const int lastSegment = points - 2;
    for (int k = 0; k <= lastSegment; ++k) {
        for (int l = k + 2; l <= lastSegment; ++l) {
            if (k == 0 && l == lastSegment)
                continue;
            QPointF crossing;
            if (Util::intersectLineSegments(
                    polygon[k], polygon[k + 1], polygon[l], polygon[l + 1], &crossing))
                return TRACE_RETURN(true);
        }
    }
    return TRACE_RETURN(false);
}

void removeShortSegment(QVector<QPointF> &points)
{
    TRACE_FUNCTION("figurerecogniser", "removeShortSegment");
    if (points.size() < 5 || !isClosedList(points) || detail::keepClosedCurve(points)) {
        TRACE_EXIT();
        return;
    }
    QVector<double> lengths;
    QVector<double> turns;
    // Every pass erases one point, so the loop ends after at most size() passes.
    while (points.size() > 4) {
        const double perimeter = Util::calcStrokeLength(points, lengths);
        if (!(perimeter > 0.0))
            break;
        const int corners = points.size() - 1;
        // Each corner's turn, worked out once for the pass.
        turns.resize(corners);
        for (int i = 0; i < corners; ++i)
            turns[i] = turnAt(points, i);

        // The shortest edge that is short outright, or short and flanked by two turns
        // that together make one sharp corner (a rounded corner cut in two).
        int shortest = -1;
        for (int i = 0; i < lengths.size(); ++i) {
            const double share = lengths[i] / perimeter;
            const bool tiny = share < kShortEdgeShare;
            const double turnA = turns[i];
            const double turnB = turns[(i + 1) % corners];
            const bool splitCorner = share < kSplitEdgeShare && turnA + turnB >= kSplitTurnDegrees
                && (std::min(turnA, turnB) < kSplitSharpDegrees || share < kHookEdgeShare);
            if ((tiny || splitCorner) && (shortest < 0 || lengths[i] < lengths[shortest]))
                shortest = i;
        }
        if (shortest >= 0) {
            const int a = shortest;
            const int b = (shortest + 1) % corners;
            detail::eraseCorner(points, turns[a] <= turns[b] ? a : b);
            continue;
        }

        int weakest = 0;
        double weakestTurn = turns[0];
        for (int i = 1; i < corners; ++i) {
            if (turns[i] < weakestTurn) {
                weakestTurn = turns[i];
                weakest = i;
            }
        }
        double otherTurns = 0.0;
        for (int i = 0; i < corners; ++i)
            otherTurns += i == weakest ? 0.0 : turns[i];
        // In a figure of four or five corners a corner far weaker than the others is a
        // bent side, not a corner (a circle never gets here with so few points).
        const bool weakCorner = corners <= 5 && weakestTurn < kWeakTurnDegrees
            && weakestTurn < kWeakTurnShare * otherTurns / (corners - 1);
        if (weakestTurn < kFlatTurnDegrees || weakCorner) {
            detail::eraseCorner(points, weakest);
            continue;
        }
        int lowest = 0;
        double lowestHeight = heightAt(points, 0);
        for (int i = 1; i < corners; ++i) {
            const double h = heightAt(points, i);
            if (h < lowestHeight) {
                lowestHeight = h;
                lowest = i;
            }
        }
        if (lowestHeight < kFlatHeightShare * perimeter) {
            detail::eraseCorner(points, lowest);
            continue;
        }
        break;
    }
    TRACE_EXIT();
}

void removeExtraPoint(QVector<QPointF> &points)
{
    TRACE_FUNCTION("figurerecogniser", "removeExtraPoint");
    while ((points.size() == 6 || points.size() == 7) && isClosedList(points)) {
        const int corners = points.size() - 1;
        int victim = -1;
        double weakestTurn = kExtraTurnDegrees;
        for (int i = 0; i < corners; ++i) {
            const QPointF &prev = points[(i + corners - 1) % corners];
            const QPointF &next = points[(i + 1) % corners];
            const QPointF in = Util::getVectorDiff(points[i], prev);
            const QPointF outEdge = Util::getVectorDiff(next, points[i]);
            if (isHorizontal(calcAngle(in, outEdge), THRESHOLD_ANGLE)) {
                victim = i;
                break;
            }
            const double turn = turnAt(points, i);
            if (turn < weakestTurn) {
                weakestTurn = turn;
                victim = i;
            }
        }
        if (victim < 0)
            break;
        detail::eraseCorner(points, victim);
    }
    TRACE_EXIT();
}

double calcAngle(const QPointF &v1, const QPointF &v2)
{
    const double s1 = Util::getVectorSize(v1);
    const double s2 = Util::getVectorSize(v2);
    if (Util::isVirtuallyZero(s1) || Util::isVirtuallyZero(s2) || !std::isfinite(s1)
        || !std::isfinite(s2))
        return 0.0;
    double c = (v1.x() / s1) * (v2.x() / s2) + (v1.y() / s1) * (v2.y() / s2);
    c = std::max(-1.0, std::min(1.0, c));
    return Util::radToDeg(std::acos(c));
}

double calcAngle180(const QPointF &v1, const QPointF &v2)
{
    const double s1 = Util::getVectorSize(v1);
    const double s2 = Util::getVectorSize(v2);
    if (Util::isVirtuallyZero(s1) || Util::isVirtuallyZero(s2) || !std::isfinite(s1)
        || !std::isfinite(s2))
        return 180.0;
    double c = (v1.x() / s1) * (v2.x() / s2) + (v1.y() / s1) * (v2.y() / s2);
    c = std::max(-1.0, std::min(1.0, c));
    return Util::radToDeg(std::acos(c));
}

} // namespace CFigureRecogniser
