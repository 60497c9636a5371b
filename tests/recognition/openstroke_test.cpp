// Open strokes and the joining of strokes: the pieces on their own on clean point lists,
// then whole scribbles of synthetic ink with seeded noise through classifyScribble.
#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>
#include <libutility/recognition/figurerecogniser.h>
#include <libutility/recognition/openstroke.h>

#include "support/printers.h"

#include <QLineF>
#include <QPolygonF>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace CFigureRecogniser;

namespace {

using Stroke = QVector<QPointF>;
using Strokes = QVector<Stroke>;

// Direction of degrees measured on the screen, counter-clockwise from +x (y grows down).
QPointF direction(double degrees)
{
    const double r = degrees * M_PI / 180.0;
    return QPointF(std::cos(r), -std::sin(r));
}

// A corner drawn from the end of its first leg through the corner to the end of the second;
// the legs leave the corner at the given screen angles.
Stroke corner(const QPointF &at, double angle1, double length1, double angle2, double length2)
{
    return { at + length1 * direction(angle1), at, at + length2 * direction(angle2) };
}

// Densely sampled polyline with seeded jitter, like a pen's samples.
Stroke ink(const Stroke &corners, std::mt19937 &rng, double jitter = 0.4)
{
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

const QPointF o(100, 100);

} // namespace

TEST(OpenStroke, CategoriesOfSmoothedPointLists)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
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
        { "NotANumber", { o, QPointF(nan, 3) }, 0 },
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
        { "TwiceAsLongIsBent", corner(o, 120, 30, 60, 60), 114 },
        // A right angle lies outside the bend window and is no straight line either.
        { "RightAngle", { o, o + QPointF(0, 60), o + QPointF(60, 60) }, 0 },
        // Legs nearly opposite (cosine above 0.98 is not reached): a line with a kink.
        { "KinkedLine", { o, o + QPointF(50, 3), o + QPointF(100, 0) }, 205 },
        { "LeftBracket", { o, o + QPointF(-20, 0), o + QPointF(-20, 80), o + QPointF(0, 80) },
            115 },
        { "UpsideDownU", { o, o + QPointF(0, -20), o + QPointF(80, -20), o + QPointF(80, 0) },
            115 },
        { "ZShape", { o, o + QPointF(20, 0), o + QPointF(20, 80), o + QPointF(40, 80) }, 0 },
        { "ShortMiddleLeg", { o, o + QPointF(-40, 0), o + QPointF(-40, 60), o + QPointF(0, 60) },
            0 },
    };
    for (const auto &c : cases) {
        QRectF rect(1, 2, 3, 4);
        EXPECT_EQ(check1OpenStroke(c.points, rect), c.category) << c.name;
        if (c.category == cHANDWRITE_DATA) {
            EXPECT_EQ(rect, QRectF(1, 2, 3, 4)) << c.name << ": rect left alone";
        }
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
        { "T", diagonal, { QPointF(50, 50), QPointF(100, 0) }, 1, {} },
        { "parallel", diagonal, { QPointF(10, 0), QPointF(110, 100) }, 0, {} },
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
        { "end to end", { QPointF(103, 100), QPointF(103, 0) },
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
    // A caret whose legs stop 15 units apart: too far to join, close enough to be a corner.
    const Stroke left { QPointF(0, 100), QPointF(45, 0) };
    const Stroke right { QPointF(60, 0), QPointF(100, 100) };
    int i = -1, j = -1;
    ASSERT_EQ(checkConnectSpecialEdge(left, right, i, j), 1);
    EXPECT_EQ(QPoint(i, j), QPoint(1, 0));
    QRectF rect;
    EXPECT_EQ(checkBranchStroke(left, right, i, j, rect), 114);
    EXPECT_EQ(rect, QRectF(0, 0, 100, 100));

    i = j = -1;
    EXPECT_EQ(checkConnectSpecialEdge(left, { QPointF(100, 0), QPointF(140, 100) }, i, j), 0);
    EXPECT_EQ(i, -1);
    EXPECT_EQ(checkBranchStroke(left, { QPointF(45, 0), QPointF(145, 0) }, 1, 0, rect), 0);
    EXPECT_EQ(checkBranchStroke(left, right, 1, 5, rect), 0) << "index out of range";
}

TEST(ClassifyOpenScribble, SyntheticInk)
{
    const QPointF c(200, 200);
    const struct
    {
        const char *name;
        Strokes corners;
        int category;
        double jitter = 0.4;
    } cases[] = {
        { "HorizontalLine", { { c, c + QPointF(150, 4) } }, 205 },
        { "SteepLine", { { c, c + 150 * direction(75) } }, 103 },
        { "Caret", { corner(c, 245, 100, 295, 100) }, 114 },
        { "V", { corner(c, 110, 100, 70, 100) }, 114 },
        { "CheckMark", { corner(c, 125, 30, 60, 100) }, 203 },
        { "MirroredCheckMark", { corner(c, 55, 30, 120, 100) }, 204 },
        { "L", { { c, c + QPointF(0, 100), c + QPointF(80, 100) } }, 0 },
        // The pen rarely ends a bracket exactly below its start. Its short arms leave the
        // smoothing little room: a shakier pen adds a point at a corner, and four legs
        // are no bracket.
        { "LeftBracket",
            { { c + QPointF(-8, 0), c + QPointF(-50, 0), c + QPointF(-50, 130),
                c + QPointF(0, 130) } },
            115, 0.15 },
        { "Squiggle",
            { { c, c + QPointF(30, -40), c + QPointF(60, 0), c + QPointF(90, -40),
                c + QPointF(120, 0) } },
            0 },
        { "TwoCrossingLines",
            { { c, c + QPointF(100, 100) }, { c + QPointF(100, 0), c + QPointF(0, 100) } }, 206 },
        { "T", { { c, c + QPointF(120, 0) }, { c + QPointF(60, 0), c + QPointF(60, 120) } }, 206 },
        { "TwoParallelLines",
            { { c, c + QPointF(120, 0) }, { c + QPointF(0, 40), c + QPointF(120, 40) } }, 0 },
        { "VInTwoStrokes",
            { { c, c + QPointF(40, 100) }, { c + QPointF(40, 100), c + QPointF(80, 0) } }, 114 },
    };
    std::mt19937 rng(20240607);
    for (const auto &sc : cases) {
        Strokes strokes;
        for (const Stroke &corners : sc.corners)
            strokes.append(ink(corners, rng, sc.jitter));
        QRectF rect;
        QVector<QPointF> result { QPointF(-1, -1) };
        EXPECT_EQ(classifyScribble(strokes, rect, result, 6, true), sc.category) << sc.name;
        EXPECT_EQ(result, QVector<QPointF> { QPointF(-1, -1) }) << sc.name << ": result untouched";
    }
}

TEST(ClassifyOpenScribble, StrokesJoinIntoAFigureOrLeavePreparedUntouched)
{
    std::mt19937 rng(7);
    const Strokes halves { ink({ QPointF(0, 0), QPointF(100, 0), QPointF(100, 100) }, rng),
        ink({ QPointF(1, 2), QPointF(1, 101), QPointF(99, 101) }, rng) };
    QRectF rect;
    QVector<QPointF> result;
    Strokes prepared;
    ASSERT_EQ(classifyScribble(halves, rect, result, 6, false, &prepared), 102);
    EXPECT_EQ(result.size(), 4);
    EXPECT_EQ(prepared.size(), 1) << "the halves were joined";

    const Strokes h { ink({ QPointF(0, 0), QPointF(0, 100) }, rng),
        ink({ QPointF(100, 0), QPointF(100, 100) }, rng),
        ink({ QPointF(0, 50), QPointF(100, 50) }, rng) };
    const Strokes marker { { QPointF(42, 42) } };
    prepared = marker;
    result.clear();
    EXPECT_EQ(classifyScribble(h, rect, result, 6, true, &prepared), 0);
    EXPECT_EQ(prepared, marker);
    EXPECT_TRUE(result.isEmpty());
}
