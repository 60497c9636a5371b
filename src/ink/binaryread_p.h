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

#include <cstring>
#include <istream>
#include <ostream>
#include <streambuf>

namespace ink_detail {

// Reaches the buffer pointers of any stream buffer. Naming the protected members
// through a derived class yields pointers to members of std::streambuf itself, which
// may then be applied to any std::streambuf.
struct BufferAccess : std::streambuf
{
    static char *readPos(std::streambuf *sb) { return (sb->*&BufferAccess::gptr)(); }
    static char *readEnd(std::streambuf *sb) { return (sb->*&BufferAccess::egptr)(); }
    static void readAdvance(std::streambuf *sb, int n) { (sb->*&BufferAccess::gbump)(n); }
    static char *writePos(std::streambuf *sb) { return (sb->*&BufferAccess::pptr)(); }
    static char *writeEnd(std::streambuf *sb) { return (sb->*&BufferAccess::epptr)(); }
    static void writeAdvance(std::streambuf *sb, int n) { (sb->*&BufferAccess::pbump)(n); }
};

// Largest transfer done through the buffer pointers (gbump and pbump take an int).
constexpr std::streamsize kDirectLimit = 1 << 20;

// When the stream is good, has no tied stream and its buffer already holds n bytes,
// consumes them and returns where they are; otherwise returns null and consumes
// nothing (the caller then goes through readBytes).
inline const char *directRead(std::istream &in, std::streamsize n)
{
    if (in.rdstate() != std::ios_base::goodbit || in.tie())
        return nullptr;
    std::streambuf *sb = in.rdbuf();
    if (!sb)
        return nullptr;
    char *cur = BufferAccess::readPos(sb);
    if (!cur || BufferAccess::readEnd(sb) - cur < n)
        return nullptr;
    BufferAccess::readAdvance(sb, static_cast<int>(n));
    return cur;
}

// Reads n bytes into buf as in.read(buf, n) does; returns how many arrived. Bytes that
// did not arrive are left as they were in buf.
inline std::streamsize readBytes(std::istream &in, char *buf, std::streamsize n)
{
    if (in.rdstate() == std::ios_base::goodbit && !in.tie() && n <= kDirectLimit) {
        std::streambuf *sb = in.rdbuf();
        if (sb) {
            char *cur = BufferAccess::readPos(sb);
            if (cur && BufferAccess::readEnd(sb) - cur >= n) {
                std::memcpy(buf, cur, static_cast<size_t>(n));
                BufferAccess::readAdvance(sb, static_cast<int>(n));
                return n;
            }
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
            char *cur = BufferAccess::writePos(sb);
            if (cur && BufferAccess::writeEnd(sb) - cur >= n) {
                std::memcpy(cur, buf, static_cast<size_t>(n));
                BufferAccess::writeAdvance(sb, static_cast<int>(n));
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
