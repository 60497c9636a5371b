#include "inktest.h"

#include <libutility/ink/scribble.h>

#include <QProcess>
#include <QTemporaryDir>

#include <fstream>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

using namespace inktest;

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

// Strokes of the single points (i, i) for i from first on, so that a stroke's x tells
// where it came from.
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

} // namespace

TEST(Scribble, NewScribbleAndAddStroke)
{
    Probe s;
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 0, 0, 0 }));
    EXPECT_FALSE(s.applicationFlag());
    EXPECT_EQ(CScribble::ms_maxPointsPerLine, -1);
    s.addStroke(0L);
    s.addStroke(-2L);
    EXPECT_EQ(s.getStrokeNum(), 0);
    s.addStroke(3L);
    EXPECT_EQ(s.getStrokeNum(), 3);
    // Appending a stroke leaves the cached bound alone until the caller invalidates.
    s.getRectBound();
    s.addStroke(strokeOf({ QPoint(50, 60) }));
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
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 10, 5, 40, 20 }));
    s.addStroke(CStroke());
    s.invalidateCache();
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 0, 40, 20 }));
}

TEST(Scribble, RangeEditing)
{
    const std::tuple<const char *, std::function<void(Probe &)>, std::vector<int>, bool> cases[] = {
        { "removeStroke(0, 0)", [](Probe &s) { s.removeStroke(0, 0); }, { 1, 2, 3, 4 }, true },
        { "removeStroke(1, 3)", [](Probe &s) { s.removeStroke(1, 3); }, { 0, 4 }, true },
        { "extract(1, 2)", [](Probe &s) { s.extract(1, 2); }, { 1, 2 }, true },
        { "extract(0, 4)", [](Probe &s) { s.extract(0, 4); }, { 0, 1, 2, 3, 4 }, true },
        { "extract(3, 4)", [](Probe &s) { s.extract(3, 4); }, { 3, 4 }, true },
        { "extract(1, 5) keeps all", [](Probe &s) { s.extract(1, 5); }, { 0, 1, 2, 3, 4 }, false },
        { "merge", [](Probe &s) { s.merge(numbered(2, 7)); }, { 0, 1, 2, 3, 4, 7, 8 }, true },
        { "merge itself", [](Probe &s) { s.merge(s); }, { 0, 1, 2, 3, 4, 0, 1, 2, 3, 4 }, true },
    };
    for (const auto &[name, edit, expected, cacheTouched] : cases) {
        Probe s = numbered(5);
        s.getRectBound();
        edit(s);
        EXPECT_EQ(firstXs(s), expected) << name;
        EXPECT_EQ(s.rectValid(), !cacheTouched) << name;
    }
}

TEST(Scribble, MovingAndPlacing)
{
    Probe s;
    s.addStroke(strokeOf({ QPoint(1, 1), QPoint(5, 2) }));
    s.shiftPoints(3);
    // One offset for both axes: the drawing moves diagonally, and the bound is fresh.
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 4, 4, 8, 5 }));
    s.move(QSize(-4, 10));
    EXPECT_FALSE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ 0, 14, 4, 15 }));

    // Each stroke is scaled about its own centre and then placed: the stroke at 8..11
    // starts at 10, where scaling its points about the drawing's centre gives 9.
    Probe two;
    two.addStroke(strokeOf({ QPoint(0, 0), QPoint(2, 0) }));
    two.addStroke(strokeOf({ QPoint(8, 0), QPoint(11, 0) }));
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

TEST(Scribble, CopiesCarryTheApplicationFlagAndStayIndependent)
{
    Probe original = numbered(2);
    original.applicationFlag() = true;
    Probe copy(original), assigned;
    assigned = original;
    EXPECT_TRUE(copy.applicationFlag() && assigned.applicationFlag());
    EXPECT_TRUE(copy.equals(&original));
    EXPECT_FALSE(copy.equals(nullptr));
    original.getRectBound();
    original.getStrokeAt(0).addPoint(QPoint(9, 9)); // the mutable accessor invalidates
    EXPECT_FALSE(original.rectValid());
    EXPECT_FALSE(copy.equals(&original));
}

TEST(Scribble, ReadFromAndWriteTo)
{
    Probe s = numbered(4);
    readInto(s, written(2, 1, QPoint(3, 4), 3, QPoint(1, 1), QPoint(-5, 9), QPoint(6, 2)));
    ASSERT_EQ(s.getStrokeNum(), 2);
    EXPECT_EQ(std::as_const(s).getStrokeAt(1).getPointAt(1), QPoint(-5, 9));
    EXPECT_TRUE(s.rectValid());
    EXPECT_EQ(edgesOf(s.getRectBound()), Edges({ -5, 1, 6, 9 }));

    // A negative count is a huge unsigned size: the container refuses it.
    EXPECT_THROW(readInto(s, written(-1)), std::length_error);

    Probe many; // strokes up to 12000 points, well past any stream buffer
    for (int i = 0; i < 50; ++i) {
        CStroke stroke;
        for (int j = 0; j < i * i * 5; ++j)
            stroke.addPoint(QPoint(i * j, i - j));
        many.addStroke(stroke);
    }
    for (const Probe &original : { Probe(), numbered(1), many }) {
        std::stringstream io;
        original.writeTo(io);
        Probe back = numbered(3);
        back.readFrom(io);
        EXPECT_TRUE(back.equals(&original));
        EXPECT_EQ(io.peek(), std::char_traits<char>::eof());
    }
}

// Python's struct module writes and reads the same files independently of this code.
TEST(Scribble, FilesInterchangeWithPythonStruct)
{
    QTemporaryDir dir;
    const QString fromPython = dir.filePath("python.ink"), fromUs = dir.filePath("ours.ink");
    const char *script = R"(
import struct, sys
strokes = [[(1, 2), (-300000, 70000)], [], [(5, -6)]]
out = struct.pack('<i', len(strokes))
for s in strokes:
    out += struct.pack('<i', len(s)) + b''.join(struct.pack('<ii', *p) for p in s)
open(sys.argv[1], 'wb').write(out)
data, at, res = open(sys.argv[2], 'rb').read(), 4, []
for _ in range(struct.unpack_from('<i', data)[0]):
    c, = struct.unpack_from('<i', data, at)
    res.append(';'.join('%d,%d' % struct.unpack_from('<ii', data, at + 4 + 8 * k) for k in range(c)))
    at += 4 + 8 * c
print('|'.join(res) + ('' if at == len(data) else ' trailing bytes'))
)";
    Probe ours;
    ours.addStroke(strokeOf({ QPoint(-1, 2147483647) }));
    ours.addStroke(strokeOf({ QPoint(7, 8), QPoint(-9, 10) }));
    {
        std::ofstream out(fromUs.toStdString(), std::ios::binary);
        ours.writeTo(out);
    }
    QProcess python;
    python.start("python3", { "-c", QString::fromLatin1(script), fromPython, fromUs });
    ASSERT_TRUE(python.waitForFinished(30000));
    ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    EXPECT_EQ(python.readAllStandardOutput().trimmed(), QByteArray("-1,2147483647|7,8;-9,10"));

    std::ifstream in(fromPython.toStdString(), std::ios::binary);
    Probe read;
    read.readFrom(in);
    ASSERT_EQ(read.getStrokeNum(), 3);
    EXPECT_EQ(read.getStrokeAt(0).getPointAt(1), QPoint(-300000, 70000));
    EXPECT_EQ(read.getStrokeAt(1).getPointNum(), 0);
    EXPECT_EQ(edgesOf(read.getRectBound()), Edges({ -300000, -6, 5, 70000 }));
}
