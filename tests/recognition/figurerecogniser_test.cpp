// The recogniser's pieces on clean point lists, then whole scribbles of synthetic ink
// with seeded jitter through classifyScribble.
#include <libutility/recognition/figurerecogniser.h>
#include <libutility/recognition/openstroke.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <QLineF>
#include <QPolygonF>
#include <QTransform>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace CFigureRecogniser;

namespace {

using Stroke = QVector<QPointF>;
using Strokes = QVector<Stroke>;

const double kPi = 3.14159265358979323846;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
const QPointF o(100, 100);

// A polyline through the corners sampled about every 2 units with Gaussian jitter from a
// fixed seed, like a pen's samples; its last corner is kept exactly.
Stroke ink(const Stroke &corners, double jitter = 0.4, unsigned seed = 7)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, jitter);
    Stroke out;
    for (int k = 0; k + 1 < corners.size(); ++k) {
        const QLineF edge(corners[k], corners[k + 1]);
        const int steps = std::max(2, int(edge.length() / 2.0));
        for (int s = 0; s < steps; ++s)
            out.append(edge.pointAt(double(s) / steps) + QPointF(noise(rng), noise(rng)));
    }
    out.append(corners.last());
    return out;
}

Stroke drawClosed(Stroke corners, double jitter = 0.4, unsigned seed = 7)
{
    return ink(corners << corners.first(), jitter, seed);
}

Stroke regular(int n, double radius, double startDegrees = -90.0, int step = 1)
{
    Stroke corners;
    for (int i = 0; i < n; ++i) {
        const double a = (startDegrees + 360.0 * step * i / n) * kPi / 180.0;
        corners << QPointF(200 + radius * std::cos(a), 200 + radius * std::sin(a));
    }
    return corners;
}

// The direction of `degrees` on the screen, counter-clockwise from +x (y grows down).
QPointF direction(double degrees)
{
    return QPointF(std::cos(degrees * kPi / 180.0), -std::sin(degrees * kPi / 180.0));
}

// A corner drawn from the end of its first leg through the corner to the end of the second.
Stroke corner(const QPointF &at, double angle1, double length1, double angle2, double length2)
{
    return { at + length1 * direction(angle1), at, at + length2 * direction(angle2) };
}

// An ellipse of semi-axes rx, ry about the centre, its rx axis turned by `degrees`, as n
// points from parameter `start` once round (first point not repeated), with Gaussian
// noise of `sigma` units from a fixed seed.
Stroke ellipse(QPointF centre, double rx, double ry, double degrees, int n, double sigma = 0.0,
    unsigned seed = 3, double start = 0.3)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    const QTransform place = QTransform::fromTranslate(centre.x(), centre.y()).rotate(degrees);
    Stroke stroke;
    for (int i = 0; i < n; ++i) {
        const double t = start + 2 * kPi * i / n;
        stroke << place.map(QPointF(rx * std::cos(t), ry * std::sin(t)))
                + sigma * QPointF(noise(rng), noise(rng));
    }
    return stroke;
}

} // namespace

TEST(FigurePredicates, StrictBoundsAndSymmetricSides)
{
    EXPECT_FALSE(isHorizontal(10.0, 10.0));
    EXPECT_FALSE(isHorizontal(-10.0, 10.0));
    EXPECT_TRUE(isHorizontal(9.999, 10.0));
    EXPECT_FALSE(isHorizontal(180.0, 10.0)); // only angles near 0
    EXPECT_FALSE(isVertical(80.0, 10.0));
    EXPECT_FALSE(isVertical(100.0, 10.0));
    EXPECT_TRUE(isVertical(95.0, 10.0));
    // A zero tolerance admits no angle.
    EXPECT_FALSE(isHorizontal(0.0, 0.0));
    EXPECT_FALSE(isVertical(90.0, 0.0));
    EXPECT_FALSE(areSidesAlmostSameLength(10.0, 8.0));
    EXPECT_TRUE(areSidesAlmostSameLength(10.0, 8.1));
    EXPECT_TRUE(areSidesAlmostSameLength(8.1, 10.0));
    EXPECT_FALSE(areSidesAlmostSameLength(0.0, 0.0));
}

TEST(FigureRecogniserHelpers, RectBoundOfEmptyListIsInvertedAndSegmentBoxes)
{
    const double big = 3.4028234663852886e38; // FLT_MAX, exactly
    EXPECT_EQ(getStrokeRectBound({}), QRectF(big, big, -2 * big, -2 * big));
    QVector<QRectF> rects;
    getAllSegmentRect({ QPointF(5, 5), QPointF(1, 9), QPointF(4, 2) }, rects);
    EXPECT_EQ(rects, QVector<QRectF>({ QRectF(1, 5, 4, 4), QRectF(1, 2, 3, 7) }));
    getAllSegmentRect({ QPointF(5, 5) }, rects);
    EXPECT_TRUE(rects.isEmpty());
}

TEST(ClosedFigureTests, ClosureConvexityAndTheOneSelfCrossingPolygon)
{
    // A U of length 100 whose ends are exactly 10 apart: not closed.
    Stroke u = { QPointF(0, 0), QPointF(0, 45), QPointF(10, 45), QPointF(10, 0) };
    const Stroke before = u;
    EXPECT_FALSE(connect1Stroke(u));
    EXPECT_EQ(u, before);
    Stroke narrow = { QPointF(0, 0), QPointF(0, 45), QPointF(9, 45), QPointF(9, 0) };
    EXPECT_TRUE(connect1Stroke(narrow));
    EXPECT_EQ(narrow, Stroke({ QPointF(4.5, 0), QPointF(0, 45), QPointF(9, 45), QPointF(4.5, 0) }));

    const Stroke square
        = { QPointF(0, 0), QPointF(10, 0), QPointF(10, 10), QPointF(0, 10), QPointF(0, 0) };
    const Stroke collinear = { QPointF(0, 0), QPointF(5, 0), QPointF(10, 0), QPointF(10, 10),
        QPointF(0, 10), QPointF(0, 0) };
    EXPECT_TRUE(checkVectorDirection(square));
    EXPECT_FALSE(checkVectorDirection(collinear)) << "a turn of 0 is not convex";
    EXPECT_FALSE(checkVectorDirection(
        { QPointF(0, 0), QPointF(10, 5), QPointF(0, 10), QPointF(3, 5), QPointF(0, 0) }));
    EXPECT_FALSE(checkVectorDirection({ QPointF(0, 0), QPointF(1, 1) }));
    EXPECT_FALSE(hasSelfIntersection(square));
    EXPECT_TRUE(hasSelfIntersection(
        { QPointF(0, 0), QPointF(10, 10), QPointF(10, 0), QPointF(0, 10), QPointF(0, 0) }));

    Stroke star = regular(5, 100, -90, 2);
    star << star.first();
    Stroke copy = star;
    EXPECT_EQ(classifyCloseFigure(copy, 6, false), cPOLYGON);
    EXPECT_EQ(copy, star) << "no normalising unless asked";
    // A self-crossing heptagram turns one way throughout, like the star, but is rejected,
    // before the corner limit is looked at.
    Stroke heptagram = regular(7, 100, -90, 2);
    heptagram << heptagram.first();
    ASSERT_TRUE(checkVectorDirection(heptagram));
    EXPECT_EQ(classifyCloseFigure(heptagram, 6, false), cHANDWRITE_DATA);
}

TEST(CornerReduction, RemoveExtraPointOnlyOnSixOrSevenPointsAndUnsignedAngles)
{
    // A rectangle with a point in the middle of its top edge and one at the closing
    // corner that is not a corner: 7 points, two of them straight.
    Stroke seven = { QPointF(50, 0), QPointF(100, 0), QPointF(100, 60), QPointF(50, 60),
        QPointF(0, 60), QPointF(0, 0), QPointF(50, 0) };
    removeExtraPoint(seven);
    EXPECT_EQ(seven,
        Stroke(
            { QPointF(100, 0), QPointF(100, 60), QPointF(0, 60), QPointF(0, 0), QPointF(100, 0) }));
    // Five corners, two nearly straight: the first within 10 degrees of straight goes,
    // not the straighter one after it.
    Stroke six = { QPointF(0, 0), QPointF(50, -4), QPointF(100, 0), QPointF(76, 50),
        QPointF(50, 100), QPointF(0, 0) };
    removeExtraPoint(six);
    EXPECT_EQ(six,
        Stroke(
            { QPointF(0, 0), QPointF(100, 0), QPointF(76, 50), QPointF(50, 100), QPointF(0, 0) }));
    Stroke five = { QPointF(0, 0), QPointF(5, 0), QPointF(10, 0), QPointF(0, 10), QPointF(0, 0) };
    const Stroke before = five;
    removeExtraPoint(five);
    EXPECT_EQ(five, before);

    EXPECT_NEAR(calcAngle(QPointF(1, 0), QPointF(0, -1)), 90.0, 1e-12);
    EXPECT_NEAR(calcAngle180(QPointF(1, 0), QPointF(-1, 1e-12)), 180.0, 1e-6);
    EXPECT_EQ(calcAngle(QPointF(1, 0), QPointF(0, 1e-10)), 0.0); // a virtually null vector
    // Parallel vectors whose cosine rounds above 1 still give a number.
    EXPECT_FALSE(std::isnan(calcAngle(QPointF(0.1, 0.3), QPointF(0.1, 0.3) * 3.0)));
}

TEST(ClassifyScribble, ClosedFiguresInOneStroke)
{
    const Stroke square = { { 100, 100 }, { 300, 100 }, { 300, 300 }, { 100, 300 } };
    const struct
    {
        const char *name;
        Stroke stroke;
        int cornerLimit, category, corners;
        bool snaps;
    } cases[] = {
        { "triangle", drawClosed(regular(3, 100)), 6, 102, 3, true },
        { "square", drawClosed(square), 6, 102, 4, true },
        { "square at limit 3", drawClosed(square), 3, 101, 0, false },
        { "one-stroke star", drawClosed(regular(5, 120, -90, 2)), 6, 102, 5, true },
        { "heptagon within the limit", drawClosed(regular(7, 180), 0.3), 8, 102, 7, false },
        { "arrowhead (concave)",
            drawClosed({ { 100, 100 }, { 300, 200 }, { 100, 300 }, { 170, 200 } }), 6, 0, 0,
            false },
        { "bow tie (self-crossing, four corners)",
            drawClosed({ { 100, 100 }, { 300, 300 }, { 300, 100 }, { 100, 300 } }), 6, 0, 0,
            false },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QRectF rect;
        Stroke drawn = { QPointF(-1, -1) }, snapped = drawn;
        ASSERT_EQ(classifyScribble({ c.stroke }, rect, drawn, c.cornerLimit, false), c.category);
        ASSERT_EQ(classifyScribble({ c.stroke }, rect, snapped, c.cornerLimit, true), c.category);
        if (c.category != cPOLYGON) {
            EXPECT_EQ(drawn, Stroke({ QPointF(-1, -1) })) << "result untouched";
            continue;
        }
        // Each corner once (the front copy of the closing point is dropped after the rect
        // was taken), the figure closed at the point farthest from where the pen started.
        ASSERT_EQ(drawn.size(), c.corners);
        EXPECT_NE(drawn.first(), drawn.last());
        EXPECT_EQ(rect, getStrokeRectBound(snapped));
        EXPECT_EQ(snapped != drawn, c.snaps);
        double farthest = 0.0;
        for (const QPointF &p : c.stroke)
            farthest = std::max(farthest, QLineF(c.stroke[0], p).length());
        EXPECT_GT(QLineF(drawn.last(), c.stroke[0]).length(), 0.9 * farthest);
    }
}

// Whole scribbles, traced and not: traced, the recogniser runs the traced geometry
// functions instead of its inline copies, and every step, to the same answers. Only a
// polygon writes the result. Prepared holds the once-smoothed strokes as joined; it is
// left alone when the input is unusable or the strokes cannot be joined down to two, and
// the exit line shows the category except in the second case.
TEST(ClassifyScribble, WholeScribblesTracedAndNot)
{
    const Stroke square = drawClosed({ { 100, 100 }, { 300, 100 }, { 300, 300 }, { 100, 300 } });
    Stroke withNan = square, withInf = square, huge = square, large = square;
    withNan[10].setX(kNaN);
    withInf[3].setY(-kInf);
    for (int i = 0; i < square.size(); ++i) {
        huge[i] *= 1e200;
        large[i] *= 1e6;
    }
    const int kRejected = -1, kNotJoined = 0;
    const struct
    {
        const char *name;
        Strokes strokes;
        int category, prepared; // prepared: the strokes left after joining
    } cases[] = {
        { "no stroke", {}, 0, kRejected },
        { "empty stroke", { Stroke() }, 0, kRejected },
        { "one-point stroke", { Stroke { QPointF(3, 4) } }, 0, kRejected },
        { "empty stroke beside a square", { square, Stroke() }, 0, kRejected },
        { "NaN", { withNan }, 0, kRejected },
        { "infinity", { withInf }, 0, kRejected },
        { "huge coordinates", { huge }, 0, kRejected },
        { "triangle", { drawClosed(regular(3, 100)) }, 102, 1 },
        { "large but finite square", { large }, 102, 1 },
        { "two halves of a square",
            { ink({ QPointF(0, 0), QPointF(100, 0), QPointF(100, 100) }),
                ink({ QPointF(1, 2), QPointF(1, 101), QPointF(99, 101) }, 0.4, 8) },
            102, 1 },
        { "caret with a gap, too wide to join",
            { ink({ o + QPointF(0, 100), o + QPointF(40, 0) }),
                ink({ o + QPointF(65, 0), o + QPointF(105, 100) }) },
            114, 2 },
        { "H: three strokes that do not join",
            { ink({ QPointF(0, 0), QPointF(0, 100) }), ink({ QPointF(100, 0), QPointF(100, 100) }),
                ink({ QPointF(0, 50), QPointF(100, 50) }) },
            0, kNotJoined },
        { "horizontal line", { ink({ o, o + QPointF(150, 4) }) }, 205, 1 },
        { "steep line", { ink({ o, o + 150 * direction(75) }) }, 103, 1 },
        { "check mark", { ink(corner(o, 125, 30, 60, 100)) }, 203, 1 },
        { "mirrored check mark", { ink(corner(o, 55, 30, 120, 100)) }, 204, 1 },
        { "T",
            { ink({ o, o + QPointF(120, 0) }), ink({ o + QPointF(60, 0), o + QPointF(60, 120) }) },
            206, 2 },
        { "two parallel lines",
            { ink({ o, o + QPointF(120, 0) }), ink({ o + QPointF(0, 40), o + QPointF(120, 40) }) },
            0, 2 },
        // Strokes are smoothed two at a time; closed ones are thinned around a far point.
        { "two closed loops", { drawClosed(regular(4, 60)), drawClosed(regular(6, 30), 0.4, 9) },
            0, 2 },
        { "a loop and a line", { drawClosed(regular(5, 50)), ink({ o, o + QPointF(200, 30) }) },
            0, 2 },
        { "a line and a loop", { ink({ o, o + QPointF(200, 30) }), drawClosed(regular(5, 50)) },
            0, 2 },
    };
    const Strokes marker { { QPointF(42, 42) } };
    for (const auto &c : cases) {
        QRectF rect[2];
        Stroke result[2] = { marker[0], marker[0] };
        Strokes prepared[2] = { marker, marker };
        for (int traced : { 0, 1 }) {
            LogCapture<> capture(traced ? QStringLiteral("TRACE") : QStringLiteral("WARN"));
            EXPECT_EQ(classifyScribble(
                          c.strokes, rect[traced], result[traced], 6, true, &prepared[traced]),
                c.category)
                << c.name << (traced ? ", traced" : "");
            const QString exit = capture.lines.value(capture.lines.size() - 1);
            const QString shown
                = c.prepared != kNotJoined ? QStringLiteral("(%1 )").arg(c.category) : QString();
            EXPECT_EQ(exit.section('\t', 0, 0) + ' ' + exit.section('\t', 2),
                traced ? "figurerecogniser Exit classifyScribble" + shown : " ")
                << c.name;
        }
        EXPECT_EQ(result[0], result[1]) << c.name;
        EXPECT_EQ(result[0] == marker[0], c.category != cPOLYGON) << c.name << ": result written";
        EXPECT_EQ(rect[0], rect[1]) << c.name;
        EXPECT_EQ(prepared[0], prepared[1]) << c.name;
        EXPECT_EQ(prepared[0] == marker ? 0 : prepared[0].size(), std::max(c.prepared, 0))
            << c.name;
    }

    // Prepared strokes kept by the caller stay as they were while later scribbles are
    // classified (the recogniser reuses its lists from scribble to scribble).
    Strokes kept;
    QRectF rect;
    Stroke result;
    classifyScribble(cases[9].strokes, rect, result, 6, true, &kept);
    Strokes snapshot;
    for (const Stroke &stroke : qAsConst(kept))
        snapshot.append(Stroke(stroke.begin(), stroke.end()));
    ASSERT_EQ(kept.size(), 1);
    for (const auto &c : cases)
        classifyScribble(c.strokes, rect, result, 6, true, nullptr);
    EXPECT_EQ(kept, snapshot);
}

TEST(ShapeNormalisers, SnapRoughShapesAndLeaveShapesNearNoFormAsDrawn)
{
    QVector<QPointF> lopsided = regular(6, 100, 0);
    lopsided[1] *= 1.3;
    lopsided << lopsided.first();
    const struct
    {
        const char *what;
        void (*normalise)(QVector<QPointF> &);
        QVector<QPointF> points, snapped; // snapped empty: left as drawn
    } cases[] = {
        // Squares and rectangles: the mean sides, axis-parallel about the centroid.
        { "square", normalizeQuadrangle, { { 0, 0 }, { 85, 0 }, { 98, 84 }, { 13, 84 }, { 0, 0 } },
            { { 6.5, -0.5 }, { 91.5, -0.5 }, { 91.5, 84.5 }, { 6.5, 84.5 }, { 6.5, -0.5 } } },
        { "rectangle", normalizeQuadrangle,
            { { 0, 0 }, { 170, 0 }, { 183, 84 }, { 13, 84 }, { 0, 0 } },
            { { 6.5, -0.5 }, { 176.5, -0.5 }, { 176.5, 84.5 }, { 6.5, 84.5 }, { 6.5, -0.5 } } },
        // Rhombus: the diagonals, axis-parallel through the centroid.
        { "rhombus", normalizeQuadrangle,
            { { 93.5, 58 }, { 125, 100 }, { 106.5, 142 }, { 75, 100 }, { 93.5, 58 } },
            { { 100, 57.5 }, { 125, 100 }, { 100, 142.5 }, { 75, 100 }, { 100, 57.5 } } },
        // Kite: symmetric about its diagonal from corner 0.
        { "kite", normalizeQuadrangle,
            { { 100, 0 }, { 131, 29 }, { 100, 130 }, { 70, 30 }, { 100, 0 } },
            { { 100, 0 }, { 130.5, 29.5 }, { 100, 130 }, { 69.5, 29.5 }, { 100, 0 } } },
        // Trapezium: the parallel sides kept about their midpoints.
        { "trapezium", normalizeQuadrangle,
            { { 0, 0 }, { 100, 0 }, { 92, 60 }, { 8, 73 }, { 0, 0 } },
            { { 0, 0 }, { 100, 0 }, { 92.5, 66.5 }, { 7.5, 66.5 }, { 0, 0 } } },
        // Right triangle: the legs keep their lengths, squared onto the axes.
        { "right triangle", normalizeTriangle,
            { { 100, 100 }, { 184, 113 }, { 100, 40 }, { 100, 100 } },
            { { 100, 100 }, { 185, 100 }, { 100, 40 }, { 100, 100 } } },
        { "isosceles already", normalizeTriangle,
            { { 50, -110 }, { 100, 0 }, { 0, 0 }, { 50, -110 } }, {} },
        { "legs 10:9 stay unequal", normalizeTriangle,
            { { 0, 0 }, { 100, 0 }, { 0, 90 }, { 0, 0 } }, {} },
        { "scalene triangle", normalizeTriangle, { { 0, 0 }, { 200, 0 }, { 150, 60 }, { 0, 0 } },
            {} },
        { "irregular quadrangle", normalizeQuadrangle,
            { { 0, 0 }, { 200, 20 }, { 150, 140 }, { 30, 90 }, { 0, 0 } }, {} },
        { "lopsided hexagon", normalizeHexagon, lopsided, {} },
        { "wrong corner count", normalizeQuadrangle, { { 0, 0 }, { 10, 0 }, { 0, 10 }, { 0, 0 } },
            {} },
    };
    for (const auto &c : cases) {
        QVector<QPointF> points = c.points;
        c.normalise(points);
        EXPECT_EQ(points, c.snapped.isEmpty() ? c.points : c.snapped) << c.what;
    }

    // A regular pentagon turned by 6 degrees, one corner off: turned back, its top corner
    // straight up, all sides equal.
    const auto side
        = [](const QVector<QPointF> &p, int i) { return QLineF(p[i], p[i + 1]).length(); };
    QVector<QPointF> pentagon = regular(5, 100, -84);
    pentagon[2] += QPointF(3, -2);
    pentagon << pentagon.first();
    normalizePentagon(pentagon);
    ASSERT_EQ(pentagon.size(), 6);
    EXPECT_EQ(pentagon.first(), pentagon.last());
    EXPECT_NEAR(pentagon[0].x(), 200.0 + 0.6, 1.0);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(side(pentagon, i), side(pentagon, 0), 1e-9) << i;
}

TEST(EllipseFit, NoisyEllipsesWithinThreePercent)
{
    // Noise of 1% of the mean radius; the rotation is judged only where the ellipse is not
    // nearly round. Axes within 10% of each other come back as a circle.
    const struct
    {
        double aspect, degrees;
        int points;
    } cases[] = { { 1.0, 0, 60 }, { 1.05, 40, 300 }, { 1.2, -70, 80 }, { 1.3, 25, 40 },
        { 1.3, -89, 250 }, { 2.0, 60, 100 }, { 2.0, -15, 1200 }, { 3.0, 0, 50 }, { 3.0, 89, 300 },
        { 3.0, -45, 120 } };
    int seed = 0;
    for (const auto &c : cases) {
        for (double rx : { 30.0, 180.0 }) {
            SCOPED_TRACE(testing::Message() << "aspect " << c.aspect << ", " << c.degrees
                                            << " degrees, " << c.points << " points, rx " << rx);
            const double ry = rx / c.aspect;
            const QPointF centre(300 + rx, 40 - rx);
            ++seed;
            const CEllipseFit fit = fitEllipse(
                ellipse(centre, rx, ry, c.degrees, c.points, 0.01 * (rx + ry) / 2, seed, seed));
            ASSERT_TRUE(fit.ok);
            EXPECT_EQ(fit.circle, c.aspect < 1.1);
            EXPECT_NEAR(fit.cx, centre.x(), 0.03 * ry);
            EXPECT_NEAR(fit.cy, centre.y(), 0.03 * ry);
            EXPECT_NEAR(fit.rx, fit.circle ? (rx + ry) / 2 : rx, 0.03 * rx);
            EXPECT_NEAR(fit.ry, fit.circle ? (rx + ry) / 2 : ry, 0.03 * ry);
            if (c.aspect >= 1.3) {
                const double off = std::fmod(std::fabs(fit.angle - c.degrees), 180.0);
                EXPECT_LE(std::min(off, 180.0 - off), 3.0) << fit.angle;
            }
            EXPECT_GT(fit.residual, 0.003);
            EXPECT_LT(fit.residual, fit.circle ? 0.04 : 0.02) << "snapping adds the axes' spread";
        }
    }
    // The outline for drawing lies on the ellipse, turned the same way, and is closed.
    const CEllipseFit fit = fitEllipse(ellipse({ 10, 20 }, 50, 20, 30, 40));
    const QVector<QPointF> outline = ellipseOutline(fit, 8);
    ASSERT_EQ(outline.size(), 9);
    EXPECT_EQ(outline.first(), outline.last());
    EXPECT_LT(fitEllipse(outline).residual, 1e-9);
    EXPECT_NEAR(fitEllipse(outline).angle, 30.0, 1e-6);
    EXPECT_TRUE(ellipseOutline(CEllipseFit()).isEmpty());
}

TEST(EllipseFit, PointsNoEllipseFitsFailWithoutNaN)
{
    Stroke five = ellipse({ 0, 0 }, 50, 30, 10, 5);
    const struct
    {
        const char *what;
        Stroke points;
    } cases[] = {
        { "no points", {} },
        { "four points of an ellipse", ellipse({ 0, 0 }, 50, 30, 10, 4) },
        { "collinear", { { 0, 0 }, { 1, 2 }, { 2, 4 }, { 3, 6 }, { 4, 8 }, { 5, 10 } } },
        { "one spot", Stroke(6, QPointF(7, 7)) },
        { "NaN", Stroke(five) << QPointF(kNaN, 1) },
        { "infinity", Stroke(five) << QPointF(1, -kInf) },
        { "on a parabola", { { 0, 0 }, { 10, 1 }, { 20, 4 }, { 30, 9 }, { 40, 16 }, { 50, 25 } } },
    };
    for (const auto &c : cases) {
        const CEllipseFit fit = fitEllipse(c.points);
        EXPECT_FALSE(fit.ok) << c.what;
        for (double v : { fit.cx, fit.cy, fit.rx, fit.ry, fit.angle, fit.residual })
            EXPECT_EQ(v, 0.0) << c.what;
    }
    EXPECT_TRUE(fitEllipse(five).ok) << "five points are enough";
}

TEST(OpenStroke, CategoriesOfSmoothedPointLists)
{
    Stroke backwards = corner(o, 120, 20, 60, 70);
    std::reverse(backwards.begin(), backwards.end());
    const struct
    {
        const char *name;
        Stroke points;
        int category;
    } cases[] = {
        { "Empty", {}, 0 },
        { "OnePoint", { o }, 0 },
        { "Dot", { o, o }, 0 },
        { "NotANumber", { o, QPointF(kNaN, 3) }, 0 },
        { "Overflowing", { QPointF(-1e308, 0), QPointF(1e308, 0) }, 0 },
        { "RisingEightDegrees", { o, o + 100 * direction(8) }, 205 },
        { "FallingLeftwardsEightDegrees", { o, o + 100 * direction(188) }, 205 },
        { "RisingTwelveDegrees", { o, o + 100 * direction(12) }, 103 },
        { "StraightFivePoints",
            { o, o + QPointF(20, 2), o + QPointF(40, -2), o + QPointF(60, 1), o + QPointF(80, 0) },
            205 },
        { "WavyFivePoints",
            { o, o + QPointF(20, 15), o + QPointF(40, -15), o + QPointF(60, 15),
                o + QPointF(80, 0) },
            0 },
        { "Caret", corner(o, 240, 60, 300, 60), 114 }, // equal legs 60 degrees apart
        // Short leg down to the corner, long leg up to the right, 60 degrees apart.
        { "CheckMark", corner(o, 120, 20, 60, 70), 203 },
        { "CheckMarkDrawnBackwards", backwards, 203 },
        { "MirroredCheckMark", corner(o, 60, 20, 120, 70), 204 },
        // Legs of exactly 30 and 60: twice as long is not more than twice.
        { "TwiceAsLongIsBent", { o + QPointF(0, -30), o, o + QPointF(36, -48) }, 114 },
        // A right angle lies outside the bend window and is no straight line either.
        { "RightAngle", { o, o + QPointF(0, 60), o + QPointF(60, 60) }, 0 },
        // Legs nearly opposite (cosine above 0.98 is not reached): a line with a kink.
        { "KinkedLine", { o, o + QPointF(50, 3), o + QPointF(100, 0) }, 205 },
        { "LeftBracket", { o, o + QPointF(-20, 0), o + QPointF(-20, 80), o + QPointF(0, 80) },
            115 },
        { "ZShape", { o, o + QPointF(20, 0), o + QPointF(20, 80), o + QPointF(40, 80) }, 0 },
        { "ShortMiddleLeg", { o, o + QPointF(-40, 0), o + QPointF(-40, 60), o + QPointF(0, 60) },
            0 },
    };
    for (const auto &c : cases) {
        QRectF rect(1, 2, 3, 4);
        EXPECT_EQ(check1OpenStroke(c.points, rect), c.category) << c.name;
        EXPECT_TRUE(c.category || rect == QRectF(1, 2, 3, 4)) << c.name << ": rect left alone";
    }

    // A line's rect runs from its first to its last point, a bracket's from point 1 to 2.
    QRectF rect;
    ASSERT_EQ(check1OpenStroke({ QPointF(50, 10), QPointF(10, 12) }, rect), 205);
    EXPECT_EQ(rect, QRectF(50, 10, -40, 2));
    ASSERT_EQ(
        check1OpenStroke({ QPointF(30, 0), QPointF(0, 0), QPointF(0, 90), QPointF(30, 90) }, rect),
        115);
    EXPECT_EQ(rect, QRectF(0, 0, 0, 90));
}

TEST(JoiningStrokes, IntersectAndNearConnectKeepTheBaseDirection)
{
    const Stroke diagonal { QPointF(0, 0), QPointF(100, 100) };
    const Stroke bar { QPointF(0, 0), QPointF(100, 0) };
    const struct
    {
        const char *name;
        Stroke base, other;
        int crossing; // intersectConnect: 2 joined, 1 crossing away from the ends, 0 none
        Stroke joined; // empty: the base stays as it was
    } cases[] = {
        { "L overshooting at the corner", { QPointF(0, 0), QPointF(0, 105) },
            { QPointF(-5, 100), QPointF(100, 100) }, 2,
            { QPointF(0, 0), QPointF(0, 100), QPointF(100, 100) } },
        { "joined at the base's start", { QPointF(0, -5), QPointF(0, 100) },
            { QPointF(100, 0), QPointF(-5, 0) }, 2,
            { QPointF(100, 0), QPointF(0, 0), QPointF(0, 100) } },
        { "two halves of a square", { QPointF(-5, 0), QPointF(100, 0), QPointF(100, 105) },
            { QPointF(0, -5), QPointF(0, 100), QPointF(105, 100) }, 2,
            { QPointF(0, 0), QPointF(100, 0), QPointF(100, 100), QPointF(0, 100), QPointF(0, 0) } },
        { "X", diagonal, { QPointF(0, 100), QPointF(100, 0) }, 1, {} },
        { "infinite", diagonal, { QPointF(0, 50), QPointF(kInf, 50) }, 0, {} },
        { "empty", diagonal, {}, 0, {} },
    };
    for (const auto &c : cases) {
        Stroke base = c.base;
        EXPECT_EQ(intersectConnect(base, c.other), c.crossing) << c.name;
        EXPECT_EQ(base, c.joined.isEmpty() ? c.base : c.joined) << c.name;
    }

    const struct
    {
        const char *name;
        Stroke other, joined; // empty joined: not joined, base unchanged
    } near[] = {
        { "end to start", { QPointF(103, 0), QPointF(103, 100) },
            { QPointF(0, 0), QPointF(100, 0), QPointF(103, 0), QPointF(103, 100) } },
        { "start to end", { QPointF(-3, 100), QPointF(-3, 0) },
            { QPointF(-3, 100), QPointF(-3, 0), QPointF(0, 0), QPointF(100, 0) } },
        { "dot beside the end", { QPointF(104, 0), QPointF(104.5, 0.5) }, {} },
        { "too far", { QPointF(120, 0), QPointF(220, 0) }, {} },
        { "empty", {}, {} },
    };
    for (const auto &c : near) {
        Stroke base = bar;
        EXPECT_EQ(nearConnect(base, c.other), !c.joined.isEmpty()) << c.name;
        EXPECT_EQ(base, c.joined.isEmpty() ? bar : c.joined) << c.name;
    }

    Strokes triangle { { QPointF(0, 100), QPointF(50, 0) }, { QPointF(52, 2), QPointF(100, 100) },
        { QPointF(98, 101), QPointF(1, 102) } };
    ASSERT_TRUE(makeConnectedStroke(triangle));
    EXPECT_EQ(triangle.size(), 1);
    // An asterisk: three strokes crossing in their middles.
    Strokes asterisk { bar, { QPointF(20, -50), QPointF(80, 50) },
        { QPointF(80, -50), QPointF(20, 50) } };
    const Strokes original = asterisk;
    EXPECT_FALSE(makeConnectedStroke(asterisk));
    EXPECT_EQ(asterisk, original);

    // An X: the crossing test finds a crossing away from the ends, then the near-ends test
    // runs. Untraced they share the strokes' lengths; traced, each takes both itself (four
    // calls, each showing the inner one that keeps the steps).
    for (const bool traced : { false, true }) {
        Strokes x { diagonal, { QPointF(0, 100), QPointF(100, 0) } };
        LogCapture<> capture(traced ? QStringLiteral("TRACE") : QStringLiteral("WARN"));
        EXPECT_TRUE(makeConnectedStroke(x));
        EXPECT_EQ(x.size(), 2);
        EXPECT_EQ(
            capture.lines.filter(QStringLiteral("Enter calcStrokeLength")).size(), traced ? 8 : 0);
    }
}

TEST(TwoStrokes, CheckOpenStrokeAcceptsOnlyCrossingOrTouchingStraightLines)
{
    const Stroke bar { QPointF(0, 0), QPointF(100, 0) };
    const struct
    {
        const char *name;
        Stroke first, second;
        int expected;
    } cases[] = {
        { "X", { QPointF(0, 0), QPointF(100, 100) }, { QPointF(100, 0), QPointF(0, 100) }, 206 },
        { "Plus", bar, { QPointF(50, -50), QPointF(50, 50) }, 206 },
        { "T", bar, { QPointF(50, 0), QPointF(50, 100) }, 206 },
        { "TStemShortOfBar", bar, { QPointF(50, 6), QPointF(50, 100) }, 206 },
        { "TStemFarFromBar", bar, { QPointF(50, 30), QPointF(50, 130) }, 0 },
        { "Corner", bar, { QPointF(100, 0), QPointF(100, 100) }, 0 },
        { "Parallel", bar, { QPointF(0, 20), QPointF(100, 20) }, 0 },
        { "ShallowCrossing", bar, { QPointF(0, -10), QPointF(100, 10) }, 0 },
        { "DotOnTheLine", bar, { QPointF(50, -1), QPointF(50, 1) }, 0 },
        { "BentFirst", { QPointF(0, 0), QPointF(50, 40), QPointF(100, 0) },
            { QPointF(50, -50), QPointF(50, 50) }, 0 },
    };
    for (const auto &c : cases) {
        QRectF rect(7, 7, 7, 7);
        EXPECT_EQ(checkOpenStroke(c.first, c.second, rect), c.expected) << c.name;
        EXPECT_EQ(
            rect, c.expected ? QPolygonF(c.first + c.second).boundingRect() : QRectF(7, 7, 7, 7))
            << c.name;
    }
}

TEST(TwoStrokes, ACornerOfTwoStrokesWithAGapIsBent)
{
    // A caret whose legs stop 15 units apart: too far to join, close enough to be a corner,
    // whichever ends of the strokes meet there.
    const Stroke left { QPointF(0, 100), QPointF(45, 0) };
    const Stroke right { QPointF(60, 0), QPointF(100, 100) };
    int i = -1, j = -1;
    ASSERT_EQ(checkConnectSpecialEdge(left, right, i, j), 1);
    EXPECT_EQ(QPoint(i, j), QPoint(1, 0));
    ASSERT_EQ(checkConnectSpecialEdge({ left[1], left[0] }, right, i, j), 1);
    EXPECT_EQ(QPoint(i, j), QPoint(0, 0));
    QRectF rect;
    EXPECT_EQ(checkBranchStroke(left, right, 1, 0, rect), 114);
    EXPECT_EQ(rect, QRectF(0, 0, 100, 100));

    i = j = -1;
    EXPECT_EQ(checkConnectSpecialEdge(left, { QPointF(100, 0), QPointF(140, 100) }, i, j), 0);
    EXPECT_EQ(i, -1);
    EXPECT_EQ(checkBranchStroke(left, { QPointF(45, 0), QPointF(145, 0) }, 1, 0, rect), 0);
    EXPECT_EQ(checkBranchStroke(left, right, 1, 5, rect), 0) << "index out of range";
}
