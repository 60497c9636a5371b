// The ink reader path: the checked reading of an ink file, then CScribble::readFrom on
// what passes.
//
// CScribble::readFrom trusts its stream: counts are not checked against the data, so a
// file's counts alone decide how much is allocated, and a negative stroke count throws
// std::length_error. The tools therefore check the stream form first (inkcheck, shared
// with inkrecog and scribblepad) and hand only data that passes to readFrom.
//
// Invariants on accepted data: readFrom consumes exactly the bytes the check measured;
// writeTo gives those bytes back; the written form reads back to an equal scribble.
#include "fuzztarget.h"
#include "inkcheck.h"

#include <libutility/ink/scribble.h>

#include <sstream>
#include <string>

namespace {

int fuzzInkReader(const uint8_t *data, size_t size)
{
    inkcheck::InkCheckOptions options;
    options.allowTrailingBytes = true; // the fuzz input may go on after the scribble
    const inkcheck::InkCheckResult checked = inkcheck::checkInk(data, size, options);
    if (!checked.ok)
        return 0;
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const std::streamoff used = std::streamoff(checked.used);
    const std::string canonical = bytes.substr(0, size_t(used));

    std::istringstream in(bytes);
    CScribble scribble;
    scribble.readFrom(in);
    FUZZ_CHECK(!in.fail() && std::streamoff(in.tellg()) == used);
    scribble.getRectBound();

    std::ostringstream out;
    scribble.writeTo(out);
    FUZZ_CHECK(out.str() == canonical);

    std::istringstream again(out.str());
    CScribble copy;
    copy.readFrom(again);
    FUZZ_CHECK(copy.equals(&scribble) && scribble.equals(&copy));
    FUZZ_CHECK(copy.getRectBound() == scribble.getRectBound());
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("ink_reader", fuzzInkReader);
