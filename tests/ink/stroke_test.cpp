#include "inktest.h"

#include <libutility/ink/stroke.h>

#include <cmath>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

using namespace inktest;

namespace {

// Opens the cached state for inspection.
class Probe : public CStroke
{
public:
    Probe(std::initializer_list<QPoint> points = {})
        : Probe(std::vector<QPoint>(points))
    { }
    explicit Probe(const std::vector<QPoint> &points)
    {
        for (const QPoint &p : points)
            addPoint(p);
    }
    bool rectValid() const { return m_rectBoundValid; }
    bool shapeValid() const { return m_shapeCacheValid; }
    int capacity() const { return m_points.capacity(); }
    const QPoint *storage() const { return m_points.constData(); }
    void setShapeValid() { m_shapeCacheValid = true; }
};

using Points = std::vector<QPoint>;

Points pointsOf(const CStroke &s)
{
    Points out;
    for (long i = 0; i < s.getPointNum(); ++i)
        out.push_back(s.getPointAt(i));
    return out;
}

} // namespace

TEST(Stroke, BoundUsesTheLargestCoordinatesAsExclusiveEdges)
{
    const Probe empty;
    EXPECT_EQ(empty.capacity(), 512);
    EXPECT_EQ(empty.getDistance(QPoint(3, 4)), 0.0);
    EXPECT_FALSE(empty.hitTest(CNRect(-10, -10, 100, 100)));
    const std::pair<Probe, Edges> cases[] = {
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
    const std::tuple<const char *, Probe, QPoint, double> cases[] = {
        { "one point", { QPoint(5, 7) }, QPoint(8, 11), 5.0 },
        { "perpendicular", { QPoint(0, 0), QPoint(10, 0) }, QPoint(5, 3), 3.0 },
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
    const Probe s { QPoint(0, 0), QPoint(10, 20) };
    const std::pair<CNRect, bool> cases[] = {
        { CNRect(10, 20, 5, 5), true },
        // Touching rectangles intersect, but (0, 0) is on this one's exclusive edge.
        { CNRect(-5, -5, 5, 5), false },
        // The segment crosses (5, 10), inside this rectangle, with no vertex in it.
        { CNRect(3, 8, 4, 4), false },
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
    const std::tuple<const char *, std::function<void(Probe &)>, bool> cases[] = {
        { "addPoint", [](Probe &s) { s.addPoint(QPoint(-7, 40)); }, false },
        { "setPointAt", [](Probe &s) { s.setPointAt(1, QPoint(99, 98)); }, false },
        { "removePoints", [](Probe &s) { s.removePoints(1, 2); }, false },
        { "move", [](Probe &s) { s.move(QSize(5, -3)); }, true },
        { "setPos center", [](Probe &s) { s.setPos(QPoint(0, 0), 2.0, 0.5); }, false },
        { "setPos rect", [](Probe &s) { s.setPos(CNRect(0, 0, 300, 30)); }, false },
        { "readFrom", [](Probe &s) { readInto(s, written(1, QPoint(-1, 3))); }, false },
    };
    for (const auto &[name, edit, shapeKept] : cases) {
        SCOPED_TRACE(name);
        const Points before { QPoint(0, 0), QPoint(10, 20), QPoint(30, 5), QPoint(4, 4) };
        Probe s(before);
        const Probe copy(s); // shares the points until one of them is written
        EXPECT_EQ(copy.storage(), s.storage());
        s.getRectBound();
        s.setShapeValid();
        edit(s);
        EXPECT_FALSE(s.rectValid());
        EXPECT_EQ(s.shapeValid(), shapeKept);
        EXPECT_EQ(edgesOf(s.getRectBound()), edgesOf(Probe(pointsOf(s)).getRectBound()));
        EXPECT_EQ(pointsOf(copy), before);
    }
    Probe s { QPoint(0, 0), QPoint(1, 1), QPoint(2, 2), QPoint(3, 3), QPoint(4, 4) };
    s.removePoints(1, 2);
    EXPECT_EQ(pointsOf(s), Points({ QPoint(0, 0), QPoint(3, 3), QPoint(4, 4) }));
}

TEST(Stroke, SetPosTruncatesAndSnapsScalesNearOne)
{
    Probe s { QPoint(0, 0), QPoint(10, 20) };
    s.setPos(QPoint(100, 100), 1.0, 1.0);
    EXPECT_EQ(pointsOf(s), Points({ QPoint(95, 90), QPoint(105, 110) }));
    s.setPos(QPoint(5, 10), 0.55, 1.0); // truncated toward zero
    EXPECT_EQ(pointsOf(s), Points({ QPoint(3, 0), QPoint(7, 20) }));
    Probe empty;
    empty.setPos(CNRect(0, 0, 50, 50));
    EXPECT_EQ(empty.getPointNum(), 0);

    // Fitting the stroke (0, 0)-(width, 0) into a rectangle one high: where its ends go.
    const std::tuple<int, CNRect, int, int> fits[] = {
        { 100, CNRect(0, 0, 120, 1), 0, 120 },
        { 100, CNRect(7, 0, 100, 1), 7, 107 },
        { 1000, CNRect(0, 0, 1005, 1), 2, 1002 }, // 1.005 snaps to 1
        { 100, CNRect(0, 0, 99, 1), 0, 98 }, // 0.99 and 1.01 are outside the snap band
        { 200, CNRect(0, 0, 202, 1), 0, 202 },
    };
    for (const auto &[width, target, left, right] : fits) {
        Probe fitted { QPoint(0, 0), QPoint(width, 0) };
        fitted.setPos(target);
        EXPECT_EQ(pointsOf(fitted), Points({ QPoint(left, 0), QPoint(right, 0) }))
            << width << " into " << target.width();
    }
}

TEST(Stroke, EqualsComparesPointsOnly)
{
    Probe a { QPoint(1, 1), QPoint(2, 2) }, b { QPoint(0, 0), QPoint(1, 1) };
    b.move(QSize(1, 1));
    a.getRectBound();
    EXPECT_TRUE(a.equals(&b));
    EXPECT_TRUE(a.equals(&a));
    EXPECT_FALSE(a.equals(nullptr));
    b.addPoint(QPoint(3, 3));
    EXPECT_FALSE(a.equals(&b));
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
            Probe s { QPoint(100, 100) };
            readInto(s, data);
            EXPECT_EQ(pointsOf(s), expected) << name << ", tracing " << tracing;
        }
    }
    const std::string one = written(1, QPoint(4, 5));
    TraceCapture capture;
    Probe s;
    readInto(s, one);
    EXPECT_EQ(capture.lines,
        QStringList({ "stroke Enter readFrom", "binaryread Enter binaryRead",
            "binaryread Exit binaryRead(1 )", "binaryread Enter binaryRead",
            "binaryread Exit binaryRead(QPoint(4,5) )", "stroke Exit readFrom" }));
}
