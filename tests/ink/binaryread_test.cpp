#include "inktest.h"

#include <libutility/ink/stroke.h>

#include <QColor>
#include <QDateTime>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fstream>
#include <functional>
#include <tuple>
#include <vector>

using namespace inktest;

namespace {

template <class T> T readAs(const std::string &data, T value = T())
{
    std::istringstream in(data);
    binaryRead(in, value);
    return value;
}

// One stored form: it reads as expected, consumes exactly its bytes, and, unless the
// writer never produces it, is what writing the expected value gives.
using FormCase = std::pair<const char *, std::function<void(void)>>;
template <class T>
FormCase form(const char *name, const std::string &data, T expected, bool canonical = true)
{
    return { name, [=] {
                std::istringstream in(data + "!");
                T value {};
                binaryRead(in, value);
                EXPECT_EQ(value, expected);
                EXPECT_EQ(std::streamoff(in.tellg()), std::streamoff(data.size()));
                if (canonical) {
                    EXPECT_EQ(written(expected), data);
                }
            } };
}

const std::string cStamp = bytes({ 0xD9, 0x07, 7, 0, 3, 0, 15, 0, 13, 0, 45, 0, 30, 0, 0xFA, 0 });

} // namespace

TEST(BinaryRead, DecodesEveryTypeLittleEndian)
{
    const FormCase cases[] = {
        form<signed char>("signed char", bytes({ 0x80 }), -128),
        form<unsigned char>("unsigned char", bytes({ 0xFE }), 0xFE),
        form<bool>("bool 0", bytes({ 0 }), false),
        form<bool>("bool 1", bytes({ 1 }), true),
        form<bool>("bool 0x80", bytes({ 0x80 }), true, false),
        form<short>("short", bytes({ 0xFE, 0xFF }), -2),
        form<int>("int", bytes({ 1, 2, 3, 4 }), 0x04030201),
        form<int>("int -1", bytes({ 0xFF, 0xFF, 0xFF, 0xFF }), -1),
        form<long long>("long long", bytes({ 8, 7, 6, 5, 4, 3, 2, 0x81 }),
            static_cast<long long>(0x8102030405060708ull)),
        // long is 32 bits stored in 64: the high word is dropped.
        form<long>("long high word dropped", bytes({ 1, 0, 0, 0, 0, 0, 0, 0x80 }), 1L, false),
        form<long>(
            "long low word signed", bytes({ 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0 }), -1L, false),
        form<long>("long -1", bytes({ 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF }), -1L),
        form<float>("float", bytes({ 0, 0, 0xC0, 0x3F }), 1.5f),
        form<double>("double", bytes({ 0, 0, 0, 0, 0, 0, 0xF8, 0x3F }), 1.5),
        form<QPoint>("QPoint", bytes({ 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF }), QPoint(1, -2)),
        form<QSize>("QSize", bytes({ 3, 0, 0, 0, 4, 0, 0, 0 }), QSize(3, 4)),
        // QPointF is two floats on the wire, not two doubles.
        form<QPointF>("QPointF", bytes({ 0, 0, 0xC0, 0x3F, 0, 0, 0, 0xC0 }), QPointF(1.5, -2.0)),
        // Right and bottom on the wire are the exclusive edges.
        form<CNRect>("CNRect", bytes({ 1, 0, 0, 0, 2, 0, 0, 0, 11, 0, 0, 0, 22, 0, 0, 0 }),
            CNRect(1, 2, 10, 20)),
        form<QColor>("transparent", bytes({ 0xFF, 0xFF, 0xFF, 0xFF }), QColor(255, 255, 255, 0)),
        form<QColor>("opaque white", bytes({ 0xFF, 0xFF, 0xFF, 0 }), QColor(255, 255, 255)),
        form<QColor>("fourth byte ignored", bytes({ 0x10, 0x20, 0x30, 0x40 }),
            QColor(0x10, 0x20, 0x30), false),
        form<std::string>("string", bytes({ 3, 0, 0, 0, 'a', 0, 'c' }), std::string("a\0c", 3)),
        form<std::string>("empty string", bytes({ 0, 0, 0, 0 }), std::string()),
        form<QString>("QString", bytes({ 3, 0, 0, 0, 'a', 'b', 'c' }), QStringLiteral("abc")),
        form<QString>(
            "QString 8-bit", bytes({ 2, 0, 0, 0, 0xE9, 0 }), QString::fromLatin1("\xE9\0", 2)),
        form<QString>("empty QString", bytes({ 0, 0, 0, 0 }), QString()),
        // The third word (3) is ignored by the reader; the writer puts the weekday there.
        form<QDateTime>("QDateTime", cStamp, QDateTime(QDate(2009, 7, 15), QTime(13, 45, 30, 250))),
    };
    for (const FormCase &c : cases) {
        SCOPED_TRACE(c.first);
        c.second();
    }
}

TEST(BinaryRead, ShortStreamsLeaveDefinedValues)
{
    // A one-byte value stays unchanged at the end of the stream.
    EXPECT_TRUE(readAs<bool>("", true));
    // Wider values are assembled from what arrived, zeros for the rest.
    EXPECT_EQ(readAs<int>(bytes({ 1, 2 }), 99), 0x0201);
    // A string body that ends early is zero-filled to its count.
    EXPECT_EQ(readAs<std::string>(bytes({ 4, 0, 0, 0, 'a', 'b' })), std::string("ab\0\0", 4));
    EXPECT_EQ(readAs<QString>(bytes({ 1, 0 })), QString(QChar(0)));
}

TEST(BinaryWrite, RecordsWhatTheFormatCannotCarry)
{
    EXPECT_EQ(written(QColor(10, 20, 30, 0)), bytes({ 0xFF, 0xFF, 0xFF, 0xFF }));
    EXPECT_EQ(written(QStringLiteral("a\u0416b")), bytes({ 3, 0, 0, 0, 'a', '?', 'b' }));
}

// The exit line of each reader shows the value read. While tracing, a stroke and a run
// of points are read point by point, so that every point shows.
TEST(BinaryRead, ExitTraceLineShowsTheValue)
{
    const std::string data = written(1, QPoint(1, -2));
    std::istringstream run(written(QPoint(5, 6), QPoint(7, 8)));
    TraceCapture capture;
    CStroke stroke;
    readInto(stroke, data);
    readAs<QDateTime>(cStamp);
    QPoint two[2];
    binaryRead(run, two, 2);
    const QString enter = QStringLiteral("binaryread Enter binaryRead");
    EXPECT_EQ(capture.lines,
        QStringList({ "stroke Enter readFrom", enter, "binaryread Exit binaryRead(1 )", enter,
            "binaryread Exit binaryRead(QPoint(1,-2) )", "stroke Exit readFrom", enter,
            "binaryread Exit binaryRead(15-07-2009 13:45:30.250 )", enter,
            "binaryread Exit binaryRead(QPoint(5,6) )", enter,
            "binaryread Exit binaryRead(QPoint(7,8) )" }));
}

// Points have an inline reader that takes the bytes straight from the stream's buffer.
// It must give way to istream::read whenever that would behave differently.
TEST(BinaryRead, PointReaderBehavesAsIstreamReadInEveryStreamState)
{
    const std::string point = bytes({ 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF });
    using State = std::ios_base;
    const std::tuple<const char *, std::string, State::iostate, QPoint, bool, int> cases[] = {
        // istream::read of exactly the bytes left does not set eofbit.
        { "exactly one record", point, State::goodbit, QPoint(1, -2), true, 8 },
        { "short record", point.substr(0, 5), State::goodbit, QPoint(1, 254), false, 5 },
        // A stream that is not good delivers nothing, although its buffer holds the bytes.
        { "failbit set", point, State::failbit, QPoint(0, 0), false, 0 },
        { "eofbit set", point, State::eofbit, QPoint(0, 0), false, 0 },
    };
    for (const auto &[name, data, before, expected, goodAfter, consumed] : cases) {
        SCOPED_TRACE(name);
        std::istringstream in(data);
        in.setstate(before);
        QPoint p(9, 9);
        binaryRead(in, p);
        EXPECT_EQ(p, expected);
        EXPECT_EQ(in.good(), goodAfter);
        in.clear();
        EXPECT_EQ(in.tellg(), consumed);
    }

    // The tied stream is flushed first, even when the bytes are already buffered.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("prompt.txt"));
    std::ofstream prompt(path.toStdString());
    prompt << "point?";
    std::istringstream in(point);
    in.tie(&prompt);
    QPoint p;
    binaryRead(in, p);
    EXPECT_EQ(QFileInfo(path).size(), 6);

    // Within one loop of reads, a buffer swapped in and a state set between two reads
    // are both seen.
    const std::string other = bytes({ 3, 0, 0, 0, 0xFC, 0xFF, 0xFF, 0xFF });
    std::istringstream first(point + point), second(other + other);
    std::istream reader(first.rdbuf());
    QPoint got[3] = { { 9, 9 }, { 9, 9 }, { 9, 9 } };
    for (int i = 0; i < 3; ++i) {
        if (i == 1)
            reader.rdbuf(second.rdbuf());
        if (i == 2)
            reader.setstate(State::failbit);
        binaryRead(reader, got[i]);
    }
    EXPECT_EQ(got[0], QPoint(1, -2));
    EXPECT_EQ(got[1], QPoint(3, -4));
    EXPECT_EQ(got[2], QPoint(0, 0));
    EXPECT_EQ(first.tellg(), 8);
    EXPECT_EQ(second.tellg(), 8);
}

// Hands out at most three bytes per refill, so that records straddle refills and no
// block of the run reader is ever wholly buffered.
struct Trickle : std::streambuf
{
    std::string data;
    std::size_t at = 0;
    explicit Trickle(std::string bytes) : data(std::move(bytes)) {}
    int_type underflow() override
    {
        if (at >= data.size())
            return traits_type::eof();
        char *start = &data[at];
        at = std::min(data.size(), at + 3);
        setg(start, start, &data[0] + at);
        return traits_type::to_int_type(*start);
    }
};

// The run reader gives the values and the stream state of reading its points one by
// one: in every stream state, across refills, across its blocks, and when the data runs
// out in the middle of a record.
TEST(BinaryRead, RunOfPointsReadsAsPointByPoint)
{
    std::string many;
    for (int i = 0; i < 9000; ++i)
        many += written(QPoint(i, -3 * i));
    using State = std::ios_base;
    const std::tuple<const char *, std::string, State::iostate, bool, int> cases[] = {
        { "buffered", many, State::goodbit, false, 9000 },
        { "ends inside a record of the second block", many.substr(0, 8 * 5000 + 5),
            State::goodbit, false, 9000 },
        { "trickling in", many.substr(0, 8 * 10 + 3), State::goodbit, true, 12 },
        { "fewer asked than there are", many, State::goodbit, true, 7 },
        { "failbit set", many, State::failbit, false, 3 },
        { "eofbit set", many, State::eofbit, false, 3 },
        { "nothing asked", many, State::goodbit, false, 0 },
        { "negative count", many, State::goodbit, false, -4 },
    };
    for (const auto &[name, data, before, trickle, count] : cases) {
        SCOPED_TRACE(name);
        std::vector<QPoint> single(9001, QPoint(9, 9)), run(single);
        Trickle trickleOne(data), trickleRun(data);
        std::istringstream fullOne(data), fullRun(data);
        std::istream one(trickle ? static_cast<std::streambuf *>(&trickleOne) : fullOne.rdbuf());
        std::istream all(trickle ? static_cast<std::streambuf *>(&trickleRun) : fullRun.rdbuf());
        one.setstate(before);
        all.setstate(before);
        for (int i = 0; i < count; ++i)
            binaryRead(one, single[static_cast<std::size_t>(i)]);
        binaryRead(all, run.data(), count);
        EXPECT_EQ(run, single);
        EXPECT_EQ(all.rdstate(), one.rdstate());
        one.clear();
        all.clear();
        EXPECT_EQ(all.rdbuf()->pubseekoff(0, State::cur, State::in),
            one.rdbuf()->pubseekoff(0, State::cur, State::in));
    }
}
