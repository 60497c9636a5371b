/**
 * \file
 * The ink binary format: binaryRead decodes one value from a stream, binaryWrite
 * encodes one. Strokes and scribbles are stored with these (CStroke::readFrom,
 * CScribble::readFrom and their writeTo), and applications keep their other values in
 * the same files.
 *
 * Every multi-byte value is little-endian whatever the host, integers are two's
 * complement and counts unsigned:
 *
 *   signed char, char, unsigned char   1 byte
 *   bool                               1 byte, true when not 0
 *   short, unsigned short              2 bytes, low byte first
 *   int, unsigned int                  4 bytes (two 16-bit words, low word first)
 *   long long, unsigned long long      8 bytes (two 32-bit words, low word first)
 *   long                               8 bytes; the reader keeps the low 32 bits as a
 *                                      signed 32-bit value (01 00 00 00 00 00 00 80 is
 *                                      1, FF FF FF FF 00 00 00 00 is -1), so only
 *                                      values in the 32-bit range survive a round trip
 *   float, double                      IEEE-754 bit pattern, 4 or 8 bytes
 *   QPoint, QSize                      int x (width), int y (height)
 *   QPointF                            float x, float y: single precision on the wire
 *   CNRect                             int left, top, right, bottom, with right and
 *                                      bottom the exclusive edges
 *   QColor                             4 bytes red, green, blue and a fourth byte;
 *                                      FF FF FF FF is transparent white, anything else
 *                                      an opaque colour (the fourth byte is ignored)
 *   std::string, QString               unsigned int byte count n, then n bytes;
 *                                      QString bytes are 8-bit (Latin-1) text
 *   QDateTime                          eight 16-bit words: year, month, day of week
 *                                      (ignored by the reader), day, hour, minute,
 *                                      second, millisecond
 *
 * So a stroke is an int count followed by that many QPoint records, and a scribble
 * an int stroke count followed by its strokes.
 *
 * Reading checks nothing and reports nothing. Bytes come from the stream as
 * std::istream::read delivers them: at the end of the stream, or once the stream has
 * failed, the reader gets no bytes and the stream's eofbit and failbit are set as
 * istream::read sets them (gcount() is not maintained). A one-byte value is then
 * left unchanged; a wider value is assembled from the bytes that did arrive with zeros
 * in place of the missing ones. Callers that need validation check the stream
 * afterwards. A string count is trusted as it stands: a huge count allocates a huge,
 * zero-filled buffer before the read.
 *
 * Writing produces exactly these layouts. What the format cannot carry:
 *   - long: all 64 bits are written, but readers keep only the low 32 bits;
 *   - QPointF: coordinates are narrowed to float;
 *   - QColor: a colour with alpha 0, or an invalid colour, is written as FF FF FF FF
 *     (read back as transparent white); any other colour as red, green, blue and a
 *     zero byte (read back opaque);
 *   - QString: characters outside Latin-1 are written as '?';
 *   - QDateTime: the date and time fields as they stand (no time zone conversion).
 * A std::string longer than 4 GiB - 1 bytes cannot be counted in the format: the
 * writer then writes nothing and sets failbit on the stream. Otherwise writers report
 * through the stream state only, like std::ostream::write.
 *
 * At the trace level every overload writes its entry and exit lines under
 * "binaryread"; the exit line of a reader shows the value read.
 */
#ifndef LIBUTILITY_INK_BINARYREAD_H
#define LIBUTILITY_INK_BINARYREAD_H

#include <libutility/logging/logsystem.h>
#include <libutility/utility_export.h>

#include <QPoint>
#include <QtEndian>

#include <cstddef>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>

class CNRect;
class QColor;
class QDateTime;
class QPointF;
class QSize;
class QString;

/// \name Reading
/// Each reads the stored form of one value (see the file comment) from in into value.
/** @{ */
/// Reads one value of the type's stored form (see the file comment) from in into value.
/// \param in binary stream to read from; its state is left as the read leaves it
/// \param[out] value receives the value read
UTILITY_EXPORT void binaryRead(std::istream &in, signed char &value);
UTILITY_EXPORT void binaryRead(std::istream &in, char &value);
UTILITY_EXPORT void binaryRead(std::istream &in, unsigned char &value);
UTILITY_EXPORT void binaryRead(std::istream &in, bool &value);
UTILITY_EXPORT void binaryRead(std::istream &in, unsigned short &value);
UTILITY_EXPORT void binaryRead(std::istream &in, short &value);
UTILITY_EXPORT void binaryRead(std::istream &in, unsigned int &value);
UTILITY_EXPORT void binaryRead(std::istream &in, int &value);
UTILITY_EXPORT void binaryRead(std::istream &in, long long &value);
UTILITY_EXPORT void binaryRead(std::istream &in, unsigned long long &value);
UTILITY_EXPORT void binaryRead(std::istream &in, long &value);
UTILITY_EXPORT void binaryRead(std::istream &in, float &value);
UTILITY_EXPORT void binaryRead(std::istream &in, double &value);
/// Points are read by the million, so this one is inline (defined below). It is still
/// exported: the library keeps a copy for binaries built when it was out of line.
/// \param in binary stream to read from; its state is left as the read leaves it
/// \param[out] value receives the point read
UTILITY_EXPORT inline void binaryRead(std::istream &in, QPoint &value);
UTILITY_EXPORT void binaryRead(std::istream &in, QSize &value);
UTILITY_EXPORT void binaryRead(std::istream &in, QPointF &value);
UTILITY_EXPORT void binaryRead(std::istream &in, CNRect &value);
UTILITY_EXPORT void binaryRead(std::istream &in, QColor &value);
UTILITY_EXPORT void binaryRead(std::istream &in, std::string &value);
UTILITY_EXPORT void binaryRead(std::istream &in, QString &value);
UTILITY_EXPORT void binaryRead(std::istream &in, QDateTime &value);
/// Reads a run of count points into values[0] to values[count - 1]: the same values
/// and the same stream state as count calls of binaryRead(in, QPoint &) in turn, and at
/// the trace level exactly their trace lines, but decoded a block of points at a time.
/// A call per point costs about twice the copy of the bytes: each call must find the
/// stream's buffer through the stream and move it on before the next call can read,
/// and check the stream's state on the way. This reader does that once per block,
/// reading each block as one istream::read (or straight from the stream's buffer when
/// it holds the block) through a 32 KB buffer on the stack, at about the cost of the
/// copy. Once the stream has run dry the remaining points are (0, 0), as the reads of
/// single points would leave them. A tied stream may be flushed once per block
/// rather than once per point. Should a read throw (exceptions() set on the stream),
/// the exception passes through; the points of the block being read are then left as
/// they were.
/// \param in binary stream to read from; its state is left as the reads leave it
/// \param[out] values receives the points read; room for count points
/// \param count how many points to read; nothing is read when it is 0 or less
UTILITY_EXPORT void binaryRead(std::istream &in, QPoint *values, std::ptrdiff_t count);
/** @} */

/// \name Writing
/// Each writes the stored form of value (see the file comment) to out.
/** @{ */
/// Writes the stored form of value (see the file comment) to out.
/// \param out binary stream to write to; failures show in its state only
/// \param value the value to write
UTILITY_EXPORT void binaryWrite(std::ostream &out, const signed char &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const char &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const unsigned char &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const bool &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const unsigned short &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const short &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const unsigned int &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const int &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const long long &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const unsigned long long &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const long &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const float &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const double &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QPoint &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QSize &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QPointF &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const CNRect &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QColor &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const std::string &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QString &value);
UTILITY_EXPORT void binaryWrite(std::ostream &out, const QDateTime &value);
/** @} */
/// Pointers have no stored form; this also stops a string literal from being
/// written as a bool.
/// \param out the stream; never written, as the overload is deleted
/// \param value any pointer: a call with one does not compile
template <class T> void binaryWrite(std::ostream &out, T *value) = delete;

// ---------------------------------------------------------------------------------
// Implementation details of the inline point reader. Not for direct use.

namespace ink_detail {

/// Reaches the get area of any stream buffer. Naming the protected members through a
/// derived class yields pointers to members of std::streambuf itself, which may then be
/// applied to any std::streambuf. Never instantiated.
struct BufferAccess : std::streambuf
{
    static char *readPos(std::streambuf *sb) { return (sb->*&BufferAccess::gptr)(); }
    static char *readEnd(std::streambuf *sb) { return (sb->*&BufferAccess::egptr)(); }
    static void readAdvance(std::streambuf *sb, int n) { (sb->*&BufferAccess::gbump)(n); }
};

/// True when in.read(buf, n) would do no more than copy n bytes out of the stream's
/// buffer: the stream is good (so it has a buffer: basic_ios sets badbit when it has
/// none), no tied stream waits to be flushed, and the get area holds n bytes (an empty
/// one has both pointers null). Otherwise the caller reads through std::istream::read,
/// which flushes the tied stream, refills the buffer and sets eofbit and failbit.
inline bool bufferHolds(std::istream &in, std::streamsize n)
{
    if (in.rdstate() != std::ios_base::goodbit || in.tie())
        return false;
    std::streambuf *sb = in.rdbuf();
    return BufferAccess::readEnd(sb) - BufferAccess::readPos(sb) >= n;
}

/// Consumes n bytes that bufferHolds(in, n) has vouched for and returns where they are.
/// Unlike istream::read this leaves gcount() as it was.
inline const char *takeBuffered(std::istream &in, int n)
{
    std::streambuf *sb = in.rdbuf();
    const char *at = BufferAccess::readPos(sb);
    BufferAccess::readAdvance(sb, n);
    return at;
}

/// The general point reader: any stream state, short reads, the trace lines.
UTILITY_EXPORT void readPointOutOfLine(std::istream &in, QPoint &value);

} // namespace ink_detail

/// Decoding a run of points used to cost several times the copy of their bytes, most of
/// it in the call into the library per point. Inline, the common case (tracing off, the
/// bytes already buffered) is a handful of loads and two stores in the caller's loop;
/// everything else, and every trace line, stays in the library.
inline void binaryRead(std::istream &in, QPoint &value)
{
    if (Q_LIKELY(!basic_logging::traceEnabled() && ink_detail::bufferHolds(in, 8))) {
        const char *p = ink_detail::takeBuffered(in, 8);
        value = QPoint(qFromLittleEndian<qint32>(p), qFromLittleEndian<qint32>(p + 4));
        return;
    }
    ink_detail::readPointOutOfLine(in, value);
}

#endif
