#include "inktest.h"
#include "support/printers.h"

#include <libutility/ink/binaryread.h>
#include <libutility/ink/nrect.h>

#include <QColor>
#include <QDateTime>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <fstream>
#include <functional>
#include <limits>

using inktest::bytes;

namespace {

template <class T>
T readAs(const std::string &data, T initial = T(), std::streamoff *consumed = nullptr)
{
    std::istringstream in(data);
    T value = initial;
    binaryRead(in, value);
    if (consumed)
        *consumed = in.good() ? std::streamoff(in.tellg()) : std::streamoff(-1);
    return value;
}

template <class T> std::string written(const T &value)
{
    std::ostringstream out;
    binaryWrite(out, value);
    return out.str();
}

// One stored form: what it reads as, and whether writing that value gives these
// exact bytes back (the reader accepts some forms the writer never produces).
struct FormCase
{
    const char *name;
    std::string data;
    std::function<void(const std::string &)> check;
};

template <class T>
FormCase form(const char *name, std::string data, T expected, bool canonical = true)
{
    return { name, data, [expected, canonical](const std::string &d) {
                EXPECT_EQ(readAs<T>(d), expected);
                if (canonical) {
                    EXPECT_EQ(written(expected), d);
                }
            } };
}

} // namespace

TEST(BinaryRead, DecodesEveryTypeLittleEndian)
{
    const FormCase cases[] = {
        form<signed char>("signed char", bytes({ 0x80 }), static_cast<signed char>(-128)),
        form<char>("char", "A", 'A'),
        form<unsigned char>("unsigned char", bytes({ 0xFE }), static_cast<unsigned char>(254)),
        form<bool>("bool 0", bytes({ 0 }), false),
        form<bool>("bool 1", bytes({ 1 }), true),
        form<bool>("bool 0x80", bytes({ 0x80 }), true, false),
        form<unsigned short>("ushort", bytes({ 1, 2 }), static_cast<unsigned short>(0x0201)),
        form<short>("short", bytes({ 0xFE, 0xFF }), static_cast<short>(-2)),
        form<int>("int", bytes({ 1, 2, 3, 4 }), 0x04030201),
        form<int>("int -1", bytes({ 0xFF, 0xFF, 0xFF, 0xFF }), -1),
        form<unsigned int>("uint", bytes({ 0xFF, 0xFF, 0xFF, 0xFF }), 0xFFFFFFFFu),
        form<long long>("long long", bytes({ 1, 0, 0, 0, 0, 0, 0, 0x80 }),
            static_cast<long long>(0x8000000000000001ull)),
        form<unsigned long long>(
            "ulonglong", bytes({ 8, 7, 6, 5, 4, 3, 2, 1 }), 0x0102030405060708ull),
        // long is 32 bits stored in 64: the high word is dropped.
        form<long>("long high word dropped", bytes({ 1, 0, 0, 0, 0, 0, 0, 0x80 }), 1L, false),
        form<long>(
            "long low word signed", bytes({ 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0 }), -1L, false),
        form<long>("long -1", bytes({ 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF }), -1L),
        form<long>("long 7", bytes({ 7, 0, 0, 0, 0, 0, 0, 0 }), 7L),
        form<float>("float", bytes({ 0, 0, 0xC0, 0x3F }), 1.5f),
        form<double>("double", bytes({ 0, 0, 0, 0, 0, 0, 0xF8, 0x3F }), 1.5),
        form<QPoint>("QPoint", bytes({ 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF }), QPoint(1, -2)),
        form<QSize>("QSize", bytes({ 3, 0, 0, 0, 4, 0, 0, 0 }), QSize(3, 4)),
        // QPointF is two floats on the wire, not two doubles.
        form<QPointF>("QPointF", bytes({ 0, 0, 0xC0, 0x3F, 0, 0, 0, 0xC0 }), QPointF(1.5, -2.0)),
        form<QColor>("transparent", bytes({ 0xFF, 0xFF, 0xFF, 0xFF }), QColor(255, 255, 255, 0)),
        form<QColor>("opaque white", bytes({ 0xFF, 0xFF, 0xFF, 0 }), QColor(255, 255, 255)),
        form<QColor>("fourth byte ignored", bytes({ 0x10, 0x20, 0x30, 0x40 }),
            QColor(0x10, 0x20, 0x30), false),
        form<QColor>("opaque colour", bytes({ 0x10, 0x20, 0x30, 0 }), QColor(0x10, 0x20, 0x30)),
        form<std::string>("string", bytes({ 3, 0, 0, 0, 'a', 0, 'c' }), std::string("a\0c", 3)),
        form<std::string>("empty string", bytes({ 0, 0, 0, 0 }), std::string()),
        form<QString>("QString", bytes({ 3, 0, 0, 0, 'a', 'b', 'c' }), QStringLiteral("abc")),
        form<QString>(
            "QString 8-bit", bytes({ 2, 0, 0, 0, 0xE9, 0 }), QString::fromLatin1("\xE9\0", 2)),
        form<QString>("empty QString", bytes({ 0, 0, 0, 0 }), QString()),
    };
    for (const FormCase &c : cases) {
        SCOPED_TRACE(c.name);
        c.check(c.data);
    }
}

TEST(BinaryRead, RectangleAndDateTime)
{
    // Right and bottom on the wire are exclusive edges.
    const std::string rect = bytes({ 0, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 0, 20, 0, 0, 0 });
    const CNRect r = readAs<CNRect>(rect);
    EXPECT_EQ(r.width(), 10);
    EXPECT_EQ(r.height(), 20);
    EXPECT_EQ(written(r), rect);

    // The third word (3 here) is ignored by the reader; the writer puts the weekday there.
    const std::string stamp
        = bytes({ 0xD9, 0x07, 7, 0, 3, 0, 15, 0, 13, 0, 45, 0, 30, 0, 0xFA, 0 });
    const QDateTime t = readAs<QDateTime>(stamp);
    EXPECT_EQ(t.date(), QDate(2009, 7, 15));
    EXPECT_EQ(t.time(), QTime(13, 45, 30, 250));
    EXPECT_EQ(readAs<QDateTime>(written(t)), t);

    std::streamoff consumed = 0;
    readAs<QString>(bytes({ 0, 0, 0, 0, 'x' }), QStringLiteral("old"), &consumed);
    EXPECT_EQ(consumed, 4);
}

TEST(BinaryRead, ShortStreamsLeaveDefinedValuesAndFailBits)
{
    // One-byte values stay unchanged at the end of the stream.
    EXPECT_EQ(readAs<char>("", 'q'), 'q');
    EXPECT_EQ(readAs<unsigned char>("", 7), 7);
    EXPECT_TRUE(readAs<bool>("", true));
    // Wider values are assembled from what arrived, zeros for the rest.
    EXPECT_EQ(readAs<int>(bytes({ 1, 2 }), 99), 0x0201);
    EXPECT_EQ(readAs<QPoint>(bytes({ 5, 0, 0, 0, 6 }), QPoint(9, 9)), QPoint(5, 6));
    // A string body that ends early is zero-filled to its count.
    EXPECT_EQ(readAs<std::string>(bytes({ 4, 0, 0, 0, 'a', 'b' })), std::string("ab\0\0", 4));
    // A count cut short is assembled too (1 here), and its missing body is a zero.
    EXPECT_EQ(readAs<QString>(bytes({ 1, 0 })), QString(QChar(0)));

    std::istringstream in(bytes({ 1, 2, 3 }));
    int value = 0;
    binaryRead(in, value);
    EXPECT_TRUE(in.eof());
    EXPECT_TRUE(in.fail());
    // A failed stream delivers nothing more.
    in.clear(std::ios_base::failbit);
    unsigned char c = 42;
    binaryRead(in, c);
    EXPECT_EQ(c, 42);
}

// Records that straddle the refills of a small file buffer, and a tied stream, take
// the slow paths of the reader; the values must not change.
TEST(BinaryRead, RealFileWithSmallBufferAndTiedStream)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string path = dir.filePath(QStringLiteral("points.bin")).toStdString();
    {
        std::ofstream out(path, std::ios::binary);
        for (int i = 0; i < 1000; ++i)
            binaryWrite(out, QPoint(i, -3 * i));
        binaryWrite(out, QStringLiteral("end"));
    }
    char buffer[13];
    std::ifstream in;
    in.rdbuf()->pubsetbuf(buffer, sizeof buffer);
    in.open(path, std::ios::binary);
    std::ostringstream tie;
    in.tie(&tie);
    for (int i = 0; i < 1000; ++i) {
        QPoint p;
        binaryRead(in, p);
        ASSERT_EQ(p, QPoint(i, -3 * i)) << i;
        if (i == 500)
            in.tie(nullptr);
    }
    QString end;
    binaryRead(in, end);
    EXPECT_EQ(end, QStringLiteral("end"));
}

TEST(BinaryWrite, RecordsWhatTheFormatCannotCarry)
{
    // Values beyond the format come back as documented.
    EXPECT_EQ(readAs<QPointF>(written(QPointF(0.1, 1e300))).x(), static_cast<double>(0.1f));
    EXPECT_EQ(readAs<QColor>(written(QColor(10, 20, 30, 128))), QColor(10, 20, 30));
    EXPECT_EQ(written(QColor(10, 20, 30, 0)), bytes({ 0xFF, 0xFF, 0xFF, 0xFF }));
    EXPECT_EQ(written(QColor()), bytes({ 0xFF, 0xFF, 0xFF, 0xFF }));
    EXPECT_EQ(readAs<QString>(written(QStringLiteral("a\u0416b"))), QStringLiteral("a?b"));
    EXPECT_EQ(readAs<long>(written(static_cast<long>(std::numeric_limits<int>::min()))),
        static_cast<long>(std::numeric_limits<int>::min()));
    EXPECT_EQ(written(0x100000002L), bytes({ 2, 0, 0, 0, 1, 0, 0, 0 }));
    // Writing a failed stream adds nothing.
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    binaryWrite(out, 5);
    EXPECT_TRUE(out.str().empty());
}

TEST(BinaryRead, ExitTraceLineShowsTheValue)
{
    inktest::TraceCapture capture;
    readAs<int>(bytes({ 0xFF, 0xFF, 0xFF, 0xFF }));
    readAs<QDateTime>(bytes({ 0xD9, 0x07, 7, 0, 3, 0, 15, 0, 13, 0, 45, 0, 30, 0, 0xFA, 0 }));
    ASSERT_EQ(capture.lines.size(), 4);
    EXPECT_TRUE(capture.lines[0].startsWith(QStringLiteral("binaryread\t")));
    EXPECT_TRUE(capture.lines[0].endsWith(QStringLiteral("\tEnter binaryRead")));
    EXPECT_TRUE(capture.lines[1].endsWith(QStringLiteral("\tExit binaryRead(-1 )")));
    EXPECT_TRUE(
        capture.lines[3].endsWith(QStringLiteral("\tExit binaryRead(15-07-2009 13:45:30.250 )")))
        << capture.lines[3].toStdString();
}

// Points have an inline reader that takes the bytes straight from the stream's buffer.
// It must give way to istream::read whenever that would behave differently.
TEST(BinaryRead, PointReaderBehavesAsIstreamReadInEveryStreamState)
{
    const std::string point = bytes({ 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF });
    struct Case
    {
        const char *name;
        std::string data;
        std::ios_base::iostate before;
        QPoint expected;
        bool goodAfter;
        std::streamoff consumed;
    };
    const Case cases[] = {
        { "more bytes buffered", point + bytes({ 7, 7, 7, 7 }), std::ios_base::goodbit,
            QPoint(1, -2), true, 8 },
        // istream::read of exactly the bytes left does not set eofbit.
        { "exactly one record", point, std::ios_base::goodbit, QPoint(1, -2), true, 8 },
        { "short record", bytes({ 5, 0, 0, 0, 6 }), std::ios_base::goodbit, QPoint(5, 6), false,
            5 },
        // A stream that is not good delivers nothing, although its buffer holds the bytes.
        { "failbit set", point, std::ios_base::failbit, QPoint(0, 0), false, 0 },
        { "eofbit set", point, std::ios_base::eofbit, QPoint(0, 0), false, 0 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        std::istringstream in(c.data);
        in.setstate(c.before);
        QPoint p(9, 9);
        binaryRead(in, p);
        EXPECT_EQ(p, c.expected);
        EXPECT_EQ(in.good(), c.goodAfter);
        in.clear();
        EXPECT_EQ(std::streamoff(in.tellg()), c.consumed);
    }
}

TEST(BinaryRead, PointReaderFlushesTheTiedStreamFirst)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("prompt.txt"));
    std::ofstream prompt(path.toStdString());
    prompt << "point?";
    std::istringstream in(bytes({ 1, 0, 0, 0, 2, 0, 0, 0 }));
    in.tie(&prompt);
    QPoint p;
    binaryRead(in, p);
    EXPECT_EQ(p, QPoint(1, 2));
    EXPECT_EQ(QFileInfo(path).size(), 6);
}

TEST(BinaryRead, PointReaderWritesTraceLinesAndStaysExported)
{
    {
        inktest::TraceCapture capture;
        readAs<QPoint>(bytes({ 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF }));
        ASSERT_EQ(capture.lines.size(), 2);
        EXPECT_TRUE(capture.lines[0].startsWith(QStringLiteral("binaryread\t")));
        EXPECT_TRUE(capture.lines[0].endsWith(QStringLiteral("\tEnter binaryRead")));
        EXPECT_TRUE(capture.lines[1].endsWith(QStringLiteral("\tExit binaryRead(QPoint(1,-2) )")))
            << capture.lines[1].toStdString();
    }
    // The inline reader is also exported by name, like every other overload.
    void *lib = dlopen("libutility.so.1", RTLD_LAZY | RTLD_NOLOAD);
    ASSERT_NE(lib, nullptr);
    using Reader = void (*)(std::istream &, QPoint &);
    const auto reader = reinterpret_cast<Reader>(dlsym(lib, "_Z10binaryReadRSiR6QPoint"));
    dlclose(lib);
    ASSERT_NE(reader, nullptr);
    std::istringstream in(bytes({ 3, 0, 0, 0, 4, 0, 0, 0 }));
    QPoint p;
    reader(in, p);
    EXPECT_EQ(p, QPoint(3, 4));
}
