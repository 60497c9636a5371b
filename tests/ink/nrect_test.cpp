#include "inktest.h"

#include <libutility/ink/stringcrc.h>

#include <zlib.h>

#include <functional>

using inktest::Edges;
using inktest::edgesOf;

// Every operation CNRect declares works on exclusive right and bottom edges; the
// rest is QRect's own on the same stored integers.
TEST(NRect, ConstructorsAndSettersUseExclusiveEdges)
{
    const std::pair<Edges, std::function<CNRect()>> cases[] = {
        // clang-format off
        { { 0, 0, 10, 10 }, [] { return CNRect(QPoint(0, 0), QPoint(10, 10)); } },
        { { 2, 3, 12, 23 }, [] { return CNRect(2, 3, 10, 20); } },
        { { 2, 3, 12, 23 }, [] { return CNRect(QPoint(2, 3), QSize(10, 20)); } },
        { { 2, 3, 12, 23 }, [] { return CNRect(QRect(2, 3, 10, 20)); } },
        { { 1, 2, 10, 20 }, [] { CNRect r; r.setCoords(1, 2, 10, 20); return r; } },
        { { 0, 0, 8, 5 }, [] { CNRect r(0, 0, 5, 5); r.setRight(8); return r; } },
        { { 1, 1, 9, 7 }, [] { CNRect r(1, 1, 5, 5); r.setBottomRight({ 9, 7 }); return r; } },
        { { 1, 0, 9, 6 }, [] { CNRect r(1, 1, 5, 5); r.setTopRight({ 9, 0 }); return r; } },
        { { 0, 1, 6, 9 }, [] { CNRect r(1, 1, 5, 5); r.setBottomLeft({ 0, 9 }); return r; } },
        { { 15, 0, 20, 5 }, [] { CNRect r(0, 0, 5, 5); r.moveRight(20); return r; } },
        { { 5, 15, 10, 20 }, [] { CNRect r(0, 0, 5, 5); r.moveBottomRight({ 10, 20 }); return r; } },
        { { 5, 20, 10, 25 }, [] { CNRect r(0, 0, 5, 5); r.moveTopRight({ 10, 20 }); return r; } },
        { { 10, 15, 15, 20 }, [] { CNRect r(0, 0, 5, 5); r.moveBottomLeft({ 10, 20 }); return r; } },
        { { -50, -5, 50, 5 }, [] { CNRect r(0, 0, 100, 10); r.moveCenter({ 0, 0 }); return r; } },
        { { 0, 0, 5, 4 }, [] { CNRect r(0, 0, 11, 4); r.scaleX(0.5f); return r; } },
        { { 0, 0, 4, 4 }, [] { CNRect r(0, 0, 4, 3); r.scaleY(1.5f); return r; } },
        { { -2, -2, 12, 12 }, [] { return Inflate(CNRect(0, 0, 10, 10), 2); } },
        { { 2, 2, 8, 8 }, [] { CNRect r(0, 0, 10, 10); Inflate(r, -2); return r; } },
        { { 5, 5, 10, 10 }, [] { CNRect r(0, 0, 10, 10); r &= CNRect(5, 5, 10, 10); return r; } },
        { { 0, 0, 10, 10 }, [] { CNRect r(5, 5, 5, 5); r |= CNRect(0, 0, 1, 1); return r; } },
        // clang-format on
    };
    for (const auto &c : cases)
        EXPECT_EQ(edgesOf(c.second()), c.first) << "row " << (&c - cases);
}

TEST(NRect, ContainsCentreAndCoordsUseExclusiveEdges)
{
    const CNRect r(0, 0, 10, 10);
    EXPECT_EQ(r.operator QRect(), QRect(0, 0, 10, 10));
    EXPECT_TRUE(r.contains(9, 9));
    EXPECT_FALSE(r.contains(QPoint(10, 5), false));
    int x1, y1, x2, y2;
    r.getCoords(&x1, &y1, &x2, &y2);
    EXPECT_EQ(Edges({ x1, y1, x2, y2 }), Edges({ 0, 0, 10, 10 }));
    // The centre halves the width: 50 where QRect::center() says 49.
    EXPECT_EQ(CNRect(0, 0, 100, 100).center(), QPoint(50, 50));
}

TEST(NRect, IntersectsCountsTouchingRectangles)
{
    const std::pair<CNRect, bool> cases[] = {
        { CNRect(10, 0, 5, 5), true }, // shares the right edge
        { CNRect(10, 10, 5, 5), true }, // corner only
        { CNRect(11, 0, 5, 5), false },
        { CNRect(0, 12, 10, 10), false },
        { CNRect(3, 3, 2, 2), true },
    };
    const CNRect a(0, 0, 10, 10);
    for (const auto &c : cases) {
        EXPECT_EQ(a.intersects(c.first), c.second) << "row " << (&c - cases);
        EXPECT_EQ(c.first.intersects(a), c.second) << "row " << (&c - cases);
    }
    inktest::TraceCapture capture;
    a.intersects(a);
    EXPECT_EQ(capture.lines, QStringList({ "nrect Enter intersects", "nrect Exit intersects" }));
}

// The checksum lacks the final inversion of the usual CRC-32.
TEST(StringCRC, IsTheComplementOfCrc32OverUtf8)
{
    EXPECT_EQ(CStringCRC(QStringLiteral("123456789")).value(), 0x340BC6D9ul);
    EXPECT_EQ(CStringCRC(QString()).value(), 0xFFFFFFFFul);
    // zlib as the independent reference, for text beyond ASCII.
    const QByteArray utf8 = QStringLiteral("Grüße, ナ").toUtf8();
    const uLong standard
        = crc32(0L, reinterpret_cast<const Bytef *>(utf8.constData()), utf8.size());
    EXPECT_EQ(CStringCRC(QString::fromUtf8(utf8)).value(), ~standard & 0xFFFFFFFFul);
    EXPECT_EQ(CStringCRC(QStringLiteral("abc")), CStringCRC(0xCADBBE3Dul));
    EXPECT_NE(CStringCRC(QStringLiteral("abc")), CStringCRC(QStringLiteral("abd")));
}
