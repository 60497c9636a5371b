// Raw byte transfer for the ink binary format, shared by binaryread, stroke and
// scribble. Not installed.
//
// readBytes and writeBytes behave as std::istream::read and std::ostream::write do
// (same state bits, nothing transferred once the stream has failed), but when the
// stream buffer already holds (or has room for) the bytes they copy them straight
// from (or into) its buffer. Decoding a long run of small records then costs about
// as much as one big read; going through the sentry of istream::read for every
// 8-byte point costs several times that.
#ifndef LIBUTILITY_INK_BINARYREAD_P_H
#define LIBUTILITY_INK_BINARYREAD_P_H

#include <libutility/ink/binaryread.h>

#include <cstring>
#include <istream>
#include <ostream>
#include <streambuf>

namespace ink_detail {

// The put-area counterpart of BufferAccess (binaryread.h).
struct PutAccess : std::streambuf
{
    static char *writePos(std::streambuf *sb) { return (sb->*&PutAccess::pptr)(); }
    static char *writeEnd(std::streambuf *sb) { return (sb->*&PutAccess::epptr)(); }
    static void writeAdvance(std::streambuf *sb, int n) { (sb->*&PutAccess::pbump)(n); }
};

// Largest transfer done through the buffer pointers (gbump and pbump take an int).
constexpr std::streamsize kDirectLimit = 1 << 20;

// When the stream's buffer holds n bytes (0 <= n <= kDirectLimit) and reading them
// needs nothing else, consumes them and returns where they are; otherwise returns null
// and consumes nothing (the caller then goes through readBytes).
inline const char *directRead(std::istream &in, std::streamsize n)
{
    return bufferHolds(in, n) ? takeBuffered(in, static_cast<int>(n)) : nullptr;
}

// Reads n bytes into buf as in.read(buf, n) does; returns how many arrived. Bytes that
// did not arrive are left as they were in buf.
inline std::streamsize readBytes(std::istream &in, char *buf, std::streamsize n)
{
    if (n <= kDirectLimit) {
        if (const char *p = directRead(in, n)) {
            std::memcpy(buf, p, static_cast<size_t>(n));
            return n;
        }
    }
    in.read(buf, n);
    return in.gcount();
}

// Writes n bytes as out.write(buf, n) does.
inline void writeBytes(std::ostream &out, const char *buf, std::streamsize n)
{
    if (out.rdstate() == std::ios_base::goodbit && !out.tie() && n <= kDirectLimit) {
        std::streambuf *sb = out.rdbuf();
        if (sb) {
            char *cur = PutAccess::writePos(sb);
            if (cur && PutAccess::writeEnd(sb) - cur >= n) {
                std::memcpy(cur, buf, static_cast<size_t>(n));
                PutAccess::writeAdvance(sb, static_cast<int>(n));
                // ostream::write honours unitbuf through its sentry; so do we.
                if (out.flags() & std::ios_base::unitbuf)
                    out.flush();
                return;
            }
        }
    }
    out.write(buf, n);
}

} // namespace ink_detail

#endif
