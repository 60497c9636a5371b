#include "inktest.h"
#include "support/printers.h"

#include <libutility/ink/binaryread.h>
#include <libutility/ink/stroke.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

using inktest::bytes;

namespace {

// Opens the cached state for inspection.
class Probe : public CStroke
{
public:
    Probe() = default;
    Probe(std::initializer_list<QPoint> points)
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

std::vector<QPoint> pointsOf(const CStroke &s)
{
    std::vector<QPoint> out;
    for (long i = 0; i < s.getPointNum(); ++i)
        out.push_back(s.getPointAt(i));
    return out;
}

// left, top, right and bottom as the corners of a QRect.
QRect edges(const CNRect &r)
{
    return QRect(QPoint(r.left(), r.top()), QPoint(r.right(), r.bottom()));
}

std::string streamOf(int count, std::initializer_list<QPoint> points)
{
    std::ostringstream out;
    binaryWrite(out, count);
    for (const QPoint &p : points)
        binaryWrite(out, p);
    return out.str();
}

} // namespace

TEST(Stroke, NewStrokeIsEmptyWithRoomFor512Points)
{
    Probe s;
    EXPECT_EQ(s.getPointNum(), 0);
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(0, 0), QPoint(0, 0)));
    EXPECT_EQ(s.getDistance(QPoint(3, 4)), 0.0);
    EXPECT_FALSE(s.hitTest(CNRect(-10, -10, 100, 100)));
    EXPECT_EQ(s.capacity(), 512);
    // Removals never give the reserved room back.
    for (int i = 0; i < 600; ++i)
        s.addPoint(QPoint(i, i));
    const int grown = s.capacity();
    s.removePoints(0, 598);
    EXPECT_EQ(s.capacity(), grown);
}

TEST(Stroke, BoundUsesTheLargestCoordinatesAsEdges)
{
    const Probe one { QPoint(5, 7) };
    EXPECT_EQ(edges(one.getRectBound()), QRect(QPoint(5, 7), QPoint(5, 7)));
    EXPECT_EQ(one.getRectBound().width(), 0);
    const Probe two { QPoint(0, 0), QPoint(10, 20) };
    EXPECT_EQ(edges(two.getRectBound()), QRect(QPoint(0, 0), QPoint(10, 20)));
    EXPECT_EQ(two.getRectBound().center(), QPoint(5, 10));
    const Probe mixed { QPoint(3, -1), QPoint(-4, 9), QPoint(8, 2) };
    EXPECT_EQ(edges(mixed.getRectBound()), QRect(QPoint(-4, -1), QPoint(8, 9)));
}

TEST(Stroke, DistanceExaminesOnlyTheChosenSegment)
{
    struct Case
    {
        const char *name;
        Probe stroke;
        QPoint p;
        double expected;
    } cases[] = {
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
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_DOUBLE_EQ(c.stroke.getDistance(c.p), c.expected);
    }
}

TEST(Stroke, HitTestTestsVerticesOnly)
{
    const Probe s { QPoint(0, 0), QPoint(10, 20) };
    EXPECT_TRUE(s.hitTest(CNRect(10, 20, 5, 5)));
    // Touching rectangles intersect, but (0, 0) is on this one's exclusive edge.
    EXPECT_FALSE(s.hitTest(CNRect(-5, -5, 5, 5)));
    // The segment crosses (5, 10), inside this rectangle, with no vertex in it.
    EXPECT_FALSE(s.hitTest(CNRect(3, 8, 4, 4)));
    // Inverted rectangles behave as QRect::contains treats them.
    for (const CNRect &r : { CNRect(12, 22, -4, -4), CNRect(-2, 2, 4, -4), CNRect(5, 5, -10, 1) }) {
        bool any = false;
        for (long i = 0; i < s.getPointNum(); ++i)
            any = any || r.contains(s.getPointAt(i), false);
        EXPECT_EQ(s.hitTest(r), any && r.intersects(s.getRectBound()));
    }
}

TEST(Stroke, EditsInvalidateTheRightCaches)
{
    struct Case
    {
        const char *name;
        std::function<void(Probe &)> edit;
        bool shapeKept;
    } cases[] = {
        { "addPoint", [](Probe &s) { s.addPoint(QPoint(-7, 40)); }, false },
        { "setPointAt", [](Probe &s) { s.setPointAt(1, QPoint(99, 98)); }, false },
        { "removePoints", [](Probe &s) { s.removePoints(1, 2); }, false },
        { "move", [](Probe &s) { s.move(QSize(5, -3)); }, true },
        { "setPos center", [](Probe &s) { s.setPos(QPoint(0, 0), 2.0, 0.5); }, false },
        { "setPos rect", [](Probe &s) { s.setPos(CNRect(0, 0, 300, 30)); }, false },
        { "readFrom",
            [](Probe &s) {
                std::istringstream in(streamOf(2, { QPoint(7, 7), QPoint(-1, 3) }));
                s.readFrom(in);
            },
            false },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Probe s { QPoint(0, 0), QPoint(10, 20), QPoint(30, 5), QPoint(4, 4) };
        s.getRectBound();
        s.setShapeValid();
        c.edit(s);
        EXPECT_FALSE(s.rectValid());
        EXPECT_EQ(s.shapeValid(), c.shapeKept);
        Probe fresh;
        for (const QPoint &p : pointsOf(s))
            fresh.addPoint(p);
        EXPECT_EQ(edges(s.getRectBound()), edges(fresh.getRectBound()));
        EXPECT_TRUE(s.rectValid());
    }
    Probe s { QPoint(0, 0), QPoint(1, 1), QPoint(2, 2), QPoint(3, 3), QPoint(4, 4) };
    s.removePoints(1, 2);
    EXPECT_EQ(pointsOf(s), (std::vector<QPoint> { QPoint(0, 0), QPoint(3, 3), QPoint(4, 4) }));
}

TEST(Stroke, CopiesShareStorageUntilWritten)
{
    Probe original { QPoint(1, 2), QPoint(3, 4) };
    const Probe copy(original);
    EXPECT_EQ(copy.storage(), original.storage());
    original.setPointAt(0, QPoint(9, 9));
    original.move(QSize(1, 1));
    original.addPoint(QPoint(5, 5));
    EXPECT_NE(copy.storage(), original.storage());
    EXPECT_EQ(pointsOf(copy), (std::vector<QPoint> { QPoint(1, 2), QPoint(3, 4) }));
    EXPECT_EQ(
        pointsOf(original), (std::vector<QPoint> { QPoint(10, 10), QPoint(4, 5), QPoint(5, 5) }));
}

TEST(Stroke, SetPosTruncatesAndSnapsScalesNearOne)
{
    struct Case
    {
        const char *name;
        Probe stroke;
        std::function<void(Probe &)> place;
        std::vector<QPoint> expected;
    } cases[] = {
        { "translation", { QPoint(0, 0), QPoint(10, 20) },
            [](Probe &s) { s.setPos(QPoint(100, 100), 1.0, 1.0); },
            { QPoint(95, 90), QPoint(105, 110) } },
        { "truncates toward zero", { QPoint(0, 0), QPoint(10, 20) },
            [](Probe &s) { s.setPos(QPoint(5, 10), 0.55, 1.0); }, { QPoint(3, 0), QPoint(7, 20) } },
        { "fit 120 over 100", { QPoint(0, 0), QPoint(100, 0) },
            [](Probe &s) { s.setPos(CNRect(0, 0, 120, 1)); }, { QPoint(0, 0), QPoint(120, 0) } },
        { "fit 100 over 100", { QPoint(0, 0), QPoint(100, 0) },
            [](Probe &s) { s.setPos(CNRect(7, 0, 100, 1)); }, { QPoint(7, 0), QPoint(107, 0) } },
        { "fit 1.005 snaps to 1", { QPoint(0, 0), QPoint(1000, 0) },
            [](Probe &s) { s.setPos(CNRect(0, 0, 1005, 1)); }, { QPoint(2, 0), QPoint(1002, 0) } },
        // 0.99 and 1.01 themselves are outside the snap band.
        { "fit 0.99 scales", { QPoint(0, 0), QPoint(100, 0) },
            [](Probe &s) { s.setPos(CNRect(0, 0, 99, 1)); }, { QPoint(0, 0), QPoint(98, 0) } },
        { "fit 1.01 scales", { QPoint(0, 0), QPoint(200, 0) },
            [](Probe &s) { s.setPos(CNRect(0, 0, 202, 1)); }, { QPoint(0, 0), QPoint(202, 0) } },
        { "empty stays empty", {}, [](Probe &s) { s.setPos(CNRect(0, 0, 50, 50)); }, {} },
    };
    for (Case &c : cases) {
        SCOPED_TRACE(c.name);
        c.place(c.stroke);
        EXPECT_EQ(pointsOf(c.stroke), c.expected);
    }
}

TEST(Stroke, EqualsComparesPointsOnly)
{
    Probe a { QPoint(1, 1), QPoint(2, 2) };
    Probe b { QPoint(0, 0), QPoint(1, 1) };
    b.move(QSize(1, 1));
    a.getRectBound();
    EXPECT_TRUE(a.equals(&b));
    EXPECT_TRUE(a.equals(&a));
    EXPECT_FALSE(a.equals(nullptr));
    EXPECT_TRUE(CStroke().equals(&static_cast<const CStroke &>(CStroke())));
    b.addPoint(QPoint(3, 3));
    EXPECT_FALSE(a.equals(&b));
}

TEST(Stroke, ReadFromTrustsTheCountAndZeroFillsWhatIsMissing)
{
    struct Case
    {
        const char *name;
        std::string data;
        std::vector<QPoint> expected;
    } cases[] = {
        { "three points", streamOf(3, { QPoint(1, 2), QPoint(-3, 4), QPoint(5, -6) }),
            { QPoint(1, 2), QPoint(-3, 4), QPoint(5, -6) } },
        { "zero", streamOf(0, { QPoint(1, 2) }), {} },
        { "negative", streamOf(-5, { QPoint(1, 2) }), {} },
        { "no count", std::string(), {} },
        { "ends inside a point", streamOf(4, { QPoint(1, 2) }) + bytes({ 7, 0, 0, 0, 8 }),
            { QPoint(1, 2), QPoint(7, 8), QPoint(0, 0), QPoint(0, 0) } },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        // The bulk path and the point-by-point path taken while tracing agree.
        for (const bool tracing : { false, true }) {
            std::unique_ptr<inktest::TraceCapture> capture;
            if (tracing)
                capture.reset(new inktest::TraceCapture);
            Probe s { QPoint(100, 100) };
            std::istringstream in(c.data);
            s.readFrom(in);
            EXPECT_EQ(pointsOf(s), c.expected) << "tracing " << tracing;
        }
    }
}

TEST(Stroke, WriteToReadFromRoundTrip)
{
    std::vector<Probe> originals(3);
    originals[1].addPoint(QPoint(-1, 65536));
    for (int i = 0; i < 10000; ++i)
        originals[2].addPoint(QPoint(i * 7 - 30000, (i * i) % 5001 - 2500));
    for (const Probe &original : originals) {
        std::stringstream io;
        original.writeTo(io);
        EXPECT_EQ(io.str().size(), 4u + 8u * original.getPointNum());
        Probe back { QPoint(1, 1) };
        back.readFrom(io);
        EXPECT_TRUE(back.equals(&original));
        EXPECT_EQ(io.peek(), std::char_traits<char>::eof());
    }
}

TEST(Stroke, ReadFromTracesItsPoints)
{
    std::istringstream in(streamOf(1, { QPoint(4, 5) }));
    inktest::TraceCapture capture;
    Probe s;
    s.readFrom(in);
    EXPECT_EQ(capture.withoutLineNumbers(),
        QStringList({ "stroke Enter readFrom", "binaryread Enter binaryRead",
            "binaryread Exit binaryRead(1 )", "binaryread Enter binaryRead",
            "binaryread Exit binaryRead(QPoint(4,5) )", "stroke Exit readFrom" }));
}
