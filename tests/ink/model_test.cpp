// The ink model: strokes, and the scribbles made of them.
#include "inktest.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <cmath>
#include <functional>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

using namespace inktest;

namespace {

// A stroke and a scribble with their cached state open for inspection.
class StrokeProbe : public CStroke
{
public:
    StrokeProbe(std::initializer_list<QPoint> points = {})
    {
        for (const QPoint &p : points)
            addPoint(p);
    }
    bool rectValid() const { return m_rectBoundValid; }
    bool shapeValid() const { return m_shapeCacheValid; }
    void setShapeValid() { m_shapeCacheValid = true; }
};

class ScribbleProbe : public CScribble
{
public:
    bool rectValid() const { return m_rectBoundValid; }
    bool &applicationFlag() { return m_applicationFlag; }
};

using Points = std::vector<QPoint>;

Points pointsOf(const CStroke &s)
{
    Points out;
    for (long i = 0; i < s.getPointNum(); ++i)
        out.push_back(s.getPointAt(i));
    return out;
}

// Strokes of the single points (i, i) for i from first on, so that a stroke's x tells
// where it came from.
ScribbleProbe numbered(int n, int first = 0)
{
    ScribbleProbe s;
    for (int i = first; i < first + n; ++i)
        s.addStroke(StrokeProbe { QPoint(i, i) });
    s.invalidateCache();
    return s;
}

std::vector<int> firstXs(const CScribble &s)
{
    std::vector<int> out;
    for (long i = 0; i < s.getStrokeNum(); ++i)
        out.push_back(s.getStrokeAt(i).getPointAt(0).x());
    return out;
}

} // namespace

TEST(Stroke, BoundUsesTheLargestCoordinatesAsExclusiveEdges)
{
    const std::pair<StrokeProbe, Edges> cases[] = {
        { {}, { 0, 0, 0, 0 } },
        { { QPoint(5, 7) }, { 5, 7, 5, 7 } },
        { { QPoint(0, 0), QPoint(10, 20) }, { 0, 0, 10, 20 } },
        { { QPoint(3, -1), QPoint(-4, 9), QPoint(8, 2) }, { -4, -1, 8, 9 } },
    };
    for (const auto &c : cases)
        EXPECT_EQ(edgesOf(c.first.getRectBound()), c.second) << "row " << (&c - cases);
}

TEST(Stroke, DistanceExaminesOnlyTheChosenSegment)
{
    const std::tuple<const char *, StrokeProbe, QPoint, double> cases[] = {
        { "no points", {}, QPoint(3, 4), 0.0 },
        { "one point", { QPoint(5, 7) }, QPoint(8, 11), 5.0 },
        // The foot of the perpendicular lies inside the segment: every term of the line
        // equation counts, with its sign.
        { "perpendicular", { QPoint(0, 10), QPoint(10, 0) }, QPoint(2, 3), 5.0 / std::sqrt(2.0) },
        { "nearest is A", { QPoint(0, 0), QPoint(10, 0) }, QPoint(-4, 3), 5.0 },
        { "nearest is B", { QPoint(0, 0), QPoint(10, 0) }, QPoint(13, 4), 5.0 },
        // Segment (0,0)-(100,0) passes at distance 1, but (50,30)-(52,30) has the
        // smaller endpoint sum and is the only one examined.
        { "not the nearest segment",
            { QPoint(0, 0), QPoint(100, 0), QPoint(50, 30), QPoint(52, 30) }, QPoint(50, 1), 29.0 },
        // Both segments have the sum 50; the first wins although the second is nearer.
        { "first of equal sums", { QPoint(3, 4), QPoint(4, 3), QPoint(5, 0) }, QPoint(0, 0),
            7.0 / std::sqrt(2.0) },
    };
    for (const auto &[name, stroke, p, expected] : cases)
        EXPECT_DOUBLE_EQ(stroke.getDistance(p), expected) << name;
}

TEST(Stroke, HitTestTestsVerticesOnly)
{
    EXPECT_FALSE(StrokeProbe().hitTest(CNRect(-10, -10, 100, 100)));
    const StrokeProbe s { QPoint(0, 0), QPoint(10, 20) };
    const std::pair<CNRect, bool> cases[] = {
        { CNRect(10, 20, 5, 5), true },
        // Touching rectangles intersect, but (0, 0) is on this one's exclusive edge.
        { CNRect(-5, -5, 5, 5), false },
        // The segment crosses (5, 10), inside this rectangle, with no vertex in it.
        { CNRect(3, 8, 4, 4), false },
        // No width: it touches (10, 20) but contains no point.
        { CNRect(10, 20, 0, 5), false },
        // Inverted rectangles contain points as QRect::contains sees them.
        { CNRect(10, 20, -9, -19), true },
        { CNRect(5, 5, -10, 1), false },
    };
    for (const auto &c : cases)
        EXPECT_EQ(s.hitTest(c.first), c.second) << "row " << (&c - cases);
}

// Every edit leaves copies alone and drops the cached bound; only a translation keeps
// the shape cache.
TEST(Stroke, EditsInvalidateTheRightCaches)
{
    const std::tuple<const char *, std::function<void(CStroke &)>, bool> cases[] = {
        { "addPoint", [](auto &s) { s.addPoint(QPoint(-7, 40)); }, false },
        { "setPointAt", [](auto &s) { s.setPointAt(1, QPoint(99, 98)); }, false },
        { "removePoints", [](auto &s) { s.removePoints(1, 2); }, false },
        { "move", [](auto &s) { s.move(QSize(5, -3)); }, true },
        { "setPos center", [](auto &s) { s.setPos(QPoint(0, 0), 2.0, 0.5); }, false },
        { "setPos rect", [](auto &s) { s.setPos(CNRect(0, 0, 300, 30)); }, false },
        { "readFrom", [](auto &s) { readInto(s, written(1, QPoint(-1, 3))); }, false },
    };
    for (const auto &[name, edit, shapeKept] : cases) {
        SCOPED_TRACE(name);
        StrokeProbe s { QPoint(0, 0), QPoint(10, 20), QPoint(30, 5), QPoint(4, 4) };
        const StrokeProbe copy(s);
        const Points before = pointsOf(s);
        s.getRectBound();
        s.setShapeValid();
        edit(s);
        EXPECT_FALSE(s.rectValid());
        EXPECT_EQ(s.shapeValid(), shapeKept);
        EXPECT_EQ(pointsOf(copy), before);
    }
    StrokeProbe s { QPoint(0, 0), QPoint(1, 1), QPoint(2, 2), QPoint(3, 3), QPoint(4, 4) };
    s.removePoints(1, 2);
    EXPECT_EQ(pointsOf(s), Points({ QPoint(0, 0), QPoint(3, 3), QPoint(4, 4) }));
}

TEST(Stroke, SetPosTruncatesAndSnapsScalesNearOne)
{
    StrokeProbe s { QPoint(0, 0), QPoint(10, 20) };
    s.setPos(QPoint(100, 100), 1.0, 1.0);
    EXPECT_EQ(pointsOf(s), Points({ QPoint(95, 90), QPoint(105, 110) }));
    s.setPos(QPoint(5, 10), 0.55, 1.0); // truncated toward zero
    EXPECT_EQ(pointsOf(s), Points({ QPoint(3, 0), QPoint(7, 20) }));

    // Fitting the stroke (0, 0)-(width, 0) into a rectangle one high: where its ends go.
    const std::tuple<int, CNRect, int, int> fits[] = {
        { 100, CNRect(0, 0, 120, 1), 0, 120 },
        { 100, CNRect(7, 0, 100, 1), 7, 107 },
        { 1000, CNRect(0, 0, 1005, 1), 2, 1002 }, // 1.005 snaps to 1
        { 100, CNRect(0, 0, 99, 1), 0, 98 }, // 0.99 and 1.01 are outside the snap band
        { 200, CNRect(0, 0, 202, 1), 0, 202 },
    };
    for (const auto &[width, target, left, right] : fits) {
        StrokeProbe fitted { QPoint(0, 0), QPoint(width, 0) };
        fitted.setPos(target);
        EXPECT_EQ(pointsOf(fitted), Points({ QPoint(left, 0), QPoint(right, 0) }))
            << width << " into " << target.width();
    }
}

TEST(Stroke, ReadFromTrustsTheCountAndZeroFillsWhatIsMissing)
{
    const std::tuple<const char *, std::string, Points> cases[] = {
        { "three points", written(3, QPoint(1, 2), QPoint(-3, 4), QPoint(5, -6)),
            { QPoint(1, 2), QPoint(-3, 4), QPoint(5, -6) } },
        { "zero", written(0, QPoint(1, 2)), {} },
        { "negative", written(-5, QPoint(1, 2)), {} },
        { "no count", std::string(), {} },
        { "ends inside a point", written(4, QPoint(1, 2)) + bytes({ 7, 0, 0, 0, 8 }),
            { QPoint(1, 2), QPoint(7, 8), QPoint(0, 0), QPoint(0, 0) } },
    };
    for (const auto &[name, data, expected] : cases) {
        // The bulk path and the point-by-point path taken while tracing agree.
        for (const bool tracing : { false, true }) {
            std::unique_ptr<TraceCapture> capture(tracing ? new TraceCapture : nullptr);
            StrokeProbe s { QPoint(100, 100) };
            readInto(s, data);
            EXPECT_EQ(pointsOf(s), expected) << name << ", tracing " << tracing;
        }
    }
}

TEST(Scribble, BoundCoversTheStrokesAndAnEmptyStrokeReachesTheOrigin)
{
    ScribbleProbe s;
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 0, 0, 0 }));
    EXPECT_FALSE(s.applicationFlag());
    EXPECT_EQ(CScribble::ms_maxPointsPerLine, -1);
    s.addStroke(0L);
    s.addStroke(-2L);
    EXPECT_EQ(s.getStrokeNum(), 0);
    // Appending a stroke leaves the cached bound alone until the caller invalidates.
    s.addStroke(StrokeProbe { QPoint(10, 10), QPoint(20, 20) });
    s.addStroke(StrokeProbe { QPoint(30, 5), QPoint(40, 8) });
    EXPECT_EQ(s.getRectBound().right(), 0);
    s.invalidateCache();
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 10, 5, 40, 20 }));
    s.addStroke(2L); // two empty strokes; this one invalidates
    EXPECT_EQ(s.getStrokeNum(), 4);
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 0, 40, 20 }));
}

TEST(Scribble, RangeEditing)
{
    const std::tuple<const char *, std::function<void(CScribble &)>, std::vector<int>, bool> cases[]
        = {
              { "removeStroke(0, 0)", [](auto &s) { s.removeStroke(0, 0); }, { 1, 2, 3, 4 }, true },
              { "removeStroke(1, 3)", [](auto &s) { s.removeStroke(1, 3); }, { 0, 4 }, true },
              { "extract(1, 2)", [](auto &s) { s.extract(1, 2); }, { 1, 2 }, true },
              { "extract(0, 4)", [](auto &s) { s.extract(0, 4); }, { 0, 1, 2, 3, 4 }, true },
              { "extract(3, 4)", [](auto &s) { s.extract(3, 4); }, { 3, 4 }, true },
              { "extract(1, 5) keeps all", [](auto &s) { s.extract(1, 5); }, { 0, 1, 2, 3, 4 },
                  false },
              { "merge", [](auto &s) { s.merge(numbered(2, 7)); }, { 0, 1, 2, 3, 4, 7, 8 }, true },
              { "merge itself", [](auto &s) { s.merge(s); }, { 0, 1, 2, 3, 4, 0, 1, 2, 3, 4 },
                  true },
          };
    for (const auto &[name, edit, expected, cacheTouched] : cases) {
        ScribbleProbe s = numbered(5);
        s.getRectBound();
        edit(s);
        EXPECT_EQ(firstXs(s), expected) << name;
        EXPECT_EQ(s.rectValid(), !cacheTouched) << name;
    }
}

TEST(Scribble, MovingAndPlacing)
{
    ScribbleProbe s;
    s.addStroke(StrokeProbe { QPoint(1, 1), QPoint(5, 2) });
    s.shiftPoints(3);
    // One offset for both axes: the drawing moves diagonally, and the bound is fresh.
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 4, 4, 8, 5 }));
    s.move(QSize(-4, 10));
    EXPECT_FALSE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 14, 4, 15 }));

    // Each stroke is scaled about its own centre and then placed: the stroke at 8..11
    // starts at 10, where scaling its points about the drawing's centre gives 9.
    ScribbleProbe two;
    two.addStroke(StrokeProbe { QPoint(0, 0), QPoint(2, 0) });
    two.addStroke(StrokeProbe { QPoint(8, 0), QPoint(11, 0) });
    two.invalidateCache();
    two.setPos(QPoint(5, 0), 1.5, 1.0);
    EXPECT_EQ(edgesOf(two.getStrokeAt(0).getRectBound()), Edges({ -2, 0, 0, 0 }));
    EXPECT_EQ(edgesOf(two.getStrokeAt(1).getRectBound()), Edges({ 10, 0, 14, 0 }));

    // After fitting, the bound is the requested rectangle itself.
    const CNRect target(100, 100, 33, 17);
    two.setPos(target);
    EXPECT_TRUE(two.rectValid());
    EXPECT_EQ(edgesOf(two.getRectBound()), edgesOf(target));
}

// Equality compares the points of the strokes, not their cached state.
TEST(Scribble, CopiesCarryTheApplicationFlagAndStayIndependent)
{
    ScribbleProbe original = numbered(2);
    original.applicationFlag() = true;
    ScribbleProbe copy(original), assigned;
    assigned = original;
    EXPECT_TRUE(copy.applicationFlag() && assigned.applicationFlag());
    original.getRectBound(); // computes the strokes' bounds in the original only
    EXPECT_TRUE(copy.equals(&original));
    EXPECT_FALSE(copy.equals(nullptr));
    const ScribbleProbe longer = numbered(3); // begins with the same two strokes
    EXPECT_FALSE(copy.equals(&longer));
    original.getStrokeAt(0).addPoint(QPoint(9, 9)); // the mutable accessor invalidates
    EXPECT_FALSE(original.rectValid());
    EXPECT_FALSE(copy.equals(&original));
}

TEST(Scribble, ReadFromAndWriteTo)
{
    ScribbleProbe s = numbered(4);
    readInto(s, written(2, 1, QPoint(3, 4), 3, QPoint(1, 1), QPoint(-5, 9), QPoint(6, 2)));
    ASSERT_EQ(s.getStrokeNum(), 2);
    EXPECT_EQ(std::as_const(s).getStrokeAt(1).getPointAt(1), QPoint(-5, 9));
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ -5, 1, 6, 9 }));

    // A negative count is a huge unsigned size: the container refuses it.
    EXPECT_THROW(readInto(s, written(-1)), std::length_error);

    // Strokes of up to 12000 points, empty ones among them: past any stream buffer and
    // across the chunks that strokes are read and written in.
    ScribbleProbe many;
    many.addStroke(50L);
    for (int i = 0; i < 50; ++i)
        for (int j = 0; j < i * i * 5; ++j)
            many.getStrokeAt(i).addPoint(QPoint(i * j, i - j));
    std::stringstream io;
    many.writeTo(io);
    s.readFrom(io);
    EXPECT_TRUE(s.equals(&many));
    EXPECT_EQ(io.peek(), std::char_traits<char>::eof());
}
