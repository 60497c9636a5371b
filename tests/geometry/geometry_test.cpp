#include <libutility/geometry/geometry.h>
#include <libutility/geometry/strokeutil.h>
#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Util;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

void expectNear(const QPointF &actual, const QPointF &expected, const char *row)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-9) << row;
    EXPECT_NEAR(actual.y(), expected.y(), 1e-9) << row;
}

} // namespace

TEST(Comparison, ZeroTestAndFirstArgumentAnchoredEquality)
{
    EXPECT_FALSE(isVirtuallyZero(1e-9));
    EXPECT_TRUE(isVirtuallyZero(-9.99e-10));
    EXPECT_FALSE(isVirtuallyZero(kNaN));

    struct Case
    {
        double a, b, tol;
        bool expected;
        const char *row;
    } const cases[] = {
        { 0.005, 0.09, 0.09, true, "scale 1 below 0.01" },
        { 0.09, 0.005, 0.09, false, "same pair reversed: scale 0.09" },
        { 100, 108, 0.09, true, "within 9 percent" },
        { 100, 110, 0.09, false, "beyond 9 percent" },
        { 0.0, 0.0, 0.0, true, "zero tolerance still accepts equal values" },
        { 1.0, 1.0 + 2.220446049250313e-16, 0.0, true, "machine epsilon addend" },
        { kNaN, kNaN, 1.0, false, "NaN" },
    };
    for (const Case &c : cases)
        EXPECT_EQ(isEqual(c.a, c.b, c.tol), c.expected) << c.row;
}

TEST(VectorArithmetic, IntegerRoundingAndIntegerSquares)
{
    EXPECT_EQ(getIntDistance(QPointF(0, 0), QPointF(1.5, 2)), 3); // 2.5 rounds up
    EXPECT_EQ(getIntDistance(QPointF(kNaN, 0), QPointF(0, 0)), 0);
    EXPECT_EQ(getIntDistance(QPointF(kInf, 0), QPointF(0, 0)), std::numeric_limits<int>::max());
    EXPECT_DOUBLE_EQ(getVectorSize(QPoint(3, -4)), 5.0);
    // The squares are summed in int: 46341^2 no longer fits and the sum wraps negative.
    EXPECT_TRUE(std::isnan(getVectorSize(QPoint(46341, 0))));
    EXPECT_TRUE(pointInRect(QRectF(0, 0, 10, 5), QPointF(10, 5)));
    EXPECT_FALSE(pointInRect(QRectF(0, 0, 10, 5), QPointF(10.001, 2)));
}

TEST(Orientation, CosineAndThreeWaySigns)
{
    EXPECT_DOUBLE_EQ(getCos(QPointF(0, 0), QPointF(-1, 0)), 1.0);
    EXPECT_DOUBLE_EQ(getCos(QPointF(-1, 0), QPointF(1e-10, 0)), 1.0);
    // Not clamped: the rounded quotient of a vector with itself exceeds 1 here.
    EXPECT_GT(getCos(QPointF(0.1, 0.7), QPointF(0.1, 0.7)), 1.0);

    struct Case
    {
        QPointF v1, v2;
        int leftOrRight, frontOrBack;
    } const cases[] = {
        { { 1, 0 }, { 0, 1 }, 1, 0 }, // down on the screen: clockwise
        { { 1, 0 }, { -3, 0 }, 0, -1 },
        { { 1, 0 }, { 1, 1e-10 }, 0, 1 }, // virtually zero cross product
        { { kNaN, 0 }, { 1, 1 }, -1, -1 },
    };
    for (const Case &c : cases) {
        EXPECT_EQ(vectorLeftOrRight(c.v1, c.v2), c.leftOrRight) << c.v1.x() << "," << c.v2.y();
        EXPECT_EQ(vectorFrontOrBack(c.v1, c.v2), c.frontOrBack) << c.v1.x() << "," << c.v2.y();
    }
}

TEST(Lines, IntersectionOfUnboundedLines)
{
    QPointF out(-7, -7);
    EXPECT_FALSE(getIntersection(QPointF(0, 0), QPointF(1, 1), QPointF(2, 2), QPointF(5, 5), &out));
    EXPECT_EQ(out, QPointF(-7, -7));

    // Far from the origin the products of untranslated coefficients would lose the
    // crossing; translated, it is exact.
    const double o = 1e8;
    ASSERT_TRUE(getIntersection(
        QPointF(o, o), QPointF(o + 2, o + 2), QPointF(o, o + 2), QPointF(o + 2, o), &out));
    EXPECT_EQ(out, QPointF(o + 1, o + 1));

    QPointF foot;
    EXPECT_DOUBLE_EQ(getDistanceToLine(1, -1, 0, QPointF(2, 0), &foot), std::sqrt(2.0));
    expectNear(foot, QPointF(1, 1), "foot on y = x");
}

TEST(Lines, DistanceToSegmentPicksEndOrFoot)
{
    struct Case
    {
        QPointF p, nearest;
        double distance;
        const char *row;
    } const cases[] = {
        { { -3, 4 }, { 0, 0 }, 5.0, "before a" },
        { { 13, -4 }, { 10, 0 }, 5.0, "beyond b" },
        { { 4, -2 }, { 4, 0 }, 2.0, "foot inside" },
    };
    for (const Case &c : cases) {
        QPointF nearest;
        EXPECT_DOUBLE_EQ(
            calcDistanceToLineSegment(QPointF(0, 0), QPointF(10, 0), c.p, &nearest), c.distance)
            << c.row;
        expectNear(nearest, c.nearest, c.row);
    }
}

TEST(Lines, ClosedSegmentIntersection)
{
    struct Case
    {
        QPointF p1, p2, p3, p4;
        bool meets;
        QPointF at;
        const char *row;
    } const cases[] = {
        { { 0, 0 }, { 10, 10 }, { 0, 10 }, { 10, 0 }, true, { 5, 5 }, "X crossing" },
        { { 0, 0 }, { 4, 3 }, { 4, 3 }, { 9, -1 }, true, { 4, 3 }, "shared end point" },
        { { 7, 0 }, { 7, 10 }, { 0, 3 }, { 7, 3 }, true, { 7, 3 }, "horizontal ends on vertical" },
        { { 0, 0 }, { 10, 0 }, { 5, 0 }, { 15, 0 }, false, {}, "collinear overlap" },
        { { 0, 0 }, { 4, 4 }, { 9, 0 }, { 5, 4 }, false, {}, "crossing beyond an end" },
        { { 0, 0 }, { 1, 1 }, { 2, 2 }, { 5, 5 }, false, {}, "collinear apart" },
        { { kNaN, 0 }, { 4, 4 }, { 5, 0 }, { 0, 5 }, false, {}, "NaN" },
    };
    for (const Case &c : cases) {
        QPointF out(-1, -1);
        EXPECT_EQ(intersectLineSegments(c.p1, c.p2, c.p3, c.p4, &out), c.meets) << c.row;
        expectNear(out, c.meets ? c.at : QPointF(-1, -1), c.row);
    }
}

TEST(Rectangles, ExitPointAndLineThroughRectangle)
{
    const QRectF r(10, 20, 40, 20); // x 10..50, y 20..40
    const QPointF c(30, 30);
    expectNear(getIntersectPoint(r, c, QPointF(100, 30)), QPointF(50, 30), "right");
    expectNear(getIntersectPoint(r, QPointF(0, 50), QPointF(60, 10)), QPointF(45, 20), "through");
    expectNear(getIntersectPoint(r, c, QPointF(31, 31)), QPointF(0, 0), "stays inside");

    struct Case
    {
        QPointF p1, p2;
        bool meets;
        QPointF entry, exit;
        const char *row;
    } const cases[] = {
        { { 0, 10 }, { 1, 11 }, true, { 10, 20 }, { 30, 40 }, "down-right, both points outside" },
        { { 32, 28 }, { 31, 29 }, true, { 40, 20 }, { 20, 40 }, "down-left" },
        { { 0, 0 }, { 1, -1 }, false, {}, {}, "misses" },
        { { 50, 40 }, { 51, 39 }, true, { 50, 40 }, { 50, 40 }, "touches a corner" },
        { { 70, 40 }, { 60, 40 }, true, { 50, 40 }, { 10, 40 }, "horizontal on the bottom edge" },
        { { 50, 0 }, { 50, 5 }, true, { 50, 20 }, { 50, 40 }, "vertical on the right edge" },
        { { 3, 3 }, { 3, 3 }, false, {}, {}, "equal points" },
    };
    for (const Case &k : cases) {
        QPointF entry(-1, -1), exit(-1, -1);
        EXPECT_EQ(intersectRectAndLine(r, k.p1, k.p2, &entry, &exit), k.meets) << k.row;
        expectNear(entry, k.meets ? k.entry : QPointF(-1, -1), k.row);
        expectNear(exit, k.meets ? k.exit : QPointF(-1, -1), k.row);
    }
}

TEST(Triangles, AlignedEdgesAndTurningAngleKinds)
{
    // Interior angles of 30 and 68.5 degrees at p0 and p1: the turning angle at p2 is
    // 98.5, within 9 percent of itself from 90 but not within 9 percent of 90.
    const double a = degToRad(30.0), b = degToRad(68.5);
    const double x = 10 * std::tan(b) / (std::tan(a) + std::tan(b));
    const QPointF skew(x, -x * std::tan(a));

    struct Case
    {
        QVector<QPointF> tri;
        int kind;
        EAlignedEdge first, second;
        const char *row;
    } const cases[] = {
        { { QPointF(0, 0), QPointF(10, 0), QPointF(0, 10) }, 1, eTopEdge, eLeftEdge,
            "right angle at p0" },
        { { QPointF(0, 10), QPointF(10, 10), QPointF(0, 0) }, 1, eBottomEdge, eLeftEdge, "up" },
        { { QPointF(10, 0), QPointF(10, 10), QPointF(0, 5) }, 2, eRightEdge, eNoEdge, "isosceles" },
        { { QPointF(0, 0), QPointF(10, 0), QPointF(2, 3) }, 4, eTopEdge, eNoEdge, "scalene" },
        { { QPointF(0, 0), QPointF(10, 0), skew }, 1, eBottomEdge, eNoEdge, "anchored on t" },
        { { QPointF(0, 0), QPointF(10, 0), QPointF(20, 0) }, 2, eBottomEdge, eNoEdge, "flat" },
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
    struct Case
    {
        QRectF bound, source;
        bool alwaysScale, centre;
        QRectF expected;
    } const cases[] = {
        { { 5, 7, 100, 50 }, { 0, 0, 10, 10 }, false, false, { 5, 7, 10, 10 } },
        { { 5, 7, 100, 50 }, { 0, 0, 10, 10 }, true, true, { 30, 7, 50, 50 } },
        { { 0, 0, 100, 50 }, { 0, 0, 400, 100 }, false, true, { 0, 12.5, 100, 25 } },
        { { 0, 0, 100, 50 }, { 0, 0, 20, 60 }, false, false, { 0, 0, 50.0 / 3.0, 50 } },
    };
    for (const Case &c : cases)
        EXPECT_EQ(calcKeepAspectRect(c.bound, c.source, c.alwaysScale, c.centre), c.expected)
            << c.source.width() << "x" << c.source.height();
}

TEST(GeometryTrace, EnterAndExitUnderTheUnitFileName)
{
    QList<QStringList> lines;
    {
        LogCapture<> capture;
        getCos(QPointF(0, 0), QPointF(0, 1));
        QVector<double> lengths;
        calcAdjacentLength(QVector<QPointF>(), lengths);
        for (const QString &line : capture.lines)
            lines << line.split('\t');
    }

    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0].value(0) + lines[0].value(2), QStringLiteral("geometryEnter getCos"));
    EXPECT_EQ(lines[1].value(0) + lines[1].value(2), QStringLiteral("geometryExit getCos"));
    EXPECT_NE(lines[0].value(1), lines[1].value(1)); // the line of the early return
    EXPECT_EQ(lines[2].value(0), QStringLiteral("strokeutil"));
}
