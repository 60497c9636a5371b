#include <libutility/geometry/geometry.h>
#include <libutility/geometry/strokeutil.h>

#include "support/printers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <random>

static bool operator==(const SegmentIndex &a, const SegmentIndex &b)
{
    return a.start == b.start && a.end == b.end && a.divisible == b.divisible;
}

static void PrintTo(const SegmentIndex &s, std::ostream *os)
{
    *os << '{' << s.start << ',' << s.end << ',' << s.divisible << '}';
}

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// Points 1.0 apart along the corners; the corners themselves are points of the stroke.
QVector<QPointF> polyline(const QVector<QPointF> &c)
{
    QVector<QPointF> points;
    for (int i = 0; i + 1 < c.size(); ++i) {
        const int steps = int(std::ceil(Util::getDistance(c[i], c[i + 1])));
        for (int s = 0; s < steps; ++s)
            points.append(c[i] + (c[i + 1] - c[i]) * (double(s) / steps));
    }
    points.append(c.last());
    return points;
}

QVector<QPointF> randomWalk(std::mt19937 &rng, int n)
{
    std::uniform_real_distribution<double> step(-6.0, 6.0);
    QVector<QPointF> points { QPointF(0, 0) };
    while (points.size() < n)
        points.append(points.last() + QPointF(step(rng), step(rng)));
    return points;
}

// The splitting pass done the plain way, inserting in place; the library builds the new
// list instead and must end with exactly the same pieces.
void plainPass(const QVector<QPointF> &p, const QVector<double> &len, QVector<SegmentIndex> &seg,
    double total, double ratio)
{
    for (int i = seg.size() - 1; i >= 0; --i) {
        const SegmentIndex s = seg[i];
        if (!s.divisible || s.end - s.start <= 1)
            continue;
        const bool last = i == seg.size() - 1;
        const int turn = last ? 0
                              : Util::vectorLeftOrRight(
                                  p[s.end] - p[s.start], p[seg[i + 1].end] - p[seg[i + 1].start]);
        double cum = 0.0, maxDist = 0.0;
        int best = -1;
        for (int k = s.start + 1; k < s.end; ++k) {
            cum += len[k - 1];
            double d = Util::calcDistanceToLineSegment(p[s.start], p[s.end], p[k], nullptr);
            if (!last && Util::vectorLeftOrRight(p[k] - p[s.start], p[s.end] - p[k]) * turn <= 0)
                d *= 0.5;
            if (d >= maxDist && cum > 0.0 && total - cum > 0.0) {
                maxDist = d;
                best = k;
            }
        }
        if (best >= 0 && maxDist > Util::getDistance(p[s.start], p[s.end]) * ratio) {
            seg[i] = { best, s.end, true };
            seg.insert(i, { s.start, best, true });
        } else {
            seg[i].divisible = false;
        }
    }
}

void expectCoverage(const QVector<SegmentIndex> &segments, int n)
{
    ASSERT_FALSE(segments.isEmpty());
    EXPECT_EQ(segments.first().start, 0);
    EXPECT_EQ(segments.last().end, n - 1);
    for (int i = 0; i + 1 < segments.size(); ++i)
        EXPECT_EQ(segments[i].end, segments[i + 1].start) << "piece " << i;
}

} // namespace

TEST(Segmentation, SplitsWhereTheChordDeviationCalls)
{
    QVector<QPointF> line;
    for (int i = 0; i <= 50; ++i)
        line.append(QPointF(i, 0.5 * i));
    const QVector<QPointF> ell = polyline({ QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) });
    ASSERT_EQ(ell[40], QPointF(0, 40));

    struct Case
    {
        QVector<QPointF> points;
        double ratio;
        QVector<SegmentIndex> expected;
    } const cases[] = {
        { line, 0.0, { { 0, 50, false } } }, // collinear stays one piece
        { ell, 0.1, { { 0, 40, false }, { 40, 70, false } } }, // the L splits at its corner
        { { QPointF(0, 0), QPointF(5, 0.001), QPointF(10, 0) }, 0.0,
            { { 0, 1, true }, { 1, 2, true } } },
        { { QPointF(1, 1) }, 0.1, { { 0, 0, true } } },
        { {}, 0.1, { { 0, -1, true } } },
    };
    for (const Case &c : cases) {
        QVector<SegmentIndex> segments;
        divideStrokeToSegments(c.points, segments, c.ratio);
        EXPECT_EQ(segments, c.expected) << c.points.size() << " points, ratio " << c.ratio;
    }
    EXPECT_EQ(Util::calcStrokeLength({ QPointF(4, 4) }), 0.0);
    EXPECT_EQ(getDistanceToDividePoint(ell, 3, 4), -1.0);
}

TEST(Segmentation, BendAgainstTheNextPieceCountsHalf)
{
    // Piece {0, 2} with a bump of height h at point 1, followed by piece {2, 3} turning
    // down the screen: a downward bump (h > 0) bends against that turn.
    struct Case
    {
        double h;
        bool followed, split;
    } const cases[] = {
        { -2.0, true, true }, // with the turn: 2 > 10 * 0.15
        { 2.0, true, false }, // against it: 2 * 0.5 < 1.5
        { 2.0, false, true }, // the last piece is never weighted
        { 3.2, true, true }, // 3.2 * 0.5 > 1.5
    };
    for (const Case &c : cases) {
        const QVector<QPointF> points { QPointF(0, 0), QPointF(5, c.h), QPointF(10, 0),
            QPointF(10, 10) };
        QVector<double> lengths;
        const double total = Util::calcStrokeLength(points, lengths);
        QVector<SegmentIndex> segments { { 0, 2, true } };
        if (c.followed)
            segments.append({ 2, 3, false });
        divideRuggedSegment(points, lengths, segments, total, 0.15);
        EXPECT_EQ(segments.size(), (c.followed ? 2 : 1) + (c.split ? 1 : 0)) << "h " << c.h;
    }
}

TEST(Segmentation, OnePassSplitsOnceAndTiesGoToTheLaterPoint)
{
    const QVector<QPointF> w
        = polyline({ QPointF(0, 0), QPointF(10, 30), QPointF(20, 0), QPointF(30, 30) });
    QVector<double> lengths;
    const double total = Util::calcStrokeLength(w, lengths);
    QVector<SegmentIndex> segments { { 0, w.size() - 1, true } };
    divideRuggedSegment(w, lengths, segments, total, 0.05);
    // Both inner corners lie equally far from the chord.
    const QVector<SegmentIndex> expected { { 0, w.indexOf(QPointF(20, 0)), true },
        { w.indexOf(QPointF(20, 0)), w.size() - 1, true } };
    EXPECT_EQ(segments, expected);
}

TEST(Segmentation, RandomStrokesMatchPlainInsertionAndCoverTheStroke)
{
    std::mt19937 rng(7);
    for (int round = 0; round < 60; ++round) {
        const QVector<QPointF> points = randomWalk(rng, 2 + round * 5);
        const double ratio = (round % 4) * 0.05;
        QVector<double> lengths;
        const double total = Util::calcStrokeLength(points, lengths);
        QVector<SegmentIndex> ours { { 0, points.size() - 1, true } }, plain = ours;
        for (int before = 0; before != plain.size();) {
            before = plain.size();
            divideRuggedSegment(points, lengths, ours, total, ratio);
            plainPass(points, lengths, plain, total, ratio);
            ASSERT_EQ(ours, plain) << "round " << round;
        }
        divideStrokeToSegments(points, ours, ratio);
        EXPECT_EQ(ours, plain) << "round " << round;
        expectCoverage(ours, points.size());
    }
}

TEST(Thinning, KeepsTravelledPointsEndsAndTheFarPoint)
{
    QVector<QPointF> line, out, expected;
    for (int i = 0; i < 100; ++i)
        line.append(QPointF(i, 0));
    for (int i = 0; i < 100; i += 4)
        expected.append(QPointF(i, 0));
    expected.append(QPointF(99, 0));
    copyMovingPoints(line, out, 3.0);
    EXPECT_EQ(out, expected);

    QVector<QPointF> circle; // radius 1, closed
    for (int i = 0; i <= 200; ++i)
        circle.append(QPointF(std::cos(i * M_PI / 100), std::sin(i * M_PI / 100)));
    copyMovingPoints(circle, out, 3.0);
    // 0, 96 (travel > 3), 100 (the far point), 196, 200
    EXPECT_EQ(
        out, (QVector<QPointF> { circle[0], circle[96], circle[100], circle[196], circle[200] }));

    // Two points equally far from the start: the first one is the far point.
    copyMovingPoints({ QPointF(0, 0), QPointF(1, 0), QPointF(0, 1), QPointF(0, 0.5) }, out, 3.0);
    EXPECT_EQ(out, (QVector<QPointF> { QPointF(0, 0), QPointF(1, 0), QPointF(0, 0.5) }));
}

TEST(NoiseFilters, ZigzagFilterLeavesFiniteStrokesAloneAndLoopsCollapse)
{
    QVector<QPointF> saw;
    for (int i = 0; i < 40; ++i)
        saw.append(QPointF(i * 2.0, (i % 2) * 3.0 + (i % 3)));
    QVector<QPointF> filtered = saw;
    removeNoise(filtered);
    EXPECT_EQ(filtered, saw);
    // Only a non-finite step makes the middle turn non-zero; then the point goes.
    QVector<QPointF> odd { QPointF(0, 0), QPointF(0, 1), QPointF(-kInf, 1), QPointF(3, 1),
        QPointF(3, 2) };
    removeNoise(odd);
    EXPECT_EQ(
        odd, (QVector<QPointF> { QPointF(0, 0), QPointF(0, 1), QPointF(3, 1), QPointF(3, 2) }));

    // The last step (8,-4)->(4,4) crosses the step three back, (0,0)->(10,0), at (6,0).
    QVector<QPointF> loop { QPointF(-10, 5), QPointF(0, 0), QPointF(10, 0), QPointF(8, -4),
        QPointF(4, 4) };
    removeCrossNoise(loop);
    EXPECT_EQ(
        loop, (QVector<QPointF> { QPointF(-10, 5), QPointF(0, 0), QPointF(6, 0), QPointF(4, 4) }));
    // Two loops in a row collapse one after the other.
    QVector<QPointF> twice { QPointF(0, 0), QPointF(10, 0), QPointF(8, -4), QPointF(4, 4),
        QPointF(4, 10), QPointF(1, 7), QPointF(7, 6) };
    removeCrossNoise(twice);
    EXPECT_EQ(twice,
        (QVector<QPointF> {
            QPointF(0, 0), QPointF(6, 0), QPointF(4, 4), QPointF(4, 6.5), QPointF(7, 6) }));
}

TEST(Averaging, IndexesAreClamped)
{
    const QVector<QPointF> p { QPointF(0, 0), QPointF(2, 4), QPointF(4, 0), QPointF(6, 2),
        QPointF(8, 4), QPointF(10, 6) };
    struct Case
    {
        int from, to;
        QPointF expected;
    } const cases[]
        = { { 5, 2, { 0, 0 } }, { -3, 1, { 1, 2 } }, { 2, -1, { 7, 3 } }, { 4, 99, { 9, 5 } } };
    for (const Case &c : cases)
        EXPECT_EQ(Util::getAveragePoint(p, c.from, c.to), c.expected) << c.from << ".." << c.to;
}

TEST(Smoothing, KeepsTheEndsOfAnyStroke)
{
    QVector<QPointF> out { QPointF(1, 1) };
    Util::getSmoothPoints({}, out, 0.1);
    EXPECT_TRUE(out.isEmpty());
    const QVector<QPointF> ell = polyline({ QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) });
    Util::getSmoothPoints(ell, out, 0.1);
    EXPECT_EQ(out, (QVector<QPointF> { QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) }));

    std::mt19937 rng(3);
    for (int round = 0; round < 100; ++round) {
        const QVector<QPointF> points = randomWalk(rng, 1 + round * 3);
        Util::getSmoothPoints(points, out, round % 2 ? 0.01 : 0.1);
        ASSERT_GE(out.size(), 2) << "round " << round;
        EXPECT_EQ(out.first(), points.first()) << "round " << round;
        EXPECT_EQ(out.last(), points.last()) << "round " << round;
    }

    // Non-finite coordinates end cleanly, with pieces still covering the stroke.
    const QVector<QPointF> bad { QPointF(0, 0), QPointF(kNaN, 5), QPointF(10, -kInf),
        QPointF(kInf, 0), QPointF(30, 9) };
    QVector<SegmentIndex> segments;
    divideStrokeToSegments(bad, segments, 0.0);
    expectCoverage(segments, bad.size());
    QVector<QPointF> loop = bad;
    removeCrossNoise(loop);
    Util::getSmoothPoints(bad, out, 0.0);
    EXPECT_GE(out.size(), 2);
}
