#include "inktest.h"
#include "support/printers.h"

#include <libutility/ink/nrect.h>
#include <libutility/ink/stringcrc.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>

namespace {

struct Edges
{
    int left, top, right, bottom;
};

Edges edgesOf(const CNRect &r) { return { r.left(), r.top(), r.right(), r.bottom() }; }

} // namespace

// Every operation CNRect declares works on exclusive right and bottom edges; the
// rest is QRect's own on the same stored integers.
TEST(NRect, ConstructorsAndSettersUseExclusiveEdges)
{
    struct Case
    {
        const char *name;
        std::function<CNRect()> make;
        Edges expected;
    } cases[] = {
        // clang-format off
        { "two corners", [] { return CNRect(QPoint(0, 0), QPoint(10, 10)); }, { 0, 0, 10, 10 } },
        { "x y w h", [] { return CNRect(2, 3, 10, 20); }, { 2, 3, 12, 23 } },
        { "point size", [] { return CNRect(QPoint(2, 3), QSize(10, 20)); }, { 2, 3, 12, 23 } },
        { "from QRect", [] { return CNRect(QRect(2, 3, 10, 20)); }, { 2, 3, 12, 23 } },
        { "setCoords", [] { CNRect r; r.setCoords(1, 2, 10, 20); return r; }, { 1, 2, 10, 20 } },
        { "setRight", [] { CNRect r(0, 0, 5, 5); r.setRight(8); return r; }, { 0, 0, 8, 5 } },
        { "setBottomRight", [] { CNRect r(1, 1, 5, 5); r.setBottomRight({ 9, 7 }); return r; }, { 1, 1, 9, 7 } },
        { "setTopRight", [] { CNRect r(1, 1, 5, 5); r.setTopRight({ 9, 0 }); return r; }, { 1, 0, 9, 6 } },
        { "setBottomLeft", [] { CNRect r(1, 1, 5, 5); r.setBottomLeft({ 0, 9 }); return r; }, { 0, 1, 6, 9 } },
        { "moveRight", [] { CNRect r(0, 0, 5, 5); r.moveRight(20); return r; }, { 15, 0, 20, 5 } },
        { "moveBottom", [] { CNRect r(0, 0, 5, 5); r.moveBottom(20); return r; }, { 0, 15, 5, 20 } },
        { "moveBottomRight", [] { CNRect r(0, 0, 5, 5); r.moveBottomRight({ 10, 20 }); return r; }, { 5, 15, 10, 20 } },
        { "moveTopRight", [] { CNRect r(0, 0, 5, 5); r.moveTopRight({ 10, 20 }); return r; }, { 5, 20, 10, 25 } },
        { "moveBottomLeft", [] { CNRect r(0, 0, 5, 5); r.moveBottomLeft({ 10, 20 }); return r; }, { 10, 15, 15, 20 } },
        { "moveCenter", [] { CNRect r(0, 0, 100, 10); r.moveCenter({ 0, 0 }); return r; }, { -50, -5, 50, 5 } },
        { "scaleX 0.5 of 11", [] { CNRect r(0, 0, 11, 4); r.scaleX(0.5f); return r; }, { 0, 0, 5, 4 } },
        { "scaleY 1.5 of 3", [] { CNRect r(0, 0, 4, 3); r.scaleY(1.5f); return r; }, { 0, 0, 4, 4 } },
        { "Inflate copy", [] { return Inflate(CNRect(0, 0, 10, 10), 2); }, { -2, -2, 12, 12 } },
        { "Inflate in place", [] { CNRect r(0, 0, 10, 10); Inflate(r, -2); return r; }, { 2, 2, 8, 8 } },
        // clang-format on
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const CNRect r = c.make();
        const Edges e = edgesOf(r);
        EXPECT_EQ(e.left, c.expected.left);
        EXPECT_EQ(e.top, c.expected.top);
        EXPECT_EQ(e.right, c.expected.right);
        EXPECT_EQ(e.bottom, c.expected.bottom);
        EXPECT_EQ(r.width(), r.right() - r.left());
    }
}

TEST(NRect, AgreesWithQRectOnTheStoredIntegers)
{
    const CNRect r(QPoint(0, 0), QPoint(10, 10));
    EXPECT_EQ(r, CNRect(0, 0, 10, 10));
    EXPECT_EQ(r.operator QRect(), QRect(0, 0, 10, 10));
    EXPECT_TRUE(r.contains(9, 9));
    EXPECT_FALSE(r.contains(10, 10));
    EXPECT_FALSE(r.contains(QPoint(10, 5), false));
    EXPECT_EQ(CNRect().operator QRect(), QRect());
    int x1, y1, x2, y2;
    r.getCoords(&x1, &y1, &x2, &y2);
    EXPECT_EQ(QRect(x1, y1, x2, y2), QRect(0, 0, 10, 10));
    // The centre halves the width: 50 where QRect::center() says 49.
    EXPECT_EQ(CNRect(0, 0, 100, 100).center(), QPoint(50, 50));
    EXPECT_EQ(CNRect(0, 0, 10, 10).center(), QPoint(5, 5));
    CNRect both(0, 0, 10, 10);
    both &= CNRect(5, 5, 10, 10);
    EXPECT_EQ(both, CNRect(5, 5, 5, 5));
    both |= CNRect(0, 0, 1, 1);
    EXPECT_EQ(both, CNRect(0, 0, 10, 10));
}

TEST(NRect, IntersectsCountsTouchingRectangles)
{
    struct Case
    {
        CNRect a, b;
        bool expected;
    } cases[] = {
        { CNRect(0, 0, 10, 10), CNRect(10, 0, 5, 5), true }, // shares the right edge
        { CNRect(0, 0, 10, 10), CNRect(11, 0, 5, 5), false },
        { CNRect(0, 0, 10, 10), CNRect(10, 10, 5, 5), true }, // corner only
        { CNRect(0, 0, 10, 10), CNRect(-5, -5, 5, 5), true },
        { CNRect(0, 0, 10, 10), CNRect(3, 3, 2, 2), true },
        { CNRect(0, 0, 10, 10), CNRect(0, 12, 10, 10), false },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.b.left() << ',' << c.b.top());
        EXPECT_EQ(c.a.intersects(c.b), c.expected);
        EXPECT_EQ(c.b.intersects(c.a), c.expected);
    }
}

TEST(NRect, IntersectsWritesTraceLines)
{
    inktest::TraceCapture capture;
    CNRect(0, 0, 1, 1).intersects(CNRect(5, 5, 1, 1));
    EXPECT_EQ(capture.withoutLineNumbers(),
        QStringList({ "nrect Enter intersects", "nrect Exit intersects" }));
}

TEST(StringCRC, IsTheComplementOfCrc32OverUtf8)
{
    struct Case
    {
        QString text;
        unsigned long expected;
    } cases[] = {
        { QStringLiteral("123456789"), 0x340BC6D9ul },
        { QStringLiteral("abc"), 0xCADBBE3Dul },
        { QString(), 0xFFFFFFFFul },
        { QStringLiteral(""), 0xFFFFFFFFul },
    };
    for (const Case &c : cases)
        EXPECT_EQ(CStringCRC(c.text).value(), c.expected) << c.text.toStdString();

    // zlib as the independent reference for other text, non-ASCII included.
    for (const QString &text : { QStringLiteral("Grüße, ナ"), QStringLiteral("stroke 42") }) {
        const QByteArray utf8 = text.toUtf8();
        const uLong standard = crc32(
            0L, reinterpret_cast<const Bytef *>(utf8.constData()), static_cast<uInt>(utf8.size()));
        EXPECT_EQ(CStringCRC(text).value(), ~standard & 0xFFFFFFFFul) << text.toStdString();
    }
    EXPECT_EQ(CStringCRC::m_lookUp[1], 0x77073096u);
    EXPECT_EQ(CStringCRC(QStringLiteral("abc")), CStringCRC(0xCADBBE3Dul));
    EXPECT_NE(CStringCRC(QStringLiteral("abc")), CStringCRC(QStringLiteral("abd")));
    EXPECT_EQ(CStringCRC().value(), 0ul);
}
