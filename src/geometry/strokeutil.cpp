#include <libutility/geometry/strokeutil.h>

#include <libutility/geometry/geometry.h>
#include <libutility/logging/trace.h>

#include <algorithm>
#include <vector>

namespace {

// Whether a piece's indexes fit a stroke of n points with the given step lengths.
bool pieceFits(const SegmentIndex &piece, int n, int lengthCount)
{
    return piece.start >= 0 && piece.end < n && piece.start <= piece.end
        && piece.end - 1 <= lengthCount;
}

} // namespace

namespace Util {

void calcAdjacentLength(const QVector<QPointF> &points, QVector<double> &lengths)
{
    TRACE_FUNCTION("strokeutil", "calcAdjacentLength");
    const int n = points.size();
    if (n < 2) {
        lengths.clear();
        TRACE_EXIT();
        return;
    }
    lengths.resize(n - 1);
    double *out = lengths.data();
    const QPointF *p = points.constData();
    for (int i = 0; i + 1 < n; ++i)
        out[i] = getDistance(p[i], p[i + 1]);
    TRACE_EXIT();
}

double calcStrokeLength(const QVector<QPointF> &points, QVector<double> &lengths)
{
    TRACE_FUNCTION("strokeutil", "calcStrokeLength");
    calcAdjacentLength(points, lengths);
    double total = 0.0;
    for (double length : qAsConst(lengths))
        total += length;
    return TRACE_RETURN(total);
}

double calcStrokeLength(const QVector<QPointF> &points)
{
    TRACE_FUNCTION("strokeutil", "calcStrokeLength");
    QVector<double> lengths;
    return TRACE_RETURN(calcStrokeLength(points, lengths));
}

void getSmoothPoints(const QVector<QPointF> &points, QVector<QPointF> &out, double ratio)
{
    TRACE_FUNCTION("strokeutil", "getSmoothPoints");
    out.clear();
    if (points.isEmpty()) {
        TRACE_EXIT();
        return;
    }
    QVector<QPointF> thinned;
    copyMovingPoints(points, thinned, 3.0);
    removeNoise(thinned);
    QVector<SegmentIndex> segments;
    divideStrokeToSegments(thinned, segments, ratio);
    out.reserve(segments.size() + 1);
    out.append(thinned.first());
    for (const SegmentIndex &piece : qAsConst(segments))
        out.append(thinned[piece.end]);
    TRACE_EXIT();
}

QPointF getAveragePoint(const QVector<QPointF> &points, int from, int to)
{
    TRACE_FUNCTION("strokeutil", "getAveragePoint");
    const int last = points.size() - 1;
    if (from < 0)
        from = 0;
    if (to < 0 || to > last)
        to = last;
    QPointF sum(0.0, 0.0);
    if (to < from)
        return TRACE_RETURN(sum);
    for (int i = from; i <= to; ++i)
        sum += points[i];
    return TRACE_RETURN(sum / double(to - from + 1));
}

} // namespace Util

void divideStrokeToSegments(
    const QVector<QPointF> &points, QVector<SegmentIndex> &segments, double ratio)
{
    TRACE_FUNCTION("strokeutil", "divideStrokeToSegments");
    const int n = points.size();
    QVector<double> lengths;
    const double total = Util::calcStrokeLength(points, lengths);
    segments.clear();
    segments.reserve(std::max(n - 1, 1));
    segments.append(SegmentIndex { 0, n - 1, true });
    // Terminates: a split always lands strictly inside its piece, so both halves are
    // shorter and at most n - 2 splits can happen.
    for (;;) {
        const int before = segments.size();
        divideRuggedSegment(points, lengths, segments, total, ratio);
        if (segments.size() == before)
            break;
    }
    TRACE_EXIT();
}

void divideRuggedSegment(const QVector<QPointF> &points, const QVector<double> &lengths,
    QVector<SegmentIndex> &segments, double totalLength, double ratio)
{
    TRACE_FUNCTION("strokeutil", "divideRuggedSegment");
    // The end margin along the stroke is zero by design; it stays a computed value so
    // that the candidate test below keeps its shape.
    const double margin = totalLength * 0.0;
    const int n = points.size();
    const int lengthCount = lengths.size();
    const QPointF *p = points.constData();
    const double *len = lengths.constData();

    // The pass visits the pieces from the last to the first and builds the new list
    // back to front; that is the same as splitting in place by insertion (the following
    // piece of piece i is whatever piece i + 1 became in this pass) but keeps the pass
    // linear instead of moving the tail of the list at every split.
    const int count = segments.size();
    QVector<SegmentIndex> reversed;
    reversed.reserve(count * 2);
    bool split = false;
    for (int i = count - 1; i >= 0; --i) {
        SegmentIndex piece = segments.at(i);
        if (!piece.divisible || piece.end - piece.start <= 1 || !pieceFits(piece, n, lengthCount)) {
            reversed.append(piece);
            continue;
        }
        const QPointF a = p[piece.start];
        const QPointF b = p[piece.end];

        // Bend weighting: a deviation that bends the same way as the stroke turns into
        // the following piece counts fully, one against it counts half.
        bool weighted = false;
        int turn = 0;
        if (!reversed.isEmpty() && pieceFits(reversed.last(), n, lengthCount)) {
            const SegmentIndex &next = reversed.last();
            weighted = true;
            turn = Util::vectorLeftOrRight(b - a, p[next.end] - p[next.start]);
        }

        double cum = 0.0;
        double maxDist = 0.0;
        int best = -1;
        for (int k = piece.start + 1; k < piece.end; ++k) {
            cum += len[k - 1];
            double d = Util::calcDistanceToLineSegment(a, b, p[k], nullptr);
            if (weighted && !(Util::vectorLeftOrRight(p[k] - a, b - p[k]) * turn > 0))
                d *= 0.5;
            // Greater-or-equal: ties go to the later point.
            if (d >= maxDist && cum > margin && totalLength - cum > margin) {
                maxDist = d;
                best = k;
            }
        }

        if (best >= 0 && maxDist > Util::getDistance(a, b) * ratio) {
            reversed.append(SegmentIndex { best, piece.end, true });
            reversed.append(SegmentIndex { piece.start, best, true });
            split = true;
        } else {
            piece.divisible = false;
            reversed.append(piece);
        }
    }
    if (split) {
        std::reverse(reversed.begin(), reversed.end());
        segments.swap(reversed);
    } else {
        // Only flags changed: write them back without reallocating.
        for (int i = 0; i < count; ++i)
            segments[i].divisible = reversed.at(count - 1 - i).divisible;
    }
    TRACE_EXIT();
}

double getDistanceToDividePoint(const QVector<QPointF> &points, int first, int last)
{
    TRACE_FUNCTION("strokeutil", "getDistanceToDividePoint");
    double farthest = -1.0;
    if (first < 0 || last >= points.size() || last - first < 2)
        return TRACE_RETURN(farthest);
    const QPointF &a = points[first];
    const QPointF &b = points[last];
    for (int k = first + 1; k < last; ++k) {
        const double d = Util::calcDistanceToLineSegment(a, b, points[k], nullptr);
        if (d > farthest)
            farthest = d;
    }
    return TRACE_RETURN(farthest);
}

void copyMovingPoints(const QVector<QPointF> &points, QVector<QPointF> &out, double minTravel)
{
    TRACE_FUNCTION("strokeutil", "copyMovingPoints");
    out.clear();
    const int n = points.size();
    const QPointF *p = points.constData();

    // A stroke that ends near its start keeps the point farthest from its start, so that
    // the far side of a small closed figure is never thinned away.
    int farIndex = -1;
    if (n > 2 && Util::getDistance(p[0], p[n - 1]) < minTravel) {
        farIndex = 1;
        double farthest = Util::getDistance(p[0], p[1]);
        for (int i = 2; i <= n - 2; ++i) {
            const double d = Util::getDistance(p[0], p[i]);
            if (d > farthest) {
                farthest = d;
                farIndex = i;
            }
        }
    }

    double travel = 0.0;
    for (int i = 0; i < n; ++i) {
        if (i == 0 || i == n - 1 || i == farIndex) {
            out.append(p[i]);
            travel = 0.0;
            continue;
        }
        travel += Util::getDistance(p[i - 1], p[i]);
        if (travel > minTravel) {
            out.append(p[i]);
            travel = 0.0;
        }
    }
    TRACE_EXIT();
}

void removeNoise(QVector<QPointF> &points)
{
    TRACE_FUNCTION("strokeutil", "removeNoise");
    const int n = points.size();
    if (n < 5) {
        TRACE_EXIT();
        return;
    }
    QVector<QPointF> d;
    Util::differentiate(points, d);

    // The steps after position j shift down as points are erased; positions up to j
    // never move. So the current step j + 1 is reached through a link from step j, and
    // the erased points are dropped in one sweep at the end.
    std::vector<int> next(n - 1);
    for (int k = 0; k < n - 1; ++k)
        next[k] = k + 1;
    std::vector<bool> erased(n, false);
    bool anyErased = false;
    for (int j = n - 4; j >= 1; --j) {
        const int j1 = next[j];
        if (j1 >= n - 1)
            continue;
        const int j2 = next[j1];
        if (j2 >= n - 1)
            continue;
        const int s1 = Util::vectorLeftOrRight(d[j - 1], d[j]);
        // Compares a step with itself, so it is 0 for every finite stroke and the filter
        // below never fires. Deliberate: the recogniser's results depend on finite strokes
        // passing here unchanged.
        const int s2 = Util::vectorLeftOrRight(d[j1], d[j1]);
        const int s3 = Util::vectorLeftOrRight(d[j1], d[j2]);
        if (s1 * s3 < 0 || s1 * s2 >= 0)
            continue;
        erased[j1] = true;
        anyErased = true;
        d[j] += d[j1];
        next[j] = j2;
    }
    if (anyErased) {
        int kept = 0;
        for (int k = 0; k < n; ++k) {
            if (!erased[k])
                points[kept++] = points[k];
        }
        points.resize(kept);
    }
    TRACE_EXIT();
}

void removeCrossNoise(QVector<QPointF> &points)
{
    TRACE_FUNCTION("strokeutil", "removeCrossNoise");
    int i = points.size() - 1;
    if (i <= 2) {
        TRACE_EXIT();
        return;
    }
    // Positions below i always hold the original points (changes happen only at i - 1
    // and above), position i holds `current`, and everything after it is final and kept
    // in `tail`, back to front. This keeps the walk linear however many loops collapse.
    const QVector<QPointF> source = points;
    QPointF current = source[i];
    QVector<QPointF> tail;
    while (i > 2) {
        QPointF crossing;
        tail.append(current);
        if (Util::intersectLineSegments(
                current, source[i - 1], source[i - 2], source[i - 3], &crossing)) {
            current = crossing;
            i -= 2;
        } else {
            current = source[i - 1];
            i -= 1;
        }
    }
    points.resize(i);
    points.append(current);
    for (int k = tail.size() - 1; k >= 0; --k)
        points.append(tail[k]);
    TRACE_EXIT();
}
