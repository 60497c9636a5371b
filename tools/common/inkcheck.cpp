#include "inkcheck.h"

#include <istream>
#include <utility>

namespace inkcheck {

namespace {

std::int32_t fromLittleEndian(const unsigned char *bytes)
{
    const std::uint32_t bits = std::uint32_t(bytes[0]) | std::uint32_t(bytes[1]) << 8
        | std::uint32_t(bytes[2]) << 16 | std::uint32_t(bytes[3]) << 24;
    return static_cast<std::int32_t>(bits);
}

InkCheckResult fault(InkCheckResult result, std::uint64_t offset, std::string problem)
{
    result.ok = false;
    result.offset = offset;
    result.problem = std::move(problem);
    return result;
}

std::string str(std::uint64_t value) { return std::to_string(value); }
std::string str(std::int32_t value) { return std::to_string(value); }

/*
 * The walk shared by both overloads. readCount(offset, value) reads the int32 at offset;
 * the caller guarantees that offset + 4 <= size. Every size comparison is done on the
 * bytes left, never on offset + count * width, so no product can overflow.
 */
template <typename ReadCount>
InkCheckResult walk(std::uint64_t size, const InkCheckOptions &options, ReadCount readCount)
{
    InkCheckResult result;
    if (size < 4)
        return fault(result, 0,
            size == 0 ? std::string("empty, no stroke count")
                      : "too short for a stroke count (" + str(size) + " bytes)");
    std::int32_t strokes = 0;
    if (!readCount(0, strokes))
        return fault(result, 0, "cannot read the stroke count");
    if (strokes < 0)
        return fault(result, 0, "negative stroke count " + str(strokes));
    std::uint64_t offset = 4;
    if (std::uint64_t(strokes) > (size - offset) / 4)
        return fault(result, 0,
            "stroke count " + str(strokes) + " cannot fit in the " + str(size - offset)
                + " bytes that follow");
    if (std::uint64_t(strokes) > options.maxStrokes)
        return fault(result, 0,
            "stroke count " + str(strokes) + " exceeds the limit of " + str(options.maxStrokes));
    result.strokes = std::uint64_t(strokes);
    result.used = offset;

    for (std::int32_t i = 0; i < strokes; ++i) {
        // Only a fault needs the words; a good file costs no string per stroke.
        const auto which
            = [&] { return "stroke " + str(std::uint64_t(i) + 1) + " of " + str(strokes); };
        if (size - offset < 4)
            return fault(result, offset, "data ends before the point count of " + which());
        std::int32_t points = 0;
        if (!readCount(offset, points))
            return fault(result, offset, "cannot read the point count of " + which());
        if (points < 0)
            return fault(result, offset, "negative point count " + str(points) + " in " + which());
        const std::uint64_t left = size - offset - 4;
        if (std::uint64_t(points) > left / 8)
            return fault(result, offset,
                "point count " + str(points) + " of " + which() + " needs "
                    + str(std::uint64_t(points) * 8) + " bytes, " + str(left) + " left");
        if (std::uint64_t(points) > options.maxPoints - result.points)
            return fault(result, offset,
                "point count " + str(points) + " of " + which()
                    + " takes the total past the limit of " + str(options.maxPoints) + " points");
        result.points += std::uint64_t(points);
        offset += 4 + std::uint64_t(points) * 8;
        result.used = offset;
    }
    if (offset != size && !options.allowTrailingBytes)
        return fault(result, offset, str(size - offset) + " trailing bytes after the last stroke");
    result.ok = true;
    return result;
}

} // namespace

InkCheckResult checkInk(
    const unsigned char *data, std::uint64_t size, const InkCheckOptions &options)
{
    return walk(size, options, [data](std::uint64_t offset, std::int32_t &value) {
        value = fromLittleEndian(data + offset);
        return true;
    });
}

InkCheckResult checkInk(std::istream &in, std::uint64_t size, const InkCheckOptions &options)
{
    const std::istream::pos_type start = in.tellg();
    if (start == std::istream::pos_type(-1)) {
        InkCheckResult result;
        return fault(result, 0, "the stream cannot be positioned");
    }
    return walk(size, options, [&in, start](std::uint64_t offset, std::int32_t &value) {
        unsigned char bytes[4];
        in.seekg(start + std::streamoff(offset));
        if (!in.read(reinterpret_cast<char *>(bytes), 4))
            return false;
        value = fromLittleEndian(bytes);
        return true;
    });
}

std::string describe(const InkCheckResult &result)
{
    return std::to_string(result.offset) + ": " + (result.ok ? "ok" : result.problem);
}

} // namespace inkcheck
