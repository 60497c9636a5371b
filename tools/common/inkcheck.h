/*
 * Checking an ink file before CScribble::readFrom sees it.
 *
 * readFrom trusts its stream: the counts it reads decide how much it allocates, a
 * negative stroke count throws std::length_error, and a short file leaves half-read
 * points behind without a word. checkInk walks the stream form against the number of
 * bytes that are really there and says exactly where and why a file is not an ink file,
 * so that only data it accepts is handed to readFrom.
 *
 * The stream form (little-endian): int32 stroke count, then per stroke an int32 point
 * count and that many points of two int32 (x, y), 8 bytes each.
 *
 * Rules, in the order they are tested (the first fault found is reported):
 *   - fewer than 4 bytes: no stroke count;
 *   - a negative stroke count;
 *   - a stroke count larger than the bytes that follow can hold (every stroke needs at
 *     least its own 4-byte count), or larger than InkCheckOptions::maxStrokes;
 *   - per stroke: the data ends before its point count; a negative point count (readFrom
 *     would quietly read it as an empty stroke, but no writer produces one, so it marks
 *     a damaged file); a point count larger than the bytes left can hold; the points so
 *     far exceed InkCheckOptions::maxPoints;
 *   - bytes left over after the last stroke, unless allowTrailingBytes is set.
 *
 * The limits exist because readFrom reserves room for 512 points in every stroke: a
 * small file of many empty strokes would otherwise cost about 1000 times its size in
 * memory. With the defaults a file accepted here costs readFrom at most about 120 MB.
 *
 * Nothing is allocated and no point is read: the cost is one 4-byte read per stroke, so
 * checking is bounded by the stroke count, whatever the file claims. Both overloads are
 * pure functions of their arguments (no globals, no logging), for use by any reader of
 * ink files, the fuzz targets included.
 */
#ifndef LIBUTILITY_TOOLS_INKCHECK_H
#define LIBUTILITY_TOOLS_INKCHECK_H

#include <cstdint>
#include <iosfwd>
#include <string>

namespace inkcheck {

struct InkCheckOptions
{
    /// Largest stroke count accepted.
    std::uint64_t maxStrokes = 20000;
    /// Largest total number of points accepted.
    std::uint64_t maxPoints = 5000000;
    /// Accept data after the last stroke (for readers of ink embedded in a larger
    /// stream); InkCheckResult::used then says where the scribble ends.
    bool allowTrailingBytes = false;
};

struct InkCheckResult
{
    /// True when the data is an ink scribble readFrom can read as it stands.
    bool ok = false;
    /// Byte offset of the fault (from the start of the data); 0 when ok.
    std::uint64_t offset = 0;
    /// What is wrong, in a few words ("negative point count -3 in stroke 2"); empty
    /// when ok.
    std::string problem;
    /// Strokes and points announced by the counts checked so far (all of them when ok).
    std::uint64_t strokes = 0;
    std::uint64_t points = 0;
    /// Bytes the scribble occupies: the whole data when ok and no trailing bytes were
    /// allowed; otherwise where the last complete stroke checked ends.
    std::uint64_t used = 0;
};

/// Checks size bytes at data.
InkCheckResult checkInk(const unsigned char *data, std::uint64_t size,
    const InkCheckOptions &options = InkCheckOptions());

/// Checks the size bytes that follow the current position of in (offsets are counted
/// from there). Only the counts are read; the points are skipped with seekg, so in must
/// be seekable. Afterwards the position is wherever the check stopped and the stream
/// may be failed: clear() and seek back before reading the data.
InkCheckResult checkInk(
    std::istream &in, std::uint64_t size, const InkCheckOptions &options = InkCheckOptions());

/// "offset: problem", the form the tools print after the file name.
std::string describe(const InkCheckResult &result);

} // namespace inkcheck

#endif
