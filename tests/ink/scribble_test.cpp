#include "inktest.h"
#include "support/printers.h"

#include <libutility/ink/binaryread.h>
#include <libutility/ink/scribble.h>

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

class Probe : public CScribble
{
public:
    bool rectValid() const { return m_rectBoundValid; }
    bool &applicationFlag() { return m_applicationFlag; }
};

CStroke strokeOf(std::initializer_list<QPoint> points)
{
    CStroke s;
    for (const QPoint &p : points)
        s.addPoint(p);
    return s;
}

// A scribble whose strokes are single points (i, i) for i in first .. first + n - 1, so
// that a stroke's first x tells where it came from.
Probe numbered(int n, int first = 0)
{
    Probe s;
    for (int i = first; i < first + n; ++i)
        s.addStroke(strokeOf({ QPoint(i, i) }));
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

QRect edges(const CNRect &r)
{
    return QRect(QPoint(r.left(), r.top()), QPoint(r.right(), r.bottom()));
}

} // namespace

TEST(Scribble, NewScribbleAndAddStroke)
{
    Probe s;
    EXPECT_EQ(s.getStrokeNum(), 0);
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(0, 0), QPoint(0, 0)));
    EXPECT_FALSE(s.applicationFlag());
    EXPECT_EQ(CScribble::ms_maxPointsPerLine, -1);
    s.addStroke(0L);
    s.addStroke(-2L);
    EXPECT_EQ(s.getStrokeNum(), 0);
    s.addStroke(3L);
    EXPECT_EQ(s.getStrokeNum(), 3);
    EXPECT_EQ(s.getStrokeAt(2).getPointNum(), 0);
    // Appending a stroke leaves the cached bound alone until the caller invalidates.
    s.getRectBound();
    s.addStroke(strokeOf({ QPoint(50, 60) }));
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(s.getRectBound().right(), 0);
    s.invalidateCache();
    EXPECT_EQ(s.getRectBound().right(), 50);
}

TEST(Scribble, EmptyStrokePullsTheBoundToTheOrigin)
{
    Probe s;
    s.addStroke(strokeOf({ QPoint(10, 10), QPoint(20, 20) }));
    s.addStroke(strokeOf({ QPoint(30, 5), QPoint(40, 8) }));
    s.invalidateCache();
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(10, 5), QPoint(40, 20)));
    s.addStroke(CStroke());
    s.invalidateCache();
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(0, 0), QPoint(40, 20)));
}

TEST(Scribble, RangeEditing)
{
    struct Case
    {
        const char *name;
        std::function<void(Probe &)> edit;
        std::vector<int> expected;
        bool cacheTouched;
    } cases[] = {
        { "removeStroke(0, 0)", [](Probe &s) { s.removeStroke(0, 0); }, { 1, 2, 3, 4 }, true },
        { "removeStroke(1, 3)", [](Probe &s) { s.removeStroke(1, 3); }, { 0, 4 }, true },
        { "extract(1, 2)", [](Probe &s) { s.extract(1, 2); }, { 1, 2 }, true },
        { "extract(0, 4)", [](Probe &s) { s.extract(0, 4); }, { 0, 1, 2, 3, 4 }, true },
        { "extract(3, 4)", [](Probe &s) { s.extract(3, 4); }, { 3, 4 }, true },
        { "extract(1, 5) keeps all", [](Probe &s) { s.extract(1, 5); }, { 0, 1, 2, 3, 4 }, false },
        { "merge", [](Probe &s) { s.merge(numbered(2, 7)); }, { 0, 1, 2, 3, 4, 7, 8 }, true },
        { "merge itself", [](Probe &s) { s.merge(s); }, { 0, 1, 2, 3, 4, 0, 1, 2, 3, 4 }, true },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Probe s = numbered(5);
        s.getRectBound();
        c.edit(s);
        EXPECT_EQ(firstXs(s), c.expected);
        EXPECT_EQ(s.rectValid(), !c.cacheTouched);
    }
}

TEST(Scribble, MovingAndPlacing)
{
    Probe s;
    s.addStroke(strokeOf({ QPoint(1, 1), QPoint(5, 2) }));
    s.shiftPoints(3);
    // One offset for both axes: the drawing moves diagonally, and the bound is fresh.
    EXPECT_EQ(std::as_const(s).getStrokeAt(0).getPointAt(0), QPoint(4, 4));
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(4, 4), QPoint(8, 5)));
    s.move(QSize(-4, 10));
    EXPECT_FALSE(s.rectValid());
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(0, 14), QPoint(4, 15)));

    // Each stroke is scaled about its own centre and then placed: the stroke at 8..11
    // starts at 10, where scaling its points about the drawing's centre gives 9.
    Probe two;
    two.addStroke(strokeOf({ QPoint(0, 0), QPoint(2, 0) }));
    two.addStroke(strokeOf({ QPoint(8, 0), QPoint(11, 0) }));
    two.invalidateCache();
    two.setPos(QPoint(5, 0), 1.5, 1.0);
    EXPECT_EQ(two.getStrokeAt(0).getPointAt(0), QPoint(-2, 0));
    EXPECT_EQ(two.getStrokeAt(0).getPointAt(1), QPoint(0, 0));
    EXPECT_EQ(two.getStrokeAt(1).getPointAt(0), QPoint(10, 0));
    EXPECT_EQ(two.getStrokeAt(1).getPointAt(1), QPoint(14, 0));

    // After fitting, the bound is the requested rectangle itself.
    const CNRect target(100, 100, 33, 17);
    two.setPos(target);
    EXPECT_EQ(edges(two.getRectBound()), edges(target));
    EXPECT_TRUE(two.rectValid());
}

TEST(Scribble, CopiesCarryTheApplicationFlagAndStayIndependent)
{
    Probe original = numbered(2);
    original.applicationFlag() = true;
    Probe copy(original);
    EXPECT_TRUE(copy.applicationFlag());
    EXPECT_TRUE(copy.equals(&original));
    EXPECT_FALSE(copy.equals(nullptr));
    original.getStrokeAt(0).addPoint(QPoint(9, 9));
    EXPECT_FALSE(original.rectValid());
    EXPECT_EQ(copy.getStrokeAt(0).getPointNum(), 1);
    EXPECT_FALSE(copy.equals(&original));
    Probe assigned;
    assigned = original;
    EXPECT_TRUE(assigned.applicationFlag());
}

TEST(Scribble, ReadFromAndWriteTo)
{
    std::ostringstream out;
    binaryWrite(out, 2);
    strokeOf({ QPoint(3, 4) }).writeTo(out);
    strokeOf({ QPoint(1, 1), QPoint(-5, 9), QPoint(6, 2) }).writeTo(out);
    std::istringstream in(out.str());
    Probe s = numbered(4);
    s.readFrom(in);
    ASSERT_EQ(s.getStrokeNum(), 2);
    EXPECT_EQ(std::as_const(s).getStrokeAt(1).getPointAt(1), QPoint(-5, 9));
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edges(s.getRectBound()), QRect(QPoint(-5, 1), QPoint(6, 9)));

    // A stream that ends early gives empty strokes for what is missing.
    std::istringstream cut(out.str().substr(0, 4 + 12));
    s.readFrom(cut);
    ASSERT_EQ(s.getStrokeNum(), 2);
    EXPECT_EQ(s.getStrokeAt(1).getPointNum(), 0);

    // A negative count is a huge unsigned size: the container refuses it.
    std::istringstream negative(inktest::bytes({ 0xFF, 0xFF, 0xFF, 0xFF }));
    EXPECT_THROW(s.readFrom(negative), std::length_error);

    Probe many;
    for (int i = 0; i < 50; ++i) {
        CStroke stroke;
        for (int j = 0; j < i * 40; ++j)
            stroke.addPoint(QPoint(i * j, i - j));
        many.addStroke(stroke);
    }
    for (const Probe &original : { Probe(), numbered(1), many }) {
        std::stringstream io;
        original.writeTo(io);
        Probe back = numbered(3);
        back.readFrom(io);
        EXPECT_TRUE(back.equals(&original));
    }
}

// Python's struct module writes and reads the same files independently of this code.
TEST(Scribble, FilesInterchangeWithPythonStruct)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString fromPython = dir.filePath(QStringLiteral("python.ink"));
    const QString fromUs = dir.filePath(QStringLiteral("ours.ink"));
    const char *script = R"(
import struct, sys
strokes = [[(1, 2), (-300000, 70000)], [], [(5, -6)]]
with open(sys.argv[1], 'wb') as f:
    f.write(struct.pack('<i', len(strokes)))
    for s in strokes:
        f.write(struct.pack('<i', len(s)))
        for x, y in s:
            f.write(struct.pack('<ii', x, y))
data = open(sys.argv[2], 'rb').read()
n, = struct.unpack_from('<i', data, 0)
at, out = 4, []
for _ in range(n):
    c, = struct.unpack_from('<i', data, at)
    pts = [struct.unpack_from('<ii', data, at + 4 + 8 * k) for k in range(c)]
    at += 4 + 8 * c
    out.append(';'.join('%d,%d' % p for p in pts))
print('|'.join(out) + ('' if at == len(data) else ' trailing bytes'))
)";
    Probe ours;
    ours.addStroke(strokeOf({ QPoint(-1, 2147483647) }));
    ours.addStroke(strokeOf({ QPoint(7, 8), QPoint(-9, 10) }));
    {
        std::ofstream out(fromUs.toStdString(), std::ios::binary);
        ours.writeTo(out);
    }
    QProcess python;
    python.start(QStringLiteral("python3"),
        { QStringLiteral("-c"), QString::fromLatin1(script), fromPython, fromUs });
    ASSERT_TRUE(python.waitForFinished(30000));
    ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    EXPECT_EQ(python.readAllStandardOutput().trimmed(), QByteArray("-1,2147483647|7,8;-9,10"));

    std::ifstream in(fromPython.toStdString(), std::ios::binary);
    Probe read;
    read.readFrom(in);
    ASSERT_EQ(read.getStrokeNum(), 3);
    EXPECT_EQ(read.getStrokeAt(0).getPointAt(1), QPoint(-300000, 70000));
    EXPECT_EQ(read.getStrokeAt(1).getPointNum(), 0);
    EXPECT_EQ(read.getStrokeAt(2).getPointAt(0), QPoint(5, -6));
    // The empty stroke pulls the bound to the origin.
    EXPECT_EQ(edges(read.getRectBound()), QRect(QPoint(-300000, -6), QPoint(5, 70000)));
}
