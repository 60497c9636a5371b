#include <libutility/geometry/geometry.h>
#include <libutility/geometry/strokeutil.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <random>

using namespace Util;

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

} // namespace

// Plane geometry.

TEST(Comparison, ZeroTestAndFirstArgumentAnchoredEquality)
{
    EXPECT_FALSE(isVirtuallyZero(1e-9));
    EXPECT_TRUE(isVirtuallyZero(-9.99e-10));
    EXPECT_FALSE(isVirtuallyZero(kNaN));
    // The scale is |a|, or 1 below 0.01, whatever b is: a pair reversed may differ.
    EXPECT_TRUE(isEqual(0.005, 0.09, 0.09));
    EXPECT_FALSE(isEqual(0.09, 0.005, 0.09));
    EXPECT_TRUE(isEqual(100, 108, 0.09));
    EXPECT_FALSE(isEqual(100, 110, 0.09));
    // A zero tolerance still accepts equal values, and a difference of the machine epsilon.
    EXPECT_TRUE(isEqual(0.0, 0.0, 0.0));
    EXPECT_TRUE(isEqual(1.0, 1.0 + 2.220446049250313e-16, 0.0));
    EXPECT_FALSE(isEqual(kNaN, kNaN, 1.0));
}

TEST(VectorArithmetic, IntegerRoundingIntegerSquaresAndInclusiveBounds)
{
    EXPECT_EQ(getIntDistance(QPointF(0, 0), QPointF(1.5, 2)), 3); // 2.5 rounds up
    EXPECT_EQ(getIntDistance(QPointF(kNaN, 0), QPointF(0, 0)), 0);
    EXPECT_EQ(getIntDistance(QPointF(kInf, 0), QPointF(0, 0)), std::numeric_limits<int>::max());
    EXPECT_DOUBLE_EQ(getVectorSize(QPoint(3, -4)), 5.0);
    // The squares are summed in int: 46341^2 no longer fits and the sum wraps negative.
    EXPECT_TRUE(std::isnan(getVectorSize(QPoint(46341, 0))));
    for (const QPointF &corner : { QPointF(0, 0), QPointF(10, 5) })
        EXPECT_TRUE(pointInRect(QRectF(0, 0, 10, 5), corner)) << corner.x();
    EXPECT_FALSE(pointInRect(QRectF(0, 0, 10, 5), QPointF(10.001, 2)));

    QVector<QPointF> steps { QPointF(1, 1) };
    differentiate({ QPointF(2, 2) }, steps);
    EXPECT_TRUE(steps.isEmpty());
}

TEST(Orientation, CosineAndThreeWaySigns)
{
    EXPECT_DOUBLE_EQ(getCos(QPointF(0, 0), QPointF(-1, 0)), 1.0);
    EXPECT_DOUBLE_EQ(getCos(QPointF(-1, 0), QPointF(1e-10, 0)), 1.0);
    // Not clamped: the rounded quotient of a vector with itself exceeds 1 here.
    EXPECT_GT(getCos(QPointF(0.1, 0.7), QPointF(0.1, 0.7)), 1.0);
    // Down the screen from +x is clockwise: 1. A NaN product counts as negative.
    EXPECT_EQ(vectorLeftOrRight(QPointF(1, 0), QPointF(0, 1)), 1);
    EXPECT_EQ(vectorLeftOrRight(QPointF(1, 0), QPointF(-3, 1e-10)), 0);
    EXPECT_EQ(vectorLeftOrRight(QPointF(kNaN, 0), QPointF(1, 1)), -1);
    EXPECT_EQ(vectorFrontOrBack(QPointF(1, 0), QPointF(0, 1)), 0);
    EXPECT_EQ(vectorFrontOrBack(QPointF(1, 0), QPointF(-3, 0)), -1);
    EXPECT_EQ(vectorFrontOrBack(QPointF(kNaN, 0), QPointF(1, 1)), -1);
}

// The same four points as two unbounded lines and as two closed segments.
TEST(Lines, IntersectionsAndDistances)
{
    // Far from the origin the products of untranslated coefficients would lose the
    // crossing; translated, it is exact.
    const double o = 1e8;
    struct Case
    {
        QPointF p1, p2, p3, p4;
        bool lines, segments;
        QPointF at;
        const char *row;
    } const cases[] = {
        { { 0, 0 }, { 10, 10 }, { 0, 10 }, { 10, 0 }, true, true, { 5, 5 }, "X crossing" },
        { { 0, 0 }, { 4, 3 }, { 4, 3 }, { 9, -1 }, true, true, { 4, 3 }, "shared end point" },
        { { 7, 0 }, { 7, 10 }, { 0, 3 }, { 7, 3 }, true, true, { 7, 3 }, "ends on a vertical" },
        { { o, o }, { o + 2, o + 2 }, { o, o + 2 }, { o + 2, o }, true, true, { o + 1, o + 1 },
            "far out" },
        { { 0, 0 }, { 4, 4 }, { 9, 0 }, { 5, 4 }, true, false, { 4.5, 4.5 }, "beyond an end" },
        { { 0, 0 }, { 10, 0 }, { 5, 0 }, { 15, 0 }, false, false, {}, "collinear overlap" },
        { { 0, 0 }, { 1, 1 }, { 2, 2 }, { 5, 5 }, false, false, {}, "collinear apart" },
    };
    for (const Case &c : cases) {
        QPointF line(-1, -1), segment(-1, -1);
        EXPECT_EQ(getIntersection(c.p1, c.p2, c.p3, c.p4, &line), c.lines) << c.row;
        EXPECT_EQ(intersectLineSegments(c.p1, c.p2, c.p3, c.p4, &segment), c.segments) << c.row;
        EXPECT_EQ(line, c.lines ? c.at : QPointF(-1, -1)) << c.row;
        EXPECT_EQ(segment, c.segments ? c.at : QPointF(-1, -1)) << c.row;
    }
    EXPECT_FALSE(
        intersectLineSegments(QPointF(kNaN, 0), QPointF(4, 4), QPointF(5, 0), {}, nullptr));

    QPointF foot;
    EXPECT_DOUBLE_EQ(getDistanceToLine(1, -1, 0, QPointF(2, 0), &foot), std::sqrt(2.0));
    EXPECT_EQ(foot, QPointF(1, 1)) << "foot on y = x";

    // Away from the origin, so that a sum in place of a difference shows.
    const QPointF a(2, 10), b(12, 10);
    QPointF nearest;
    EXPECT_DOUBLE_EQ(calcDistanceToLineSegment(a, b, QPointF(-1, 14), &nearest), 5.0);
    EXPECT_EQ(nearest, a);
    EXPECT_DOUBLE_EQ(calcDistanceToLineSegment(a, b, QPointF(15, 6), &nearest), 5.0);
    EXPECT_EQ(nearest, b);
    EXPECT_DOUBLE_EQ(calcDistanceToLineSegment(a, b, QPointF(6, 8), &nearest), 2.0);
    EXPECT_EQ(nearest, QPointF(6, 10)) << "foot inside";
}

TEST(Rectangles, ExitPointAndLineThroughRectangle)
{
    const QRectF r(10, 20, 40, 20); // x 10..50, y 20..40
    const QPointF c(30, 30);
    EXPECT_EQ(getIntersectPoint(r, c, QPointF(100, 30)), QPointF(50, 30)) << "right";
    EXPECT_EQ(getIntersectPoint(r, QPointF(0, 50), QPointF(60, 10)), QPointF(45, 20)) << "through";
    EXPECT_EQ(getIntersectPoint(r, c, QPointF(31, 31)), QPointF(0, 0)) << "stays inside";

    struct Case
    {
        QPointF p1, p2;
        bool meets;
        QPointF entry, exit;
        const char *row;
    } const cases[] = {
        { { 0, 10 }, { 1, 11 }, true, { 10, 20 }, { 30, 40 }, "down-right, both points outside" },
        { { 40, 15 }, { 41, 16 }, true, { 45, 20 }, { 50, 25 }, "down-right, cuts a corner" },
        { { 32, 28 }, { 31, 29 }, true, { 40, 20 }, { 20, 40 }, "down-left" },
        { { 0, 0 }, { 1, -1 }, false, {}, {}, "misses" },
        { { 50, 40 }, { 51, 39 }, true, { 50, 40 }, { 50, 40 }, "touches a corner" },
        { { 70, 40 }, { 60, 40 }, true, { 50, 40 }, { 10, 40 }, "horizontal on the bottom edge" },
        { { 50, 0 }, { 50, 5 }, true, { 50, 20 }, { 50, 40 }, "vertical on the right edge" },
        { { 60, 0 }, { 60, 5 }, false, {}, {}, "vertical, right of it" },
        { { 30, 30 }, { 30, 30 }, false, {}, {}, "equal points" },
    };
    for (const Case &k : cases) {
        QPointF entry(-1, -1), exit(-1, -1);
        EXPECT_EQ(intersectRectAndLine(r, k.p1, k.p2, &entry, &exit), k.meets) << k.row;
        EXPECT_EQ(entry, k.meets ? k.entry : QPointF(-1, -1)) << k.row;
        EXPECT_EQ(exit, k.meets ? k.exit : QPointF(-1, -1)) << k.row;
    }
}

TEST(Triangles, AlignedEdgesAndTurningAngleKinds)
{
    struct Case
    {
        QVector<QPointF> tri;
        int kind;
        EAlignedEdge first, second;
        const char *row;
    } const cases[] = {
        { { QPointF(0, 0), QPointF(10, 0), QPointF(0, 10) }, 1, eTopEdge, eLeftEdge,
            "right at p0" },
        { { QPointF(0, 10), QPointF(10, 10), QPointF(0, 0) }, 1, eBottomEdge, eLeftEdge, "up" },
        { { QPointF(10, 0), QPointF(10, 10), QPointF(0, 5) }, 2, eRightEdge, eNoEdge, "isosceles" },
        { { QPointF(0, 0), QPointF(10, 0), QPointF(2, 3) }, 4, eTopEdge, eNoEdge, "scalene" },
        // A turning angle of 98.13 is within 9% of itself from 90, not within 9% of 90.
        { { QPointF(0, 0), QPointF(10, 0), QPointF(1, -7) }, 1, eBottomEdge, eNoEdge, "98.13" },
        // Flat: the third vertex on the edge's line is above it, or left of it.
        { { QPointF(0, 0), QPointF(10, 0), QPointF(20, 0) }, 2, eBottomEdge, eNoEdge, "flat" },
        { { QPointF(0, 0), QPointF(0, 10), QPointF(0, 20) }, 2, eRightEdge, eNoEdge, "upright" },
        { { QPointF(kNaN, 0), QPointF(1, 0), QPointF(0, 1) }, 3, eTopEdge, eNoEdge, "NaN" },
        { { QPointF(0, 0), QPointF(1, 1) }, 0, eLeftEdge, eLeftEdge, "two points: untouched" },
    };
    for (const Case &c : cases) {
        EAlignedEdge first = eLeftEdge, second = eLeftEdge;
        EXPECT_EQ(identifyTriangle(QPolygonF(c.tri), first, second), c.kind) << c.row;
        EXPECT_EQ(first, c.first) << c.row;
        EXPECT_EQ(second, c.second) << c.row;
    }
}

TEST(Rectangles, KeepAspectFitting)
{
    const QRectF wide(5, 7, 100, 50), square(0, 0, 10, 10);
    EXPECT_EQ(calcKeepAspectRect(wide, square, false, false), QRectF(5, 7, 10, 10));
    EXPECT_EQ(calcKeepAspectRect(wide, square, true, true), QRectF(30, 7, 50, 50));
}

// Stroke measurement, segmentation and smoothing.

TEST(Segmentation, SplitsWhereTheChordDeviationCalls)
{
    Points line;
    for (int i = 0; i <= 50; ++i)
        line.append(QPointF(i, 0.5 * i));
    Points ell; // a point every unit, the corner at 40
    for (int i = 0; i <= 70; ++i)
        ell.append(i <= 40 ? QPointF(0, i) : QPointF(i - 40, 40));
    const Points bad { QPointF(0, 0), QPointF(kNaN, 5), QPointF(10, -kInf), QPointF(kInf, 0),
        QPointF(30, 9) };
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
        { bad, 0.0, { { 0, 4, false } } }, // no distance to split at, and no endless loop
        { { QPointF(1, 1) }, 0.1, { { 0, 0, true } } },
        { {}, 0.1, { { 0, -1, true } } },
        // Steps absorbed by the rounding of the total leave no point short of the far end
        // margin: no split, even at a ratio that splits anything else.
        { { QPointF(0, 0), QPointF(1e17, 0), QPointF(1e17, 4), QPointF(1e17, 7) }, -0.5,
            { { 0, 3, false } } },
    };
    Points spiral; // many pieces, found over several passes
    for (int i = 0; i < 300; ++i)
        spiral.append(QPointF(i * std::cos(i * 0.3), i * std::sin(i * 0.21)));
    for (const Case &c : cases) {
        Pieces segments;
        divideStrokeToSegments(c.points, segments, c.ratio);
        EXPECT_EQ(segments, c.expected) << c.points.size() << " points, ratio " << c.ratio;
    }
    // The end margins bite: repeated points at both ends, and steps the total absorbs
    // (where only the point before them may split).
    const Points repeated = Points { spiral.first() } + spiral + Points(3, spiral.last());
    const Points absorbed { QPointF(-50, 0), QPointF(0, 0), QPointF(1e17, 0), QPointF(1e17, 4),
        QPointF(1e17, 7) };
    // Untraced, the passes skip the pieces that can no longer split and compare squared
    // deviations, weighing exactly only near a tie or the threshold, or outside the range
    // where squares are safe; traced, every pass weighs every point of every piece. Both
    // must find the same pieces.
    const Points tie { QPointF(0, 0), QPointF(1, 0.5), QPointF(2, 0.7), QPointF(3, 1),
        QPointF(4, 1), QPointF(5, 0) }; // two farthest points: the later one splits
    const Points atThreshold { QPointF(0, 0), QPointF(2, 0), QPointF(4, 0.5), QPointF(5, 1),
        QPointF(8, 0), QPointF(10, 0) }; // deviation 1 = 10 * 0.1: no split
    // A deviation equal to the chord times the ratio whose square rounds above the square
    // of that threshold (no split), and one above it whose square rounds below (split).
    const Points squareAbove { QPointF(23, 44), QPointF(24, 46), QPointF(25, 48), QPointF(26, 43),
        QPointF(26, 50), QPointF(27, 52) };
    const Points squareBelow { QPointF(11, 30), QPointF(19, 33), QPointF(24, 44), QPointF(27, 36),
        QPointF(35, 39), QPointF(51, 45) };
    Points huge, tiny;
    for (const QPointF &p : spiral) {
        huge.append(p * 1e60);
        tiny.append(p * 1e-60);
    }
    const struct
    {
        Points points;
        double ratio;
        int pieces; // 0: more than one
    } same[] = { { ell, 0.1, 2 }, { cases[2].points, 0.0, 2 }, { spiral, 0.01, 0 },
        { repeated, 0.01, 0 }, { absorbed, -0.5, 0 }, { tie, 0.1, 0 }, { atThreshold, 0.1, 1 },
        { squareAbove, 0.35, 1 }, { squareBelow, 0.2, 0 }, { line, 0.01, 1 }, { huge, 0.01, 0 },
        { tiny, 0.01, 0 } };
    for (const auto &c : same) {
        Pieces fast, traced;
        divideStrokeToSegments(c.points, fast, c.ratio);
        LogCapture<> capture;
        divideStrokeToSegments(c.points, traced, c.ratio);
        EXPECT_EQ(fast, traced) << c.points.size() << " points, ratio " << c.ratio;
        if (c.pieces)
            EXPECT_EQ(fast.size(), c.pieces);
        else
            EXPECT_GT(fast.size(), 1);
    }
    Pieces tied;
    divideStrokeToSegments(tie, tied, 0.1);
    EXPECT_EQ(tied.value(0).end, 4);
    // Points on a small grid tie often and meet round thresholds exactly.
    std::mt19937 random(17);
    for (int round = 0; round < 400; ++round) {
        Points grid(4 + int(random() % 30));
        for (QPointF &p : grid)
            p = QPointF(int(random() % 9), int(random() % 9));
        const double ratio = std::array<double, 4> { 0.01, 0.1, 0.25, 0.5 }[random() % 4];
        Pieces fast, traced;
        divideStrokeToSegments(grid, fast, ratio);
        LogCapture<> capture;
        divideStrokeToSegments(grid, traced, ratio);
        ASSERT_EQ(fast, traced) << "round " << round;
    }
    // The smoothed stroke is the first point and the end of each piece of the thinned one.
    Points out { QPointF(1, 1) };
    getSmoothPoints({}, out, 0.1);
    EXPECT_TRUE(out.isEmpty());
    getSmoothPoints(ell, out, 0.1);
    EXPECT_EQ(out, (Points { QPointF(0, 0), QPointF(0, 40), QPointF(30, 40) }));
    getSmoothPoints(bad, out, 0.0);
    EXPECT_EQ(out, (Points { QPointF(0, 0), QPointF(30, 9) }));

    QVector<double> lengths;
    const Points bend { QPointF(0, 0), QPointF(3, 4), QPointF(3, 6) };
    EXPECT_EQ(calcStrokeLength(bend, lengths), 7.0);
    EXPECT_EQ(lengths, QVector<double>({ 5.0, 2.0 }));
    EXPECT_EQ(calcStrokeLength(bend), 7.0);
    EXPECT_EQ(calcStrokeLength({ QPointF(4, 4) }), 0.0);
    // The corner of the L is 24 from the chord of the whole stroke; the points of one leg
    // lie on its chord, and the corner before it does not count.
    EXPECT_EQ(getDistanceToDividePoint(ell, 0, 70), 24.0);
    EXPECT_EQ(getDistanceToDividePoint(ell, 40, 70), 0.0);
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
    Points w; // corners at 10 and 20, equally far from the chord
    for (int i = 0; i <= 30; ++i)
        w.append(QPointF(i, 3 * std::min(i, std::abs(20 - i))));
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
        // Point 2 lies 3 off the chord against the turn: halved, it loses to point 1's 2.
        { "halved, the farther point loses",
            { QPointF(0, 0), QPointF(3, -2), QPointF(7, 3), QPointF(10, 0), QPointF(10, 10) },
            { { 0, 3, true }, { 3, 4, false } },
            { { 0, 1, true }, { 1, 3, true }, { 3, 4, false } } },
        { "next piece as split in this pass", into, { { 0, 2, true }, { 2, 5, true } },
            { { 0, 1, true }, { 1, 2, true }, { 2, 3, true }, { 3, 5, true } } },
        // Both inner corners of the W lie equally far from the chord; one split per pass.
        { "tie goes to the later point", w, { { 0, 30, true } },
            { { 0, 20, true }, { 20, 30, true } } },
    };
    for (const Case &c : cases) {
        QVector<double> lengths;
        const double total = calcStrokeLength(c.points, lengths);
        Pieces segments = c.before;
        divideRuggedSegment(c.points, lengths, segments, total, 0.15);
        EXPECT_EQ(segments, c.after) << c.row;
    }
}

TEST(Thinning, KeepsTravelledPointsEndsAndTheFarPoint)
{
    Points line, everyFourth, circle, out;
    for (int i = 0; i < 100; ++i)
        line.append(QPointF(i, 0));
    for (int i = 0; i < 100; i += 4)
        everyFourth.append(QPointF(i, 0));
    copyMovingPoints(line, out, 3.0);
    EXPECT_EQ(out, everyFourth << QPointF(99, 0));

    for (int i = 0; i <= 200; ++i) // radius 1, closed
        circle.append(QPointF(std::cos(i * M_PI / 100), std::sin(i * M_PI / 100)));
    copyMovingPoints(circle, out, 3.0);
    // 0, 96 (travel > 3), 100 (the far point), 196, 200
    EXPECT_EQ(out, (Points { circle[0], circle[96], circle[100], circle[196], circle[200] }));

    // Of two points equally far from the start the first is the far point; one nearer
    // the point before it is no less far for that.
    copyMovingPoints({ QPointF(0, 0), QPointF(1, 0), QPointF(0, 1), QPointF(0, 0.5) }, out, 3.0);
    EXPECT_EQ(out, (Points { QPointF(0, 0), QPointF(1, 0), QPointF(0, 0.5) }));
    const Points farAtTwo { QPointF(0, 0), QPointF(5, 0), QPointF(6, 0), QPointF(0, 1) };
    copyMovingPoints(farAtTwo, out, 3.0);
    EXPECT_EQ(out, farAtTwo);
    // A NaN step makes the travel NaN for good: nothing after it is kept but the end.
    copyMovingPoints(
        { QPointF(0, 0), QPointF(kNaN, 0), QPointF(10, 0), QPointF(20, 0), QPointF(30, 0) }, out,
        3.0);
    EXPECT_EQ(out.size(), 2);
    EXPECT_EQ(out.value(1), QPointF(30, 0));

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
    // Only a step whose cross product with itself is not a number (an infinite or a
    // huge coordinate) makes the middle turn non-zero; then the point after it goes.
    // Untraced, a stroke without such a step skips the pass; traced, the whole pass runs.
    const double big = 1e200;
    const struct
    {
        Points points, filtered;
        bool traced;
    } cases[] = {
        { saw, saw, false },
        { saw, saw, true },
        { { QPointF(0, 0), QPointF(0, 1), QPointF(-kInf, 1), QPointF(3, 1), QPointF(3, 2) },
            { QPointF(0, 0), QPointF(0, 1), QPointF(3, 1), QPointF(3, 2) }, false },
        { { QPointF(0, 0), QPointF(1, 0), QPointF(1, 1), QPointF(big, big), QPointF(big, big) },
            { QPointF(0, 0), QPointF(1, 0), QPointF(big, big), QPointF(big, big) }, false },
    };
    for (const auto &c : cases) {
        Points points = c.points;
        LogCapture<> capture(c.traced ? QStringLiteral("TRACE") : QStringLiteral("WARN"));
        removeNoise(points);
        EXPECT_EQ(points, c.filtered) << c.points.size() << " points, traced " << c.traced;
        // Traced, the geometry kernel's lines carry its unit's file name.
        EXPECT_EQ(capture.lines.value(1).section('\t', 0, 0), c.traced ? "geometry" : "");
    }

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
    EXPECT_EQ(getAveragePoint(p, 5, 2), QPointF(0, 0));
    EXPECT_EQ(getAveragePoint(p, 1, 0), QPointF(0, 0)); // 0 is the first point here
    EXPECT_EQ(getAveragePoint(p, -3, 1), QPointF(1, 2));
    EXPECT_EQ(getAveragePoint(p, 2, -1), QPointF(7, 3));
    EXPECT_EQ(getAveragePoint(p, 4, 99), QPointF(9, 5));
}
