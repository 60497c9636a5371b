// Open-stroke analysis and stroke joining; the rules are written down in openstroke.h.
#include <libutility/recognition/openstroke.h>

#include <libutility/geometry/geometry.h>
#include <libutility/geometry/geometry_p.h>
#include <libutility/geometry/strokeutil.h>
#include <libutility/logging/trace.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QLineF>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace CFigureRecogniser {

namespace {

// A crossing may leave at most this share of a stroke's length as an overshooting tail
// for the crossing to count as "at an end" of that stroke.
const double kTailShare = 0.15;
// Largest gap between two ends, as a share of the shorter stroke, that nearConnect joins.
const double kNearGapShare = 0.15;
// Largest gap, as a share of the shorter stroke, of a corner drawn in two strokes.
const double kSpecialEdgeGapShare = 0.3;
// Straight-line test: summed deviation allowed, as a share of the stroke's length.
const double kStraightDeviationShare = 0.15;
// The cosine window of a bent corner (legs at about 11 to 75 degrees).
const double kBentCosMin = 0.25;
const double kBentCosMax = 0.98;
// Two-line figures: lengthening of each line for the touch test, least angle between
// the lines, least length of the shorter line against the longer.
const double kTouchExtension = 0.25;
const double kCrossAngleMin = 30.0;
const double kCrossLengthShare = 0.25;

// Whether every coordinate is finite (gathered without a jump, two at a time).
bool allFinite(const QVector<QPointF> &points)
{
    const double *coordinates = reinterpret_cast<const double *>(points.constData());
    const int count = 2 * points.size();
    std::uint64_t special = 0;
    for (int i = 0; i < count; ++i)
        special |= Util::detail::nonFinite(coordinates[i]);
    return special == 0;
}

// Arc lengths of a stroke, kept on the stack for strokes of usual length.
using ArcLengths = QVarLengthArray<double, 256>;

// Arc length from the first point to each point, into cum.
void cumulativeLengths(const QVector<QPointF> &points, ArcLengths &cum)
{
    const int n = points.size();
    cum.resize(n);
    const QPointF *p = points.constData();
    double *out = cum.data();
    if (n > 0)
        out[0] = 0.0;
    int i = 1;
#if defined(__SSE2__)
    for (; i + 1 < n; i += 2) {
        const __m128d steps = Util::detail::twoStepLengths(p + i - 1);
        out[i] = out[i - 1] + _mm_cvtsd_f64(steps);
        out[i + 1] = out[i] + _mm_cvtsd_f64(_mm_unpackhi_pd(steps, steps));
    }
#endif
    for (; i < n; ++i)
        out[i] = out[i - 1] + Util::detail::distance(p[i - 1], p[i]);
}

// Inclusive overlap: segment boxes of horizontal or vertical segments have no width or
// no height, which QRectF::intersects() would treat as empty.
bool boxesOverlap(const QRectF &a, const QRectF &b)
{
    return a.left() <= b.right() && b.left() <= a.right() && a.top() <= b.bottom()
        && b.top() <= a.bottom();
}

QRectF boundsOf(const QVector<QPointF> &points)
{
    double minX = points.first().x(), maxX = minX;
    double minY = points.first().y(), maxY = minY;
    for (const QPointF &p : points) {
        minX = std::min(minX, p.x());
        maxX = std::max(maxX, p.x());
        minY = std::min(minY, p.y());
        maxY = std::max(maxY, p.y());
    }
    return QRectF(minX, minY, maxX - minX, maxY - minY);
}

// The direction's angle against (1, 0), turned so that it points rightwards: a line
// drawn from right to left is as horizontal as one drawn from left to right.
double rightwardAngle(QPointF chord)
{
    if (chord.x() < 0.0)
        chord = -chord;
    double angle = calcAngle(QPointF(1.0, 0.0), chord);
    if (angle > 180.0)
        angle -= 360.0;
    return angle;
}

bool isStraightCategory(int category) { return category == cLINE || category == cHORIZONTAL_LINE; }

bool isBentCorner(const QPointF &leg1, const QPointF &leg2)
{
    const double c = Util::getCos(leg1, leg2);
    return c > kBentCosMin && c < kBentCosMax;
}

// The inner points' distances from the chord of the stroke's ends, added up in order.
template <class ChordDistance> double deviationFromChord(const QVector<QPointF> &stroke)
{
    const ChordDistance chord(stroke.first(), stroke.last());
    double deviation = 0.0;
    for (int k = 1; k < stroke.size() - 1; ++k)
        deviation += chord(stroke[k]);
    return deviation;
}

// Where two strokes cross: the segment index and arc position on each.
struct Crossing
{
    QPointF point;
    int baseSegment;
    int otherSegment;
    double basePos;
    double otherPos;
};

// The crossings of base's segments with other's, in base's order and then other's. When
// there are any, *baseLength and *otherLength receive the strokes' lengths, added up as
// calcStrokeLength adds them (the last arc lengths).
using Crossings = QVarLengthArray<Crossing, 32>;

void findCrossings(const QVector<QPointF> &base, const QVector<QPointF> &other,
    double *baseLength, double *otherLength, Crossings &crossings)
{
    const QRectF baseBounds = boundsOf(base);
    const QRectF otherBounds = boundsOf(other);
    // The segment boxes are made where they are needed; with tracing on, the lines show
    // them built for both strokes of every pair, as they always were.
    if (basic_logging::traceEnabled()) {
        QVector<QRectF> shown;
        getAllSegmentRect(base, shown);
        getAllSegmentRect(other, shown);
    }
    // Strokes whose bounds are apart cannot cross.
    if (!boxesOverlap(baseBounds, otherBounds))
        return;

    // Only segments that reach into the other stroke's bounds can cross it. Their boxes'
    // edges are kept as boxesOverlap reads them (right and bottom added up once).
    struct Candidate
    {
        int segment;
        double left, right, top, bottom;
    };
    QVarLengthArray<Candidate, 256> candidates;
    for (int j = 0; j + 1 < other.size(); ++j) {
        const QRectF box = Util::detail::segmentBox(other[j], other[j + 1]);
        if (boxesOverlap(box, baseBounds))
            candidates.append({ j, box.left(), box.right(), box.top(), box.bottom() });
    }
    // Arc lengths are needed only once a crossing is found.
    ArcLengths baseCum, otherCum;
    for (int i = 0; i + 1 < base.size(); ++i) {
        const QRectF box = Util::detail::segmentBox(base[i], base[i + 1]);
        if (!boxesOverlap(box, otherBounds))
            continue;
        const double left = box.left(), right = box.right();
        const double top = box.top(), bottom = box.bottom();
        for (const Candidate &c : candidates) {
            // boxesOverlap(box, c's box)
            if (!(left <= c.right && c.left <= right && top <= c.bottom && c.top <= bottom))
                continue;
            const int j = c.segment;
            QPointF x;
            if (!Util::intersectLineSegments(base[i], base[i + 1], other[j], other[j + 1], &x))
                continue;
            if (baseCum.isEmpty()) {
                cumulativeLengths(base, baseCum);
                cumulativeLengths(other, otherCum);
            }
            crossings.append({ x, i, j, baseCum[i] + Util::getDistance(base[i], x),
                otherCum[j] + Util::getDistance(other[j], x) });
        }
    }
    if (!crossings.isEmpty()) {
        *baseLength = baseCum.last();
        *otherLength = otherCum.last();
    }
}

// Points written one after another into memory the caller sized, each one unless it
// equals the point written before it (QPointF's ==, which is fuzzy, so that which points
// are dropped depends on the order they come in). copy() takes points as they are.
class PointRun
{
public:
    explicit PointRun(QPointF *begin)
        : m_begin(begin)
        , m_end(begin)
    { }

    void add(const QPointF &p)
    {
        if (m_end == m_begin || m_end[-1] != p)
            *m_end++ = p;
    }
    void add(const QPointF *from, const QPointF *to)
    {
        for (; from != to; ++from)
            add(*from);
    }
    // The points from `to` back to `from`.
    void addBackwards(const QPointF *from, const QPointF *to)
    {
        while (to != from)
            add(*--to);
    }
    void copy(const QPointF *from, const QPointF *to)
    {
        m_end = std::copy(from, to, m_end);
    }
    void copyBackwards(const QPointF *from, const QPointF *to)
    {
        m_end = std::reverse_copy(from, to, m_end);
    }
    const QPointF *begin() const { return m_begin; }
    const QPointF *end() const { return m_end; }
    int size() const { return int(m_end - m_begin); }

private:
    QPointF *m_begin;
    QPointF *m_end;
};

// Makes stroke the points of run (written apart from it), in the stroke's own memory
// when that is large enough and not shared.
void replacePoints(QVector<QPointF> &stroke, const PointRun &run)
{
    stroke.resize(run.size());
    std::copy(run.begin(), run.end(), stroke.begin());
}

// The part of a stroke between two crossings on it (null: the stroke's own end), in
// drawing order, written to a run of its own (at most points.size() + 2 points).
void cutStroke(const QVector<QPointF> &points, const QPointF *fromPoint, int fromSegment,
    const QPointF *toPoint, int toSegment, PointRun &out)
{
    int first = 0;
    int last = points.size() - 1;
    if (fromPoint) {
        out.add(*fromPoint);
        first = fromSegment + 1;
    }
    if (toPoint)
        last = toSegment;
    if (first <= last)
        out.add(points.constData() + first, points.constData() + last + 1);
    if (toPoint)
        out.add(*toPoint);
}

enum EndKind { eNotAtEnd, eAtStart, eAtEnd };

EndKind endOf(double pos, double length)
{
    if (pos <= kTailShare * length)
        return eAtStart;
    if (length - pos <= kTailShare * length)
        return eAtEnd;
    return eNotAtEnd;
}

// Where along the line (0 at p1, 1 at p2) the point's foot lies.
double lineParameter(const QLineF &line, const QPointF &p)
{
    const QPointF d = line.p2() - line.p1();
    return Util::getInnerProduct(p - line.p1(), d) / Util::getInnerProduct(d, d);
}

// Two lines that do not cross touch when one stops short of the inside of the other:
// lengthened at both ends they cross, away from the ends of at least one of them.
bool touchesInside(const QLineF &line1, const QLineF &line2)
{
    auto lengthened = [](const QLineF &line, QPointF &from, QPointF &to) {
        const QPointF step = (line.p2() - line.p1()) * kTouchExtension;
        from = line.p1() - step;
        to = line.p2() + step;
    };
    QPointF a1, a2, b1, b2, x;
    lengthened(line1, a1, a2);
    lengthened(line2, b1, b2);
    if (!Util::intersectLineSegments(a1, a2, b1, b2, &x))
        return false;
    auto inside = [](double t) { return t > kTailShare && t < 1.0 - kTailShare; };
    return inside(lineParameter(line1, x)) || inside(lineParameter(line2, x));
}

// What the joining of a pair learns about one of its strokes, so that the crossing test
// and then the near-ends test work it out once: whether every coordinate is finite, and
// the stroke's length. A length is kept only while no trace is written, since the trace
// shows each calcStrokeLength call. Valid while the stroke is unchanged.
class StrokeFacts
{
public:
    explicit StrokeFacts(const QVector<QPointF> &stroke)
        : m_stroke(stroke)
    { }

    bool finite()
    {
        if (m_finite < 0)
            m_finite = allFinite(m_stroke) ? 1 : 0;
        return m_finite == 1;
    }

    double length()
    {
        if (basic_logging::traceEnabled())
            return Util::calcStrokeLength(m_stroke);
        if (!m_hasLength)
            know(Util::calcStrokeLength(m_stroke));
        return m_length;
    }

    /// The length found some other way, bit for bit what calcStrokeLength returns.
    void know(double length)
    {
        m_length = length;
        m_hasLength = true;
    }

private:
    const QVector<QPointF> &m_stroke;
    int m_finite = -1;
    bool m_hasLength = false;
    double m_length = 0.0;
};

int intersectConnect(QVector<QPointF> &base, const QVector<QPointF> &other, StrokeFacts &baseFacts,
    StrokeFacts &otherFacts);
bool nearConnect(QVector<QPointF> &base, const QVector<QPointF> &other, StrokeFacts &baseFacts,
    StrokeFacts &otherFacts);

} // namespace

bool makeConnectedStroke(QVector<QVector<QPointF>> &strokes)
{
    TRACE_FUNCTION("figurerecogniser", "makeConnectedStroke");
    for (int i = 0; i < strokes.size(); ++i) {
        if (i >= 2)
            return TRACE_RETURN(false);
        for (int j = strokes.size() - 1; j > i; --j) {
            // The near-ends test runs only if the crossing test left base as it was.
            StrokeFacts baseFacts(strokes[i]);
            StrokeFacts otherFacts(strokes[j]);
            if (intersectConnect(strokes[i], strokes[j], baseFacts, otherFacts) == 2
                || nearConnect(strokes[i], strokes[j], baseFacts, otherFacts))
                strokes.remove(j);
        }
    }
    return TRACE_RETURN(true);
}

int intersectConnect(QVector<QPointF> &base, const QVector<QPointF> &other)
{
    StrokeFacts baseFacts(base);
    StrokeFacts otherFacts(other);
    return intersectConnect(base, other, baseFacts, otherFacts);
}

bool nearConnect(QVector<QPointF> &base, const QVector<QPointF> &other)
{
    StrokeFacts baseFacts(base);
    StrokeFacts otherFacts(other);
    return nearConnect(base, other, baseFacts, otherFacts);
}

namespace {

int intersectConnect(QVector<QPointF> &base, const QVector<QPointF> &other, StrokeFacts &baseFacts,
    StrokeFacts &otherFacts)
{
    TRACE_FUNCTION("figurerecogniser", "intersectConnect");
    if (base.size() < 2 || other.size() < 2 || !baseFacts.finite() || !otherFacts.finite())
        return TRACE_RETURN(0);
    double baseArc = 0.0;
    double otherArc = 0.0;
    Crossings crossings;
    findCrossings(base, other, &baseArc, &otherArc, crossings);
    if (crossings.isEmpty())
        return TRACE_RETURN(0);

    baseFacts.know(baseArc);
    otherFacts.know(otherArc);
    const double baseLength = baseFacts.length();
    const double otherLength = otherFacts.length();
    // The joint nearest to each end of base among the crossings at an end of both strokes.
    const Crossing *atBaseEnd = nullptr;
    const Crossing *atBaseStart = nullptr;
    EndKind otherAtBaseEnd = eNotAtEnd, otherAtBaseStart = eNotAtEnd;
    for (const Crossing &c : crossings) {
        const EndKind onOther = endOf(c.otherPos, otherLength);
        if (onOther == eNotAtEnd)
            continue;
        switch (endOf(c.basePos, baseLength)) {
        case eAtEnd:
            if (!atBaseEnd || c.basePos > atBaseEnd->basePos) {
                atBaseEnd = &c;
                otherAtBaseEnd = onOther;
            }
            break;
        case eAtStart:
            if (!atBaseStart || c.basePos < atBaseStart->basePos) {
                atBaseStart = &c;
                otherAtBaseStart = onOther;
            }
            break;
        case eNotAtEnd:
            break;
        }
    }
    if (!atBaseEnd && !atBaseStart)
        return TRACE_RETURN(1);
    // A second joint closes the figure only through the other end of other.
    if (atBaseEnd && atBaseStart && otherAtBaseEnd == otherAtBaseStart) {
        if (baseLength - atBaseEnd->basePos <= atBaseStart->basePos)
            atBaseStart = nullptr;
        else
            atBaseEnd = nullptr;
    }

    QVarLengthArray<QPointF, 256> baseBuffer(base.size() + 2);
    PointRun baseKept(baseBuffer.data());
    cutStroke(base, atBaseStart ? &atBaseStart->point : nullptr,
        atBaseStart ? atBaseStart->baseSegment : 0, atBaseEnd ? &atBaseEnd->point : nullptr,
        atBaseEnd ? atBaseEnd->baseSegment : 0, baseKept);
    // The other stroke runs from its joint at base's end to its joint at base's start.
    const Crossing *otherFrom = atBaseEnd;
    const Crossing *otherTo = atBaseStart;
    const EndKind fromEnd
        = atBaseEnd ? otherAtBaseEnd : (otherAtBaseStart == eAtStart ? eAtEnd : eAtStart);
    // Cut other in its own drawing order, then turn it so that it leaves the joint at
    // base's end (or enters the joint at base's start).
    const Crossing *lowCut = fromEnd == eAtStart ? otherFrom : otherTo;
    const Crossing *highCut = fromEnd == eAtStart ? otherTo : otherFrom;
    QVarLengthArray<QPointF, 256> otherBuffer(other.size() + 2);
    PointRun otherKept(otherBuffer.data());
    cutStroke(other, lowCut ? &lowCut->point : nullptr, lowCut ? lowCut->otherSegment : 0,
        highCut ? &highCut->point : nullptr, highCut ? highCut->otherSegment : 0, otherKept);

    // The two parts, each as cut, joined where the second's first points equal the
    // first's last.
    QVarLengthArray<QPointF, 512> joined(baseKept.size() + otherKept.size());
    PointRun run(joined.data());
    const auto addOther = [&] {
        if (fromEnd == eAtEnd)
            run.addBackwards(otherKept.begin(), otherKept.end());
        else
            run.add(otherKept.begin(), otherKept.end());
    };
    if (atBaseEnd) {
        run.add(baseKept.begin(), baseKept.end());
        addOther();
    } else {
        addOther();
        run.add(baseKept.begin(), baseKept.end());
    }
    if (run.size() < 2)
        return TRACE_RETURN(1);
    replacePoints(base, run);
    return TRACE_RETURN(2);
}

bool nearConnect(QVector<QPointF> &base, const QVector<QPointF> &other, StrokeFacts &baseFacts,
    StrokeFacts &otherFacts)
{
    TRACE_FUNCTION("figurerecogniser", "nearConnect");
    if (base.isEmpty() || other.isEmpty() || !baseFacts.finite() || !otherFacts.finite())
        return TRACE_RETURN(false);
    const double shorter = std::min(baseFacts.length(), otherFacts.length());
    if (Util::isVirtuallyZero(shorter))
        return TRACE_RETURN(false);

    // The four ways the two strokes can meet; on equal gaps the earlier one wins.
    struct Joint
    {
        bool atBaseEnd;
        bool atOtherStart;
        double gap;
    };
    const Joint joints[] = {
        { true, true, Util::getDistance(base.last(), other.first()) },
        { true, false, Util::getDistance(base.last(), other.last()) },
        { false, false, Util::getDistance(base.first(), other.last()) },
        { false, true, Util::getDistance(base.first(), other.first()) },
    };
    const Joint *best = std::min_element(std::begin(joints), std::end(joints),
        [](const Joint &a, const Joint &b) { return a.gap < b.gap; });
    if (!(best->gap <= kNearGapShare * shorter))
        return TRACE_RETURN(false);

    // The first stroke as it stands, then the second without the points that equal the
    // point before them.
    QVarLengthArray<QPointF, 512> joined(base.size() + other.size());
    PointRun run(joined.data());
    const QPointF *b = base.constData();
    const QPointF *o = other.constData();
    if (best->atBaseEnd) {
        run.copy(b, b + base.size());
        if (best->atOtherStart)
            run.add(o, o + other.size());
        else
            run.addBackwards(o, o + other.size());
    } else {
        if (best->atOtherStart)
            run.copyBackwards(o, o + other.size());
        else
            run.copy(o, o + other.size());
        run.add(b, b + base.size());
    }
    replacePoints(base, run);
    return TRACE_RETURN(true);
}

} // namespace

int check1OpenStroke(const QVector<QPointF> &stroke, QRectF &rect)
{
    TRACE_FUNCTION("figurerecogniser", "check1OpenStroke");
    const int n = stroke.size();
    if (n < 2 || !allFinite(stroke))
        return TRACE_RETURN(cHANDWRITE_DATA);

    if (n == 3) {
        const QPointF v1 = Util::getVectorDiff(stroke[0], stroke[1]);
        const QPointF v2 = Util::getVectorDiff(stroke[2], stroke[1]);
        if (isBentCorner(v1, v2)) {
            rect = boundsOf(stroke);
            const double leg1 = Util::getVectorSize(v1);
            const double leg2 = Util::getVectorSize(v2);
            if (std::max(leg1, leg2) <= 2.0 * std::min(leg1, leg2))
                return TRACE_RETURN(cBENT_LINE);
            // Walk the corner from the short leg into the long one, whichever way it was
            // drawn; a counter-clockwise turn on the screen is the usual check mark.
            const QPointF into = leg1 < leg2 ? -v1 : -v2;
            const QPointF out = leg1 < leg2 ? v2 : v1;
            return TRACE_RETURN(
                Util::vectorLeftOrRight(into, out) < 0 ? cUNEQUAL_BEND_A : cUNEQUAL_BEND_B);
        }
    } else if (n == 4) {
        const double outer1 = Util::getDistance(stroke[0], stroke[1]);
        const double middle = Util::getDistance(stroke[1], stroke[2]);
        const double outer2 = Util::getDistance(stroke[2], stroke[3]);
        const QPointF leg1 = Util::getVectorDiff(stroke[0], stroke[1]);
        const QPointF leg2 = Util::getVectorDiff(stroke[3], stroke[2]);
        // Neither corner is sharp, and both outer legs leave the middle leg towards the
        // same side (a Z has them on opposite sides).
        if (middle > 2.0 * outer1 && middle > 2.0 * outer2
            && Util::getCos(leg1, Util::getVectorDiff(stroke[2], stroke[1])) < kBentCosMin
            && Util::getCos(leg2, Util::getVectorDiff(stroke[1], stroke[2])) < kBentCosMin
            && Util::getCos(leg1, leg2) > kBentCosMin) {
            rect = QRectF(stroke[1], stroke[2]);
            return TRACE_RETURN(cTHREE_SEGMENT_LINE);
        }
    }

    // The straight-line test, also the fallback of the corner tests above.
    const double length = Util::calcStrokeLength(stroke);
    const double deviation = basic_logging::traceEnabled()
        ? deviationFromChord<Util::detail::TracedSegmentDistance>(stroke)
        : deviationFromChord<Util::detail::SegmentDistance>(stroke);
    // A dot has no direction: it is no line.
    if (!(length > 0.0) || !std::isfinite(length) || Util::isVirtuallyZero(length)
        || !(deviation <= kStraightDeviationShare * length))
        return TRACE_RETURN(cHANDWRITE_DATA);
    const QPointF chord = Util::getVectorDiff(stroke.last(), stroke.first());
    if (Util::isVirtuallyZero(chord.x()) && Util::isVirtuallyZero(chord.y()))
        return TRACE_RETURN(cHANDWRITE_DATA);
    rect = QRectF(stroke.first(), stroke.last());
    return TRACE_RETURN(isHorizontal(rightwardAngle(chord), 10.0) ? cHORIZONTAL_LINE : cLINE);
}

int checkOpenStroke(const QVector<QPointF> &first, const QVector<QPointF> &second, QRectF &rect)
{
    TRACE_FUNCTION("figurerecogniser", "checkOpenStroke");
    QRectF scratch;
    if (!isStraightCategory(check1OpenStroke(first, scratch)))
        return TRACE_RETURN(cHANDWRITE_DATA);
    if (!isStraightCategory(check1OpenStroke(second, scratch)))
        return TRACE_RETURN(cHANDWRITE_DATA);

    const QLineF line1(first.first(), first.last());
    const QLineF line2(second.first(), second.last());
    const double length1 = line1.length();
    const double length2 = line2.length();
    if (std::min(length1, length2) < kCrossLengthShare * std::max(length1, length2))
        return TRACE_RETURN(cHANDWRITE_DATA);
    // Lines that meet at an end of each form a corner: that is for the joining to handle.
    QVector<QPointF> joined = first;
    const int meeting = intersectConnect(joined, second);
    if (meeting == 2 || (meeting == 0 && !touchesInside(line1, line2)))
        return TRACE_RETURN(cHANDWRITE_DATA);

    double between = calcAngle(line1.p2() - line1.p1(), line2.p2() - line2.p1());
    if (between > 180.0)
        between = 360.0 - between;
    between = std::min(between, 180.0 - between);
    if (isHorizontal(between, kCrossAngleMin))
        return TRACE_RETURN(cHANDWRITE_DATA);

    rect = boundsOf({ line1.p1(), line1.p2(), line2.p1(), line2.p2() });
    return TRACE_RETURN(cTWO_STROKE_FIGURE);
}

int checkBranchStroke(const QVector<QPointF> &first, const QVector<QPointF> &second, int firstIndex,
    int secondIndex, QRectF &rect)
{
    TRACE_FUNCTION("figurerecogniser", "checkBranchStroke");
    const int lastFirst = first.size() - 1;
    const int lastSecond = second.size() - 1;
    if (lastFirst < 1 || lastSecond < 1 || (firstIndex != 0 && firstIndex != lastFirst)
        || (secondIndex != 0 && secondIndex != lastSecond))
        return TRACE_RETURN(cHANDWRITE_DATA);
    QRectF scratch;
    if (!isStraightCategory(check1OpenStroke(first, scratch))
        || !isStraightCategory(check1OpenStroke(second, scratch)))
        return TRACE_RETURN(cHANDWRITE_DATA);

    const QPointF corner = (first[firstIndex] + second[secondIndex]) * 0.5;
    const QPointF end1 = first[firstIndex == 0 ? lastFirst : 0];
    const QPointF end2 = second[secondIndex == 0 ? lastSecond : 0];
    if (!isBentCorner(Util::getVectorDiff(end1, corner), Util::getVectorDiff(end2, corner)))
        return TRACE_RETURN(cHANDWRITE_DATA);
    rect = boundsOf({ end1, corner, end2 });
    return TRACE_RETURN(cBENT_LINE);
}

int checkConnectSpecialEdge(const QVector<QPointF> &first, const QVector<QPointF> &second,
    int &firstIndex, int &secondIndex)
{
    TRACE_FUNCTION("figurerecogniser", "checkConnectSpecialEdge");
    if (first.size() < 2 || second.size() < 2 || !allFinite(first) || !allFinite(second))
        return TRACE_RETURN(0);
    const double shorter = std::min(Util::calcStrokeLength(first), Util::calcStrokeLength(second));
    if (Util::isVirtuallyZero(shorter))
        return TRACE_RETURN(0);

    int bestFirst = -1, bestSecond = -1;
    double bestGap = 0.0;
    for (int i : { int(first.size()) - 1, 0 }) {
        for (int j : { 0, int(second.size()) - 1 }) {
            const double gap = Util::getDistance(first[i], second[j]);
            if (bestFirst < 0 || gap < bestGap) {
                bestFirst = i;
                bestSecond = j;
                bestGap = gap;
            }
        }
    }
    if (!(bestGap <= kSpecialEdgeGapShare * shorter))
        return TRACE_RETURN(0);
    firstIndex = bestFirst;
    secondIndex = bestSecond;
    return TRACE_RETURN(1);
}

} // namespace CFigureRecogniser
