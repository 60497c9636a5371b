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
#include <string>

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

Stroke reversed(Stroke points)
{
    std::reverse(points.begin(), points.end());
    return points;
}

// --- check1OpenStroke on smoothed point lists ---------------------------------------------

struct OpenCase
{
    const char *name;
    Stroke points;
    int category;
};

void PrintTo(const OpenCase &c, std::ostream *os) { *os << c.name; }

class OpenStrokeCategory : public testing::TestWithParam<OpenCase>
{
};

TEST_P(OpenStrokeCategory, Classifies)
{
    QRectF rect(1, 2, 3, 4);
    EXPECT_EQ(check1OpenStroke(GetParam().points, rect), GetParam().category);
    if (GetParam().category == cHANDWRITE_DATA) {
        EXPECT_EQ(rect, QRectF(1, 2, 3, 4)) << "rect is left alone for handwriting";
    }
}

const QPointF o(100, 100);
const double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(Shapes, OpenStrokeCategory,
    testing::Values(OpenCase { "Empty", {}, 0 }, OpenCase { "OnePoint", { o }, 0 },
        OpenCase { "Dot", { o, o }, 0 }, OpenCase { "NotANumber", { o, QPointF(nan, 3) }, 0 },
        OpenCase { "HorizontalLeftToRight", { o, o + QPointF(100, 0) }, 205 },
        OpenCase { "HorizontalRightToLeft", { o, o - QPointF(100, 0) }, 205 },
        OpenCase { "RisingEightDegrees", { o, o + 100 * direction(8) }, 205 },
        OpenCase { "FallingLeftwardsEightDegrees", { o, o + 100 * direction(188) }, 205 },
        OpenCase { "RisingTwelveDegrees", { o, o + 100 * direction(12) }, 103 },
        OpenCase { "Diagonal", { o, o + 100 * direction(-45) }, 103 },
        OpenCase { "Steep", { o, o + 100 * direction(80) }, 103 },
        OpenCase { "StraightFivePoints",
            { o, o + QPointF(20, 2), o + QPointF(40, -2), o + QPointF(60, 1), o + QPointF(80, 0) },
            205 },
        OpenCase { "WavyFivePoints",
            { o, o + QPointF(20, 15), o + QPointF(40, -15), o + QPointF(60, 15),
                o + QPointF(80, 0) },
            0 },
        // Legs 60 degrees apart, equal: a caret.
        OpenCase { "Caret", corner(o, 240, 60, 300, 60), 114 },
        // Short leg down to the corner, long leg up to the right, 60 degrees apart.
        OpenCase { "CheckMark", corner(o, 120, 20, 60, 70), 203 },
        OpenCase { "CheckMarkDrawnBackwards", reversed(corner(o, 120, 20, 60, 70)), 203 },
        OpenCase { "MirroredCheckMark", corner(o, 60, 20, 120, 70), 204 },
        // Exactly twice as long is still a plain bend.
        OpenCase { "TwiceAsLongIsBent", corner(o, 120, 30, 60, 60), 114 },
        // A right angle lies outside the bend window and is no straight line either.
        OpenCase { "RightAngle", { o, o + QPointF(0, 60), o + QPointF(60, 60) }, 0 },
        // Legs nearly opposite (cosine above 0.98 is not reached): a line with a kink.
        OpenCase { "KinkedLine", { o, o + QPointF(50, 3), o + QPointF(100, 0) }, 205 },
        OpenCase { "LeftBracket",
            { o, o + QPointF(-20, 0), o + QPointF(-20, 80), o + QPointF(0, 80) }, 115 },
        OpenCase { "UpsideDownU",
            { o, o + QPointF(0, -20), o + QPointF(80, -20), o + QPointF(80, 0) }, 115 },
        OpenCase {
            "ZShape", { o, o + QPointF(20, 0), o + QPointF(20, 80), o + QPointF(40, 80) }, 0 },
        OpenCase { "ShortMiddleLeg",
            { o, o + QPointF(-40, 0), o + QPointF(-40, 60), o + QPointF(0, 60) }, 0 }),
    [](const testing::TestParamInfo<OpenCase> &info) { return std::string(info.param.name); });

TEST(OpenStrokeRect, LineRectRunsFromFirstToLastPoint)
{
    QRectF rect;
    ASSERT_EQ(check1OpenStroke({ QPointF(50, 10), QPointF(10, 12) }, rect), 205);
    EXPECT_EQ(rect, QRectF(50, 10, -40, 2));
}

TEST(OpenStrokeRect, BracketRectRunsFromPointOneToPointTwo)
{
    QRectF rect;
    ASSERT_EQ(
        check1OpenStroke({ QPointF(30, 0), QPointF(0, 0), QPointF(0, 90), QPointF(30, 90) }, rect),
        115);
    EXPECT_EQ(rect, QRectF(0, 0, 0, 90));
}

// --- joining ----------------------------------------------------------------------------

TEST(IntersectConnect, JoinsStrokesCrossingNearTheirEnds)
{
    // An L drawn in two strokes that overshoot each other at the corner.
    Stroke base { QPointF(0, 0), QPointF(0, 105) };
    const Stroke other { QPointF(-5, 100), QPointF(100, 100) };
    ASSERT_EQ(intersectConnect(base, other), 2);
    EXPECT_EQ(base, (Stroke { QPointF(0, 0), QPointF(0, 100), QPointF(100, 100) }));
}

TEST(IntersectConnect, KeepsTheBaseDirectionWhenJoiningAtItsStart)
{
    Stroke base { QPointF(0, -5), QPointF(0, 100) };
    const Stroke other { QPointF(100, 0), QPointF(-5, 0) };
    ASSERT_EQ(intersectConnect(base, other), 2);
    EXPECT_EQ(base, (Stroke { QPointF(100, 0), QPointF(0, 0), QPointF(0, 100) }));
}

TEST(IntersectConnect, ClosesTwoHalvesOfAFigure)
{
    Stroke base { QPointF(-5, 0), QPointF(100, 0), QPointF(100, 105) };
    const Stroke other { QPointF(0, -5), QPointF(0, 100), QPointF(105, 100) };
    ASSERT_EQ(intersectConnect(base, other), 2);
    EXPECT_EQ(base,
        (Stroke {
            QPointF(0, 0), QPointF(100, 0), QPointF(100, 100), QPointF(0, 100), QPointF(0, 0) }));
}

TEST(IntersectConnect, ReportsButKeepsCrossingsAwayFromTheEnds)
{
    const Stroke original { QPointF(0, 0), QPointF(100, 100) };
    struct
    {
        const char *name;
        Stroke other;
        int expected;
    } cases[] = {
        { "X", { QPointF(0, 100), QPointF(100, 0) }, 1 },
        { "T", { QPointF(50, 50), QPointF(100, 0) }, 1 },
        { "Apart", { QPointF(0, 10), QPointF(90, 100) }, 0 },
        { "Parallel", { QPointF(10, 0), QPointF(110, 100) }, 0 },
        { "Empty", {}, 0 },
    };
    for (const auto &c : cases) {
        Stroke base = original;
        EXPECT_EQ(intersectConnect(base, c.other), c.expected) << c.name;
        EXPECT_EQ(base, original) << c.name;
    }
}

TEST(NearConnect, JoinsNearbyEndsKeepingTheBaseDirection)
{
    struct
    {
        const char *name;
        Stroke other;
        Stroke joined;
    } cases[] = {
        { "EndToStart", { QPointF(103, 0), QPointF(103, 100) },
            { QPointF(0, 0), QPointF(100, 0), QPointF(103, 0), QPointF(103, 100) } },
        { "EndToEnd", { QPointF(103, 100), QPointF(103, 0) },
            { QPointF(0, 0), QPointF(100, 0), QPointF(103, 0), QPointF(103, 100) } },
        { "StartToEnd", { QPointF(-3, 100), QPointF(-3, 0) },
            { QPointF(-3, 100), QPointF(-3, 0), QPointF(0, 0), QPointF(100, 0) } },
    };
    for (const auto &c : cases) {
        Stroke base { QPointF(0, 0), QPointF(100, 0) };
        EXPECT_TRUE(nearConnect(base, c.other)) << c.name;
        EXPECT_EQ(base, c.joined) << c.name;
    }
}

TEST(NearConnect, LeavesDotsAndDistantStrokesAlone)
{
    const Stroke original { QPointF(0, 0), QPointF(0, 100) };
    const Stroke others[] = {
        { QPointF(0, 104), QPointF(0.5, 104.5) }, // the dot under an exclamation mark
        { QPointF(0, 120), QPointF(0, 220) },
        {},
    };
    for (const Stroke &other : others) {
        Stroke base = original;
        EXPECT_FALSE(nearConnect(base, other));
        EXPECT_EQ(base, original);
    }
}

TEST(MakeConnectedStroke, JoinsTheSidesOfATriangle)
{
    Strokes strokes { { QPointF(0, 100), QPointF(50, 0) }, { QPointF(52, 2), QPointF(100, 100) },
        { QPointF(98, 101), QPointF(1, 102) } };
    ASSERT_TRUE(makeConnectedStroke(strokes));
    EXPECT_EQ(strokes.size(), 1);
}

TEST(MakeConnectedStroke, FailsForThreeStrokesThatDoNotMeet)
{
    // An asterisk: three strokes crossing in their middles.
    Strokes strokes { { QPointF(0, 50), QPointF(100, 50) }, { QPointF(20, 0), QPointF(80, 100) },
        { QPointF(80, 0), QPointF(20, 100) } };
    const Strokes original = strokes;
    EXPECT_FALSE(makeConnectedStroke(strokes));
    EXPECT_EQ(strokes, original);
}

// --- two strokes --------------------------------------------------------------------------

TEST(CheckOpenStroke, AcceptsOnlyCrossingOrTouchingStraightLines)
{
    const Stroke bar { QPointF(0, 0), QPointF(100, 0) };
    struct
    {
        const char *name;
        Stroke first;
        Stroke second;
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
        const QRectF expected
            = c.expected == 206 ? QPolygonF(c.first + c.second).boundingRect() : QRectF(7, 7, 7, 7);
        EXPECT_EQ(rect, expected) << c.name;
    }
}

TEST(CheckBranchStroke, ACornerOfTwoStrokesWithAGapIsBent)
{
    // A caret whose legs stop 15 units apart: too far to join, close enough to be a corner.
    const Stroke left { QPointF(0, 100), QPointF(45, 0) };
    const Stroke right { QPointF(60, 0), QPointF(100, 100) };
    int i = -1, j = -1;
    ASSERT_EQ(checkConnectSpecialEdge(left, right, i, j), 1);
    EXPECT_EQ(i, 1);
    EXPECT_EQ(j, 0);
    QRectF rect;
    EXPECT_EQ(checkBranchStroke(left, right, i, j, rect), 114);
    EXPECT_EQ(rect, QRectF(0, 0, 100, 100));

    const Stroke far { QPointF(100, 0), QPointF(140, 100) };
    i = j = -1;
    EXPECT_EQ(checkConnectSpecialEdge(left, far, i, j), 0);
    EXPECT_EQ(i, -1);
    const Stroke rightAngle { QPointF(45, 0), QPointF(145, 0) };
    EXPECT_EQ(checkBranchStroke(left, rightAngle, 1, 0, rect), 0);
    EXPECT_EQ(checkBranchStroke(left, right, 1, 5, rect), 0) << "index out of range";
}

// --- whole scribbles of synthetic ink -------------------------------------------------------

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

struct ScribbleCase
{
    const char *name;
    Strokes corners;
    int category;
    double jitter = 0.4;
};

TEST(ClassifyOpenScribble, SyntheticInk)
{
    const QPointF c(200, 200);
    const ScribbleCase cases[] = {
        { "HorizontalLine", { { c, c + QPointF(150, 4) } }, 205 },
        { "HorizontalLineLeftwards", { { c, c - QPointF(150, 4) } }, 205 },
        { "SteepLine", { { c, c + 150 * direction(75) } }, 103 },
        { "DiagonalLine", { { c, c + 150 * direction(-40) } }, 103 },
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
        { "RightBracket",
            { { c + QPointF(8, 0), c + QPointF(50, 0), c + QPointF(50, 130),
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
    for (const ScribbleCase &sc : cases) {
        Strokes strokes;
        for (const Stroke &corners : sc.corners)
            strokes.append(ink(corners, rng, sc.jitter));
        QRectF rect;
        QVector<QPointF> result { QPointF(-1, -1) };
        EXPECT_EQ(classifyScribble(strokes, rect, result, 6, true), sc.category) << sc.name;
        EXPECT_EQ(result, QVector<QPointF> { QPointF(-1, -1) }) << sc.name << ": result untouched";
    }
}

TEST(ClassifyOpenScribble, TwoHalvesOfASquareBecomeOneClosedFigure)
{
    std::mt19937 rng(7);
    const Strokes strokes { ink({ QPointF(0, 0), QPointF(100, 0), QPointF(100, 100) }, rng),
        ink({ QPointF(1, 2), QPointF(1, 101), QPointF(99, 101) }, rng) };
    QRectF rect;
    QVector<QPointF> result;
    Strokes prepared;
    ASSERT_EQ(classifyScribble(strokes, rect, result, 6, false, &prepared), 102);
    EXPECT_EQ(result.size(), 4);
    EXPECT_EQ(prepared.size(), 1) << "the halves were joined";
}

TEST(ClassifyOpenScribble, ThreeUnjoinableStrokesLeavePreparedUntouched)
{
    std::mt19937 rng(11);
    const Strokes strokes { ink({ QPointF(0, 0), QPointF(0, 100) }, rng),
        ink({ QPointF(100, 0), QPointF(100, 100) }, rng),
        ink({ QPointF(0, 50), QPointF(100, 50) }, rng) }; // an H
    QRectF rect;
    QVector<QPointF> result;
    const Strokes marker { { QPointF(42, 42) } };
    Strokes prepared = marker;
    EXPECT_EQ(classifyScribble(strokes, rect, result, 6, true, &prepared), 0);
    EXPECT_EQ(prepared, marker);
    EXPECT_TRUE(result.isEmpty());
}

TEST(OpenStrokeTrace, LinesCarryTheRecogniserFileName)
{
    QStringList lines;
    const QString oldLevel = CLogSystem::theRootInstance().getLevel();
    CLogSystem::theRootInstance().setLevel("TRACE");
    basic_logging::logstream<basic_logging::tracelevel>::instance().setCallback(
        [&lines](const QByteArray &line) { lines << QString::fromLatin1(line); });
    QRectF rect;
    check1OpenStroke({ QPointF(0, 0), QPointF(10, 0) }, rect);
    basic_logging::logstream<basic_logging::tracelevel>::instance().setStandardError();
    CLogSystem::theRootInstance().setLevel(oldLevel);
    ASSERT_GE(lines.size(), 2);
    EXPECT_TRUE(lines.first().startsWith("figurerecogniser\t")) << lines.first().toStdString();
    EXPECT_TRUE(lines.first().endsWith("\tEnter check1OpenStroke")) << lines.first().toStdString();
    EXPECT_TRUE(lines.last().contains("\tExit check1OpenStroke")) << lines.last().toStdString();
}

} // namespace
