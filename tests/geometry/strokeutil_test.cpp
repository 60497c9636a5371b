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

using Points = QVector<QPointF>;
using Pieces = QVector<SegmentIndex>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// Points 1.0 apart along the corners; the corners themselves are points of the stroke.
Points polyline(const Points &c)
{
    Points points;
    for (int i = 0; i + 1 < c.size(); ++i) {
        const int steps = int(std::ceil(Util::getDistance(c[i], c[i + 1])));
        for (int s = 0; s < steps; ++s)
            points.append(c[i] + (c[i + 1] - c[i]) * (double(s) / steps));
    }
    points.append(c.last());
    return points;
}

void expectCoverage(const Pieces &segments, int n)
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
    Points line;
    for (int i = 0; i <= 50; ++i)
        line.append(QPointF(i, 0.5 * i));
    const Points ell = polyline({ QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) });
    struct Case
    {
        Points points;
        double ratio;
        Pieces expected;
    } const cases[] = {
        { line, 0.0, { { 0, 50, false } } }, // collinear stays one piece
        { ell, 0.1, { { 0, 40, false }, { 40, 70, false } } }, // the L splits at its corner
        { { QPointF(0, 0), QPointF(5, 0.001), QPointF(10, 0) }, 0.0,
            { { 0, 1, true }, { 1, 2, true } } },
        { { QPointF(1, 1) }, 0.1, { { 0, 0, true } } },
        { {}, 0.1, { { 0, -1, true } } },
    };
    for (const Case &c : cases) {
        Pieces segments;
        divideStrokeToSegments(c.points, segments, c.ratio);
        EXPECT_EQ(segments, c.expected) << c.points.size() << " points, ratio " << c.ratio;
    }
    EXPECT_EQ(Util::calcStrokeLength({ QPointF(4, 4) }), 0.0);
    EXPECT_EQ(getDistanceToDividePoint(ell, 3, 4), -1.0);
}

// One splitting pass over given pieces: the bend weighting, the next-pass rule and ties.
TEST(Segmentation, OnePassWeighsBendsAndLeavesNewPiecesToTheNext)
{
    // Piece {0, 2} bumps by h at point 1; piece {2, 3} turns down the screen, so a
    // downward bump (h > 0) bends against that turn and counts half. Ratio 0.15, chord 10.
    const auto bump = [](double h) {
        return Points { QPointF(0, 0), QPointF(5, h), QPointF(10, 0), QPointF(10, 10) };
    };
    // Piece {2, 5} splits at 3 in the same pass; the piece before it must then turn into
    // the new {2, 3} (down, so the upward bump counts fully), not into the old {2, 5} (up).
    const Points into { QPointF(0, 0), QPointF(5, -2), QPointF(10, 0), QPointF(15, 20),
        QPointF(25, 0), QPointF(30, -10) };
    const Points w = polyline({ QPointF(0, 0), QPointF(10, 30), QPointF(20, 0), QPointF(30, 30) });
    const int w20 = w.indexOf(QPointF(20, 0)), wEnd = w.size() - 1;
    struct Case
    {
        const char *row;
        Points points;
        Pieces before, after;
    } const cases[] = {
        { "with the turn: 2 > 1.5", bump(-2), { { 0, 2, true }, { 2, 3, false } },
            { { 0, 1, true }, { 1, 2, true }, { 2, 3, false } } },
        { "against it: 2 * 0.5 < 1.5", bump(2), { { 0, 2, true }, { 2, 3, false } },
            { { 0, 2, false }, { 2, 3, false } } },
        { "against it: 3.2 * 0.5 > 1.5", bump(3.2), { { 0, 2, true }, { 2, 3, false } },
            { { 0, 1, true }, { 1, 2, true }, { 2, 3, false } } },
        { "the last piece is unweighted", bump(2), { { 0, 2, true } },
            { { 0, 1, true }, { 1, 2, true } } },
        { "next piece as split in this pass", into, { { 0, 2, true }, { 2, 5, true } },
            { { 0, 1, true }, { 1, 2, true }, { 2, 3, true }, { 3, 5, true } } },
        // Both inner corners of the W lie equally far from the chord; one split per pass.
        { "tie goes to the later point", w, { { 0, wEnd, true } },
            { { 0, w20, true }, { w20, wEnd, true } } },
    };
    for (const Case &c : cases) {
        QVector<double> lengths;
        const double total = Util::calcStrokeLength(c.points, lengths);
        Pieces segments = c.before;
        divideRuggedSegment(c.points, lengths, segments, total, 0.15);
        EXPECT_EQ(segments, c.after) << c.row;
    }
}

TEST(Thinning, KeepsTravelledPointsEndsAndTheFarPoint)
{
    Points line, out, expected;
    for (int i = 0; i < 100; ++i)
        line.append(QPointF(i, 0));
    for (int i = 0; i < 100; i += 4)
        expected.append(QPointF(i, 0));
    expected.append(QPointF(99, 0));
    copyMovingPoints(line, out, 3.0);
    EXPECT_EQ(out, expected);

    Points circle; // radius 1, closed
    for (int i = 0; i <= 200; ++i)
        circle.append(QPointF(std::cos(i * M_PI / 100), std::sin(i * M_PI / 100)));
    copyMovingPoints(circle, out, 3.0);
    // 0, 96 (travel > 3), 100 (the far point), 196, 200
    EXPECT_EQ(out, (Points { circle[0], circle[96], circle[100], circle[196], circle[200] }));

    // Two points equally far from the start: the first one is the far point.
    copyMovingPoints({ QPointF(0, 0), QPointF(1, 0), QPointF(0, 1), QPointF(0, 0.5) }, out, 3.0);
    EXPECT_EQ(out, (Points { QPointF(0, 0), QPointF(1, 0), QPointF(0, 0.5) }));

    // One point is both ends; no point gives nothing.
    copyMovingPoints({ QPointF(5, 5) }, out, 3.0);
    EXPECT_EQ(out, (Points { QPointF(5, 5) }));
    copyMovingPoints({}, out, 3.0);
    EXPECT_TRUE(out.isEmpty());
}

TEST(NoiseFilters, ZigzagFilterLeavesFiniteStrokesAloneAndLoopsCollapse)
{
    Points saw;
    for (int i = 0; i < 40; ++i)
        saw.append(QPointF(i * 2.0, (i % 2) * 3.0 + (i % 3)));
    Points filtered = saw;
    removeNoise(filtered);
    EXPECT_EQ(filtered, saw);
    // Only a non-finite step makes the middle turn non-zero; then the point goes.
    Points odd { QPointF(0, 0), QPointF(0, 1), QPointF(-kInf, 1), QPointF(3, 1), QPointF(3, 2) };
    removeNoise(odd);
    EXPECT_EQ(odd, (Points { QPointF(0, 0), QPointF(0, 1), QPointF(3, 1), QPointF(3, 2) }));

    // The last step (8,-4)->(4,4) crosses the step three back, (0,0)->(10,0), at (6,0);
    // a second loop after it collapses too.
    Points twice { QPointF(0, 0), QPointF(10, 0), QPointF(8, -4), QPointF(4, 4), QPointF(4, 10),
        QPointF(1, 7), QPointF(7, 6) };
    removeCrossNoise(twice);
    EXPECT_EQ(twice,
        (Points { QPointF(0, 0), QPointF(6, 0), QPointF(4, 4), QPointF(4, 6.5), QPointF(7, 6) }));
}

TEST(Averaging, IndexesAreClamped)
{
    const Points p { QPointF(0, 0), QPointF(2, 4), QPointF(4, 0), QPointF(6, 2), QPointF(8, 4),
        QPointF(10, 6) };
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
    Points out { QPointF(1, 1) };
    Util::getSmoothPoints({}, out, 0.1);
    EXPECT_TRUE(out.isEmpty());
    Util::getSmoothPoints(polyline({ QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) }), out, 0.1);
    EXPECT_EQ(out, (Points { QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) }));

    std::mt19937 rng(3);
    std::uniform_real_distribution<double> step(-6.0, 6.0);
    Points walk { QPointF(0, 0) };
    for (int round = 0; round < 100; ++round) {
        Util::getSmoothPoints(walk, out, round % 2 ? 0.01 : 0.1);
        ASSERT_GE(out.size(), 2) << "round " << round;
        EXPECT_EQ(out.first(), walk.first()) << "round " << round;
        EXPECT_EQ(out.last(), walk.last()) << "round " << round;
        for (int k = 0; k < 3; ++k)
            walk.append(walk.last() + QPointF(step(rng), step(rng)));
    }

    // Non-finite coordinates end cleanly, with pieces still covering the stroke.
    const Points bad { QPointF(0, 0), QPointF(kNaN, 5), QPointF(10, -kInf), QPointF(kInf, 0),
        QPointF(30, 9) };
    Pieces segments;
    divideStrokeToSegments(bad, segments, 0.0);
    expectCoverage(segments, bad.size());
    Points loop = bad;
    removeCrossNoise(loop);
    Util::getSmoothPoints(bad, out, 0.0);
    EXPECT_GE(out.size(), 2);
}
