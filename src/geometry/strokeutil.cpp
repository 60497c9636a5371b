#include <libutility/geometry/strokeutil.h>

#include <libutility/geometry/geometry.h>
#include <libutility/geometry/geometry_p.h>
#include <libutility/geometry/strokeutil_p.h>
#include <libutility/geometry/threadloan_p.h>
#include <libutility/logging/trace.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Working space of one smoothing: the thinned points, their step lengths, the pieces,
// and the splitting passes' lists.
struct SmoothScratch
{
    QVector<QPointF> thinned, thinnedOther;
    QVector<double> lengths;
    QVector<SegmentIndex> segments;
    std::vector<SegmentIndex> pieces;
    std::vector<double> distances;
    std::vector<double> reach;
    std::vector<int> ends;
    std::vector<int> open, opened;

    /// Space grown past 65536 points is given back when the loan ends (the thinned lists
    /// hold as many points as the strokes given, which may thin to far fewer).
    bool isLarge() const
    {
        return distances.capacity() > (1 << 16) || thinned.capacity() > (1 << 16)
            || thinnedOther.capacity() > (1 << 16);
    }
};

// Whether a piece's indexes fit a stroke of n points with the given step lengths.
bool pieceFits(const SegmentIndex &piece, int n, int lengthCount)
{
    return piece.start >= 0 && piece.end < n && piece.start <= piece.end
        && piece.end - 1 <= lengthCount;
}

// Whether x * y of every step between neighbouring points is finite (gathered without a
// jump, two steps at a time).
bool stepProductsAreFinite(const QVector<QPointF> &points)
{
    const QPointF *p = points.constData();
    std::uint64_t special = 0;
    for (int k = 0; k + 1 < points.size(); ++k) {
        const QPointF step = p[k + 1] - p[k];
        special |= Util::detail::nonFinite(step.x() * step.y());
    }
    return special == 0;
}

void divideIntoSegments(const QVector<QPointF> &points, QVector<SegmentIndex> &segments,
    double ratio, SmoothScratch &scratch);

// The calling thread's smoothing working space, lent for the life of the loan, so that
// smoothing stroke after stroke reuses its memory instead of allocating five lists for
// each (see ThreadLoan).
using ScratchLoan = Util::detail::ThreadLoan<SmoothScratch>;

// The length of the stroke as calcStrokeLength adds it up (the steps in order from 0.0),
// without keeping the steps.
double sumOfSteps(const QVector<QPointF> &points)
{
    const QPointF *p = points.constData();
    const int n = points.size();
    double total = 0.0;
    int i = 0;
#if defined(__SSE2__)
    for (; i + 2 < n; i += 2) {
        const __m128d steps = Util::detail::twoStepLengths(p + i);
        total += _mm_cvtsd_f64(steps);
        total += _mm_cvtsd_f64(_mm_unpackhi_pd(steps, steps));
    }
#endif
    for (; i + 1 < n; ++i)
        total += Util::detail::distance(p[i], p[i + 1]);
    return total;
}

// Where a pass splits the piece: the point farthest from the piece's chord (ties go to
// the later point), if it lies farther than ratio times the chord's length; -1 if not.
// `next` is the following piece as this pass left it, if it fits the stroke. `distances`
// is working space of at least piece.end - piece.start doubles.
template <class ChordDistance>
int splitPoint(const QPointF *p, const double *len, const SegmentIndex &piece,
    const SegmentIndex *next, double totalLength, double ratio, double *distances)
{
    const QPointF a = p[piece.start];
    const QPointF b = p[piece.end];
    const ChordDistance chord(a, b);

    // First every point's distance from the chord: kept apart from the search below,
    // these divisions and roots do not wait on it.
    const int first = piece.start + 1;
    for (int k = first; k < piece.end; ++k)
        distances[k - first] = chord(p[k]);

    // Bend weighting: a deviation that bends the same way as the stroke turns into the
    // following piece counts fully, one against it counts half. Halving only lowers a
    // distance, so the bend is looked at only for a point that could be the farthest.
    const int turn = next ? Util::detail::leftOrRight(b - a, p[next->end] - p[next->start]) : 0;
    // The end margin along the stroke is zero by design; it stays a computed value so
    // that the candidate test below keeps its shape.
    const double margin = totalLength * 0.0;
    double cum = 0.0;
    double maxDist = 0.0;
    int best = -1;
    for (int k = first; k < piece.end; ++k) {
        cum += len[k - 1];
        double d = distances[k - first];
        if (!(d >= maxDist))
            continue;
        if (next && !(Util::detail::leftOrRight(p[k] - a, b - p[k]) * turn > 0))
            d *= 0.5;
        if (d >= maxDist && cum > margin && totalLength - cum > margin) {
            maxDist = d;
            best = k;
        }
    }
    return best >= 0 && maxDist > chord.length() * ratio ? best : -1;
}

// Whether point q's deviation from chord a-b counts fully: always without a following
// piece, else when it bends the way the stroke turns into that piece.
inline bool wholeWeight(
    const QPointF &q, const QPointF &a, const QPointF &b, bool hasNext, int turn)
{
    return !hasNext || Util::detail::leftOrRight(q - a, b - q) * turn > 0;
}

constexpr int kUndecided = -2;

// The comparison keys of splitBySquares for one chord a-b: key = w * w * s for a point
// whose weight is w, with s the square of the chord's length (see there). The region
// tests, the line's value and the bend test are SegmentDistance's and wholeWeight's own
// operations, so every point lands in the same region and gets the same halving as when
// it is weighed exactly.
class ChordKeys
{
public:
    ChordKeys(const QPointF &a, const QPointF &b, bool hasNext, int turn)
        : m_a(a)
        , m_b(b)
        , m_ab(a - b)
        , m_ba(b - a)
        , m_line(a, b)
        , m_s(m_line.squaredNorm)
        , m_hasNext(hasNext)
        , m_turn(turn)
    { }

    double squaredLength() const { return m_s; }

    double operator()(const QPointF &q) const
    {
        const QPointF qa = q - m_a;
        const QPointF qb = q - m_b;
        double key;
        if (!(Util::detail::dot(m_ab, qa) < 0.0))
            key = (qa.x() * qa.x() + qa.y() * qa.y()) * m_s;
        else if (Util::detail::dot(m_ba, qb) >= 0.0)
            key = (qb.x() * qb.x() + qb.y() * qb.y()) * m_s;
        else {
            const double line = m_line.la * q.x() + m_line.lb * q.y() + m_line.lc;
            key = line * line;
        }
        return wholeWeight(q, m_a, m_b, m_hasNext, m_turn) ? key : key * 0.25;
    }

#if defined(__SSE2__)
    // The keys of the points (x[0], y[0]) and (x[1], y[1]), without jumps.
    __m128d operator()(__m128d x, __m128d y) const
    {
        const __m128d ax = _mm_set1_pd(m_a.x()), ay = _mm_set1_pd(m_a.y());
        const __m128d bx = _mm_set1_pd(m_b.x()), by = _mm_set1_pd(m_b.y());
        const __m128d qax = _mm_sub_pd(x, ax), qay = _mm_sub_pd(y, ay);
        const __m128d qbx = _mm_sub_pd(x, bx), qby = _mm_sub_pd(y, by);
        const __m128d zero = _mm_setzero_pd();
        const __m128d nearA = _mm_cmpnlt_pd(dot(m_ab, qax, qay), zero);
        const __m128d nearB = _mm_cmpge_pd(dot(m_ba, qbx, qby), zero);
        const __m128d s = _mm_set1_pd(m_s);
        const __m128d toA = _mm_mul_pd(_mm_add_pd(_mm_mul_pd(qax, qax), _mm_mul_pd(qay, qay)), s);
        const __m128d toB = _mm_mul_pd(_mm_add_pd(_mm_mul_pd(qbx, qbx), _mm_mul_pd(qby, qby)), s);
        const __m128d line = _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_set1_pd(m_line.la), x),
                                            _mm_mul_pd(_mm_set1_pd(m_line.lb), y)),
            _mm_set1_pd(m_line.lc));
        const __m128d key = select(nearA, toA, select(nearB, toB, _mm_mul_pd(line, line)));
        if (!m_hasNext)
            return key;
        return _mm_mul_pd(key, select(whole(x, y, qax, qay), _mm_set1_pd(1.0), _mm_set1_pd(0.25)));
    }
#endif

private:
#if defined(__SSE2__)
    // leftOrRight(q - a, b - q) * turn > 0, as masks: for a turn of 1 the cross product
    // is at least 1e-9; for -1 it is not above -1e-9 (a NaN counts as -1); for 0 never.
    __m128d whole(__m128d x, __m128d y, __m128d qax, __m128d qay) const
    {
        const __m128d bqx = _mm_sub_pd(_mm_set1_pd(m_b.x()), x);
        const __m128d bqy = _mm_sub_pd(_mm_set1_pd(m_b.y()), y);
        const __m128d cross = _mm_sub_pd(_mm_mul_pd(qax, bqy), _mm_mul_pd(qay, bqx));
        return m_turn > 0 ? _mm_cmpge_pd(cross, _mm_set1_pd(1e-9))
            : m_turn < 0  ? _mm_cmpngt_pd(cross, _mm_set1_pd(-1e-9))
                          : _mm_setzero_pd();
    }

    static __m128d dot(const QPointF &v, __m128d x, __m128d y)
    {
        return _mm_add_pd(_mm_mul_pd(_mm_set1_pd(v.x()), x), _mm_mul_pd(_mm_set1_pd(v.y()), y));
    }
    static __m128d select(__m128d mask, __m128d yes, __m128d no)
    {
        return _mm_or_pd(_mm_and_pd(mask, yes), _mm_andnot_pd(mask, no));
    }
#endif

    QPointF m_a, m_b, m_ab, m_ba;
    Util::detail::LineCoefficients m_line;
    double m_s;
    bool m_hasNext;
    int m_turn;
};

// The split search of quickSplitPoint over points first..last without a division or root
// per point. Every weight w (a distance from chord a-b, halved against the bend) is
// compared through key = w * w * s, where s = la * la + lb * lb is the square of the
// chord's length as SegmentDistance adds it up: the square of a distance to an end is
// multiplied by s, the square of the line's value (la * x + lb * y + lc) is the key
// itself, and halving is a quarter. Each key is within a few units in the last place of
// the exact weight's w * w * s, so
// - a point whose key is below the greatest key by more than a factor of 1 - 2^-40 has a
//   weight strictly below the greatest weight: it can neither be the farthest point nor
//   tie with it. Where several points are near the greatest key they are weighed
//   exactly, as splitPoint weighs them, and the last of the heaviest wins;
// - the split threshold is the chord's length times ratio, so the piece splits when the
//   farthest weight is above it, whose key is s * s * ratio * ratio. A greatest key
//   farther than that factor from it, on either side, decides without weighing: below, no
//   split; above, a split at the one point near the greatest key, if there is one.
// Only where every number stays well inside the normal range of doubles (chord, keys
// and ratio between fixed bounds, no NaN); otherwise returns kUndecided and the caller
// weighs every point exactly. `keys` is working space of at least last - first + 1.
int splitBySquares(const QPointF *p, const QPointF &a, const QPointF &b, int first, int last,
    bool hasNext, int turn, double ratio, double *keys)
{
    const ChordKeys keyOf(a, b, hasNext, turn);
    const double s = keyOf.squaredLength();
    if (!(last >= first && s >= 1e-100 && s <= 1e100 && ratio >= 1e-50 && ratio <= 1e50))
        return kUndecided;

    // The greatest key, where it is, and the second greatest (which equals the greatest
    // when two points share it): one point is the only one near the greatest when the
    // second is not near.
    double greatest = 0.0;
    double second = 0.0;
    int at = -1;
    bool inRange = true;
    int k = first;
#if defined(__SSE2__)
    // Lane by lane, over the points at even and odd distances from `first`.
    __m128d greatest2 = _mm_setzero_pd();
    __m128d second2 = _mm_setzero_pd();
    __m128d at2 = _mm_set1_pd(-1.0);
    __m128d index2 = _mm_set_pd(first + 1, first);
    __m128d inRange2 = _mm_castsi128_pd(_mm_set1_epi32(-1));
    const __m128d two = _mm_set1_pd(2.0);
    const __m128d huge = _mm_set1_pd(1e250);
    for (; k < last; k += 2) {
        const __m128d q0 = _mm_loadu_pd(reinterpret_cast<const double *>(p + k));
        const __m128d q1 = _mm_loadu_pd(reinterpret_cast<const double *>(p + k + 1));
        const __m128d key = keyOf(_mm_unpacklo_pd(q0, q1), _mm_unpackhi_pd(q0, q1));
        _mm_storeu_pd(keys + (k - first), key);
        const __m128d higher = _mm_cmpge_pd(key, greatest2);
        second2 = _mm_max_pd(second2, _mm_min_pd(greatest2, key));
        greatest2 = _mm_max_pd(greatest2, key);
        at2 = _mm_or_pd(_mm_and_pd(higher, index2), _mm_andnot_pd(higher, at2));
        index2 = _mm_add_pd(index2, two);
        inRange2 = _mm_and_pd(inRange2, _mm_cmple_pd(key, huge)); // false for a NaN too
    }
    const double g0 = _mm_cvtsd_f64(greatest2);
    const double g1 = _mm_cvtsd_f64(_mm_unpackhi_pd(greatest2, greatest2));
    const double s0 = _mm_cvtsd_f64(second2);
    const double s1 = _mm_cvtsd_f64(_mm_unpackhi_pd(second2, second2));
    greatest = std::max(g0, g1);
    second = std::max(std::max(s0, s1), std::min(g0, g1));
    at = int(g0 >= g1 ? _mm_cvtsd_f64(at2) : _mm_cvtsd_f64(_mm_unpackhi_pd(at2, at2)));
    inRange = _mm_movemask_pd(inRange2) == 3;
#endif
    for (; k <= last; ++k) {
        const double key = keyOf(p[k]);
        keys[k - first] = key;
        second = std::max(second, std::min(greatest, key));
        at = key >= greatest ? k : at;
        greatest = std::max(greatest, key);
        inRange &= key <= 1e250; // false for a NaN too
    }
    if (!(inRange && greatest >= 1e-200))
        return kUndecided;
    constexpr double kBelow = 1.0 - 0x1p-40;
    constexpr double kAbove = 1.0 + 0x1p-40;
    const double splitKey = s * s * (ratio * ratio);
    if (greatest < splitKey * kBelow)
        return -1;
    const double near = greatest * kBelow;
    if (second < near && greatest > splitKey * kAbove)
        return at;

    const Util::detail::SegmentDistance chord(a, b);
    double farthest = -1.0;
    int best = -1;
    for (int j = last; j >= first; --j) {
        if (!(keys[j - first] >= near))
            continue;
        const double w = chord(p[j]) * (wholeWeight(p[j], a, b, hasNext, turn) ? 1.0 : 0.5);
        if (w > farthest) {
            farthest = w;
            best = j;
        }
    }
    return farthest > chord.length() * ratio ? best : -1;
}

// splitPoint<SegmentDistance> for the passes that write no trace, given reach[k], the
// stroke's length up to point k added up as calcStrokeLength adds it (so that the last
// is totalLength). Same decisions, fewer unpredictable branches:
// - The search takes, among the points past the end margins, the greatest weight (a
//   point's distance from the chord, halved against the bend), ties to the later point
//   and never a NaN. So it is the greatest weight, found first, and then the last point
//   that has it; and nothing needs finding when that weight does not reach the split.
// - The end margin is zero, and the arc length into the piece only grows, so the points
//   past the margins are a run: from the first with length behind it in the piece to
//   the last with length ahead of it in the stroke. When the piece's first step has
//   length, the run starts at the first inner point. Added up from the piece's start,
//   the arc length is never more than reach[] (rounding is monotonic), so the run goes
//   on at least while reach[] is short of the total; only past that (at a stroke's end
//   of zero-length steps) is the arc length itself added up to find where it stops.
// - A halved weight is never greater than the whole one, so halving every point the
//   bend rule halves, not only those splitPoint gets to, leaves its outcome unchanged.
int quickSplitPoint(const QPointF *p, const double *len, const double *reach,
    const SegmentIndex &piece, const SegmentIndex *next, double totalLength, double ratio,
    double *weighted)
{
    const int first = piece.start + 1;
    if (!(len[piece.start] > 0.0 && std::isfinite(totalLength)))
        return splitPoint<Util::detail::SegmentDistance>(
            p, len, piece, next, totalLength, ratio, weighted);
    int last = piece.end - 1;
    if (!(reach[last] < totalLength)) {
        double cum = 0.0;
        for (int k = first; k <= last; ++k) {
            cum += len[k - 1];
            if (!(totalLength - cum > 0.0)) {
                last = k - 1;
                break;
            }
        }
    }

    const QPointF a = p[piece.start];
    const QPointF b = p[piece.end];
    const int turn = next ? Util::detail::leftOrRight(b - a, p[next->end] - p[next->start]) : 0;
    const int best = last - first >= 3
        ? splitBySquares(p, a, b, first, last, next != nullptr, turn, ratio, weighted)
        : kUndecided;
    if (best != kUndecided)
        return best;

    const Util::detail::SegmentDistance chord(a, b);
    double farthest = -1.0; // below every weight: none yet
    for (int k = first; k <= last; ++k) {
        const double w = chord(p[k]) * (wholeWeight(p[k], a, b, next != nullptr, turn) ? 1.0 : 0.5);
        weighted[k - first] = w;
        // NaN never wins: farthest < NaN is false.
        farthest = farthest < w ? w : farthest;
    }
    if (!(farthest >= 0.0 && farthest > chord.length() * ratio))
        return -1;
    int found = last;
    while (!(weighted[found - first] == farthest))
        --found;
    return found;
}

// One splitting pass of divideRuggedSegment.
void divideRuggedPass(const QVector<QPointF> &points, const QVector<double> &lengths,
    QVector<SegmentIndex> &segments, double totalLength, double ratio, SmoothScratch &scratch)
{
    TRACE_FUNCTION("strokeutil", "divideRuggedSegment");
    const int n = points.size();
    const int lengthCount = lengths.size();
    const QPointF *p = points.constData();
    const double *len = lengths.constData();
    const bool tracing = basic_logging::traceEnabled();

    // The pass visits the pieces from the last to the first and fills the new list
    // from the back of `scratch` towards its front; that is the same as splitting in
    // place by insertion (the following piece of piece i is whatever piece i + 1 became
    // in this pass) but keeps the pass linear instead of moving the tail of the list at
    // every split. The new list ends up as out[w, 2 * count).
    const int count = segments.size();
    if (scratch.pieces.size() < std::size_t(count) * 2)
        scratch.pieces.resize(std::size_t(count) * 2);
    if (scratch.distances.size() < std::size_t(n))
        scratch.distances.resize(std::size_t(n));
    SegmentIndex *out = scratch.pieces.data();
    double *distances = scratch.distances.data();
    int w = count * 2;
    bool split = false;
    for (int i = count - 1; i >= 0; --i) {
        SegmentIndex piece = segments.at(i);
        if (!piece.divisible || piece.end - piece.start <= 1 || !pieceFits(piece, n, lengthCount)) {
            out[--w] = piece;
            continue;
        }
        const SegmentIndex *next
            = w < count * 2 && pieceFits(out[w], n, lengthCount) ? &out[w] : nullptr;
        const int best = tracing ? splitPoint<Util::detail::TracedSegmentDistance>(
                             p, len, piece, next, totalLength, ratio, distances)
                                 : splitPoint<Util::detail::SegmentDistance>(
                                     p, len, piece, next, totalLength, ratio, distances);
        if (best >= 0) {
            out[--w] = SegmentIndex { best, piece.end, true };
            out[--w] = SegmentIndex { piece.start, best, true };
            split = true;
        } else {
            piece.divisible = false;
            out[--w] = piece;
        }
    }
    if (split) {
        segments.resize(count * 2 - w);
        std::copy(out + w, out + count * 2, segments.begin());
    } else {
        // Only flags changed: write them back without reallocating.
        for (int i = 0; i < count; ++i)
            segments[i].divisible = out[w + i].divisible;
    }
    TRACE_EXIT();
}

// The passes of divideIntoSegments, from the whole stroke (at least three points) until
// a pass splits nothing, when no trace is written. Each pass makes exactly the decisions
// of divideRuggedPass, but looks only at the pieces that may still split: the pieces are
// a chain of break points (ends[s] is the last point of the piece that starts at point
// s), and the pieces still open are listed by their first points. A pass goes from the
// last open piece to the first, as divideRuggedPass does, so ends[] gives each piece's
// following piece as this pass left it. A piece that does not split is closed (its flag
// false, as the pass leaves it); a piece of one step is never looked at (its flag stays
// true).
void splitUntilSmooth(const QVector<QPointF> &points, QVector<SegmentIndex> &segments, double ratio,
    SmoothScratch &scratch)
{
    const int n = points.size();
    const QPointF *p = points.constData();
    // The working lists only grow (every entry read below is written first), so that a
    // shorter stroke after a longer one does not clear them.
    if (scratch.lengths.size() < n - 1)
        scratch.lengths.resize(n - 1);
    if (scratch.reach.size() < std::size_t(n))
        scratch.reach.resize(std::size_t(n));
    if (scratch.ends.size() < std::size_t(n))
        scratch.ends.resize(std::size_t(n));
    if (scratch.distances.size() < std::size_t(n))
        scratch.distances.resize(std::size_t(n));
    // The step lengths as calcAdjacentLength takes them and, in the same sweep, the
    // running sums: the last is the stroke's length as calcStrokeLength adds it up.
    double *steps = scratch.lengths.data();
    double *reach = scratch.reach.data();
    reach[0] = 0.0;
    int k = 0;
#if defined(__SSE2__)
    // Two steps' roots at a time; the running sum stays in order.
    for (; k + 2 < n; k += 2) {
        _mm_storeu_pd(steps + k, Util::detail::twoStepLengths(p + k));
        reach[k + 1] = reach[k] + steps[k];
        reach[k + 2] = reach[k + 1] + steps[k + 1];
    }
#endif
    for (; k + 1 < n; ++k) {
        steps[k] = Util::detail::distance(p[k], p[k + 1]);
        reach[k + 1] = reach[k] + steps[k];
    }
    const double totalLength = reach[n - 1];
    const double *len = steps;
    int *ends = scratch.ends.data();
    std::vector<int> &open = scratch.open;
    std::vector<int> &opened = scratch.opened;
    ends[0] = n - 1;
    open.assign(1, 0);
    int count = 1; // pieces: one more with every split
    while (!open.empty()) {
        // open lists first points from the last piece to the first.
        opened.clear();
        for (const int start : open) {
            const int end = ends[start];
            const SegmentIndex following { end, end < n - 1 ? ends[end] : end, true };
            const SegmentIndex piece { start, end, true };
            const int best = quickSplitPoint(p, len, reach, piece,
                end < n - 1 ? &following : nullptr, totalLength, ratio, scratch.distances.data());
            if (best < 0)
                continue;
            ends[start] = best;
            ends[best] = end;
            ++count;
            if (end - best > 1)
                opened.push_back(best);
            if (best - start > 1)
                opened.push_back(start);
        }
        open.swap(opened);
    }
    segments.resize(count);
    SegmentIndex *out = segments.data();
    for (int start = 0; start < n - 1; start = ends[start])
        *out++ = SegmentIndex { start, ends[start], ends[start] - start <= 1 };
}

// copyMovingPoints of two strokes at once, side by side (see thinPair); defined with
// copyMovingPoints.
void copyMovingPointsOfTwo(const QVector<QPointF> &a, const QVector<QPointF> &b,
    QVector<QPointF> &outA, QVector<QPointF> &outB, double minTravel);

// The rest of a smoothing once the stroke (not empty) is thinned: its noise removed, its
// pieces found, and their ends written to out.
void smoothThinned(
    QVector<QPointF> &thinned, QVector<QPointF> &out, double ratio, SmoothScratch &scratch)
{
    removeNoise(thinned);
    divideIntoSegments(thinned, scratch.segments, ratio, scratch);
    out.resize(scratch.segments.size() + 1);
    QPointF *kept = out.data();
    *kept++ = thinned.first();
    for (const SegmentIndex &piece : qAsConst(scratch.segments))
        *kept++ = thinned[piece.end];
}

// getSmoothPoints with the given working space.
void smoothPoints(
    const QVector<QPointF> &points, QVector<QPointF> &out, double ratio, SmoothScratch &scratch)
{
    TRACE_FUNCTION("strokeutil", "getSmoothPoints");
    out.clear();
    if (points.isEmpty()) {
        TRACE_EXIT();
        return;
    }
    copyMovingPoints(points, scratch.thinned, 3.0);
    smoothThinned(scratch.thinned, out, ratio, scratch);
    TRACE_EXIT();
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
        out[i] = detail::distance(p[i], p[i + 1]);
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
    if (!basic_logging::traceEnabled())
        return sumOfSteps(points);
    QVector<double> lengths;
    return TRACE_RETURN(calcStrokeLength(points, lengths));
}

void getSmoothPoints(const QVector<QPointF> &points, QVector<QPointF> &out, double ratio)
{
    ScratchLoan loan;
    smoothPoints(points, out, ratio, loan.space());
}

namespace detail {

void getSmoothPointsOfTwo(const QVector<QPointF> &a, const QVector<QPointF> &b,
    QVector<QPointF> &outA, QVector<QPointF> &outB, double ratio)
{
    if (basic_logging::traceEnabled() || a.isEmpty() || b.isEmpty() || &a == &outA
        || &b == &outB || &a == &outB || &b == &outA) {
        getSmoothPoints(a, outA, ratio);
        getSmoothPoints(b, outB, ratio);
        return;
    }
    ScratchLoan loan;
    SmoothScratch &scratch = loan.space();
    outA.clear();
    outB.clear();
    copyMovingPointsOfTwo(a, b, scratch.thinned, scratch.thinnedOther, 3.0);
    smoothThinned(scratch.thinned, outA, ratio, scratch);
    smoothThinned(scratch.thinnedOther, outB, ratio, scratch);
}

} // namespace detail

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
    // The caller's list is the result; the loan's own list stays unused.
    ScratchLoan loan;
    divideIntoSegments(points, segments, ratio, loan.space());
}

void divideRuggedSegment(const QVector<QPointF> &points, const QVector<double> &lengths,
    QVector<SegmentIndex> &segments, double totalLength, double ratio)
{
    ScratchLoan loan;
    divideRuggedPass(points, lengths, segments, totalLength, ratio, loan.space());
}

namespace {

// divideStrokeToSegments with the given working space.
void divideIntoSegments(const QVector<QPointF> &points, QVector<SegmentIndex> &segments,
    double ratio, SmoothScratch &scratch)
{
    TRACE_FUNCTION("strokeutil", "divideStrokeToSegments");
    const int n = points.size();
    segments.clear();
    segments.reserve(std::max(n - 1, 1));
    if (!basic_logging::traceEnabled() && n > 2) {
        splitUntilSmooth(points, segments, ratio, scratch);
        TRACE_EXIT();
        return;
    }
    QVector<double> &lengths = scratch.lengths;
    const double total = Util::calcStrokeLength(points, lengths);
    segments.append(SegmentIndex { 0, n - 1, true });
    // Terminates: a split always lands strictly inside its piece, so both halves are
    // shorter and at most n - 2 splits can happen.
    for (;;) {
        const int before = segments.size();
        divideRuggedPass(points, lengths, segments, total, ratio, scratch);
        if (segments.size() == before)
            break;
    }
    TRACE_EXIT();
}

} // namespace

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

namespace {

#if !defined(__SSE2__)
// keep ? 0.0 : value, by masking its bits: the compiler would otherwise branch on keep,
// which is not predictable.
double zeroIf(bool keep, double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits &= std::uint64_t(keep) - 1;
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}
#endif

// The thinning of copyMovingPoints over points [from, to): copies each point to *kept and
// advances past it only if the travel since the last kept point, this step included, is
// more than minTravel (then the travel starts again from zero). Written without jumps:
// whether a point is kept is not predictable.
QPointF *thinRun(
    const QPointF *p, int from, int to, double minTravel, QPointF *kept, double &travel)
{
#if defined(__SSE2__)
    // The low lane carries the travel; the high lane only ever holds zeros.
    __m128d carried = _mm_set_sd(travel);
    const __m128d limit = _mm_set_sd(minTravel);
    const auto advance = [&](int i, double step) {
        const __m128d moved = _mm_add_pd(carried, _mm_set_sd(step));
        const __m128d keep = _mm_cmpgt_pd(moved, limit); // false for a NaN, as > is
        *kept = p[i];
        kept += _mm_movemask_pd(keep) & 1;
        carried = _mm_andnot_pd(keep, moved);
    };
    int i = from;
    // Two steps' lengths at a time.
    for (; i + 1 < to; i += 2) {
        const __m128d steps = Util::detail::twoStepLengths(p + i - 1);
        advance(i, _mm_cvtsd_f64(steps));
        advance(i + 1, _mm_cvtsd_f64(_mm_unpackhi_pd(steps, steps)));
    }
    for (; i < to; ++i)
        advance(i, Util::detail::distance(p[i - 1], p[i]));
    travel = _mm_cvtsd_f64(carried);
#else
    for (int i = from; i < to; ++i) {
        const double moved = travel + Util::detail::distance(p[i - 1], p[i]);
        const bool keep = moved > minTravel;
        *kept = p[i];
        kept += keep;
        travel = zeroIf(keep, moved);
    }
#endif
    return kept;
}

} // namespace

namespace {

// Where copyMovingPoints splits its run: at the point it keeps as the far side of a small
// closed figure, or, for any other stroke, at the last point (n - 1).
int thinningSplit(const QPointF *p, int n, double minTravel)
{
    // A stroke that ends near its start keeps the point farthest from its start, so that
    // the far side of a small closed figure is never thinned away.
    int farIndex = -1;
    if (n > 2 && Util::detail::distance(p[0], p[n - 1]) < minTravel) {
        farIndex = 1;
        double farthest = Util::detail::distance(p[0], p[1]);
        double farthestSquared = Util::detail::dot(p[1] - p[0], p[1] - p[0]);
        for (int i = 2; i <= n - 2; ++i) {
            // A root never exceeds the root of a larger square, so only a point whose
            // square beats the farthest one's can be farther; the root decides.
            const double squared = Util::detail::dot(p[i] - p[0], p[i] - p[0]);
            if (!(squared > farthestSquared))
                continue;
            const double d = Util::detail::distance(p[0], p[i]);
            if (d > farthest) {
                farthest = d;
                farthestSquared = squared;
                farIndex = i;
            }
        }
    }
    return farIndex >= 1 ? farIndex : n - 1;
}

// One run of thinning still to do: points from..to - 1 of p, written on from kept, with
// the travel carried into the run.
struct ThinJob
{
    const QPointF *p;
    int from;
    int to;
    QPointF *kept;
    double travel;

    void runAlone(double minTravel) { kept = thinRun(p, from, to, minTravel, kept, travel); }
};

// Two runs of thinning at once, each giving exactly what thinRun gives it alone. The
// travel is a chain of an add, a compare and a mask per point, which leaves the
// arithmetic units mostly waiting; the two runs' chains are independent, so they share
// one register (a lane each) and go at the pace of one.
void thinPair(ThinJob &a, ThinJob &b, double minTravel)
{
    const int common = std::min(a.to - a.from, b.to - b.from);
    int k = 0;
#if defined(__SSE2__)
    if (common > 0) {
        __m128d carried = _mm_set_pd(b.travel, a.travel);
        const __m128d limit = _mm_set1_pd(minTravel);
        const auto load = [](const QPointF *q) {
            return _mm_loadu_pd(reinterpret_cast<const double *>(q));
        };
        __m128d beforeA = load(a.p + a.from - 1);
        __m128d beforeB = load(b.p + b.from - 1);
        for (; k < common; ++k) {
            const __m128d hereA = load(a.p + a.from + k);
            const __m128d hereB = load(b.p + b.from + k);
            // Each lane's step as thinRun takes it: the previous point minus this one.
            const __m128d dx
                = _mm_sub_pd(_mm_unpacklo_pd(beforeA, beforeB), _mm_unpacklo_pd(hereA, hereB));
            const __m128d dy
                = _mm_sub_pd(_mm_unpackhi_pd(beforeA, beforeB), _mm_unpackhi_pd(hereA, hereB));
            const __m128d step = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(dx, dx), _mm_mul_pd(dy, dy)));
            const __m128d moved = _mm_add_pd(carried, step);
            const __m128d keep = _mm_cmpgt_pd(moved, limit); // false for a NaN, as > is
            const int mask = _mm_movemask_pd(keep);
            _mm_storeu_pd(reinterpret_cast<double *>(a.kept), hereA);
            a.kept += mask & 1;
            _mm_storeu_pd(reinterpret_cast<double *>(b.kept), hereB);
            b.kept += mask >> 1;
            carried = _mm_andnot_pd(keep, moved);
            beforeA = hereA;
            beforeB = hereB;
        }
        a.travel = _mm_cvtsd_f64(carried);
        b.travel = _mm_cvtsd_f64(_mm_unpackhi_pd(carried, carried));
    }
#endif
    a.from += k;
    b.from += k;
    a.runAlone(minTravel);
    b.runAlone(minTravel);
}

// The thinning of copyMovingPoints for one stroke, in the steps that thinPair can share
// with another stroke's: the first point, the run up to the split, then (at a far point)
// the far point and the run after it, and the last point.
class Thinning
{
public:
    Thinning(const QVector<QPointF> &points, QVector<QPointF> &out, double minTravel)
        : m_out(out)
        , m_n(points.size())
    {
        const QPointF *p = points.constData();
        m_farAt = thinningSplit(p, m_n, minTravel);
        out.resize(m_n);
        QPointF *kept = out.data();
        if (m_n > 0)
            *kept++ = p[0];
        m_job = ThinJob { p, 1, m_farAt, kept, 0.0 };
    }

    ThinJob &job() { return m_job; }

    // After the first run: true when a far point splits the stroke, and then sets up the
    // run after it.
    bool startSecondRun()
    {
        if (m_farAt >= m_n - 1)
            return false;
        *m_job.kept++ = m_job.p[m_farAt];
        m_job = ThinJob { m_job.p, m_farAt + 1, m_n - 1, m_job.kept, 0.0 };
        return true;
    }

    void finish()
    {
        if (m_n > 1)
            *m_job.kept++ = m_job.p[m_n - 1];
        m_out.resize(int(m_job.kept - m_out.constData()));
    }

private:
    QVector<QPointF> &m_out;
    int m_n;
    int m_farAt;
    ThinJob m_job;
};

void copyMovingPointsOfTwo(const QVector<QPointF> &a, const QVector<QPointF> &b,
    QVector<QPointF> &outA, QVector<QPointF> &outB, double minTravel)
{
    Thinning first(a, outA, minTravel);
    Thinning second(b, outB, minTravel);
    thinPair(first.job(), second.job(), minTravel);
    const bool firstGoesOn = first.startSecondRun();
    const bool secondGoesOn = second.startSecondRun();
    if (firstGoesOn && secondGoesOn)
        thinPair(first.job(), second.job(), minTravel);
    else if (firstGoesOn)
        first.job().runAlone(minTravel);
    else if (secondGoesOn)
        second.job().runAlone(minTravel);
    first.finish();
    second.finish();
}

} // namespace

void copyMovingPoints(const QVector<QPointF> &points, QVector<QPointF> &out, double minTravel)
{
    TRACE_FUNCTION("strokeutil", "copyMovingPoints");
    out.clear();
    // The travel since the last kept point is the loop's only carried value; the far
    // point is kept by splitting the loop around it, so that the carried step is an add,
    // a compare and a mask, all on doubles.
    Thinning thinning(points, out, minTravel);
    thinning.job().runAlone(minTravel);
    if (thinning.startSecondRun())
        thinning.job().runAlone(minTravel);
    thinning.finish();
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
    // The filter below can only fire where a step's x * y is not finite (see s2); for
    // every other stroke it leaves the points as they are, so that case skips the work.
    // With tracing on the whole pass runs, so that the trace shows it as always.
    if (!basic_logging::traceEnabled() && stepProductsAreFinite(points)) {
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
