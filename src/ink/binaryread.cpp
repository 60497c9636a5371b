#include <libutility/ink/binaryread.h>

#include "binaryread_p.h"

#include <libutility/ink/nrect.h>
#include <libutility/logging/trace.h>

#include <QByteArray>
#include <QColor>
#include <QDate>
#include <QDateTime>
#include <QPoint>
#include <QPointF>
#include <QSize>
#include <QString>
#include <QTime>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

using ink_detail::readBytes;
using ink_detail::writeBytes;

namespace {

// The raw bytes of one record. Bytes the stream did not deliver stay zero, which is
// what makes a short read yield a partly assembled value.
template <int N> struct Record
{
    uchar b[N] = {};

    explicit Record(std::istream &in) { readBytes(in, reinterpret_cast<char *>(b), N); }
    Record() = default;

    quint16 u16(int at) const { return qFromLittleEndian<quint16>(b + at); }
    quint32 u32(int at) const { return qFromLittleEndian<quint32>(b + at); }
    quint64 u64(int at) const { return qFromLittleEndian<quint64>(b + at); }
    qint32 i32(int at) const { return static_cast<qint32>(u32(at)); }

    void put16(int at, quint16 v) { qToLittleEndian(v, b + at); }
    void put32(int at, quint32 v) { qToLittleEndian(v, b + at); }
    void put64(int at, quint64 v) { qToLittleEndian(v, b + at); }

    void writeTo(std::ostream &out) const { writeBytes(out, reinterpret_cast<const char *>(b), N); }
};

float floatFromBits(quint32 bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

double doubleFromBits(quint64 bits)
{
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

quint32 bitsOf(float f)
{
    quint32 bits;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}

quint64 bitsOf(double d)
{
    quint64 bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

// How the trace exit lines show the Qt values read.
template <class T> struct Shown
{
    const T &value;
};

template <class T> Shown<T> shown(const T &value) { return Shown<T> { value }; }

std::ostream &operator<<(std::ostream &os, const Shown<QPoint> &s)
{
    return os << "QPoint(" << s.value.x() << ',' << s.value.y() << ')';
}

std::ostream &operator<<(std::ostream &os, const Shown<QSize> &s)
{
    return os << "QSize(" << s.value.width() << ", " << s.value.height() << ')';
}

std::ostream &operator<<(std::ostream &os, const Shown<QPointF> &s)
{
    return os << "QPointF(" << s.value.x() << ',' << s.value.y() << ')';
}

std::ostream &operator<<(std::ostream &os, const Shown<CNRect> &s)
{
    return os << "CNRect(" << s.value.left() << ',' << s.value.top() << ' ' << s.value.right()
              << ',' << s.value.bottom() << ')';
}

std::ostream &operator<<(std::ostream &os, const Shown<QColor> &s)
{
    return os << s.value.name(QColor::HexArgb).toLatin1().constData();
}

std::ostream &operator<<(std::ostream &os, const Shown<QDateTime> &s)
{
    return os << s.value.toString(QStringLiteral("dd-MM-yyyy hh:mm:ss.zzz")).toLatin1().constData();
}

std::ostream &operator<<(std::ostream &os, const Shown<std::string> &s) { return os << s.value; }

template <class Char> void readOneByte(std::istream &in, Char &value)
{
    char c;
    if (readBytes(in, &c, 1) == 1)
        value = static_cast<Char>(c);
}

} // namespace

// ---------------------------------------------------------------------------------
// Readers

void binaryRead(std::istream &in, signed char &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    readOneByte(in, value);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, char &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    readOneByte(in, value);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, unsigned char &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    readOneByte(in, value);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, bool &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    signed char c = value ? 1 : 0; // so that a failed read leaves value unchanged
    readOneByte(in, c);
    value = c != 0;
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, unsigned short &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = Record<2>(in).u16(0);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, short &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = static_cast<short>(Record<2>(in).u16(0));
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, unsigned int &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = Record<4>(in).u32(0);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, int &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = Record<4>(in).i32(0);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, long long &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = static_cast<long long>(Record<8>(in).u64(0));
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, unsigned long long &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = Record<8>(in).u64(0);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, long &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    // The format's long is 32 bits stored in 64: the high word is dropped and the low
    // word taken as signed, whatever the width of the host's long.
    value = Record<8>(in).i32(0);
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, float &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = floatFromBits(Record<4>(in).u32(0));
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, double &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    value = doubleFromBits(Record<8>(in).u64(0));
    TRACE_RETURN_SHOWING(value);
}

// Reached from the inline binaryRead(std::istream&, QPoint&) whenever tracing is on or
// the stream cannot hand over 8 buffered bytes straight away.
void ink_detail::readPointOutOfLine(std::istream &in, QPoint &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<8> r(in);
    value = QPoint(r.i32(0), r.i32(4));
    TRACE_RETURN_SHOWING(shown(value));
}

namespace {

// Points per block of the run reader: 32 KB of records, taken in one read.
constexpr std::ptrdiff_t kRunPoints = 4096;
constexpr std::ptrdiff_t kPointBytes = 8;

void decodePoints(const uchar *src, QPoint *values, std::ptrdiff_t n)
{
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const uchar *rec = src + i * kPointBytes;
        values[i] = QPoint(qFromLittleEndian<qint32>(rec), qFromLittleEndian<qint32>(rec + 4));
    }
}

} // namespace

void binaryRead(std::istream &in, QPoint *values, std::ptrdiff_t count)
{
    if (basic_logging::traceEnabled()) {
        // Point by point, so that the trace shows every value read.
        for (std::ptrdiff_t i = 0; i < count; ++i)
            ink_detail::readPointOutOfLine(in, values[i]);
        return;
    }
    uchar buffer[kRunPoints * kPointBytes];
    while (count > 0) {
        const std::ptrdiff_t n = std::min(count, kRunPoints);
        const std::streamsize want = n * kPointBytes;
        if (const char *direct = ink_detail::directRead(in, want)) {
            decodePoints(reinterpret_cast<const uchar *>(direct), values, n);
        } else {
            // One read for the block: the bytes and the end state are those of the
            // reads point by point; what did not arrive decodes as zero.
            in.read(reinterpret_cast<char *>(buffer), want);
            const std::streamsize got = in.gcount();
            std::fill(buffer + got, buffer + want, uchar(0));
            decodePoints(buffer, values, n);
            if (got < want) {
                std::fill(values + n, values + count, QPoint(0, 0));
                return;
            }
        }
        values += n;
        count -= n;
    }
}

// The point reader is inline for speed, but like every other overload it is part of the
// library's exported interface (callers from other languages and dlsym find it by name):
// emit an exported copy of it here.
[[maybe_unused]] __attribute__((used)) static void (*const keepPointReaderExported)(
    std::istream &, QPoint &)
    = &binaryRead;

void binaryRead(std::istream &in, QSize &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<8> r(in);
    value.setWidth(r.i32(0));
    value.setHeight(r.i32(4));
    TRACE_RETURN_SHOWING(shown(value));
}

void binaryRead(std::istream &in, QPointF &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<8> r(in);
    value.setX(static_cast<double>(floatFromBits(r.u32(0))));
    value.setY(static_cast<double>(floatFromBits(r.u32(4))));
    TRACE_RETURN_SHOWING(shown(value));
}

void binaryRead(std::istream &in, CNRect &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<16> r(in);
    value.setLeft(r.i32(0));
    value.setTop(r.i32(4));
    value.setRight(r.i32(8)); // exclusive edges on the wire
    value.setBottom(r.i32(12));
    TRACE_RETURN_SHOWING(shown(value));
}

void binaryRead(std::istream &in, QColor &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<4> r(in);
    if (r.u32(0) == 0xFFFFFFFFu)
        value.setRgb(255, 255, 255, 0);
    else
        value.setRgb(r.b[0], r.b[1], r.b[2], 255);
    TRACE_RETURN_SHOWING(shown(value));
}

void binaryRead(std::istream &in, std::string &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const quint32 n = Record<4>(in).u32(0);
    if (n > 0) {
        // Zero-filled first, so that a short read leaves zeros rather than garbage.
        std::string buffer(n, '\0');
        readBytes(in, &buffer[0], static_cast<std::streamsize>(n));
        value.swap(buffer);
    } else {
        value.clear();
    }
    TRACE_RETURN_SHOWING(shown(value));
}

void binaryRead(std::istream &in, QString &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const quint32 n = Record<4>(in).u32(0);
    if (n > 0) {
        // No QString can hold more than this; the allocation the count asks for fails
        // as any other failed allocation does.
        if (n > static_cast<quint32>(std::numeric_limits<int>::max()))
            throw std::bad_alloc();
        QByteArray buffer(static_cast<int>(n), '\0');
        readBytes(in, buffer.data(), static_cast<std::streamsize>(n));
        value = QString::fromLatin1(buffer.constData(), buffer.size());
    } else {
        value.clear();
    }
    TRACE_RETURN_SHOWING(value);
}

void binaryRead(std::istream &in, QDateTime &value)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    const Record<16> r(in);
    // Word 2 (the day of the week) is redundant and ignored.
    value.setDate(QDate(r.u16(0), r.u16(2), r.u16(6)));
    value.setTime(QTime(r.u16(8), r.u16(10), r.u16(12), r.u16(14)));
    TRACE_RETURN_SHOWING(shown(value));
}

// ---------------------------------------------------------------------------------
// Writers

namespace {

template <class T> void writeOneByte(std::ostream &out, T value)
{
    const char c = static_cast<char>(value);
    writeBytes(out, &c, 1);
}

template <class U> void writeWord(std::ostream &out, U value)
{
    Record<sizeof(U)> r;
    qToLittleEndian(value, r.b);
    r.writeTo(out);
}

void writeLatin1(std::ostream &out, const char *data, quint32 n)
{
    writeWord<quint32>(out, n);
    writeBytes(out, data, static_cast<std::streamsize>(n));
}

} // namespace

void binaryWrite(std::ostream &out, const signed char &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeOneByte(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const char &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeOneByte(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const unsigned char &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeOneByte(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const bool &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeOneByte(out, value ? 1 : 0);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const unsigned short &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint16>(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const short &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint16>(out, static_cast<quint16>(value));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const unsigned int &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint32>(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const int &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint32>(out, static_cast<quint32>(value));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const long long &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint64>(out, static_cast<quint64>(value));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const unsigned long long &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint64>(out, value);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const long &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    // All 64 bits go out (a value in the 32-bit range is thereby sign-extended, as the
    // format expects); readers keep the low 32.
    writeWord<quint64>(out, static_cast<quint64>(static_cast<long long>(value)));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const float &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint32>(out, bitsOf(value));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const double &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    writeWord<quint64>(out, bitsOf(value));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QPoint &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    Record<8> r;
    r.put32(0, static_cast<quint32>(value.x()));
    r.put32(4, static_cast<quint32>(value.y()));
    r.writeTo(out);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QSize &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    Record<8> r;
    r.put32(0, static_cast<quint32>(value.width()));
    r.put32(4, static_cast<quint32>(value.height()));
    r.writeTo(out);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QPointF &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    Record<8> r;
    r.put32(0, bitsOf(static_cast<float>(value.x())));
    r.put32(4, bitsOf(static_cast<float>(value.y())));
    r.writeTo(out);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const CNRect &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    Record<16> r;
    r.put32(0, static_cast<quint32>(value.left()));
    r.put32(4, static_cast<quint32>(value.top()));
    r.put32(8, static_cast<quint32>(value.right()));
    r.put32(12, static_cast<quint32>(value.bottom()));
    r.writeTo(out);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QColor &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    Record<4> r;
    if (!value.isValid() || value.alpha() == 0) {
        r.put32(0, 0xFFFFFFFFu);
    } else {
        r.b[0] = static_cast<uchar>(value.red());
        r.b[1] = static_cast<uchar>(value.green());
        r.b[2] = static_cast<uchar>(value.blue());
        r.b[3] = 0; // never completes the all-FF pattern of "transparent"
    }
    r.writeTo(out);
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const std::string &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    if (value.size() > std::numeric_limits<quint32>::max()) {
        out.setstate(std::ios_base::failbit);
        TRACE_EXIT();
        return;
    }
    writeLatin1(out, value.data(), static_cast<quint32>(value.size()));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QString &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    const QByteArray bytes = value.toLatin1();
    writeLatin1(out, bytes.constData(), static_cast<quint32>(bytes.size()));
    TRACE_EXIT();
}

void binaryWrite(std::ostream &out, const QDateTime &value)
{
    TRACE_FUNCTION("binaryread", "binaryWrite");
    const QDate date = value.date();
    const QTime time = value.time();
    Record<16> r;
    r.put16(0, static_cast<quint16>(date.year()));
    r.put16(2, static_cast<quint16>(date.month()));
    r.put16(4, static_cast<quint16>(date.dayOfWeek() % 7)); // 0 = Sunday; readers skip it
    r.put16(6, static_cast<quint16>(date.day()));
    r.put16(8, static_cast<quint16>(time.hour()));
    r.put16(10, static_cast<quint16>(time.minute()));
    r.put16(12, static_cast<quint16>(time.second()));
    r.put16(14, static_cast<quint16>(time.msec()));
    r.writeTo(out);
    TRACE_EXIT();
}
